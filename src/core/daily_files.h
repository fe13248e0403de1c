// A log file for each day, of which the last few are kept. One thread at a time; what fails comes back as a
// text for the log's error handler, empty if nothing did, and never stops the lines that follow.
#pragma once

#include <chrono>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace zivra::internal {

class DailyFiles {
 public:
  using TimePoint = std::chrono::system_clock::time_point;

  // `base` is "folder/stem.ext", the files are "folder/stem_YYYY-MM-DD.ext" by local date. A relative folder
  // is taken from the current directory of now, also on later days.
  DailyFiles(std::string base, int kept);
  DailyFiles(const DailyFiles&) = delete;
  DailyFiles& operator=(const DailyFiles&) = delete;

  // Opens the file of that time, makes its folder and deletes what is too old. If that fails the file in use
  // stays, and lines try again some seconds later.
  std::string open(TimePoint now);
  bool isOpen() const noexcept { return file_ != nullptr; }

  // Takes a line with its end; changes the file first if its day is over.
  std::string append(std::string_view line, TimePoint time);
  // Hands the lines taken to the system. Those that it does not take are lost. The owner's last act, so that
  // it hears of a loss.
  std::string flush();

  // 00:00 local time of the day after, whatever the length of the day.
  static TimePoint nextMidnight(TimePoint time);
  static std::string nameOn(const std::string& base, TimePoint time);

 private:
  struct Close {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };

  std::string write(std::string_view bytes);
  std::string enterRing(std::string name);
  void listRing();
  std::filesystem::path pathOf(const std::string& name) const { return startFolder_ / name; }

  const std::string base_;
  const std::size_t kept_;
  std::filesystem::path startFolder_;
  std::string name_;  // of the file in use
  std::unique_ptr<std::FILE, Close> file_;
  std::string buffer_;
  std::deque<std::string> ring_;  // the files that exist, oldest first, the one in use last
  TimePoint nextOpening_ = TimePoint::min();
  bool openingFailed_ = false;
};

}  // namespace zivra::internal
