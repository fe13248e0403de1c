// Sends the state datagrams, on a thread of its own.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "network/socket.h"
#include "world.h"

namespace zivra::sim {

// The thread reads the world, has time pass and sends under the world's mutex; it never waits there. start
// and stop are called from any thread, one at a time; noticeChange with the mutex held.
class StatePublisher {
 public:
  using Clock = std::chrono::steady_clock;

  // Lets the world's time pass up to a moment of the wall clock and gives that moment, or the one up to which
  // it has passed already. Called with the mutex held.
  using PassTime = std::function<Clock::time_point(Clock::time_point)>;

  StatePublisher(World& world, std::mutex& worldMutex, PassTime passTime)
      : world_(world), worldMutex_(worldMutex), passTime_(std::move(passTime)) {}
  ~StatePublisher() { stop(); }

  void start();
  void stop();
  void noticeChange();  // whoever changed the world says so
  std::uint64_t sent() const { return sent_; }

 private:
  bool waits() const { return !ends_ && world_.stream.changes == seen_; }
  void loop();
  void publish(std::unique_lock<std::mutex>& lock);

  World& world_;
  std::mutex& worldMutex_;
  const PassTime passTime_;
  std::condition_variable changed_;
  bool ends_ = false;       // under the world's mutex
  std::uint64_t seen_ = 0;  // of the stream's changes; under the world's mutex
  std::atomic<std::uint64_t> sent_{0};
  std::thread thread_;
};

}  // namespace zivra::sim
