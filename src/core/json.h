// Reading JSON without surprises. jsoncpp throws on the wrong type, reads null as 0 and inserts members into
// what it is asked about; nothing outside this file and json_text.h touches a value by those ways. No
// function here throws anything but std::bad_alloc. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <json/value.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zivra::internal {

// The member of an object; null if there is none or `value` is no object.
const Json::Value& member(const Json::Value& value, std::string_view key) noexcept;
bool hasMember(const Json::Value& value, std::string_view key) noexcept;

// A JSON integer that fits into int (2.0 is none); nothing otherwise.
std::optional<int> asInt(const Json::Value& value) noexcept;
// A JSON integer of any size; one beyond the range wraps around.
std::optional<std::int64_t> asInteger(const Json::Value& value) noexcept;
// A JSON integer that is not negative.
std::optional<std::uint64_t> asUnsigned(const Json::Value& value) noexcept;
// A JSON number of any kind.
std::optional<double> asNumber(const Json::Value& value) noexcept;
std::optional<bool> asBool(const Json::Value& value) noexcept;
// A bool, or a number that is true unless it is 0.
std::optional<bool> asTruth(const Json::Value& value) noexcept;
std::optional<std::string> asText(const Json::Value& value);
// The text if it is one, else `fallback`.
std::string textOr(const Json::Value& value, std::string_view fallback = {});

// Numbers of an array; nothing unless it is an array of numbers only.
std::optional<std::vector<double>> asNumbers(const Json::Value& value);

// Turns one frame's text into a value, independently of any locale. What jsoncpp's Reader takes is taken:
// comments, and anything behind the value. One thread at a time (it keeps its memory).
class JsonParser {
 public:
  // False for anything that can't be read, nesting beyond some hundred levels and reals beyond the range of
  // double included; `value` is then null. Throws nothing but std::bad_alloc.
  bool parse(std::string_view text, Json::Value& value);

 private:
  std::string scratch_;  // texts with escapes
};

}  // namespace zivra::internal
