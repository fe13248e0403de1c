// Jogging, and the coming to rest of whatever moves.
#include "sim/bench.h"
#include "zivra/sim/controller.h"

namespace zivra::sim::test {
namespace {

std::string jog(int space, double step, int index, bool direction = true, double rate = 1.0) {
  return R"({"space":)" + std::to_string(space) + R"(,"rate":)" + std::to_string(rate) + R"(,"step":)" +
         std::to_string(step) + R"(,"index":)" + std::to_string(index) + R"(,"direction":)" +
         (direction ? "true}" : "false}");
}

struct SpaceCase {
  const char* name;
  int space, index;
  bool direction;
  Pose expected;  // the tool in the base afterwards, as seen from the axes of the space before
  bool fromTool;  // of the tool, else along the base's axes
};

constexpr double kQuarter = 1.57079632679489661923;

// The base stands turned by a quarter about z in the world, which is also where the work object lies.
const SpaceCase kSpaces[] = {
    {"world x", 0, 0, true, {{0, -0.05, 0}, {0, 0, 0}}, false},
    {"world z backwards", 0, 2, false, {{0, 0, -0.05}, {0, 0, 0}}, false},
    {"flange y", 1, 1, true, {{0, 0.05, 0}, {0, 0, 0}}, true},
    {"base x", 2, 0, true, {{0.05, 0, 0}, {0, 0, 0}}, false},
    {"tool z", 3, 2, true, {{0, 0, 0.05}, {0, 0, 0}}, true},
    {"tool about z", 3, 5, true, {{0, 0, 0}, {0, 0, 0.05}}, true},
    {"tool about x backwards", 3, 3, false, {{0, 0, 0}, {-0.05, 0, 0}}, true},
    {"work object y", 4, 1, true, {{0.05, 0, 0}, {0, 0, 0}}, false},
};

TEST(Jog, MovesTheToolAlongTheSpaceThatItNames) {
  for (const SpaceCase& row : kSpaces) {
    SCOPED_TRACE(row.name);
    Bench bench;
    bench.makeReady(OperateMode::manual);
    bench.world.setBaseFrame({{0, 0, 0}, {0, 0, kQuarter}});
    const Arm& arm = bench.world.motion.arm();
    const Pose before = arm.flange(bench.world.motion.joints());
    ASSERT_EQ(bench.command("move.jog", jog(row.space, 0.05, row.index, row.direction)), 0);
    EXPECT_STREQ(bench.world.stateText(), "joging");
    EXPECT_GT(bench.run(), 0.1);
    EXPECT_STREQ(bench.world.stateText(), "idle");
    const Pose after = arm.flange(bench.world.motion.joints());
    Pose shifted = before;
    for (std::size_t i = 0; i < 3; ++i) shifted.trans[i] += row.expected.trans[i];
    const Pose expected = row.fromTool ? compose(before, row.expected) : shifted;
    const Pose off = compose(inverse(expected), after);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(off.trans[i], 0, 1e-6);
      EXPECT_NEAR(off.rot[i], 0, 1e-6);
    }
  }
}

TEST(Jog, OfOneAxisMovesNoOtherAndTakesItsTimeByTheRate) {
  double times[2];
  for (const int half : {0, 1}) {
    Bench bench(Model::tandiSeven);
    bench.makeReady(OperateMode::manual);
    Joints expected = bench.world.motion.joints();
    expected[2] -= 0.4;
    ASSERT_EQ(bench.command("move.jog_with_ext", jog(5, 0.4, 2, false, half ? 0.2 : 0.4)
                                                     .erase(0, 1)
                                                     .insert(0, R"({"fixed_name":"","is_ext":false,)")),
              0);
    times[half] = bench.run();
    for (std::size_t i = 0; i < 7; ++i) EXPECT_NEAR(bench.world.motion.joints()[i], expected[i], 1e-9);
  }
  EXPECT_NEAR(times[1] / times[0], 2.0, 0.3);
}

TEST(Jog, EndsWhereTheArmCanGoNoFarther) {
  for (const int space : {5, 2}) {
    SCOPED_TRACE(space);
    Bench bench;
    bench.makeReady(OperateMode::manual);
    const Pose before = bench.world.motion.toolInReference();
    ASSERT_EQ(bench.command("move.jog", jog(space, 20, 0)), 0);
    bench.run();
    EXPECT_GT(distance(before, bench.world.motion.toolInReference()), 0.1);
    ASSERT_EQ(bench.pushed("log.user").size(), 1u);
    const int code = bench.pushed("log.user")[0]["error"].asInt();
    EXPECT_LE(code, -50002);
    EXPECT_EQ(bench.command("move.jog", jog(space, 20, 0)), code) << "it stands there already";
    EXPECT_EQ(bench.command("move.jog", jog(space, 0.05, 0, false)), 0) << "and may go back";
    bench.run();
    EXPECT_TRUE(bench.pushed("move.last_error_with_setting").empty()) << "a jog is no move";
  }
}

// Deceleration: no velocity changes at once, and the arm goes no farther when it stands.
void expectSoftStop(Bench& bench) {
  Joints velocities = bench.world.motion.velocities();
  ASSERT_GT(std::abs(velocities[0]), 0.05);
  int ticks = 0;
  for (; bench.world.moving(); ++ticks) {
    bench.world.advance(Bench::kTick);
    const Joints now = bench.world.motion.velocities();
    EXPECT_LT(std::abs(now[0] - velocities[0]), 0.05);
    velocities = now;
    ASSERT_LT(ticks, 500);
  }
  EXPECT_GT(ticks, 20);
  const Joints stood = bench.world.motion.joints();
  bench.world.advance(1);
  EXPECT_EQ(bench.world.motion.joints(), stood);
}

TEST(Jog, ComesToRestWhenItIsStopped) {
  for (const char* stop : {"move.stop", "move.pause"}) {
    SCOPED_TRACE(stop);
    const std::string parameter = std::string(stop) == "move.stop" ? R"({"task_space":1})" : "null";
    Bench bench;
    bench.makeReady(OperateMode::manual);
    ASSERT_EQ(bench.command("move.jog", jog(5, 2, 0)), 0);
    bench.world.advance(1);
    EXPECT_EQ(bench.command("move.jog", jog(5, 2, 0)), -20);
    EXPECT_EQ(bench.command("sys.mode.switch", "\"auto\""), -20);
    EXPECT_EQ(bench.command(stop, parameter), 0);
    bench.world.advance(0.02);
    EXPECT_EQ(bench.command(stop, parameter), -1);
    expectSoftStop(bench);
    EXPECT_EQ(bench.command("move.stop", R"({"task_space":1})"), 0) << "nothing is left to stop";
  }
}

TEST(Jog, IsRefusedWithItsReason) {
  const struct {
    const char* name;
    void (*before)(Bench&);
    std::string parameter;
    int code;
  } rows[] = {
      {"space", nullptr, jog(6, 0.1, 0), -50515},
      {"negative space", nullptr, jog(-1, 0.1, 0), -50515},
      {"rate", nullptr, jog(5, 0.1, 0, true, 1.5), -50513},
      {"step", nullptr, jog(5, 0, 0), -50514},
      {"axis", nullptr, jog(5, 0.1, 6), -50516},
      {"direction in space", nullptr, jog(0, 0.1, 6), -50516},
      {"half a space", nullptr, R"({"space":2.5,"rate":1,"step":0.1,"index":0,"direction":true})", -260},
      {"numbers as reals", nullptr, R"({"space":5.0,"rate":1,"step":0.1,"index":0.0,"direction":true})", 0},
      {"malformed", nullptr, R"({"space":5})", -260},
      {"no object", nullptr, "5", -260},
      {"automatic mode", [](Bench& b) { b.world.mode = OperateMode::automatic; }, jog(5, 0.1, 0), -16},
      {"power", [](Bench& b) { b.world.switchPowerOff(); }, jog(5, 0.1, 0), -17},
      {"emergency stop", [](Bench& b) { b.world.pressEmergencyStop(); }, jog(5, 0.1, 0), -3},
      {"real-time control", [](Bench& b) { b.world.taskSpace = TaskSpace::realTime; }, jog(5, 0.1, 0), -18},
      {"locked axis", [](Bench& b) { b.command("move.avoid_singularity", "true"); }, jog(5, 0.1, 3), -50525},
      {"within a paused move",
       [](Bench& b) {
         b.world.mode = OperateMode::automatic;
         b.command("move.l", "{\"point\":" + b.point(0.1, 0, 0) + "}");
         b.command("move.continue");
         b.world.advance(0.3);
         b.command("move.pause");
         b.run(1);
         b.world.mode = OperateMode::manual;
       },
       jog(5, 0.1, 0), -18},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Bench bench;
    bench.makeReady(OperateMode::manual);
    if (row.before != nullptr) row.before(bench);
    EXPECT_EQ(bench.command("move.jog", row.parameter), row.code);
  }
  Bench five(Model::tandiFive);
  five.makeReady(OperateMode::manual);
  EXPECT_EQ(five.command("move.jog", jog(2, 0.1, 3)), -50034) << "an arm of 5 axes can't turn that way";
  Bench bench;
  EXPECT_EQ(bench.command("move.jog_with_ext", jog(5, 0.1, 0)), -260);
  EXPECT_EQ(bench.command("move.jog_with_ext", R"({"fixed_name":"track","is_ext":true})"), -50516);
}

TEST(Jog, LeavesWaitingMovesInTheQueue) {
  Bench bench;
  bench.makeReady();
  bench.command("move.l", "{\"point\":" + bench.point(0.1, 0.05, 0) + "}");
  const Pose before = bench.world.motion.toolInReference();
  bench.world.mode = OperateMode::manual;
  ASSERT_EQ(bench.command("move.jog", jog(5, 0.3, 0)), 0);
  bench.run();
  bench.world.mode = OperateMode::automatic;
  EXPECT_EQ(bench.command("move.continue"), 0);
  bench.run();
  const Pose after = bench.world.motion.toolInReference();
  EXPECT_NEAR(after.trans[0] - before.trans[0], 0.1, 1e-6);
  EXPECT_NEAR(after.trans[1] - before.trans[1], 0.05, 1e-6);
}

TEST(Pause, RestsOnThePathAndGoesOnFromThere) {
  Bench bench;
  bench.makeReady();
  EXPECT_EQ(bench.command("move.pause"), -1) << "nothing moves";
  const Joints home = bench.world.motion.joints();
  bench.command("move.j", R"({"traj":{"jnt_speed":0.3},"point":[1.2,0.15,1.6,0,1.4,0]})");
  bench.command("move.continue");
  bench.world.advance(1);
  EXPECT_EQ(bench.command("move.pause"), 0);
  bench.world.advance(0.02);
  EXPECT_EQ(bench.command("move.pause"), -1) << "it is stopping already";
  expectSoftStop(bench);
  const double stood = bench.world.motion.joints()[0];
  EXPECT_GT(stood, home[0]);
  EXPECT_EQ(bench.command("move.continue"), 0);
  bench.world.advance(Bench::kTick);
  EXPECT_NEAR(bench.world.motion.joints()[0], stood, 1e-3);
  bench.run();
  EXPECT_NEAR(bench.world.motion.joints()[0], 1.2, 1e-9);
}

TEST(Jog, RunsOverTheLink) {
  Controller sim({.address = "127.10.5.1", .speedFactor = 5});
  sim.start();
  RawClient client("127.10.5.1");
  ASSERT_EQ(client.command("sys.power.on"), 0);
  const double before = sim.jointPositions()[0];
  EXPECT_EQ(client.command("move.jog", jog(5, 0.3, 0)), 0);
  EXPECT_TRUE(sim.waitUntilIdle(kPatience));
  EXPECT_NEAR(sim.jointPositions()[0], before + 0.3, 1e-9);
  EXPECT_EQ(client.command("move.jog", jog(5, 2, 0, false, 0.05)), 0);
  EXPECT_EQ(client.request('g', "sys.state"), "joging");
  EXPECT_EQ(client.command("move.stop", R"({"task_space":1})"), 0);
  EXPECT_TRUE(eventually([&] { return sim.operationState() == "idle"; }));
  EXPECT_GT(sim.jointPositions()[0], before);
}

}  // namespace
}  // namespace zivra::sim::test
