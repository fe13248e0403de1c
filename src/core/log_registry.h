// The loggers by name, and how they are made. One for the process, never destroyed; any thread. Behind it
// works a logging library, which appears in log_registry.cpp alone and under a name of its own, so that an
// application that uses the same one shares nothing with it.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "core/log.h"
#include "core/periodic_flush.h"

namespace zivra::internal {

// Where goes what fails inside the log.
enum class ErrorReport { globalLogger, standardError };

class LogRegistry {
 public:
  static LogRegistry& instance() noexcept;

  // The global logger, for its one holder, which it outlives. If there is no file, its lines are dropped
  // until there is one.
  Logger* makeGlobal() noexcept;
  // The registered one or a new one.
  std::shared_ptr<Logger> console() noexcept;
  // The registered one or null.
  std::shared_ptr<Logger> robot(const std::string& id);
  // Makes and registers a logger with `firstLine` (unless null) as its first line, at error level; if another
  // thread was faster with that id, gives that one. Null if its file can't be made, which is reported.
  std::shared_ptr<Logger> makeRobot(const std::string& id, const std::string& file, int daysKept,
                                    const char* firstLine);

  void startPeriodicFlush() noexcept;
  void reportErrorsOn(ErrorReport where) noexcept { errorReport_ = where; }
  ErrorReport errorReport() const noexcept { return errorReport_; }
  // How long a line may wait for the next one before that flushes both.
  std::chrono::nanoseconds longestWait() const noexcept { return periodicFlush_.longestWait(); }
  void shutDown() noexcept;

 private:
  LogRegistry();
  // The loggers that anybody still holds, registered or not: what they were given reaches its file.
  void flushAll() noexcept;
  void remember(const std::shared_ptr<Logger>& logger);
  static void holdForFork();
  static void releaseAfterFork();

  std::mutex mutex_;  // of the three below
  std::shared_ptr<Logger> console_;
  std::map<std::string, std::shared_ptr<Logger>> robots_;  // no id can pass for one of the other two
  std::vector<std::weak_ptr<Logger>> alive_;
  std::shared_ptr<Logger> global_;  // for ever
  std::atomic<ErrorReport> errorReport_{ErrorReport::globalLogger};
  PeriodicFlush periodicFlush_;
};

}  // namespace zivra::internal
