#include "network/socket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace zivra::sim {

namespace {

std::string systemText(int error) { return std::generic_category().message(error); }

Socket::Result judge(ssize_t count) {
  using enum Socket::Outcome;
  if (count > 0) return {done, static_cast<std::size_t>(count)};
  if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) return {wouldBlock, 0};
  return {ended, 0};
}

// Nothing if the address is none.
std::optional<sockaddr_in> endpoint(const std::string& address, std::uint16_t port) {
  sockaddr_in where{};
  where.sin_family = AF_INET;
  where.sin_port = htons(port);
  if (::inet_pton(AF_INET, address.c_str(), &where.sin_addr) != 1) return std::nullopt;
  return where;
}

void switchOn(int descriptor, int level, int option) {
  const int on = 1;
  ::setsockopt(descriptor, level, option, &on, sizeof on);
}

}  // namespace

void Socket::close() {
  if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
}

void Socket::closeWithReset() {
  const linger atOnce{1, 0};
  if (descriptor_ >= 0) ::setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  close();
}

Socket::Result Socket::read(char* buffer, std::size_t size) const {
  return judge(::recv(descriptor_, buffer, size, 0));
}

Socket::Result Socket::write(const char* data, std::size_t size) const {
  return judge(::send(descriptor_, data, size, MSG_NOSIGNAL));
}

Socket listenOn(const std::string& address, std::uint16_t port) {
  auto fail = [&](const std::string& why) -> std::runtime_error {
    return std::runtime_error(fmt::format("can't listen on {}:{}: {}", address, port, why));
  };
  const auto where = endpoint(address, port);
  if (!where) throw fail("not an IPv4 address");

  Socket listener(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!listener.isOpen()) throw fail(systemText(errno));
  switchOn(listener.descriptor(), SOL_SOCKET, SO_REUSEADDR);
  if (::bind(listener.descriptor(), reinterpret_cast<const sockaddr*>(&*where), sizeof *where) != 0 ||
      ::listen(listener.descriptor(), SOMAXCONN) != 0)
    throw fail(systemText(errno));
  return listener;
}

DatagramSocket::DatagramSocket(const std::string& address) {
  const auto where = endpoint(address, 0);
  Socket socket(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (where && socket.isOpen() &&
      ::bind(socket.descriptor(), reinterpret_cast<const sockaddr*>(&*where), sizeof *where) == 0)
    socket_ = std::move(socket);
}

bool DatagramSocket::send(const std::string& address, std::uint16_t port, const std::string& bytes) const {
  const auto where = endpoint(address, port);
  if (!where || !socket_.isOpen()) return false;
  return ::sendto(socket_.descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                  reinterpret_cast<const sockaddr*>(&*where), sizeof *where) >= 0;
}

Accepted acceptFrom(const Socket& listener) {
  Accepted accepted;
  accepted.socket = Socket(::accept4(listener.descriptor(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!accepted.socket.isOpen())
    accepted.exhausted = errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
  else
    switchOn(accepted.socket.descriptor(), IPPROTO_TCP, TCP_NODELAY);
  return accepted;
}

void waitForEvents(std::vector<pollfd>& watched, std::optional<std::chrono::nanoseconds> limit) {
  timespec span{};
  if (limit) {
    const auto nanoseconds = std::max<std::int64_t>(0, limit->count());
    span.tv_sec = static_cast<time_t>(nanoseconds / 1'000'000'000);
    span.tv_nsec = static_cast<long>(nanoseconds % 1'000'000'000);
  }
  // A failed wait leaves the results unwritten: nothing must look as if it had happened.
  if (::ppoll(watched.data(), watched.size(), limit ? &span : nullptr, nullptr) < 0)
    for (pollfd& one : watched) one.revents = 0;
}

Wakeup::Wakeup() {
  int ends[2];
  if (::pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0)
    throw std::runtime_error("can't make the wake-up pipe: " + systemText(errno));
  reading_ = Socket(ends[0]);
  writing_ = Socket(ends[1]);
}

void Wakeup::wake() const {
  // A full pipe wakes just as well.
  [[maybe_unused]] const auto written = ::write(writing_.descriptor(), "", 1);
}

void Wakeup::clear() const {
  char bytes[256];
  while (::read(reading_.descriptor(), bytes, sizeof bytes) == sizeof bytes) {
  }
}

}  // namespace zivra::sim
