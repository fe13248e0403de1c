// How a force control operation runs: a command with a word for what is done, the reply rule that all of them
// share, one line in the log. Lives on the stack of the calling thread.
#pragma once

#include <cstdint>
#include <json/json.h>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>

#include <zivra/force_control.h>

#include "robot/operation.h"

namespace zivra {

// Not locked: one object serves one thread at a time.
struct BaseForceControl::State {
  static constexpr std::int64_t longestWaitNs = 600'000'000'000;

  std::shared_ptr<XService> service;
  std::int64_t waitTimeoutNs = longestWaitNs;  // of waitCondition; only ever falls
};

namespace internal {

// An integer, or a real without fraction, that fits into int.
std::optional<int> wholeNumber(const Json::Value& value) noexcept;

// {"cmd":cmd}, and "param" unless that is null.
Json::Value named(const char* cmd, const Json::Value& param = Json::Value());
// {"values":[...]}
Json::Value valuesOf(std::span<const double> values);

// A NaN is in every range: the controller judges it.
constexpr bool inRange(double value, double least, double most) { return !(value < least || value > most); }

class ForceOperation : public Operation {
 public:
  ForceOperation(XService& service, std::error_code& ec) noexcept : Operation(service, ec) {}

  bool failed() const noexcept { return static_cast<bool>(ec_); }

  // Whole numbers, and the member "error" of an object, are the result code; whatever else comes is success.
  void command(const char* key, const Json::Value& parameters = Json::Value(),
               std::int64_t timeoutNs = XService::defaultTimeoutNs) noexcept;
  void set(const char* cmd, const Json::Value& param) noexcept { command("eci.fc.set", named(cmd, param)); }

  // The operation `name`, which sets an array.
  void setValues(std::string_view name, const char* cmd, std::span<const double> values) noexcept;
  // The operation `name`, which limits each axis, each from 0 to `most`; from the fourth on to `mostOfTurns`.
  void limit(std::string_view name, const char* cmd, std::span<const double> values, double most,
             double mostOfTurns) noexcept;
  void limit(std::string_view name, const char* cmd, std::span<const double> values, double most) noexcept {
    limit(name, cmd, values, most, most);
  }
  // True if `valid`; otherwise that is the operation's failure, and its line is to be written as an error.
  bool accepts(bool valid) noexcept {
    if (!valid) ec_ = Code::parameterExceedsLimit;
    return valid;
  }
};

}  // namespace internal

}  // namespace zivra
