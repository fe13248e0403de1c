// The printed forms of the value types; log lines, operator<< and fmt all show these.
#include <cstddef>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <ostream>
#include <string>

#include <zivra/types.h>

namespace zivra {
namespace {

// The name of an enumerator of 0, 1, 2, ... by its place; anything else gives `other`.
template <class Enumeration, std::size_t n>
std::string nameOf(Enumeration value, const char* const (&names)[n], const char* other) {
  const auto place = static_cast<std::size_t>(value);
  return place < n ? names[place] : other;
}

}  // namespace

std::string to_string(const Frame& value) { return fmt::format("trans:{}, rpy:{}", value.trans, value.rpy); }

std::string to_string(const CartesianPosition& value) {
  const std::string pose = to_string(static_cast<const Frame&>(value));
  return value.confData.empty() ? pose : fmt::format("{}, conf:{}", pose, value.confData);
}

std::string to_string(const CartesianPosition::Offset& value) {
  using Type = CartesianPosition::Offset::Type;
  if (value.type != Type::offs && value.type != Type::relTool) return {};
  return fmt::format("offset:{} {}", value.type == Type::offs ? "offs" : "relTool", to_string(value.frame));
}

std::string to_string(const Load& value) { return fmt::format("m:{}, cog:{}", value.mass, value.cog); }

std::string to_string(const Toolset& value) {
  return fmt::format("end:{}, ref:{}, load:{}", to_string(value.end), to_string(value.reference),
                     to_string(value.load));
}

std::string to_string(PowerState value) { return nameOf(value, {"on", "off", "estop", "gstop"}, "unknown"); }

std::string to_string(OperateMode value) { return nameOf(value, {"manual", "automatic"}, "unknown"); }

std::string to_string(OperationState value) {
  return nameOf(value,
                {"idle", "jog", "rtControlling", "drag", "rlProgram", "demo", "dynamicIdentify",
                 "frictionIdentify", "loadIdentify", "moving", "jogging"},
                "unknown");
}

std::string to_string(StopLevel value) {
  return nameOf(value, {"stop0", "stop1", "stop2", "suppleStop"}, "invalid");
}

std::string to_string(MotionControlMode value) {
  return nameOf(value, {"Idle", "NrtCommand", "NrtRLTask", "RtCommand"}, "Idle");
}

std::string to_string(AvoidSingularityMethod value) {
  return nameOf(value, {"lockAxis4", "wrist", "jointWay"}, "invalid");
}

std::string to_string(Event value) {
  return nameOf(value, {"moveExecution", "safety", "rlExecution", "logReporter"}, "unknown");
}

std::string to_string(JogOpt::Space value) {
  return nameOf(value,
                {"world", "flange", "baseFrame", "toolFrame", "wobjFrame", "jointSpace", "singularityAvoid",
                 "baseParallel"},
                "invalid");
}

std::string to_string(DragParameter::Space value) {
  return nameOf(value, {"jointSpace", "cartesianSpace"}, "invalid");
}

std::string to_string(DragParameter::Type value) {
  return nameOf(value, {"translationOnly", "rotationOnly", "freely"}, "invalid");
}

std::string to_string(NorvilOpt::Vout value) {
  return nameOf(value, {"off", "reserve", "12v", "24v"}, "invalid");
}

std::ostream& operator<<(std::ostream& out, const Frame& value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, const CartesianPosition& value) {
  return out << to_string(value);
}
std::ostream& operator<<(std::ostream& out, const CartesianPosition::Offset& value) {
  return out << to_string(value);
}
std::ostream& operator<<(std::ostream& out, const Load& value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, const Toolset& value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, PowerState value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, OperateMode value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, OperationState value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, StopLevel value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, MotionControlMode value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, AvoidSingularityMethod value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, Event value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, JogOpt::Space value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, DragParameter::Space value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, DragParameter::Type value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, NorvilOpt::Vout value) { return out << to_string(value); }

}  // namespace zivra
