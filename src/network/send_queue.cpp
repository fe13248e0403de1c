#include "network/send_queue.h"

#include <array>

#include "network/platform.h"

namespace zivra::internal {

namespace {

constexpr std::size_t maxParts = 128;  // frames of one gathered write
constexpr int maxWritesPerFlush = 16;
constexpr std::size_t frameOverhead = 96;  // an emptied frame costs memory too

}  // namespace

SendQueue::SendQueue(std::size_t maxQueuedBytes, std::optional<char> mark)
    : maxQueuedBytes_(maxQueuedBytes), mark_(mark) {}

void SendQueue::open(int fd, std::uint64_t generation) {
  const std::lock_guard lock(mutex_);
  fd_ = fd;
  generation_ = generation;
  full_ = broken_ = wakeUnderWay_ = withdrawnMeanwhile_ = false;
}

void SendQueue::close() noexcept {
  std::unique_lock lock(mutex_);
  generation_ = 0;
  writeEnded_.wait(lock, [this] { return !writing_; });
  fd_ = -1;
  queuedBytes_ = 0;
  if (!frames_.empty()) {
    firstDropped_ = frames_.front().ticket;
    lastDropped_ = lastDone_ = lastTicket_;
  }
  std::deque<Frame> dropped;
  dropped.swap(frames_);
  lock.unlock();
}

bool SendQueue::writable() const noexcept {
  return generation_ != 0 && !writing_ && !full_ && !broken_ && !frames_.empty();
}

SendReceipt SendQueue::send(std::string&& frame, std::uint64_t generation, bool atOnce,
                            const SendGate& gate) {
  std::unique_lock lock(mutex_);
  if (generation == 0 || generation != generation_ || broken_ || queuedBytes_ >= maxQueuedBytes_) return {};
  if (!gate.open()) return {SendResult::gateShut, 0, false};

  const std::size_t bytes = frame.size() + frameOverhead;
  frames_.push_back(Frame{std::move(frame), 0, lastTicket_ + 1, false});
  queuedBytes_ += bytes;
  const std::uint64_t ticket = ++lastTicket_;

  // The second write takes what others queued during the first; from then on it is the network thread's.
  for (int i = 0; atOnce && i < 2 && writable(); ++i) writeOnce(lock);
  if (generation != generation_) return {};
  if (broken_) {
    const bool written = frames_.empty() || frames_.front().ticket > ticket;
    return {written ? SendResult::accepted : SendResult::refused, ticket, false};
  }
  const bool wake = writable() && !wakeUnderWay_;
  if (wake) wakeUnderWay_ = true;
  return {SendResult::accepted, ticket, wake};
}

void SendQueue::withdraw(std::uint64_t ticket) noexcept {
  const std::lock_guard lock(mutex_);
  if (frames_.empty() || ticket < frames_.front().ticket) return;
  const std::uint64_t index = ticket - frames_.front().ticket;
  if (index >= frames_.size()) return;
  Frame& frame = frames_[index];
  if (!writing_) return endWithdrawn(frame);
  frame.withdrawn = withdrawnMeanwhile_ = true;
}

std::optional<std::size_t> SendQueue::unwritten(std::uint64_t ticket) noexcept {
  const std::lock_guard lock(mutex_);
  if (ticket >= firstDropped_ && ticket <= lastDropped_) return std::nullopt;
  if (ticket <= lastDone_) return 0;
  const std::uint64_t index = ticket - lastDone_ - 1;
  if (index >= frames_.size()) return std::nullopt;
  return frames_[index].text.size() - frames_[index].written;
}

SendQueue::Flush SendQueue::flush() noexcept {
  std::unique_lock lock(mutex_);
  wakeUnderWay_ = full_ = false;
  for (int i = 0; i < maxWritesPerFlush && writable(); ++i) {
    const std::size_t before = queuedBytes_;
    writeOnce(lock);
    if (generation_ != 0 && !broken_ && !frames_.empty() && queuedBytes_ >= before) {
      full_ = true;
      return Flush::full;
    }
  }
  if (!writable()) return Flush::done;
  wakeUnderWay_ = true;
  return Flush::more;
}

void SendQueue::writeOnce(std::unique_lock<std::mutex>& lock) noexcept {
  std::array<iovec, maxParts> parts;
  std::size_t count = 0;
  for (Frame& frame : frames_) {
    if (frame.text.size() == frame.written) continue;
    parts[count++] = {frame.text.data() + frame.written, frame.text.size() - frame.written};
    if (count == parts.size()) break;
  }
  const int fd = fd_;
  writing_ = true;
  lock.unlock();
  platform::Written written;
  if (count != 0) written = platform::writeGathered(fd, parts.data(), count);
  if (written.broken) platform::shutDownSocket(fd);
  lock.lock();
  writing_ = false;
  if (generation_ == 0) {
    writeEnded_.notify_all();
    return;
  }
  broken_ = written.broken;
  consume(written.bytes);
}

void SendQueue::consume(std::size_t bytes) noexcept {
  while (!frames_.empty()) {
    Frame& front = frames_.front();
    const std::size_t rest = front.text.size() - front.written;
    if (bytes < rest) {
      front.written += bytes;
      queuedBytes_ -= bytes;
      break;
    }
    bytes -= rest;
    popFront();
  }
  if (!withdrawnMeanwhile_) return;
  withdrawnMeanwhile_ = false;
  for (Frame& frame : frames_) {
    if (frame.withdrawn) endWithdrawn(frame);
  }
}

void SendQueue::endWithdrawn(Frame& frame) noexcept {
  frame.withdrawn = false;
  const std::size_t rest = frame.text.size() - frame.written;
  std::string shortened;  // frees the text's memory
  if (frame.written != 0) {
    if (!mark_ || rest <= 1) return;
    shortened.assign(1, *mark_);
  }
  queuedBytes_ -= rest - shortened.size();
  frame.text.swap(shortened);
  frame.written = 0;
}

void SendQueue::popFront() noexcept {
  const Frame& front = frames_.front();
  lastDone_ = front.ticket;
  queuedBytes_ -= front.text.size() - front.written + frameOverhead;
  frames_.pop_front();
}

}  // namespace zivra::internal
