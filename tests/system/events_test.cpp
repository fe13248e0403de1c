// News of a simulated controller, and watchers that command the robot.
#include <any>
#include <atomic>

#include "system/fixture.h"

namespace zivra::test {

namespace {

using Events = SystemTest;
using Ec = std::error_code;

TEST_F(Events, ACollisionIsHeard) {
  auto& controller = startController(sim::Model::tandi, 1);
  Heard<bool> collided;
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  hear(robot, Event::safety, "collided", collided);
  moving.append({MoveLCommand(shifted(moving.here(), 0.1, 0, 0), 20)});
  robot.moveStart(ec);
  EXPECT_TRUE(eventually([&] { return robot.operationState(ec) == OperationState::moving; }));
  controller.collide();
  ASSERT_TRUE(collided.waitFor(1));
  EXPECT_TRUE(collided.all().front());
  EXPECT_TRUE(std::any_cast<bool>(robot.queryEventInfo(Event::safety, ec).at("collided")));
  EXPECT_EQ(moving.waitForError().value(), -50401);
}

TEST_F(Events, ProgramAndLogAreHeardOnlyByThoseWhoWatch) {
  auto& controller = startController();
  Heard<std::string> heard;
  TandiRobot robot(address()), other(address());
  Ec ec;
  hear(robot, Event::rlExecution, "executeFile", heard);
  hear(robot, Event::logReporter, "edetail", heard);
  // Watches aren't awaited; an answer comes after they have been read.
  robot.powerState(ec);
  controller.push("project.tasks_pointer",
                  R"([{"task_name":"t","exe_line":{"file_name":"main.mod","line":3}}])");
  ASSERT_TRUE(heard.waitFor(1));
  controller.push("log.user", R"({"error":-50002,"data":"far"})");
  ASSERT_TRUE(heard.waitFor(2));
  EXPECT_EQ(heard.all(), (std::vector<std::string>{"main.mod", "far"}));
  EXPECT_EQ(std::any_cast<int>(robot.queryEventInfo(Event::rlExecution, ec).at("executeLine")), 2);
  other.queryEventInfo(Event::logReporter, ec);
  EXPECT_EQ(ec, Code::unregisteredEvent);
}

TEST_F(Events, AWatcherCommandsTheNextMove) {
  auto& controller = startController();
  Heard<std::string> told;
  TandiRobot robot(address());
  Ec ec;
  robot.setOperateMode(OperateMode::automatic, ec);
  robot.setPowerState(true, ec);
  ASSERT_FALSE(ec) << ec.message();
  const CartesianPosition home = robot.cartPosture(CoordinateType::endInRef, ec);
  std::atomic<int> moves{0};
  const auto next = [&] {
    Ec own;
    std::string id;
    if (++moves > 6) return;
    robot.moveAppend(std::vector{MoveLCommand(shifted(home, 0.01 * moves, 0, 0))}, id, own);
    EXPECT_FALSE(own) << own.message();
    if (moves == 3) controller.failNextMove(-50102);
    robot.moveStart(own);
    // Moves that come while others run are carried out at once: this one may be done already.
    EXPECT_TRUE(!own || own == Code::moveEmptyCache) << own.message();
  };
  robot.setEventWatcher(
      Event::moveExecution,
      [&](const EventInfo& table) {
        const Ec error = std::any_cast<Ec>(table.at("error"));
        if (error) {
          Ec own;
          robot.moveReset(own);
          EXPECT_FALSE(own) << own.message();
        } else if (!std::any_cast<bool>(table.at("reachTarget"))) {
          return;
        }
        next();
        told.add(error ? std::to_string(error.value()) : "finish");
      },
      ec);
  next();
  ASSERT_TRUE(told.waitFor(6));
  EXPECT_EQ(told.all(),
            (std::vector<std::string>{"finish", "finish", "-50102", "finish", "finish", "finish"}));
}

TEST_F(Events, OfMovesGoOnAfterADrop) {
  auto& controller = startController(sim::Model::tandi, 5);
  Heard<bool> up;
  MovingRobot moving(address());
  moving.robot.setConnectionHandler([&](bool connected) { up.add(connected); });
  const CartesianPosition home = moving.here();
  std::vector<MoveLCommand> lines;
  for (int i = 1; i <= 8; ++i) lines.emplace_back(shifted(home, i % 2 == 0 ? 0 : 0.05, 0, 0), 50, 0);
  const std::string id = moving.append(lines);
  moving.robot.moveStart(moving.ec);
  ASSERT_TRUE(moving.waitForFinishes(1));
  controller.dropLinks();
  ASSERT_TRUE(up.waitFor(2));
  ASSERT_TRUE(moving.events.waitUntil(
      [&](const auto& events) { return events.back().finished && events.back().point == 7; }));
  const auto finishes = moving.finishes();
  for (std::size_t i = 0; i < finishes.size(); ++i) {
    EXPECT_EQ(finishes[i].id, id);
    EXPECT_GT(finishes[i].point, i == 0 ? -1 : finishes[i - 1].point) << "none twice, none out of order";
  }
  // The next batch runs as if nothing had been.
  moving.robot.moveReset(moving.ec);
  const std::string next = moving.append({MoveLCommand(shifted(home, 0.05, 0, 0))});
  moving.robot.moveStart(moving.ec);
  EXPECT_FALSE(moving.ec) << moving.ec.message();
  EXPECT_TRUE(moving.events.waitUntil(
      [&](const auto& events) { return events.back().finished && events.back().id == next; }));
}

}  // namespace

}  // namespace zivra::test
