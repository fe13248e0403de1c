#include "motion_control/move_events.h"

#include <exception>
#include <utility>

namespace zivra::internal {

namespace {

// The watcher calls that a thread is in, innermost first.
struct WatcherCall {
  explicit WatcherCall(const MoveEvents* of) noexcept;
  ~WatcherCall();
  WatcherCall(const WatcherCall&) = delete;
  WatcherCall& operator=(const WatcherCall&) = delete;

  const MoveEvents* events;
  WatcherCall* outer;
};

thread_local WatcherCall* innermostCall = nullptr;

WatcherCall::WatcherCall(const MoveEvents* of) noexcept : events(of), outer(innermostCall) {
  innermostCall = this;
}
WatcherCall::~WatcherCall() { innermostCall = outer; }

}  // namespace

EventInfo tableOf(const MoveEvent& event) {
  return {{"cmdID", event.cmdID},
          {"wayPointIndex", event.wayPointIndex},
          {"reachTarget", event.reachTarget},
          {"error", event.error},
          {"remark", event.remark},
          {"customInfo", event.customInfo}};
}

void MoveEvents::setHandler(EventCallback handler) {
  std::shared_ptr<const EventCallback> former;  // what it captured is released without the lock
  if (handler) former = std::make_shared<const EventCallback>(std::move(handler));
  const std::lock_guard lock(eventMutex_);
  if (!closed_) eventHandler_.swap(former);
}

EventInfo MoveEvents::eventInfo() const {
  const std::lock_guard lock(eventMutex_);
  return tableOf(latest_);
}

void MoveEvents::publish(const MoveEvent& event, ResetStamp stamp, bool notify) {
  std::shared_ptr<const EventCallback> handler;
  EventInfo table;
  {
    const std::lock_guard lock(eventMutex_);
    if (!stamp.current()) return;
    latest_ = event;
    if (!notify || !eventHandler_ || closed_) return;
    table = tableOf(latest_);
    handler = eventHandler_;
    ++runningWatchers_;
  }
  {
    const WatcherCall call(this);
    try {
      (*handler)(table);
    } catch (const std::exception& thrown) {
      threw_(thrown.what());
    } catch (...) {
      threw_("unknown exception");
    }
    handler.reset();  // the last copy of a replaced watcher goes before the call counts as over
  }
  const std::lock_guard lock(eventMutex_);
  --runningWatchers_;
  watcherDone_.notify_all();
}

void MoveEvents::reset() {
  const std::lock_guard lock(eventMutex_);
  latest_ = MoveEvent{};
}

void MoveEvents::close() {
  std::shared_ptr<const EventCallback> former;  // released without the lock
  const std::lock_guard lock(eventMutex_);
  closed_ = true;
  former.swap(eventHandler_);
}

bool MoveEvents::insideWatcher() const noexcept {
  for (const WatcherCall* call = innermostCall; call != nullptr; call = call->outer) {
    if (call->events == this) return true;
  }
  return false;
}

bool MoveEvents::waitForWatcher(std::chrono::steady_clock::time_point deadline) const {
  if (insideWatcher()) return true;
  std::unique_lock lock(eventMutex_);
  return watcherDone_.wait_until(lock, deadline, [this] { return runningWatchers_ == 0; });
}

}  // namespace zivra::internal
