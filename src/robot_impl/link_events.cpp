#include "robot_impl/link_events.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <exception>
#include <string>
#include <system_error>
#include <utility>

#include "core/json.h"
#include "core/log.h"
#include "network/xservice/xservice.h"

namespace zivra::internal {

namespace {

constexpr std::int64_t watcherEndLimitNs = 5'000'000'000;

// Payload of "safety.event.collision".
void takeCollision(EventChannel& channel, const Json::Value& payload) {
  const auto flag = asBool(payload);
  const auto number = asNumber(payload);
  if (!flag && !number) return;
  channel.update([&](EventInfo& table) {
    table["collided"] = flag ? *flag : *number != 0;
    return true;
  });
}

// One of "adv_line" and "exe_line": where a program is. False if it names no file.
bool takeLine(const Json::Value& place, const char* fileKey, const char* lineKey, EventInfo& table) {
  const std::string file = textOr(member(place, "file_name"));
  if (file.empty()) return false;
  // The controller counts from 1.
  const std::int64_t line = std::int64_t{asInt(member(place, "line")).value_or(0)} - 1;
  table[fileKey] = file;
  table[lineKey] = static_cast<int>(std::max<std::int64_t>(line, INT_MIN));
  return true;
}

// Payload of "project.tasks_pointer".
void takeTasks(EventChannel& channel, const Json::Value& payload) {
  if (!payload.isArray()) return;
  for (const Json::Value& task : payload) {
    if (!task.isObject()) continue;
    channel.update([&](EventInfo& table) {
      table["taskName"] = textOr(member(task, "task_name"));
      const bool ahead = takeLine(member(task, "adv_line"), "lookaheadFile", "lookaheadLine", table);
      const bool executed = takeLine(member(task, "exe_line"), "executeFile", "executeLine", table);
      return ahead || executed;
    });
  }
}

// Payload of "log.user".
void takeLogEntry(EventChannel& channel, const Json::Value& payload) {
  const auto code = asInt(payload.isObject() ? member(payload, "error") : payload);
  if (!code && !payload.isObject()) return;
  channel.update([&](EventInfo& table) {
    table["ecode"] = code.value_or(0);
    table["edetail"] = textOr(member(payload, "data"));
    return true;
  });
}

}  // namespace

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
    : service_(service),
      safety_(Event::safety, {{"collided", false}}),
      rlExecution_(Event::rlExecution, {{"taskName", std::string()},
                                        {"lookaheadFile", std::string()},
                                        {"lookaheadLine", 0},
                                        {"executeFile", std::string()},
                                        {"executeLine", 0}}),
      logReporter_(Event::logReporter, {{"ecode", 0}, {"edetail", std::string()}}) {}

LinkEvents::Kind* LinkEvents::find(Event event) noexcept {
  for (Kind* kind : {&safety_, &rlExecution_, &logReporter_}) {
    if (kind->event == event) return kind;
  }
  return nullptr;
}

bool LinkEvents::isPushed(Event event) noexcept {
  return event != Event::moveExecution && pushKey(event) != nullptr;
}

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
  std::string names;
  // A link that went down again sends them at its next return.
  const auto watch = [&](Event event) {
    names += to_string(event);
    names += ' ';
    std::error_code ignored;
    service->watch(pushKey(event), true, ignored);
  };
  watch(Event::moveExecution);
  for (const Kind* kind : {&safety_, &rlExecution_, &logReporter_}) {
    if (kind->watched) watch(kind->event);
  }
  logBoth(service->logger().get(), LogLevel::info, "uid: {} | re-watch event: {}", uid(), names);
}

void LinkEvents::armEvent(Event event, EventCallback watcher) {
  Kind* const kind = find(event);
  if (kind == nullptr) return;
  kind->channel.arm(std::move(watcher));
  kind->watched = true;
  std::error_code ignored;  // on a dropped link: the next connection sends it
  if (const auto service = service_.lock()) service->watch(pushKey(event), true, ignored);
}

std::optional<EventInfo> LinkEvents::table(Event event) const {
  const Kind* const kind = const_cast<LinkEvents*>(this)->find(event);
  if (kind == nullptr || !kind->watched) return std::nullopt;
  return kind->channel.table();
}

void LinkEvents::dispatch(const Json::Value& message) {
  const Json::Value& news = member(message, "n");
  const auto payloadOf = [&](const Kind& kind) -> const Json::Value* {
    const char* key = pushKey(kind.event);
    return kind.watched && hasMember(news, key) ? &member(news, key) : nullptr;
  };
  if (const auto* payload = payloadOf(safety_)) takeCollision(safety_.channel, *payload);
  if (const auto* payload = payloadOf(rlExecution_)) takeTasks(rlExecution_.channel, *payload);
  if (const auto* payload = payloadOf(logReporter_)) takeLogEntry(logReporter_.channel, *payload);
}

void LinkEvents::close() noexcept {
  setUserHandler(nullptr);
  for (Kind* kind : {&safety_, &rlExecution_, &logReporter_}) kind->channel.close(watcherEndLimitNs);
}

}  // namespace zivra::internal
