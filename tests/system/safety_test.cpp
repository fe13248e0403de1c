// What protects: limits of the axes, and collisions that the controller notices.
#include "system/fixture.h"

namespace zivra::test {

namespace {

using Safety = SystemTest;
using Ec = std::error_code;

TEST_F(Safety, SoftLimitsHoldMovesAndJogsBack) {
  auto& controller = startController();
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  std::array<double[2], 6> limits;
  EXPECT_TRUE(robot.getSoftLimit(limits, ec));
  ASSERT_FALSE(ec) << ec.message();
  const double mechanical = limits[0][1];
  limits[0][1] = mechanical + 0.1;
  robot.setSoftLimit(true, ec, limits);
  EXPECT_EQ(ec.value(), -10051);
  limits[0][1] = 0.5;
  robot.setSoftLimit(true, ec, limits);
  EXPECT_FALSE(ec) << ec.message();

  auto joints = robot.jointPos(ec);
  joints[0] = 0.6;
  const auto tryMove = [&] {
    std::string id;
    robot.moveAppend(std::vector{MoveAbsJCommand(JointPosition(joints))}, id, ec);
    robot.moveStart(ec);
    EXPECT_FALSE(ec) << ec.message();
  };
  tryMove();
  EXPECT_EQ(moving.waitForError().value(), -50101);
  robot.setOperateMode(OperateMode::manual, ec);
  robot.startJog(JogOpt::Space::jointSpace, 1, 0.9, 0, true, ec);
  EXPECT_FALSE(ec) << ec.message();
  ASSERT_TRUE(controller.waitUntilIdle(longestWait));
  EXPECT_NEAR(controller.jointPositions()[0], 0.5, 1e-9) << "as far as it may";
  robot.startJog(JogOpt::Space::jointSpace, 1, 0.1, 0, true, ec);
  EXPECT_EQ(ec.value(), -50101);

  robot.setSoftLimit(false, ec);
  EXPECT_FALSE(ec) << ec.message();
  std::array<double[2], 6> read;
  EXPECT_FALSE(robot.getSoftLimit(read, ec));
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(read[0][1], 0.5) << "off, but not forgotten";
  robot.setOperateMode(OperateMode::automatic, ec);
  tryMove();
  ASSERT_TRUE(moving.waitForFinishes(1));
  EXPECT_NEAR(controller.jointPositions()[0], 0.6, 1e-9);
}

TEST_F(Safety, ATouchPausesOrEndsTheMove) {
  auto& controller = startController(sim::Model::tandi, 2);
  Heard<bool> collided;
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  hear(robot, Event::safety, "collided", collided);
  constexpr std::array<double, 6> sensitivity{1, 1, 1, 1, 1, 1};
  EXPECT_FALSE(controller.touch(500)) << "detection is off";
  robot.enableCollisionDetection(sensitivity, StopLevel::stop2, 0, ec);
  EXPECT_FALSE(ec) << ec.message();
  robot.enableCollisionDetection(sensitivity, StopLevel::stop1, 0, ec);
  EXPECT_EQ(ec, Code::duplicateOperation);

  const double from = moving.here().trans[1];
  moving.append({MoveLCommand(shifted(moving.here(), 0, 0.15, 0), 50)});
  robot.moveStart(ec);
  EXPECT_TRUE(eventually([&] { return moving.here().trans[1] > from + 0.02; }));
  EXPECT_FALSE(controller.touch(1));
  EXPECT_TRUE(controller.touch(200));
  ASSERT_TRUE(collided.waitFor(1));
  EXPECT_TRUE(eventually([&] { return robot.operationState(ec) == OperationState::idle; }));
  EXPECT_LT(moving.here().trans[1], from + 0.14);
  robot.moveStart(ec);
  EXPECT_FALSE(ec) << ec.message();
  ASSERT_TRUE(moving.waitForFinishes(1));
  EXPECT_NEAR(moving.here().trans[1], from + 0.15, 1e-5);
  ASSERT_TRUE(collided.waitFor(2));
  EXPECT_EQ(collided.all(), (std::vector<bool>{true, false}));

  robot.disableCollisionDetection(ec);
  robot.enableCollisionDetection(sensitivity, StopLevel::suppleStop, 0.1, ec);
  EXPECT_FALSE(ec) << ec.message();
  moving.append({MoveLCommand(shifted(moving.here(), 0, -0.15, 0), 50)});
  robot.moveStart(ec);
  EXPECT_TRUE(eventually([&] { return moving.here().trans[1] < from + 0.12; }));
  EXPECT_TRUE(controller.touch(200));
  EXPECT_EQ(moving.waitForError().value(), -50401);
  ASSERT_TRUE(controller.waitUntilIdle(longestWait));
  robot.moveStart(ec);
  EXPECT_EQ(ec, Code::moveEmptyCache);
}

}  // namespace

}  // namespace zivra::test
