// Calibration, clock and log: what is refused here, replies that say less or other than they should, and
// texts in Chinese.
#include <algorithm>

#include "core/process_state.h"
#include "robot/fixture.h"

namespace zivra::test {

namespace {

using Calibration = RobotTest;
using ControllerLog = RobotTest;
using Clock = RobotTest;
using Ec = std::error_code;

constexpr const char* calibrateKey = "utils.calibrate_frame";
constexpr const char* logKey = "user_log.query";

TEST_F(Calibration, TheNumberOfPointsDecides) {
  const struct {
    FrameType type;
    std::vector<std::size_t> accepted;
  } rows[] = {{FrameType::baseFrame, {6}}, {FrameType::tool, {3, 4, 6}},    {FrameType::wobj, {3}},
              {FrameType::rail, {3}},      {FrameType::world, {}},          {FrameType::flange, {}},
              {FrameType::path, {}},       {static_cast<FrameType>(7), {}}, {static_cast<FrameType>(-1), {}}};
  controller_.answer(calibrateKey, R"({"data":{}})");
  TandiRobot robot(address());
  std::size_t sent = 0;
  for (const auto& row : rows) {
    for (std::size_t count = 0; count <= 8; ++count) {
      SCOPED_TRACE(testing::Message() << "type " << static_cast<int>(row.type) << ", points " << count);
      const bool accepted = std::count(row.accepted.begin(), row.accepted.end(), count) > 0;
      sent += accepted ? 1 : 0;
      Ec ec;
      robot.calibrateFrame(row.type, std::vector<std::array<double, 6>>(count), false, ec);
      EXPECT_EQ(ec, coded(accepted ? 0 : 259));
      EXPECT_EQ(controller_.count(calibrateKey), sent);
    }
  }
}

TEST_F(Calibration, RepliesThatSayLess) {
  const struct {
    const char* reply;
    int code;
    Frame frame{};
    std::array<double, 3> errors{};
  } rows[] = {
      {R"({"data":{"frame":{"trans":[1,2,3],"rot":[0,0,0]}}})", 0, Frame({1, 2, 3}, {0, 0, 0})},
      {R"({"data":{"errors":[1,2,3]}})", 0, {}, {1, 2, 3}},
      {R"({"data":{"errors":[1,2],"frame":{"trans":[1,2,3]}}})", 0, Frame({1, 2, 3}, {0, 0, 0})},
      {R"({"data":{"frame":{"rot":[1,2,3]}}})", 0},
      {R"({"error":1})", -260},
      {R"({"data":{},"error":1})", 273},
      {R"({"data":{"frame":{"trans":[1,2,3],"rot":[0,0,0]}},"error":0})", 273},
      {R"({"data":null,"error":null})", 273},
      {R"({"data":null})", -260},
      {"0", -260},
  };
  TandiRobot robot(address());
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reply);
    controller_.answer(calibrateKey, row.reply);
    Ec ec;
    const auto result = robot.calibrateFrame(FrameType::wobj, {{}, {}, {}}, false, ec);
    EXPECT_EQ(ec, coded(row.code));
    EXPECT_EQ(result.frame.trans, row.frame.trans);
    EXPECT_EQ(result.frame.rpy, row.frame.rpy);
    EXPECT_EQ(result.errors, row.errors);
  }
}

TEST_F(Clock, ErrorsAreTheServersCodes) {
  const struct {
    const char *reply, *log;
    int code;
  } rows[] = {
      {R"({"error":-5,"data":{"msg":"no server"}})", "(-5no server)", -5},
      {R"({"error":-6,"data":"no server"})", "(-6no server)", -6},
      {R"({"error":-7,"data":{"msg":7}})", "(-7)", -7},
      {"-8", "(-8)", -8},
      {R"({"error":"x","data":"words"})", "(257words)", 257},
      {"3000000000", "(257)", 257},
  };
  {
    TandiRobot robot(address());
    for (const auto& row : rows) {
      SCOPED_TRACE(row.reply);
      controller_.answer("sys.ntp.config", row.reply);
      controller_.answer("sys.ntp.sync", row.reply);
      Ec ec;
      robot.configNtp("s", ec);
      EXPECT_EQ(ec, coded(row.code));
      robot.syncTimeWithServer(ec);
      EXPECT_EQ(ec, coded(row.code));
    }
  }
  const auto own = robotLog("scripted"), global = globalLog();
  for (const auto& row : rows) {
    for (const char* head : {"configNtp s ", "syncTimeWithServer "}) {
      const std::string line = std::string(head) + row.log;
      EXPECT_EQ(std::count(own.begin(), own.end(), line), 1) << line;
      EXPECT_EQ(std::count(global.begin(), global.end(), line), 0) << line;
    }
  }
}

TEST_F(ControllerLog, RepliesThatSayLess) {
  const struct {
    const char* reply;
    int code;
    std::size_t entries = 0;
  } rows[] = {
      {R"({"data":{"logs":[]}})", 0},
      {R"({"data":{}})", 0},
      {"{}", 0},
      {R"({"data":{"logs":[{},{"err_code":null,"time":null}]}})", 0, 2},
      {R"({"data":null})", -260},
      {R"({"data":{"logs":[{},5]}})", -260},
      {R"({"data":{"logs":[{},null]}})", -260},
      {R"({"data":{"logs":[{"err_code":3000000000}]}})", 257},
      {R"({"data":{"logs":[{"time":5}]}})", 257},
      {"-1", -260},
  };
  TandiRobot robot(address());
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reply);
    controller_.answer(logKey, row.reply);
    Ec ec;
    EXPECT_EQ(robot.queryControllerLog(10, {}, ec).size(), row.entries);
    EXPECT_EQ(ec, coded(row.code));
  }
  controller_.forgetRequests();
  Ec ec;
  EXPECT_TRUE(robot.queryControllerLog(10, {static_cast<LogInfo::Level>(3)}, ec).empty());
  EXPECT_EQ(ec, Code::argumentInvalid);
  EXPECT_EQ(controller_.count(logKey), 0u) << "a level that isn't one must not ask for all";
}

TEST_F(ControllerLog, TextsAreOfTheLanguagesCodePage) {
  controller_.answer(logKey,
                     R"({"data":{"logs":[{"content":"急停 \ud83d\ude00!","repair":"€","time":"12:00"}]}})");
  TandiRobot robot(address());
  Ec ec;
  internal::setLanguage(internal::Language::chinese);
  auto entries = robot.queryControllerLog(1, {}, ec);
  internal::setLanguage(internal::Language::english);
  ASSERT_EQ(entries.size(), 1u) << ec.message();
  EXPECT_EQ(entries[0].logText, "\xbc\xb1\xcd\xa3 ?!");
  EXPECT_EQ(entries[0].repairHint, "\x80");
  EXPECT_EQ(entries[0].timestamp, "12:00");
  entries = robot.queryControllerLog(1, {}, ec);
  ASSERT_EQ(entries.size(), 1u) << ec.message();
  EXPECT_EQ(entries[0].logText, "急停 \xf0\x9f\x98\x80!");
}

}  // namespace

}  // namespace zivra::test
