// Jogging, pausing, settings, the switch of modes and path checks on a simulated arm.
#include <any>
#include <chrono>

#include "system/fixture.h"

namespace zivra::test {

namespace {

using Jog = SystemTest;
using Settings = SystemTest;
using Ec = std::error_code;
using Clock = std::chrono::steady_clock;

TEST_F(Jog, MovesUntilTheStepIsDoneOrItIsStopped) {
  auto& controller = startController(sim::Model::tandi, 10);
  TandiRobot robot(address());
  Ec ec;
  robot.setOperateMode(OperateMode::manual, ec);
  robot.setPowerState(true, ec);
  ASSERT_FALSE(ec) << ec.message();
  const auto before = robot.jointPos(ec);
  robot.startJog(JogOpt::Space::jointSpace, 1, 0.3, 0, true, ec);
  EXPECT_FALSE(ec) << ec.message();
  ASSERT_TRUE(controller.waitUntilIdle(longestWait));
  EXPECT_NEAR(robot.jointPos(ec)[0], before[0] + 0.3, 1e-6);

  const CartesianPosition stood = robot.cartPosture(CoordinateType::endInRef, ec);
  robot.startJog(JogOpt::Space::baseFrame, 1, 0.05, 2, false, ec);
  EXPECT_FALSE(ec) << ec.message();
  ASSERT_TRUE(controller.waitUntilIdle(longestWait));
  EXPECT_NEAR(robot.cartPosture(CoordinateType::endInRef, ec).trans[2], stood.trans[2] - 0.05, 1e-5);

  const double from = robot.jointPos(ec)[0];
  robot.startJogWithExt(JogOpt::Space::jointSpace, 0.05, 2, 0, false, "", ec, false);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(eventually([&] { return robot.jointPos(ec).at(0) < from - 0.01; }));
  EXPECT_EQ(robot.operationState(ec), OperationState::jogging);
  robot.stop(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(eventually([&] { return robot.operationState(ec) == OperationState::idle; }));
  const double end = robot.jointPos(ec)[0];
  EXPECT_GT(end, from - 1.5) << "before the step was done";

  robot.startJog(JogOpt::Space::jointSpace, 1, 0.1, 6, true, ec);
  EXPECT_EQ(ec.value(), -50516) << "an axis that the arm hasn't";
  EXPECT_EQ(robot.jointPos(ec)[0], end);
}

TEST_F(Settings, APausedMoveGoesOn) {
  auto& controller = startController(sim::Model::tandi, 2);
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  robot.stop(ec);
  EXPECT_EQ(ec, Code::robotStopping) << "nothing moves";
  const CartesianPosition home = moving.here();
  const std::string id = moving.append({MoveLCommand(shifted(home, 0.15, 0, 0), 30)});
  robot.moveStart(ec);
  EXPECT_TRUE(eventually([&] { return moving.here().trans[0] > home.trans[0] + 0.005; }));
  robot.stop(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(eventually([&] { return robot.operationState(ec) == OperationState::idle; }));
  const double stood = moving.here().trans[0];
  EXPECT_LT(stood, home.trans[0] + 0.149);
  EXPECT_TRUE(moving.finishes().empty());
  robot.adjustSpeedOnline(1, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(moving.here().trans[0], stood);
  robot.moveStart(ec);
  EXPECT_FALSE(ec) << ec.message();
  ASSERT_TRUE(moving.waitForFinishes(1));
  ASSERT_TRUE(controller.waitUntilIdle(longestWait));
  EXPECT_EQ(moving.finishes().front().id, id);
  EXPECT_NEAR(moving.here().trans[0], home.trans[0] + 0.15, 1e-5);
}

TEST_F(Settings, RealTimeControlExcludesMoves) {
  startController();
  TandiRobot robot(address());
  Ec ec;
  robot.setOperateMode(OperateMode::automatic, ec);
  robot.setPowerState(false, ec);
  const auto wait = [&] {
    std::string id;
    robot.moveAppend(MoveWaitCommand(std::chrono::milliseconds(1)), id, ec);
    return ec;
  };
  robot.setMotionControlMode(MotionControlMode::RtCommand, ec);
  EXPECT_EQ(ec.value(), -17) << "without power";
  EXPECT_FALSE(wait());
  robot.moveReset(ec);
  robot.setPowerState(true, ec);
  robot.setMotionControlMode(MotionControlMode::RtCommand, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(robot.operationState(ec), OperationState::rtControlling);
  EXPECT_EQ(wait(), Code::motionControlMode);
  robot.setMotionControlMode(MotionControlMode::NrtCommand, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(robot.operationState(ec), OperationState::idle);
  Heard<bool> finished;
  robot.setEventWatcher(
      Event::moveExecution,
      [&](const EventInfo& table) {
        if (std::any_cast<bool>(table.at("reachTarget"))) finished.add(true);
      },
      ec);
  EXPECT_FALSE(wait());
  robot.moveStart(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(finished.waitFor(1)) << "moves work as before";
  robot.setEventWatcher(Event::moveExecution, {}, ec);
}

TEST_F(Settings, DefaultSpeedAndOverrideChangeHowLongAMoveTakes) {
  auto& controller = startController(sim::Model::tandi, 5);
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  const CartesianPosition home = moving.here();
  std::size_t moves = 0;
  const auto timeOfAMove = [&](double speed, double scale) {
    robot.setDefaultSpeed(speed, ec);
    EXPECT_FALSE(ec) << ec.message();
    robot.adjustSpeedOnline(scale, ec);
    EXPECT_FALSE(ec) << ec.message();
    moving.append({MoveLCommand(shifted(home, ++moves % 2 == 0 ? 0 : 0.1, 0, 0))});
    const auto begin = Clock::now();
    robot.moveStart(ec);
    EXPECT_TRUE(moving.waitForFinishes(moves));
    EXPECT_TRUE(controller.waitUntilIdle(longestWait));
    return std::chrono::duration<double>(Clock::now() - begin).count();
  };
  // 0.1 m at 20 mm/s, on a clock of five times the pace.
  const double slow = timeOfAMove(20, 1);
  EXPECT_GT(slow, 0.9);
  EXPECT_GT(timeOfAMove(80, 0.25), 0.9);
  EXPECT_LT(timeOfAMove(500, 1), slow);
  robot.setDefaultSpeed(-1, ec);
  EXPECT_EQ(ec.value(), -50513);

  double acc = 0, jerk = 0;
  robot.adjustAcceleration(0.5, 1.5, ec);
  EXPECT_FALSE(ec) << ec.message();
  robot.getAcceleration(acc, jerk, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(std::pair(acc, jerk), std::pair(0.5, 1.5));
}

TEST_F(Settings, OtherSettingsAreTakenOver) {
  startController(sim::Model::tandi);
  TandiRobot robot(address());
  Ec ec;
  robot.setDefaultZone(5, ec);
  EXPECT_FALSE(ec) << ec.message();
  robot.setDefaultZone(-5, ec);
  EXPECT_EQ(ec.value(), -290);
  robot.setDefaultConfOpt(true, ec);
  EXPECT_FALSE(ec) << ec.message();
  robot.setAutoIgnoreZone(true, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_FALSE(robot.getAvoidSingularity(AvoidSingularityMethod::wrist, ec));
  EXPECT_FALSE(ec) << ec.message();
  robot.setAvoidSingularity(AvoidSingularityMethod::wrist, true, 0.1, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(robot.getAvoidSingularity(AvoidSingularityMethod::wrist, ec));
  robot.setAvoidSingularity(AvoidSingularityMethod::lockAxis4, true, 0, ec);
  EXPECT_EQ(ec.value(), -60702) << "one way at a time";
}

TEST_F(Settings, PathChecksTellTheEndOrWhereItFails) {
  startController();
  TandiRobot robot(address());
  Ec ec;
  const auto joints = robot.jointPos(ec);
  const CartesianPosition home = robot.cartPosture(CoordinateType::endInRef, ec);
  const CartesianPosition one = shifted(home, 0.05, 0, 0), two = shifted(home, 0.05, 0.05, 0),
                          far = shifted(home, 3, 0, 0);
  std::vector<double> calculated;
  EXPECT_EQ(robot.checkPath(joints, {home, one, two}, calculated, ec), 0);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(calculated.size(), 6u);
  EXPECT_EQ(robot.checkPath(joints, {home, one, far, two}, calculated, ec), 3);
  EXPECT_EQ(ec.value(), -50002);
  EXPECT_EQ(calculated, std::vector<double>(6, 0.0));
  EXPECT_EQ(robot.checkPath(home, joints, far, ec), std::vector<double>(6, 0.0));
  EXPECT_EQ(ec.value(), -50002);
  EXPECT_EQ(robot.checkPath(home, joints, one, two, ec, 3.14, MoveCFCommand::RotType::fixedAxis).size(), 6u);
  EXPECT_FALSE(ec) << ec.message();
  const auto end = robot.checkPath(home, joints, one, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(robot.jointPos(ec), joints) << "nothing has moved";
  // What was told is where the move really ends.
  MovingRobot moving(address());
  moving.append({MoveLCommand(one)});
  moving.robot.moveStart(moving.ec);
  ASSERT_TRUE(moving.waitForFinishes(1));
  ASSERT_TRUE(controller().waitUntilIdle(longestWait));
  const auto reached = robot.jointPos(ec);
  ASSERT_EQ(end.size(), reached.size());
  for (std::size_t i = 0; i < end.size(); ++i) EXPECT_NEAR(end[i], reached[i], 1e-5);
}

}  // namespace

}  // namespace zivra::test
