// Notices on their way from the link's network thread to the notification thread. Bounded: a peer that floods
// the link costs its own progress notices first, then the oldest ones.
//
// Threads: everything from any thread; nothing but a mutex is ever waited for, save in `take`.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <stop_token>

#include "motion_control/move_notice.h"
#include "motion_control/reset_stamp.h"

namespace zivra::internal {

class NotificationQueue {
 public:
  static constexpr std::size_t maxNotices = 100'000;
  static constexpr std::size_t maxBytes = 64 * 1024 * 1024;

  // True if this is the first notice lost since the queue was last emptied.
  bool push(MoveNotice notice);
  // Waits for notices and moves all of them out, with the stamp of their time. False once stopped.
  bool take(const std::stop_token& stop, std::deque<MoveNotice>& notices, ResetStamp& stamp);
  // Drops what is queued, and makes stamps of before outdated.
  void clear();
  std::size_t size() const;

 private:
  bool hasRoomFor(const MoveNotice& notice) const;
  void dropProgress();
  void dropOldest();

  mutable std::mutex notificationMutex_;
  std::condition_variable_any notificationArrived_;
  std::deque<MoveNotice> notificationQueue_;
  std::size_t bytes_ = 0;
  std::size_t progressNotices_ = 0;
  bool lossTold_ = false;
  std::atomic<std::uint64_t> resets_{0};  // written under the mutex
};

}  // namespace zivra::internal
