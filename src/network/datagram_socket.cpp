#include "network/datagram_socket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

namespace zivra::internal::platform {

namespace {

std::error_code lastError() noexcept { return {errno, std::system_category()}; }

template <class Address>
const sockaddr* generic(const Address& address) noexcept {
  return reinterpret_cast<const sockaddr*>(&address);
}

}  // namespace

DatagramSocket::~DatagramSocket() {
  close();
  if (const int fd = wakeFd_.load(); fd >= 0) ::close(fd);
}

std::error_code DatagramSocket::open() noexcept {
  if (wakeFd_.load() < 0) {
    const int fd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (fd < 0) return lastError();
    wakeFd_ = fd;
  }
  fd_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  return fd_ < 0 ? lastError() : std::error_code();
}

std::error_code DatagramSocket::bind(const std::string& address, std::uint16_t port) noexcept {
  int result = -1;
  sockaddr_in v4{};
  sockaddr_in6 v6{};
  if (::inet_pton(AF_INET, address.c_str(), &v4.sin_addr) == 1) {
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    result = ::bind(fd_, generic(v4), sizeof v4);
  } else if (::inet_pton(AF_INET6, address.c_str(), &v6.sin6_addr) == 1) {
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    result = ::bind(fd_, generic(v6), sizeof v6);
  } else {
    return std::make_error_code(std::errc::invalid_argument);
  }
  return result != 0 ? lastError() : std::error_code();
}

std::error_code DatagramSocket::localPort(std::uint32_t& port) const noexcept {
  sockaddr_in bound{};
  socklen_t length = sizeof bound;
  if (::getsockname(fd_, reinterpret_cast<sockaddr*>(&bound), &length) != 0) return lastError();
  port = ntohs(bound.sin_port);
  return {};
}

void DatagramSocket::close() noexcept {
  eventfd_t ignored = 0;
  if (const int fd = wakeFd_.load(); fd >= 0) ::eventfd_read(fd, &ignored);
  if (fd_ < 0) return;
  ::shutdown(fd_, SHUT_RDWR);
  ::close(fd_);
  fd_ = -1;
}

std::ptrdiff_t DatagramSocket::receive(char* buffer, std::size_t size, std::error_code& ec) noexcept {
  for (;;) {
    const ssize_t got = ::recv(fd_, buffer, size, MSG_DONTWAIT);
    if (got >= 0) return got;
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) ec = lastError();
    return nothing;
  }
}

std::error_code DatagramSocket::wait(std::chrono::steady_clock::time_point deadline) noexcept {
  using std::chrono::nanoseconds;
  using std::chrono::seconds;
  const nanoseconds left = deadline - std::chrono::steady_clock::now();
  if (left <= nanoseconds::zero()) return {};
  const auto whole = std::chrono::floor<seconds>(left);
  const timespec limit{static_cast<time_t>(whole.count()), static_cast<long>((left - whole).count())};
  pollfd waited[] = {{fd_, POLLIN, 0}, {wakeFd_.load(), POLLIN, 0}};
  // Nanoseconds: a time-out of the socket's own would be rounded up to ticks of the kernel.
  if (::ppoll(waited, 2, &limit, nullptr) < 0 && errno != EINTR) return lastError();
  return {};
}

void DatagramSocket::wake() noexcept {
  if (const int fd = wakeFd_.load(); fd >= 0) ::eventfd_write(fd, 1);
}

std::chrono::steady_clock::time_point lastTick() noexcept {
  timespec tick{};
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &tick);
  return std::chrono::steady_clock::time_point(std::chrono::seconds(tick.tv_sec) +
                                               std::chrono::nanoseconds(tick.tv_nsec));
}

std::string addressTowards(const std::string& remoteAddress) {
  sockaddr_in remote{};
  remote.sin_family = AF_INET;
  remote.sin_port = htons(9);  // any will do: connecting a datagram socket sends nothing
  if (::inet_pton(AF_INET, remoteAddress.c_str(), &remote.sin_addr) != 1) return {};
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  if (fd < 0) return {};
  sockaddr_in local{};
  socklen_t length = sizeof local;
  char text[INET_ADDRSTRLEN] = "";
  if (::connect(fd, generic(remote), sizeof remote) == 0 &&
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &length) == 0) {
    ::inet_ntop(AF_INET, &local.sin_addr, text, sizeof text);
  }
  ::close(fd);
  return text;
}

}  // namespace zivra::internal::platform
