#include "network/xservice/core.h"

#include <algorithm>
#include <exception>

#include <zivra/error.h>

#include "core/process_state.h"
#include "network/xservice/routing.h"

namespace zivra {

using internal::Destination;
using internal::LogLevel;
using internal::ReplyTable;
using internal::SendReceipt;
using internal::SendResult;

namespace {

constexpr char frameEnd = '\r';

std::chrono::steady_clock::time_point deadlineIn(std::int64_t timeoutNs) noexcept {
  using Clock = std::chrono::steady_clock;
  const auto now = Clock::now();
  const std::chrono::nanoseconds wanted(std::max<std::int64_t>(timeoutNs, 0));
  // A time-out that reaches beyond the clock's end would wrap into the past.
  return wanted < Clock::time_point::max() - now ? now + wanted : Clock::time_point::max();
}

}  // namespace

// The network thread's side of one start: holds the link's core, and what the log says of it.
struct XService::Core::Listener final : internal::TcpListener {
  Listener(std::shared_ptr<Core> linkCore, std::string linkIp, std::uint32_t linkPort)
      : core(std::move(linkCore)), ip(std::move(linkIp)), port(linkPort) {}

  void attemptEnded(bool connected) override {
    if (!connected) return;
    internal::logBoth(core->currentLogger().get(), LogLevel::info, "uid: {} | xService {}:{} connect",
                      internal::uid(), ip, port);
    core->callUser([this] { core->connectionHandler.call(true); });
  }
  void received(std::string_view frame) override { core->route(frame); }
  void receivedAll() override { core->batchRouted(); }
  void disconnected() override {
    core->linkLost();
    internal::logBoth(core->currentLogger().get(), LogLevel::info, "uid: {} | xService {}:{} disconnect",
                      internal::uid(), ip, port);
    core->callUser([this] { core->connectionHandler.call(false); });
  }

  const std::shared_ptr<Core> core;
  const std::string ip;
  const std::uint32_t port;
};

XService::Core::Core(const internal::LinkLimits& limits)
    : client({.mark = frameEnd, .reconnect = true, .limits = limits}) {}

std::shared_ptr<internal::Logger> XService::Core::currentLogger() const noexcept {
  const std::lock_guard lock(settingsMutex);
  return logger;
}

std::error_code XService::Core::start() {
  std::unique_lock lock(settingsMutex);
  const std::string host = ip;
  const std::uint32_t hostPort = port;
  lock.unlock();
  return client.start(host, hostPort, std::make_shared<Listener>(shared_from_this(), host, hostPort));
}

std::error_code XService::Core::send(std::string&& frame, const Gate& gate) {
  const SendReceipt receipt = client.connection().send(std::move(frame), true, gate);
  switch (receipt.result) {
    case SendResult::accepted:
      return {0, category()};
    case SendResult::gateShut:
      return std::make_error_code(std::errc::operation_canceled);
    case SendResult::refused:
      break;
  }
  return make_error_code(Code::network);
}

std::error_code XService::Core::exchange(std::string&& frame, std::uint64_t id, Json::Value& reply,
                                         std::int64_t timeoutNs) {
  const internal::TcpConnection link = client.connection();
  if (!link) return make_error_code(Code::network);

  // In the table before the frame is sent, so that neither the reply nor a drop can come too early.
  ReplyTable::Waiter waiter(replies, id);
  const bool atOnce = waiter.alone() || timeoutNs <= 0;
  const SendReceipt receipt = link.send(std::move(frame), atOnce);
  if (receipt.result != SendResult::accepted) return make_error_code(Code::network);

  switch (waiter.wait(deadlineIn(timeoutNs))) {
    case ReplyTable::Outcome::lost:
      return make_error_code(Code::network);
    case ReplyTable::Outcome::waiting:
      link.withdraw(receipt);  // a request that failed must not be carried out later
      return make_error_code(Code::timeout);
    case ReplyTable::Outcome::arrived:
      break;
  }
  reply.swap(waiter.reply());
  return {0, category()};
}

template <class Call>
void XService::Core::callUser(Call&& call) noexcept {
  try {
    call();
  } catch (const std::exception& thrown) {
    internal::logBoth(currentLogger().get(), LogLevel::error, "uid: {} | xService handler throw: {}",
                      internal::uid(), thrown.what());
  } catch (...) {
    internal::logBoth(currentLogger().get(), LogLevel::error, "uid: {} | xService handler throw: {}",
                      internal::uid(), "unknown");
  }
}

void XService::Core::route(std::string_view frame) {
  Json::Value message;
  if (frame.empty() || !parser_.parse(frame, message)) return;
  const internal::Route where = internal::routeOf(message);
  switch (where.destination) {
    case Destination::nowhere:
      return;
    case Destination::motion:
      return callUser([&] { motionHandler.call(message); });
    case Destination::push:
      return callUser([&] { pushHandler.call(message); });
    case Destination::reply:
      break;
  }
  if (const auto callback = replies.takeCallback(where.id)) {
    callUser([&] { callback(message); });
  } else {
    replies.deliver(where.id, message);
  }
}

}  // namespace zivra
