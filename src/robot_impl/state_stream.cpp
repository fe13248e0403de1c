// Starting and ending the state stream.
#include <chrono>
#include <fmt/chrono.h>
#include <set>
#include <system_error>
#include <thread>

#include <zivra/error.h>

#include "core/json.h"
#include "core/library_message.h"
#include "core/log.h"
#include "robot_impl/impl.h"
#include "robot_impl/turn.h"

namespace zivra {

using internal::libraryMessage;
using internal::LogLevel;
using internal::Message;

namespace {

// The controller takes this long until it publishes.
constexpr std::chrono::milliseconds publishSettling{200};

std::error_code announceFields(XService& service, const std::set<std::string>& names) {
  Json::Value list(Json::arrayValue);
  for (const std::string& name : names) list.append(name);
  std::error_code ec;
  if (service.setValue("eci.fields.out", list, ec) != 0 && !ec) ec = Code::rtFieldsUnsupported;
  return ec;
}

std::error_code announcePort(XService& service, std::uint32_t port) {
  Json::Value ports;
  ports["broadcast_in"] = static_cast<int>(port);
  std::error_code ec;
  service.set("eci.port", ports, ec);
  return ec;
}

std::error_code startPublishing(XService& service, std::chrono::nanoseconds interval) {
  const auto period = std::chrono::duration_cast<std::chrono::milliseconds>(interval);
  Json::Value reply;
  std::error_code ec;
  service.command("eci.pub.start", static_cast<Json::Int64>(period.count()), reply, ec);
  if (ec) return ec;
  const auto code = internal::asInt(reply);
  return code ? std::error_code(*code, category()) : make_error_code(Code::responseUnresolved);
}

}  // namespace

void BaseRobot::Impl::startStream(std::chrono::nanoseconds interval, const std::vector<std::string>& fields,
                                  unsigned short dof) {
  const auto own = service->logger();
  internal::logGlobal(LogLevel::debug, "uid: {} | startReceiveRobotState {} {}", internal::uid(), interval,
                      fields);
  if (fields.empty()) {
    internal::logBoth(own.get(), LogLevel::error, "uid: {} | startReceiveRobotState already start receive",
                      internal::uid());
    return;
  }
  const Turn turn(*this);
  if (!turn.held()) {
    throw RealtimeStateException(
        "starting the state stream inside a callback would wait for the callback's own thread; start it from "
        "another one");
  }
  const std::set<std::string> names(fields.begin(), fields.end());
  if (receiver->isReceiving()) {
    if (names != receiver->requested()) {
      internal::logOwn(own.get(), LogLevel::error, "startReceiveRobotState already start receive");
      throw RealtimeStateException(libraryMessage(Message::alreadyReceiving));
    }
    internal::logOwn(own.get(), LogLevel::error, "startReceiveRobotState already start receiving");
    return;
  }

  std::error_code ec = announceFields(*service, names);
  if (ec) throw RealtimeControlException(libraryMessage(Message::outputRefused) + ec.message());
  if (receiver->setRecipe(names, dof) != 0) {
    ec = Code::rtFieldsUnsupported;
    internal::logBoth(own.get(), LogLevel::error,
                      "uid: {} | startReceiveRobotState receiver set recipe failed {}, ({})", internal::uid(),
                      names, ec);
    throw RealtimeControlException(ec.message());
  }
  receiver->open(ec, true);
  if (!receiver->isOpen()) {
    internal::logBoth(own.get(), LogLevel::error,
                      "uid: {} | startReceiveRobotState start receiver failed ({})", internal::uid(), ec);
    throw RealtimeControlException(std::to_string(receiver->boundPort()) + ' ' +
                                   libraryMessage(Message::socketNotOpened) + ec.message());
  }
  const std::uint32_t port = receiver->boundPort();
  if (const auto refused = announcePort(*service, port)) {
    internal::logBoth(own.get(), LogLevel::info, "uid: {} | set state data local port {} failed {}",
                      internal::uid(), port, refused);
  } else {
    internal::logBoth(own.get(), LogLevel::info, "uid: {} | set state data port to {}", internal::uid(),
                      port);
  }
  ec = startPublishing(*service, interval);
  if (ec) throw RealtimeControlException(libraryMessage(Message::publishRefused) + ec.message());
  std::this_thread::sleep_for(publishSettling);
  std::error_code ignored;
  rtService->start(ignored);
  receiver->waitFirstState();
  internal::logBoth(own.get(), LogLevel::info, "uid: {} | startReceiveRobotState end, {} {} ({})",
                    internal::uid(), interval, names, ec);
}

void BaseRobot::Impl::stopStream() noexcept {
  if (!receiver->isReceiving()) return;
  std::error_code ignored;
  Json::Value reply;
  service->command("eci.pub.stop", Json::Value(), reply, ignored);
  receiver->close();
}

}  // namespace zivra
