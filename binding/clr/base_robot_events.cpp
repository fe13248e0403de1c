// Events, the connection handler and the state stream.
#include <array>
#include <chrono>
#include <cstddef>
#include <utility>

#include "clr/base_robot.h"
#include "clr/facade.h"
#include "core/user_function.h"

namespace zivra::clr {

namespace {

constexpr std::size_t eventKinds = 4;

// The process's delegate for a kind of event.
auto& delegateOf(std::size_t kind) {
  using Delegates = std::array<internal::UserFunction<void(const Dictionary&)>, eventKinds>;
  static auto& all = *new Delegates();  // native threads may outlive main
  return all[kind];
}

}  // namespace

void BaseRobot::setEventWatcher(Event eventType, EventCallbackDelegate callback, ErrorCode& ec) {
  if (robot == nullptr) throw NullReferenceException();
  const auto kind = static_cast<std::size_t>(eventType);
  if (kind >= eventKinds) {
    ec = convertErrorCode({});
    return;
  }
  delegateOf(kind).set(std::move(callback));
  const auto thunk = [kind](const zivra::EventInfo& info) {
    const auto delegate = delegateOf(kind).get();
    if (*delegate) (*delegate)(_convertCallback(info));
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
