// Who waits for which reply. Only ids that somebody waits for are kept, and a reply wakes its own waiter.
//
// Threads: waiters are the application's threads; `deliver`, `wake` and `lose` belong to the network thread;
// callbacks may be put from any thread. Every condition of a wait changes under the one mutex.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <json/json.h>
#include <mutex>
#include <unordered_map>

#include "network/platform.h"

namespace zivra::internal {

class ReplyTable {
 public:
  using Callback = std::function<void(const Json::Value&)>;

  enum class Outcome { waiting, arrived, lost };

  // One wait, on the waiter's stack: in the table from construction to destruction.
  class Waiter {
   public:
    Waiter(ReplyTable& table, std::uint64_t id);
    ~Waiter();
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    // Nobody else was waiting when this one came.
    bool alone() const noexcept { return alone_; }
    // `waiting` if the deadline passed. A reply that has arrived counts as lost once the link is.
    Outcome wait(std::chrono::steady_clock::time_point deadline) noexcept;
    // After `arrived`.
    Json::Value& reply() noexcept { return reply_; }

   private:
    friend class ReplyTable;

    ReplyTable& table_;
    const std::uint64_t id_;
    Waiter* next_ = nullptr;
    Outcome outcome_ = Outcome::waiting;
    bool alone_ = false;
    Json::Value reply_;
  };

  void putCallback(std::uint64_t id, Callback callback);
  // The callback, which is then no longer in the table; an empty one if there is none.
  Callback takeCallback(std::uint64_t id) noexcept;
  void clearCallbacks() noexcept;

  // Gives the message to the waiter of that id and leaves `message` void; it is dropped if there is none. The
  // waiter wakes at the next `wake`: a batch of replies is handed out before anybody runs.
  void deliver(std::uint64_t id, Json::Value& message) noexcept;
  void wake() noexcept;
  // The link has dropped: all waits end.
  void lose() noexcept;

 private:
  // With fewer callers than channels each has one of its own, as ids follow each other.
  static unsigned channelOf(std::uint64_t id) noexcept {
    return static_cast<unsigned>(id % platform::ChannelCondition::channels);
  }

  std::mutex mutex_;
  platform::ChannelCondition ended_;
  std::array<Waiter*, platform::ChannelCondition::channels> waiters_{};  // a list for each channel
  std::size_t waiterCount_ = 0;
  std::uint32_t toWake_ = 0;  // network thread only; a bit for each channel
  std::unordered_map<std::uint64_t, Callback> callbacks_;
};

}  // namespace zivra::internal
