#include "motion_control/motion_core.h"

#include <exception>
#include <utility>

#include "core/json.h"
#include "network/xservice/xservice.h"

namespace zivra::internal {

namespace {

constexpr const char* moveNewsKey = "move.last_error_with_setting";

// A start sends one request that may take its 10 s, and joins threads.
constexpr std::chrono::seconds startLimit{20};

thread_local const MotionCore* ownThreadOf = nullptr;

using Clock = std::chrono::steady_clock;

}  // namespace

MotionCore::MotionCore(std::shared_ptr<XService> link)
    : service(std::move(link)),
      events([this](const char* what) { log().error("uid: {} | Move watcher throw: {}", what); }),
      commands([this](const PendingCommand& command, XService::Gate gate,
                      std::error_code& ec) { service->commandWithId(command.request, command.id, ec, gate); },
               [this](const PendingCommand& command, std::error_code ec) { tellFailedSend(command, ec); }) {}

bool MotionCore::onOwnThread() const noexcept { return ownThreadOf == this; }

bool MotionCore::threadsRunning() const noexcept {
  const std::lock_guard lock(lifecycleMutex_);
  return !threads_.empty();
}

void MotionCore::start() noexcept {
  std::uint64_t stopsBefore = 0;
  {
    std::unique_lock lock(lifecycleMutex_);
    if (!startEnded_.wait_for(lock, startLimit, [this] { return !starting_; })) return;
    if (!threads_.empty() && state != State::stopped) return;
    starting_ = true;
    stopsBefore = stops_;
  }
  if (state == State::stopped) {
    std::error_code ignored;
    reset(false, ignored);
  }
  joinFormer(Clock::now() + threadEndLimit);
  try {
    launch(stopsBefore);
  } catch (const std::exception& failure) {
    log().error("uid: {} | Motion threads not started: {}", failure.what());
  }
  std::error_code ignored;
  service->watch(moveNewsKey, true, ignored);
  {
    const std::lock_guard lock(lifecycleMutex_);
    starting_ = false;
  }
  startEnded_.notify_all();
}

void MotionCore::launch(std::uint64_t stopsBefore) {
  const std::lock_guard lock(lifecycleMutex_);
  if (stops_ != stopsBefore) return;
  if (threads_.empty()) {
    std::vector<Worker> threads;
    threads.reserve(2);
    threads.emplace_back([core = shared_from_this()](const std::stop_token& stop) {
      ownThreadOf = core.get();
      core->commands.sendUntil(stop);
    });
    threads.emplace_back([core = shared_from_this()](const std::stop_token& stop) {
      ownThreadOf = core.get();
      core->notificationLoop(stop);
    });
    threads_ = std::move(threads);
  }
  const std::weak_ptr<XService> link = service;
  service->setMotionHandler([notifications = notifications_, link](const Json::Value& message) {
    std::optional<MoveNotice> notice = readNotice(message);
    if (!notice || !notifications->push(std::move(*notice))) return;
    if (const auto held = link.lock()) {
      MotionLog(held->logger()).error("uid: {} | Too many move notifications, some are dropped");
    }
  });
}

void MotionCore::stop(std::error_code& ec) noexcept {
  ec.clear();
  std::error_code ignored;
  service->watch(moveNewsKey, false, ignored);
  {
    const std::lock_guard lock(lifecycleMutex_);
    ++stops_;
    service->setMotionHandler([](const Json::Value&) {});
    state = State::stopped;
    for (Worker& thread : threads_) {
      thread.requestStop();
      former_.push_back(std::move(thread));
    }
    threads_.clear();
  }
  if (onOwnThread()) {
    ec = std::make_error_code(std::errc::resource_deadlock_would_occur);
    return;
  }
  joinFormer(Clock::now() + threadEndLimit);
}

void MotionCore::joinFormer(Clock::time_point deadline) noexcept {
  std::vector<Worker> former;
  {
    const std::lock_guard lock(lifecycleMutex_);
    former.swap(former_);
  }
  std::erase_if(former, [deadline](Worker& thread) { return thread.joinUntil(deadline); });
  const std::lock_guard lock(lifecycleMutex_);
  for (Worker& thread : former) former_.push_back(std::move(thread));
}

void MotionCore::close() noexcept {
  const auto deadline = Clock::now() + threadEndLimit;
  events.close();
  std::error_code ignored;
  stop(ignored);
  joinFormer(deadline);
  events.waitForWatcher(deadline);
  const std::lock_guard lock(lifecycleMutex_);
  for (Worker& thread : former_) thread.abandon();
  former_.clear();
}

void MotionCore::reset(bool remainTraj, std::error_code& ec) noexcept {
  // Whatever is not on the wire yet stays here until the answer is known.
  commands.hold();
  Json::Value parameters(Json::objectValue);
  parameters["remain_traj"] = remainTraj;
  Json::Value reply;
  service->command("move.reset", parameters, reply, ec);
  if (!ec) {
    if (const auto code = asInt(reply)) {
      ec.assign(*code, category());
    } else if (reply.type() == Json::intValue || reply.type() == Json::uintValue) {
      ec = Code::responseUnresolved;  // too large for a code, but no acceptance
    }
  }
  if (!ec) {
    notifications_->clear();  // first: from here on notices taken before are outdated
    commands.wipe();
    events.reset();
    state = State::idle;
  }
  commands.release();
}

void MotionCore::notificationLoop(const std::stop_token& stop) {
  std::deque<MoveNotice> notices;
  ResetStamp stamp;
  while (notifications_->take(stop, notices, stamp)) {
    for (const MoveNotice& notice : notices) {
      if (stop.stop_requested()) return;
      try {
        _processNotification(notice, stamp);
      } catch (const std::exception& failure) {
        log().error("uid: {} | Move notification lost: {}", failure.what());
      }
    }
  }
}

void MotionCore::_processNotification(const MoveNotice& notice, ResetStamp stamp) {
  switch (notice.kind) {
    case MoveNotice::Kind::failedSend:
      events.publish(notice.failure, stamp, true);
      return;
    case MoveNotice::Kind::reply:
      for (const int code : notice.refusals) {
        commands.wipe(stamp);
        events.publish(refusalEvent(notice, code), stamp, true);
      }
      return;
    case MoveNotice::Kind::news:
      break;
  }
  const MoveVerdict verdict = judgeNews(notice);
  log().info("uid: {} | Notified {} [{}] finish:{} ({})", verdict.event.cmdID, verdict.event.wayPointIndex,
             verdict.event.reachTarget, verdict.event.error);
  if (verdict.wipe) {
    commands.wipe(stamp);
  } else if (verdict.finished) {
    commands.finishOne(stamp);
  }
  events.publish(verdict.event, stamp, verdict.notify);
}

void MotionCore::tellFailedSend(const PendingCommand& command, std::error_code ec) {
  log().error("uid: {} | Send command {} ({})", command.id, ec);
  MoveEvent event;
  event.cmdID = command.id;
  event.error = ec;
  // A watcher that appends again on a dead link would be called from within itself without end: what fails
  // inside a watcher is told by the notification thread.
  const bool nested = events.insideWatcher();
  events.publish(event, {}, !nested);
  if (!nested) return;
  MoveNotice notice;
  notice.kind = MoveNotice::Kind::failedSend;
  notice.failure = std::move(event);
  notifications_->push(std::move(notice));
}

}  // namespace zivra::internal
