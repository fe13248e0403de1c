// What the controller has written down for its user, in the language that it is set to.
#pragma once

#include <cstddef>
#include <deque>
#include <set>
#include <string>
#include <vector>

#include "zivra/sim/controller.h"

namespace zivra::sim {

struct LogEntry {
  LogLevel level = LogLevel::info;
  int code = 0;
  std::string time, text, repair;
};

class UserLog {
 public:
  static constexpr std::size_t mostEntries = 10000;  // then the oldest go

  explicit UserLog(Language language) : language_(language) {}

  // In the controller's language, with its level and what to do about it. `text` is English and begins with
  // words that are known here, or it stays as it is.
  LogEntry written(int code, const std::string& text) const;
  void add(LogEntry entry);
  // Those of the levels (none: of all), by their time, behind the first `offset`.
  std::vector<LogEntry> page(const std::set<LogLevel>& levels, bool newestFirst, std::size_t limit,
                             std::size_t offset) const;

 private:
  Language language_;
  std::deque<LogEntry> entries_;  // as they were written
};

}  // namespace zivra::sim
