// Frames that the simulated controller fits to taught points.
#include "sim/bench.h"

namespace zivra::sim::test {
namespace {

Pose at(double x, double y, double z) { return {{x, y, z}, {}}; }
Pose turned(double x, double y, double z) { return {{}, {x, y, z}}; }
std::array<double, 3> mapped(const Pose& frame, double x, double y, double z) {
  return compose(frame, at(x, y, z)).trans;
}
Pose back(const std::array<double, 3>& by) { return at(-by[0], -by[1], -by[2]); }

// How far apart the frames put what lies within a metre.
double difference(const Pose& a, const Pose& b) {
  double most = distance(a, b);
  for (const auto& [x, y, z] : {std::array{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}})
    most = std::max(most, distance(compose(a, at(x, y, z)), compose(b, at(x, y, z))));
  return most;
}

class Teaching {
 public:
  explicit Teaching(Model model = Model::tandi) : bench(model) {
    home = bench.world.motion.arm().flange(bench.world.motion.arm().home());
  }

  void point(const Pose& flange) {
    const Arm& arm = bench.world.motion.arm();
    const auto solution = arm.inverse(flange, arm.home(), {});
    ASSERT_EQ(solution.code, 0);
    Json::Value angles(Json::arrayValue);
    for (const double angle : solution.joints) angles.append(angle);
    points.append(angles);
  }
  // The tip at `tip` in the flange touches one place, from `count` sides.
  void touch(const std::array<double, 3>& tip, std::size_t count) {
    const Pose sides[] = {turned(0, 0, 0), turned(0.3, 0, 0.1), turned(0, 0.35, -0.2),
                          turned(-0.2, -0.2, 0.4)};
    place = compose(home, at(tip[0], tip[1], tip[2]));
    for (std::size_t i = 0; i < count; ++i) point(compose(compose(place, sides[i]), back(tip)));
  }
  // From there along a direction of the base.
  void moveTo(const std::array<double, 3>& by) {
    point(compose(at(0.05 * by[0], 0.05 * by[1], 0.05 * by[2]), home));
  }

  Json::Value ask(const char* type, bool held, const std::array<double, 3>& aux = {}) {
    Json::Value parameter(Json::objectValue);
    parameter["type"] = type;
    parameter["held"] = held;
    parameter["points"] = std::exchange(points, Json::Value(Json::arrayValue));
    for (const double number : aux) parameter["aux"].append(number);
    return bench.command("utils.calibrate_frame", parameter.toStyledString());
  }
  Pose fit(const char* type, bool held, const std::array<double, 3>& aux = {}) {
    const Json::Value reply = ask(type, held, aux);
    EXPECT_FALSE(reply.isMember("error")) << reply;
    Pose frame;
    for (unsigned i = 0; i < 3; ++i) {
      frame.trans[i] = reply["data"]["frame"]["trans"][i].asDouble();
      frame.rot[i] = reply["data"]["frame"]["rot"][i].asDouble();
      EXPECT_LT(reply["data"]["errors"][i].asDouble(), 1e-6);
    }
    return frame;
  }

  Bench bench;
  Pose home, place;
  Json::Value points{Json::arrayValue};
};

constexpr double near = 1e-6;
const Pose base{{1, -2, 0.5}, {0.1, -0.05, 0.7}};
const std::array<double, 3> tip{0.02, -0.03, 0.16};

TEST(CalibratedFrame, OfATool) {
  Teaching teaching;
  teaching.bench.world.setBaseFrame(base);
  for (const std::size_t count : {3u, 4u}) {
    teaching.touch(tip, count);
    EXPECT_LT(difference(teaching.fit("tool", true), {tip, {}}), near);
    teaching.touch(tip, count);
    const auto stands = compose(base, teaching.place).trans;
    EXPECT_LT(distance(teaching.fit("tool", false), {stands, {}}), near) << "a tool that stands in the cell";
  }
  const Pose wanted{tip, {0.1, -0.2, 0.5}};
  teaching.touch(tip, 4);
  const Pose axes = compose(turned(teaching.home.rot[0], teaching.home.rot[1], teaching.home.rot[2]),
                            turned(0.1, -0.2, 0.5));
  teaching.moveTo(mapped(axes, 1, 0, 0));
  teaching.moveTo(mapped(axes, 0, 0, 1));
  EXPECT_LT(difference(teaching.fit("tool", true), wanted), near);
}

TEST(CalibratedFrame, OfTheBase) {
  Teaching teaching;
  teaching.touch(tip, 4);
  const Pose inBase = turned(inverse(base).rot[0], inverse(base).rot[1], inverse(base).rot[2]);
  teaching.moveTo(mapped(inBase, 1, 0, 0));
  teaching.moveTo(mapped(inBase, 0, 0, 1));
  EXPECT_LT(difference(teaching.fit("base", false, compose(base, teaching.place).trans), base), near);
}

TEST(CalibratedFrame, OfThreePoints) {
  const Pose object{{0.45, 0.05, 0.3}, {0.1, 0.2, -0.6}};  // in the base
  const Pose tool{tip, {0.1, 0, 0.2}};
  const std::array<double, 3> spots[] = {{0, 0, 0}, {0.12, 0, 0}, {0.05, 0.09, 0}};
  for (const char* type : {"wobj", "rail"}) {
    SCOPED_TRACE(type);
    Teaching teaching;
    teaching.bench.world.setBaseFrame(base);
    teaching.bench.world.motion.setToolset(tool, Pose{});
    for (const auto& [x, y, z] : spots) {
      const Pose flange = compose({mapped(object, x, y, z), teaching.home.rot}, inverse(tool));
      teaching.point(flange);
    }
    EXPECT_LT(difference(teaching.fit(type, false), compose(base, object)), near);
  }
  // Held by the robot, and moved past a tool that stands in the cell.
  Teaching teaching;
  const Pose held{{0.01, 0.02, 0.1}, {0.2, 0.1, 0.3}};
  teaching.bench.world.motion.setToolset(teaching.home, Pose{});
  for (const auto& [x, y, z] : spots) teaching.point(compose(teaching.home, back(mapped(held, x, y, z))));
  EXPECT_LT(difference(teaching.fit("wobj", true), held), near);
}

TEST(CalibratedFrame, TellsHowWellThePointsFit) {
  Teaching teaching;
  teaching.touch(tip, 3);
  teaching.point(compose(at(0.004, 0, 0), teaching.home));
  const Json::Value reply = teaching.ask("tool", true);
  const double farthest = reply["data"]["errors"][0].asDouble(), mean = reply["data"]["errors"][1].asDouble();
  EXPECT_GT(farthest, 0.0005) << reply;
  EXPECT_LT(farthest, 0.004) << reply;
  EXPECT_GT(mean, 0) << reply;
  EXPECT_LE(mean, farthest) << reply;
}

TEST(CalibratedFrame, RefusesPointsThatAreTooMuchAlike) {
  Teaching teaching;
  const auto refused = [&](const char* type) {
    const Json::Value reply = teaching.ask(type, true);
    EXPECT_EQ(reply["error"], -50003) << reply;
    EXPECT_TRUE(reply["data"].isObject());
    EXPECT_FALSE(reply["data"].isMember("frame"));
  };
  for (int i = 0; i < 4; ++i) teaching.point(compose(teaching.home, turned(0, 0, 0.01 * i)));
  refused("tool");
  for (int i = 0; i < 4; ++i)
    teaching.point(compose(teaching.home, turned(0, 0, 0.5 * i)));  // about one axis
  refused("tool");
  teaching.touch(tip, 4);
  teaching.moveTo({1, 0, 0});
  teaching.moveTo({1, 0, 0});
  refused("tool");
  for (int i = 0; i < 3; ++i) teaching.point(compose(at(0.004 * i, 0.003 * i * i, 0), teaching.home));
  refused("wobj");
  for (int i = 0; i < 3; ++i) teaching.point(compose(at(0.05 * i, 0, 0), teaching.home));  // in a line
  refused("rail");
}

TEST(CalibratedFrame, RefusesMalformedRequests) {
  const std::string point = "[0,0,1,0,0,0]", three = "[" + point + "," + point + "," + point + "]";
  Bench bench;
  const auto ask = [&](const std::string& type, const std::string& points, const std::string& more) {
    return bench.command("utils.calibrate_frame",
                         "{\"type\":" + type + ",\"points\":" + points + "," + more + "}");
  };
  const std::string good = R"("held":true,"aux":[0,0,0])";
  EXPECT_TRUE(ask("\"wobj\"", three, good).isObject());
  const std::string rows[][3] = {{"\"flange\"", three, good},
                                 {"3", three, good},
                                 {"\"base\"", three, good},
                                 {"\"wobj\"", "[" + point + "," + point + ",[0,0,1,0,0]]", good},
                                 {"\"wobj\"", "[" + point + "," + point + ",[0,0,1,0,0,\"0\"]]", good},
                                 {"\"wobj\"", "[]", good},
                                 {"\"wobj\"", "null", good},
                                 {"\"wobj\"", three, R"("held":1,"aux":[0,0,0])"},
                                 {"\"wobj\"", three, R"("held":true,"aux":[0,0])"},
                                 {"\"wobj\"", three, R"("held":true)"}};
  for (const auto& [type, points, more] : rows)
    EXPECT_EQ(ask(type, points, more), -260) << type << points << more;
  EXPECT_EQ(bench.command("utils.calibrate_frame"), -260);
}

}  // namespace
}  // namespace zivra::sim::test
