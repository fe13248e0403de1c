// Guiding by hand, and recorded paths.
#include "robot/fixture.h"
#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;
using Space = DragParameter::Space;
using Type = DragParameter::Type;

Rules atRest() { return Rules().after('g', "sys.state", "null", R"("idle")"); }
// On a dead link the state is unknown too, and the line says so.
Rules inRealTime() { return Rules().after('g', "sys.state", "null", R"("rci")").silentOnDeadLink(); }

const WireCase rows[] = {
    {"drag", 'c', "sys.drag", R"({"enable":true,"quick":false,"space":1,"type":0})", "0",
     "enableDrag end, rt:false (0)",
     [](Robot& r, Ec& ec) { r.enableDrag(Space::cartesianSpace, Type::translationOnly, ec); }, atRest()},
    {"drag in real time, at once", 'c', "eci.drag", R"({"enable":true,"quick":true,"space":0,"type":2})", "0",
     "enableDrag end, rt:true (0)",
     [](Robot& r, Ec& ec) { r.enableDrag(Space::jointSpace, Type::freely, ec, true); }, inRealTime()},
    {"drag in a state that can't be read", 'c', "sys.drag",
     R"({"enable":true,"quick":false,"space":1,"type":1})", "0", "enableDrag end, rt:false (0)",
     [](Robot& r, Ec& ec) { r.enableDrag(Space::cartesianSpace, Type::rotationOnly, ec); },
     Rules().after('g', "sys.state", "null", "-1")},
    {"end of a drag that never was", 'c', "sys.drag", R"({"enable":false,"space":0,"type":2})", "0",
     "disableDrag end, rt:false (0)", [](Robot& r, Ec& ec) { r.disableDrag(ec); }, atRest()},
    {"end of a drag in real time", 'c', "eci.drag", R"({"enable":false,"space":0,"type":2})", "0",
     "disableDrag end, rt:true (0)", [](Robot& r, Ec& ec) { r.disableDrag(ec); }, inRealTime()},
    {"record", 'c', "move.record.start", R"({"duration":30,"signals":[],"type":"time"})", "0",
     "startRecordPath end, duration: 30s (0)", [](Robot& r, Ec& ec) { r.startRecordPath(30, ec); }},
    {"end of a recording", 'c', "move.record.stop", "null", "0", "stopRecordPath end (0)",
     [](Robot& r, Ec& ec) { r.stopRecordPath(ec); }},
    {"recording dropped", 'c', "move.record.cancel", "null", "0", nullptr,
     [](Robot& r, Ec& ec) { r.cancelRecordPath(ec); }},
    {"keep", 'c', "move.record.save", R"({"name":"a"})", "0", "saveRecordPath end, name: a, saveAs:  (0)",
     [](Robot& r, Ec& ec) { r.saveRecordPath("a", ec); }},
    {"keep under another name", 'c', "move.record.save", R"({"as":"b","name":"a"})", "0",
     "saveRecordPath end, name: a, saveAs: b (0)", [](Robot& r, Ec& ec) { r.saveRecordPath("a", ec, "b"); }},
    {"replay", 'c', "move.replay", R"({"name":"a","rate":0.5})", "0",
     "Push cmd replay, id {id}\nreplayPath end, name: a, rate: 0.5 (0)",
     [](Robot& r, Ec& ec) { r.replayPath("a", 0.5, ec); }, Rules().queuedAs("path")},
    {"remove", 'c', "move.record.remove", R"("a")", "0", "removePath end, name: a, removeAll: false (0)",
     [](Robot& r, Ec& ec) { r.removePath("a", ec); }},
    {"remove all", 'c', "move.record.remove.all", "null", "0", "removePath end, name: a, removeAll: true (0)",
     [](Robot& r, Ec& ec) { r.removePath("a", ec, true); }},
    {"stored paths", 'g', "move.record.paths", "null", R"(["a","b c"])", nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.queryPathLists(ec), {"a", "b c"});
     },
     Rules().tolerates("< << >")},
    {"no stored path", 'g', "move.record.paths", "null", "[]", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.queryPathLists(ec), {}); }},
};
const WireTests tests("drag", rows);

using Drag = RobotTest;

TEST_F(Drag, JointSpaceGoesFreelyOnly) {
  TandiRobot robot(address());
  for (const Type type : {Type::translationOnly, Type::rotationOnly}) {
    Ec ec;
    robot.enableDrag(Space::jointSpace, type, ec);
    EXPECT_EQ(ec, Code::argumentInvalid);
  }
  EXPECT_EQ(timesLogged("E: uid: scripted | enableDrag not freely in joint space (259)"), 2);
  EXPECT_EQ(controller_.count("sys.state") + controller_.count("sys.drag"), 0u);
}

// The end of a drag names what was last asked for, also if it was refused or never answered.
TEST_F(Drag, WhatWasAskedForIsEnded) {
  TandiRobot robot(address());
  controller_.answer("sys.state", R"("idle")");
  controller_.answer("sys.drag", "-10040");
  Ec ec;
  robot.enableDrag(Space::cartesianSpace, Type::rotationOnly, ec);
  EXPECT_EQ(ec.value(), -10040);
  robot.enableDrag(Space::jointSpace, Type::translationOnly, ec);
  EXPECT_EQ(ec, Code::argumentInvalid);
  controller_.answer("sys.drag", "0");
  controller_.forgetRequests();
  robot.disableDrag(ec);
  EXPECT_EQ(ec.value(), 0);
  EXPECT_NE(controller_.frames().back().find(R"({"enable":false,"space":1,"type":1})"), std::string::npos)
      << controller_.frames().back();
}

TEST_F(Drag, NoReplayWithoutConnectionOrForTasks) {
  Ec ec;
  TandiRobot never;
  never.replayPath("a", 1, ec);
  EXPECT_EQ(ec, Code::notConnected);

  TandiRobot robot(address());
  controller_.answer("sys.state", R"("idle")");
  robot.setMotionControlMode(MotionControlMode::NrtRLTask, ec);
  ASSERT_EQ(ec.value(), 0);
  robot.replayPath("a", 1, ec);
  EXPECT_EQ(ec, Code::motionControlMode);
  EXPECT_EQ(timesLogged("E: uid: scripted | replayPath control mode error NrtRLTask (262)"), 1);

  robot.setMotionControlMode(MotionControlMode::NrtCommand, ec);
  ASSERT_EQ(ec.value(), 0);
  robot.replayPath("b", 1, ec);
  ASSERT_TRUE(controller_.waitForRequest("move.replay"));
  EXPECT_EQ(controller_.count("move.replay"), 1u) << "and nothing of the first";
}

}  // namespace

}  // namespace zivra::test
