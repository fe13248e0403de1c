// Every class against a controller of its kind; power, modes and states and how they depend on each other.
#include "system/fixture.h"

namespace zivra::test {

namespace {

using States = SystemTest;
using Ec = std::error_code;

template <class Robot, unsigned short dof>
void readEverything(const std::string& address) {
  Robot robot(address);
  Ec ec;
  const auto done = [&](const char* what) { EXPECT_FALSE(ec) << what << ": " << ec.message(); };
  const Info info = robot.robotInfo(ec);
  done("identity");
  EXPECT_EQ(info.id, "simulated");
  EXPECT_EQ(info.joint_num, dof);
  EXPECT_EQ(robot.powerState(ec), PowerState::off);
  EXPECT_EQ(robot.operateMode(ec), OperateMode::manual);
  EXPECT_EQ(robot.operationState(ec), OperationState::idle);
  const auto joints = robot.jointPos(ec);
  done("joints");
  EXPECT_EQ(joints.size(), dof);
  EXPECT_EQ(robot.jointVel(ec), std::vector<double>(dof, 0.0));
  robot.jointTorque(ec);
  done("torques");
  for (const auto frame : {CoordinateType::endInRef, CoordinateType::flangeInBase}) {
    const auto pose = robot.posture(frame, ec);
    done("posture");
    const CartesianPosition position = robot.cartPosture(frame, ec);
    done("position");
    EXPECT_EQ(position.confData.size(), 8u);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_DOUBLE_EQ(pose[i], position.trans[i]);
      EXPECT_DOUBLE_EQ(pose[i + 3], position.rpy[i]);
    }
  }
  EXPECT_EQ(robot.baseFrame(ec), (std::array<double, 6>{}));
  const StateList list = robot.getStateList(ec);
  done("state list");
  EXPECT_EQ(list.joint_pos, joints);
  EXPECT_FALSE(list.digital_signals.empty());
  EXPECT_FALSE(list.analog_signals.empty());
  EXPECT_EQ(list.operation_mode, OperateMode::manual);
  EXPECT_DOUBLE_EQ(list.speed_override, 1.0);
  robot.disconnectFromRobot(ec);
  done("disconnect");
}

TEST_F(States, OfEachClassAreRead) {
  struct Row {
    sim::Model model;
    void (*read)(const std::string&);
  };
  for (const Row& row : {Row{sim::Model::triax, readEverything<TriaxRobot, 3>},
                         Row{sim::Model::quadrax, readEverything<QuadraxRobot, 4>},
                         Row{sim::Model::standard, readEverything<StandardRobot, 6>},
                         Row{sim::Model::tandiFive, readEverything<TandiFiveRobot, 5>},
                         Row{sim::Model::tandi, readEverything<TandiRobot, 6>},
                         Row{sim::Model::tandiSeven, readEverything<TandiSevenRobot, 7>},
                         Row{sim::Model::tandiSeven, readEverything<QuillRobot, 7>}}) {
    controller_.reset();
    startController(row.model);
    row.read(address());
  }
}

TEST_F(States, AnotherClassIsRefused) {
  startController(sim::Model::standard);
  EXPECT_THROW(TandiRobot robot(address()), ExecutionException);
  EXPECT_NO_THROW(StandardRobot robot(address()));
}

TEST_F(States, PowerAndModeInterlock) {
  auto& controller = startController();
  TandiRobot robot(address());
  Ec ec;
  const auto refused = [&](int code, const char* text) {
    EXPECT_EQ(ec.value(), code);
    EXPECT_EQ(ec.message(), text);
  };
  robot.setPowerState(true, ec);
  EXPECT_FALSE(ec);
  EXPECT_EQ(robot.powerState(ec), PowerState::on);
  EXPECT_EQ(controller.powerState(), "on");
  robot.setOperateMode(OperateMode::automatic, ec);
  EXPECT_EQ(robot.operateMode(ec), OperateMode::automatic);

  controller.pressEmergencyStop();
  EXPECT_EQ(robot.powerState(ec), PowerState::estop);
  robot.setPowerState(true, ec);
  refused(-3, "The robot is in EStop state, please recover.");
  controller.releaseEmergencyStop();
  robot.setPowerState(true, ec);
  EXPECT_EQ(ec.value(), -3) << "a released button alone is no recovery";
  robot.recoverState(1, ec);
  EXPECT_FALSE(ec);
  EXPECT_EQ(robot.powerState(ec), PowerState::off);
  robot.setPowerState(true, ec);
  EXPECT_FALSE(ec);

  controller.openSafetyGate(true);
  EXPECT_EQ(robot.powerState(ec), PowerState::gstop);
  controller.openSafetyGate(false);

  controller.raiseServoAlarm();
  robot.setPowerState(true, ec);
  refused(-514, "switch motor power failed");
  robot.clearServoAlarm(ec);
  EXPECT_FALSE(ec);
  robot.setPowerState(true, ec);
  EXPECT_FALSE(ec);
  robot.setTeachPendantMode(false, ec);
  EXPECT_FALSE(ec);
}

TEST_F(States, MovesAreRefusedInTheWrongState) {
  startController();
  TandiRobot robot(address());
  Ec ec;
  robot.setEventWatcher(Event::moveExecution, {}, ec);
  const CartesianPosition here = robot.cartPosture(CoordinateType::endInRef, ec);
  const auto refusal = [&] {
    std::string id;
    robot.moveReset(ec);
    robot.moveAppend(std::vector{MoveLCommand(here)}, id, ec);
    EXPECT_FALSE(ec);
    Ec told;
    EXPECT_TRUE(eventually([&] {
      auto info = robot.queryEventInfo(Event::moveExecution, ec);
      told = std::any_cast<Ec>(info.at("error"));
      return std::any_cast<std::string>(info.at("cmdID")) == id && told;
    }));
    return told.value();
  };
  EXPECT_EQ(refusal(), -16) << "manual mode";
  robot.setOperateMode(OperateMode::automatic, ec);
  EXPECT_EQ(refusal(), -17) << "no power";
  robot.moveStart(ec);
  EXPECT_EQ(ec, Code::moveEmptyCache);
}

TEST_F(States, BaseFrameMovesTheReadings) {
  startController();
  TandiRobot robot(address());
  Ec ec;
  const auto before = robot.posture(CoordinateType::endInRef, ec);
  robot.setBaseFrame(Frame({1, 2, 0.5}, {0, 0, 0}), ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(robot.baseFrame(ec), (std::array<double, 6>{1, 2, 0.5, 0, 0, 0}));
  const auto after = robot.posture(CoordinateType::endInRef, ec);
  EXPECT_NEAR(after[0] - before[0], 1, 1e-9);
  EXPECT_NEAR(after[1] - before[1], 2, 1e-9);
}

TEST_F(States, RebootDropsTheLinkAndItComesBack) {
  startController();
  Heard<bool> told;
  TandiRobot robot(address());
  Ec ec;
  robot.setPowerState(true, ec);
  robot.setConnectionHandler([&](bool up) { told.add(up); });
  robot.rebootSystem(ec);
  EXPECT_FALSE(ec) << ec.message();
  ASSERT_TRUE(told.waitFor(2));
  EXPECT_EQ(told.all(), (std::vector<bool>{false, true}));
  EXPECT_EQ(robot.powerState(ec), PowerState::off) << "a restarted controller has no power on";
  EXPECT_FALSE(ec) << ec.message();

  robot.shutdownSystem(ec);
  EXPECT_FALSE(ec) << ec.message();
  ASSERT_TRUE(told.waitFor(3));
  robot.powerState(ec);
  EXPECT_EQ(ec, Code::network);
}

}  // namespace

}  // namespace zivra::test
