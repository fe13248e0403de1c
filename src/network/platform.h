// What is particular to Linux in the links: socket options, descriptors, and waking a chosen few of many
// waiters at once. Any thread.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <sys/uio.h>

namespace zivra::internal::platform {

// A TCP socket that child processes don't inherit, with address reuse and keep-alive (60 s idle, a probe
// every 3 s). -1 if there is none to be had.
int openTcpSocket(int family) noexcept;
void closeSocket(int fd) noexcept;
// Ends both directions; whoever reads the socket sees its end.
void shutDownSocket(int fd) noexcept;

struct Written {
  std::size_t bytes = 0;
  bool broken = false;  // the connection is of no use any more
};
// One gathered write that doesn't wait and raises no signal; nothing written means that the socket is full.
Written writeGathered(int fd, iovec* parts, std::size_t count) noexcept;

// A condition on which each waiter waits for one channel of 32, and any set of channels is woken by one call
// of the kernel: waking a batch of waiters one by one lets each of them interrupt the waker.
class ChannelCondition {
 public:
  static constexpr unsigned channels = 32;

  // Unlocks, sleeps until the channel is woken or the deadline has passed, and locks again; may also return
  // without reason. False after the deadline.
  bool waitUntil(std::unique_lock<std::mutex>& lock, unsigned channel,
                 std::chrono::steady_clock::time_point deadline) noexcept;
  // With the waiters' mutex held, after what they wait for has changed; `wake` is to follow.
  void changed() noexcept { version_.fetch_add(1); }
  // Wakes the channels whose bits are set. Best without the mutex.
  void wake(std::uint32_t channelBits) noexcept;

 private:
  std::atomic<std::uint32_t> version_{0};
};

}  // namespace zivra::internal::platform
