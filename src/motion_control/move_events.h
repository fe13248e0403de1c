// The latest move event and its watcher.
//
// Threads: everything from any thread, watchers included. The watcher is called without any lock, with a copy
// of the table, on the thread that publishes.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>

#include <zivra/base_robot.h>
#include <zivra/error.h>

#include "motion_control/reset_stamp.h"

namespace zivra::internal {

struct MoveEvent {
  std::string cmdID;  // without the custom part
  int wayPointIndex = 0;
  bool reachTarget = false;
  std::error_code error{0, category()};
  std::string remark;
  std::string customInfo;
};

EventInfo tableOf(const MoveEvent& event);

class MoveEvents {
 public:
  // `threw` is told what a watcher threw.
  explicit MoveEvents(std::function<void(const char* what)> threw) : threw_(std::move(threw)) {}

  void setHandler(EventCallback handler);
  EventInfo eventInfo() const;

  // Keeps the event unless a reset came since the stamp was taken, and calls the watcher if `notify`.
  void publish(const MoveEvent& event, ResetStamp stamp, bool notify);
  void reset();

  // From now on no watcher call starts.
  void close();
  // True on a thread that is in a watcher call of this object.
  bool insideWatcher() const noexcept;
  // Until no watcher is running; at once inside one. False if the deadline came first.
  bool waitForWatcher(std::chrono::steady_clock::time_point deadline) const;

 private:
  const std::function<void(const char*)> threw_;
  mutable std::mutex eventMutex_;
  mutable std::condition_variable watcherDone_;
  std::shared_ptr<const EventCallback> eventHandler_;
  MoveEvent latest_;
  int runningWatchers_ = 0;
  bool closed_ = false;
};

}  // namespace zivra::internal
