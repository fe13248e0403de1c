// Watching and polling what the controller tells of its own accord.
#include <zivra/base_robot.h>

#include "robot/operation.h"

namespace zivra {

void BaseRobot::setConnectionHandler(std::function<void(bool)> handler) {
  impl().events->setUserHandler(std::move(handler));
}

void BaseRobot::disconnectFromRobot(std::error_code& ec) noexcept { impl().disconnect(ec); }

void BaseRobot::setEventWatcher(Event event, EventCallback callback, std::error_code& ec) noexcept {
  ec.clear();
  if (event != Event::moveExecution) return;
  const auto motion = impl().motion();
  if (!motion) {
    ec = Code::notConnected;
    return;
  }
  impl().service->watch(internal::pushKey(event), true, ec);
  motion->setEventHandler(std::move(callback));
}

EventInfo BaseRobot::queryEventInfo(Event event, std::error_code& ec) noexcept {
  ec.clear();
  if (event != Event::moveExecution) {
    ec = Code::argumentInvalid;
    return {};
  }
  if (const auto motion = impl().motion()) return motion->eventInfo();
  ec = Code::notConnected;
  return {};
}

}  // namespace zivra
