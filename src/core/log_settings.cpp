#include "core/log_settings.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <system_error>

#include "core/json.h"

namespace zivra::internal {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFile = "user_log_settings.json";
constexpr const char* kDirectory = "_log_storage_directory_";
constexpr const char* kDays = "_retention_days_";
constexpr std::uintmax_t kLargestFile = 1 << 20;
constexpr std::size_t kLongestName = 200;

// The file's value; nothing if it can't be read or is no JSON. Only a regular file has a size; a
// pipe would block.
std::optional<Json::Value> readFile() {
  std::error_code ec;
  const std::uintmax_t size = fs::file_size(kFile, ec);
  if (ec || size > kLargestFile) return std::nullopt;
  std::ifstream in(kFile, std::ios::binary);
  std::string text(static_cast<std::size_t>(size), '\0');
  if (!in.read(text.data(), static_cast<std::streamsize>(text.size()))) return std::nullopt;
  Json::Value value;
  if (!JsonParser().parse(text, value)) return std::nullopt;
  return value;
}

// Any JSON integer, those outside int's range at its nearer end.
std::optional<int> clampedInteger(const Json::Value& value) {
  if (value.type() != Json::intValue && value.type() != Json::uintValue) return std::nullopt;
  if (const auto small = asInt(value)) return small;
  return asUnsigned(value) ? std::numeric_limits<int>::max() : std::numeric_limits<int>::min();
}

bool isControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7f;
}

}  // namespace

LogSettings readLogSettings(const std::string& robotFolder) {
  LogSettings settings;
  std::error_code ec;
  if (!fs::exists(kFile, ec) && !ec) return settings;

  std::optional<std::string> directory;
  std::optional<int> days;
  const char*& failure = settings.failure;
  // A later failure replaces an earlier one.
  if (const auto root = readFile()) {
    const bool hasDirectory = hasMember(*root, kDirectory);
    const bool hasDays = hasMember(*root, kDays);
    if (!hasDays) {
      failure = log_failure::daysMissing;
    } else if (!hasDirectory) {
      failure = log_failure::directoryMissing;
    }
    if (hasDirectory) {
      directory = asText(member(*root, kDirectory));
      if (!directory) failure = log_failure::directoryNoText;
    }
    if (hasDays) {
      days = clampedInteger(member(*root, kDays));
      if (!days) failure = log_failure::daysNoInteger;
    }
    if (directory && directory->empty()) failure = log_failure::directoryEmpty;
  } else {
    failure = log_failure::notOpened;
  }
  fs::create_directories(fs::path(settings.directory) / robotFolder, ec);
  if (ec) failure = log_failure::folderNotMade;
  if (days && *days <= 0) failure = log_failure::daysNotPositive;

  if (failure == nullptr) {
    settings.directory = *directory;
    settings.days = *days;
  }
  return settings;
}

std::string harmlessFolderName(std::string_view robotId) {
  std::string name(robotId.substr(0, kLongestName));
  if (name.size() < robotId.size()) {  // no half UTF-8 character at the end
    while (!name.empty() && (static_cast<unsigned char>(robotId[name.size()]) & 0xC0) == 0x80)
      name.pop_back();
  }
  for (char& c : name) {
    if (c == '/' || c == '\\' || isControl(c)) c = '_';
  }
  if (name.find_first_not_of('.') == std::string::npos) std::fill(name.begin(), name.end(), '_');
  return name.empty() ? "_" : name;
}

}  // namespace zivra::internal
