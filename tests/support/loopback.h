// Loopback addresses of a test's own.
#pragma once

#include <cstdint>
#include <string>

namespace zivra::test {

// A file descriptor that is closed with its holder.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor() { reset(); }

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  void reset();

 private:
  int fd_;
};

// 127.`network`.x.y, which no other test has as long as this object lives.
class LoopbackAddress {
 public:
  explicit LoopbackAddress(int network);
  const std::string& text() const { return text_; }

 private:
  std::string text_;
  Descriptor reservation_;
};

// A listening socket; throws std::runtime_error if the port is taken.
Descriptor listenOn(const std::string& address, std::uint16_t port, int backlog = 128);

}  // namespace zivra::test
