#include "core/json.h"

#include <limits>

namespace zivra::internal {
namespace {

// Never destroyed, so that it may be referred to at any time.
const Json::Value& nullValue() noexcept {
  static const Json::Value& null = *new Json::Value;
  return null;
}

const Json::Value* find(const Json::Value& value, std::string_view key) noexcept {
  return value.type() == Json::objectValue ? value.find(key.data(), key.data() + key.size()) : nullptr;
}

}  // namespace

const Json::Value& member(const Json::Value& value, std::string_view key) noexcept {
  const Json::Value* found = find(value, key);
  return found ? *found : nullValue();
}

bool hasMember(const Json::Value& value, std::string_view key) noexcept {
  return find(value, key) != nullptr;
}

std::optional<int> asInt(const Json::Value& value) noexcept {
  using Limits = std::numeric_limits<int>;
  if (value.type() == Json::uintValue) {
    const std::uint64_t number = value.asLargestUInt();
    if (number <= static_cast<std::uint64_t>(Limits::max())) return static_cast<int>(number);
  } else if (value.type() == Json::intValue) {
    const std::int64_t number = value.asLargestInt();
    if (number >= Limits::min() && number <= Limits::max()) return static_cast<int>(number);
  }
  return std::nullopt;
}

std::optional<std::int64_t> asInteger(const Json::Value& value) noexcept {
  if (value.type() == Json::intValue) return value.asLargestInt();
  if (value.type() == Json::uintValue) return static_cast<std::int64_t>(value.asLargestUInt());
  return std::nullopt;
}

std::optional<std::uint64_t> asUnsigned(const Json::Value& value) noexcept {
  if (value.type() == Json::uintValue) return value.asLargestUInt();
  if (value.type() == Json::intValue && value.asLargestInt() >= 0) {
    return static_cast<std::uint64_t>(value.asLargestInt());
  }
  return std::nullopt;
}

std::optional<double> asNumber(const Json::Value& value) noexcept {
  switch (value.type()) {
    case Json::intValue:
    case Json::uintValue:
    case Json::realValue:
      return value.asDouble();
    default:
      return std::nullopt;
  }
}

std::optional<bool> asBool(const Json::Value& value) noexcept {
  if (value.type() != Json::booleanValue) return std::nullopt;
  return value.asBool();
}

std::optional<bool> asTruth(const Json::Value& value) noexcept {
  if (const auto number = asNumber(value)) return *number != 0;
  return asBool(value);
}

std::optional<std::string> asText(const Json::Value& value) {
  const char* begin = nullptr;
  const char* end = nullptr;
  if (value.type() != Json::stringValue || !value.getString(&begin, &end)) return std::nullopt;
  return std::string(begin, end);
}

std::string textOr(const Json::Value& value, std::string_view fallback) {
  auto text = asText(value);
  return text ? std::move(*text) : std::string(fallback);
}

std::optional<std::vector<double>> asNumbers(const Json::Value& value) {
  if (value.type() != Json::arrayValue) return std::nullopt;
  std::vector<double> numbers;
  numbers.reserve(value.size());
  for (const Json::Value& element : value) {
    const auto number = asNumber(element);
    if (!number) return std::nullopt;
    numbers.push_back(*number);
  }
  return numbers;
}

}  // namespace zivra::internal
