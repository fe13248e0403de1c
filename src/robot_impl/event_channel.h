// One kind of pushed news: its table, its watcher, and the thread on which the watcher hears of each change,
// in order.
//
// Threads: `update` runs on the link's network thread and never waits for a watcher; everything else may be
// called from any thread, the watcher's included. The thread is started by the first news that somebody
// watches.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include <zivra/base_robot.h>

namespace zivra::internal {

class EventChannel {
 public:
  // News that a slow watcher hasn't heard yet; of more, the oldest are dropped.
  static constexpr std::size_t maxWaiting = 1000;

  EventChannel(Event kind, EventInfo defaults);
  ~EventChannel();
  EventChannel(const EventChannel&) = delete;
  EventChannel& operator=(const EventChannel&) = delete;

  // Puts the table back to its defaults and replaces the watcher, which may be empty. News that the former
  // watcher hasn't heard yet is forgotten.
  void arm(EventCallback watcher);
  // Changes the table and tells the watcher if `change` returns true. `change` runs under the channel's
  // mutex.
  void update(const std::function<bool(EventInfo&)>& change);
  EventInfo table() const;

  // No watcher is called once this has returned; waits for a running one for at most `limitNs`, unless called
  // from it.
  void close(std::int64_t limitNs) noexcept;

 private:
  struct Core;  // shared with the thread, so that a watcher may destroy its robot
  std::shared_ptr<Core> core_;
};

}  // namespace zivra::internal
