// The panel at the tool: what is written shows where it is read, and only while the panel feeds the bus.
#include "system/fixture.h"

namespace zivra::test {

namespace {

using Panels = SystemTest;
using Ec = std::error_code;

constexpr int kRead = 3, kReadInputs = 4, kWriteOne = 6, kWrite = 16;
constexpr int kReadCoils = 1, kReadDiscrete = 2, kWriteCoil = 5, kWriteCoils = 15;

std::vector<int> readRegisters(TandiRobot& robot, int function, const char* type, int from, std::size_t count,
                               Ec& ec, int slave = 1) {
  std::vector<int> values(count, -9);
  robot.NorvilRWModbusRTUReg(slave, function, from, type, static_cast<int>(count), values, false, ec);
  return values;
}

TEST_F(Panels, RegistersAndCoilsOfTheSlave) {
  startController().setModbusInput(7, 215);
  TandiRobot robot(address());
  Ec ec;
  EXPECT_EQ(readRegisters(robot, kReadInputs, "int16", 7, 1, ec), std::vector<int>{-9});
  EXPECT_EQ(ec, Ec(-1, category())) << "without supply nothing answers";
  robot.setNorvilRS485(NorvilOpt::Vout::supply24v, true, ec);
  ASSERT_FALSE(ec) << ec.message();
  EXPECT_EQ(readRegisters(robot, kReadInputs, "int16", 7, 1, ec), std::vector<int>{215});
  EXPECT_FALSE(ec) << ec.message();

  std::vector<int> written{-70000, 2000000000};
  robot.NorvilRWModbusRTUReg(1, kWrite, 10, "int32", 2, written, false, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(readRegisters(robot, kRead, "int32", 10, 2, ec), (std::vector<int>{-70000, 2000000000}));
  EXPECT_EQ(readRegisters(robot, kRead, "uint16", 10, 1, ec), std::vector<int>{-70000 & 0xFFFF});
  std::vector<int> one{-1};
  robot.NorvilRWModbusRTUReg(1, kWriteOne, 255, "int16", 1, one, true, ec);
  EXPECT_EQ(readRegisters(robot, kRead, "int16", 255, 1, ec), std::vector<int>{65535});
  readRegisters(robot, kRead, "int16", 255, 2, ec);
  EXPECT_EQ(ec, Ec(-1, category())) << "beyond the slave's memory";
  readRegisters(robot, kRead, "int16", 0, 1, ec, 2);
  EXPECT_EQ(ec, Ec(-1, category())) << "no such slave";

  std::vector<bool> coils{true, false, true};
  robot.NorvilRWModbusRTUCoil(1, kWriteCoils, 20, 3, coils, false, ec);
  std::vector<bool> off{false};
  robot.NorvilRWModbusRTUCoil(1, kWriteCoil, 20, 1, off, false, ec);
  std::vector<bool> read(3);
  robot.NorvilRWModbusRTUCoil(1, kReadCoils, 20, 3, read, false, ec);
  EXPECT_EQ(read, (std::vector<bool>{false, false, true}));
  robot.NorvilRWModbusRTUCoil(1, kReadDiscrete, 20, 3, read, false, ec);
  EXPECT_EQ(read, std::vector<bool>(3));
  EXPECT_FALSE(ec) << ec.message();
}

TEST_F(Panels, BytesFramesAndKeys) {
  sim::Controller& controller = startController();
  TandiRobot robot(address());
  Ec ec;
  std::vector<std::uint8_t> back(4);
  robot.setNorvilRS485(NorvilOpt::Vout::supply12v, true, ec);
  robot.NorvilRS485SendData(3, 4, {1, 2, 255}, back, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(back, (std::vector<std::uint8_t>{1, 2, 255, 0}));

  CANFrame frame;
  frame.frame_id = 5;
  frame.frame_type = 1;
  frame.data = {7, 8, 9, 10, 11, 12};
  frame.frame_valid_length = 6;
  for (const char* type : {"uint8", "int16"}) {
    SCOPED_TRACE(type);
    robot.CANSendData(type, {frame}, ec);
    EXPECT_FALSE(ec) << ec.message();
    CANFrame received;
    robot.CANReceiveData(100, type, received, ec);
    EXPECT_FALSE(ec) << ec.message();
    EXPECT_EQ(received.frame_id, 0x105);
    EXPECT_EQ(received.data, frame.data);
    EXPECT_EQ(received.frame_valid_length, 6);
    robot.CANReceiveData(100, type, received, ec);
    EXPECT_EQ(ec, Ec(-1, category())) << "nothing more comes";
    EXPECT_EQ(received.frame_id, 0x105);
  }

  EXPECT_FALSE(robot.getKeypadState(ec).key3_state);
  controller.pressPanelKey(3, true);
  EXPECT_TRUE(robot.getKeypadState(ec).key3_state);
  robot.useRciClient(true, ec);
  EXPECT_FALSE(ec) << ec.message();
}

TEST_F(Panels, ThePanelSaysHowMuchFits) {
  startController().setPanelType(3);
  TandiRobot robot(address());
  Ec ec;
  robot.setNorvilRS485(NorvilOpt::Vout::supply24v, true, ec);
  readRegisters(robot, kRead, "int16", 0, 28, ec);
  EXPECT_EQ(ec, Code::parameterExceedsLimit);
  readRegisters(robot, kRead, "int16", 0, 27, ec);
  EXPECT_FALSE(ec) << ec.message();
}

}  // namespace

}  // namespace zivra::test
