#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "core/log.h"

namespace zivra::test {

// Keeps the lines that the link's own logger gets.
class RecordingLogger : public internal::Logger {
 public:
  const std::string& name() const noexcept override { return name_; }
  void write(internal::LogLevel level, std::string_view line) noexcept override {
    static constexpr const char* letters[] = {"D ", "I ", "E "};
    const std::lock_guard lock(mutex_);
    lines_.push_back(letters[static_cast<int>(level)] + std::string(line));
  }
  void flush() noexcept override {}

  // Level's letter, then the line, without the uid in front.
  std::vector<std::string> lines() const {
    const std::string start = "uid: " + internal::uid() + " | ";
    const std::lock_guard lock(mutex_);
    std::vector<std::string> shortened = lines_;
    for (std::string& line : shortened) {
      if (line.compare(2, start.size(), start) == 0) line.erase(2, start.size());
    }
    return shortened;
  }
  bool has(const std::string& line) const {
    for (const std::string& known : lines()) {
      if (known == line) return true;
    }
    return false;
  }

 private:
  const std::string name_ = "recording";
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace zivra::test
