#include "core/periodic_flush.h"

#include <new>
#include <unistd.h>

namespace zivra::internal {

bool PeriodicFlush::start() noexcept {
  try {
    const std::lock_guard lock(mutex_);
    forgetWorkerOfParent();
    if (worker_.joinable() || ended_) return true;
    worker_ = std::thread(&PeriodicFlush::run, this, ++round_);
    process_ = ::getpid();
    longestWait_ = std::chrono::nanoseconds::max();
    return true;
  } catch (...) {
    return false;
  }
}

void PeriodicFlush::stop() noexcept {
  std::thread worker;
  {
    const std::lock_guard lock(mutex_);
    forgetWorkerOfParent();
    ++round_;
    worker = std::move(worker_);
    longestWait_ = ended_ ? std::chrono::nanoseconds::zero() : std::chrono::nanoseconds(kFlushPeriod);
  }
  stopped_.notify_all();
  if (!worker.joinable()) return;
  if (worker.get_id() == std::this_thread::get_id()) {
    worker.detach();
  } else {
    worker.join();
  }
}

void PeriodicFlush::stopForGood() noexcept {
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
  }
  stop();
}

// After a fork the child has the object but not the thread: it can neither be joined nor destroyed, and the
// condition still counts it as waiting.
void PeriodicFlush::forgetWorkerOfParent() noexcept {
  if (!worker_.joinable() || process_ == ::getpid()) return;
  new (&worker_) std::thread;
  new (&stopped_) std::condition_variable;
}

void PeriodicFlush::run(std::uint64_t round) {
  std::unique_lock lock(mutex_);
  while (!stopped_.wait_for(lock, kFlushPeriod, [&] { return round_ != round; })) {
    lock.unlock();
    flush_();
    lock.lock();
  }
}

}  // namespace zivra::internal
