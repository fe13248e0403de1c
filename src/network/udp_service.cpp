#include "network/udp_service.h"

#include <algorithm>
#include <arpa/inet.h>
#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>
#include <utility>

#include <zivra/error.h>

#include "core/library_message.h"

namespace zivra {

namespace {

using std::chrono::nanoseconds;
using Clock = std::chrono::steady_clock;

// Far enough for anybody who wants to wait without end, and no clock runs over.
constexpr std::chrono::hours longestTimeout{24 * 365};

Clock::time_point after(Clock::time_point now, nanoseconds timeout) {
  return now + std::min<nanoseconds>(timeout, longestTimeout);
}

bool isAddress(const std::string& host) {
  in_addr ignored{};
  return ::inet_pton(AF_INET, host.c_str(), &ignored) == 1;
}

}  // namespace

UdpService::Turn::Turn(UdpService& service) : service_(service), held_(take(std::nullopt)) {}

UdpService::Turn::Turn(UdpService& service, nanoseconds& timeout) : service_(service), held_(true) {
  int expected = available;
  if (service.turn_.compare_exchange_strong(expected, taken)) return;
  const auto begin = Clock::now();
  held_ = take(after(begin, timeout));
  timeout -= Clock::now() - begin;
}

bool UdpService::Turn::take(std::optional<Clock::time_point> deadline) {
  std::unique_lock lock(service_.turnMutex_);
  while (service_.turn_.exchange(contended) != available) {
    if (!deadline) {
      service_.turnFree_.wait(lock);
    } else if (Clock::now() >= *deadline) {
      return false;
    } else {
      service_.turnFree_.wait_until(lock, *deadline);
    }
  }
  return true;
}

UdpService::Turn::~Turn() {
  if (!held_ || service_.turn_.exchange(available) != contended) return;
  // Whoever has announced to wait does so by now.
  { const std::lock_guard lock(service_.turnMutex_); }
  service_.turnFree_.notify_all();
}

UdpService::~UdpService() { UdpService::close(); }

void UdpService::setup(std::uint32_t port, const std::string& remoteHost, const std::string& localAddress) {
  localAddress_ = localAddress;
  port_ = port;
  if (isAddress(remoteHost)) return;
  using asio::ip::udp;
  asio::io_context context(1);
  udp::resolver(context).resolve(udp::v4(), remoteHost, std::to_string(port),
                                 udp::resolver::passive | udp::resolver::address_configured);
}

void UdpService::open(std::error_code& ec, bool fallback) noexcept {
  if (isOpen()) close();
  const Turn turn(*this);
  ec = socket_.open();
  if (!ec) ec = socket_.bind(localAddress_, static_cast<std::uint16_t>(port_));
  if (ec && fallback && socket_.isOpen()) {
    ec = socket_.bind(localAddress_, 0);
    if (!ec) ec = socket_.localPort(port_);
  }
  if (ec) {
    socket_.close();
  } else {
    openState_ = opened;
  }
}

void UdpService::open(bool fallback) noexcept {
  std::error_code ignored;
  open(ignored, fallback);
}

void UdpService::close() noexcept {
  closing_.fetch_add(1);
  socket_.wake();
  const Turn turn(*this);
  socket_.close();
  openState_ = closed;
  closing_.fetch_sub(1);
}

std::optional<std::size_t> UdpService::receive(char (&buffer)[longestDatagram], nanoseconds timeout) {
  Receive mine{buffer, std::nullopt};
  underWay_ = &mine;
  runFor(timeout);
  return mine.bytes;
}

std::size_t UdpService::runFor(nanoseconds timeout) {
  Receive* const receive = std::exchange(underWay_, nullptr);
  if (receive == nullptr || !socket_.isOpen()) return 0;
  std::optional<Clock::time_point> deadline;
  for (;;) {
    std::error_code ec;
    const std::ptrdiff_t bytes = socket_.receive(receive->buffer, longestDatagram, ec);
    if (bytes >= 0) {
      receive->bytes = static_cast<std::size_t>(bytes);
      return 1;
    }
    // The clock is asked only if nothing was there: a stream that is behind is read at the socket's speed.
    const auto now = Clock::now();
    if (!deadline) deadline = after(now, timeout);
    if (!ec && (closing_.load() != 0 || now >= *deadline)) return 1;
    if (!ec) ec = socket_.wait(*deadline);
    if (ec) {
      throw NetworkException(internal::libraryMessage(internal::Message::socketNotOpened) + ec.message());
    }
  }
}

}  // namespace zivra
