// Operations that exist once for each type of value.

#include "clr/base_robot.h"
#include "clr/facade.h"

namespace zivra::clr {

namespace {

using Native = zivra::BaseRobot;

// Hands back a new list whatever happened.
template <class T>
void readRegisterList(Native* robot, const String& name, List<T>& value, ErrorCode& ec) {
  value.clear();
  forwardTo(robot, &Native::readRegister<std::vector<T>>, name, 0U, value, ec);
}

template <class T, class From>
void assign(T& to, const From& from) {
  to = convert<T>(from);
}
template <class T, class From>
void assign(std::optional<T>& to, const From& from) {
  to = convert<T>(from);
}

// Reads into a native value of its own, so that a failure leaves the caller's alone.
template <class T, class Managed, class Read>
void readParameter(Native* robot, Managed& value, ErrorCode& ec, const Read& read) {
  if (robot == nullptr) throw NullReferenceException();
  T native{};
  const bool failed = reporting(ec, [&](std::error_code& code) {
    read(native, code);
    return static_cast<bool>(code);
  });
  if (!failed) assign(value, native);
}

template <class T, class Managed>
void readRail(Native* robot, const String& name, Managed& value, ErrorCode& ec) {
  const std::string native = convertString(name);
  readParameter<T>(robot, value, ec,
                   [&](T& to, std::error_code& code) { robot->getRailParameter(native, to, code); });
}

template <class T, class Managed>
void readMechUnit(Native* robot, const String& name, const String& info, Managed& value, ErrorCode& ec) {
  const std::string unit = marshal_as(name), what = marshal_as(info);
  readParameter<T>(robot, value, ec,
                   [&](T& to, std::error_code& code) { robot->getMechUnit(unit, what, to, code); });
}

template <class T, class Managed>
void readExtAxis(Native* robot, const String& name, const String& info, Managed& value, ErrorCode& ec) {
  const std::string axis = marshal_as(name), what = marshal_as(info);
  readParameter<T>(robot, value, ec,
                   [&](T& to, std::error_code& code) { robot->getExtAxisInfo(axis, what, to, code); });
}

using Texts = std::vector<std::string>;
using Numbers = std::vector<double>;

}  // namespace

void BaseRobot::readRegister(const String& name, std::uint32_t index, float& value, ErrorCode& ec) {
  forwardTo(robot, &Native::readRegister<float>, name, index, value, ec);
}
void BaseRobot::readRegister(const String& name, std::uint32_t index, int& value, ErrorCode& ec) {
  forwardTo(robot, &Native::readRegister<int>, name, index, value, ec);
}
void BaseRobot::readRegister(const String& name, std::uint32_t index, bool& value, ErrorCode& ec) {
  forwardTo(robot, &Native::readRegister<bool>, name, index, value, ec);
}
void BaseRobot::readRegister(const String& name, List<float>& value, ErrorCode& ec) {
  readRegisterList(robot, name, value, ec);
}
void BaseRobot::readRegister(const String& name, List<int>& value, ErrorCode& ec) {
  readRegisterList(robot, name, value, ec);
}
void BaseRobot::readRegister(const String& name, List<bool>& value, ErrorCode& ec) {
  readRegisterList(robot, name, value, ec);
}

// The native ones have overloads for lists in braces, so that the type has to be told.
template <class T>
using Write = void (Native::*)(const std::string&, unsigned, T, std::error_code&) noexcept;

void BaseRobot::writeRegister(const String& name, std::uint32_t index, float value, ErrorCode& ec) {
  forwardTo(robot, Write<float>(&Native::writeRegister), name, index, value, ec);
}
void BaseRobot::writeRegister(const String& name, std::uint32_t index, int value, ErrorCode& ec) {
  forwardTo(robot, Write<int>(&Native::writeRegister), name, index, value, ec);
}
void BaseRobot::writeRegister(const String& name, std::uint32_t index, bool value, ErrorCode& ec) {
  forwardTo(robot, Write<bool>(&Native::writeRegister), name, index, value, ec);
}
void BaseRobot::writeRegister(const String& name, std::uint32_t index, const Array<float>& value,
                              ErrorCode& ec) {
  forwardTo(robot, Write<std::vector<float>>(&Native::writeRegister), name, index, value, ec);
}
void BaseRobot::writeRegister(const String& name, std::uint32_t index, const Array<int>& value,
                              ErrorCode& ec) {
  forwardTo(robot, Write<std::vector<int>>(&Native::writeRegister), name, index, value, ec);
}
void BaseRobot::writeRegister(const String& name, std::uint32_t index, const Array<bool>& value,
                              ErrorCode& ec) {
  forwardTo(robot, Write<std::vector<bool>>(&Native::writeRegister), name, index, value, ec);
}

template <class T>
using SetRail = void (Native::*)(const std::string&, T, std::error_code&) noexcept;

void BaseRobot::setRailParameter(const String& name, int value, ErrorCode& ec) {
  forwardTo(robot, SetRail<int>(&Native::setRailParameter), name, value, ec);
}
void BaseRobot::setRailParameter(const String& name, bool value, ErrorCode& ec) {
  forwardTo(robot, SetRail<bool>(&Native::setRailParameter), name, value, ec);
}
void BaseRobot::setRailParameter(const String& name, double value, ErrorCode& ec) {
  forwardTo(robot, SetRail<double>(&Native::setRailParameter), name, value, ec);
}
void BaseRobot::setRailParameter(const String& name, const String& value, ErrorCode& ec) {
  forwardTo(robot, SetRail<std::string>(&Native::setRailParameter), name, value, ec);
}
void BaseRobot::setRailParameter(const String& name, const Array<double>& value, ErrorCode& ec) {
  forwardTo(robot, SetRail<Numbers>(&Native::setRailParameter), name, value, ec);
}
void BaseRobot::setRailParameter(const String& name, const Frame& value, ErrorCode& ec) {
  forwardTo(robot, SetRail<zivra::Frame>(&Native::setRailParameter), name, value, ec);
}

void BaseRobot::getRailParameter(const String& name, bool& value, ErrorCode& ec) {
  readRail<bool>(robot, name, value, ec);
}
void BaseRobot::getRailParameter(const String& name, double& value, ErrorCode& ec) {
  readRail<double>(robot, name, value, ec);
}
void BaseRobot::getRailParameter(const String& name, int& value, ErrorCode& ec) {
  readRail<int>(robot, name, value, ec);
}
void BaseRobot::getRailParameter(const String& name, String& value, ErrorCode& ec) {
  readRail<std::string>(robot, name, value, ec);
}
void BaseRobot::getRailParameter(const String& name, std::optional<Array<double>>& value, ErrorCode& ec) {
  readRail<Numbers>(robot, name, value, ec);
}
void BaseRobot::getRailParameter(const String& name, std::optional<Frame>& value, ErrorCode& ec) {
  readRail<zivra::Frame>(robot, name, value, ec);
}

void BaseRobot::getMechUnit(const String& name, const String& info, std::optional<Array<String>>& value,
                            ErrorCode& ec) {
  readMechUnit<Texts>(robot, name, info, value, ec);
}
void BaseRobot::getMechUnit(const String& name, const String& info, int& value, ErrorCode& ec) {
  readMechUnit<int>(robot, name, info, value, ec);
}
void BaseRobot::getMechUnit(const String& name, const String& info, bool& value, ErrorCode& ec) {
  readMechUnit<bool>(robot, name, info, value, ec);
}
void BaseRobot::getExtAxisInfo(const String& name, const String& info, std::optional<Array<String>>& value,
                               ErrorCode& ec) {
  readExtAxis<Texts>(robot, name, info, value, ec);
}
void BaseRobot::getExtAxisInfo(const String& name, const String& info, String& value, ErrorCode& ec) {
  readExtAxis<std::string>(robot, name, info, value, ec);
}
void BaseRobot::getExtAxisInfo(const String& name, const String& info, double& value, ErrorCode& ec) {
  readExtAxis<double>(robot, name, info, value, ec);
}
void BaseRobot::getExtAxisInfo(const String& name, const String& info, int& value, ErrorCode& ec) {
  readExtAxis<int>(robot, name, info, value, ec);
}
void BaseRobot::getExtAxisInfo(const String& name, const String& info, bool& value, ErrorCode& ec) {
  readExtAxis<bool>(robot, name, info, value, ec);
}

int BaseRobot::getStateData(const String& name, double& value) {
  if (robot == nullptr) throw NullReferenceException();
  return translated([&] { return robot->getStateData(convertString(name), value); });
}
int BaseRobot::getStateData(const String& name, std::uint64_t& value) {
  if (robot == nullptr) throw NullReferenceException();
  return translated([&] { return robot->getStateData(convertString(name), value); });
}
int BaseRobot::getStateData(const String& name, Array<double>& value) {
  if (robot == nullptr) throw NullReferenceException();
  return translated([&] {
    Numbers native;
    const int result = robot->getStateData(convertString(name), native);
    value = convertVectorToArray(std::move(native));
    return result;
  });
}

}  // namespace zivra::clr
