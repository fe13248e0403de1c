// The kinds of events, and news of each.
#pragma once

#include <fmt/format.h>

#include "robot/fixture.h"

namespace zivra::test {

inline constexpr Event pushed[] = {Event::safety, Event::rlExecution, Event::logReporter};
inline constexpr Event everyKind[] = {Event::moveExecution, Event::safety, Event::rlExecution,
                                      Event::logReporter};

inline const char* keyOf(Event event) {
  switch (event) {
    case Event::moveExecution:
      return moveWatch;
    case Event::safety:
      return "safety.event.collision";
    case Event::rlExecution:
      return "project.tasks_pointer";
    default:
      return "log.user";
  }
}

// A push that the watcher of the kind hears of.
inline std::string newsOf(Event event) {
  if (event == Event::moveExecution) return finishNotice;
  return fmt::format(
      R"({{"{}":{}}})", keyOf(event),
      event == Event::rlExecution ? R"([{"task_name":"t","exe_line":{"file_name":"last","line":1}}])" : "1");
}

}  // namespace zivra::test
