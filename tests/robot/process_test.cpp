// Robots and what a process has only once: its beginning and end, its language, its numbers.
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <locale>
#include <memory>

#include "robot/fixture.h"
#include "support/child_process.h"

namespace zivra::test {

namespace {

using Ec = std::error_code;
constexpr const char* addressVariable = "ZIVRA_TEST_ADDRESS";

const char* childsAddress() { return std::getenv(addressVariable); }

// Made before main and destroyed after it, in child processes only.
std::unique_ptr<TandiRobot> robotBeforeMain =
    childsAddress() != nullptr ? std::make_unique<TandiRobot>() : nullptr;

class Process : public RobotTest {
 protected:
  int run(const std::string& child) const {
    return runInChild("Process_Child.DISABLED_" + child, {{addressVariable, address()}});
  }
};

TEST(Process_Child, DISABLED_connectsARobotOfStaticStorage) {
  ASSERT_TRUE(robotBeforeMain);
  robotBeforeMain->connectToRobot(childsAddress());
  Ec ec;
  EXPECT_EQ(robotBeforeMain->powerState(ec), PowerState::on);
  robotBeforeMain->setEventWatcher(
      Event::moveExecution, [](const EventInfo&) {}, ec);
}
TEST_F(Process, RobotOfStaticStorageOutlivesMain) {
  EXPECT_EQ(run("connectsARobotOfStaticStorage"), 0);
  EXPECT_TRUE(controller_.waitForLinks(0));
  const auto log = robotLog("scripted");
  ASSERT_FALSE(log.empty());
  EXPECT_NE(log.back().find("disconnect"), std::string::npos)
      << "its last words are in the file: " << log.back();
}

TEST(Process_Child, DISABLED_exitsWithALiveRobot) {
  auto* robot = new TandiRobot(childsAddress());
  Ec ec;
  robot->setPowerState(true, ec);
  std::exit(7);  // the robot's threads are still there
}
TEST_F(Process, ExitWithALiveRobotIsOrderly) {
  controller_.answer("sys.power.on", "0");
  EXPECT_EQ(run("exitsWithALiveRobot"), 7);
  const auto log = robotLog("scripted");
  const std::string line = "uid: scripted | setPowerState end, switch motor true (0)";
  EXPECT_NE(std::find(log.begin(), log.end(), line), log.end()) << "what was logged is in the file";
}

TEST_F(Process, SpeaksTheLanguageOfItsLocale) {
  // A locale named like a Chinese one, made of the one that every system has.
  const std::filesystem::path plain = "/usr/lib/locale/C.utf8";
  if (!std::filesystem::exists(plain)) GTEST_SKIP() << "no " << plain << " to make a locale of";
  std::filesystem::create_symlink(plain, "zh_CN.utf8");
  controller_.stopListening();
  const auto thrown = [&] { return thrownBy<NetworkException>([&] { TandiRobot robot(address()); }); };
  ::setenv("LOCPATH", folder_.path().c_str(), 1);
  ::setenv("LC_ALL", "zh_CN.utf8", 1);
  EXPECT_EQ(thrown(), "网络异常: 网络连接错误");
  EXPECT_EQ(make_error_code(Code::timeout).message().substr(0, 9), "超时前");
  ::setenv("LC_ALL", "no_such_locale", 1);
  EXPECT_EQ(thrown(), "network: network connection");
  ::unsetenv("LOCPATH");
  ::setenv("LC_ALL", "C", 1);
  EXPECT_EQ(thrown(), "network: network connection");
}

// A user interface in German: comma for the decimals, points between thousands.
class GermanNumbers : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST_F(Process, NumbersDontDependOnTheLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new GermanNumbers));
  TandiRobot robot(address());
  controller_.answer("sys.rt.jnt_pos", "[1.5,-1234567.25,1.500e3,12345]");
  controller_.answer("ix.coord.base_in_world", "0");
  controller_.forgetRequests();
  Ec ec;
  EXPECT_EQ(robot.jointPos(ec), (std::vector<double>{1.5, -1234567.25, 1500, 12345}));
  robot.setBaseFrame(Frame({1234.5, 0, 0}, {0, 0, 0}), ec);
  std::locale::global(before);
  ASSERT_TRUE(controller_.waitForRequest("ix.coord.base_in_world"));
  EXPECT_NE(controller_.frames().back().find(R"({"rot":[0.0,0.0,0.0],"trans":[1234.5,0.0,0.0]})"),
            std::string::npos)
      << controller_.frames().back();
}

}  // namespace

}  // namespace zivra::test
