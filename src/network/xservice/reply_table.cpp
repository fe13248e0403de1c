#include "network/xservice/reply_table.h"

#include <utility>

namespace zivra::internal {

ReplyTable::Waiter::Waiter(ReplyTable& table, std::uint64_t id) : table_(table), id_(id) {
  const std::lock_guard lock(table_.mutex_);
  next_ = std::exchange(table_.waiters_[channelOf(id_)], this);
  alone_ = table_.waiterCount_++ == 0;
}

ReplyTable::Waiter::~Waiter() {
  const std::lock_guard lock(table_.mutex_);
  Waiter** place = &table_.waiters_[channelOf(id_)];
  while (*place != this) place = &(*place)->next_;
  *place = next_;
  --table_.waiterCount_;
}

ReplyTable::Outcome ReplyTable::Waiter::wait(std::chrono::steady_clock::time_point deadline) noexcept {
  std::unique_lock lock(table_.mutex_);
  while (outcome_ == Outcome::waiting && table_.ended_.waitUntil(lock, channelOf(id_), deadline)) {
  }
  return outcome_;
}

void ReplyTable::putCallback(std::uint64_t id, Callback callback) {
  const std::lock_guard lock(mutex_);
  callbacks_.emplace(id, std::move(callback));
}

ReplyTable::Callback ReplyTable::takeCallback(std::uint64_t id) noexcept {
  Callback callback;
  const std::lock_guard lock(mutex_);
  const auto found = callbacks_.find(id);
  if (found == callbacks_.end()) return callback;
  callback.swap(found->second);
  callbacks_.erase(found);
  return callback;
}

void ReplyTable::clearCallbacks() noexcept {
  std::unordered_map<std::uint64_t, Callback> dropped;  // destroyed without the lock
  const std::lock_guard lock(mutex_);
  dropped.swap(callbacks_);
}

void ReplyTable::deliver(std::uint64_t id, Json::Value& message) noexcept {
  const std::lock_guard lock(mutex_);
  for (Waiter* waiter = waiters_[channelOf(id)]; waiter != nullptr; waiter = waiter->next_) {
    if (waiter->id_ != id || waiter->outcome_ != Outcome::waiting) continue;
    waiter->reply_.swap(message);
    waiter->outcome_ = Outcome::arrived;
    ended_.changed();
    toWake_ |= std::uint32_t{1} << channelOf(id);
    return;
  }
}

void ReplyTable::wake() noexcept { ended_.wake(std::exchange(toWake_, 0)); }

void ReplyTable::lose() noexcept {
  {
    const std::lock_guard lock(mutex_);
    for (Waiter* first : waiters_) {
      for (Waiter* waiter = first; waiter != nullptr; waiter = waiter->next_)
        waiter->outcome_ = Outcome::lost;
    }
    ended_.changed();
  }
  toWake_ = 0;
  ended_.wake(~std::uint32_t{0});
}

}  // namespace zivra::internal
