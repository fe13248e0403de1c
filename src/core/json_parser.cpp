// jsoncpp's own readers convert reals by the global C++ locale (under a comma-decimal one "1.5" reads as 1),
// and throw on deep nesting. This one reads the same language into the same values.
#include <charconv>
#include <cstdint>
#include <exception>
#include <limits>
#include <new>

#include "core/json.h"

namespace zivra::internal {
namespace {

constexpr int kMaxDepth = 256;
// What an escaped text may leave behind for the next one.
constexpr std::size_t kKeptScratch = 64 * 1024;

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

void appendUtf8(std::string& out, std::uint32_t point) {
  const auto tail = [&](int shift) { out += static_cast<char>(0x80 | (point >> shift & 0x3F)); };
  if (point < 0x80) {
    out += static_cast<char>(point);
  } else if (point < 0x800) {
    out += static_cast<char>(0xC0 | point >> 6);
    tail(0);
  } else if (point < 0x10000) {
    out += static_cast<char>(0xE0 | point >> 12);
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0 | point >> 18);
    tail(12);
    tail(6);
    tail(0);
  }
}

// One pass over one text. Every function answers false where the text stops making sense.
class Pass {
 public:
  Pass(std::string_view text, std::string& scratch)
      : at_(text.data()), end_(text.data() + text.size()), scratch_(scratch) {}

  bool readRoot(Json::Value& into) {
    take("\xEF\xBB\xBF");  // editors put it in front of settings files
    return readValue(into, 0);
  }

 private:
  bool take(std::string_view expected) noexcept {
    if (!std::string_view(at_, left()).starts_with(expected)) return false;
    at_ += expected.size();
    return true;
  }
  bool take(char expected) noexcept {
    if (at_ == end_ || *at_ != expected) return false;
    ++at_;
    return true;
  }
  std::size_t left() const noexcept { return static_cast<std::size_t>(end_ - at_); }

  // Blanks and comments. False at the end of the text.
  bool toNextToken() noexcept {
    while (at_ != end_) {
      if (*at_ == ' ' || *at_ == '\t' || *at_ == '\r' || *at_ == '\n') {
        ++at_;
      } else if (take("/*")) {
        const std::size_t length = std::string_view(at_, left()).find("*/");
        if (length == std::string_view::npos) return false;
        at_ += length + 2;
      } else if (take("//")) {
        while (at_ != end_ && *at_ != '\n' && *at_ != '\r') ++at_;
      } else {
        return true;
      }
    }
    return false;
  }

  bool readValue(Json::Value& into, int depth) {
    if (!toNextToken()) return false;
    switch (*at_) {
      case '{':
        return depth < kMaxDepth && readObject(into, depth);
      case '[':
        return depth < kMaxDepth && readArray(into, depth);
      case '"': {
        std::string_view text;
        if (!readText(text)) return false;
        into = Json::Value(text.data(), text.data() + text.size());
        return true;
      }
      case 't':
        into = true;
        return take("true");
      case 'f':
        into = false;
        return take("false");
      case 'n':
        into = Json::Value();
        return take("null");
      default:
        return readNumber(into);
    }
  }

  bool readObject(Json::Value& into, int depth) {
    ++at_;
    into = Json::Value(Json::objectValue);
    if (!toNextToken()) return false;
    if (take('}')) return true;
    do {
      std::string_view key;
      if (!toNextToken() || *at_ != '"' || !readText(key)) return false;
      Json::Value& slot = *into.demand(key.data(), key.data() + key.size());
      if (!toNextToken() || !take(':') || !readValue(slot, depth + 1) || !toNextToken()) return false;
    } while (take(','));
    return take('}');
  }

  bool readArray(Json::Value& into, int depth) {
    ++at_;
    into = Json::Value(Json::arrayValue);
    if (!toNextToken()) return false;
    if (take(']')) return true;
    do {
      if (!readValue(into.append(Json::Value()), depth + 1) || !toNextToken()) return false;
    } while (take(','));
    return take(']');
  }

  bool readNumber(Json::Value& into) {
    if (*at_ != '-' && !isDigit(*at_)) return false;
    const char* const start = at_;
    const auto skipDigits = [this] {
      while (at_ != end_ && isDigit(*at_)) ++at_;
    };
    const bool negative = take('-');
    skipDigits();
    bool whole = true;
    if (take('.')) {
      whole = false;
      skipDigits();
    }
    if (take('e') || take('E')) {
      whole = false;
      if (!take('-')) take('+');
      skipDigits();
    }
    // An integer beyond 64 bits becomes a real. A real beyond the range of double has no value to give.
    if (whole && (negative ? convert<std::int64_t>(start, into) : convert<std::uint64_t>(start, into))) {
      return true;
    }
    return convert<double>(start, into);
  }

  // The whole of start to at_ as a Number.
  template <class Number>
  bool convert(const char* start, Json::Value& into) const {
    Number number{};
    const auto [stop, error] = std::from_chars(start, at_, number);
    if (error != std::errc{} || stop != at_) return false;
    if constexpr (std::is_same_v<Number, double>) {
      into = number;
    } else if (number > Number{std::numeric_limits<int>::max()}) {
      into = Json::Value::LargestUInt(number);
    } else {
      into = Json::Value::LargestInt(number);
    }
    return true;
  }

  // `text` holds until the next text is read.
  bool readText(std::string_view& text) {
    const char* const start = ++at_;
    while (at_ != end_ && *at_ != '"' && *at_ != '\\') ++at_;
    if (at_ == end_) return false;
    if (*at_ == '"') {
      text = {start, static_cast<std::size_t>(at_++ - start)};
      return true;
    }
    scratch_.assign(start, at_);
    while (at_ != end_ && *at_ != '"') {
      if (*at_ != '\\') {
        scratch_ += *at_++;
      } else if (!readEscape()) {
        return false;
      }
    }
    text = scratch_;
    return take('"');
  }

  bool readEscape() {
    if (left() < 2) return false;
    ++at_;
    constexpr std::string_view kLetters = "\"\\/bfnrt";
    constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    const char letter = *at_++;
    if (letter == 'u') return readUnicode();
    const std::size_t place = kLetters.find(letter);
    if (place == std::string_view::npos) return false;
    scratch_ += kMeanings[place];
    return true;
  }

  bool readUnicode() {
    constexpr std::uint32_t kReplacement = 0xFFFD;
    std::uint32_t point = 0;
    if (!readHex(point)) return false;
    if (point >= 0xD800 && point < 0xDC00) {
      const char* const second = at_;
      std::uint32_t low = 0;
      if (take("\\u") && !readHex(low)) return false;
      if (low >= 0xDC00 && low < 0xE000) {
        point = 0x10000 + ((point & 0x3FF) << 10) + (low & 0x3FF);
      } else {
        point = kReplacement;
        at_ = second;
      }
    } else if (point >= 0xDC00 && point < 0xE000) {
      point = kReplacement;
    }
    appendUtf8(scratch_, point);
    return true;
  }

  bool readHex(std::uint32_t& number) noexcept {
    constexpr std::size_t kDigits = 4;
    if (left() < kDigits) return false;
    const auto [stop, error] = std::from_chars(at_, at_ + kDigits, number, 16);
    if (error != std::errc{} || stop != at_ + kDigits) return false;
    at_ = stop;
    return true;
  }

  const char* at_;
  const char* const end_;
  std::string& scratch_;
};

}  // namespace

bool JsonParser::parse(std::string_view text, Json::Value& value) {
  bool read = false;
  value = Json::Value();
  try {
    read = Pass(text, scratch_).readRoot(value);
  } catch (const std::bad_alloc&) {
    value = Json::Value();
    throw;
  } catch (const std::exception&) {  // a text beyond jsoncpp's lengths
  }
  if (!read) value = Json::Value();
  if (scratch_.capacity() > kKeptScratch) std::string().swap(scratch_);
  return read;
}

}  // namespace zivra::internal
