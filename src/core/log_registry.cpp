#include "core/log_registry.h"

// Header-only and renamed: an application with the same logging library, in whatever form, has another
// registry, other loggers and other console mutexes than the ones in here.
#ifndef SPDLOG_FMT_EXTERNAL
#define SPDLOG_FMT_EXTERNAL
#endif
#ifndef spdlog
#define spdlog zivra_spdlog
#endif
#undef SPDLOG_COMPILED_LIB
#undef SPDLOG_SHARED_LIB
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <pthread.h>
#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/ansicolor_sink.h>
#include <spdlog/sinks/base_sink.h>

#include "core/daily_files.h"

namespace zivra::internal {

namespace {

constexpr const char* kGlobalName = "global_logger";
constexpr const char* kGlobalFile = "logs/global_logger.log";
constexpr int kGlobalDaysKept = 7;
constexpr const char* kConsoleName = "_zivra_log_console_";
constexpr const char* kPattern = "[%L|%Y-%m-%d %H:%M:%S.%e %t] %v";

void printError(const std::string& problem) noexcept {
  try {
    const std::string line = "[*** LOG ERROR ***][SDK error handler] " + problem + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
  } catch (...) {
  }
}

// The one error handler of all loggers. The global logger may be the one that fails: what fails while an
// error is being reported goes to standard error.
void reportError(const std::string& problem) noexcept {
  static thread_local bool reporting = false;
  if (reporting || LogRegistry::instance().errorReport() == ErrorReport::standardError) {
    printError(problem);
    return;
  }
  reporting = true;
  logGlobal(LogLevel::error, "*** LOGGER ERROR ***: {}", problem);
  reporting = false;
}

class DailySink final : public spdlog::sinks::base_sink<std::mutex> {
 public:
  DailySink(const std::string& base, int kept) : files_(base, kept) {}

  std::string open() { return files_.open(spdlog::log_clock::now()); }
  bool isOpen() const noexcept { return files_.isOpen(); }

 private:
  void sink_it_(const spdlog::details::log_msg& message) override {
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    std::string problem = files_.append({line.data(), line.size()}, message.time);
    const auto waited = message.time - flushed_;
    if (waited < waited.zero() || waited >= LogRegistry::instance().longestWait()) {
      flushed_ = message.time;
      if (std::string next = files_.flush(); problem.empty()) problem = std::move(next);
    }
    throwIf(problem);
  }

  void flush_() override {
    flushed_ = spdlog::log_clock::now();
    throwIf(files_.flush());
  }

  static void throwIf(const std::string& problem) {
    if (!problem.empty()) spdlog::throw_spdlog_ex(problem);
  }

  DailyFiles files_;
  spdlog::log_clock::time_point flushed_{};
};

class SinkLogger final : public Logger {
 public:
  SinkLogger(const std::string& name, spdlog::sink_ptr sink) : logger_(name, std::move(sink)) {
    logger_.set_level(spdlog::level::info);
    logger_.set_formatter(std::make_unique<spdlog::pattern_formatter>(
        kPattern, spdlog::pattern_time_type::local, std::string("\r\n")));
    logger_.set_error_handler(reportError);
    logger_.flush_on(spdlog::level::err);
  }
  ~SinkLogger() override { SinkLogger::flush(); }

  const std::string& name() const noexcept override { return logger_.name(); }

  void write(LogLevel level, std::string_view line) noexcept override {
    try {
      logger_.log(levelOf(level), spdlog::string_view_t(line.data(), line.size()));
    } catch (...) {  // reported already
    }
  }

  void flush() noexcept override {
    try {
      logger_.flush();
    } catch (...) {
    }
  }

 private:
  static spdlog::level::level_enum levelOf(LogLevel level) noexcept {
    if (level == LogLevel::debug) return spdlog::level::debug;
    return level == LogLevel::info ? spdlog::level::info : spdlog::level::err;
  }

  spdlog::logger logger_;
};

// For want of memory.
class SilentLogger final : public Logger {
 public:
  const std::string& name() const noexcept override { return name_; }
  void write(LogLevel, std::string_view) noexcept override {}
  void flush() noexcept override {}

 private:
  const std::string name_;
};

Logger* silentLogger() noexcept {
  alignas(SilentLogger) static unsigned char place[sizeof(SilentLogger)];
  static Logger* const logger = new (place) SilentLogger;
  return logger;
}

}  // namespace

LogRegistry::LogRegistry() : periodicFlush_([this] { flushAll(); }) {}

LogRegistry& LogRegistry::instance() noexcept {
  alignas(LogRegistry) static unsigned char place[sizeof(LogRegistry)];
  static LogRegistry* const registry = [] {
    auto* const made = new (place) LogRegistry;
    // Nothing is destroyed, but nothing is lost either. Robots of static storage are made after this and
    // gone before.
    std::atexit([] {
      instance().periodicFlush_.stopForGood();
      instance().flushAll();
    });
    ::pthread_atfork(holdForFork, releaseAfterFork, releaseAfterFork);
    return made;
  }();
  return *registry;
}

void LogRegistry::holdForFork() {
  instance().periodicFlush_.holdForFork();
  instance().mutex_.lock();
}

void LogRegistry::releaseAfterFork() {
  instance().mutex_.unlock();
  instance().periodicFlush_.releaseAfterFork();
}

Logger* LogRegistry::makeGlobal() noexcept {
  try {
    auto sink = std::make_shared<DailySink>(kGlobalFile, kGlobalDaysKept);
    const std::string problem = sink->open();
    global_ = std::make_shared<SinkLogger>(kGlobalName, std::move(sink));
    if (!problem.empty()) printError(problem);  // the global logger itself is not there yet
    remember(global_);
    startPeriodicFlush();
    return global_.get();
  } catch (...) {
    printError("no global logger");
    return global_ ? global_.get() : silentLogger();
  }
}

std::shared_ptr<Logger> LogRegistry::console() noexcept {
  try {
    const std::lock_guard lock(mutex_);
    if (!console_) {
      auto sink = std::make_shared<spdlog::sinks::ansicolor_stdout_sink_mt>(spdlog::color_mode::automatic);
      console_ = std::make_shared<SinkLogger>(kConsoleName, std::move(sink));
    }
    return console_;
  } catch (...) {
    return {std::shared_ptr<void>(), silentLogger()};
  }
}

std::shared_ptr<Logger> LogRegistry::robot(const std::string& id) {
  const std::lock_guard lock(mutex_);
  const auto found = robots_.find(id);
  return found == robots_.end() ? nullptr : found->second;
}

std::shared_ptr<Logger> LogRegistry::makeRobot(const std::string& id, const std::string& file, int daysKept,
                                               const char* firstLine) {
  auto sink = std::make_shared<DailySink>(file, daysKept);
  if (const std::string problem = sink->open(); !problem.empty()) reportError(problem);
  if (!sink->isOpen()) return nullptr;
  std::shared_ptr<Logger> logger = std::make_shared<SinkLogger>(id, std::move(sink));
  if (firstLine != nullptr) {
    // Before anybody else can have it.
    if (const auto faster = robot(id)) return faster;
    logger->write(LogLevel::error, firstLine);
  }
  remember(logger);
  const std::lock_guard lock(mutex_);
  return robots_.emplace(id, std::move(logger)).first->second;
}

void LogRegistry::startPeriodicFlush() noexcept {
  if (!periodicFlush_.start()) printError("no thread for the periodic flush");
}

void LogRegistry::remember(const std::shared_ptr<Logger>& logger) {
  const std::lock_guard lock(mutex_);
  alive_.erase(std::remove_if(alive_.begin(), alive_.end(), [](const auto& held) { return held.expired(); }),
               alive_.end());
  alive_.push_back(logger);
}

void LogRegistry::flushAll() noexcept {
  try {
    std::vector<std::shared_ptr<Logger>> loggers;
    {
      const std::lock_guard lock(mutex_);
      for (const auto& held : alive_) {
        if (auto logger = held.lock()) loggers.push_back(std::move(logger));
      }
    }
    for (const auto& logger : loggers) logger->flush();
  } catch (...) {  // the next one tries again
  }
}

void LogRegistry::shutDown() noexcept {
  periodicFlush_.stop();
  flushAll();
  std::map<std::string, std::shared_ptr<Logger>> dropped;
  std::shared_ptr<Logger> droppedConsole;
  const std::lock_guard lock(mutex_);
  dropped.swap(robots_);
  droppedConsole.swap(console_);
}

}  // namespace zivra::internal
