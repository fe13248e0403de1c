// The few operating-system calls behind the simulated links; everything that is particular to one system is
// in socket.cpp. No class here locks: a Wakeup may be woken from any thread, the rest belongs to one thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <poll.h>
#include <string>
#include <utility>
#include <vector>

namespace zivra::sim {

// Owns one descriptor: non-blocking, closed on exec.
class Socket {
 public:
  Socket() = default;
  explicit Socket(int descriptor) : descriptor_(descriptor) {}
  Socket(Socket&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Socket& operator=(Socket&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~Socket() { close(); }

  int descriptor() const { return descriptor_; }
  bool isOpen() const { return descriptor_ >= 0; }
  void close();
  void closeWithReset();  // the peer sees a broken link instead of an orderly end

  enum class Outcome { done, wouldBlock, ended };
  struct Result {
    Outcome outcome;
    std::size_t bytes;
  };
  Result read(char* buffer, std::size_t size) const;
  Result write(const char* data, std::size_t size) const;

 private:
  int descriptor_ = -1;
};

// Throws std::runtime_error with the address and the system's text if the address can't be had.
Socket listenOn(const std::string& address, std::uint16_t port);

// Sends datagrams from one address. What can't be sent is lost, as datagrams are.
class DatagramSocket {
 public:
  explicit DatagramSocket(const std::string& address);
  bool send(const std::string& address, std::uint16_t port, const std::string& bytes) const;

 private:
  Socket socket_;  // closed if the address can't be had
};

struct Accepted {
  Socket socket;           // empty: nobody waits, or an error
  bool exhausted = false;  // no descriptors left: try again later
};
Accepted acceptFrom(const Socket& listener);

// Waits for the events asked for, at most the given time; nothing: without a limit.
void waitForEvents(std::vector<pollfd>& watched, std::optional<std::chrono::nanoseconds> limit);

// Ends another thread's waitForEvents.
class Wakeup {
 public:
  Wakeup();
  void wake() const;
  void clear() const;
  int descriptor() const { return reading_.descriptor(); }

 private:
  Socket reading_, writing_;
};

}  // namespace zivra::sim
