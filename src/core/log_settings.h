// The one means by which the user configures the log: user_log_settings.json in the current directory. One
// thread at a time.
#pragma once

#include <string>
#include <string_view>

namespace zivra::internal {

// Why settings don't count.
namespace log_failure {
inline constexpr const char* notOpened = "Failed to open user_log_settings.json";
inline constexpr const char* directoryMissing =
    "user_log_settings.json does not contain _log_storage_directory_";
inline constexpr const char* daysMissing = "user_log_settings.json does not contain _retention_days_";
inline constexpr const char* directoryNoText = "_log_storage_directory_ is not a string";
inline constexpr const char* daysNoInteger = "_retention_days_ is not an integer";
inline constexpr const char* directoryEmpty = "_log_storage_directory_ is empty";
inline constexpr const char* folderNotMade = "Failed to create log storage directory";
inline constexpr const char* daysNotPositive = "_retention_days_ is less than or equal to 0";
}  // namespace log_failure

struct LogSettings {
  std::string directory = "_zivra_log_";
  int days = 7;                   // daily files kept, above 0
  const char* failure = nullptr;  // one of log_failure; the other two are then the defaults
};

// Without the file: the defaults. With it, also makes the robot's folder under the default directory. Throws
// nothing but std::bad_alloc.
LogSettings readLogSettings(const std::string& robotFolder);

// The robot's id as one folder name: ids come from the network and must neither leave the log directory nor
// be too long for a file system. An ordinary id stays as it is.
std::string harmlessFolderName(std::string_view robotId);

}  // namespace zivra::internal
