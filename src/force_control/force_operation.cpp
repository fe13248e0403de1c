#include "force_control/force_operation.h"

#include <cmath>
#include <limits>

#include "core/wire_forms.h"

namespace zivra::internal {

std::optional<int> wholeNumber(const Json::Value& value) noexcept {
  if (const auto number = asInt(value)) return number;
  const auto real = asNumber(value);
  constexpr double least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max();
  if (!real || !(*real >= least && *real <= most) || std::trunc(*real) != *real) return std::nullopt;
  return static_cast<int>(*real);
}

Json::Value named(const char* cmd, const Json::Value& param) {
  Json::Value parameters(Json::objectValue);
  parameters["cmd"] = cmd;
  if (!param.isNull()) parameters["param"] = param;
  return parameters;
}

Json::Value valuesOf(std::span<const double> values) {
  Json::Value param(Json::objectValue);
  param["values"] = numbersJson(values);
  return param;
}

void ForceOperation::command(const char* key, const Json::Value& parameters,
                             std::int64_t timeoutNs) noexcept {
  Reply reply = Operation::command(key, parameters, timeoutNs);
  if (reply.failed()) return;
  if (const auto code = wholeNumber(reply.value())) {
    ec_ = {*code, category()};
    return;
  }
  const Json::Value& error = member(reply.value(), "error");
  if (error.isNull()) return;
  const auto code = wholeNumber(error);
  ec_ = code ? std::error_code(*code, category()) : Code::responseUnresolved;
}

void ForceOperation::setValues(std::string_view name, const char* cmd,
                               std::span<const double> values) noexcept {
  set(cmd, valuesOf(values));
  end("{} {} ({})", name, values, ec_);
}

void ForceOperation::limit(std::string_view name, const char* cmd, std::span<const double> values,
                           double most, double mostOfTurns) noexcept {
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (accepts(inRange(values[i], 0, i < 3 ? most : mostOfTurns))) continue;
    error("{} {} over-range", name, values);
    return;
  }
  command("eci.fc.monitor", named(cmd, valuesOf(values)));
  end("{} {} ({})", name, values, ec_);
}

}  // namespace zivra::internal
