// A path that is taught by hand, kept, and replayed.

#include "system/fixture.h"

namespace zivra::test {

namespace {

using Guiding = SystemTest;
using Ec = std::error_code;
using Space = DragParameter::Space;
using Type = DragParameter::Type;

TEST_F(Guiding, ATaughtPathIsKeptAndReplayed) {
  auto& controller = startController(sim::Model::tandi, 20);
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  robot.enableDrag(Space::cartesianSpace, Type::freely, ec);
  EXPECT_EQ(ec.value(), -16);
  robot.setOperateMode(OperateMode::manual, ec);
  robot.enableDrag(Space::cartesianSpace, Type::freely, ec);
  EXPECT_EQ(ec.value(), -515) << "guiding switches the motors itself";
  robot.setPowerState(false, ec);
  robot.startRecordPath(60, ec);
  EXPECT_EQ(ec.value(), -18);
  robot.enableDrag(Space::cartesianSpace, Type::freely, ec);
  ASSERT_FALSE(ec) << ec.message();
  EXPECT_EQ(robot.operationState(ec), OperationState::drag);
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
  EXPECT_TRUE(controller.guidedByHand());
  robot.startJog(JogOpt::Space::jointSpace, 1, 0.3, 0, true, ec);
  EXPECT_EQ(ec.value(), -18);
  robot.setOperateMode(OperateMode::automatic, ec);
  EXPECT_EQ(ec.value(), -18);

  robot.startRecordPath(60, ec);
  ASSERT_FALSE(ec) << ec.message();
  auto end = controller.jointPositions();
  end[0] += 0.8;
  end[2] -= 0.2;
  controller.guideByHand({end}, 8);
  EXPECT_TRUE(eventually([&] { return robot.jointVel(ec).at(0) > 0.05; }));
  ASSERT_TRUE(controller.waitUntilIdle(longestWait));
  robot.stopRecordPath(ec);
  ASSERT_FALSE(ec) << ec.message();
  sim::Fault full;
  full.key = "move.record.save";
  full.code = -353;
  controller.inject(full);
  robot.saveRecordPath("a", ec);
  EXPECT_EQ(ec.value(), -353);
  robot.saveRecordPath("a", ec);
  EXPECT_FALSE(ec) << ec.message();
  robot.saveRecordPath("a", ec, "wave");
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(robot.queryPathLists(ec), std::vector<std::string>{"wave"});
  robot.disableDrag(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(robot.operationState(ec), OperationState::idle);
  EXPECT_EQ(robot.powerState(ec), PowerState::off);

  robot.setOperateMode(OperateMode::automatic, ec);
  robot.setPowerState(true, ec);
  auto elsewhere = end;
  elsewhere[0] += 0.3;
  controller.setJointPositions(elsewhere);
  robot.replayPath("wave", 4, ec);
  EXPECT_FALSE(ec) << ec.message();
  robot.moveStart(ec);
  ASSERT_TRUE(moving.waitForFinishes(1));
  EXPECT_EQ(moving.finishes().front().id.rfind("path#", 0), 0u);
  ASSERT_TRUE(controller.waitUntilIdle(longestWait));
  for (std::size_t i = 0; i < end.size(); ++i) EXPECT_NEAR(controller.jointPositions()[i], end[i], 1e-6);

  robot.removePath("nobody", ec);
  EXPECT_EQ(ec.value(), -60511);
  robot.removePath("wave", ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(robot.queryPathLists(ec).empty());
  robot.replayPath("wave", 1, ec);
  robot.moveStart(ec);
  EXPECT_EQ(moving.waitForError().value(), -60511);
}

TEST_F(Guiding, IsRefusedWhileTheTorqueSensorsAreOff) {
  auto& controller = startController();
  TandiRobot robot(address());
  Ec ec;
  const auto before = robot.jointTorque(ec);
  controller.setTorqueDrift(2, 12);
  EXPECT_NEAR(robot.jointTorque(ec)[2], before[2] + 12, 1e-9);
  robot.enableDrag(Space::jointSpace, Type::freely, ec);
  EXPECT_EQ(ec.value(), -10040);
  robot.calibrateForceSensor(false, 1, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_NEAR(robot.jointTorque(ec)[2], before[2] + 12, 1e-9) << "another axis";
  robot.calibrateForceSensor(false, 2, ec);
  EXPECT_EQ(robot.jointTorque(ec), before);
  robot.enableDrag(Space::jointSpace, Type::freely, ec);
  EXPECT_FALSE(ec) << ec.message();
  controller.setTorqueDrift(0, 1);
  auto away = controller.jointPositions();
  away[0] += 1;
  controller.guideByHand({away}, 1000);
  robot.calibrateForceSensor(true, 0, ec);
  EXPECT_EQ(ec.value(), -20);
  robot.disableDrag(ec);
  robot.calibrateForceSensor(true, 0, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_NEAR(robot.jointTorque(ec)[0], before[0], 1e-9);
}

TEST_F(Guiding, GoesOnUnderRealTimeControl) {
  auto& controller = startController();
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  robot.setMotionControlMode(MotionControlMode::RtCommand, ec);
  ASSERT_FALSE(ec) << ec.message();
  robot.enableDrag(Space::cartesianSpace, Type::rotationOnly, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(controller.guidedByHand());
  EXPECT_EQ(robot.operationState(ec), OperationState::rtControlling);
  robot.disableDrag(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_FALSE(controller.guidedByHand());
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
}

TEST_F(Guiding, StoredPathsSurviveARestart) {
  auto& controller = startController();
  TandiRobot robot(address());
  Ec ec;
  robot.enableDrag(Space::jointSpace, Type::freely, ec);
  robot.startRecordPath(600, ec);
  auto away = controller.jointPositions();
  away[0] += 1;
  controller.guideByHand({away}, 5);
  ASSERT_TRUE(controller.waitUntilIdle(longestWait));
  robot.stopRecordPath(ec);
  robot.saveRecordPath("kept", ec);
  ASSERT_FALSE(ec) << ec.message();
  controller.reboot();
  EXPECT_TRUE(eventually([&] { return !controller.guidedByHand(); }));
  EXPECT_TRUE(eventually([&] { return robot.queryPathLists(ec) == std::vector<std::string>{"kept"}; }))
      << ec.message();
}

}  // namespace

}  // namespace zivra::test
