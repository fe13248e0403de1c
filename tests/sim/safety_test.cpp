// Limits of the axes and collision detection, by simulated time.
#include "sim/bench.h"

namespace zivra::sim::test {
namespace {

#define SIX R"("sensitivity":[1,1,1,1,1,1])"

TEST(SoftLimits, AreCheckedMemberByMember) {
  const std::pair<const char*, int> rows[] = {
      {R"({"enable":true,"lower":[],"upper":[]})", 0},
      {R"({"enable":false,"lower":[-1,-1,-1,-1,-1,-1],"upper":[1,1,1,1,1,1]})", 0},
      {R"({"enable":true,"lower":[-1,-1,-1,-1,-1,-9],"upper":[1,1,1,1,1,1]})", -10051},
      {R"({"enable":true,"lower":[-1,-1,-1,-1,-1,-1],"upper":[9,1,1,1,1,1]})", -10051},
      {R"({"enable":true,"lower":[-1,-1,-1,-1,-1,1],"upper":[1,1,1,1,1,1]})", -260},
      {R"({"enable":true,"lower":[-1,-1,-1,-1,-1],"upper":[1,1,1,1,1]})", -260},
      {R"({"enable":true,"lower":[],"upper":[1,1,1,1,1,1]})", -260},
      {R"({"enable":1,"lower":[],"upper":[]})", -260},
      {R"({"enable":true,"lower":"","upper":[]})", -260},
      {"null", -260}};
  for (const auto& [parameter, code] : rows) {
    SCOPED_TRACE(parameter);
    Bench bench;
    const Json::Value before = bench.ask('g', "safety.soft_limit");
    EXPECT_EQ(bench.command("safety.soft_limit", parameter), code);
    EXPECT_TRUE(code == 0 || bench.ask('g', "safety.soft_limit") == before);
  }
}

TEST(SoftLimits, HoldForNewMovesOnly) {
  Bench bench;
  bench.makeReady();
  const std::string on = R"({"enable":true,"lower":[],"upper":[]})";
  bench.command("move.l", R"({"path":[{"point":)" + bench.point(0, 0.1, 0) + "}]}");
  EXPECT_EQ(bench.command("safety.soft_limit", on), -18);
  bench.command("move.continue");
  bench.world.advance(0.1);
  EXPECT_EQ(bench.command("safety.soft_limit", on), -20);
  bench.run();
  // From beyond the limits nothing goes on, and without them everything does.
  ASSERT_EQ(bench.command("safety.soft_limit", R"({"enable":true,"lower":[-0.2,-1,-1,-1,-1,-1],)"
                                               R"("upper":[-0.1,1,1.8,1,2,1]})"),
            0);
  bench.world.boot();
  bench.makeReady();
  bench.command("move.j", R"({"path":[{"point":[-0.15,0,1,0,1,0]}]})");
  bench.command("move.continue");
  bench.run();
  EXPECT_EQ(bench.pushed("move.last_error_with_setting").back()["error"], -50101) << "stored over a reboot";
  bench.world.mode = OperateMode::manual;
  const char* jog = R"({"space":5,"rate":1.0,"step":0.05,"index":0,"direction":false})";
  EXPECT_EQ(bench.command("move.jog", jog), -50101);
  EXPECT_EQ(bench.command("safety.soft_limit", R"({"enable":false,"lower":[],"upper":[]})"), 0);
  EXPECT_EQ(bench.command("move.jog", jog), 0);
}

TEST(CollisionDetection, IsCheckedMemberByMember) {
  struct Row {
    const char* parameter;
    int cobot, industrial;
  };
  const Row rows[] = {
      {R"({"enable":true,)" SIX R"(,"action":{"behaviour":"stop1","fallback":0.1}})", 0, 0},
      {R"({"enable":true,)" SIX R"(,"action":{"behaviour":"pause","fallback":0}})", 0, -260},
      {R"({"enable":true,)" SIX R"(,"action":{"behaviour":"fcimpedstop"},"compliance":1.0})", 0, -260},
      {R"({"enable":true,)" SIX R"(,"action":{"behaviour":"fcimpedstop"},"compliance":1.1})", -260, -260},
      {R"({"enable":true,)" SIX R"(,"action":{"behaviour":"fcimpedstop","fallback":1}})", -260, -260},
      {R"({"enable":true,)" SIX R"(,"action":{"behaviour":"stop0","fallback":0.1}})", -260, -260},
      {R"({"enable":true,)" SIX R"(,"action":{"behaviour":"stop1","fallback":-0.1}})", -260, -260},
      {R"({"enable":true,)" SIX R"(,"action":"stop1"})", -260, -260},
      {R"({"enable":true,"sensitivity":[1,1,1,1,1],"action":{"behaviour":"stop1","fallback":0}})", -260,
       -260},
      {R"({"enable":true,"sensitivity":[1,1,1,1,1,0],"action":{"behaviour":"stop1","fallback":0}})", -260,
       -260},
      {R"({"enable":false})", 0, 0},
      {"null", -260, -260},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.parameter);
    EXPECT_EQ(Bench().command("safety.collision_detection", row.parameter), row.cobot);
    EXPECT_EQ(Bench(Model::standard).command("safety.collision_detection", row.parameter), row.industrial);
  }
}

struct Collision {
  bool noticed = false;
  double braking = 0;  // m from where it was touched to the farthest place
  double back = 0;     // m from there to where it came to rest
  std::size_t left = 0;
  int told = 0;
};

// The arm moves along y and is touched on its way.
Collision collision(const std::string& action, double newtons, const char* sensitivity = SIX) {
  Bench bench;
  bench.makeReady();
  if (!action.empty()) {
    EXPECT_EQ(bench.command("safety.collision_detection",
                            R"({"enable":true,)" + std::string(sensitivity) + "," + action + "}"),
              0);
  }
  const std::string to = R"("traj":{"speed":0.3},"point":)";
  bench.command("move.l", R"({"path":[{)" + to + bench.point(0, 0.2, 0) + "},{" + to +
                              bench.point(0, 0.2, -0.1) + "}]}");
  bench.command("move.continue");
  for (int i = 0; i < 200; ++i) bench.world.advance(Bench::kTick);
  const auto place = [&] { return bench.world.motion.toolInReference().trans[1]; };
  Collision found;
  const double touched = place();
  found.noticed = bench.world.protection.touch(bench.world, newtons);
  double farthest = touched;
  for (int i = 0; i < 5000 && bench.world.busy(); ++i) {
    bench.world.advance(Bench::kTick);
    farthest = std::max(farthest, place());
  }
  EXPECT_EQ(bench.pushed("safety.event.collision").size(), found.noticed ? 1u : 0u);
  found.braking = farthest - touched;
  found.back = farthest - place();
  found.left = bench.world.motion.queued();
  for (const Json::Value& notice : bench.pushed("move.last_error_with_setting")) {
    if (notice["error"].isInt()) found.told = notice["error"].asInt();
  }
  return found;
}

TEST(CollisionDetection, DoesWhatItWasToldToDo) {
  const std::string stop = R"("action":{"behaviour":"stop1","fallback":0.04})";
  const Collision off = collision("", 500), soft = collision(stop, 1), stopped = collision(stop, 100),
                  paused = collision(R"("action":{"behaviour":"pause","fallback":0.04})", 100);
  for (const Collision& ignored : {off, soft}) {
    EXPECT_FALSE(ignored.noticed);
    EXPECT_GT(ignored.braking, 0.09) << "to the end of the move";
    EXPECT_EQ(ignored.told, 0);
  }
  const Collision all[] = {stopped, paused,
                           collision(R"("action":{"behaviour":"fcimpedstop"},"compliance":0.2)", 100),
                           collision(R"("action":{"behaviour":"fcimpedstop"},"compliance":0.4)", 100),
                           collision(R"("action":{"behaviour":"fcimpedstop"},"compliance":0.2)", 200)};
  constexpr double kBack[] = {0.04, 0, 0.02, 0.04, 0.04};
  for (std::size_t i = 0; i < std::size(all); ++i) {
    SCOPED_TRACE(i);
    const bool pauses = i == 1;
    EXPECT_TRUE(all[i].noticed);
    EXPECT_GT(all[i].braking, 0.005) << "comes to rest without a jerk";
    EXPECT_LT(all[i].braking, 0.08);
    EXPECT_NEAR(all[i].back, kBack[i], 1e-3);
    EXPECT_EQ(all[i].told, pauses ? 0 : -50401);
    EXPECT_EQ(all[i].left, pauses ? 2u : 0u);
  }
}

TEST(CollisionDetection, NoticesByTheSensitivity) {
  const std::string stop = R"("action":{"behaviour":"stop1","fallback":0})";
  EXPECT_TRUE(collision(stop, 40).noticed);
  EXPECT_FALSE(collision(stop, 40, R"("sensitivity":[0.1,0.1,0.1,0.1,0.1,0.1])").noticed);
  EXPECT_TRUE(collision(stop, 400, R"("sensitivity":[0.1,0.1,0.1,0.1,0.1,0.1])").noticed);
}

}  // namespace
}  // namespace zivra::sim::test
