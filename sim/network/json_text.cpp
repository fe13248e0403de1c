#include "network/json_text.h"

#include <charconv>
#include <cmath>
#include <cstdint>

namespace zivra::sim {

namespace {

constexpr int kDeepest = 100;

class Parser {
 public:
  explicit Parser(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}

  std::optional<Json::Value> whole() {
    Json::Value value;
    if (!parse(value, 0)) return std::nullopt;
    skipBlanks();
    if (at_ != end_) return std::nullopt;
    return value;
  }

 private:
  void skipBlanks() {
    while (at_ != end_ && (*at_ == ' ' || *at_ == '\t' || *at_ == '\n' || *at_ == '\r')) ++at_;
  }

  bool take(char c) {
    if (at_ == end_ || *at_ != c) return false;
    ++at_;
    return true;
  }

  bool takeWord(std::string_view word) {
    if (static_cast<std::size_t>(end_ - at_) < word.size() || std::string_view(at_, word.size()) != word)
      return false;
    at_ += word.size();
    return true;
  }

  bool parse(Json::Value& out, int depth) {
    if (depth > kDeepest) return false;
    skipBlanks();
    if (at_ == end_) return false;
    switch (*at_) {
      case '{':
        return parseObject(out, depth);
      case '[':
        return parseArray(out, depth);
      case '"': {
        std::string text;
        if (!parseString(text)) return false;
        out = Json::Value(text);
        return true;
      }
      case 't':
        out = true;
        return takeWord("true");
      case 'f':
        out = false;
        return takeWord("false");
      case 'n':
        out = Json::Value();
        return takeWord("null");
      default:
        return parseNumber(out);
    }
  }

  bool parseObject(Json::Value& out, int depth) {
    out = Json::Value(Json::objectValue);
    ++at_;
    skipBlanks();
    if (take('}')) return true;
    do {
      skipBlanks();
      std::string name;
      if (at_ == end_ || *at_ != '"' || !parseString(name)) return false;
      skipBlanks();
      if (!take(':') || !parse(out[name], depth + 1)) return false;
      skipBlanks();
    } while (take(','));
    return take('}');
  }

  bool parseArray(Json::Value& out, int depth) {
    out = Json::Value(Json::arrayValue);
    ++at_;
    skipBlanks();
    if (take(']')) return true;
    do {
      Json::Value element;
      if (!parse(element, depth + 1)) return false;
      out.append(std::move(element));
      skipBlanks();
    } while (take(','));
    return take(']');
  }

  bool parseNumber(Json::Value& out) {
    const char* first = at_;
    auto digits = [this] {
      const char* begin = at_;
      while (at_ != end_ && *at_ >= '0' && *at_ <= '9') ++at_;
      return at_ - begin;
    };
    const bool negative = take('-');
    const char* whole = at_;
    const auto count = digits();
    if (count == 0 || (count > 1 && *whole == '0')) return false;
    bool real = false;
    if (take('.')) {
      real = true;
      if (digits() == 0) return false;
    }
    if (at_ != end_ && (*at_ == 'e' || *at_ == 'E')) {
      real = true;
      ++at_;
      if (!take('-')) take('+');
      if (digits() == 0) return false;
    }
    if (!real && negative) {
      std::int64_t number = 0;
      if (std::from_chars(first, at_, number).ec == std::errc{}) return out = Json::Int64{number}, true;
    } else if (!real) {
      std::uint64_t number = 0;
      if (std::from_chars(first, at_, number).ec == std::errc{}) {
        if (number <= INT64_MAX)
          out = static_cast<Json::Int64>(number);
        else
          out = Json::UInt64{number};
        return true;
      }
    }
    double number = 0;
    if (std::from_chars(first, at_, number).ec != std::errc{}) return false;
    out = number;
    return true;
  }

  bool parseHex(std::uint32_t& code) {
    if (end_ - at_ < 4) return false;
    const auto [stop, error] = std::from_chars(at_, at_ + 4, code, 16);
    if (error != std::errc{} || stop != at_ + 4) return false;
    at_ = stop;
    return true;
  }

  static void appendUtf8(std::string& text, std::uint32_t code) {
    auto put = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (code < 0x80) return put(code);
    if (code < 0x800) {
      put(0xC0 | code >> 6);
    } else if (code < 0x10000) {
      put(0xE0 | code >> 12);
      put(0x80 | (code >> 6 & 0x3F));
    } else {
      put(0xF0 | code >> 18);
      put(0x80 | (code >> 12 & 0x3F));
      put(0x80 | (code >> 6 & 0x3F));
    }
    put(0x80 | (code & 0x3F));
  }

  bool parseEscape(std::string& text) {
    if (at_ == end_) return false;
    const char c = *at_++;
    constexpr std::string_view kNames = "\"\\/bfnrt", kMeanings = "\"\\/\b\f\n\r\t";
    if (const auto which = kNames.find(c); which != std::string_view::npos) {
      text += kMeanings[which];
      return true;
    }
    std::uint32_t code = 0;
    if (c != 'u' || !parseHex(code)) return false;
    if (code >= 0xDC00 && code < 0xE000) return false;
    if (code >= 0xD800 && code < 0xDC00) {
      std::uint32_t low = 0;
      if (!take('\\') || !take('u') || !parseHex(low) || low < 0xDC00 || low >= 0xE000) return false;
      code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
    }
    appendUtf8(text, code);
    return true;
  }

  bool parseString(std::string& text) {
    ++at_;
    while (at_ != end_) {
      const char c = *at_++;
      if (c == '"') return true;
      if (static_cast<unsigned char>(c) < 0x20) return false;
      if (c != '\\')
        text += c;
      else if (!parseEscape(text))
        return false;
    }
    return false;
  }

  const char* at_;
  const char* end_;
};

void writeString(std::string& out, const char* begin, const char* end) {
  constexpr char kHex[] = "0123456789abcdef";
  out += '"';
  for (; begin != end; ++begin) {
    const auto c = static_cast<unsigned char>(*begin);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += *begin;
    } else if (c < 0x20) {
      out += "\\u00";
      out += kHex[c >> 4];
      out += kHex[c & 15];
    } else {
      out += *begin;
    }
  }
  out += '"';
}

template <typename Number>
void writeNumber(std::string& out, Number number) {
  char text[40];
  out.append(text, std::to_chars(text, text + sizeof text, number).ptr);
}

void write(std::string& out, const Json::Value& value) {
  switch (value.type()) {
    case Json::nullValue:
      out += "null";
      break;
    case Json::booleanValue:
      out += value.asBool() ? "true" : "false";
      break;
    case Json::intValue:
      writeNumber(out, value.asInt64());
      break;
    case Json::uintValue:
      writeNumber(out, value.asUInt64());
      break;
    case Json::realValue: {
      const double number = value.asDouble();
      if (!std::isfinite(number)) {
        out += "null";
        break;
      }
      const std::size_t start = out.size();
      writeNumber(out, number);
      if (out.find_first_of(".e", start) == std::string::npos) out += ".0";
      break;
    }
    case Json::stringValue: {
      const char *begin = nullptr, *end = nullptr;
      value.getString(&begin, &end);
      writeString(out, begin, end);
      break;
    }
    case Json::arrayValue: {
      char separator = '[';
      if (value.empty()) out += separator;
      for (const Json::Value& element : value) {
        out += separator;
        separator = ',';
        write(out, element);
      }
      out += ']';
      break;
    }
    case Json::objectValue: {
      char separator = '{';
      if (value.empty()) out += separator;
      for (auto member = value.begin(); member != value.end(); ++member) {
        out += separator;
        separator = ',';
        const char* nameEnd = nullptr;
        const char* name = member.memberName(&nameEnd);
        writeString(out, name, nameEnd);
        out += ':';
        write(out, *member);
      }
      out += '}';
      break;
    }
  }
}

}  // namespace

std::optional<Json::Value> parseJson(std::string_view text) { return Parser(text).whole(); }

std::string writeJson(const Json::Value& value) {
  std::string out;
  write(out, value);
  return out;
}

}  // namespace zivra::sim
