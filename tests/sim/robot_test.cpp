// Identity, interlocks, readings and moves, as a client sees them.
#include <cmath>

#include "sim/raw_client.h"
#include "zivra/sim/controller.h"

namespace zivra::sim::test {
namespace {

struct ModelCase {
  Model model;
  const char* name;
  const char* type;
  int axes;
  const char* workType;
};

const ModelCase kModels[] = {
    {Model::triax, "triax", "Triax", 3, "industrial"},
    {Model::quadrax, "quadrax", "Quadrax", 4, "industrial"},
    {Model::standard, "standard", "Standard", 6, "industrial"},
    {Model::tandiFive, "tandi-five", "TandiFive", 5, "cobot"},
    {Model::tandi, "tandi", "Tandi", 6, "cobot"},
    {Model::tandiSeven, "tandi-seven", "TandiSeven", 7, "cobot"},
};

TEST(Robot, EachModelTellsItsIdentityAndHasItsAxes) {
  for (const ModelCase& row : kModels) {
    SCOPED_TRACE(row.name);
    Controller sim({.address = "127.10.4.1", .rtPort = 2000, .model = row.model, .version = "3.2"});
    sim.start();
    RawClient client("127.10.4.1");
    const Json::Value info = client.request('g', "sys.info");
    EXPECT_EQ(info["type"], row.type);
    EXPECT_EQ(info["joint_num"], row.axes);
    EXPECT_EQ(info["work_type"], row.workType);
    EXPECT_EQ(info["version"], "3.2");
    EXPECT_GE(info["id"].asString().size(), 12u);
    EXPECT_EQ(client.request('g', "eci.port"), json(R"({"broadcast":1338,"broadcast_in":1338,"rt":2000})"));
    for (const char* key : {"sys.rt.jnt_pos", "sys.rt.jnt_vel", "sys.rt.jnt_trq"})
      EXPECT_EQ(client.request('g', key).size(), static_cast<unsigned>(row.axes)) << key;
    const Json::Value pose = client.request('g', "sys.posture");
    EXPECT_EQ(pose["trans"].size(), 3u);
    EXPECT_EQ(pose["conf"].size(), 8u);
    EXPECT_EQ(modelNamed(row.name), row.model);
    EXPECT_EQ(modelName(row.model), row.name);
  }
}

// A long move under way.
void startLongMove(Controller&, RawClient& client) {
  makeReady(client);
  Json::Value joints = client.request('g', "sys.rt.jnt_pos");
  joints[0] = joints[0].asDouble() + 1.0;
  Json::Value body;
  body["point"] = joints;
  body["traj"]["jnt_speed"] = 0.01;
  client.batch("move.j", Json::FastWriter().write(body), "absj#1");
  ASSERT_EQ(client.reply()["c"]["move.j"], 0);
  ASSERT_EQ(client.command("move.continue", "0"), 0);
  ASSERT_EQ(client.request('g', "sys.state"), "idleing");
}

void nothing(Controller&, RawClient&) {}
void ready(Controller&, RawClient& client) { makeReady(client); }
void estop(Controller& sim, RawClient& client) {
  makeReady(client);
  sim.pressEmergencyStop();
}
void estopReleased(Controller& sim, RawClient& client) {
  estop(sim, client);
  sim.releaseEmergencyStop();
}
void gate(Controller& sim, RawClient&) { sim.openSafetyGate(true); }
void alarm(Controller& sim, RawClient& client) {
  makeReady(client);
  sim.raiseServoAlarm();
}
void realTime(Controller&, RawClient& client) {
  makeReady(client);
  ASSERT_EQ(client.command("eci.enable", R"({"protocol_version":"sdk0.7.1"})"), 0);
}

const char kFrame[] = R"({"trans":[0.1,0.0,0.0],"rot":[0.0,0.0,0.0]})";
const char kWait[] = R"({"time":0.1})";

struct Interlock {
  const char* name;
  void (*before)(Controller&, RawClient&);
  char form;
  const char* key;
  const char* parameter;
  Json::Value expected;
};

const Interlock kInterlocks[] = {
    {"power on", nothing, 'c', "sys.power.on", "null", 0},
    {"power on in emergency stop", estop, 'c', "sys.power.on", "null", -3},
    {"power on before the emergency stop is reset", estopReleased, 'c', "sys.power.on", "null", -3},
    {"power on with an open gate", gate, 'c', "sys.power.on", "null", -514},
    {"power on in an alarm", alarm, 'c', "sys.power.on", "null", -514},
    {"power in emergency stop", estop, 'g', "sys.power", "null", "estop"},
    {"power with an open gate", gate, 'g', "sys.power", "null", "gstop"},
    {"power in an alarm", alarm, 'g', "sys.power", "null", "off"},
    {"reset of a pressed emergency stop", estop, 'c', "rsc.emer_stop.reset", "null", -3},
    {"reset of a released emergency stop", estopReleased, 'c', "rsc.emer_stop.reset", "null", 0},
    {"clear alarm", alarm, 'c', "sys.servo.clear_alarm", "null", 0},
    {"mode while moving", startLongMove, 'c', "sys.mode.switch", "\"manual\"", -20},
    {"mode of no name", nothing, 'c', "sys.mode.switch", "\"automatic\"", -260},
    {"base frame while moving", startLongMove, 's', "ix.coord.base_in_world", kFrame, -20},
    {"base frame", ready, 's', "ix.coord.base_in_world", kFrame, 0},
    {"reboot while moving", startLongMove, 'c', "utils.reboot", "null", -20},
    {"move in manual mode", nothing, 'c', "move.wait", kWait, -16},
    {"move with power off",
     [](Controller&, RawClient& client) { client.command("sys.mode.switch", "\"auto\""); }, 'c', "move.wait",
     kWait, -17},
    {"move in emergency stop", estop, 'c', "move.wait", kWait, -3},
    {"move in real-time control", realTime, 'c', "move.wait", kWait, -18},
    {"state in real-time control", realTime, 'g', "sys.state", "null", "rci"},
    {"mode in real-time control", realTime, 'c', "sys.mode.switch", "\"manual\"", -18},
    {"end of real-time control", realTime, 'c', "eci.disable", "null", 0},
    {"continue with nothing to do", ready, 'c', "move.continue", "0", -1},
    {"pause with nothing to do", nothing, 'c', "move.pause", "null", -1},
    {"teach pendant", nothing, 'c', "sys.set_teach_pendant", R"({"with":false})", 0},
    {"address", nothing, 's', "eci.ip", "\"127.10.9.9\"", 0},
    {"address of no form", nothing, 's', "eci.ip", "\"1.2.3\"", -10101},
    {"address of the machine itself", nothing, 's', "eci.ip", "\"127.0.0.1\"", 0},
    {"address of nobody", nothing, 's', "eci.ip", "\"0.0.0.0\"", -10101},
    {"address of a group", nothing, 's', "eci.ip", "\"239.1.2.3\"", -10101},
    {"default speed", nothing, 's', "move.default_speed", "0.2", 0},
    {"default zone", nothing, 's', "move.default_zone", "0.005", 0},
    {"override", nothing, 'c', "move.override_rate", "0.5", 0},
    {"override above 1", nothing, 'c', "move.override_rate", "1.5", -50513},
    {"acceleration", nothing, 's', "move.acc", R"({"acc":0.5,"jerk":0.25})", 0},
    {"signal by name", nothing, 'g', "device.io", R"({"DI.DI0_0":null,"DI.no":null})",
     json(R"({"DI.DI0_0":true})")},
};

TEST(Robot, InterlocksItsStates) {
  Controller sim({.address = "127.10.4.2", .speedFactor = 1});
  for (const Interlock& row : kInterlocks) {
    SCOPED_TRACE(row.name);
    sim.openSafetyGate(false);
    sim.releaseEmergencyStop();
    sim.start();
    RawClient client("127.10.4.2");
    row.before(sim, client);
    EXPECT_EQ(client.request(row.form, row.key, row.parameter), row.expected);
    sim.stop();
  }
}

TEST(Robot, WhatOneRequestChangesTheOthersShow) {
  Controller sim({.address = "127.10.4.3"});
  sim.start();
  RawClient client("127.10.4.3"), other("127.10.4.3");
  const Json::Value before = client.request('g', "sys.posture");
  EXPECT_EQ(client.request('s', "ix.coord.base_in_world", kFrame), 0);
  EXPECT_EQ(other.request('g', "ix.coord.base_in_world"), json(kFrame));
  EXPECT_NEAR(other.request('g', "sys.posture")["trans"][0].asDouble(), before["trans"][0].asDouble() + 0.1,
              1e-9);
  EXPECT_EQ(client.request('s', "move.acc", R"({"acc":0.5,"jerk":0.25})"), 0);
  EXPECT_EQ(other.request('g', "move.acc"), json(R"({"acc":0.5,"jerk":0.25})"));
  EXPECT_EQ(client.command("move.override_rate", "0.5"), 0);
  EXPECT_EQ(other.request('g', "project.run_param", R"({"override":null})")["override"], 0.5);

  sim.setJointPositions({0.1, 0.2, 0.3, 0.4, 0.5, 0.6});
  EXPECT_EQ(other.request('g', "sys.rt.jnt_pos"), json("[0.1,0.2,0.3,0.4,0.5,0.6]"));
  EXPECT_THROW(sim.setJointPositions({1}), std::invalid_argument);

  makeReady(client);
  EXPECT_EQ(sim.operateMode(), "auto");
  sim.pressEmergencyStop();
  EXPECT_EQ(other.request('g', "sys.power"), "estop");
  sim.releaseEmergencyStop();
  EXPECT_EQ(client.command("rsc.emer_stop.reset"), 0);
  EXPECT_EQ(client.command("sys.power.on"), 0);
  EXPECT_EQ(other.request('g', "sys.power"), "on");
}

// A batch near where the arm stands: X stands for the present point, moved a little.
std::string point(RawClient& client, double dx, double dy, double dz) {
  Json::Value pose = client.request('g', "sys.posture");
  const double by[] = {dx, dy, dz};
  for (int i = 0; i < 3; ++i) pose["trans"][i] = pose["trans"][i].asDouble() + by[i];
  pose.removeMember("conf");
  return Json::FastWriter().write(pose);
}

struct Ending {
  std::string id, message;
  int point, error;
};

// Notifications until the first that ends a move.
Ending awaitEnding(RawClient& client) {
  while (true) {
    const Json::Value push = client.push();
    if (push.isNull()) return {"none", "none", -1, 0};
    const Json::Value& note = push["n"]["move.last_error_with_setting"];
    const Json::Value& data = note["data"];
    const std::string message = data["msg"].asString();
    if (note.isMember("error") || message.find("finish") == 0)
      return {data["id"].asString(), message, data["point"].asInt(), note.get("error", 0).asInt()};
  }
}

TEST(Robot, MovesOfEveryKindFinish) {
  Controller sim({.address = "127.10.4.4", .speedFactor = 50});
  sim.start();
  RawClient client("127.10.4.4");
  makeReady(client);
  client.request('w', "move.last_error_with_setting", "true");
  const auto at = [&](double dx, double dy, double dz) { return "\"point\":" + point(client, dx, dy, dz); };
  const auto aux = [&](double dx, double dy, double dz) { return "\"aux\":" + point(client, dx, dy, dz); };
  const std::string joints = Json::FastWriter().write(client.request('g', "sys.rt.jnt_pos"));
  struct Kind {
    const char* key;
    std::vector<std::string> bodies;
  };
  const Kind kinds[] = {
      {"move.j", {"{\"point\":" + joints + ",\"traj\":{\"jnt_speed\":0.5}}"}},
      {"move.jc", {"{" + at(0.02, 0, 0) + "}"}},
      {"move.l",
       {"{" + at(0, 0, 0) + "}", "{" + at(0.03, 0.02, 0) + ",\"custom\":\"b*c\",\"traj\":{\"speed\":0.2}}"}},
      {"move.c", {"{" + at(0.05, 0, 0) + "," + aux(0.04, 0.04, 0) + "}"}},
      {"move.cf",
       {"{" + at(0.05, 0.03, 0) + "," + aux(0.03, 0.01, 0) +
        R"(,"circle":{"angle":6.28,"rot_type":"const_pose"}})"}},
      {"move.sp",
       {"{" + at(0.05, 0, 0) + R"(,"spiral":{"radius":0.01,"step":0.002,"angle":12.5,"dir":true}})"}},
      {"move.wait", {R"({"time":0.5})"}},
  };
  int number = 0;
  for (const Kind& kind : kinds) {
    SCOPED_TRACE(kind.key);
    const std::string id = "k#" + std::to_string(++number);
    std::string body = kind.bodies[0];
    if (kind.bodies.size() > 1) {
      body = "{\"path\":[" + kind.bodies[0];
      for (std::size_t i = 1; i < kind.bodies.size(); ++i) body += "," + kind.bodies[i];
      body += "]}";
    }
    client.batch(kind.key, body, id);
    const Json::Value reply = client.reply();
    EXPECT_EQ(reply["id"], id);
    EXPECT_EQ(reply["c"][kind.key], 0);
    EXPECT_EQ(client.command("move.continue", "0"), 0);
    for (std::size_t i = 0; i < kind.bodies.size(); ++i) {
      const Ending ending = awaitEnding(client);
      EXPECT_EQ(ending.error, 0);
      EXPECT_EQ(ending.message.substr(0, 6), "finish") << ending.message;
      EXPECT_EQ(ending.point, static_cast<int>(i));
      EXPECT_EQ(ending.id, i == 1 ? id + "*b*c" : id);
    }
    EXPECT_TRUE(sim.waitUntilIdle(kPatience));
    EXPECT_EQ(client.request('g', "sys.state"), "idle");
  }
}

struct Trouble {
  const char* name;
  const char* key;
  std::string body;
  void (*meanwhile)(Controller&, RawClient&);
  int error;
  const char* message;  // part of it
};

TEST(Robot, TellsWhyAMoveEnded) {
  const std::string longWait = R"({"time":1000})";
  const std::string replay = R"({"name":"a","rate":1})";
  const Trouble troubles[] = {
      {"unreachable", "move.l", R"({"point":{"trans":[9,9,9],"rot":[0,0,0],"elb":0}})", nothing, -50002, ""},
      {"axes", "move.j", R"({"point":[0.1,0.2]})", nothing, -50512, ""},
      {"no such path", "move.replay", replay, nothing, -60511, ""},
      {"malformed", "move.l", R"({"point":{"trans":[null,0,0],"rot":[0,0,0]}})", nothing, -260, ""},
      {"emergency stop", "move.wait", longWait, [](Controller& s, RawClient&) { s.pressEmergencyStop(); }, -3,
       "emergency"},
      {"servo alarm", "move.wait", longWait, [](Controller& s, RawClient&) { s.raiseServoAlarm(); }, -50001,
       "alarm"},
      {"gate", "move.wait", longWait, [](Controller& s, RawClient&) { s.openSafetyGate(true); }, -17, "gate"},
      {"collision", "move.wait", longWait, [](Controller& s, RawClient&) { s.collide(); }, -50401,
       "collision"},
      {"power off", "move.wait", longWait, [](Controller&, RawClient& c) { c.command("sys.power.off"); }, -17,
       "off"},
      {"laid-out failure", "move.wait", longWait, nullptr, -50102, ""},
      {"laid-out inverse failure", "move.wait", longWait, nullptr, -1, "ik"},
  };
  Controller sim({.address = "127.10.4.5"});
  for (const Trouble& row : troubles) {
    SCOPED_TRACE(row.name);
    sim.openSafetyGate(false);
    sim.releaseEmergencyStop();
    sim.start();
    RawClient client("127.10.4.5");
    makeReady(client);
    client.request('w', "move.last_error_with_setting", "true");
    if (row.meanwhile == nullptr) sim.failNextMove(row.error == -1 ? -33 : row.error);
    client.batch(row.key, row.body, "t#1");
    client.reply();
    client.command("move.continue", "0");
    if (row.meanwhile != nullptr) row.meanwhile(sim, client);
    const Ending ending = awaitEnding(client);
    EXPECT_EQ(ending.error, row.error);
    EXPECT_EQ(ending.id, "t#1");
    EXPECT_NE(ending.message.find(row.message), std::string::npos) << ending.message;
    EXPECT_TRUE(sim.waitUntilIdle(kPatience));
    sim.stop();
  }
}

TEST(Robot, PausesContinuesAndResets) {
  Controller sim({.address = "127.10.4.6", .speedFactor = 5});
  sim.start();
  RawClient client("127.10.4.6");
  startLongMove(sim, client);
  EXPECT_EQ(client.command("move.pause"), 0);
  EXPECT_TRUE(eventually([&] { return sim.operationState() == "idle"; }));
  const auto stood = sim.jointPositions();
  EXPECT_FALSE(sim.waitUntilIdle(kQuiet));  // the move is still queued
  EXPECT_EQ(sim.jointPositions(), stood);
  EXPECT_EQ(client.command("move.continue", "0"), 0);
  EXPECT_TRUE(eventually([&] { return sim.jointPositions() != stood; }));
  EXPECT_EQ(client.command("move.reset", R"({"remain_traj":true})"), 0);
  EXPECT_TRUE(sim.waitUntilIdle(kPatience));
  EXPECT_EQ(client.command("move.continue", "0"), -1);
}

}  // namespace
}  // namespace zivra::sim::test
