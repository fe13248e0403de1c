// Force control against springs, pushes and a surface, and what only the inside of the controller can bring
// about.
#include "sim/bench.h"
#include "zivra/sim/controller.h"

namespace zivra::sim::test {
namespace {

constexpr const char* kCartesian = R"({"cmd":"control_type","param":{"type":"cart"}})";
constexpr const char* kJoint = R"({"cmd":"control_type","param":{"type":"joint"}})";
// Soft along z, and leaning downwards.
constexpr const char* kSoft = R"({"cmd":"cart_stiff","param":{"values":[1000,1000,0,100,100,100]}})";
constexpr const char* kDownwards = R"({"cmd":"cart_force","param":{"values":[0,0,-20,0,0,0]}})";
constexpr const char* kMonitor = R"({"cmd":"monitor","param":{"enable":true}})";

class Fc : public Bench {
 public:
  explicit Fc(Model model = Model::tandi) : Bench(model) { makeReady(); }

  Json::Value force(const std::string& word, const std::string& parameters = "null") {
    return command("eci.fc." + word, parameters);
  }
  void expectDone(const std::string& word, const std::string& parameters = "null") {
    EXPECT_EQ(force(word, parameters), 0) << word << parameters;
  }
  void begin(const char* frame = "world", std::initializer_list<const char*> settings = {}) {
    expectDone("init", std::string(R"({"frame":")") + frame + "\"}");
    for (const char* setting : settings) expectDone("set", setting);
    expectDone("start");
  }
  void placeSurface(double below) {
    auto point = place();
    point[2] -= below;
    world.force.surroundings.surface = Surroundings::Surface{point, {0, 0, 1}, 10000};
  }
  std::array<double, 3> place() const { return world.motion.toolInReference().trans; }
  void let(double seconds) {
    for (double time = 0; time < seconds; time += 0.02) world.advance(0.02);
  }
  Json::Value torques(const char* frame = "world") {
    return ask('g', std::string("eci.fc.end_torque.ref_") + frame);
  }
  // Of the wait, which has ended; 1: it hasn't.
  int answer() {
    if (world.lateAnswers.size() != 1) return 1;
    const int code = world.lateAnswers.front().value.asInt();
    world.lateAnswers.clear();
    return code;
  }
};

TEST(ForceControl, LeansOnASurface) {
  for (const Model model : {Model::tandiFive, Model::tandi, Model::tandiSeven}) {
    SCOPED_TRACE(modelName(model));
    Fc fc(model);
    fc.placeSurface(0.03);
    const auto start = fc.place();
    fc.begin("world", {kCartesian, kSoft, kDownwards});
    fc.let(0.5);
    EXPECT_LT(fc.place()[2], start[2] - 0.01);
    const auto speeds = [&] {
      double fastest = 0;
      for (const Json::Value& speed : fc.ask('g', "sys.rt.jnt_vel"))
        fastest = std::max(fastest, std::abs(speed.asDouble()));
      return fastest;
    };
    EXPECT_GT(speeds(), 0.01);
    fc.let(4);
    const auto end = fc.place();
    EXPECT_NEAR(end[0], start[0], 1e-3);
    EXPECT_NEAR(end[2], start[2] - 0.03 - 20.0 / 10000, 1e-4);
    const Json::Value told = fc.torques();
    EXPECT_NEAR(told["cart"]["force"][2].asDouble(), 20, 0.1);
    // The motors hold the arm's weight less what the surface carries.
    const auto weight = fc.world.motion.arm().gravityTorques(fc.world.motion.joints());
    const Json::Value motors = fc.ask('g', "sys.rt.jnt_trq");
    double carried = 0;
    for (Json::ArrayIndex i = 0; i < weight.size(); ++i) {
      EXPECT_NEAR(told["joint"][i].asDouble(), weight[i] - told["external"][i].asDouble(), 1e-9);
      EXPECT_EQ(told["joint"][i], motors[i]);
      carried = std::max(carried, std::abs(told["external"][i].asDouble()));
    }
    EXPECT_GT(carried, 1);
    fc.expectDone("stop");
    EXPECT_FALSE(fc.world.busy());
    EXPECT_EQ(speeds(), 0);
    EXPECT_EQ(fc.place(), end) << "it stays where it was stopped";
  }
}

TEST(ForceControl, APreparedRunThatEndsLeavesABrakingArmAlone) {
  Fc fc;
  fc.expectDone("init", R"({"frame":"world"})");
  fc.command("move.l", R"({"path":[{"point":)" + fc.point(0, 0.1, 0) + "}]}");
  EXPECT_EQ(fc.command("move.continue"), 0);
  fc.let(0.2);
  const auto before = fc.world.motion.velocities();
  fc.world.abortMotion(-3, "test", World::Ending::soft);
  EXPECT_EQ(fc.world.motion.velocities(), before);
  EXPECT_TRUE(fc.world.moving());
  fc.run();
  EXPECT_EQ(fc.world.motion.velocities(), Joints(before.size(), 0.0));
}

TEST(ForceControl, YieldsLikeASpring) {
  Fc fc;
  const auto start = fc.place();
  const auto joints = fc.world.motion.joints();
  fc.begin("world", {kCartesian});
  fc.world.force.surroundings.push = {10, 0, 0, 0, 0, 2};
  fc.let(5);
  EXPECT_NEAR(fc.place()[0], start[0] + 0.01, 1e-4);
  EXPECT_NEAR(fc.place()[1], start[1], 1e-4);
  EXPECT_NEAR(fc.torques()["cart"]["torque"][2].asDouble(), 2, 1e-6);
  EXPECT_NEAR(fc.torques("flange")["cart"]["force"][2].asDouble(), 0, 0.5) << "in the flange's own axes";
  fc.world.force.surroundings.push = {};
  fc.let(5);
  for (std::size_t i = 0; i < joints.size(); ++i) EXPECT_NEAR(fc.world.motion.joints()[i], joints[i], 1e-3);
  fc.expectDone("stop");

  fc.begin("base", {kJoint, R"({"cmd":"joint_stiff","param":{"values":[100,100,100,100,100,100]}})",
                    R"({"cmd":"joint_trq","param":{"values":[5,0,0,0,0,-10]}})"});
  fc.let(8);
  EXPECT_NEAR(fc.world.motion.joints()[0], joints[0] + 0.05, 1e-3);
  EXPECT_NEAR(fc.world.motion.joints()[5], joints[5] - 0.1, 1e-3);
}

TEST(ForceControl, CarriedLoadShowsInTheMotors) {
  Fc fc;
  const auto before = fc.torques();
  fc.expectDone("set", R"({"cmd":"load","param":{"load":{"mass":2,"cog":[0,0,0.1],"inertia":[0,0,0]}}})");
  const auto after = fc.torques();
  EXPECT_GT(std::abs(after["joint"][1].asDouble() - before["joint"][1].asDouble()), 2);
  EXPECT_EQ(after["external"], before["external"]);
}

TEST(ForceControl, OverlaysMoveTheTool) {
  const struct {
    const char* overlay;
    std::array<bool, 3> moves;
  } rows[] = {
      {R"({"cmd":"sine_overlay","param":{"values":[2,15,1,0,0]}})", {false, false, true}},
      {R"({"cmd":"sine_overlay","param":{"values":[1,0,0,0,10]}})", {false, true, false}},
      {R"({"cmd":"lissajous_overlay","param":{"values":[0,15,1,15,2,1.5]}})", {true, true, false}},
      {R"({"cmd":"lissajous_overlay","param":{"values":[1,15,1,15,2,1.5]}})", {true, false, true}},
      {R"({"cmd":"lissajous_overlay","param":{"values":[2,15,1,15,2,1.5]}})", {false, true, true}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.overlay);
    Fc fc;
    const auto start = fc.place();
    fc.begin("world", {kCartesian, row.overlay});
    fc.let(0.1);
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(fc.place()[k], start[k], 1e-9) << "set is not started";
    fc.expectDone("overlay", R"({"cmd":"start"})");
    std::array<double, 3> farthest{};
    for (int i = 0; i < 100; ++i) {
      fc.let(0.02);
      for (std::size_t k = 0; k < 3; ++k)
        farthest[k] = std::max(farthest[k], std::abs(fc.place()[k] - start[k]));
    }
    for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(farthest[k] > 1.5e-3, row.moves[k]) << k << farthest[k];
    fc.expectDone("overlay", R"({"cmd":"pause"})");
    fc.let(2.5);
    const auto stood = fc.place();
    fc.let(0.5);
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(fc.place()[k], stood[k], 1e-4);
    fc.expectDone("overlay", R"({"cmd":"restart"})");
    fc.expectDone("overlay", R"({"cmd":"stop"})");
    fc.let(2.5);
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(fc.place()[k], start[k], 1e-3);
  }
}

TEST(ForceControl, AWaitEndsWithWhatComesFirst) {
  const char* contact =
      R"({"cmd":"force_cond","param":{"values":[-500,500,-500,500,-500,5],"inside":false,"timeout":60}})";
  const struct {
    const char* name;
    const char* condition;
    void (*happens)(Fc&);
    int code;
    double from, to;  // s
  } rows[] = {
      {"contact", contact, [](Fc& fc) { fc.placeSurface(0.02); }, 0, 0.3, 1.5},
      {"its time", R"({"cmd":"force_cond","param":{"values":[0,1,0,1,0,1],"inside":false,"timeout":2.5}})",
       [](Fc&) {}, 0, 2.4, 2.6},
      {"a box is left",
       R"({"cmd":"posbox_cond","param":{"values":[-5000,5000,-5000,5000,-5000,-20],"inside":true,"timeout":60,)"
       R"("frame":{"trans":[X],"rot":[0,0,0]}}})",
       [](Fc&) {}, 0, 0.3, 1.5},
      {"torque", R"({"cmd":"torque_cond","param":{"values":[-1,1,-1,1,-1,1],"inside":false,"timeout":60}})",
       [](Fc& fc) { fc.world.force.surroundings.push[5] = 3; }, 0, 0, 0.1},
      {"stop", contact, [](Fc& fc) { fc.expectDone("stop"); }, -41457, 0, 0.1},
      {"power", contact, [](Fc& fc) { fc.world.switchPowerOff(); }, -17, 0, 0.1},
      {"collision", contact, [](Fc& fc) { fc.world.collide(); }, -50401, 0, 0.1},
      {"a limit", contact,
       [](Fc& fc) {
         fc.expectDone("monitor", R"({"cmd":"cart_vel_max","param":{"values":[1,1,0.001,1,1,1]}})");
         fc.expectDone("monitor", kMonitor);
       },
       -10079, 0, 0.1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Fc fc;
    fc.begin("world", {kCartesian, kSoft, kDownwards});
    std::string condition = row.condition;
    if (const auto at = condition.find('X'); at != std::string::npos) {
      const auto place = fc.place();
      condition.replace(
          at, 1, std::to_string(place[0]) + "," + std::to_string(place[1]) + "," + std::to_string(place[2]));
    }
    fc.expectDone("set", condition);
    EXPECT_TRUE(fc.force("cond", R"({"cmd":"wait"})").isNull()) << "no answer yet";
    EXPECT_EQ(fc.force("cond", R"({"cmd":"wait"})"), -41400);
    row.happens(fc);
    double time = 0;
    for (; fc.world.lateAnswers.empty() && time < 10; time += 0.02) fc.world.advance(0.02);
    EXPECT_EQ(fc.answer(), row.code);
    EXPECT_GE(time, row.from);
    EXPECT_LE(time, row.to);
    if (row.code != 0) continue;
    EXPECT_EQ(fc.force("cond", R"({"cmd":"wait"})"), -260) << "conditions are used up";
  }
}

TEST(ForceControl, LimitsHoldItBack) {
  const auto fallIn = [](std::initializer_list<const char*> limits) {
    Fc fc;
    fc.begin("world", {kCartesian, kSoft, kDownwards});
    for (const char* limit : limits) fc.expectDone("monitor", limit);
    const double from = fc.place()[2];
    fc.let(1);
    return from - fc.place()[2];
  };
  const double usual = fallIn({});
  EXPECT_NEAR(usual, 0.04, 0.003);
  EXPECT_NEAR(fallIn({R"({"cmd":"cart_ctrl_max_vel","param":{"values":[1,1,0.01,1,1,1]}})"}), 0.01, 0.001);
  EXPECT_NEAR(fallIn({R"({"cmd":"cart_ctrl_max_wrench","param":{"values":[99,99,5,9,9,9]}})"}), 0.01, 0.001);
  EXPECT_LT(fallIn({R"({"cmd":"jnt_ctrl_max_vel","param":{"values":[9,0.005,9,9,9,9]}})"}), usual / 2);
  EXPECT_NEAR(fallIn({R"({"cmd":"gain_value","param":{"values":[30,30,30,30,30,30]}})"}), usual / 2, 0.004);
  EXPECT_LT(fallIn({R"({"cmd":"friction","param":{"values":[0,0,0,0,0,0]}})"}), usual * 0.7);
  for (const char* limit : {R"({"cmd":"joint_vel_max","param":{"values":[1,0.001,1,1,1,1]}})",
                            R"({"cmd":"joint_momentum_max","param":{"values":[1,0.001,1,1,1,1]}})",
                            R"({"cmd":"joint_energy_max","param":{"values":[1,1e-7,1,1,1,1]}})"}) {
    EXPECT_NEAR(fallIn({limit}), usual, 1e-9) << "not supervised";
    EXPECT_NEAR(fallIn({limit, kMonitor}), 0, 1e-3);
  }
}

TEST(ForceControl, RefusesWhatComesFromInside) {
  const struct {
    int code;
    void (*prepare)(Fc&);
    const char* word;
    const char* parameters;
  } rows[] = {
      {-41419,
       [](Fc& fc) {
         fc.world.motion.setToolset(Pose{{0, 0, 1.5}, {}}, Pose{});
       },
       "init", R"({"frame":"tool"})"},
      {-41442, [](Fc& fc) { fc.world.protection.setSoftLimits(fc.world.motion, false, {}, {}); }, "init",
       R"({"frame":"tool"})"},
      {-41449, [](Fc& fc) { fc.command("move.l", "{\"point\":" + fc.point(0.01, 0, 0) + "}"); }, "init",
       R"({"frame":"tool"})"},
      {-41400,
       [](Fc& fc) {
         fc.expectDone("init", R"({"frame":"tool"})");
         fc.command("move.l", "{\"point\":" + fc.point(0.01, 0, 0) + "}");
       },
       "start", "null"},
      {-41430, [](Fc&) {}, "init", R"({"frame":"rail"})"},
      {-260, [](Fc&) {}, "init", "null"},
      {-260, [](Fc& fc) { fc.begin(); }, "set", R"({"cmd":"nothing"})"},
      {-260, [](Fc& fc) { fc.begin(); }, "set", R"({"cmd":"cart_stiff","param":{"values":[1,2,3,4,5]}})"},
      {-260, [](Fc& fc) { fc.begin(); }, "set",
       R"({"cmd":"cart_stiff","param":{"values":[1,2,3,4,5,null]}})"},
      {-260, [](Fc& fc) { fc.begin(); }, "set", R"({"cmd":"sine_overlay","param":{"values":[1.0,1,1,0,0]}})"},
      {-260, [](Fc& fc) { fc.begin(); }, "set", R"({"cmd":"sine_overlay","param":{"values":["",1,1,0,0]}})"},
      {-260, [](Fc& fc) { fc.begin(); }, "set",
       R"({"cmd":"posbox_cond","param":{"values":[0,1,0,1,0,1],"inside":true,"timeout":5}})"},
      {-260, [](Fc& fc) { fc.begin(); }, "monitor", R"({"cmd":"friction","param":{"values":[2,1,1,1,1,1]}})"},
      {-260, [](Fc& fc) { fc.begin(); }, "monitor", R"({"cmd":"cart_vel_max"})"},
      {-260, [](Fc& fc) { fc.begin(); }, "cond", "7"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.word) + " " + row.parameters);
    Fc fc;
    row.prepare(fc);
    EXPECT_EQ(fc.force(row.word, row.parameters), row.code);
  }
  Bench industrial(Model::standard);
  industrial.makeReady();
  EXPECT_EQ(industrial.command("eci.fc.init", R"({"frame":"world"})"), -259) << "has no force control";
}

TEST(ForceControl, ThrowsForSurfacesThatAreNone) {
  Controller controller;
  EXPECT_THROW(controller.placeSurface({0, 0, 0}, {0, 0, 0}), std::invalid_argument);
  EXPECT_THROW(controller.placeSurface({0, 0, 0}, {0, 0, 1}, -1), std::invalid_argument);
  EXPECT_THROW(controller.placeSurface({NAN, 0, 0}, {0, 0, 1}), std::invalid_argument);
  EXPECT_THROW(controller.pushTool({0, 0, 0, 0, 0, INFINITY}), std::invalid_argument);
}

}  // namespace
}  // namespace zivra::sim::test
