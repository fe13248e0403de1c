// What the handlers of a robot's link need: the application's connection handler, and the kinds of news that
// the controller pushes. The handlers hold it shared, so that one that still runs while the robot goes finds
// it whole.
//
// Threads: `linkChanged` and `dispatch` run on the link's network thread; everything else may be called from
// any thread.
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <json/json.h>
#include <memory>
#include <mutex>
#include <optional>

#include <zivra/base_robot.h>

#include "robot_impl/event_channel.h"

namespace zivra {
class XService;
}

namespace zivra::internal {

// Key under which the controller pushes the kind; null for a kind that isn't known.
const char* pushKey(Event event) noexcept;

class LinkEvents {
 public:
  explicit LinkEvents(const std::shared_ptr<XService>& service);

  // The application's handler; the former one may still be running when this returns.
  void setUserHandler(std::function<void(bool)> handler);
  // The link came up or went down: sends the watches again if it was there before, then tells the
  // application.
  void linkChanged(bool connected) noexcept;
  // Sends all watches; waits for nothing.
  void resetEventWatcher() noexcept;

  // Resets the kind's table, replaces its watcher (which may be empty) and sends its watch, now and at each
  // further connection. Not for moves, whose events are the motion control's; an unknown kind does nothing.
  void armEvent(Event event, EventCallback watcher);
  // Nothing for a kind that was never watched.
  std::optional<EventInfo> table(Event event) const;
  static bool isPushed(Event event) noexcept;

  // The payloads of a push, each for its kind. What has another shape than its kind's is ignored.
  void dispatch(const Json::Value& message);
  // No handler or watcher is called once this has returned; waits a bounded time for running watchers.
  void close() noexcept;

 private:
  struct Kind {
    Kind(Event e, EventInfo defaults) : event(e), channel(e, std::move(defaults)) {}
    const Event event;
    std::atomic<bool> watched{false};
    EventChannel channel;
  };

  Kind* find(Event event) noexcept;

  std::weak_ptr<XService> service_;      // weak: the link's handlers hold this object
  std::atomic<int> connectionState_{0};  // 0 never connected, 1 connected, 2 disconnected
  Kind safety_, rlExecution_, logReporter_;
  std::mutex mutex_;  // guards the handler; held across no call
  std::shared_ptr<const std::function<void(bool)>> userHandler_;
};

}  // namespace zivra::internal
