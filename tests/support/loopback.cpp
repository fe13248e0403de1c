#include "support/loopback.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <functional>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace zivra::test {

namespace {

constexpr std::uint16_t reservationPort = 59999;

sockaddr_in endpoint(const std::string& address, std::uint16_t port) {
  sockaddr_in out{};
  out.sin_family = AF_INET;
  out.sin_port = htons(port);
  if (::inet_pton(AF_INET, address.c_str(), &out.sin_addr) != 1)
    throw std::runtime_error("no address: " + address);
  return out;
}

template <class Call>
bool apply(Call call, int fd, const std::string& address, std::uint16_t port) {
  const sockaddr_in at = endpoint(address, port);
  return call(fd, reinterpret_cast<const sockaddr*>(&at), sizeof at) == 0;
}

[[noreturn]] void fail(const char* what, const std::string& address, std::uint16_t port) {
  throw std::system_error(errno, std::generic_category(), fmt::format("{} {}:{}", what, address, port));
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    reset();
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

void Descriptor::reset() {
  if (fd_ >= 0) ::close(std::exchange(fd_, -1));
}

LoopbackAddress::LoopbackAddress(int network) {
  std::string name = "none";
  if (const auto* test = testing::UnitTest::GetInstance()->current_test_info()) {
    name = std::string(test->test_suite_name()) + "." + test->name();
  }
  // A bound datagram socket marks an address as taken, whatever happens to the streams there.
  std::size_t at = std::hash<std::string>()(name);
  for (int attempt = 0; attempt < 1000; ++attempt, ++at) {
    text_ = fmt::format("127.{}.{}.{}", network, at / 250 % 250 + 1, at % 250 + 1);
    Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (apply(::bind, socket.get(), text_, reservationPort)) {
      reservation_ = std::move(socket);
      return;
    }
  }
  throw std::runtime_error("no free loopback address");
}

Descriptor listenOn(const std::string& address, std::uint16_t port, int backlog) {
  Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int on = 1;
  ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (!apply(::bind, socket.get(), address, port) || ::listen(socket.get(), backlog) != 0) {
    fail("listening on", address, port);
  }
  return socket;
}

}  // namespace zivra::test
