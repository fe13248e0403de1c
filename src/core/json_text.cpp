#include "core/json_text.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <iterator>

namespace zivra::internal {
namespace {

template <class Integer>
void appendInteger(std::string& out, Integer number) {
  std::array<char, 24> digits;
  out.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
}

// Digits of a real that tell any two doubles apart.
constexpr int kDigits = 17;

// Any positive number.
void appendUnusual(std::string& out, double number) {
  std::array<char, 40> digits;
  const char* const end =
      std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::general, kDigits)
          .ptr;
  const std::string_view text(digits.data(), static_cast<std::size_t>(end - digits.data()));
  out += text;
  if (text.find_first_of(".e") == std::string_view::npos) out += ".0";
}

#ifdef __SIZEOF_INT128__
__extension__ using Wide = unsigned __int128;

constexpr auto kPowers = [] {
  std::array<std::uint64_t, 20> powers{1};
  for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
  return powers;
}();

// Where a number gets its next digit in front.
constexpr double kPlaces[] = {1e-3, 1e-2, 1e-1, 1e0,  1e1,  1e2,  1e3,  1e4,  1e5, 1e6,
                              1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// The same text for numbers of a usual size, which are most: all digits are at hand after one multiplication
// in 128 bits. False where that doesn't hold.
bool appendUsual(std::string& out, double number) {
  if (number < kPlaces[0] || number >= kPlaces[std::size(kPlaces) - 1]) return false;
  // number is mantissa / 2^shift, with shift from 1 to 62
  const auto bits = std::bit_cast<std::uint64_t>(number);
  const int shift = 1075 - static_cast<int>(bits >> 52);
  const std::uint64_t mantissa = (bits & ((std::uint64_t{1} << 52) - 1)) | std::uint64_t{1} << 52;
  // and its first digit stands for 10^place
  int place = -3;
  while (number >= kPlaces[place + 4]) ++place;

  const Wide product = Wide{mantissa} * kPowers[static_cast<std::size_t>(kDigits - 1 - place)];
  const Wide half = Wide{1} << (shift - 1);
  const Wide rest = product & (2 * half - 1);
  auto whole = static_cast<std::uint64_t>(product >> shift);
  if (rest > half || (rest == half && whole % 2 == 1)) ++whole;  // half to even, as the general way rounds
  if (whole < kPowers[kDigits - 1] || whole >= kPowers[kDigits]) return false;

  std::array<char, 24> digits;
  std::to_chars(digits.data(), digits.data() + digits.size(), whole);
  const std::size_t front = place < 0 ? 0 : static_cast<std::size_t>(place) + 1;
  std::size_t length = kDigits;
  while (length > front + 1 && digits[length - 1] == '0') --length;
  if (front == 0) out.append("0.000", static_cast<std::size_t>(1 - place));
  out.append(digits.data(), front);
  if (front != 0) out += '.';
  out.append(digits.data() + front, length - front);
  return true;
}
#else
bool appendUsual(std::string&, double) { return false; }
#endif

// One \uXXXX.
void appendUnit(std::string& out, std::uint32_t unit) {
  constexpr char kHex[] = "0123456789abcdef";
  out += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) out += kHex[unit >> shift & 0xF];
}

// Takes a character off the front of UTF-8; what isn't UTF-8 gives the replacement character. A sequence that
// is cut off by the end costs its first byte only, a forbidden one all its bytes.
std::uint32_t takeCharacter(std::string_view& text) noexcept {
  constexpr std::uint32_t kReplacement = 0xFFFD;
  const auto byte = [&](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i]));
  };
  const std::uint32_t first = byte(0);
  std::size_t length = 1;
  std::uint32_t point = first;
  std::uint32_t least = 0;  // smallest character that needs this length
  if (first >= 0xF8) {
    point = kReplacement;
  } else if (first >= 0xF0) {
    length = 4, point = first & 0x07, least = 0x10000;
  } else if (first >= 0xE0) {
    length = 3, point = first & 0x0F, least = 0x800;
  } else if (first >= 0x80) {
    length = 2, point = first & 0x1F, least = 0x80;
  }
  if (text.size() < length) {
    text.remove_prefix(1);
    return kReplacement;
  }
  for (std::size_t i = 1; i < length; ++i) point = point << 6 | (byte(i) & 0x3F);
  text.remove_prefix(length);
  const bool surrogate = length == 3 && point >= 0xD800 && point < 0xE000;
  return point < least || surrogate ? kReplacement : point;
}

// Only these need no escape.
bool isPlain(char c) noexcept {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
}

void appendEscaped(std::string& out, std::string_view& text) {
  constexpr std::string_view kMeanings = "\"\\\b\f\n\r\t";
  constexpr std::string_view kLetters = "\"\\bfnrt";
  if (const std::size_t place = kMeanings.find(text.front()); place != std::string_view::npos) {
    out += '\\';
    out += kLetters[place];
    text.remove_prefix(1);
    return;
  }
  const std::uint32_t point = takeCharacter(text);
  if (point < 0x10000) return appendUnit(out, point);
  appendUnit(out, 0xD800 + ((point - 0x10000) >> 10 & 0x3FF));
  appendUnit(out, 0xDC00 + ((point - 0x10000) & 0x3FF));
}

void appendObject(std::string& out, const Json::Value& value) {
  out += '{';
  for (auto it = value.begin(); it != value.end(); ++it) {
    if (it != value.begin()) out += ',';
    const char* end = nullptr;
    const char* name = it.memberName(&end);
    appendText(out, {name, static_cast<std::size_t>(end - name)});
    out += ':';
    appendJson(out, *it);
  }
  out += '}';
}

void appendArray(std::string& out, const Json::Value& value) {
  out += '[';
  for (auto it = value.begin(); it != value.end(); ++it) {
    if (it != value.begin()) out += ',';
    appendJson(out, *it);
  }
  out += ']';
}

}  // namespace

void appendJson(std::string& out, const Json::Value& value) {
  switch (value.type()) {
    case Json::nullValue:
      out += "null";
      break;
    case Json::intValue:
      appendInteger(out, value.asLargestInt());
      break;
    case Json::uintValue:
      appendInteger(out, value.asLargestUInt());
      break;
    case Json::realValue:
      appendNumber(out, value.asDouble());
      break;
    case Json::stringValue: {
      const char* begin = nullptr;
      const char* end = nullptr;
      value.getString(&begin, &end);
      appendText(out, {begin, static_cast<std::size_t>(end - begin)});
      break;
    }
    case Json::booleanValue:
      out += value.asBool() ? "true" : "false";
      break;
    case Json::arrayValue:
      appendArray(out, value);
      break;
    case Json::objectValue:
      appendObject(out, value);
      break;
  }
}

void appendNumber(std::string& out, double number) {
  if (!std::isfinite(number)) {
    out += std::isnan(number) ? "null" : number > 0 ? "1e+9999" : "-1e+9999";
    return;
  }
  if (std::signbit(number)) out += '-';
  number = std::abs(number);
  if (number == 0) {
    out += "0.0";
  } else if (!appendUsual(out, number)) {
    appendUnusual(out, number);
  }
}

void appendText(std::string& out, std::string_view text) {
  out += '"';
  while (!text.empty()) {
    std::size_t plain = 0;
    while (plain < text.size() && isPlain(text[plain])) ++plain;
    out.append(text, 0, plain);
    text.remove_prefix(plain);
    if (!text.empty()) appendEscaped(out, text);
  }
  out += '"';
}

void JsonText::separate() {
  if (!first_) out_ += ',';
  first_ = false;
}

JsonText& JsonText::beginObject() {
  separate();
  out_ += '{';
  first_ = true;
  return *this;
}

JsonText& JsonText::endObject() {
  out_ += '}';
  first_ = false;
  return *this;
}

JsonText& JsonText::beginArray() {
  separate();
  out_ += '[';
  first_ = true;
  return *this;
}

JsonText& JsonText::endArray() {
  out_ += ']';
  first_ = false;
  return *this;
}

JsonText& JsonText::key(std::string_view name) {
  separate();
  appendText(out_, name);
  out_ += ':';
  first_ = true;
  return *this;
}

JsonText& JsonText::number(double value) {
  separate();
  appendNumber(out_, value);
  return *this;
}

JsonText& JsonText::integer(std::int64_t value) {
  separate();
  appendInteger(out_, value);
  return *this;
}

JsonText& JsonText::boolean(bool value) { return raw(value ? "true" : "false"); }

JsonText& JsonText::text(std::string_view value) {
  separate();
  appendText(out_, value);
  return *this;
}

JsonText& JsonText::null() { return raw("null"); }

JsonText& JsonText::numbers(const double* values, std::size_t count) {
  beginArray();
  for (std::size_t i = 0; i < count; ++i) number(values[i]);
  return endArray();
}

JsonText& JsonText::raw(std::string_view json) {
  separate();
  out_ += json;
  return *this;
}

}  // namespace zivra::internal
