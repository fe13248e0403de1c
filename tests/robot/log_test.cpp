// The files that connections write.
#include <algorithm>
#include <filesystem>
#include <fstream>

#include "robot/fixture.h"

namespace zivra::test {

namespace {

using ConnectionLog = RobotTest;
using Ec = std::error_code;
namespace fs = std::filesystem;

bool has(const std::vector<std::string>& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

TEST_F(ConnectionLog, IsWhereItShouldBe) {
  const std::string connected = "uid: scripted | Connect to " + address() + " from 127.0.0.9";
  Ec ec;
  {
    TandiRobot robot(address(), "127.0.0.9");
    robot.disconnectFromRobot(ec);
    EXPECT_TRUE(has(robotLog("scripted"), connected)) << "in the file once the connection has ended";
    robot.connectToRobot(address());
  }
  const auto own = robotLog("scripted"), global = globalLog();
  for (const auto& line : {connected, "uid: scripted | disconnectFromRobot end (0)" + std::string(),
                           std::string("uid: scripted | re-watch event: moveExecution "),
                           "uid: scripted | xService " + address() + ":6666 disconnect"}) {
    EXPECT_TRUE(has(own, line)) << line;
    EXPECT_TRUE(has(global, line)) << line;
  }
  EXPECT_TRUE(std::any_of(global.begin(), global.end(), [&](const std::string& line) {
    return line.ends_with(" | xService " + address() + ":6666 connect");
  })) << "the robot's own log begins once it is known who the robot is";
  EXPECT_FALSE(has(global, "uid: scripted | disconnectFromRobot")) << "lines of the debug level";
}

TEST_F(ConnectionLog, IsNamedAfterTheRobot) {
  struct Row {
    const char* id;
    const char* folder;
    const char* uid;
  };
  for (const Row& row :
       {Row{"abcdefghijkl", "abcdefghijkl", "abcdefgh-ijkl"},
        Row{"abcdefghijk", "abcdefghijk", "abcdefghijk"},
        Row{"0123456789abcdef", "0123456789abcdef", "01234567-cdef"}, Row{"", "default", "default"}}) {
    SCOPED_TRACE(row.id);
    ControllerIdentity identity;
    identity.id = row.id;
    controller_.answer("sys.info", identity.json());
    { TandiRobot robot(address()); }
    EXPECT_TRUE(
        has(robotLog(row.folder), std::string("uid: ") + row.uid + " | Connect to " + address() + " from "));
  }
}

TEST_F(ConnectionLog, StaysInItsFolder) {
  for (const char* id : {"../../evil", "/tmp/evil", "..", "a/b"}) {
    SCOPED_TRACE(id);
    ControllerIdentity identity;
    identity.id = id;
    controller_.answer("sys.info", identity.json());
    Ec ec;
    TandiRobot robot(address());
    EXPECT_EQ(robot.robotInfo(ec).id, id) << "only the path is made harmless";
  }
  for (const auto& entry : fs::directory_iterator(folder_.path())) {
    const auto name = entry.path().filename();
    EXPECT_TRUE(name == "logs" || name == "_zivra_log_") << name;
  }
  EXPECT_FALSE(fs::exists("/tmp/evil"));
  EXPECT_FALSE(fs::exists(folder_.path().parent_path() / "evil"));
}

TEST_F(ConnectionLog, IsSharedByRobotsOfOneId) {
  ScriptedController twin;
  Ec ec;
  {
    TandiRobot first(address());
    {
      TandiRobot second(twin.address());
      EXPECT_EQ(second.powerState(ec), PowerState::on);
    }
    first.clearServoAlarm(ec);
    first.setTeachPendantMode(true, ec);
  }
  const auto log = robotLog("scripted");
  EXPECT_TRUE(has(log, "uid: scripted | Connect to " + address() + " from "));
  EXPECT_TRUE(has(log, "uid: scripted | Connect to " + twin.address() + " from "));
  EXPECT_TRUE(has(log, "uid: scripted | setTeachPendantMode, enable: true (-259)"))
      << "the first one still logs";
}

TEST_F(ConnectionLog, FollowsTheSettingsFile) {
  std::ofstream("user_log_settings.json")
      << R"({"_log_storage_directory_":"elsewhere","_retention_days_":30})";
  { TandiRobot robot(address()); }
  EXPECT_TRUE(fs::exists("elsewhere/scripted"));
  EXPECT_TRUE(fs::exists("_zivra_log_/scripted"));
  EXPECT_NE(textOfFiles("elsewhere/scripted", "OstrelSDK_").find("Connect to"), std::string::npos);
}

TEST_F(ConnectionLog, NeverFailsTheConnection) {
  // Files in the place of folders: not even the superuser can write there.
  std::ofstream("logs") << "taken";
  std::ofstream("_zivra_log_") << "taken";
  std::ofstream("user_log_settings.json") << R"({"_retention_days_":0})";
  TandiRobot robot(address());
  Ec ec;
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
  robot.setTeachPendantMode(true, ec);
  EXPECT_EQ(ec.value(), -259);
  robot.disconnectFromRobot(ec);
  EXPECT_FALSE(ec) << ec.message();
  robot.connectToRobot(ec);
  EXPECT_FALSE(ec) << ec.message();
}

}  // namespace

}  // namespace zivra::test
