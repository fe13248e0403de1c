// From an address to a working connection: what is sent, whom it accepts, and how it fails.
#include "robot/fixture.h"
#include "support/damage.h"

namespace zivra::test {

namespace {

using Connection = RobotTest;
using Ec = std::error_code;

std::vector<std::string> withoutIds(const std::vector<Request>& requests) {
  std::vector<std::string> texts;
  for (const Request& r : requests) {
    std::string text = r.text;
    const auto at = text.find("\"id\":" + r.id);
    texts.push_back(text.replace(at, 5 + r.id.size(), "\"id\":N"));
  }
  return texts;
}

TEST_F(Connection, SendsItsRequestsInOrder) {
  TandiRobot robot(address(), "127.0.0.9");
  Ec ec;
  robot.disconnectFromRobot(ec);
  EXPECT_FALSE(ec) << ec.message();
  ASSERT_TRUE(controller_.waitForLinks(0));
  const auto requests = controller_.requests();
  EXPECT_EQ(withoutIds(requests), (std::vector<std::string>{
                                      R"({"g":{"sys.info":null},"id":N})",
                                      R"({"g":{"eci.port":null},"id":N})",
                                      R"({"c":{"move.reset":{"remain_traj":false}},"id":N})",
                                      R"({"id":N,"w":{"move.last_error_with_setting":true}})",
                                      R"({"id":N,"w":{"move.last_error_with_setting":true}})",
                                      R"({"id":N,"s":{"eci.ip":"127.0.0.9"}})",
                                      R"({"g":{"sys.state":null},"id":N})",
                                      R"({"id":N,"w":{"move.last_error_with_setting":false}})",
                                  }));
  for (std::size_t i = 1; i < requests.size(); ++i) {
    EXPECT_EQ(std::stoul(requests[i].id), std::stoul(requests[i - 1].id) + 1) << "ids count up";
  }
}

TEST_F(Connection, StopsAMovingRobotBeforeItEnds) {
  TandiRobot robot(address());
  controller_.answer("sys.state", R"("idleing")");
  Ec ec;
  robot.disconnectFromRobot(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(controller_.count("move.pause"), 1u);
}

struct IdentityRow {
  const char* name;
  const char* info;
  const char* text;  // of the exception; "" if the controller is accepted
  int code;          // of connectToRobot(ec)

  friend void PrintTo(const IdentityRow& row, std::ostream* out) { *out << row.info; }
};

constexpr const char* tooOld = "execute: protocol: Minimum required Ostrel version 3.1.0.0";
constexpr const char* misfit = "execute: Robot instance type does not match with the connected robot T";
constexpr const char* unread = "network: response unresolved";

const IdentityRow identities[] = {
    {"minimum", R"({"version":"3.1.0","type":"T","joint_num":6,"work_type":"cobot"})", "", 0},
    {"two_numbers", R"({"version":"3.1","type":"T","joint_num":6,"work_type":"cobot"})", "", 0},
    {"four_numbers", R"({"version":"3.1.0.1","type":"T","joint_num":6,"work_type":"cobot"})", "", 0},
    {"much_newer", R"({"version":"10.0","type":"T","joint_num":6})", "", 0},
    {"newer_member_decides", R"({"version":"1.0","version_3.0":"3.1","joint_num":6})", "", 0},
    {"no_work_type", R"({"version":"3.1","joint_num":6})", "", 0},
    {"other_work_type", R"({"version":"3.1","joint_num":6,"work_type":"other"})", "", 0},
    {"too_old", R"({"version":"3.0.9","type":"T","joint_num":6})", tooOld, 266},
    {"older_by_component", R"({"version":"3.0.999","type":"T","joint_num":6})", tooOld, 266},
    {"older_member_decides", R"({"version":"3.1","version_3.0":"3.0","joint_num":6})", tooOld, 266},
    {"empty_version", R"({"version":"","joint_num":6})", tooOld, 266},
    {"no_number", R"({"version":"v3.1","joint_num":6})", tooOld, 266},
    {"nothing_at_all", "{}", tooOld, 266},
    {"seven_axes", R"({"version":"3.1","type":"T","joint_num":7,"work_type":"cobot"})", misfit, 266},
    {"industrial", R"({"version":"3.1","type":"T","joint_num":6,"work_type":"industrial"})", misfit, 266},
    {"no_axes", R"({"version":"3.1","type":"T"})", misfit, 266},
    {"no_object", "5", unread, 256},
    {"null", "null", unread, 256},
};

class Identity : public RobotTest, public testing::WithParamInterface<IdentityRow> {};

TEST_P(Identity, IsJudged) {
  TandiRobot robot;
  robot.connectToRobot(address());
  controller_.answer("sys.info", GetParam().info);
  Ec ec;
  robot.connectToRobot(ec);
  EXPECT_EQ(ec.value(), GetParam().code);

  std::string text;
  try {
    robot.connectToRobot(address());
  } catch (const Exception& e) {
    text = e.what();
  }
  EXPECT_EQ(text, GetParam().text);
  if (text.empty()) return;
  EXPECT_TRUE(controller_.waitForLinks(0)) << "a failed connection is cleaned up";
  robot.connectToRobot(ec);
  EXPECT_EQ(ec, Code::network) << "and its addresses are forgotten";
  controller_.answer("sys.info", ControllerIdentity().json());
  robot.connectToRobot(address());
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
}
INSTANTIATE_TEST_SUITE_P(Table, Identity, testing::ValuesIn(identities),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Connection, SurvivesDamagedIdentitiesAndPorts) {
  TandiRobot robot;
  const std::string info = ControllerIdentity().json();
  for (const Damage& damage : damagesOf(info)) {
    SCOPED_TRACE(damage.json);
    controller_.answer("sys.info", damage.json);
    // Texts may be missing; version and axes decide; what is no text or number can't be understood.
    const bool fits =
        matchesAny(damage.name, "-/id -/mac -/type -/work_type /work_type=* /id=null /mac=null /type=null");
    std::string thrown;
    try {
      robot.connectToRobot(address());
    } catch (const Exception& e) {
      thrown = e.what();
    }
    EXPECT_EQ(thrown.empty(), fits) << thrown;
  }
  controller_.answer("sys.info", info);
  for (const Damage& damage : damagesOf(R"({"rt":1400,"broadcast":1401})")) {
    SCOPED_TRACE(damage.json);
    controller_.answer("eci.port", damage.json);
    EXPECT_NO_THROW(robot.connectToRobot(address()));
  }
}

TEST_F(Connection, ChecksEachClass) {
  const auto connects = [&](auto robot, const char* workType, int axes) {
    ControllerIdentity identity;
    identity.workType = workType;
    identity.axes = axes;
    controller_.answer("sys.info", identity.json());
    try {
      robot->connectToRobot(address());
      return true;
    } catch (const ExecutionException&) {
      return false;
    }
  };
  for (const char* type : {"cobot", "industrial"}) {
    for (int axes = 2; axes <= 8; ++axes) {
      SCOPED_TRACE(type + std::to_string(axes));
      const bool cobot = type == std::string("cobot");
      EXPECT_EQ(connects(std::make_unique<TandiFiveRobot>(), type, axes), cobot && axes == 5);
      EXPECT_EQ(connects(std::make_unique<TandiRobot>(), type, axes), cobot && axes == 6);
      EXPECT_EQ(connects(std::make_unique<TandiSevenRobot>(), type, axes), cobot && axes == 7);
      EXPECT_EQ(connects(std::make_unique<QuillRobot>(), type, axes), cobot && axes == 7);
      EXPECT_EQ(connects(std::make_unique<TriaxRobot>(), type, axes), !cobot && axes == 3);
      EXPECT_EQ(connects(std::make_unique<QuadraxRobot>(), type, axes), !cobot && axes == 4);
      EXPECT_EQ(connects(std::make_unique<StandardRobot>(), type, axes), !cobot && axes == 6);
    }
  }
}

TEST_F(Connection, FailsWithoutAController) {
  controller_.stopListening();
  EXPECT_EQ(thrownBy<NetworkException>([&] { TandiRobot robot(address()); }), "network: network connection");
  EXPECT_EQ(thrownBy<NetworkException>([&] { TandiRobot robot(""); }), "network: network connection");
  TandiRobot robot;
  Ec ec;
  robot.connectToRobot(ec);
  EXPECT_EQ(ec, Code::network) << "no address was ever given";
}

TEST_F(Connection, NeverMadeFailsOperations) {
  TandiRobot robot;
  Ec ec;
  EXPECT_EQ(robot.powerState(ec), PowerState::unknown);
  EXPECT_EQ(ec, Code::network);
  robot.disconnectFromRobot(ec);
  EXPECT_EQ(ec, Code::network);
  std::string id = "untouched";
  robot.moveAppend(std::vector{MoveAbsJCommand({1, 2, 3, 4, 5, 6})}, id, ec);
  EXPECT_EQ(ec, Code::notConnected);
  EXPECT_EQ(id, "untouched");
  using Call = std::function<void()>;
  for (const Call& call : {Call([&] { robot.moveStart(ec); }), Call([&] { robot.moveReset(ec); }),
                           Call([&] { robot.setMaxCacheSize(5, ec); }),
                           Call([&] { robot.executeCommand(std::vector{MoveLCommand()}, ec); }),
                           Call([&] { robot.setEventWatcher(Event::moveExecution, {}, ec); }), Call([&] {
                             EXPECT_TRUE(robot.queryEventInfo(Event::moveExecution, ec).empty());
                           })}) {
    ec.clear();
    call();
    EXPECT_EQ(ec, Code::notConnected);
  }
  robot.recoverState(2, ec);
  EXPECT_EQ(ec, Code::argumentInvalid);
  EXPECT_EQ(TandiRobot::sdkVersion(), "0.7.1");
}

TEST_F(Connection, TellsTheLocalAddress) {
  controller_.answer("eci.ip", "-10101");
  const std::string invalid = "network: Local IPv4 address is invalid";
  EXPECT_EQ(thrownBy<NetworkException>([&] { TandiRobot robot(address(), "x"); }), invalid);
  TandiRobot robot;
  EXPECT_EQ(thrownBy<NetworkException>([&] { robot.connectToRobot(address(), "x"); }), invalid);
  EXPECT_TRUE(controller_.waitForLinks(0));
  EXPECT_NO_THROW(robot.connectToRobot(address(), "")) << "an empty one isn't told";
  EXPECT_EQ(controller_.count("eci.ip"), 2u);

  ControllerIdentity triax;
  triax.axes = 3;
  triax.workType = "industrial";
  controller_.answer("sys.info", triax.json());
  TriaxRobot small;
  EXPECT_NO_THROW(small.connectToRobot(address(), "x")) << "robots of three axes don't tell it";
  EXPECT_EQ(controller_.count("eci.ip"), 2u);
}

TEST_F(Connection, MadeTwiceStartsClean) {
  Heard<bool> finishes;
  TandiRobot robot(address());
  Ec ec;
  robot.setEventWatcher(
      Event::moveExecution, [&](const EventInfo&) { finishes.add(true); }, ec);
  robot.connectToRobot(address());
  ASSERT_TRUE(controller_.waitForLinks(1));
  EXPECT_EQ(controller_.count("sys.info"), 2u);
  EXPECT_EQ(controller_.requests().back().link, 2);
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
  controller_.push(finishNotice);
  EXPECT_TRUE(finishes.waitFor(1)) << "watchers outlast a connection";
}

TEST_F(Connection, EndedCanBeMadeAgain) {
  TandiRobot robot(address());
  Ec ec;
  robot.disconnectFromRobot(ec);
  EXPECT_FALSE(ec);
  ASSERT_TRUE(controller_.waitForLinks(0));
  robot.powerState(ec);
  EXPECT_EQ(ec, Code::network);
  robot.disconnectFromRobot(ec);
  EXPECT_EQ(ec, Code::network);
  robot.connectToRobot(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
  EXPECT_FALSE(ec);
}

TEST_F(Connection, DroppedWhileBeingMadeFailsAtOnce) {
  for (const char* key : {"sys.info", "eci.port", "move.reset"}) {
    SCOPED_TRACE(key);
    ScriptedController controller;
    controller.answerBy(key, [&](const Request&) {
      controller.die();
      return std::vector<std::string>();
    });
    const auto begin = std::chrono::steady_clock::now();
    std::string thrown;
    try {
      TandiRobot robot(controller.address(), "127.0.0.9");
    } catch (const NetworkException& e) {
      thrown = e.what();
    }
    // Only the identity is indispensable; the local address then finds the link down.
    EXPECT_EQ(thrown, key == std::string("sys.info") ? "network: network connection"
                                                     : "network: Local IPv4 address is invalid");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8));
  }
}

}  // namespace

}  // namespace zivra::test
