// The library's own log: three loggers in a registry of the library's own, which the application's logging
// never meets. Nothing here throws or blocks on anything but a sink's mutex; any thread may log at any time,
// also while main returns.
#pragma once

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include <zivra/format.h>

#include "core/process_state.h"

namespace zivra::internal {

enum class LogLevel { debug, info, error };

// True if lines of the level are written at all; asked before anything is formatted, so that a debug line
// costs nothing.
constexpr bool logs(LogLevel level) noexcept { return level >= LogLevel::info; }

// One named logger; copies of the pointer share it.
class Logger {
 public:
  virtual ~Logger() = default;
  virtual const std::string& name() const noexcept = 0;
  virtual void write(LogLevel level, std::string_view line) noexcept = 0;
  virtual void flush() noexcept = 0;
};

// "global_logger": made at first use; never fails its caller.
Logger& globalLogger() noexcept;
// "_zivra_log_console_": the registered one, or a new one. Never null.
std::shared_ptr<Logger> consoleLogger() noexcept;
// The logger of a robot: reads user_log_settings.json and makes the file logger, or gives the registered one
// of that id. Starts the periodic flush. Never null; what went wrong with the settings is its first line. If
// its file can't be made: `fallback`, with the line written there.
std::shared_ptr<Logger> robotLogger(const std::string& robotId,
                                    const std::shared_ptr<Logger>& fallback) noexcept;
// From now on what fails inside the log goes to standard error: called once a robot object is made.
void prepareRobotLogging() noexcept;
// Flushes everything, ends the periodic flush and drops the registry's loggers; held loggers go on working.
// Without the periodic flush a line waits for the next one that comes half a second later, an error line, the
// next shutdown or the end of the process.
void shutDownLogging() noexcept;

// Formats for a log line; a failing format gives the bare format text instead of an exception.
std::string vformatLine(fmt::string_view format, fmt::format_args args) noexcept;

template <class... Args>
void logGlobal(LogLevel level, fmt::format_string<Args...> format, Args&&... args) noexcept {
  if (logs(level)) globalLogger().write(level, vformatLine(format, fmt::make_format_args(args...)));
}

// To the global logger and, with the same text, to `own` (which may be null).
template <class... Args>
void logBoth(Logger* own, LogLevel level, fmt::format_string<Args...> format, Args&&... args) noexcept {
  if (!logs(level)) return;
  const std::string line = vformatLine(format, fmt::make_format_args(args...));
  globalLogger().write(level, line);
  if (own != nullptr) own->write(level, line);
}

template <class... Args>
void logOwn(Logger* own, LogLevel level, fmt::format_string<Args...> format, Args&&... args) noexcept {
  if (own != nullptr && logs(level)) own->write(level, vformatLine(format, fmt::make_format_args(args...)));
}

}  // namespace zivra::internal

// In log lines a code is its integer alone.
template <>
struct fmt::formatter<std::error_code> : fmt::formatter<int> {
  template <class FormatContext>
  auto format(const std::error_code& code, FormatContext& context) const -> decltype(context.out()) {
    return fmt::formatter<int>::format(code.value(), context);
  }
};
