// Signals, registers and the rail: what one operation changes the others show.
#include "system/fixture.h"

namespace zivra::test {

namespace {

class SignalsAndRail : public SystemTest {
 protected:
  SignalsAndRail() : controller_(startController()), robot_(address()) {}

  void expectDone(const char* what) { EXPECT_FALSE(ec_) << what << ": " << ec_.message(); }
  void expectRefused(int code, const char* text) {
    EXPECT_EQ(ec_.value(), code);
    EXPECT_EQ(ec_.message(), text);
  }
  template <class T>
  T rail(const char* name) {
    T value{};
    robot_.getRailParameter(name, value, ec_);
    expectDone(name);
    return value;
  }

  sim::Controller& controller_;
  TandiRobot robot_;
  std::error_code ec_;
};

TEST_F(SignalsAndRail, OutputsAreReadBackAndSeenInTheStateList) {
  robot_.setDO(0, 2, true, ec_);
  expectDone("set");
  EXPECT_TRUE(robot_.getDO(0, 2, ec_));
  EXPECT_TRUE(controller_.digitalOutput(0, 2));
  robot_.setAO(1, 0, 1.25, ec_);
  EXPECT_DOUBLE_EQ(robot_.getAI(1, 0, ec_), 1.25) << "wired";
  robot_.setDO(1, 4, true, ec_);
  EXPECT_TRUE(robot_.getDI(1, 4, ec_)) << "wired";
  const StateList list = robot_.getStateList(ec_);
  expectDone("state list");
  const auto digital = [&](const char* name) {
    return std::find(list.digital_signals.begin(), list.digital_signals.end(),
                     std::pair{std::string(name), true}) != list.digital_signals.end();
  };
  EXPECT_TRUE(digital("DO0_2") && digital("DO1_4") && digital("DI1_4"));
  EXPECT_NE(std::find(list.analog_signals.begin(), list.analog_signals.end(),
                      std::pair{std::string("AO1_0"), 1.25}),
            list.analog_signals.end());

  robot_.setDO(0, 9, true, ec_);
  expectRefused(-14501, "DO signal not found, or it's defined as a SystemIO");
  robot_.setAO(0, 9, 1, ec_);
  EXPECT_EQ(ec_.value(), -14501);
  EXPECT_EQ(robot_.getAI(0, 9, ec_), 0);
  EXPECT_EQ(ec_, Code::responseUnresolved);
}

TEST_F(SignalsAndRail, SystemSignalsShowTheState) {
  robot_.setDO(0, 7, true, ec_);
  EXPECT_EQ(ec_.value(), -14501);
  EXPECT_FALSE(robot_.getDO(0, 7, ec_));
  bool motorsOn = true;
  robot_.readRegister("motors_on", 0, motorsOn, ec_);
  EXPECT_FALSE(motorsOn);
  robot_.setPowerState(true, ec_);
  EXPECT_TRUE(robot_.getDO(0, 7, ec_));
  robot_.readRegister("motors_on", 0, motorsOn, ec_);
  EXPECT_TRUE(motorsOn);
  robot_.writeRegister("motors_on", 0, false, ec_);
  expectRefused(-14010, "IO or register is bind as systemIO");
  EXPECT_TRUE(robot_.getDI(0, 7, ec_));
  controller_.pressEmergencyStop();
  EXPECT_FALSE(robot_.getDI(0, 7, ec_));
  EXPECT_FALSE(robot_.getDO(0, 7, ec_));
}

TEST_F(SignalsAndRail, SimulationHidesTheTerminals) {
  controller_.setDigitalInput(0, 3, true);
  EXPECT_TRUE(robot_.getDI(0, 3, ec_));
  robot_.setDI(0, 3, false, ec_);
  expectRefused(-10030, "Input simulation mode is off, the signal name not found");
  robot_.setSimulationMode(true, ec_);
  expectDone("simulation on");
  robot_.setDI(0, 3, false, ec_);
  expectDone("simulated");
  EXPECT_FALSE(robot_.getDI(0, 3, ec_));
  robot_.setSimulationMode(false, ec_);
  EXPECT_TRUE(robot_.getDI(0, 3, ec_));
}

TEST_F(SignalsAndRail, RegistersKeepWhatIsWritten) {
  robot_.writeRegister("int_array", 2, -5, ec_);
  expectDone("int");
  robot_.writeRegister("float_array", 0, {0.1f, 2.0f}, ec_);
  expectDone("floats");
  robot_.writeRegister("bool_array", 0, std::vector<bool>{true, false, true}, ec_);
  expectDone("bools");
  int whole = 0;
  robot_.readRegister("int_array", 2, whole, ec_);
  EXPECT_EQ(whole, -5);
  std::vector<int> wholes;
  robot_.readRegister("int_array", 0, wholes, ec_);
  EXPECT_EQ(wholes, (std::vector<int>{0, 0, -5, 0, 0, 0, 0, 0, 0, 0}));
  float real = 0;
  robot_.readRegister("float_array", 0, real, ec_);
  EXPECT_EQ(real, 0.1f);
  std::vector<bool> flags;
  robot_.readRegister("bool_array", 0, flags, ec_);
  expectDone("flags");
  EXPECT_EQ(flags.size(), 10u);
  EXPECT_TRUE(flags[0] && !flags[1] && flags[2] && !flags[3]);

  robot_.readRegister("float_array", 0, whole, ec_);
  EXPECT_EQ(ec_, Code::argumentInvalid);
  EXPECT_EQ(whole, -5);
  robot_.readRegister("int_array", 10, whole, ec_);
  expectRefused(-17001, "read register failed");
  robot_.writeRegister("nobody", 0, 5, ec_);
  EXPECT_EQ(ec_.value(), -1);
  robot_.writeRegister("int_array", 0, {1.5f}, ec_);
  expectRefused(-17002, "write register failed");
  controller_.setRegister("speeds", "[1.5,2.5]");
  std::vector<float> speeds;
  robot_.readRegister("speeds", 0, speeds, ec_);
  EXPECT_EQ(speeds, (std::vector<float>{1.5f, 2.5f}));
}

TEST_F(SignalsAndRail, TheRailIsSetAndShownAsAnAxis) {
  robot_.setRailParameter("maxSpeed", 0.5, ec_);
  expectDone("speed");
  robot_.setRailParameter("softLimit", {-1.5, 1.25}, ec_);
  expectDone("limits");
  robot_.setRailParameter("enable", true, ec_);
  robot_.setRailParameter("name", "track", ec_);
  expectDone("name");
  const Frame frame({1, -2, 0.5}, {0, 0, 1.5});
  robot_.setRailParameter("baseFrame", frame, ec_);
  expectDone("frame");
  EXPECT_DOUBLE_EQ(rail<double>("maxSpeed"), 0.5);
  EXPECT_EQ(rail<int>("maxAcc"), 3);
  EXPECT_EQ(rail<std::vector<double>>("softLimit"), (std::vector<double>{-1.5, 1.25}));
  EXPECT_TRUE(rail<bool>("enable"));
  EXPECT_EQ(rail<std::string>("name"), "track");
  EXPECT_EQ(rail<Frame>("baseFrame").trans, frame.trans);
  EXPECT_EQ(rail<Frame>("baseFrame").rpy, frame.rpy);

  double speed = 0;
  robot_.getExtAxisInfo("axis1", "max_speed", speed, ec_);
  EXPECT_DOUBLE_EQ(speed, 500) << "the controller's measure";
  bool enabled = false;
  robot_.getMechUnit("u1", "enable", enabled, ec_);
  EXPECT_TRUE(enabled);
  std::vector<std::string> axes;
  for (const char* unit : {"u1", "u2"}) robot_.getMechUnit(unit, "axes_info", axes, ec_);
  EXPECT_EQ(axes, (std::vector<std::string>{"axis1", "axis2", "axis3"}));
  robot_.getMechUnit("u3", "enable", enabled, ec_);
  EXPECT_EQ(ec_, Code::argumentInvalid) << "a unit that isn't there";

  robot_.setRailParameter("range0", 5.0, ec_);
  expectRefused(-290, "set data failed");
  robot_.setRailParameter("baseFrame", Frame({1000, 0, 0}, {0, 0, 0}), ec_);
  EXPECT_EQ(ec_, Code::parameterExceedsLimit);
  EXPECT_EQ(rail<Frame>("baseFrame").trans, frame.trans);
}

TEST_F(SignalsAndRail, ARestartSwitchesOutputsOffAndKeepsWhatIsStored) {
  Heard<bool> told;
  robot_.setConnectionHandler([&](bool up) { told.add(up); });
  robot_.setDO(0, 1, true, ec_);
  robot_.setSimulationMode(true, ec_);
  robot_.writeRegister("int_single", 0, 5, ec_);
  robot_.setRailParameter("maxAcc", 2, ec_);
  robot_.rebootSystem(ec_);
  ASSERT_TRUE(told.waitFor(2));
  EXPECT_FALSE(robot_.getDO(0, 1, ec_));
  expectDone("read");
  robot_.setDI(0, 1, true, ec_);
  EXPECT_EQ(ec_.value(), -10030);
  int stored = 0;
  robot_.readRegister("int_single", 0, stored, ec_);
  EXPECT_EQ(stored, 5);
  EXPECT_EQ(rail<int>("maxAcc"), 2);
}

}  // namespace

}  // namespace zivra::test
