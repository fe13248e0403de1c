// Registers: one value, or a whole array.
#include <zivra/base_robot.h>

#include "robot/operation.h"
#include "robot/typed_value.h"

namespace zivra {

using internal::asNumber;
using internal::fitting;
using internal::Operation;

namespace {

constexpr int readFailed = -17001, writeFailed = -17002;

// True if a value of this JSON type is one of a register of T.
template <class T>
bool isOfType(const Json::Value& value) {
  if constexpr (std::is_same_v<T, int>) {
    return internal::asInteger(value).has_value();
  } else if constexpr (std::is_same_v<T, float>) {
    return asNumber(value).has_value();
  } else {
    return internal::asTruth(value).has_value();
  }
}

// A number or bool of any kind as T: within an array the first element alone says the type.
template <class T>
std::optional<T> convert(const Json::Value& value) {
  if (const auto number = asNumber(value)) return fitting<T>(*number);
  const auto state = internal::asBool(value);
  return state ? std::optional(static_cast<T>(*state)) : std::nullopt;
}

// Both give the code of what was wrong, and change `value` as far as that code allows.
template <class T>
Code readRaw(const Json::Value& raw, T& value) {
  if (!isOfType<T>(raw)) return Code::argumentInvalid;
  const auto read = convert<T>(raw);
  // An integer beyond the range is another type; no other type has a range of its own.
  if (!read) return std::is_same_v<T, int> ? Code::argumentInvalid : Code::responseUnresolved;
  value = *read;
  return Code::success;
}

template <class T>
Code readRaw(const Json::Value& raw, std::vector<T>& value) {
  value.clear();
  if (!raw.isArray() || raw.empty() || !isOfType<T>(*raw.begin())) return Code::argumentInvalid;
  std::vector<T> elements;
  elements.reserve(raw.size());
  for (const Json::Value& element : raw) {
    const auto read = convert<T>(element);
    if (!read) return Code::responseUnresolved;
    elements.push_back(*read);
  }
  value = std::move(elements);
  return Code::success;
}

Json::Value json(int value) { return value; }
Json::Value json(float value) { return static_cast<double>(value); }
Json::Value json(bool value) { return value; }
template <class T>
Json::Value json(const std::vector<T>& values) {
  Json::Value array(Json::arrayValue);
  for (const T value : values) array.append(json(value));
  return array;
}

template <class T>
inline constexpr bool isArray = false;
template <class T>
inline constexpr bool isArray<std::vector<T>> = true;

}  // namespace

template <class T>
internal::ForRegister<T> BaseRobot::readRegister(const std::string& name, unsigned index, T& value,
                                                 std::error_code& ec) noexcept {
  const std::string wanted = isArray<T> ? name : fmt::format("{}.#{}", name, index);
  Json::Value names(Json::objectValue);
  names[wanted] = Json::Value();
  auto reply = Operation(impl(), ec).get("register.values", names);
  if (!reply.isData()) {
    reply.tellAs(-1, readFailed);
    return;
  }
  const Json::Value& raw = internal::member(reply.value(), wanted);
  if (raw.isNull()) {
    ec = internal::protocolMismatch();
  } else if (const Code code = readRaw(raw, value); code != Code::success) {
    reply.fail(code);
  }
}

template <class T>
internal::ForRegister<T> BaseRobot::writeRegister(const std::string& name, unsigned index, T value,
                                                  std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  Json::Value parameters;
  parameters["name"] = name;
  parameters["value"] = json(value);
  if constexpr (isArray<T>) {
    parameters["type"] = "array";
    op.command("register.write", parameters).codeOrData().tellAs(-1, writeFailed);
    op.end("writeRegister {}, {} ({})", name, value, ec);
  } else {
    parameters["bias"] = index;
    op.command("register.write", parameters).code();
    op.end("writeRegister {}, {}, {} ({})", name, index, value, ec);
  }
}

#define ZIVRA_REGISTER(T)                                                           \
  template ZIVRA_API void BaseRobot::readRegister(const std::string&, unsigned, T&, \
                                                  std::error_code&) noexcept;       \
  template ZIVRA_API void BaseRobot::writeRegister(const std::string&, unsigned, T, \
                                                   std::error_code&) noexcept;
ZIVRA_REGISTER(int)
ZIVRA_REGISTER(float)
ZIVRA_REGISTER(bool)
ZIVRA_REGISTER(std::vector<int>)
ZIVRA_REGISTER(std::vector<float>)
ZIVRA_REGISTER(std::vector<bool>)
#undef ZIVRA_REGISTER

}  // namespace zivra
