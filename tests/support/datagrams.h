// State datagrams, and a plain socket that sends them. Shares no code with the library.
#pragma once

#include <arpa/inet.h>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>

#include "support/loopback.h"

namespace zivra::test {

// The bytes of a datagram, value by value.
class Datagram {
 public:
  // Every datagram begins with the time stamp and 20 error flags.
  explicit Datagram(std::uint64_t ts, const std::string& errors = std::string(20, '\0')) {
    add(ts).flags(errors);
  }
  Datagram& flags(const std::string& bytes) { return bytes_ += bytes, *this; }
  template <class Number>
  Datagram& add(Number value) {
    char raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes_.append(raw, sizeof raw);
    return *this;
  }
  // That many reals: first, first + 1, ...
  Datagram& reals(int n, double first) {
    for (int i = 0; i < n; ++i) add(first + i);
    return *this;
  }
  operator const std::string&() const { return bytes_; }  // NOLINT: it is its bytes

 private:
  std::string bytes_;
};

// 20 flags, of which one is set to that byte.
inline std::string errorFlag(std::size_t index, char byte = 1) {
  std::string flags(20, '\0');
  flags[index] = byte;
  return flags;
}

inline Descriptor datagramSocket(const std::string& address = "", std::uint16_t port = 0) {
  Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_in own{};
  own.sin_family = AF_INET;
  own.sin_port = htons(port);
  if (!address.empty()) {
    ::inet_pton(AF_INET, address.c_str(), &own.sin_addr);
    EXPECT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&own), sizeof own), 0);
  }
  return socket;
}

// Once this has returned the datagram waits at the other end, if somebody has bound to it.
inline void sendDatagram(const std::string& bytes, const std::string& address, std::uint32_t port) {
  const Descriptor socket = datagramSocket();
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(static_cast<std::uint16_t>(port));
  ::inet_pton(AF_INET, address.c_str(), &to.sin_addr);
  ::sendto(socket.get(), bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

}  // namespace zivra::test
