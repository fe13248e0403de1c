// What rows of requests can't say of force control: bounds, the wait and its time-out, and who owns the link.
#include <algorithm>
#include <cmath>
#include <future>
#include <limits>

#include "force_control/force_operation.h"
#include "robot/fixture.h"

namespace zivra::test {

namespace {

using Ec = std::error_code;
constexpr double kPi = 3.141592653589793;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The wait's time-out in reach.
struct OpenForceControl : ForceControl_T<6> {
  explicit OpenForceControl(ForceControl_T<6>&& from) : ForceControl_T<6>(std::move(from)) {}
  std::int64_t& waitTimeoutNs() { return state().waitTimeoutNs; }
};

class ForceControl : public RobotTest {
 protected:
  ForceControl() {
    for (const char* key : {"set_callback", "set", "monitor", "cond", "start"})
      controller_.answer(std::string("eci.fc.") + key, "0");
  }
};

struct Bound {
  const char* name;  // of the key that it goes out under
  void (*call)(ForceControl_T<6>&, Ec&);
  const char* refused = nullptr;  // the line of a refusal; nullptr: it goes out
};

TEST_F(ForceControl, BoundsPassAndWhatIsBeyondIsNotSent) {
  using F = ForceControl_T<6>;
  const Bound rows[] = {
      {"set", [](F& f, Ec& ec) { f.setControlType(-1, ec); }, "setControlType type:-1 over-range"},
      {"set", [](F& f, Ec& ec) { f.setControlType(2, ec); }, "setControlType type:2 over-range"},
      {"set", [](F& f, Ec& ec) { f.setSineOverlay(0, -1e9, 1e9, 0, 0, ec); }},
      {"set", [](F& f, Ec& ec) { f.setSineOverlay(1, kNan, kNan, kNan, kNan, ec); }},
      {"set", [](F& f, Ec& ec) { f.setSineOverlay(3, 1, 1, 0, 0, ec); },
       "setSineOverlay axis:3, phase:0, bias:0 over-range"},
      {"set", [](F& f, Ec& ec) { f.setSineOverlay(-1, 1, 1, 0, 0, ec); },
       "setSineOverlay axis:-1, phase:0, bias:0 over-range"},
      {"set", [](F& f, Ec& ec) { f.setSineOverlay(0, 1, 1, 3.2, 0, ec); },
       "setSineOverlay axis:0, phase:3.2, bias:0 over-range"},
      {"set", [](F& f, Ec& ec) { f.setSineOverlay(0, 1, 1, -0.1, 0, ec); },
       "setSineOverlay axis:0, phase:-0.1, bias:0 over-range"},
      {"set", [](F& f, Ec& ec) { f.setSineOverlay(0, 1, 1, 0, 10.000001, ec); },
       "setSineOverlay axis:0, phase:0, bias:10.000001 over-range"},
      {"set", [](F& f, Ec& ec) { f.setSineOverlay(0, 1, 1, 0, -1, ec); },
       "setSineOverlay axis:0, phase:0, bias:-1 over-range"},
      {"set", [](F& f, Ec& ec) { f.setLissajousOverlay(0, 20, 5, 20, 5, kPi, ec); }},
      {"set", [](F& f, Ec& ec) { f.setLissajousOverlay(2, 0, 0, 0, 0, 0, ec); }},
      {"set", [](F& f, Ec& ec) { f.setLissajousOverlay(3, 1, 1, 1, 1, 0, ec); },
       "setLissajousOverlay 3,1,1,1,1,0 over-range"},
      {"set", [](F& f, Ec& ec) { f.setLissajousOverlay(-1, 1, 1, 1, 1, 0, ec); },
       "setLissajousOverlay -1,1,1,1,1,0 over-range"},
      {"set", [](F& f, Ec& ec) { f.setLissajousOverlay(0, 20.5, 1, 1, 1, 0, ec); },
       "setLissajousOverlay 0,20.5,1,1,1,0 over-range"},
      {"set", [](F& f, Ec& ec) { f.setLissajousOverlay(0, 1, 5.5, 1, 1, 0, ec); },
       "setLissajousOverlay 0,1,5.5,1,1,0 over-range"},
      {"set", [](F& f, Ec& ec) { f.setLissajousOverlay(0, 1, 1, -0.5, 1, 0, ec); },
       "setLissajousOverlay 0,1,1,-0.5,1,0 over-range"},
      {"set", [](F& f, Ec& ec) { f.setLissajousOverlay(0, 1, 1, 1, 6, 0, ec); },
       "setLissajousOverlay 0,1,1,1,6,0 over-range"},
      {"set", [](F& f, Ec& ec) { f.setLissajousOverlay(0, 1, 1, 1, 1, 3.15, ec); },
       "setLissajousOverlay 0,1,1,1,1,3.15 over-range"},
      {"set", [](F& f, Ec& ec) { f.setForceCondition({}, true, 1, ec); }},
      {"set", [](F& f, Ec& ec) { f.setForceCondition({}, true, 0.5, ec); },
       "setForceCondition timeout: 0.5 over-range"},
      {"set", [](F& f, Ec& ec) { f.setTorqueCondition({}, true, 600.5, ec); },
       "setTorqueCondition timeout: 600.5 over-range"},
      {"set", [](F& f, Ec& ec) { f.setPoseBoxCondition({}, {}, true, -1, ec); },
       "setPoseBoxCondition timeout: -1 over-range"},
      {"monitor",
       [](F& f, Ec& ec) {
         f.setCartesianMaxVel({0, kNan}, ec);
       }},
      {"monitor",
       [](F& f, Ec& ec) {
         f.setCartesianMaxVel({0, 0, 0, 0, 0, -1}, ec);
       },
       "setCartesianMaxVel [0, 0, 0, 0, 0, -1] over-range"},
      {"monitor", [](F& f, Ec& ec) { f.setCartesianMaxVel({kInfinity}, ec); },
       "setCartesianMaxVel [inf, 0, 0, 0, 0, 0] over-range"},
      {"monitor",
       [](F& f, Ec& ec) {
         f.setCartesianControlMaxWrench({0, 0, 0, 1000.5}, ec);
       },
       "setCartesianControlMaxWrench [0, 0, 0, 1000.5, 0, 0] over-range"},
      {"monitor", [](F& f, Ec& ec) { f.setCartesianControlMaxVel({3.5}, ec); },
       "setCartesianControlMaxVel [3.5, 0, 0, 0, 0, 0] over-range"},
      {"monitor",
       [](F& f, Ec& ec) {
         f.setCartesianControlMaxVel({0, 0, 3.5}, ec);
       },
       "setCartesianControlMaxVel [0, 0, 3.5, 0, 0, 0] over-range"},
      {"monitor",
       [](F& f, Ec& ec) {
         f.setCartesianControlMaxVel({0, 0, 0, 10.5}, ec);
       },
       "setCartesianControlMaxVel [0, 0, 0, 10.5, 0, 0] over-range"},
      {"monitor", [](F& f, Ec& ec) { f.setJointMaxVel({-0.5}, ec); },
       "setJointMaxVel [-0.5, 0, 0, 0, 0, 0] over-range"},
      {"monitor", [](F& f, Ec& ec) { f.setJointMaxMomentum({-kInfinity}, ec); },
       "setJointMaxMomentum [-inf, 0, 0, 0, 0, 0] over-range"},
      {"monitor",
       [](F& f, Ec& ec) {
         f.setJointMaxEnergy({0, 0, kInfinity}, ec);
       },
       "setJointMaxEnergy [0, 0, inf, 0, 0, 0] over-range"},
      {"monitor", [](F& f, Ec& ec) { f.setJointControlMaxTorque({1000.5}, ec); },
       "setJointControlMaxTorque [1000.5, 0, 0, 0, 0, 0] over-range"},
      {"monitor",
       [](F& f, Ec& ec) {
         f.setJointControlMaxVel({0, 0, 0, 0, 0, 10.5}, ec);
       },
       "setJointControlMaxVel [0, 0, 0, 0, 0, 10.5] over-range"},
      {"monitor", [](F& f, Ec& ec) { f.setFcGain({60.5}, ec); },
       "setFcGain [60.5, 0, 0, 0, 0, 0] over-range"},
      {"monitor",
       [](F& f, Ec& ec) {
         f.setFriction({1, 1, 1, 1, 1, -0.1}, ec);
       },
       "setFriction [1, 1, 1, 1, 1, -0.1] over-range"},
      {"monitor", [](F& f, Ec& ec) { f.setFriction({1.5}, ec); },
       "setFriction [1.5, 0, 0, 0, 0, 0] over-range"},
  };
  auto robot = std::make_unique<TandiRobot>(address());
  auto force = robot->forceControl();
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const Bound& row = rows[i];
    SCOPED_TRACE(row.refused ? row.refused : "row " + std::to_string(i));
    controller_.forgetRequests();
    Ec ec(1, std::generic_category());
    row.call(force, ec);
    EXPECT_EQ(ec.value(), row.refused ? 258 : 0);
    EXPECT_EQ(controller_.count(std::string("eci.fc.") + row.name), row.refused ? 0u : 1u);
  }
  robot.reset();
  const auto own = robotLog("scripted"), global = globalLog();
  for (const Bound& row : rows) {
    if (row.refused == nullptr) continue;
    const std::string line = std::string("E: uid: scripted | ") + row.refused;
    EXPECT_EQ(std::count(own.begin(), own.end(), line), 1) << line;
    EXPECT_EQ(std::count(global.begin(), global.end(), line), 1) << line;
  }
}

TEST_F(ForceControl, CodesComeInThreeForms) {
  struct Row {
    const char* reply;
    int code;
  };
  TandiRobot robot(address());
  auto force = robot.forceControl();
  for (const Row& row :
       {Row{"-41420", -41420}, Row{"-41420.0", -41420}, Row{"{\"error\":-41442}", -41442},
        Row{"{\"error\":-41442.0}", -41442}, Row{"{\"error\":\"x\"}", 257}, Row{"{\"error\":1e10}", 257},
        Row{"3000000000", 0}, Row{"1e300", 0}, Row{"{\"data\":-1}", 0}, Row{"\"done\"", 0}}) {
    controller_.answer("eci.fc.start", row.reply);
    Ec ec;
    force.fcStart(ec);
    EXPECT_EQ(ec, Ec(row.code, category())) << row.reply;
  }
  std::array<double, 6> joint, external;
  std::array<double, 3> cartTorque, cartForce;
  for (const Row& row : {Row{"0", 0}, Row{"-10079", -10079}, Row{"-10079.0", -10079}, Row{"null", 261},
                         Row{"0.5", 261}, Row{"3000000000", 261}}) {
    controller_.answer("eci.fc.end_torque.ref_world", row.reply);
    Ec ec;
    joint.fill(7);
    force.getEndTorque(FrameType::world, joint, external, cartTorque, cartForce, ec);
    EXPECT_EQ(ec, Ec(row.code, category())) << row.reply;
    EXPECT_EQ(joint[0], 7) << row.reply;
  }
  controller_.forgetRequests();
  for (const int frame : {1, 4, 5, 6, -1}) {
    Ec ec;
    force.getEndTorque(static_cast<FrameType>(frame), joint, external, cartTorque, cartForce, ec);
    EXPECT_EQ(ec, Code::argumentInvalid) << frame;
  }
  EXPECT_TRUE(controller_.requests().empty());
}

TEST_F(ForceControl, TheWaitOnlyGetsShorter) {
  struct Step {
    double timeout, wait;  // s
    int refusal = 0;
  };
  TandiRobot robot(address());
  for (const auto& steps : {std::vector<Step>{{594.5, 600}, {594, 599}, {12.2, 18}, {12, 17}, {100, 17}},
                            std::vector<Step>{{300, 305}, {10, 15}, {100, 15}, {kNan, 15}, {1, 6}},
                            std::vector<Step>{{kNan, 600}, {20, 600, -41431}, {0.5, 600}, {20, 25}}}) {
    OpenForceControl force(robot.forceControl());
    int turn = 0;
    for (const Step& step : steps) {
      SCOPED_TRACE(step.timeout);
      controller_.answer("eci.fc.set", std::to_string(step.refusal));
      Ec ec;
      switch (turn++ % 3) {
        case 0:
          force.setForceCondition({}, true, step.timeout, ec);
          break;
        case 1:
          force.setTorqueCondition({}, true, step.timeout, ec);
          break;
        default:
          force.setPoseBoxCondition({}, {}, true, step.timeout, ec);
      }
      EXPECT_EQ(force.waitTimeoutNs(), std::llround(step.wait * 1e9));
    }
  }
}

TEST_F(ForceControl, AWaitEndsByItsTimeOutOrWithTheLink) {
  controller_.mute("eci.fc.cond");
  auto robot = std::make_unique<TandiRobot>(address());
  OpenForceControl hasty(robot->forceControl()), patient(robot->forceControl());
  hasty.waitTimeoutNs() = 30'000'000;
  Ec ec;
  hasty.waitCondition(ec);
  EXPECT_EQ(ec, Code::timeout);
  auto waiting = std::async(std::launch::async, [&] {
    Ec own;
    patient.waitCondition(own);
    return own;
  });
  ASSERT_TRUE(controller_.waitForRequest("eci.fc.cond", 2));
  hasty.fcStart(ec);
  EXPECT_FALSE(ec) << "others aren't kept from asking: " << ec.message();
  controller_.drop();
  EXPECT_EQ(waiting.get(), Code::network);
}

TEST_F(ForceControl, OutlivesItsRobot) {
  auto robot = std::make_unique<TandiRobot>(address());
  auto force = robot->forceControl();
  robot.reset();
  Ec ec;
  force.fcStart(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(controller_.waitForLinks(1));
  { const auto last = std::move(force); }
  EXPECT_TRUE(controller_.waitForLinks(0));
}

TEST_F(ForceControl, IsMadeEvenWithoutALink) {
  TandiRobot robot;
  auto force = robot.forceControl();
  Ec ec;
  force.fcStart(ec);
  EXPECT_EQ(ec, Code::network);
  robot.connectToRobot(address());
  force.fcStart(ec);
  EXPECT_FALSE(ec) << "it works once the link is there: " << ec.message();
  controller_.answer("eci.fc.set_callback", "-290");
  auto refused = robot.forceControl();
  refused.fcStart(ec);
  EXPECT_FALSE(ec) << ec.message();
}

}  // namespace

}  // namespace zivra::test
