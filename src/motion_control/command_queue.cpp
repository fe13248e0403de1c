#include "motion_control/command_queue.h"

#include <algorithm>
#include <utility>

namespace zivra::internal {

bool CommandQueue::ready() const {
  return !commandQueue_.empty() && !sending_ && holds_ == 0 && inFlight_ < maxCacheSize_;
}

PendingCommand CommandQueue::takeFirst() {
  PendingCommand first = std::move(commandQueue_.front());
  commandQueue_.pop_front();
  return first;
}

void CommandQueue::push(PendingCommand command) {
  std::unique_lock lock(queueMutex_);
  const bool first = commandQueue_.empty();
  commandQueue_.push_back(std::move(command));
  if (!first || !ready()) {
    queueChanged_.notify_all();
    return;
  }
  do {
    _sendCommand(lock, takeFirst());
    lock.lock();
    // Without a sender thread nobody else would take what other callers queued meanwhile.
  } while (senders_ == 0 && ready());
}

void CommandQueue::sendUntil(const std::stop_token& stop) {
  std::unique_lock lock(queueMutex_);
  ++senders_;
  while (queueChanged_.wait(lock, stop, [this] { return ready(); }) && !stop.stop_requested()) {
    _sendCommand(lock, takeFirst());
    lock.lock();
  }
  --senders_;
}

// Entered with the lock and left without it.
void CommandQueue::_sendCommand(std::unique_lock<std::mutex>& lock, PendingCommand command) {
  sending_ = true;
  const std::uint64_t wipesBefore = wipes_;
  const XService::Gate gate{&epoch_, epoch_.load()};
  // Counted before it is sent: the finish notice may be quicker than this thread.
  const std::uint64_t counted = command.counted ? command.count : 0;
  inFlight_ += counted;
  lock.unlock();

  std::error_code ec;
  send_(command, gate, ec);

  lock.lock();
  sending_ = false;
  const bool wiped = wipes_ != wipesBefore;  // then it is as if it had still been in the queue
  const bool putBack = !wiped && ec == std::errc::operation_canceled;
  if (ec) inFlight_ -= std::min(inFlight_, counted);
  if (putBack) commandQueue_.push_front(std::move(command));
  const bool more = !commandQueue_.empty();
  lock.unlock();
  if (more) queueChanged_.notify_all();
  if (ec && !wiped && !putBack) failed_(command, ec);
}

void CommandQueue::wipe(ResetStamp stamp) {
  std::deque<PendingCommand> dropped;  // freed without the lock
  const std::lock_guard lock(queueMutex_);
  if (!stamp.current()) return;
  dropped.swap(commandQueue_);
  inFlight_ = 0;
  ++wipes_;
  ++epoch_;
}

void CommandQueue::finishOne(ResetStamp stamp) {
  {
    const std::lock_guard lock(queueMutex_);
    if (!stamp.current() || inFlight_ == 0) return;
    --inFlight_;
  }
  queueChanged_.notify_all();
}

void CommandQueue::hold() {
  const std::lock_guard lock(queueMutex_);
  ++holds_;
  ++epoch_;
}

void CommandQueue::release() {
  {
    const std::lock_guard lock(queueMutex_);
    --holds_;
  }
  queueChanged_.notify_all();
}

void CommandQueue::setMaxCacheSize(int size) {
  {
    const std::lock_guard lock(queueMutex_);
    maxCacheSize_ = static_cast<std::uint64_t>(std::clamp(size, 1, 1000));
  }
  queueChanged_.notify_all();
}

std::uint64_t CommandQueue::inFlight() const {
  const std::lock_guard lock(queueMutex_);
  return inFlight_;
}

std::size_t CommandQueue::size() const {
  const std::lock_guard lock(queueMutex_);
  return commandQueue_.size();
}

}  // namespace zivra::internal
