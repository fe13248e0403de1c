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
  if (event != Event::moveExecution) return impl().events->armEvent(event, std::move(callback));
  const auto motion = impl().motion(ec);
  if (!motion) return;
  impl().service->watch(internal::pushKey(event), true, ec);
  motion->setEventHandler(std::move(callback));
}

EventInfo BaseRobot::queryEventInfo(Event event, std::error_code& ec) noexcept {
  ec.clear();
  if (event == Event::moveExecution) {
    if (const auto motion = impl().motion(ec)) return motion->eventInfo();
  } else if (!internal::LinkEvents::isPushed(event)) {
    ec = Code::argumentInvalid;
  } else if (auto table = impl().events->table(event)) {
    return *std::move(table);
  } else {
    ec = Code::unregisteredEvent;
  }
  return {};
}

}  // namespace zivra
