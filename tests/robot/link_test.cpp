// What becomes of a robot whose link drops, and of calls made where they can't be made.
#include <atomic>
#include <future>

#include "robot/fixture.h"

namespace zivra::test {

namespace {

using Link = RobotTest;
using Ec = std::error_code;

std::vector<MoveLCommand> line() {
  return {MoveLCommand(CartesianPosition({0.4, 0.1, 0.5}, {3.1, 0.2, 3.1}))};
}

TEST_F(Link, DropAndReturnAreTold) {
  Heard<bool> told;
  std::atomic<bool> watchedFirst{false};
  TandiRobot robot;
  robot.setConnectionHandler([&](bool up) {
    // The second connection's watch is the third in all, and comes before the application hears of it.
    if (up && told.all().size() == 2) watchedFirst = controller_.waitForRequest(moveWatch, 3);
    told.add(up);
  });
  robot.connectToRobot(address());
  ASSERT_TRUE(controller_.waitForRequest(moveWatch, 2));
  controller_.drop();
  ASSERT_TRUE(told.waitFor(3));
  EXPECT_EQ(told.all(), (std::vector<bool>{true, false, true}));
  EXPECT_TRUE(watchedFirst);
  Ec ec;
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
  EXPECT_EQ(controller_.count("sys.info"), 1u) << "who it is isn't asked again";
  robot.disconnectFromRobot(ec);
  EXPECT_EQ(told.all().back(), false);
  EXPECT_EQ(told.all().size(), 4u);
}

TEST_F(Link, HandlersThatThrowAreLogged) {
  {
    TandiRobot robot;
    robot.setConnectionHandler([](bool up) {
      if (up) throw std::runtime_error("out of order");
      throw 5;
    });
    robot.connectToRobot(address());
    Ec ec;
    EXPECT_EQ(robot.powerState(ec), PowerState::on);
  }
  const auto lines = globalLog();
  EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
    return line.starts_with("uid: ") && line.ends_with("| Connection handler throw: out of order");
  }));
}

TEST_F(Link, CallsOnItsOwnThreadsDontWaitForThemselves) {
  Heard<Ec> inHandler, inWatcher;
  TandiRobot robot(address());
  Ec ec;
  const auto deadlock = std::make_error_code(std::errc::resource_deadlock_would_occur);
  robot.setConnectionHandler([&](bool up) {
    if (!up) return;
    Ec own;
    robot.powerState(own);
    inHandler.add(own);
    robot.disconnectFromRobot(own);
    inHandler.add(own);
    robot.connectToRobot(own);
    inHandler.add(own);
    EXPECT_THROW(robot.connectToRobot(address()), NetworkException);
    inHandler.add({});
  });
  controller_.drop();
  ASSERT_TRUE(inHandler.waitFor(4));
  EXPECT_EQ(inHandler.all(), (std::vector<Ec>{Code::timeout, deadlock, deadlock, {}}));

  EXPECT_EQ(robot.powerState(ec), PowerState::on);  // the controller has taken the link
  robot.setEventWatcher(
      Event::moveExecution,
      [&](const EventInfo&) {
        Ec own;
        EXPECT_EQ(robot.powerState(own), PowerState::on);
        inWatcher.add(own);
        robot.moveReset(own);
        inWatcher.add(own);
        robot.connectToRobot(own);
        inWatcher.add(own);
        robot.disconnectFromRobot(own);
        inWatcher.add(own);
      },
      ec);
  ASSERT_FALSE(ec) << ec.message();
  controller_.push(finishNotice);
  ASSERT_TRUE(inWatcher.waitFor(4));
  EXPECT_EQ(inWatcher.all(), (std::vector<Ec>{Ec(0, category()), Ec(0, category()), deadlock, deadlock}));
  ASSERT_TRUE(controller_.waitForLinks(0)) << "what can be ended there is ended";
  robot.connectToRobot(address());
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
}

TEST_F(Link, RobotMayEndInItsOwnCallbacks) {
  for (const bool inWatcher : {true, false}) {
    SCOPED_TRACE(inWatcher ? "watcher" : "connection handler");
    Heard<bool> ended;
    auto robot = std::make_unique<TandiRobot>(address());
    const auto end = [&] {
      if (!robot) return;
      robot.reset();
      ended.add(true);
    };
    Ec ec;
    if (inWatcher) {
      robot->setEventWatcher(
          Event::moveExecution, [&](const EventInfo&) { end(); }, ec);
      controller_.push(finishNotice);
    } else {
      robot->setConnectionHandler([&](bool up) {
        if (!up) end();
      });
      controller_.drop();
    }
    ASSERT_TRUE(ended.waitFor(1));
    EXPECT_TRUE(controller_.waitForLinks(0));
  }
}

TEST_F(Link, NothingIsCalledOnceTheRobotHasGone) {
  Heard<bool> told, heard;
  std::atomic<bool> gone{false};
  Ec ec;
  {
    TandiRobot robot(address());
    robot.setConnectionHandler([&](bool) { told.add(gone); });
    robot.setEventWatcher(
        Event::moveExecution, [&](const EventInfo&) { heard.add(gone); }, ec);
    for (int i = 0; i < 200; ++i) controller_.push(finishNotice);
    ASSERT_TRUE(heard.waitFor(1));
  }
  gone = true;
  ASSERT_TRUE(controller_.waitForLinks(0));
  for (const bool late : heard.all()) EXPECT_FALSE(late);
  for (const bool late : told.all()) EXPECT_FALSE(late);
}

TEST_F(Link, WaitersWakeAtOnceAndNothingGoesOutLater) {
  Heard<bool> told;
  TandiRobot robot(address());
  robot.setConnectionHandler([&](bool up) { told.add(up); });
  controller_.mute("sys.power.on");
  std::vector<std::future<Ec>> waiters;
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 8; ++i) {
    waiters.push_back(std::async(std::launch::async, [&] {
      Ec ec;
      robot.setPowerState(true, ec);
      return ec;
    }));
  }
  ASSERT_TRUE(controller_.waitForRequest("sys.power.on", 8));
  controller_.die();
  for (auto& waiter : waiters) EXPECT_EQ(waiter.get(), Code::network);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8)) << "not by their time-outs";
  ASSERT_TRUE(told.waitFor(1));
  Ec ec;
  robot.setPowerState(true, ec);
  EXPECT_EQ(ec, Code::network);
  std::string id;
  robot.moveAppend(line(), id, ec);
  EXPECT_FALSE(ec) << "a dead link is told as an event";
  EXPECT_EQ(std::any_cast<Ec>(robot.queryEventInfo(Event::moveExecution, ec).at("error")), Code::network);

  controller_.forgetRequests();
  controller_.listen();
  ASSERT_TRUE(told.waitFor(2));
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
  EXPECT_EQ(controller_.count("sys.power.on"), 0u) << "what failed is not done later";
  EXPECT_EQ(controller_.count("move.l"), 0u);
}

TEST_F(Link, UnreadRequestsDieWithTheirConnection) {
  Heard<bool> told;
  TandiRobot robot(address());
  robot.setConnectionHandler([&](bool up) { told.add(up); });
  ASSERT_TRUE(controller_.waitForRequest(moveWatch, 2));
  controller_.stopReading(true);
  // More than socket buffers take, so that some of it waits in the library.
  auto batch = std::vector<MoveLCommand>(100, line().front());
  batch.front().customInfo = std::string(1'000'000, 'x');
  Ec ec;
  std::string id;
  for (int i = 0; i < 12; ++i) robot.moveAppend(batch, id, ec);
  auto waiter = std::async(std::launch::async, [&] {
    Ec own;
    robot.setPowerState(true, own);
    return own;
  });
  controller_.drop();
  controller_.stopReading(false);
  EXPECT_EQ(waiter.get(), Code::network);
  ASSERT_TRUE(told.waitFor(2));
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
  for (const Request& request : controller_.requests()) {
    EXPECT_FALSE(request.link == 2 && request.key == "sys.power.on");
  }
}

TEST_F(Link, BatchesAreNeverSentTwice) {
  Heard<bool> told;
  TandiRobot robot(address());
  robot.setConnectionHandler([&](bool up) { told.add(up); });
  Ec ec;
  robot.setMaxCacheSize(3, ec);
  controller_.answerBy("move.l", [&](const Request&) {
    if (controller_.count("move.l") == 2) controller_.drop();
    return std::vector<std::string>();
  });
  std::string id;
  for (int i = 0; i < 10; ++i) robot.moveAppend(line(), id, ec);
  ASSERT_TRUE(told.waitFor(2));
  // What was in flight will never finish on the new connection; a reset clears the way.
  robot.moveReset(ec);
  EXPECT_FALSE(ec) << ec.message();
  robot.moveAppend(line(), id, ec);
  ASSERT_TRUE(
      eventually([&] { return controller_.frames().back().find('"' + id + '"') != std::string::npos; }));
  std::vector<std::string> ids;
  for (const Request& request : controller_.requests()) {
    if (request.key == "move.l") ids.push_back(request.id);
  }
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end());
}

TEST_F(Link, TwoRobotsDontMeet) {
  ControllerIdentity second;
  second.id = "another";
  ScriptedController other(second);
  Heard<std::string> heard;
  TandiRobot a(address()), b(other.address());
  Ec ec;
  a.setEventWatcher(
      Event::moveExecution, [&](const EventInfo&) { heard.add("a"); }, ec);
  b.setEventWatcher(
      Event::moveExecution, [&](const EventInfo&) { heard.add("b"); }, ec);
  EXPECT_EQ(a.robotInfo(ec).id, "scripted");
  EXPECT_EQ(b.robotInfo(ec).id, "another");
  a.disconnectFromRobot(ec);
  EXPECT_EQ(b.powerState(ec), PowerState::on);
  other.push(finishNotice);
  ASSERT_TRUE(heard.waitFor(1));
  EXPECT_EQ(heard.all(), std::vector<std::string>{"b"});
}

TEST_F(Link, EveryKindOfRubbishIsLivedThrough) {
  Heard<bool> told;
  TandiRobot robot(address());
  Ec ec;
  std::string nested(4000, '[');
  std::string deepObject;
  for (int i = 0; i < 2000; ++i) deepObject += R"({"n":)";
  for (const std::string& rubbish :
       {std::string("\r"), std::string("garbage\r"), std::string("{\"id\":5}\r"), std::string("{\"n\":5}\r"),
        nested + "\r", deepObject + "\r", std::string(5'000'000, ' ') + "\r",
        "\"" + std::string(5'000'000, 'x') + "\"\r", std::string(1, '\0') + "\xff\xfe\r",
        std::string(R"({"n":{"move.last_error_with_setting":5},"ts":1})") + "\r",
        std::string(R"({"n":[],"ts":1})") + "\r", std::string(R"({"c":[1,2],"id":"l#0"})") + "\r",
        std::string(R"({"c":{"x":-17},"id":"*#*"})") + "\r", std::string(R"({"g":1,"id":-1})") + "\r",
        std::string(R"({"g":1,"id":1e300})") + "\r", std::string(R"({"g":1,"id":[]})") + "\r"}) {
    SCOPED_TRACE(rubbish.substr(0, 60));
    controller_.send(rubbish);
    EXPECT_EQ(robot.powerState(ec), PowerState::on);
    EXPECT_FALSE(ec) << ec.message();
  }
  // A half frame is forgotten with its connection.
  robot.setConnectionHandler([&](bool up) { told.add(up); });
  controller_.send(R"({"g":{"sys.power":)");
  controller_.close();
  ASSERT_TRUE(told.waitFor(2));
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
}

}  // namespace

}  // namespace zivra::test
