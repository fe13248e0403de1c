// Events, the connection handler and the state stream.
#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>

#include "clr/base_robot.h"
#include "clr/facade.h"

namespace zivra::clr {

namespace {

// The process's delegates, one a kind of event. Any thread: watchers share, whoever sets one swaps, and no
// delegate is called, copied or destroyed under the lock.
class EventDelegates {
 public:
  using Shared = std::shared_ptr<const EventCallbackDelegate>;
  void set(std::size_t kind, EventCallbackDelegate delegate) {
    Shared next;
    if (delegate) next = std::make_shared<const EventCallbackDelegate>(std::move(delegate));
    const std::lock_guard lock(mutex_);
    delegates_[kind].swap(next);
  }
  Shared get(std::size_t kind) {
    const std::lock_guard lock(mutex_);
    return delegates_[kind];
  }
  static constexpr std::size_t kinds = 4;

 private:
  std::mutex mutex_;
  std::array<Shared, kinds> delegates_;
};

EventDelegates& delegates() {
  static auto& all = *new EventDelegates();  // native threads may outlive main
  return all;
}

}  // namespace

void BaseRobot::setEventWatcher(Event eventType, EventCallbackDelegate callback, ErrorCode& ec) {
  if (robot == nullptr) throw NullReferenceException();
  const auto kind = static_cast<std::size_t>(eventType);
  if (kind >= EventDelegates::kinds) {
    ec = convertErrorCode({});
    return;
  }
  delegates().set(kind, std::move(callback));
  const auto thunk = [kind](const zivra::EventInfo& info) {
    if (const auto delegate = delegates().get(kind)) (*delegate)(_convertCallback(info));
  };
  reporting(ec, [&](std::error_code& code) { robot->setEventWatcher(eventType, thunk, code); });
}

void BaseRobot::setConnectionHandler(ConnectionHandlerDelegate handler) {
  if (robot == nullptr) throw NullReferenceException();
  robot->setConnectionHandler(std::move(handler));
}

std::uint32_t BaseRobot::updateRobotState(int timeout_ms) {
  if (robot == nullptr) throw NullReferenceException();
  return translated([&] { return robot->updateRobotState(std::chrono::milliseconds(timeout_ms)); });
}

}  // namespace zivra::clr
