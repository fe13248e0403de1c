// What the library makes of a controller, or a network, that misbehaves.
#include <algorithm>
#include <future>
#include <thread>

#include "system/fixture.h"

namespace zivra::test {

namespace {

using Faults = SystemTest;
using Ec = std::error_code;
using Kind = sim::Fault::Kind;

sim::Fault fault(Kind kind, const char* key, const char* text = "") {
  sim::Fault made;
  made.kind = kind;
  made.key = key;
  made.text = text;
  return made;
}

TEST_F(Faults, OfTheLinkEndRequestsAndPass) {
  auto& controller = startController();
  Heard<bool> told;
  TandiRobot robot(address());
  robot.setConnectionHandler([&](bool up) { told.add(up); });
  Ec ec;
  for (const bool half : {false, true}) {
    SCOPED_TRACE(half);
    sim::Fault drop = fault(Kind::drop, "sys.power.on");
    drop.half = half;
    controller.inject(drop);
    const std::size_t before = told.all().size();
    robot.setPowerState(true, ec);
    EXPECT_EQ(ec, Code::network);
    ASSERT_TRUE(told.waitFor(before + 2));
    EXPECT_EQ(robot.operationState(ec), OperationState::idle);
    EXPECT_FALSE(ec) << ec.message();
  }
  sim::Fault refuse = fault(Kind::refuse, "sys.power.on");
  refuse.code = -514;
  controller.inject(refuse);
  robot.setPowerState(true, ec);
  EXPECT_EQ(ec.value(), -514);
  controller.inject(fault(Kind::reply, "sys.power.on", R"({"a":1})"));
  robot.setPowerState(true, ec);
  EXPECT_EQ(ec, Code::responseUnresolved);
  sim::Fault late = fault(Kind::delay, "sys.power");
  late.delay = std::chrono::milliseconds(50);
  controller.inject(late);
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
  EXPECT_FALSE(ec) << ec.message();
}

TEST_F(Faults, OfFramingMakeNoDifference) {
  auto& controller = startController();
  TandiRobot robot(address());
  const auto manyCallers = [&] {
    std::vector<std::future<void>> callers;
    for (int caller = 0; caller < 4; ++caller) {
      callers.push_back(std::async(std::launch::async, [&] {
        for (int i = 0; i < 4; ++i) {
          Ec ec;
          EXPECT_EQ(robot.jointPos(ec).size(), 6u) << ec.message();
          EXPECT_EQ(robot.robotInfo(ec).id, "simulated") << ec.message();
        }
      }));
    }
    for (auto& caller : callers) caller.get();
  };
  for (const std::size_t bytes : {1u, 7u}) {
    controller.sliceFrames(bytes);
    manyCallers();
  }
  controller.sliceFrames(0);
  controller.coalesceFrames(std::chrono::milliseconds(2));
  manyCallers();
  controller.coalesceFrames(std::chrono::milliseconds(0));
  controller.sendRaw("\r\r{}\r{\"id\":7}\r[[[\r");
  manyCallers();
}

TEST_F(Faults, FloodsOfPushesLeaveTheLinkUsable) {
  auto& controller = startController();
  MovingRobot moving(address());
  std::string flood;
  for (int i = 0; i < 2000; ++i) {
    flood +=
        R"({"n":{"move.last_error_with_setting":{"data":{"id":"l#9","point":1,"msg":"finish"}}},"ts":1})"
        "\r"
        R"({"n":{"safety.event.collision":true,"log.user":{"error":"x"},"project.tasks_pointer":7},"ts":1})"
        "\r";
  }
  controller.sendRaw(flood);
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(moving.robot.powerState(moving.ec), PowerState::on) << moving.ec.message();
  }
  EXPECT_TRUE(moving.waitForFinishes(2000));
}

TEST_F(Faults, ADropInTheMiddleOfABatchIsSurvived) {
  auto& controller = startController(sim::Model::tandi, 5);
  Heard<bool> told;
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  robot.setConnectionHandler([&](bool up) { told.add(up); });
  const CartesianPosition home = moving.here();
  std::vector<MoveLCommand> batch;
  for (int i = 0; i < 20; ++i) batch.emplace_back(shifted(home, i % 2 == 0 ? 0.02 : 0, 0, 0), 50);
  moving.append(batch);
  robot.moveStart(ec);
  ASSERT_TRUE(moving.waitForFinishes(1));
  controller.dropLinks();
  ASSERT_TRUE(told.waitFor(2));
  robot.moveReset(ec);
  EXPECT_FALSE(ec) << ec.message();
  ASSERT_TRUE(controller.waitUntilIdle(longestWait));
  const std::string id = moving.append({MoveLCommand(shifted(home, 0.01, 0, 0))});
  robot.moveStart(ec);
  EXPECT_FALSE(ec) << ec.message();
  const auto finished = [&](const MoveEvent& event) { return event.id == id && event.finished; };
  EXPECT_TRUE(moving.events.waitUntil(
      [&](const auto& all) { return std::any_of(all.begin(), all.end(), finished); }));
}

TEST_F(Faults, AControllerThatGoesAwayComesBackToTheSameRobot) {
  auto& controller = startController();
  Heard<bool> told;
  TandiRobot robot(address());
  robot.setConnectionHandler([&](bool up) { told.add(up); });
  Ec ec;
  controller.stop();
  ASSERT_TRUE(told.waitFor(1));
  const auto begin = std::chrono::steady_clock::now();
  robot.powerState(ec);
  EXPECT_EQ(ec, Code::network);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5)) << "no time-out";
  controller.start();
  ASSERT_TRUE(told.waitFor(2));
  EXPECT_EQ(robot.powerState(ec), PowerState::off);
  EXPECT_FALSE(ec) << ec.message();
}

TEST_F(Faults, APeerThatStopsReadingDoesntStopTheApplication) {
  auto& controller = startController();
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  std::vector<MoveLCommand> batch(100, MoveLCommand(moving.here()));
  for (auto& move : batch) move.customInfo = std::string(10'000, 'x');
  controller.stopReading(true);
  // Far more than the sockets take: neither the calls nor the end of the robot wait for the peer.
  for (int i = 0; i < 12; ++i) moving.append(batch);
  controller.dropLinks();
  controller.stopReading(false);
  EXPECT_TRUE(eventually([&] { return robot.powerState(ec) == PowerState::on; }));
}

}  // namespace

}  // namespace zivra::test
