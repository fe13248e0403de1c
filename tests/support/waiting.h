// Waiting for what another thread does: always for a condition, always with a deadline.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace zivra::test {

// Long enough for a sanitizer on a busy machine; a test that passes never waits for it.
inline constexpr std::chrono::seconds longestWait{20};

// For conditions that nobody announces.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds limit = longestWait) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// What callbacks said, in order. Any thread. To be made before the robot whose callbacks use it.
template <class T>
class Heard {
 public:
  void add(T item) {
    const std::lock_guard lock(mutex_);
    items_.push_back(std::move(item));
    added_.notify_all();  // under the lock: whoever waits may end this object next
  }
  std::vector<T> all() const {
    const std::lock_guard lock(mutex_);
    return items_;
  }
  // True once `enough` holds for what was heard so far.
  template <class Condition>
  bool waitUntil(Condition enough, std::chrono::milliseconds limit = longestWait) const {
    std::unique_lock lock(mutex_);
    return added_.wait_for(lock, limit, [&] { return enough(items_); });
  }
  bool waitFor(std::size_t count, std::chrono::milliseconds limit = longestWait) const {
    return waitUntil([&](const auto& items) { return items.size() >= count; }, limit);
  }

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable added_;
  std::vector<T> items_;
};

}  // namespace zivra::test
