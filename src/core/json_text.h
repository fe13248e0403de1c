// Writing JSON text straight into a string: compact, reals with 17 significant digits and always with a point
// or an exponent
// ("1.0"), NaN as null, text in plain ASCII. The bytes are those of jsoncpp's FastWriter without its line
// feed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <json/value.h>
#include <string>
#include <string_view>

namespace zivra::internal {

// Appends a whole value. Members come in the object map's order, which is alphabetical.
void appendJson(std::string& out, const Json::Value& value);
void appendNumber(std::string& out, double number);
void appendText(std::string& out, std::string_view text);

// Writes objects and arrays piece by piece; sets the commas. Give members in alphabetical order.
class JsonText {
 public:
  explicit JsonText(std::string& out) : out_(out) {}

  JsonText& beginObject();
  JsonText& endObject();
  JsonText& beginArray();
  JsonText& endArray();
  JsonText& key(std::string_view name);
  JsonText& number(double value);
  JsonText& integer(std::int64_t value);
  JsonText& boolean(bool value);
  JsonText& text(std::string_view value);
  JsonText& null();
  JsonText& numbers(const double* values, std::size_t count);
  JsonText& raw(std::string_view json);  // a finished value

 private:
  void separate();

  std::string& out_;
  bool first_ = true;
};

}  // namespace zivra::internal
