// Parameters of the rail that the robot may stand on.
#include <zivra/base_robot.h>

#include "core/wire_forms.h"
#include "robot/operation.h"
#include "robot/typed_value.h"

namespace zivra {

using internal::asNumber;
using internal::member;
using internal::Operation;

namespace {

struct Parameter {
  std::string_view name;
  const char* key;
  double factor;  // the controller's number is the application's times this
};

constexpr Parameter parameters[] = {
    {"encoderResolution", "recolution_ratio", 1},  // as the controller spells it
    {"reductionRatio", "reduction_ratio", 1},
    {"maxSpeed", "max_speed", 1000},
    {"maxAcc", "max_acc", 1000},
    {"maxJerk", "max_jerk", 1000},
    {"motorSpeed", "motor_speed", 1},
    {"enable", "enable", 1},
    {"name", "name", 1},
    {"softLimit0", "soft_limit_lower", 1000},
    {"softLimit1", "soft_limit_upper", 1000},
    {"range0", "lower", 1000},
    {"range1", "upper", 1000},
    {"baseFrame", "base_frame", 1},
};

// Null for a name that there isn't.
const Parameter* find(std::string_view name) {
  for (const Parameter& parameter : parameters) {
    if (parameter.name == name) return &parameter;
  }
  return nullptr;
}

// What a name of the application's stands for, by the type that goes with it: one parameter or, for several
// numbers, the two ends of a pair.
struct Ends {
  const Parameter *lower, *upper;
};
template <class T>
using Resolved = std::conditional_t<std::is_same_v<T, std::vector<double>>, Ends, const Parameter*>;

// Nothing for a name that there isn't.
template <class T>
std::optional<Resolved<T>> resolve(const std::string& name) {
  if constexpr (std::is_same_v<T, std::vector<double>>) {
    const Ends ends{find(name + '0'), find(name + '1')};
    if (ends.lower == nullptr || ends.upper == nullptr) return std::nullopt;
    return ends;
  } else {
    const Parameter* parameter = find(name);
    return parameter != nullptr ? std::optional(parameter) : std::nullopt;
  }
}

// What is set, by type; null for a name that doesn't go with the type.
Json::Value setting(const std::string& name, double value) {
  Json::Value setting;
  if (const auto* parameter = find(name)) setting[parameter->key] = value * parameter->factor;
  return setting;
}

Json::Value setting(const std::string& name, int value) { return setting(name, static_cast<double>(value)); }

Json::Value setting(const std::string& name, bool value) {
  Json::Value setting;
  if (name == "enable") setting["enable"] = value;
  return setting;
}

Json::Value setting(const std::string& name, const std::string& value) {
  Json::Value setting;
  if (name == "name") setting["name"] = value;
  return setting;
}

Json::Value setting(const std::string& name, const std::vector<double>& values) {
  Json::Value setting;
  const auto ends = resolve<std::vector<double>>(name);
  if (ends && values.size() >= 2) {
    setting[ends->lower->key] = values[0] * ends->lower->factor;
    setting[ends->upper->key] = values[1] * ends->upper->factor;
  }
  return setting;
}

Json::Value setting(const std::string& name, const Frame& frame) {
  Json::Value setting;
  if (name == "baseFrame") internal::writeFrame(frame, setting);
  return setting;
}

// An object says in "data" whether the frame was taken; without it, it wasn't.
void sendBaseFrame(Operation& op, const Frame& frame, const Json::Value& value, std::error_code& ec) {
  auto reply = op.command("rail.set_rail_frame", value);
  if (reply.isData() && reply.value().isObject()) {
    const Json::Value& data = member(reply.value(), "data");
    const auto taken = data.isNull() ? false : internal::asTruth(data);
    if (!taken) {
      reply.fail(Code::responseUnresolved);
    } else if (!*taken) {
      reply.fail(Code::parameterExceedsLimit);
    }
  }
  op.note("setRail base frame {} ({})", frame, ec);
}

std::optional<double> readScaled(const Json::Value& value, const Parameter& parameter) {
  const auto number = asNumber(value);
  return number ? std::optional(*number / parameter.factor) : std::nullopt;
}

// The parameter out of all of the rail's; nothing if it is of another type.
template <class T>
std::optional<T> pick(const Resolved<T>& wanted, const Json::Value& all) {
  if constexpr (std::is_same_v<T, std::vector<double>>) {
    std::vector<double> values;
    for (const Parameter* end : {wanted.lower, wanted.upper}) {
      const Json::Value& value = member(all, end->key);
      const auto read = value.isNull() ? 0.0 : readScaled(value, *end);
      if (!read) return std::nullopt;
      values.push_back(*read);
    }
    return values;
  } else {
    const Json::Value& value = member(all, wanted->key);
    if constexpr (std::is_same_v<T, Frame>) {
      bool malformed = false;
      const Frame frame = internal::readFrame(value, &malformed);
      return malformed ? std::nullopt : std::optional(frame);
    } else if constexpr (std::is_same_v<T, double>) {
      return readScaled(value, *wanted);
    } else if constexpr (std::is_same_v<T, int>) {
      const auto read = readScaled(value, *wanted);
      return read ? internal::fitting<int>(*read) : std::nullopt;
    } else {
      return internal::readAs<T>(value);
    }
  }
}

}  // namespace

template <class T>
internal::ForRailSetting<T> BaseRobot::setRailParameter(const std::string& name, T value,
                                                        std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  const Json::Value wanted = setting(name, value);
  if (wanted.isNull()) {
    ec = Code::argumentInvalid;
  } else if constexpr (std::is_same_v<T, Frame>) {
    sendBaseFrame(op, value, wanted, ec);
  } else {
    op.set("rail_param", wanted);
  }
}

void BaseRobot::setRailParameter(const std::string& name, const char* value, std::error_code& ec) noexcept {
  if (value != nullptr) return setRailParameter(name, std::string(value), ec);
  ec = Code::argumentInvalid;
}

void BaseRobot::setRailParameter(const std::string& name, std::initializer_list<double> values,
                                 std::error_code& ec) noexcept {
  setRailParameter(name, std::vector<double>(values), ec);
}

template <class T>
internal::ForRail<T> BaseRobot::getRailParameter(const std::string& name, T& value,
                                                 std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  const auto wanted = resolve<T>(name);
  if (!wanted) {
    ec = Code::argumentInvalid;
    return;
  }
  auto reply = op.get("rail_param");
  if (!reply.isData()) return;
  if (!reply.value().isObject()) return reply.fail(Code::responseUnresolved);
  if (auto read = pick<T>(*wanted, reply.value())) {
    value = std::move(*read);
  } else {
    reply.fail(Code::argumentInvalid);
  }
}

#define ZIVRA_RAIL(T)                                                                                    \
  template ZIVRA_API void BaseRobot::setRailParameter(const std::string&, T, std::error_code&) noexcept; \
  template ZIVRA_API void BaseRobot::getRailParameter(const std::string&, T&, std::error_code&) noexcept;
ZIVRA_RAIL(int)
ZIVRA_RAIL(double)
ZIVRA_RAIL(bool)
ZIVRA_RAIL(std::string)
ZIVRA_RAIL(std::vector<double>)
ZIVRA_RAIL(Frame)
#undef ZIVRA_RAIL

}  // namespace zivra
