// Calibration, clock and user log, against a simulated controller.
#include <algorithm>

#include "core/process_state.h"
#include "system/fixture.h"

namespace zivra::test {

namespace {

using Services = SystemTest;
using Ec = std::error_code;

std::array<double, 6> toArray(const std::vector<double>& joints) {
  std::array<double, 6> array{};
  std::copy_n(joints.begin(), std::min<std::size_t>(joints.size(), 6), array.begin());
  return array;
}

TEST_F(Services, AWorkObjectIsCalibratedFromTaughtPlaces) {
  startController();
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  const CartesianPosition home = moving.here();
  std::vector<std::array<double, 6>> points;
  const auto teach = [&](double x, double y, double z) {
    moving.append({MoveLCommand(shifted(home, x, y, z), 500, 0)});
    robot.moveStart(ec);
    ASSERT_TRUE(moving.waitForFinishes(points.size() + 1));
    points.push_back(toArray(robot.jointPos(ec)));
  };
  teach(-0.05, 0.02, 0.01);
  teach(-0.05, 0.12, 0.01);  // its x is the base's y
  teach(-0.12, 0.07, 0.01);  // and its y goes backwards
  const auto result = robot.calibrateFrame(FrameType::wobj, points, false, ec);
  ASSERT_FALSE(ec) << ec.message();
  EXPECT_NEAR(result.frame.trans[0], home.trans[0] - 0.05, 1e-6);
  EXPECT_NEAR(result.frame.trans[1], home.trans[1] + 0.02, 1e-6);
  EXPECT_NEAR(result.frame.trans[2], home.trans[2] + 0.01, 1e-6);
  EXPECT_NEAR(result.frame.rpy[0], 0, 1e-6);
  EXPECT_NEAR(result.frame.rpy[1], 0, 1e-6);
  EXPECT_NEAR(result.frame.rpy[2], 1.5707963267948966, 1e-6);

  // Work objects stand in the world.
  robot.setBaseFrame(Frame({1, 2, 0.5}, {0, 0, 0}), ec);
  const auto moved = robot.calibrateFrame(FrameType::wobj, points, false, ec);
  EXPECT_NEAR(moved.frame.trans[1] - result.frame.trans[1], 2, 1e-9);

  points[2] = points[1];
  const auto none = robot.calibrateFrame(FrameType::wobj, points, false, ec);
  EXPECT_EQ(ec, Code::calibrationFrame);
  EXPECT_EQ(none.frame.trans, (std::array<double, 3>{}));
}

std::vector<LogInfo> wholeLog(BaseRobot& robot, const std::set<LogInfo::Level>& levels, unsigned page) {
  std::vector<LogInfo> all;
  Ec ec;
  while (true) {
    const auto entries = robot.queryControllerLog(page, levels, ec, static_cast<unsigned>(all.size()));
    EXPECT_FALSE(ec) << ec.message();
    if (entries.empty() || ec) return all;
    EXPECT_LE(entries.size(), 10u);
    all.insert(all.end(), entries.begin(), entries.end());
  }
}

TEST_F(Services, TheUserLogIsReadPageByPage) {
  auto& controller = startController();
  TandiRobot robot(address());
  Ec ec;
  for (int i = 1; i <= 33; ++i) {
    const auto level = i % 3 == 0 ? sim::LogLevel::error : sim::LogLevel::info;
    controller.writeUserLog(level, i, "entry " + std::to_string(i), "hint");
  }
  for (const unsigned page : {3u, 10u, 50u}) {
    const auto all = wholeLog(robot, {LogInfo::Level::err}, page);
    ASSERT_EQ(all.size(), 11u) << page;
    for (int i = 0; i < 11; ++i) EXPECT_EQ(all[static_cast<std::size_t>(i)].id, 33 - 3 * i) << "newest first";
    EXPECT_EQ(all[0].logText, "entry 33");
    EXPECT_EQ(all[0].repairHint, "hint");
  }
  const std::size_t before = wholeLog(robot, {}, 10).size();
  robot.setPowerState(true, ec);
  controller.pressEmergencyStop();
  const auto after = wholeLog(robot, {}, 10);
  ASSERT_EQ(after.size(), before + 2) << "it grows";
  EXPECT_EQ(after[0].id, -3);
  EXPECT_EQ(after[1].logText, "the motors were switched on");
}

TEST_F(Services, ChineseTextsComeInTheirCodePage) {
  sim::Options options;
  options.address = address();
  options.language = sim::Language::chinese;
  sim::Controller controller(options);
  controller.start();
  TandiRobot robot(address());
  Ec ec;
  internal::setLanguage(internal::Language::chinese);
  const auto entries = robot.queryControllerLog(1, {}, ec);
  internal::setLanguage(internal::Language::english);
  ASSERT_EQ(entries.size(), 1u) << ec.message();
  EXPECT_EQ(entries[0].logText, "\xbf\xd8\xd6\xc6\xc6\xf7\xd2\xd1\xc6\xf4\xb6\xaf");
  EXPECT_EQ(robot.queryControllerLog(1, {}, ec).at(0).logText, "控制器已启动");
}

TEST_F(Services, AServerSetsTheClockRight) {
  auto& controller = startController();
  TandiRobot robot(address());
  Ec ec;
  controller.setClockAhead(std::chrono::hours(24) * 4000);
  controller.writeUserLog(sim::LogLevel::info, 0, "in the future");
  const std::string future = robot.queryControllerLog(1, {}, ec).at(0).timestamp;
  robot.syncTimeWithServer(ec);
  EXPECT_EQ(ec.value(), -320) << "no server";
  robot.configNtp("10.0.0.1", ec);
  EXPECT_FALSE(ec) << ec.message();
  robot.syncTimeWithServer(ec);
  EXPECT_FALSE(ec) << ec.message();
  controller.writeUserLog(sim::LogLevel::warning, 0, "in the present");
  EXPECT_LT(robot.queryControllerLog(1, {LogInfo::Level::warning}, ec).at(0).timestamp, future);
}

TEST_F(Services, SettingTheClockMayTakeLongerThanOtherCommands) {
  auto& controller = startController();
  TandiRobot robot(address());
  Ec ec;
  robot.configNtp("10.0.0.1", ec);
  sim::Fault late;
  late.kind = sim::Fault::Kind::delay;
  late.key = "sys.ntp.sync";
  late.delay = std::chrono::milliseconds(10'300);
  controller.inject(late);
  robot.syncTimeWithServer(ec);
  EXPECT_FALSE(ec) << ec.message();
}

}  // namespace

}  // namespace zivra::test
