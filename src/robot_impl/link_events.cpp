#include "robot_impl/link_events.h"

#include <exception>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "core/log.h"
#include "network/xservice/xservice.h"

namespace zivra::internal {

const char* pushKey(Event event) noexcept {
  switch (event) {
    case Event::moveExecution:
      return "move.last_error_with_setting";
    case Event::safety:
      return "safety.event.collision";
    case Event::rlExecution:
      return "project.tasks_pointer";
    case Event::logReporter:
      return "log.user";
  }
  return nullptr;
}

LinkEvents::LinkEvents(const std::shared_ptr<XService>& service)
    : service_(service), watched_{{Event::moveExecution, true}} {}

void LinkEvents::setUserHandler(std::function<void(bool)> handler) {
  auto shared = handler ? std::make_shared<const std::function<void(bool)>>(std::move(handler)) : nullptr;
  const std::lock_guard lock(mutex_);
  userHandler_.swap(shared);
}

void LinkEvents::linkChanged(bool connected) noexcept {
  // The first connection sends its watches itself, once it knows the controller.
  if (connected && connectionState_ == 2) resetEventWatcher();
  connectionState_ = connected ? 1 : 2;
  std::shared_ptr<const std::function<void(bool)>> handler;
  {
    const std::lock_guard lock(mutex_);
    handler = userHandler_;
  }
  if (!handler) return;
  std::string thrown;
  try {
    (*handler)(connected);
    return;
  } catch (const std::exception& e) {
    thrown = e.what();
  } catch (...) {
    thrown = "something that is no std::exception";
  }
  const auto service = service_.lock();
  logBoth(service ? service->logger().get() : nullptr, LogLevel::info,
          "uid: {}| Connection handler throw: {}", uid(), thrown);
}

void LinkEvents::resetEventWatcher() noexcept {
  const auto service = service_.lock();
  if (!service) return;
  std::vector<Event> kinds;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [kind, on] : watched_) {
      if (on) kinds.push_back(kind);
    }
  }
  std::string names;
  for (const Event kind : kinds) {
    names += to_string(kind);
    names += ' ';
    std::error_code ignored;  // a link that went down again sends them at its next return
    service->watch(pushKey(kind), true, ignored);
  }
  logBoth(service->logger().get(), LogLevel::info, "uid: {} | re-watch event: {}", uid(), names);
}

}  // namespace zivra::internal
