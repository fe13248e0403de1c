// How an operation runs: what it logs, the request it makes, and the rules by which it reads the reply.
//
//   Operation op(impl(), ec, "setPowerState {}", on);
//   op.command(on ? "sys.power.on" : "sys.power.off").code();
//   op.end("setPowerState end, switch motor {} ({})", on, ec);
//
// Lives on the stack of the calling thread.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <json/json.h>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <zivra/error.h>

#include "core/json.h"
#include "core/log.h"
#include "network/xservice/xservice.h"
#include "robot_impl/impl.h"

namespace zivra::internal {

// A word of the controller's and what it means.
template <class Enum>
struct Word {
  std::string_view text;
  Enum value;
};

// Whether an argument is one of those that there are.
inline bool isAmong(int value, std::initializer_list<int> values) noexcept {
  return std::find(values.begin(), values.end(), value) != values.end();
}

// What the controller itself says of values that don't fit; here its answers that fit nothing, where such are
// told apart from those that can't be read.
inline std::error_code protocolMismatch() noexcept { return {-260, category()}; }

// The value of a reply, or nothing if the exchange failed. The rules report in the operation's `ec`; on a
// reply that has failed already they change nothing and give the default, so that they chain without a test
// between them.
class Reply {
 public:
  Reply(std::error_code& ec, Json::Value value) : ec_(ec), value_(std::move(value)) {}

  bool failed() const noexcept { return static_cast<bool>(ec_); }
  const Json::Value& value() const noexcept { return value_; }
  void fail(std::error_code code) noexcept { ec_ = code; }

  // The reply integer is the result code; `otherwise` if it is none.
  void code(std::error_code otherwise = Code::responseUnresolved) noexcept;
  // As `code`; null, which some commands answer, is success.
  Reply& codeOrNull() noexcept;
  // An integer in place of the data is the result code of a failure; other values stay for the next rule.
  Reply& codeOrData() noexcept;
  // True if there is data to be read; an integer in its place is the result code, and 0 is no failure.
  bool isData() noexcept { return !codeOrData().failed() && !isCode(); }
  // A refusal that the controller tells as `code` is told as `as`.
  Reply& tellAs(int code, int as) noexcept;
  // True if the value is an integer, 0 included, where data could have come.
  bool isCode() const noexcept { return value_.type() == Json::intValue || value_.type() == Json::uintValue; }
  // An integer, or the member "error" of an object, is the result code; 257 for anything else. Returns what
  // the controller says of a failure in "data", which is a text or an object with a text "msg".
  std::string judge() noexcept;
  // All elements of an array of numbers; 257 otherwise.
  std::vector<double> numbers() noexcept;
  // The first n elements of an array; `tooShort` if it is none or has fewer, 257 if they are no numbers.
  bool numbers(double* out, std::size_t n, Code tooShort) noexcept;
  // "trans" and "rot" as six numbers; zeros and 257 if one is missing, short or of another type.
  std::array<double, 6> pose() noexcept;
  // The text; 257 if it is none.
  std::string text() noexcept;
  // All elements of an array of texts; 257 otherwise.
  std::vector<std::string> texts() noexcept;
  // The text's meaning; a word that isn't listed gives `otherwise` and no error, what is no text 257.
  template <class Enum, std::size_t n>
  Enum word(const Word<Enum> (&words)[n], Enum otherwise) noexcept {
    const std::string read = text();
    if (!failed()) {
      for (const auto& entry : words) {
        if (entry.text == read) return entry.value;
      }
    }
    return otherwise;
  }

 private:
  std::error_code& ec_;
  Json::Value value_;
};

class Operation {
 public:
  // Clears `ec`; no line at the beginning.
  Operation(XService& service, std::error_code& ec) noexcept : service_(service), ec_(ec) { ec.clear(); }
  Operation(BaseRobot::Impl& impl, std::error_code& ec) noexcept : Operation(*impl.service, ec) {}
  // Clears `ec` and writes the first line at debug level to the global logger.
  template <class Owner, class... Args>
  Operation(Owner& owner, std::error_code& ec, fmt::format_string<Args...> begin, Args&&... args) noexcept
      : Operation(owner, ec) {
    debug(begin, std::forward<Args>(args)...);
  }

  Reply get(const char* key, const Json::Value& parameter = Json::Value()) noexcept;
  Reply getMany(const std::vector<std::string>& keys, const std::vector<Json::Value>& parameters) noexcept;
  Reply command(const char* key, const Json::Value& parameters = Json::Value(),
                std::int64_t timeoutNs = XService::defaultTimeoutNs) noexcept;
  // The reply integer is the result code.
  void set(const char* key, const Json::Value& value) noexcept;

  // The last line, at info level, to both loggers.
  template <class... Args>
  void end(fmt::format_string<Args...> format, Args&&... args) noexcept {
    both(LogLevel::info, format, fmt::make_format_args(args...));
  }
  // The last line of an operation that could not begin, at error level, to both loggers.
  template <class... Args>
  void error(fmt::format_string<Args...> format, Args&&... args) noexcept {
    both(LogLevel::error, format, fmt::make_format_args(args...));
  }
  // An argument is out of range: 258, and the last line, which says which one.
  void refuse(fmt::format_string<std::error_code&> line) noexcept {
    ec_ = Code::parameterExceedsLimit;
    end(line, ec_);
  }
  // The last line of an operation that could not begin, at debug level, to the global logger only.
  template <class... Args>
  void debug(fmt::format_string<Args...> format, Args&&... args) noexcept {
    if (logs(LogLevel::debug)) {
      globalLogger().write(LogLevel::debug, line(format, fmt::make_format_args(args...)));
    }
  }
  // A line for the robot's logger alone, at info level, without the uid.
  template <class... Args>
  void note(fmt::format_string<Args...> format, Args&&... args) noexcept {
    logOwn(service_.logger().get(), LogLevel::info, format, std::forward<Args>(args)...);
  }
  // The same at error level.
  template <class... Args>
  void noteError(fmt::format_string<Args...> format, Args&&... args) noexcept {
    logOwn(service_.logger().get(), LogLevel::error, format, std::forward<Args>(args)...);
  }

 private:
  static std::string line(fmt::string_view format, fmt::format_args args) noexcept;
  void both(LogLevel level, fmt::string_view format, fmt::format_args args) noexcept;

  XService& service_;

 protected:
  std::error_code& ec_;
};

}  // namespace zivra::internal
