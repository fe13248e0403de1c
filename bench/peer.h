// The other end of a benchmark: a process of its own that answers frames as fast as it can, and understands
// them no further than it must. The library and the bare sockets are measured against the same one.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/types.h>

namespace zivra::bench {

// "move.continue" makes the peer send one event, "move.pause" that many in one write.
constexpr std::size_t eventsAtOnce = 100;

// What both processes see.
struct Shared {
  std::atomic<std::int64_t> droppedAtNs{0};  // when the peer closed a link last, on the steady clock
};

class Peer {
 public:
  // Forks; to be called before any thread is started. Throws std::runtime_error if the port is taken.
  explicit Peer(std::string address);
  ~Peer();  // ends the process
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  const std::string& address() const { return address_; }
  Shared& shared() const { return *shared_; }

 private:
  std::string address_;
  Shared* shared_;
  pid_t process_ = -1;
};

// A connected blocking socket to the peer's command port.
int connectBare(const std::string& address);
// Sends the frame and reads one reply frame; its length. Throws std::runtime_error if the peer has gone.
std::size_t pingPong(int fd, const std::string& frame, std::string& reply);

}  // namespace zivra::bench
