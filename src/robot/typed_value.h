// Values whose type the application chooses. Any thread.
#pragma once

#include <cmath>
#include <json/value.h>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/json.h"

namespace zivra::internal {

// The value if it has the type's own JSON form; nothing otherwise.
template <class T>
std::optional<T> readAs(const Json::Value& value) {
  if constexpr (std::is_same_v<T, int>) {
    return asInt(value);
  } else if constexpr (std::is_same_v<T, double>) {
    return asNumber(value);
  } else if constexpr (std::is_same_v<T, bool>) {
    return asBool(value);
  } else if constexpr (std::is_same_v<T, std::string>) {
    return asText(value);
  } else {
    static_assert(std::is_same_v<T, std::vector<std::string>>);
    if (!value.isArray()) return std::nullopt;
    std::vector<std::string> texts;
    for (const Json::Value& element : value) {
      auto text = asText(element);
      if (!text) return std::nullopt;
      texts.push_back(std::move(*text));
    }
    return texts;
  }
}

// A number as a register or the like holds it: an int is cut off towards 0, a bool is whether it isn't 0.
// Nothing if it is beyond the type's range.
template <class T>
std::optional<T> fitting(double number) noexcept {
  if constexpr (std::is_same_v<T, bool>) {
    return number != 0;
  } else {
    using Limits = std::numeric_limits<T>;
    if constexpr (std::is_integral_v<T>) number = std::trunc(number);
    if (!(number >= Limits::lowest() && number <= Limits::max())) return std::nullopt;
    return static_cast<T>(number);
  }
}

}  // namespace zivra::internal
