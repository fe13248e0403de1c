// Guiding by hand, and recorded paths and their replay, by simulated time.
#include <algorithm>

#include "sim/bench.h"

namespace zivra::sim::test {
namespace {

std::string drag(bool enable, int space = 0, int type = 2) {
  return R"({"enable":)" + std::string(enable ? "true" : "false") + R"(,"space":)" + std::to_string(space) +
         R"(,"type":)" + std::to_string(type) + R"(,"quick":false})";
}

std::string record(double duration) {
  return R"({"type":"time","signals":[],"duration":)" + std::to_string(duration) + "}";
}

class GuidedBench : public Bench {
 public:
  explicit GuidedBench(Model model = Model::tandi) : Bench(model) {
    EXPECT_EQ(command("sys.drag", drag(true)), 0);
  }
  // The hand turns the first axes by that much and lets them rest there.
  void lead(double turn, double seconds) {
    Joints target = world.motion.joints();
    target[0] += turn;
    target[1] += turn / 2;
    world.guiding.lead({target}, seconds, world.motion);
  }
  void recordHand(double turn, double seconds) {
    EXPECT_EQ(command("move.record.start", record(30)), 0);
    lead(turn, seconds);
    moveOn(seconds + 0.1);
  }
  int stopped() { return command("move.record.stop").asInt(); }
  void moveOn(double seconds) {
    for (double time = 0; time < seconds; time += kTick) world.advance(kTick);
  }
};

TEST(Guiding, LeavesTheArmTheFreedomThatItWasGiven) {
  struct Row {
    const char* name;
    int space, type;
    bool shifts, turns;
  };
  for (const Row& row : {Row{"freely", 1, 2, true, true},
                         {"translation", 1, 0, true, false},
                         {"rotation", 1, 1, false, true}}) {
    for (const Model model : {Model::tandi, Model::tandiSeven}) {
      SCOPED_TRACE(row.name);
      Bench bench(model);
      ASSERT_EQ(bench.command("sys.drag", drag(true, row.space, row.type)), 0);
      Motion& motion = bench.world.motion;
      motion.setToolset({{0, 0.05, 0.1}, {0, 0.4, 0}}, {});
      const Pose before = motion.toolInReference();
      Joints target = motion.joints();
      for (const std::size_t axis : {0u, 1u, 4u}) target[axis] += 0.25;
      bench.world.guiding.lead({target}, 2, motion);
      EXPECT_STREQ(bench.world.stateText(), "drag");
      EXPECT_NEAR(bench.run(), 2, 0.05);
      const Pose off = compose(inverse(before), motion.toolInReference());
      const double shift = std::hypot(off.trans[0], off.trans[1], off.trans[2]);
      const double turn = std::hypot(off.rot[0], off.rot[1], off.rot[2]);
      EXPECT_EQ(shift > 1e-6, row.shifts) << shift;
      EXPECT_EQ(turn > 1e-6, row.turns) << turn;
      EXPECT_GT(shift + turn, 0.1);
      EXPECT_EQ(motion.velocities(), Joints(motion.joints().size()));
    }
  }
}

TEST(Guiding, GoesOnlyWhereItIsSafe) {
  using Prepare = void (*)(Bench&);
  struct Row {
    const char* name;
    Prepare prepare;
    const char* key;
    std::string parameter;
    int code;
  };
  const auto realTime = [](Bench& b) {
    b.command("sys.power.on");
    b.command("eci.enable", R"({"protocol_version":"sdk1"})");
  };
  const Row rows[] = {
      {"at rest", [](Bench&) {}, "sys.drag", drag(true), 0},
      {"with power", [](Bench& b) { b.command("sys.power.on"); }, "sys.drag", drag(true), -515},
      {"gate open", [](Bench& b) { b.world.openGate(true); }, "sys.drag", drag(true), -515},
      {"stopped", [](Bench& b) { b.world.pressEmergencyStop(); }, "sys.drag", drag(true), -3},
      {"automatic", [](Bench& b) { b.world.mode = OperateMode::automatic; }, "sys.drag", drag(true), -16},
      {"wrong zero", [](Bench& b) { b.world.protection.torqueDrift[3] = -6; }, "sys.drag", drag(true),
       -10040},
      {"a good zero", [](Bench& b) { b.world.protection.torqueDrift[3] = 2; }, "sys.drag", drag(true), 0},
      {"real time", realTime, "sys.drag", drag(true), -18},
      {"in real time", realTime, "eci.drag", drag(true), 0},
      {"not in real time", [](Bench&) {}, "eci.drag", drag(true), -18},
      {"not in real time, end", [](Bench&) {}, "eci.drag", drag(false), -18},
      {"joint space in part", [](Bench&) {}, "sys.drag", drag(true, 0, 1), -260},
      {"unknown space", [](Bench&) {}, "sys.drag", drag(true, 2, 2), -260},
      {"unknown type", [](Bench&) {}, "sys.drag", drag(true, 1, 3), -260},
      {"quick as a number", [](Bench&) {}, "sys.drag", R"({"enable":true,"space":1,"type":2,"quick":1})",
       -260},
      {"end of nothing", [](Bench&) {}, "sys.drag", drag(false), 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Bench bench;
    row.prepare(bench);
    EXPECT_EQ(bench.command(row.key, row.parameter), row.code);
    EXPECT_EQ(bench.world.guiding.on(), row.code == 0 && row.parameter == drag(true));
  }
}

TEST(Guiding, EndsWithThePowerAndWithRealTime) {
  using End = void (*)(Bench&);
  const End ends[] = {[](Bench& b) { b.command("sys.drag", drag(false)); },
                      [](Bench& b) { b.command("sys.power.off"); },
                      [](Bench& b) { b.world.pressEmergencyStop(); },
                      [](Bench& b) { b.world.openGate(true); },
                      [](Bench& b) { b.world.collide(); },
                      [](Bench& b) { b.world.boot(); }};
  for (const End end : ends) {
    GuidedBench bench;
    EXPECT_TRUE(bench.world.powered());
    bench.lead(0.5, 1);
    bench.moveOn(0.5);
    EXPECT_GT(bench.world.motion.velocities()[0], 0.5);
    end(bench);
    const Joints stood = bench.world.motion.joints();
    bench.moveOn(0.1);
    EXPECT_EQ(bench.world.motion.joints(), stood);
    EXPECT_EQ(bench.world.motion.velocities(), Joints(6));
    EXPECT_FALSE(bench.world.powered());
    EXPECT_STRNE(bench.world.stateText(), "drag");
    bench.lead(0.5, 1);
    EXPECT_FALSE(bench.world.busy()) << "nobody can move an arm that isn't guided";
  }
  Bench bench;
  bench.command("sys.power.on");
  bench.command("eci.enable", R"({"protocol_version":"sdk1"})");
  ASSERT_EQ(bench.command("eci.drag", drag(true)), 0);
  EXPECT_STREQ(bench.world.stateText(), "rci");
  bench.command("eci.disable");
  EXPECT_FALSE(bench.world.guiding.on());
  EXPECT_TRUE(bench.world.powered());
}

TEST(Recording, IsRefusedWhereItIsNoPath) {
  struct Row {
    const char* name;
    int code;
    int (*run)(GuidedBench&);
  };
  const Row rows[] = {
      {"good", 0, [](GuidedBench& b) { return b.recordHand(0.5, 2), b.stopped(); }},
      {"short", -337, [](GuidedBench& b) { return b.recordHand(0.1, 0.2), b.stopped(); }},
      {"without a motion", -337, [](GuidedBench& b) { return b.recordHand(0, 2), b.stopped(); }},
      {"fast", -339, [](GuidedBench& b) { return b.recordHand(2.0, 0.6), b.stopped(); }},
      {"beyond limits", -338,
       [](GuidedBench& b) {
         Joints lower = b.world.protection.lower(), upper = b.world.protection.upper();
         upper[0] = 0.3;
         b.world.protection.setSoftLimits(b.world.motion, true, lower, upper);
         return b.recordHand(0.5, 2), b.stopped();
       }},
      {"begun in motion", -340,
       [](GuidedBench& b) {
         b.lead(0.5, 2);
         b.moveOn(1);
         return b.command("move.record.start", record(30)).asInt();
       }},
      {"ended in motion", -341,
       [](GuidedBench& b) {
         EXPECT_EQ(b.command("move.record.start", record(30)), 0);
         b.lead(0.5, 2);
         b.moveOn(1);
         return b.stopped();
       }},
      {"ended with the guiding", -342,
       [](GuidedBench& b) {
         b.recordHand(0.5, 2);
         b.command("sys.drag", drag(false));
         return b.stopped();
       }},
      {"ended by its time", 0,
       [](GuidedBench& b) {
         EXPECT_EQ(b.command("move.record.start", record(3)), 0);
         b.lead(0.5, 2);
         b.moveOn(3.1);
         EXPECT_FALSE(b.world.busy());
         return b.stopped();
       }},
      {"ended by its time in motion", -341,
       [](GuidedBench& b) {
         EXPECT_EQ(b.command("move.record.start", record(1)), 0);
         b.lead(0.5, 2);
         b.moveOn(3);
         EXPECT_EQ(b.pushed("log.user").back()["error"], -341);
         return b.stopped();
       }},
      {"ended twice", -352, [](GuidedBench& b) { return b.recordHand(0.5, 2), b.stopped(), b.stopped(); }},
      {"begun twice", -18,
       [](GuidedBench& b) {
         b.command("move.record.start", record(30));
         return b.command("move.record.start", record(30)).asInt();
       }},
      {"for no time", -260, [](GuidedBench& b) { return b.command("move.record.start", record(0)).asInt(); }},
      {"for ever", -260, [](GuidedBench& b) { return b.command("move.record.start", record(1e9)).asInt(); }},
      {"unguided", -18,
       [](GuidedBench& b) {
         b.command("sys.drag", drag(false));
         return b.command("move.record.start", record(30)).asInt();
       }},
      {"nothing to drop", -352, [](GuidedBench& b) { return b.command("move.record.cancel").asInt(); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    GuidedBench bench;
    EXPECT_EQ(row.run(bench), row.code);
    bench.command("sys.drag", drag(false));
    EXPECT_EQ(bench.command("move.record.save", R"({"name":"a"})"), -342) << "without power";
    bench.command("sys.power.on");
    const int saved = bench.command("move.record.save", R"({"name":"a"})").asInt();
    EXPECT_EQ(saved, row.code == 0 || std::string(row.name) == "ended twice" ? 0 : -352);
  }
}

TEST(Recording, IsKeptRenamedAndRemoved) {
  GuidedBench bench;
  const auto recordOne = [&] {
    bench.recordHand(0.3, 1);
    return bench.stopped();
  };
  const auto names = [&] {
    std::string joined;
    for (const Json::Value& name : bench.ask('g', "move.record.paths")) joined += name.asString() + ' ';
    return joined;
  };
  ASSERT_EQ(recordOne(), 0);
  EXPECT_EQ(bench.command("move.record.save", R"({"name":"a"})"), 0);
  EXPECT_EQ(bench.command("move.record.save", R"({"name":"b"})"), -352);
  EXPECT_EQ(bench.command("move.record.save", R"({"name":"a","as":"b c"})"), 0);
  EXPECT_EQ(bench.command("move.record.save", R"({"name":"a","as":"b"})"), -60511);
  ASSERT_EQ(recordOne(), 0);
  EXPECT_EQ(bench.command("move.record.save", R"({"name":"d","as":"e"})"), 0);
  EXPECT_EQ(names(), "b c e ");
  ASSERT_EQ(recordOne(), 0);
  EXPECT_EQ(bench.command("move.record.cancel"), 0);
  EXPECT_EQ(bench.command("move.record.save", R"({"name":"f"})"), -352);
  EXPECT_EQ(bench.command("move.record.save", R"({"name":""})"), -260);
  EXPECT_EQ(bench.command("move.record.save", R"({"name":"f","as":""})"), -260);
  bench.world.boot();
  EXPECT_EQ(names(), "b c e ");
  EXPECT_EQ(bench.command("move.record.remove", R"("b")"), -60511);
  EXPECT_EQ(bench.command("move.record.remove", "1"), -260);
  EXPECT_EQ(bench.command("move.record.remove", R"("e")"), 0);
  EXPECT_EQ(names(), "b c ");
  EXPECT_EQ(bench.command("move.record.remove.all"), 0);
  EXPECT_EQ(names(), "");
}

// From another place: to the beginning, through the turning point, to the end, as fast as it is told but
// never faster than the axes can.
TEST(Replay, GoesTheRecordedWayInItsTimeByTheRate) {
  double times[3];
  constexpr double kRates[] = {1.0, 0.5, 100.0};
  for (std::size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(kRates[i]);
    GuidedBench bench(Model::tandiSeven);
    Motion& motion = bench.world.motion;
    const Joints first = motion.joints();
    Joints middle = first, last = first;
    middle[0] += 0.6;
    middle[3] -= 0.3;
    last[1] += 0.2;
    ASSERT_EQ(bench.command("move.record.start", record(30)), 0);
    bench.world.guiding.lead({middle, last}, 6, motion);
    bench.run(6.2);
    ASSERT_EQ(bench.stopped(), 0);
    ASSERT_EQ(bench.command("move.record.save", R"({"name":"a"})"), 0);
    bench.command("sys.drag", drag(false));
    bench.makeReady();
    Joints elsewhere = first;
    elsewhere[2] += 0.2;
    motion.setJoints(elsewhere);
    ASSERT_EQ(bench.command("move.replay", R"({"name":"a","rate":)" + std::to_string(kRates[i]) + "}"), 0);
    ASSERT_EQ(bench.command("move.continue"), 0);

    const auto off = [&](const Joints& place) {
      double most = 0;
      for (std::size_t axis = 0; axis < 7; ++axis)
        most = std::max(most, std::abs(motion.joints()[axis] - place[axis]));
      return most;
    };
    double time = 0, begun = -1, nearest = 1, fastest = 0;
    for (; bench.world.busy() && time < 100; time += Bench::kTick) {
      bench.world.advance(Bench::kTick);
      if (begun < 0 && off(first) < 1e-4) begun = time;
      if (begun >= 0) nearest = std::min(nearest, off(middle));
      for (std::size_t axis = 0; axis < 7; ++axis)
        fastest =
            std::max(fastest, std::abs(motion.velocities()[axis]) / motion.arm().limits().velocity[axis]);
    }
    EXPECT_GT(begun, 0.2);
    EXPECT_LT(nearest, 0.02);
    EXPECT_LT(off(last), 1e-9);
    EXPECT_LE(fastest, 1.02);
    times[i] = time - begun;
    const auto notices = bench.pushed("move.last_error_with_setting");
    ASSERT_EQ(notices.size(), 2u);
    EXPECT_EQ(notices[1]["data"]["msg"], "finish");
  }
  EXPECT_NEAR(times[0], 6.2, 0.3);
  EXPECT_NEAR(times[1], 12.4, 0.5);
  EXPECT_LT(times[2], 3);
  EXPECT_GT(times[2], 0.3);
}

TEST(Replay, IsJudgedWhenItsTurnComes) {
  for (const auto& [parameter, code] :
       {std::pair(R"({"name":"b","rate":1})", -60511), std::pair(R"({"name":"a","rate":0})", -50513),
        std::pair(R"({"name":"a","rate":-1})", -50513)}) {
    SCOPED_TRACE(parameter);
    GuidedBench bench;
    bench.recordHand(0.3, 1);
    bench.stopped();
    ASSERT_EQ(bench.command("move.record.save", R"({"name":"a"})"), 0);
    bench.command("sys.drag", drag(false));
    bench.makeReady();
    ASSERT_EQ(bench.command("move.replay", parameter), 0);
    bench.command("move.continue");
    bench.run();
    ASSERT_EQ(bench.pushed("move.last_error_with_setting").size(), 1u);
    EXPECT_EQ(bench.pushed("move.last_error_with_setting")[0]["error"], code);
  }
  Bench bench;
  bench.makeReady();
  EXPECT_EQ(bench.command("move.replay", R"({"name":"a","rate":"1"})"), -260);
}

}  // namespace
}  // namespace zivra::sim::test
