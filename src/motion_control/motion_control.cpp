#include "motion_control/motion_control.h"

#include <algorithm>
#include <limits>
#include <utility>

#include <zivra/error.h>

#include "core/json.h"
#include "core/json_text.h"
#include "motion_control/encode_moves.h"
#include "motion_control/motion_core.h"
#include "network/xservice/xservice.h"

namespace zivra {

namespace {

// An integer reply as a code, with another meaning for -1; 257 for anything else.
std::error_code codeOf(const Json::Value& reply, Code ofMinusOne) {
  const auto code = internal::asInt(reply);
  if (!code) return Code::responseUnresolved;
  if (*code == -1) return ofMinusOne;
  return {*code, category()};
}

bool sizeAllowed(std::size_t size) { return size >= 1 && size <= internal::maxBatchSize; }

// {"move.l":...} with what `appendValue` appends under the key.
template <class AppendValue>
std::string requestText(const char* key, AppendValue appendValue) {
  std::string text = "{\"";
  text += key;
  text += "\":";
  appendValue(text);
  text += '}';
  return text;
}

}  // namespace

MotionControl<1>::MotionControl(std::shared_ptr<XService> service)
    : BaseMotionControl(service), core_(std::make_shared<internal::MotionCore>(std::move(service))) {
  core_->start();
}

MotionControl<1>::~MotionControl() { core_->close(); }

void MotionControl<1>::_start() noexcept { core_->start(); }

void MotionControl<1>::_stop(std::error_code& ec) noexcept { core_->stop(ec); }

// Of the two below: a watcher that runs on this thread may destroy this object, so they go on with the core
// only.

template <class T>
void MotionControl<1>::appendCommand(const std::vector<T>& commands, std::string& cmdID,
                                     std::error_code& ec) noexcept {
  using Kind = internal::MoveKind<T>;
  constexpr bool alone = std::is_same_v<T, MoveWaitCommand>;
  if (!sizeAllowed(commands.size()) || (alone && commands.size() != 1)) {
    ec = Code::argumentInvalid;
    return;
  }
  ec.clear();
  const std::shared_ptr<internal::MotionCore> core = core_;
  const internal::MotionLog log = core->log();
  internal::PendingCommand pending;
  pending.request = requestText(Kind::key, [&](std::string& text) { internal::appendMoves(text, commands); });
  internal::logMoves(commands, log);
  pending.id = internal::nextCommandId(Kind::prefix);
  pending.count = static_cast<std::uint32_t>(commands.size());
  pending.counted = Kind::counted;
  const std::string id = pending.id;
  log.info("uid: {} | Append cmd {}", id);
  core->commands.push(std::move(pending));
  cmdID = id;
}

void MotionControl<1>::appendReplay(const Json::Value& params) noexcept {
  const std::shared_ptr<internal::MotionCore> core = core_;
  internal::PendingCommand pending;
  pending.id = internal::nextCommandId("path");
  pending.count = 1;
  pending.request =
      requestText("move.replay", [&](std::string& text) { internal::appendJson(text, params); });
  core->log().info("uid: {} | Push cmd replay, id {}", pending.id);
  core->commands.push(std::move(pending));
}

template <class T>
void MotionControl<1>::executeCommand(const std::vector<T>& commands, std::error_code& ec) noexcept {
  if (!sizeAllowed(commands.size())) {
    ec = Code::argumentInvalid;
    return;
  }
  const internal::MotionLog log = core_->log();
  std::string value;
  internal::appendMoves(value, commands);
  internal::logMoves(commands, log);
  core_->service->commandTextAsync(
      internal::MoveKind<T>::key, value, [](const Json::Value&) {}, ec);
  if (ec) return;
  Json::Value unread;
  core_->service->command("move.continue", Json::Value(), unread, ec);
  core_->state = State::running;
  log.info("uid: {} | executeCommand ({})", ec);
}

void MotionControl<1>::moveStart(std::error_code& ec) noexcept {
  if (core_->state == State::stopped || !core_->threadsRunning()) core_->start();
  Json::Value reply;
  core_->service->command("move.continue", Json::Value(0), reply, ec);
  if (ec) return;
  ec = codeOf(reply, Code::moveEmptyCache);
  if (!ec) core_->state = State::running;
}

void MotionControl<1>::moveReset(std::error_code& ec) noexcept { core_->reset(true, ec); }

void MotionControl<1>::stop(std::error_code& ec) noexcept {
  const char* key = "move.pause";
  Json::Value parameters;
  if (core_->jogging.exchange(false)) {
    key = "move.stop";
    parameters["task_space"] = 1;
    core_->log().info("uid: {} | stop jogging");
  } else {
    State running = State::running;
    core_->state.compare_exchange_strong(running, State::paused);
  }
  Json::Value reply;
  core_->service->command(key, parameters, reply, ec);
  if (!ec) ec = codeOf(reply, Code::robotStopping);
}

void MotionControl<1>::setMaxCacheSize(int size) noexcept { core_->commands.setMaxCacheSize(size); }

void MotionControl<1>::setJogging(bool on) noexcept { core_->jogging = on; }

MotionControl<1>::State MotionControl<1>::state() const noexcept { return core_->state; }

std::uint32_t MotionControl<1>::inFlight() const noexcept {
  constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(core_->commands.inFlight(), most));
}

void MotionControl<1>::setEventHandler(EventCallback handler) noexcept {
  core_->events.setHandler(std::move(handler));
}

EventInfo MotionControl<1>::eventInfo() const { return core_->events.eventInfo(); }

bool MotionControl<1>::onOwnThread() const noexcept { return core_->onOwnThread(); }

void MotionControl<1>::waitForWatcher(std::int64_t limitNs) noexcept {
  const std::chrono::nanoseconds limit(std::clamp<std::int64_t>(limitNs, 0, 3'600'000'000'000));
  core_->events.waitForWatcher(std::chrono::steady_clock::now() + limit);
}

#define ZIVRA_MOVE_KIND(T)                                                                              \
  template void MotionControl<1>::appendCommand(const std::vector<T>&, std::string&, std::error_code&); \
  template void MotionControl<1>::executeCommand(const std::vector<T>&, std::error_code&)
ZIVRA_MOVE_KIND(MoveAbsJCommand);
ZIVRA_MOVE_KIND(MoveJCommand);
ZIVRA_MOVE_KIND(MoveLCommand);
ZIVRA_MOVE_KIND(MoveCCommand);
ZIVRA_MOVE_KIND(MoveCFCommand);
ZIVRA_MOVE_KIND(MoveSPCommand);
#undef ZIVRA_MOVE_KIND
template void MotionControl<1>::appendCommand(const std::vector<MoveWaitCommand>&, std::string&,
                                              std::error_code&);

}  // namespace zivra
