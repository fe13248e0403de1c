// The log's periodic flush: one thread, from the first logger made to the next shutdown.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace zivra::internal {

inline constexpr std::chrono::milliseconds kFlushPeriod(500);

// Any thread. Outlives its worker: stop() before the object goes.
class PeriodicFlush {
 public:
  explicit PeriodicFlush(std::function<void()> flush) : flush_(std::move(flush)) {}

  // No effect while it runs. False if the system gives no thread.
  bool start() noexcept;
  // Returns after the last flush, unless called by it or while another thread stops it.
  void stop() noexcept;
  // The process ends: from now on nothing may wait for a flush.
  void stopForGood() noexcept;
  // Around a fork, so that the child doesn't inherit a lock that nobody will release.
  void holdForFork() { mutex_.lock(); }
  void releaseAfterFork() { mutex_.unlock(); }

  // How long a line may wait before the next line of its logger flushes it: for ever while the worker runs.
  std::chrono::nanoseconds longestWait() const noexcept {
    return longestWait_.load(std::memory_order_relaxed);
  }

 private:
  void run(std::uint64_t round);
  void forgetWorkerOfParent() noexcept;

  const std::function<void()> flush_;
  std::mutex mutex_;  // of all below but the atomic
  std::condition_variable stopped_;
  std::uint64_t round_ = 0;  // a worker ends once it is no longer its own
  std::thread worker_;
  int process_ = 0;  // that started the worker
  bool ended_ = false;
  std::atomic<std::chrono::nanoseconds> longestWait_{kFlushPeriod};
};

}  // namespace zivra::internal
