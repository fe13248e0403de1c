// Checks of paths that nobody runs, and the ways past singular places.
#include <fmt/format.h>

#include "sim/bench.h"

namespace zivra::sim::test {
namespace {

std::string near(const Bench& bench, const std::string& joints = "") {
  return R"(,"near":)" + (joints.empty() ? bench.jointsText() : joints);
}

TEST(PathCheck, TellsTheJointsAtTheEndOrWhyNot) {
  Bench bench;
  const std::string start = "\"point0\":" + bench.point(0, 0, 0, near(bench));
  const auto list = [&](std::initializer_list<std::string> points) {
    std::string path;
    for (const std::string& point : points)
      path += (path.empty() ? "{\"point1\":" : ",{\"point1\":") + point + "}";
    return "{" + start + ",\"path\":[" + path + "]}";
  };
  const std::string one = bench.point(0.05, 0, 0), two = bench.point(0.05, 0.05, 0),
                    far = bench.point(3, 0, 0);
  const std::string arc =
      "\"point1\":" + bench.point(0.03, 0.03, 0) + ",\"point2\":" + bench.point(0.06, 0, 0);
  constexpr int none = -1;
  const struct {
    const char* name;
    std::string parameter;
    int code, index;      // of the failure
    double x = 0, y = 0;  // of the end, from the start
  } rows[] = {
      {"line", "{" + start + ",\"point1\":" + one + "}", 0, none, 0.05, 0},
      {"circle", "{" + start + "," + arc + "}", 0, none, 0.06, 0},
      {"half a circle by its angle",
       "{" + start + "," + arc + R"(,"circle":{"angle":3.14159265358979,"rot_type":"const_pose"}})", 0, none,
       0.06, 0},
      {"list", list({one, two}), 0, none, 0.05, 0.05},
      {"unreachable line", "{" + start + ",\"point1\":" + far + "}", -50002, none},
      {"straight circle", "{" + start + ",\"point1\":" + one + ",\"point2\":" + bench.point(0.1, 0, 0) + "}",
       -50008, none},
      {"third of a list", list({one, far, two}), -50002, 2},
      {"second of a list", list({far}), -50002, 1},
      {"first of a list",
       "{\"point0\":" + bench.point(3, 0, 0, near(bench)) + ",\"path\":[{\"point1\":" + one + "}]}", -50002,
       0},
      {"axes", "{\"point0\":" + bench.point(0, 0, 0, near(bench, "[0.1]")) + ",\"point1\":" + one + "}",
       -50512, none},
      {"a point twice", list({one, one}), -50003, 2},
  };
  const Joints stood = bench.world.motion.joints();
  const Pose from = bench.world.motion.toolInReference();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Json::Value reply = bench.command("move.path.check", row.parameter);
    EXPECT_EQ(reply.get("error", 0), row.code) << reply;
    if (row.code != 0) {
      EXPECT_FALSE(reply["data"]["msg"].asString().empty());
      EXPECT_EQ(reply["data"].get("index", none), row.index);
      continue;
    }
    ASSERT_EQ(reply["data"].size(), 6u) << reply;
    Joints end;
    for (const Json::Value& angle : reply["data"]) end.push_back(angle.asDouble());
    const Pose pose = bench.world.motion.arm().flange(end);
    EXPECT_NEAR(pose.trans[0] - from.trans[0], row.x, 1e-6);
    EXPECT_NEAR(pose.trans[1] - from.trans[1], row.y, 1e-6);
  }
  EXPECT_EQ(bench.world.motion.joints(), stood);
  for (const std::string& malformed :
       {std::string("null"), "{" + start + "}", "{" + start + ",\"path\":[]}", "{" + start + ",\"path\":[1]}",
        "{\"point0\":" + one + ",\"point1\":" + two + "}", "{" + start + "," + arc + ",\"circle\":{}}"})
    EXPECT_EQ(bench.command("move.path.check", malformed), -260) << malformed;
}

struct Switch {
  const char* name;
  Model model;
  void (*before)(Bench&);
  const char* key;
  const char* parameter;
  int code;
};

void turnAxis4(Bench& b) { b.world.motion.setJoints({0, 0.1, 1.6, 0.5, 1.2, 0}); }
void useWrist(Bench& b) { b.command("move.avoid_sing_wrist", R"({"enable":true,"threshold":5.0})"); }
void useLock(Bench& b) { b.command("move.avoid_singularity", "true"); }

const char kLock[] = "move.avoid_singularity", kWrist[] = "move.avoid_sing_wrist",
           kJoint[] = "move.avoid_sing_joint_way", kLerp[] = "sys.completePostureLerp";
const char kOn[] = R"({"enable":true,"threshold":5.0})";

const Switch kSwitches[] = {
    {"lock", Model::tandi, nullptr, kLock, "true", 0},
    {"lock with the axis turned", Model::tandi, turnAxis4, kLock, "true", -60702},
    {"lock beside another way", Model::tandi, useWrist, kLock, "true", -60702},
    {"lock of a model without", Model::triax, nullptr, kLock, "true", -60702},
    {"no lock, whatever the axis", Model::tandi, turnAxis4, kLock, "false", 0},
    {"lock by a number", Model::tandi, nullptr, kLock, "1", -260},
    {"wrist", Model::standard, nullptr, kWrist, kOn, 0},
    {"wrist threshold of 0", Model::tandi, nullptr, kWrist, R"({"enable":true,"threshold":0.0})", -60704},
    {"wrist threshold too wide", Model::tandi, nullptr, kWrist, R"({"enable":true,"threshold":120})", -60704},
    {"wrist off with any threshold", Model::tandi, nullptr, kWrist, R"({"enable":false,"threshold":0.0})", 0},
    {"wrist beside the lock", Model::tandi, useLock, kWrist, kOn, -60704},
    {"wrist of a model without", Model::tandiSeven, nullptr, kWrist, kOn, -60704},
    {"wrist without threshold", Model::tandi, nullptr, kWrist, R"({"enable":true})", -260},
    {"joint way", Model::standard, nullptr, kJoint, kOn, 0},
    {"joint way of a model without", Model::tandi, nullptr, kJoint, kOn, -60706},
    {"joint way beside the wrist's", Model::standard, useWrist, kJoint, kOn, -60706},
    {"posture of five axes", Model::tandiFive, nullptr, kLerp, R"({"enable":true})", 0},
    {"posture of six axes", Model::tandi, nullptr, kLerp, R"({"enable":true})", -50525},
};

TEST(Singularity, WaysAreSwitchedOnUnderTheirConditions) {
  for (const Switch& row : kSwitches) {
    SCOPED_TRACE(row.name);
    Bench bench(row.model);
    if (row.before != nullptr) row.before(bench);
    EXPECT_EQ(bench.command(row.key, row.parameter), row.code);
    if (row.key == kLerp) continue;
    const bool on = row.code == 0 && std::string(row.parameter).find("true") != std::string::npos;
    EXPECT_EQ(bench.ask('g', row.key), on ? "on" : "off");
  }
}

// A line on which the wrist passes through its straight position.
int throughStraightWrist(Bench& bench, const std::string& key, const std::string& parameter,
                         double aside = 0) {
  const Joints from = {0, 0.5, 0.9, 0, 0.1, 0}, to = {aside, 0.4, 1.2, 0, -0.1, 0};
  bench.world.motion.setJoints(to);
  const std::string target = bench.point(0, 0, 0);
  bench.world.motion.setJoints(from);
  bench.makeReady();
  const Json::Value switched = key.empty() ? Json::Value(0) : bench.command(key, parameter);
  EXPECT_EQ(switched, 0);
  bench.command("move.l", "{\"point\":" + target + "}");
  bench.command("move.continue");
  bench.run();
  const Json::Value last = bench.pushed("move.last_error_with_setting").back();
  if (last["data"]["msg"] == "finish") {
    for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(bench.world.motion.joints()[i], to[i], 1e-5);
  }
  return last.get("error", 0).asInt();
}

TEST(Singularity, ChangesWhetherALineCanBeFollowed) {
  const struct {
    const char* name;
    const char* key;
    const char* parameter;
    int code;
  } rows[] = {
      {"no way", "", "", -50102},
      {"wrist", kWrist, R"({"enable":true,"threshold":30.0})", 0},
      {"wrist with too little freedom", kWrist, R"({"enable":true,"threshold":0.001})", -50113},
      {"joint way", kJoint, kOn, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Bench bench(Model::standard);
    EXPECT_EQ(throughStraightWrist(bench, row.key, row.parameter, 0.02), row.code);
  }
}

TEST(Singularity, ALockedAxisStaysAtZero) {
  const struct {
    const char* name;
    const char* key;
    std::string body;
    int code;
  } rows[] = {
      {"joints with the axis turned", "move.j", R"({"point":[0.1,0.15,1.6,0.4,1.4,0]})", -50033},
      {"joints", "move.j", R"({"point":[0.1,0.15,1.6,0,1.4,0]})", 0},
      {"tilted", "move.l", R"("rot":[2.9,0.2,0.3])", -50034},
      {"upright", "move.l", "", 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Bench bench;
    bench.makeReady();
    ASSERT_EQ(bench.command(kLock, "true"), 0);
    std::string body = row.body;
    if (row.key == std::string("move.l")) {
      Json::Value point = json(bench.point(0.05, 0.05, 0));
      if (!body.empty()) point["rot"] = json("{" + body + "}")["rot"];
      body = "{\"point\":" + point.toStyledString() + "}";
    }
    bench.command(row.key, body);
    bench.command("move.continue");
    bench.run();
    EXPECT_EQ(bench.pushed("move.last_error_with_setting").back().get("error", 0), row.code);
  }
}

TEST(PostureLerp, RefusesALineOnWhichFiveAxesLoseTheOrientation) {
  for (const bool complete : {false, true}) {
    SCOPED_TRACE(complete);
    Bench bench(Model::tandiFive);
    bench.world.motion.setJoints({-0.9, 0.15, 1.6, 0.6, 0});
    const std::string begin = bench.point(0, 0, 0, near(bench));
    bench.world.motion.setJoints({0.9, 0.15, 1.6, 0.6, 0});
    const std::string end = bench.point(0, 0, 0);
    bench.command(kLerp, complete ? R"({"enable":true})" : R"({"enable":false})");
    const Json::Value reply =
        bench.command("move.path.check", "{\"point0\":" + begin + ",\"point1\":" + end + "}");
    EXPECT_EQ(reply.get("error", 0), complete ? -50113 : 0) << reply;
  }
}

}  // namespace
}  // namespace zivra::sim::test
