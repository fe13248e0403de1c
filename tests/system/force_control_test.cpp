// Force control through the library, against a simulated arm and a surface.
#include <algorithm>
#include <future>

#include <zivra/force_control.h>

#include "system/fixture.h"

namespace zivra::test {

namespace {

using Ec = std::error_code;
using Fc = ForceControl_T<6>;

constexpr double kPress = 20, kBelow = 0.03;  // N, m

class ForceControl : public SystemTest {
 protected:
  // A robot with power, above a surface.
  void begin(double speedFactor = 10) {
    startController(sim::Model::tandi, speedFactor);
    robot_ = std::make_unique<TandiRobot>(address());
    robot_->setPowerState(true, ec_);
    done("power");
    home_ = place();
    controller().placeSurface({0, 0, home_[2] - kBelow}, {0, 0, 1});
  }
  void done(const char* what) { EXPECT_FALSE(ec_) << what << ": " << ec_.message(); }
  std::array<double, 6> place() {
    Ec ec;
    return robot_->posture(CoordinateType::endInRef, ec);
  }
  void press(Fc& force) {
    force.fcInit(FrameType::world, ec_);
    done("init");
    force.setControlType(1, ec_);
    done("type");
    force.setCartesianStiffness({1000, 1000, 0, 100, 100, 100}, ec_);
    done("stiffness");
    force.setCartesianDesiredForce({0, 0, -kPress, 0, 0, 0}, ec_);
    done("force");
    force.fcStart(ec_);
    done("start");
  }
  // Of the wait for more force upwards than that; on a thread of its own.
  std::future<int> waitForForce(Fc& force, double newton) {
    force.setForceCondition({-500, 500, -500, 500, -500, newton}, false, 600, ec_);
    done("condition");
    const auto waits = [this] {
      const auto requests = controller().requests();
      return std::count(requests.begin(), requests.end(), "eci.fc.cond");
    };
    const auto before = waits();
    auto waiting = std::async(std::launch::async, [&force] {
      Ec ec;
      force.waitCondition(ec);
      return ec.value();
    });
    EXPECT_TRUE(eventually([&] { return waits() > before; }));
    auto other = robot_->forceControl();
    other.waitCondition(ec_);
    EXPECT_EQ(ec_.value(), -41400) << "one at a time";
    return waiting;
  }

  std::unique_ptr<TandiRobot> robot_;
  std::array<double, 6> home_{};
  Ec ec_;
};

TEST_F(ForceControl, SearchesUntilItTouches) {
  begin();
  auto force = robot_->forceControl();
  press(force);
  force.setLissajousOverlay(0, 10, 1, 10, 2, 1.5, ec_);
  done("overlay");
  force.startOverlay(ec_);
  done("start of the overlay");
  force.setForceCondition({-500, 500, -500, 500, -500, 5}, false, 60, ec_);
  done("condition");
  force.waitCondition(ec_);
  done("wait");
  std::array<double, 6> measured{}, outside{};
  std::array<double, 3> torque{}, touch{};
  force.getEndTorque(FrameType::world, measured, outside, torque, touch, ec_);
  done("torques");
  EXPECT_GT(touch[2], 4.9);
  EXPECT_LT(place()[2], home_[2] - kBelow + 1e-6);
  EXPECT_TRUE(eventually([&] { return std::abs(place()[2] - (home_[2] - kBelow - kPress / 10000)) < 1e-4; }))
      << "it comes to rest where the surface presses as much as the robot";
  force.fcStop(ec_);
  done("stop");
  const auto stood = place();
  auto torques = robot_->jointTorque(ec_);
  force.getEndTorque(FrameType::tool, measured, outside, torque, touch, ec_);
  EXPECT_EQ(torques, measured) << "both tell of the same arm";
  EXPECT_LT(touch[2], -19) << "the tool's own axis points into the surface";
  EXPECT_EQ(place(), stood);
}

TEST_F(ForceControl, EveryRefusalComesThrough) {
  begin();
  struct Step {
    const char* what;
    void (*act)(TandiRobot&, Fc&, Ec&);
    int code = 0;
  };
  const Step steps[] = {
      {"stop before all", [](TandiRobot&, Fc& f, Ec& ec) { f.fcStop(ec); }, -41421},
      {"start before init", [](TandiRobot&, Fc& f, Ec& ec) { f.fcStart(ec); }, -41420},
      {"joint setter before init", [](TandiRobot&, Fc& f, Ec& ec) { f.setJointStiffness({}, ec); }, -41431},
      {"stiffness before init", [](TandiRobot&, Fc& f, Ec& ec) { f.setCartesianStiffness({}, ec); }, -41432},
      {"force before init", [](TandiRobot&, Fc& f, Ec& ec) { f.setCartesianDesiredForce({}, ec); }, -41433},
      {"sine before init", [](TandiRobot&, Fc& f, Ec& ec) { f.setSineOverlay(0, 1, 1, 0, 0, ec); }, -41425},
      {"figure before init",
       [](TandiRobot&, Fc& f, Ec& ec) { f.setLissajousOverlay(0, 1, 1, 1, 1, 0, ec); }, -41426},
      {"wait before init", [](TandiRobot&, Fc& f, Ec& ec) { f.waitCondition(ec); }, -41421},
      {"power off", [](TandiRobot& r, Fc&, Ec& ec) { r.setPowerState(false, ec); }},
      {"init without power", [](TandiRobot&, Fc& f, Ec& ec) { f.fcInit(FrameType::world, ec); }, -41448},
      {"power on", [](TandiRobot& r, Fc&, Ec& ec) { r.setPowerState(true, ec); }},
      {"init along a path", [](TandiRobot&, Fc& f, Ec& ec) { f.fcInit(FrameType::path, ec); }},
      {"joints along a path", [](TandiRobot&, Fc& f, Ec& ec) { f.setControlType(0, ec); }, -41430},
      {"init", [](TandiRobot&, Fc& f, Ec& ec) { f.fcInit(FrameType::baseFrame, ec); }},
      {"joint setter, Cartesian",
       [](TandiRobot&, Fc& f, Ec& ec) { f.setJointDesiredTorque({}, ec); }, -41431},
      {"joint type", [](TandiRobot&, Fc& f, Ec& ec) { f.setControlType(0, ec); }},
      {"too much torque", [](TandiRobot&, Fc& f, Ec& ec) { f.setJointDesiredTorque({0, 31}, ec); }, -41434},
      {"negative stiffness", [](TandiRobot&, Fc& f, Ec& ec) { f.setJointStiffness({-1}, ec); }, -41444},
      {"Cartesian setter, joints",
       [](TandiRobot&, Fc& f, Ec& ec) { f.setCartesianNullspaceStiffness(1, ec); }, -41432},
      {"Cartesian type", [](TandiRobot&, Fc& f, Ec& ec) { f.setControlType(1, ec); }},
      {"too much force",
       [](TandiRobot&, Fc& f, Ec& ec) {
         f.setCartesianDesiredForce({0, 0, 151}, ec);
       },
       -41435},
      {"wrong load", [](TandiRobot&, Fc& f, Ec& ec) { f.setLoad(Load(-1, {}, {}), ec); }},
      {"start with a wrong load", [](TandiRobot&, Fc& f, Ec& ec) { f.fcStart(ec); }, -41420},
      {"load", [](TandiRobot&, Fc& f, Ec& ec) { f.setLoad(Load(1, {}, {}), ec); }},
      {"start", [](TandiRobot&, Fc& f, Ec& ec) { f.fcStart(ec); }},
      {"start again", [](TandiRobot&, Fc& f, Ec& ec) { f.fcStart(ec); }, -41400},
      {"init while it runs", [](TandiRobot&, Fc& f, Ec& ec) { f.fcInit(FrameType::world, ec); }, -41400},
      {"type while it runs", [](TandiRobot&, Fc& f, Ec& ec) { f.setControlType(1, ec); }, -41459},
      {"mode while it runs",
       [](TandiRobot& r, Fc&, Ec& ec) { r.setOperateMode(OperateMode::automatic, ec); }, -41459},
      {"base frame while it runs", [](TandiRobot& r, Fc&, Ec& ec) { r.setBaseFrame({}, ec); }, -41459},
      {"jog while it runs",
       [](TandiRobot& r, Fc&, Ec& ec) { r.startJog(JogOpt::Space::jointSpace, 0.1, 0.1, 0, true, ec); },
       -41459},
      {"overlay that isn't set", [](TandiRobot&, Fc& f, Ec& ec) { f.startOverlay(ec); }, -41427},
      {"overlay", [](TandiRobot&, Fc& f, Ec& ec) { f.setSineOverlay(0, 5, 1, 0, 0, ec); }},
      {"stop of what isn't started", [](TandiRobot&, Fc& f, Ec& ec) { f.stopOverlay(ec); }, -41428},
      {"start of the overlay", [](TandiRobot&, Fc& f, Ec& ec) { f.startOverlay(ec); }},
      {"another overlay", [](TandiRobot&, Fc& f, Ec& ec) { f.setSineOverlay(0, 5, 1, 0, 0, ec); }, -41425},
      {"stiffness meanwhile", [](TandiRobot&, Fc& f, Ec& ec) { f.setCartesianStiffness({}, ec); }, -41444},
      {"restart of what goes on", [](TandiRobot&, Fc& f, Ec& ec) { f.restartOverlay(ec); }, -41429},
      {"pause", [](TandiRobot&, Fc& f, Ec& ec) { f.pauseOverlay(ec); }},
      {"pause again", [](TandiRobot&, Fc& f, Ec& ec) { f.pauseOverlay(ec); }, -41428},
      {"restart", [](TandiRobot&, Fc& f, Ec& ec) { f.restartOverlay(ec); }},
      {"stop", [](TandiRobot&, Fc& f, Ec& ec) { f.fcStop(ec); }},
      {"stop again", [](TandiRobot&, Fc& f, Ec& ec) { f.fcStop(ec); }, -41421},
      {"start without init", [](TandiRobot&, Fc& f, Ec& ec) { f.fcStart(ec); }, -41457},
      {"setter without init", [](TandiRobot&, Fc& f, Ec& ec) { f.setCartesianStiffness({}, ec); }, -41457},
      {"init anew", [](TandiRobot&, Fc& f, Ec& ec) { f.fcInit(FrameType::tool, ec); }},
      {"limit", [](TandiRobot&, Fc& f, Ec& ec) { f.setCartesianMaxVel({}, ec); }},
      {"supervision", [](TandiRobot&, Fc& f, Ec& ec) { f.fcMonitor(true, ec); }},
      {"force", [](TandiRobot&, Fc& f, Ec& ec) { f.setCartesianDesiredForce({9, 9, 9}, ec); }},
      {"fatal start", [](TandiRobot&, Fc& f, Ec& ec) { f.fcStart(ec); }},
      {"the limit trips",
       [](TandiRobot&, Fc& f, Ec& ec) {
         EXPECT_TRUE(eventually([&] {
           f.fcMonitor(true, ec);
           return static_cast<bool>(ec);
         }));
       },
       -10079},
      {"init after it", [](TandiRobot&, Fc& f, Ec& ec) { f.fcInit(FrameType::world, ec); }, -10079},
      {"alarm cleared", [](TandiRobot& r, Fc&, Ec& ec) { r.clearServoAlarm(ec); }},
      {"supervision of lost limits", [](TandiRobot&, Fc& f, Ec& ec) { f.fcMonitor(true, ec); }, -41470},
      {"supervision all the same", [](TandiRobot&, Fc& f, Ec& ec) { f.fcMonitor(true, ec); }},
      {"init at last", [](TandiRobot&, Fc& f, Ec& ec) { f.fcInit(FrameType::world, ec); }},
      {"start at last", [](TandiRobot&, Fc& f, Ec& ec) { f.fcStart(ec); }},
  };
  auto force = robot_->forceControl();
  for (const Step& step : steps) {
    step.act(*robot_, force, ec_);
    EXPECT_EQ(ec_.value(), step.code) << step.what << ": " << ec_.message();
  }
}

TEST_F(ForceControl, OthersGoOnWhileOneWaits) {
  begin();
  auto force = robot_->forceControl(), other = robot_->forceControl();
  press(force);
  auto waiting = waitForForce(force, 400);
  EXPECT_EQ(robot_->powerState(ec_), PowerState::on);
  controller().pushTool({0, 0, 450, 0, 0, 0});
  EXPECT_EQ(waiting.get(), 0);
  controller().pushTool({});
  waiting = waitForForce(force, 400);
  other.fcStop(ec_);
  done("stop");
  EXPECT_EQ(waiting.get(), -41457);
}

TEST_F(ForceControl, ADroppedLinkEndsTheWaitButNotTheRun) {
  begin();
  auto force = robot_->forceControl();
  press(force);
  Heard<bool> links;
  robot_->setConnectionHandler([&](bool up) { links.add(up); });
  auto waiting = waitForForce(force, 400);
  controller().dropLinks();
  EXPECT_EQ(waiting.get(), 256);
  ASSERT_TRUE(links.waitFor(2));
  force.fcStart(ec_);
  EXPECT_EQ(ec_.value(), -41400) << "it still runs";
  waiting = waitForForce(force, 400);  // nobody waits any more on the dead link
  robot_->setConnectionHandler({});
  robot_.reset();
  force.fcStop(ec_);
  done("stop without the robot");
  EXPECT_EQ(waiting.get(), -41457);
}

TEST_F(ForceControl, FiveAndSevenAxes) {
  const auto run = [this](auto&& robot, auto&& torques) {
    robot.setPowerState(true, ec_);
    auto force = robot.forceControl();
    force.fcInit(FrameType::world, ec_);
    done("init");
    force.setControlType(0, ec_);
    force.setJointStiffness(torques, ec_);
    done("stiffness");
    force.setJointDesiredTorque(torques, ec_);
    done("torque");
    const double before = robot.jointPos(ec_).at(0);
    force.fcStart(ec_);
    done("start");
    EXPECT_TRUE(eventually([&] { return robot.jointPos(ec_).at(0) > before + 0.1; }));
    force.fcStop(ec_);
    done("stop");
  };
  startController(sim::Model::tandiFive);
  run(TandiFiveRobot(address()), std::array<double, 5>{10});
  controller_.reset();
  startController(sim::Model::tandiSeven);
  run(QuillRobot(address()), std::array<double, 7>{10});
}

}  // namespace

}  // namespace zivra::test
