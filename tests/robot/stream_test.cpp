// Starting and ending the state stream: what is asked of the controller, and how each step fails.
#include <algorithm>
#include <atomic>
#include <future>
#include <poll.h>
#include <tuple>

#include "robot/fixture.h"
#include "support/datagrams.h"

namespace zivra::test {

namespace {

using namespace std::chrono_literals;
using Ec = std::error_code;
using Names = std::vector<std::string>;

const std::string notStarted = "realtime: rtState: Not start receiving data";

// A controller that sends one datagram when it is asked to publish.
class Stream : public RobotTest {
 protected:
  Stream() {
    controller_.answer("eci.fields.out", "0");
    controller_.answer("eci.pub.stop", "0");
    controller_.answerBy("eci.port", [this](const Request& request) {
      const auto at = request.text.find("\"broadcast_in\":");
      if (at != std::string::npos) port_ = std::stoi(request.text.substr(at + 15));
      return std::vector{request.reply(request.form == 's' ? portReply_ : R"({"rt":1337,"broadcast":1338})")};
    });
    publish(Datagram(1).reals(6, 1));
  }
  void publish(const std::string& first) {
    controller_.answerBy("eci.pub.start", [this, first](const Request& request) {
      send(first);
      return std::vector{request.reply("0")};
    });
  }
  void send(const std::string& bytes) {
    sendDatagram(bytes, local_.text(), static_cast<std::uint32_t>(port_));
  }
  const std::string& local() const { return local_.text(); }
  // Form and payload of what the stream asked for.
  Names asked() const {
    Names texts;
    for (const Request& request : controller_.requests()) {
      if (request.key.rfind("eci.", 0) != 0) continue;
      std::string text = request.text;
      const std::string id = "\"id\":" + request.id;
      texts.push_back(text.replace(text.find(id), id.size(), "N"));
    }
    return texts;
  }
  void expectStopped(BaseRobot& robot) {
    EXPECT_EQ(thrownBy<RealtimeStateException>([&] { robot.updateRobotState(0ns); }), notStarted);
    EXPECT_EQ(thrownBy<RealtimeStateException>([&] { robot.drainRobotState(); }), notStarted);
  }

  LoopbackAddress local_{21};
  std::atomic<int> port_{0};
  std::string portReply_ = "0";
};

bool has(const Names& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

TEST_F(Stream, RunsFromStartToStop) {
  const Descriptor rtPort = listenOn(address(), 1337);
  {
    TandiRobot robot(address(), local());
    expectStopped(robot);
    EXPECT_EQ(thrownBy<RealtimeStateException>([&] {
                double value;
                robot.getStateData("psi_m", value);
              }),
              "realtime: rtState: network connection");
    robot.stopReceiveRobotState();
    controller_.forgetRequests();

    publish(Datagram(9).reals(6, 10).reals(6, 20));
    robot.startReceiveRobotState(1'999'999ns, {"q_m", "dq_m", "q_m"});
    pollfd waited{rtPort.get(), POLLIN, 0};
    EXPECT_EQ(::poll(&waited, 1, 10'000), 1) << "the second link comes up with the stream";
    std::vector<double> joints;
    std::uint64_t ts = 0;
    EXPECT_EQ(robot.getStateData("q_m", joints), 0);
    EXPECT_EQ(joints, (std::vector<double>{20, 21, 22, 23, 24, 25}));
    EXPECT_EQ(robot.getStateData("ts", ts), 0);
    EXPECT_EQ(ts, 9u);
    double real = 4;
    EXPECT_EQ(robot.getStateData("ts", real), -1);
    EXPECT_EQ(robot.updateRobotState(0ns), 0u);
    for (const std::uint64_t n : {10, 11, 12}) send(Datagram(n).reals(12, 0));
    EXPECT_EQ(robot.updateRobotState(1s), 124u);
    EXPECT_EQ(robot.drainRobotState(), 1u);
    EXPECT_EQ(robot.getStateData("ts", ts), 0);
    EXPECT_EQ(ts, 12u);
    EXPECT_EQ(robot.stateStreamHealth().received, 4u);
    EXPECT_EQ(robot.stateStreamHealth().largestGap, 1u);

    // The same fields, however they are named, change nothing; other ones are refused.
    robot.startReceiveRobotState(5ms, {"dq_m", "q_m"});
    robot.startReceiveRobotState(5ms, {});
    EXPECT_EQ(thrownBy<RealtimeStateException>([&] { robot.startReceiveRobotState(5ms, {"q_m"}); }),
              "realtime: rtState: Client has already start receiving state data");
    send(Datagram(13).reals(12, 0));
    EXPECT_EQ(robot.updateRobotState(1s), 124u) << "the stream stays up";

    robot.stopReceiveRobotState();
    expectStopped(robot);
    EXPECT_EQ(thrownBy<RealtimeStateException>([&] { robot.getStateData("ts", ts); }),
              "realtime: rtState: network connection");
    robot.stopReceiveRobotState();
    EXPECT_EQ(asked(), (Names{R"({N,"s":{"eci.fields.out":["dq_m","q_m"]}})",
                              R"({N,"s":{"eci.port":{"broadcast_in":1338}}})",
                              R"({"c":{"eci.pub.start":1},N})", R"({"c":{"eci.pub.stop":null},N})"}));
    publish(Datagram(14).add(0.5));
    robot.startReceiveRobotState(1ms, {"psi_m"});
    EXPECT_EQ(robot.getStateData("psi_m", real), 0);
    EXPECT_EQ(real, 0.5);
    EXPECT_EQ(robot.getStateData("q_m", joints), -1);
    EXPECT_TRUE(joints.empty());
  }
  const Names own = robotLog("scripted"), global = globalLog();
  for (const char* line : {"uid: scripted | set state data port to 1338",
                           R"(uid: scripted | startReceiveRobotState end, 1999999ns {"dq_m", "q_m"} (0))",
                           "E: uid: scripted | startReceiveRobotState already start receive"}) {
    EXPECT_TRUE(has(own, line)) << line;
    EXPECT_TRUE(has(global, line)) << line;
  }
  for (const char* line : {"E: startReceiveRobotState already start receive",
                           "E: startReceiveRobotState already start receiving"}) {
    EXPECT_TRUE(has(own, line)) << line;
    EXPECT_FALSE(has(global, line)) << line;
  }
}

TEST_F(Stream, FailsStepByStep) {
  const std::string output = "realtime: Controller failed to set output data.";
  const std::string publishing = "realtime: Controller failed to publish state data.";
  const char* none = "realtime: rtState: Have not received status feedback from controller before timeout, ";
  {
    TandiRobot robot(address(), local());
    for (const auto& [key, value, text] :
         {std::tuple{"eci.fields.out", "-1", output + "RT mode fields unsupported"},
          {"eci.fields.out", "null", output + "response unresolved"},
          {"eci.fields.out", "\"0\"", output + "response unresolved"},
          {"eci.fields.out", "0.0", output + "response unresolved"},
          {"eci.pub.start", "-290", publishing + "set data failed"},
          {"eci.pub.start", "{}", publishing + "response unresolved"},
          {"eci.pub.start", "true", publishing + "response unresolved"}}) {
      SCOPED_TRACE(std::string(key) + " " + value);
      controller_.answer(key, value);
      EXPECT_EQ(thrownBy<RealtimeControlException>([&] { robot.startReceiveRobotState(1ms, {"q_m"}); }),
                text);
      expectStopped(robot);
      EXPECT_EQ(controller_.requests().back().key, key) << "and nothing more is asked";
      controller_.answer("eci.fields.out", "0");
    }
    // The catalogue's word comes after the controller's.
    for (const Names& names : {Names{"q_m", "q_x"}, Names{"ts", "pos"}, Names{""}}) {
      EXPECT_EQ(thrownBy<RealtimeControlException>([&] { robot.startReceiveRobotState(1ms, names); }),
                "realtime: RT mode fields unsupported");
      EXPECT_EQ(controller_.requests().back().key, "eci.fields.out");
    }
    // A port that the controller doesn't take ends nothing, and neither does a first datagram of any length.
    portReply_ = "-1";
    publish("x");
    robot.startReceiveRobotState(1ms, {"q_m"});
    robot.stopReceiveRobotState();
    publish(Datagram(1, errorFlag(5)).reals(6, 0));
    EXPECT_EQ(thrownBy<RealtimeMotionException>([&] { robot.startReceiveRobotState(1ms, {"q_m"}); }),
              "realtime: rtMotion: (5-EStop)");
    expectStopped(robot);
    controller_.answer("eci.pub.start", "0");
    EXPECT_EQ(
        thrownBy<RealtimeStateException>([&] { robot.startReceiveRobotState(1ms, {"q_m"}); }).rfind(none, 0),
        0u);
    expectStopped(robot);
    std::vector<double> joints;
    EXPECT_EQ(robot.getStateData("q_m", joints), 0) << "what was opened stays open";
    publish(Datagram(1).reals(6, 1));
    robot.startReceiveRobotState(1ms, {"q_m"});
    EXPECT_EQ(robot.getStateData("q_m", joints), 0);
    EXPECT_EQ(joints.at(5), 6.0);
    robot.stopReceiveRobotState();
    controller_.dropAt("eci.fields.out");
    EXPECT_EQ(thrownBy<RealtimeControlException>([&] { robot.startReceiveRobotState(1ms, {"q_m"}); }),
              output + "network connection");
  }
  const Names own = robotLog("scripted"), global = globalLog();
  for (const char* line :
       {"uid: scripted | set state data local port 1338 failed -1",
        R"(E: uid: scripted | startReceiveRobotState receiver set recipe failed {"q_m", "q_x"}, (513))"}) {
    EXPECT_TRUE(has(own, line)) << line;
    EXPECT_TRUE(has(global, line)) << line;
  }
}

TEST_F(Stream, NeedsALocalAddress) {
  struct Row {
    const char* local;
    const char* reason;
  };
  {
    TandiRobot robot;
    for (const Row& row : {Row{"", "Invalid argument"}, Row{"myself", "Invalid argument"},
                           Row{"::1", "Address family not supported by protocol"},
                           Row{"192.0.2.77", "Cannot assign requested address"}}) {
      SCOPED_TRACE(row.local);
      robot.connectToRobot(address(), row.local);
      EXPECT_EQ(thrownBy<RealtimeControlException>([&] { robot.startReceiveRobotState(1ms, {"q_m"}); }),
                std::string("realtime: 1338 Failed to open UDP socket.") + row.reason);
      expectStopped(robot);
    }
    EXPECT_EQ(controller_.count("eci.pub.start"), 0u);
  }
  EXPECT_TRUE(has(robotLog("scripted"),
                  "E: uid: scripted | startReceiveRobotState start receiver failed (" +
                      std::to_string(static_cast<int>(std::errc::address_not_available)) + ")"));
}

TEST_F(Stream, TellsTheSubstituteOfATakenPort) {
  Descriptor other = datagramSocket(local(), 1338);
  TandiRobot robot(address(), local());
  robot.startReceiveRobotState(1ms, {"q_m"});
  const int substitute = port_;
  EXPECT_NE(substitute, 1338);
  robot.stopReceiveRobotState();
  other.reset();
  robot.startReceiveRobotState(1ms, {"q_m"});
  EXPECT_EQ(port_, substitute);
  robot.connectToRobot(address(), local());
  robot.startReceiveRobotState(1ms, {"q_m"});
  EXPECT_EQ(port_, 1338) << "a new connection starts anew";
}

TEST_F(Stream, EndsWithItsConnection) {
  auto robot = std::make_unique<TandiRobot>(address(), local());
  Ec ec;
  std::size_t stops = 0;
  const auto expectStop = [&] {
    EXPECT_EQ(controller_.count("eci.pub.stop"), ++stops);
    EXPECT_TRUE(controller_.waitForLinks(0));
  };
  robot->startReceiveRobotState(1ms, {"q_m"});
  robot->disconnectFromRobot(ec);
  EXPECT_FALSE(ec) << ec.message();
  expectStop();
  expectStopped(*robot);
  robot->connectToRobot(address(), local());
  robot->startReceiveRobotState(1ms, {"q_m"});
  robot->connectToRobot(address(), local());
  EXPECT_EQ(controller_.count("eci.pub.stop"), ++stops) << "connecting ends what was there";
  expectStopped(*robot);
  robot->startReceiveRobotState(1ms, {"q_m"});
  // A stream outlasts a link that drops; without a link there is nobody to tell its end.
  Heard<bool> link;
  robot->setConnectionHandler([&](bool up) { link.add(up); });
  controller_.die();
  ASSERT_TRUE(link.waitFor(1));
  send(Datagram(3).reals(6, 0));
  EXPECT_EQ(robot->updateRobotState(10s), 76u);
  robot->stopReceiveRobotState();
  expectStopped(*robot);
  controller_.listen();
  ASSERT_TRUE(link.waitFor(2));
  robot->startReceiveRobotState(1ms, {"q_m"});
  robot.reset();
  expectStop();
}

TEST_F(Stream, ComesBackFromItsWaitWhenItEnds) {
  TandiRobot robot(address(), local());
  Ec ec;
  for (const bool disconnect : {false, true}) {
    robot.startReceiveRobotState(1ms, {"q_m"});
    std::atomic<bool> begun{false};
    auto waiting = std::async(std::launch::async, [&] {
      begun = true;
      return robot.updateRobotState(std::chrono::nanoseconds::max());
    });
    ASSERT_TRUE(eventually([&] { return begun.load(); }));
    if (disconnect) {
      robot.disconnectFromRobot(ec);
    } else {
      robot.stopReceiveRobotState();
    }
    ASSERT_EQ(waiting.wait_for(longestWait), std::future_status::ready);
    try {
      EXPECT_EQ(waiting.get(), 0u);
    } catch (const RealtimeStateException&) {  // began after the end
    }
  }
}

TEST_F(Stream, IsThereForRobotsOfFiveAxesAndMore) {
  const auto starts = [&](auto robot, const char* workType, int axes, const Names& fields) {
    ControllerIdentity identity;
    identity.workType = workType;
    identity.axes = axes;
    controller_.answer("sys.info", identity.json());
    robot->connectToRobot(address(), local());
    publish(Datagram(1).reals(axes, 1));
    try {
      robot->startReceiveRobotState(1ms, fields);
    } catch (const RealtimeControlException& e) {
      EXPECT_EQ(e.what(), std::string("realtime: RT mode fields unsupported"));
      return std::size_t{0};
    }
    std::vector<double> joints;
    EXPECT_EQ(robot->getStateData(fields.front(), joints), 0);
    return joints.size();
  };
  EXPECT_EQ(starts(std::make_unique<TandiFiveRobot>(), "cobot", 5, {"q_m"}), 5u);
  EXPECT_EQ(starts(std::make_unique<TandiFiveRobot>(), "cobot", 5, {"ddq_m"}), 0u);
  EXPECT_EQ(starts(std::make_unique<TandiSevenRobot>(), "cobot", 7, {"ddq_m"}), 7u);
  EXPECT_EQ(starts(std::make_unique<StandardRobot>(), "industrial", 6, {"ddq_m"}), 6u);
}

}  // namespace

}  // namespace zivra::test
