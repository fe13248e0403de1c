// The socket of the state stream and the timed receive. What a datagram means is DataReceiver's matter.
//
// Threads: `setup` and `open` are for one thread at a time. `close` may be called from any thread at any
// time: a receive that waits comes back at once, with nothing. Those who receive take turns, within their
// time-outs; there is no thread of its own.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>

#include <zivra/base.h>

#include "network/datagram_socket.h"

namespace zivra {

class UdpService : protected Base<UdpService> {
 public:
  static constexpr std::size_t longestDatagram = 1052;

  UdpService() = default;
  virtual ~UdpService();
  UdpService(const UdpService&) = delete;
  UdpService& operator=(const UdpService&) = delete;

  // Binds to the local address and port; with `fallback` to another port if that one can't be had, and
  // `boundPort` is that one from then on. On failure it stays closed.
  virtual void open(std::error_code& ec, bool fallback) noexcept;
  virtual void open(bool fallback) noexcept;
  virtual void close() noexcept;
  // Completes the receive under way, by a datagram, by the time-out or because the socket is being closed;
  // the number of receives completed. Throws NetworkException.
  virtual std::size_t runFor(std::chrono::nanoseconds timeout);

  // Throws std::system_error if `remoteHost` has no IPv4 address.
  void setup(std::uint32_t port, const std::string& remoteHost, const std::string& localAddress);
  bool isOpen() const noexcept { return openState_.load() == opened; }
  std::uint32_t boundPort() const noexcept { return port_; }

 protected:
  // The right to receive, for as long as it lives.
  class Turn {
   public:
    // Waits as long as it takes: for the owner of `closing_`, whom nobody keeps waiting.
    explicit Turn(UdpService& service);
    // Waits for whoever receives at the moment, and takes that off the time-out.
    Turn(UdpService& service, std::chrono::nanoseconds& timeout);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    bool held() const noexcept { return held_; }

   private:
    bool take(std::optional<std::chrono::steady_clock::time_point> deadline);

    UdpService& service_;
    bool held_;
  };

  // The length of one datagram, from whomever it is, cut to the size of the buffer; nothing if none came in
  // time. Within a turn.
  std::optional<std::size_t> receive(char (&buffer)[longestDatagram], std::chrono::nanoseconds timeout);

 private:
  enum OpenState : int { opened = 1, closed = 2 };
  enum TurnState : int { available, taken, contended };
  struct Receive {
    char* buffer;
    std::optional<std::size_t> bytes;
  };

  internal::platform::DatagramSocket socket_;  // within a turn
  Receive* underWay_ = nullptr;                // within a turn
  std::string localAddress_;
  std::uint32_t port_ = 0;  // to bind to, then the one really bound
  std::atomic<int> openState_{closed};

  std::atomic<int> closing_{0};  // how many threads want the socket closed
  std::atomic<int> turn_{available};
  std::mutex turnMutex_;  // for the wait of those who find it taken
  std::condition_variable turnFree_;
};

}  // namespace zivra
