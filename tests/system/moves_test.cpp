// Moves from the call to the finish that the application hears.
#include <cmath>

#include "system/fixture.h"

namespace zivra::test {

namespace {

using Moves = SystemTest;
using Ec = std::error_code;

void expectNear(const CartesianPosition& actual, const CartesianPosition& expected) {
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(actual.trans[i], expected.trans[i], 1e-5) << i;
}

TEST_F(Moves, OfASquareFinishOnceEachInOrder) {
  startController();
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  const CartesianPosition home = moving.here();
  std::vector<MoveLCommand> square;
  const double side = 0.05;
  for (const auto& [x, y, name] :
       {std::tuple{side, 0.0, "one"}, {side, side, "two*#"}, {0.0, side, ""}, {0.0, 0.0, "four"}}) {
    MoveLCommand line(shifted(home, x, y, 0), 200, 5);
    line.customInfo = name;
    square.push_back(line);
  }
  const std::string id = moving.append(square);
  robot.moveStart(ec);
  ASSERT_FALSE(ec) << ec.message();
  ASSERT_TRUE(moving.waitForFinishes(4));
  ASSERT_TRUE(controller().waitUntilIdle(longestWait));
  const auto finishes = moving.finishes();
  ASSERT_EQ(finishes.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(finishes[i].id, id);
    EXPECT_EQ(finishes[i].point, static_cast<int>(i));
    EXPECT_EQ(finishes[i].custom, square[i].customInfo);
    EXPECT_FALSE(finishes[i].error) << finishes[i].error.message();
  }
  expectNear(moving.here(), home);
  EXPECT_EQ(robot.operationState(ec), OperationState::idle);
}

TEST_F(Moves, OfEachKindReachTheirTargets) {
  startController();
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  const CartesianPosition home = moving.here();
  const auto joints = robot.jointPos(ec);
  std::size_t finishes = 0;
  std::string id;
  const auto runs = [&](const char* what, const CartesianPosition* end) {
    EXPECT_FALSE(ec) << what << ": " << ec.message();
    robot.moveStart(ec);
    // A controller that was started before runs what is appended, and may be done with it by now.
    EXPECT_TRUE(!ec || (finishes > 0 && ec == Code::moveEmptyCache)) << what << ": " << ec.message();
    ASSERT_TRUE(moving.waitForFinishes(++finishes)) << what;
    ASSERT_TRUE(controller().waitUntilIdle(longestWait)) << what;
    EXPECT_EQ(moving.finishes().back().id, id) << what;
    SCOPED_TRACE(what);
    if (end != nullptr) expectNear(moving.here(), *end);
  };
  const CartesianPosition a = shifted(home, 0.05, 0, 0), b = shifted(home, 0.05, 0.05, 0),
                          c = shifted(home, 0, 0.05, 0);
  robot.moveAppend(std::vector{MoveJCommand(a)}, id, ec);
  runs("joint move to a pose", &a);
  robot.moveAppend(std::vector{MoveCCommand(c, b)}, id, ec);
  runs("arc", &c);
  robot.moveAppend(std::vector{MoveCFCommand(a, b, 2 * 3.14159265358979)}, id, ec);
  runs("full circle", &c);
  CartesianPosition lifted = c;
  robot.moveAppend(std::vector{MoveSPCommand(lifted, 0.01, 0.005, 6.28, true, 200)}, id, ec);
  runs("spiral", nullptr);
  robot.moveAppend(MoveWaitCommand(std::chrono::milliseconds(300)), id, ec);
  runs("wait", nullptr);
  MoveLCommand offset(home);
  offset.cartTargetOffset = {CartesianPosition::Offset::Type::offs, Frame({0, 0, 0.02}, {})};
  robot.moveAppend(std::vector{offset}, id, ec);
  const CartesianPosition above = shifted(home, 0, 0, 0.02);
  runs("line with an offset", &above);
  robot.moveAppend(std::vector{MoveAbsJCommand(joints)}, id, ec);
  runs("joint move", &home);
}

TEST_F(Moves, ExecutedAtOnceRunWithoutStart) {
  startController();
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  const CartesianPosition target = shifted(moving.here(), 0.03, 0, 0);
  robot.executeCommand(std::vector{MoveLCommand(target)}, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(eventually([&] { return std::abs(moving.here().trans[0] - target.trans[0]) < 1e-6; }));
}

TEST_F(Moves, UnreachableOnesEndTheQueue) {
  startController();
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  const CartesianPosition home = moving.here();
  moving.append({MoveLCommand(shifted(home, 0.02, 0, 0))});
  const std::string far = moving.append({MoveLCommand(shifted(home, 5, 0, 0))});
  robot.moveStart(ec);
  EXPECT_EQ(moving.waitForError().value(), -50002);
  EXPECT_EQ(moving.waitForError().message(), "move target unreachable");
  ASSERT_TRUE(controller().waitUntilIdle(longestWait));
  robot.moveReset(ec);
  EXPECT_FALSE(ec) << ec.message();
  // After the error everything works as before.
  const auto before = moving.finishes().size();
  const std::string again = moving.append({MoveLCommand(home)});
  robot.moveStart(ec);
  EXPECT_FALSE(ec) << ec.message();
  ASSERT_TRUE(moving.waitForFinishes(before + 1));
  EXPECT_EQ(moving.finishes().back().id, again);
}

TEST_F(Moves, FailuresOnTheWayAreTold) {
  startController();
  for (const int code : {-50102, -33, -50104}) {
    SCOPED_TRACE(code);
    controller().stop();
    controller().start();
    MovingRobot moving(address());
    controller().failNextMove(code);
    moving.append({MoveLCommand(shifted(moving.here(), 0.02, 0, 0))});
    moving.robot.moveStart(moving.ec);
    EXPECT_EQ(moving.waitForError().value(), code);
  }
}

TEST_F(Moves, AreStoppedByPowerCollisionAndReset) {
  startController(sim::Model::tandi, 1);
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  const CartesianPosition home = moving.here();
  const auto setOut = [&] {
    moving.append({MoveLCommand(shifted(home, 0.1, 0, 0), 20), MoveLCommand(home, 20)});
    robot.moveStart(ec);
    EXPECT_FALSE(ec) << ec.message();
    EXPECT_TRUE(eventually([&] { return robot.operationState(ec) == OperationState::moving; }));
  };
  setOut();
  robot.setOperateMode(OperateMode::manual, ec);
  EXPECT_EQ(ec.value(), -20) << "moving";
  robot.moveReset(ec);
  EXPECT_FALSE(ec) << ec.message();
  ASSERT_TRUE(controller().waitUntilIdle(longestWait));
  robot.moveStart(ec);
  EXPECT_EQ(ec, Code::moveEmptyCache);
  EXPECT_TRUE(moving.finishes().empty());

  setOut();
  controller().collide();
  EXPECT_EQ(moving.waitForError().value(), -50401);
  setOut();
  robot.setPowerState(false, ec);
  EXPECT_FALSE(ec);
  ASSERT_TRUE(controller().waitUntilIdle(longestWait));
  EXPECT_EQ(robot.powerState(ec), PowerState::off);
}

TEST_F(Moves, ADisconnectedRobotStandsStill) {
  startController(sim::Model::tandi, 1);
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  moving.append({MoveLCommand(shifted(moving.here(), 0.15, 0, 0), 20)});
  robot.moveStart(ec);
  EXPECT_TRUE(eventually([&] { return robot.operationState(ec) == OperationState::moving; }));
  robot.disconnectFromRobot(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(eventually([&] { return controller().operationState() == "idle"; }));
}

TEST_F(Moves, AThousandGoThroughASmallWindow) {
  auto& controller = startController(sim::Model::tandi, 2000);
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  const CartesianPosition home = moving.here();
  robot.setMaxCacheSize(5, ec);
  std::vector<std::string> ids;
  constexpr int count = 1000;
  for (int i = 0; i < count; ++i) {
    const double x = i % 2 == 0 ? 0.004 : 0;
    ids.push_back(moving.append({MoveLCommand(shifted(home, x, 0, 0), 1000)}));
    if (i == 0) robot.moveStart(ec);
  }
  EXPECT_FALSE(ec) << ec.message();
  for (int some = 100; some <= count; some += 100) ASSERT_TRUE(moving.waitForFinishes(some));
  ASSERT_TRUE(controller.waitUntilIdle(longestWait));
  const auto finishes = moving.finishes();
  ASSERT_EQ(finishes.size(), static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    ASSERT_EQ(finishes[static_cast<std::size_t>(i)].id, ids[static_cast<std::size_t>(i)])
        << "order of the calls";
  }
  expectNear(moving.here(), home);
}

}  // namespace

}  // namespace zivra::test
