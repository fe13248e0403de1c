#include "robot_impl/event_channel.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "core/log.h"

namespace zivra::internal {

struct EventChannel::Core {
  Core(Event k, EventInfo d) : kind(k), defaults(std::move(d)), table(defaults) {}

  void run(std::shared_ptr<Core> self) noexcept;
  void call(const EventCallback& watcher, const EventInfo& news) const noexcept;

  const Event kind;
  const EventInfo defaults;

  mutable std::mutex mutex;  // guards everything below; held across no call of a watcher
  std::condition_variable changed;
  EventInfo table;
  std::shared_ptr<const EventCallback> watcher;
  std::deque<EventInfo> waiting;
  std::thread thread;
  bool calling = false;
  bool overflowing = false;
  bool closed = false;
};

void EventChannel::Core::call(const EventCallback& callback, const EventInfo& news) const noexcept {
  std::string thrown;
  try {
    callback(news);
    return;
  } catch (const std::exception& e) {
    thrown = e.what();
  } catch (...) {
    thrown = "something that is no std::exception";
  }
  logGlobal(LogLevel::error, "uid: {} | Event watcher of {} throw: {}", uid(), kind, thrown);
}

void EventChannel::Core::run(std::shared_ptr<Core> self) noexcept {
  const auto keep = std::move(self);
  std::unique_lock lock(mutex);
  while (true) {
    changed.wait(lock, [&] { return closed || !waiting.empty(); });
    if (closed) return;
    const EventInfo news = std::move(waiting.front());
    waiting.pop_front();
    if (waiting.empty()) overflowing = false;
    auto callback = watcher;
    if (!callback) continue;
    calling = true;
    lock.unlock();
    call(*callback, news);
    callback.reset();  // the last copy of a replaced watcher may own the robot: it goes without the lock
    lock.lock();
    calling = false;
    changed.notify_all();
  }
}

EventChannel::EventChannel(Event kind, EventInfo defaults)
    : core_(std::make_shared<Core>(kind, std::move(defaults))) {}

EventChannel::~EventChannel() { close(0); }

void EventChannel::arm(EventCallback watcher) {
  auto shared = watcher ? std::make_shared<const EventCallback>(std::move(watcher)) : nullptr;
  const std::lock_guard lock(core_->mutex);
  core_->table = core_->defaults;
  core_->watcher.swap(shared);
  core_->waiting.clear();
}

void EventChannel::update(const std::function<bool(EventInfo&)>& change) {
  bool dropped = false;
  {
    const std::lock_guard lock(core_->mutex);
    if (!change(core_->table) || !core_->watcher || core_->closed) return;
    if (core_->waiting.size() == maxWaiting) {
      core_->waiting.pop_front();
      dropped = !std::exchange(core_->overflowing, true);
    }
    core_->waiting.push_back(core_->table);
    // A thread that can't be made leaves the news waiting for the next attempt.
    try {
      if (!core_->thread.joinable()) core_->thread = std::thread(&Core::run, core_.get(), core_);
    } catch (const std::system_error&) {
    }
  }
  core_->changed.notify_all();
  if (dropped) {
    logGlobal(LogLevel::error, "uid: {} | watcher of {} is too slow, oldest events are dropped", uid(),
              core_->kind);
  }
}

EventInfo EventChannel::table() const {
  const std::lock_guard lock(core_->mutex);
  return core_->table;
}

void EventChannel::close(std::int64_t limitNs) noexcept {
  std::unique_lock lock(core_->mutex);
  core_->closed = true;
  core_->waiting.clear();
  std::thread thread = std::move(core_->thread);
  core_->changed.notify_all();
  if (!thread.joinable()) return;
  const bool fromWatcher = thread.get_id() == std::this_thread::get_id();
  const bool ended = !fromWatcher && core_->changed.wait_for(lock, std::chrono::nanoseconds(limitNs),
                                                             [&] { return !core_->calling; });
  lock.unlock();
  // A watcher that goes on has the channel's core to itself; its thread ends with it.
  if (ended) {
    thread.join();
  } else {
    thread.detach();
  }
}

}  // namespace zivra::internal
