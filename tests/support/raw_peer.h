// The peer of a link, byte by byte: the test says what each connection reads and writes, or leaves undone.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

#include "support/loopback.h"
#include "support/waiting.h"

namespace zivra::test {

inline bool readable(const Descriptor& socket, std::chrono::milliseconds limit) {
  pollfd waited{socket.get(), POLLIN, 0};
  return ::poll(&waited, 1, static_cast<int>(limit.count())) == 1;
}

// The peer's end of one connection. One thread reads and one writes.
class RawConnection {
 public:
  RawConnection() = default;
  explicit RawConnection(int fd) : socket_(fd) {}

  int fd() const { return socket_.get(); }
  bool send(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }
  // The next frame without its CR; nothing after the limit or at the connection's end.
  std::optional<std::string> frame(std::chrono::milliseconds limit = longestWait) {
    for (;;) {
      const auto end = unread_.find('\r');
      if (end != std::string::npos) {
        std::string text = unread_.substr(0, end);
        unread_.erase(0, end + 1);
        return text;
      }
      if (!readable(socket_, limit) || !readSome()) return std::nullopt;
    }
  }
  // So many bytes, or what there is of them at the connection's end or after the limit.
  std::string bytes(std::size_t count) {
    while (unread_.size() < count && readable(socket_, longestWait) && readSome()) {
    }
    std::string taken = unread_.substr(0, count);
    unread_.erase(0, count);
    return taken;
  }
  // Everything up to the connection's end.
  std::string rest() {
    while (readable(socket_, longestWait) && readSome()) {
    }
    return std::exchange(unread_, {});
  }
  void close() { socket_.reset(); }
  void reset() {
    const linger hard{1, 0};
    ::setsockopt(fd(), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    close();
  }

 private:
  bool readSome() {
    char bytes[65536];
    const ssize_t got = ::recv(fd(), bytes, sizeof bytes, 0);
    if (got <= 0) return false;
    unread_.append(bytes, static_cast<std::size_t>(got));
    return true;
  }

  Descriptor socket_;
  std::string unread_;
};

class RawPeer {
 public:
  static constexpr std::uint16_t port = 6666;

  RawPeer() : address_(20) { listen(); }
  const std::string& address() const { return address_.text(); }
  void listen() { listener_ = listenOn(address(), port); }
  void shut() { listener_.reset(); }
  // From now on attempts to connect hear nothing: the one connection that waits here is never accepted.
  void beBlackHole() {
    listener_ = Descriptor();
    listener_ = listenOn(address(), port, 0);
    filler_ = Descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_port = htons(port);
    ::inet_pton(AF_INET, address().c_str(), &where.sin_addr);
    if (::connect(filler_.get(), reinterpret_cast<const sockaddr*>(&where), sizeof where) != 0) {
      ADD_FAILURE() << "can't fill the backlog";
    }
  }
  // Connections to come are full soon if nobody reads them.
  void takeLittle() {
    const int size = 4096;
    ::setsockopt(listener_.get(), SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
  }
  bool somebodyConnects(std::chrono::milliseconds limit) const { return readable(listener_, limit); }
  RawConnection accept() {
    if (!somebodyConnects(longestWait)) {
      ADD_FAILURE() << "nobody connected";
      return {};
    }
    return RawConnection(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
  }

 private:
  LoopbackAddress address_;
  Descriptor listener_, filler_;
};

}  // namespace zivra::test
