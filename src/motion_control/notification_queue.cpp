#include "motion_control/notification_queue.h"

#include <utility>

namespace zivra::internal {

bool NotificationQueue::hasRoomFor(const MoveNotice& notice) const {
  return notificationQueue_.size() < maxNotices && bytes_ + notice.bytes() <= maxBytes;
}

void NotificationQueue::dropProgress() {
  std::erase_if(notificationQueue_, [this](const MoveNotice& notice) {
    if (!notice.isProgress()) return false;
    bytes_ -= notice.bytes();
    return true;
  });
  progressNotices_ = 0;
}

void NotificationQueue::dropOldest() {
  const MoveNotice& oldest = notificationQueue_.front();
  bytes_ -= oldest.bytes();
  if (oldest.isProgress()) --progressNotices_;
  notificationQueue_.pop_front();
}

bool NotificationQueue::push(MoveNotice notice) {
  bool firstLoss = false;
  {
    const std::lock_guard lock(notificationMutex_);
    const bool progress = notice.isProgress();
    if (!hasRoomFor(notice)) {
      firstLoss = !std::exchange(lossTold_, true);
      if (progress) return firstLoss;
      // A sweep goes through the whole queue; it isn't worth that for a few.
      if (progressNotices_ > maxNotices / 16) dropProgress();
      while (!hasRoomFor(notice) && !notificationQueue_.empty()) dropOldest();
    }
    bytes_ += notice.bytes();
    if (progress) ++progressNotices_;
    notificationQueue_.push_back(std::move(notice));
  }
  notificationArrived_.notify_all();
  return firstLoss;
}

bool NotificationQueue::take(const std::stop_token& stop, std::deque<MoveNotice>& notices,
                             ResetStamp& stamp) {
  notices.clear();
  std::unique_lock lock(notificationMutex_);
  notificationArrived_.wait(lock, stop, [this] { return !notificationQueue_.empty(); });
  if (stop.stop_requested()) return false;
  notices.swap(notificationQueue_);
  bytes_ = 0;
  progressNotices_ = 0;
  lossTold_ = false;
  stamp = {&resets_, resets_.load()};
  return true;
}

void NotificationQueue::clear() {
  std::deque<MoveNotice> dropped;  // freed without the lock
  const std::lock_guard lock(notificationMutex_);
  dropped.swap(notificationQueue_);
  bytes_ = 0;
  progressNotices_ = 0;
  lossTold_ = false;
  ++resets_;
}

std::size_t NotificationQueue::size() const {
  const std::lock_guard lock(notificationMutex_);
  return notificationQueue_.size();
}

}  // namespace zivra::internal
