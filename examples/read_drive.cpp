// Lists the EtherCAT slaves behind the controller and reads the object dictionary of one of them. Nothing
// moves and nothing is written.
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;

constexpr int kLimit = 1000;  // for each exchange on the bus, in the controller's measure
constexpr int kRoom = 64;     // bytes, for texts

// Objects that slaves of the usual profiles have.
struct Object {
  int index, subIndex, size;  // bytes; 0: a text
  const char* name;
};
constexpr Object kObjects[] = {
    {0x1000, 0, 4, "device type"},
    {0x1008, 0, 0, "device name"},
    {0x1009, 0, 0, "hardware version"},
    {0x100a, 0, 0, "software version"},
    {0x1018, 1, 4, "vendor"},
    {0x1018, 2, 4, "product"},
    {0x1018, 3, 4, "revision"},
    {0x6041, 0, 2, "status word"},
    {0x6061, 0, 1, "mode of operation"},
    {0x6064, 0, 4, "position"},
    {0x6081, 0, 4, "profile velocity"},
};

std::string valueOf(const Object& object, const std::array<std::uint8_t, kRoom>& bytes) {
  if (object.size == 0) return reinterpret_cast<const char*>(bytes.data());  // its rest is zeros
  std::uint32_t number = 0;
  for (int i = object.size; i > 0; --i) number = number << 8 | bytes[static_cast<std::size_t>(i) - 1];
  char text[40];
  std::snprintf(text, sizeof text, "0x%0*x (%u)", 2 * object.size, number, number);
  return text;
}

std::string stateName(std::uint16_t state) {
  switch (state) {
    case 1:
      return "init";
    case 2:
      return "pre-operational";
    case 3:
      return "bootstrap";
    case 4:
      return "safe-operational";
    case 8:
      return "operational";
    default:
      return "state " + std::to_string(state);
  }
}

void readDrive(zivra::BaseEthercat& bus, int slave) {
  std::error_code ec;
  const auto slaves = bus.GetSlavesInfo(ec);
  require(ec, "listing the slaves");
  for (const zivra::SlaveInfo& one : slaves)
    std::printf("slave %u: %s, vendor 0x%x, product 0x%x, %s\n", one.slaveAddr, one.slaveName.c_str(),
                one.vendorId, one.productCode, stateName(one.alStatus).c_str());

  int read = 0;
  std::printf("objects of slave %d\n", slave);
  for (const Object& object : kObjects) {
    std::array<std::uint8_t, kRoom> bytes{};
    const int length = object.size > 0 ? object.size : kRoom - 1;
    const bool there = bus.ReadSDO(slave, object.index, object.subIndex, length, bytes.data(), kLimit, ec);
    require(ec, std::string("reading the ") + object.name);
    read += there ? 1 : 0;
    std::printf("  %04x:%d  %-18s %s\n", static_cast<unsigned>(object.index), object.subIndex, object.name,
                there ? valueOf(object, bytes).c_str() : "not there");
  }
  if (read == 0)
    throw std::runtime_error("slave " + std::to_string(slave) +
                             " gave no object: is it on the bus, and in another state than init?");
  std::printf("%zu slaves, %d objects of slave %d read\n", slaves.size(), read, slave);
}

bool readSlave(const std::string& text, int& slave) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), slave);
  return error == std::errc() && end == text.data() + text.size() && slave >= 0 && slave <= 65535;
}

void readDriveAt(const std::string& address, int slave) {
  zivra::TandiRobot robot;
  connect(robot, address);
  zivra::BaseEthercat bus = robot.ethercat();  // has a link of its own and no need of the robot any more
  std::error_code ec;
  robot.disconnectFromRobot(ec);
  readDrive(bus, slave);
}

}  // namespace

int main(int argc, char** argv) {
  return runWithArguments(
      argc, argv, "read_drive",
      "usage: read_drive ADDRESS [--slave NUMBER]\n"
      "Lists the EtherCAT slaves of the 6-axis robot at ADDRESS and reads objects of one of them (1).\n",
      [](const Arguments& arguments) {
        int slave = 1;
        const bool chosen = arguments.size() == 3 && arguments[1] == "--slave";
        if (!(arguments.size() == 1 || chosen) || (chosen && !readSlave(arguments[2], slave))) return false;
        readDriveAt(arguments[0], slave);
        return true;
      });
}
