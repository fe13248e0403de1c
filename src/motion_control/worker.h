// A thread that can be waited for with an end, or left to itself.
//
// Threads: one at a time, which may be the worker's own; `requestStop` reaches the body through its token.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace zivra::internal {

class Worker {
 public:
  // Runs `body(std::stop_token)`, which must not throw. Throws std::system_error if there is no thread to
  // be had.
  template <class Body>
  explicit Worker(Body body) : ended_(std::make_shared<Ended>()), thread_(run(std::move(body), ended_)) {}

  void requestStop() { thread_.request_stop(); }

  // False on the worker itself, and if it hasn't ended by the deadline.
  bool joinUntil(std::chrono::steady_clock::time_point deadline) {
    if (thread_.get_id() == std::this_thread::get_id()) return false;
    std::unique_lock lock(ended_->mutex);
    if (!ended_->changed.wait_until(lock, deadline, [this] { return ended_->value; })) return false;
    lock.unlock();
    thread_.join();
    return true;
  }

  // The thread ends by itself.
  void abandon() { thread_.detach(); }

 private:
  struct Ended {
    std::mutex mutex;
    std::condition_variable changed;
    bool value = false;
  };

  template <class Body>
  static std::jthread run(Body body, std::shared_ptr<Ended> ended) {
    return std::jthread([body = std::move(body), ended = std::move(ended)](std::stop_token stop) mutable {
      {
        Body own = std::move(body);  // released before the thread counts as ended
        own(stop);
      }
      const std::lock_guard lock(ended->mutex);
      ended->value = true;
      ended->changed.notify_all();
    });
  }

  std::shared_ptr<Ended> ended_;
  std::jthread thread_;
};

}  // namespace zivra::internal
