// A UDP socket over IPv4 that is read without waiting, and a wait for it that another thread can end. Holds
// what is particular to Linux in the state stream.
//
// Threads: one at a time (UdpService takes turns), but for `wake`, which any thread may call at any time.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

namespace zivra::internal::platform {

class DatagramSocket {
 public:
  DatagramSocket() = default;
  ~DatagramSocket();
  DatagramSocket(const DatagramSocket&) = delete;
  DatagramSocket& operator=(const DatagramSocket&) = delete;

  // A socket without options that child processes don't inherit.
  std::error_code open() noexcept;
  // `address` is the text of an IPv6 or IPv4 address; port 0 lets the system choose.
  std::error_code bind(const std::string& address, std::uint16_t port) noexcept;
  std::error_code localPort(std::uint32_t& port) const noexcept;
  void close() noexcept;
  bool isOpen() const noexcept { return fd_ >= 0; }

  static constexpr std::ptrdiff_t nothing = -1;
  // The length of one datagram, cut to `size`; `nothing` if none waits or `ec` is set.
  std::ptrdiff_t receive(char* buffer, std::size_t size, std::error_code& ec) noexcept;
  // Returns when a datagram waits, after the deadline, once somebody has called `wake` since the last
  // `close`, or without reason.
  std::error_code wait(std::chrono::steady_clock::time_point deadline) noexcept;
  void wake() noexcept;

 private:
  int fd_ = -1;
  std::atomic<int> wakeFd_{-1};  // made by the first `open`, and then the same for good
};

// The steady clock as of its last tick, some milliseconds ago at most; a fifth of the price.
std::chrono::steady_clock::time_point lastTick() noexcept;

// The address that the host would send from; empty unless there is a way to that IPv4 address.
std::string addressTowards(const std::string& remoteAddress);

}  // namespace zivra::internal::platform
