#include "core/log.h"

#include "core/log_registry.h"
#include "core/log_settings.h"

namespace zivra::internal {

std::string vformatLine(fmt::string_view format, fmt::format_args args) noexcept {
  try {
    return fmt::vformat(format, args);
  } catch (...) {
  }
  try {
    return std::string(format.data(), format.size());
  } catch (...) {
    return {};
  }
}

Logger& globalLogger() noexcept {
  // The holder is never deleted: threads that outlive main still log.
  static Logger& logger = *LogRegistry::instance().makeGlobal();
  return logger;
}

std::shared_ptr<Logger> consoleLogger() noexcept { return LogRegistry::instance().console(); }

std::shared_ptr<Logger> robotLogger(const std::string& robotId,
                                    const std::shared_ptr<Logger>& fallback) noexcept {
  LogRegistry& registry = LogRegistry::instance();
  try {
    registry.startPeriodicFlush();
    if (auto known = registry.robot(robotId)) return known;
    const std::string folder = harmlessFolderName(robotId);
    const LogSettings settings = readLogSettings(folder);
    const std::string file = settings.directory + "/" + folder + "/OstrelSDK.log";
    const char* failure = settings.failure;
    auto logger = registry.makeRobot(robotId, file, settings.days, failure);
    if (logger) return logger;
    if (failure == nullptr) failure = log_failure::folderNotMade;
    logger = fallback ? fallback : consoleLogger();
    logger->write(LogLevel::error, failure);
    return logger;
  } catch (...) {
    return fallback ? fallback : consoleLogger();
  }
}

void prepareRobotLogging() noexcept { LogRegistry::instance().reportErrorsOn(ErrorReport::standardError); }

void shutDownLogging() noexcept { LogRegistry::instance().shutDown(); }

}  // namespace zivra::internal
