// Reads and writes a register of the controller's: one value of it and the whole array. What was there before
// is put back at the end. The robot doesn't move.
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;

std::string listOf(const std::vector<int>& values) {
  std::string text;
  for (const int value : values) text += (text.empty() ? "" : " ") + std::to_string(value);
  return text;
}

// The type of the variable decides which register is asked for: a vector for a whole array.
std::vector<int> readAll(zivra::BaseRobot& robot, const std::string& name) {
  std::vector<int> values;
  std::error_code ec;
  robot.readRegister(name, 0, values, ec);
  if (ec == zivra::Code::argumentInvalid)
    throw std::runtime_error("the register " + name + " is no array of int: " + describe(ec));
  if (ec)
    throw std::runtime_error("reading the register " + name + ": " + describe(ec) +
                             "\nGive the name of an array of int that the controller has.");
  return values;
}

int readOne(zivra::BaseRobot& robot, const std::string& name, unsigned index) {
  int value = 0;
  std::error_code ec;
  robot.readRegister(name, index, value, ec);
  require(ec, "reading element " + std::to_string(index) + " of " + name);
  return value;
}

// Sums up what was seen.
std::string useRegister(zivra::BaseRobot& robot, const std::string& name) {
  const std::vector<int> before = readAll(robot, name);
  std::printf("%s: %s\n", name.c_str(), listOf(before).c_str());
  const unsigned last = static_cast<unsigned>(before.size()) - 1;

  std::error_code ec;
  robot.writeRegister(name, last, 42, ec);
  require(ec, "writing element " + std::to_string(last));
  const int now = readOne(robot, name, last);
  std::printf("%s: %s\n", name.c_str(), listOf(readAll(robot, name)).c_str());

  robot.writeRegister(name, 0, before, ec);
  require(ec, "writing the whole array");
  if (readAll(robot, name) != before) throw std::runtime_error("the register isn't as it was before");
  return name + " has " + std::to_string(before.size()) + " values, the last became " + std::to_string(now) +
         " and is " + std::to_string(before.back()) + " again";
}

void useRegisterAt(const std::string& address, const std::string& name) {
  zivra::TandiRobot robot;
  connect(robot, address);
  const std::string summary = useRegister(robot, name);
  std::error_code ec;
  robot.disconnectFromRobot(ec);
  require(ec, "disconnecting");
  std::printf("%s\n", summary.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  return runWithArguments(
      argc, argv, "registers",
      "usage: registers ADDRESS [NAME]\n"
      "Writes the register NAME of the 6-axis robot at ADDRESS and restores it. NAME is an array of int, "
      "int_array if not given.\n",
      [](const Arguments& arguments) {
        if (arguments.empty() || arguments.size() > 2) return false;
        useRegisterAt(arguments[0], arguments.size() == 2 ? arguments[1] : "int_array");
        return true;
      });
}
