#include "core/daily_files.h"

#include <algorithm>
#include <cerrno>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <map>
#include <system_error>
#include <utility>

namespace zivra::internal {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBufferSize = 16 * 1024;
constexpr std::chrono::seconds kOpeningRetry(10);

std::string systemFailure(const char* what, const std::string& name, const char* rest, std::error_code why) {
  return fmt::format("{}{}{}: {}", what, name, rest, why.message());
}

std::tm localTime(DailyFiles::TimePoint time) {
  return fmt::localtime(std::chrono::system_clock::to_time_t(time));
}

void keepFirst(std::string& problem, std::string next) {
  if (problem.empty()) problem = std::move(next);
}

}  // namespace

DailyFiles::DailyFiles(std::string base, int kept)
    : base_(std::move(base)), kept_(static_cast<std::size_t>(std::max(kept, 1))) {
  std::error_code ec;
  startFolder_ = fs::current_path(ec);
}

DailyFiles::TimePoint DailyFiles::nextMidnight(TimePoint time) {
  const std::tm today = localTime(time);
  std::tm next = today;
  next.tm_mday += 1;
  next.tm_hour = next.tm_min = next.tm_sec = 0;
  next.tm_isdst = -1;
  TimePoint midnight = std::chrono::system_clock::from_time_t(std::mktime(&next));
  // Where the clocks go forward at midnight there is no 00:00, and mktime may give an hour before.
  while (midnight <= time || localTime(midnight).tm_mday == today.tm_mday)
    midnight += std::chrono::minutes(30);
  return midnight;
}

std::string DailyFiles::nameOn(const std::string& base, TimePoint time) {
  const std::tm date = localTime(time);
  const std::string extension = fs::path(base).extension().string();
  return fmt::format("{}_{:04d}-{:02d}-{:02d}{}", base.substr(0, base.size() - extension.size()),
                     date.tm_year + 1900, date.tm_mon + 1, date.tm_mday, extension);
}

std::string DailyFiles::open(TimePoint now) {
  const std::string name = nameOn(base_, now);
  const fs::path path = pathOf(name);
  std::error_code ec;
  fs::create_directories(path.parent_path(), ec);  // if it fails, so does the opening
  // Not inherited by programs that the application starts. Lines are gathered here, not in the stream: one
  // that can't be written must not come back at every later flush.
  std::FILE* const opened = std::fopen(path.c_str(), "abe");
  if (opened == nullptr) {
    const std::error_code why(errno, std::generic_category());
    nextOpening_ = now + kOpeningRetry;
    if (std::exchange(openingFailed_, true)) return {};
    return systemFailure("Failed opening file ", name, " for writing", why);
  }
  std::setvbuf(opened, nullptr, _IONBF, 0);
  std::string problem = flush();  // what belongs to the file so far
  file_.reset(opened);
  openingFailed_ = false;
  nextOpening_ = nextMidnight(now);
  if (std::exchange(name_, name).empty()) listRing();
  keepFirst(problem, enterRing(name));
  return problem;
}

// What an earlier process left: ordered by the text behind the last "_", which orders dates.
void DailyFiles::listRing() {
  const fs::path base(base_);
  const std::string prefix = base.stem().string() + "_";
  const std::string folder = base_.substr(0, base_.size() - base.filename().string().size());
  std::map<std::string, std::string> found;
  std::error_code ec;
  fs::directory_iterator entry(pathOf(name_).parent_path(), ec);
  for (; !ec && entry != fs::directory_iterator(); entry.increment(ec)) {
    const fs::path file = entry->path().filename();
    std::error_code unreadable;
    if (file.string().rfind(prefix, 0) != 0 || !entry->is_regular_file(unreadable)) continue;
    const std::string stem = file.stem().string();
    const std::string name = folder + file.string();
    const std::string key = stem.substr(stem.rfind('_') + 1);
    if (name != name_) found.emplace(key, name);
  }
  for (auto& [key, name] : found) ring_.push_back(std::move(name));
}

std::string DailyFiles::enterRing(std::string name) {
  if (ring_.empty() || ring_.back() != name) ring_.push_back(std::move(name));
  std::string problem;
  while (ring_.size() > kept_) {
    const std::string oldest = std::move(ring_.front());
    ring_.pop_front();
    std::error_code why;
    fs::remove(pathOf(oldest), why);
    if (why) keepFirst(problem, systemFailure("Failed removing daily file ", oldest, "", why));
  }
  return problem;
}

std::string DailyFiles::append(std::string_view line, TimePoint time) {
  std::string problem;
  if (time >= nextOpening_) problem = open(time);
  if (!file_) return problem;
  if (buffer_.size() + line.size() > kBufferSize) keepFirst(problem, flush());
  if (line.size() > kBufferSize) {
    keepFirst(problem, write(line));
  } else {
    buffer_.reserve(kBufferSize);
    buffer_.append(line);
  }
  return problem;
}

std::string DailyFiles::flush() {
  if (!file_ || buffer_.empty()) return {};
  std::string problem = write(buffer_);
  buffer_.clear();
  return problem;
}

std::string DailyFiles::write(std::string_view bytes) {
  while (!bytes.empty()) {
    errno = 0;
    bytes.remove_prefix(std::fwrite(bytes.data(), 1, bytes.size(), file_.get()));
    if (bytes.empty()) break;
    const std::error_code why(errno, std::generic_category());
    std::clearerr(file_.get());
    if (why != std::errc::interrupted) return systemFailure("Failed writing to file ", name_, "", why);
  }
  return {};
}

}  // namespace zivra::internal
