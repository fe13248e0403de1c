// Reads a Modbus sensor at the tool: supplies it from the panel, reads its input registers, and writes and
// reads back a setting of it.
#include <cstdint>

#include "moving.h"

namespace {

using namespace example;

constexpr int kSlave = 1;
constexpr int kReadHolding = 3, kReadInput = 4, kWriteHolding = 16;
constexpr int kTemperature = 0, kThreshold = 16;  // addresses of registers

int readRegister(zivra::BaseCobot& robot, int function, int address) {
  std::error_code ec;
  std::vector<int> values(1);
  robot.NorvilRWModbusRTUReg(kSlave, function, address, "int16", 1, values, false, ec);
  require(ec, "reading register " + std::to_string(address));
  return values[0];
}

void readAt(const std::string& address) {
  zivra::TandiRobot robot;
  connect(robot, address);
  std::error_code ec;
  robot.setNorvilRS485(zivra::NorvilOpt::Vout::supply24v, true, ec);
  require(ec, "supplying the sensor");
  // A register comes back as 0 to 65535, also as "int16": below zero the sign has to be put back.
  const auto tenths = static_cast<std::int16_t>(readRegister(robot, kReadInput, kTemperature));
  std::printf("temperature %.1f degrees\n", tenths / 10.0);

  std::vector<int> threshold{-1234567};  // two registers, low word first
  robot.NorvilRWModbusRTUReg(kSlave, kWriteHolding, kThreshold, "int32", 1, threshold, false, ec);
  require(ec, "writing the threshold");
  threshold = {0};
  robot.NorvilRWModbusRTUReg(kSlave, kReadHolding, kThreshold, "int32", 1, threshold, false, ec);
  require(ec, "reading the threshold back");
  std::printf("threshold %d, in registers %d and %d\n", threshold[0],
              readRegister(robot, kReadHolding, kThreshold),
              readRegister(robot, kReadHolding, kThreshold + 1));
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(argc, argv, "modbus_sensor",
                    "usage: modbus_sensor ADDRESS\n"
                    "Reads the Modbus sensor at the tool of the 6-axis robot at ADDRESS.\n",
                    readAt);
}
