// A handler that may be replaced at any time by any thread, also while it runs and by itself.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace zivra::internal {

template <class... Arguments>
class HandlerSlot {
 public:
  using Handler = std::function<void(Arguments...)>;
  static constexpr std::chrono::seconds longestWait{10};

  // Once this has returned the former handler isn't running and will not be called any more; only if the
  // former handler itself is the caller it runs on to its end. Waits for a running one, but not for ever for
  // one that doesn't return.
  void set(Handler handler) {
    auto next = handler ? std::make_shared<const Handler>(std::move(handler)) : nullptr;
    std::unique_lock lock(mutex_);
    handler_.swap(next);
    returned_.wait_for(lock, longestWait, [this] {
      return runner_ == std::thread::id() || runner_ == std::this_thread::get_id();
    });
    lock.unlock();  // the former one is destroyed without the lock
  }

  // Calls the handler without any lock. One thread at a time. Throws what the handler throws.
  void call(Arguments... arguments) {
    std::unique_lock lock(mutex_);
    const std::shared_ptr<const Handler> running = handler_;
    if (!running) return;
    runner_ = std::this_thread::get_id();
    lock.unlock();
    const Ending ending{*this};
    (*running)(arguments...);
  }

 private:
  struct Ending {
    HandlerSlot& slot;
    ~Ending() {
      {
        const std::lock_guard lock(slot.mutex_);
        slot.runner_ = std::thread::id();
      }
      slot.returned_.notify_all();
    }
  };

  std::mutex mutex_;
  std::condition_variable returned_;
  std::shared_ptr<const Handler> handler_;
  std::thread::id runner_;
};

}  // namespace zivra::internal
