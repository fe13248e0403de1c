// Log lines of the motion queue: both loggers, the uid first. Any thread.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "core/log.h"
#include "core/process_state.h"

namespace zivra::internal {

// Takes the uid once, so that the lines of a batch don't each ask for it.
class MotionLog {
 public:
  explicit MotionLog(std::shared_ptr<Logger> own) : own_(std::move(own)), uid_(uid()) {}

  template <class... Args>
  void info(fmt::format_string<const std::string&, Args...> format, Args&&... args) const noexcept {
    line<Args...>(LogLevel::info, format, std::forward<Args>(args)...);
  }
  template <class... Args>
  void error(fmt::format_string<const std::string&, Args...> format, Args&&... args) const noexcept {
    line<Args...>(LogLevel::error, format, std::forward<Args>(args)...);
  }

 private:
  template <class... Args>
  void line(LogLevel level, fmt::format_string<const std::string&, Args...> format,
            Args&&... args) const noexcept {
    logBoth<const std::string&, Args...>(own_.get(), level, format, uid_, std::forward<Args>(args)...);
  }

  std::shared_ptr<Logger> own_;
  std::string uid_;
};

}  // namespace zivra::internal
