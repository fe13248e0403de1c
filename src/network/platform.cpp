#include "network/platform.h"

#include <cerrno>
#include <climits>
#include <linux/futex.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zivra::internal::platform {

namespace {

constexpr int keepAliveIdleSeconds = 60;
constexpr int keepAliveIntervalSeconds = 3;

void setOption(int fd, int level, int option, int value) noexcept {
  ::setsockopt(fd, level, option, &value, sizeof value);
}

}  // namespace

int openTcpSocket(int family) noexcept {
  const int fd = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
  if (fd < 0) return -1;
  setOption(fd, SOL_SOCKET, SO_REUSEADDR, 1);
  setOption(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
  setOption(fd, IPPROTO_TCP, TCP_KEEPIDLE, keepAliveIdleSeconds);
  setOption(fd, IPPROTO_TCP, TCP_KEEPINTVL, keepAliveIntervalSeconds);
  return fd;
}

void closeSocket(int fd) noexcept { ::close(fd); }

void shutDownSocket(int fd) noexcept { ::shutdown(fd, SHUT_RDWR); }

Written writeGathered(int fd, iovec* parts, std::size_t count) noexcept {
  msghdr message{};
  message.msg_iov = parts;
  message.msg_iovlen = count;
  for (;;) {
    const ssize_t sent = ::sendmsg(fd, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent >= 0) return {static_cast<std::size_t>(sent), false};
    if (errno == EINTR) continue;
    // The kernel being out of buffers for a moment is like a full socket.
    return {0, errno != EAGAIN && errno != EWOULDBLOCK && errno != ENOBUFS && errno != ENOMEM};
  }
}

bool ChannelCondition::waitUntil(std::unique_lock<std::mutex>& lock, unsigned channel,
                                 std::chrono::steady_clock::time_point deadline) noexcept {
  static_assert(sizeof version_ == sizeof(std::uint32_t) && std::atomic<std::uint32_t>::is_always_lock_free);
  // Read under the mutex: a change from here on makes the kernel return at once.
  const std::uint32_t version = version_.load();
  const auto sinceStart = deadline.time_since_epoch();
  const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceStart);
  const timespec until{static_cast<time_t>(seconds.count()),
                       static_cast<long>(std::chrono::nanoseconds(sinceStart - seconds).count())};
  lock.unlock();
  // The absolute time is that of the monotonic clock, which is the steady clock.
  const long result = ::syscall(SYS_futex, &version_, FUTEX_WAIT_BITSET_PRIVATE, version, &until, nullptr,
                                std::uint32_t{1} << channel);
  const bool late = result != 0 && errno == ETIMEDOUT;
  lock.lock();
  return !late;
}

void ChannelCondition::wake(std::uint32_t channelBits) noexcept {
  if (channelBits == 0) return;
  ::syscall(SYS_futex, &version_, FUTEX_WAKE_BITSET_PRIVATE, INT_MAX, nullptr, nullptr, channelBits);
}

}  // namespace zivra::internal::platform
