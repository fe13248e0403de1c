// The way out of one TCP client: frames of any number of threads onto one socket, in the order in which they
// were queued, without any of them waiting for it.
//
// Threads: `send`, `withdraw` and `unwritten` from any thread; `open`, `close` and `flush` from the network
// thread. One thread at a time writes, holding no lock; `close` waits for its one non-blocking write to
// return.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include "network/send_gate.h"

namespace zivra::internal {

enum class SendResult { accepted, refused, gateShut };

struct SendReceipt {
  SendResult result = SendResult::refused;
  std::uint64_t ticket = 0;
  bool wakeNetworkThread = false;  // something is queued that only `flush` will write
};

class SendQueue {
 public:
  // `mark` ends frames, where frames have an end.
  SendQueue(std::size_t maxQueuedBytes, std::optional<char> mark);

  // The socket of a new connection. Frames are accepted for this generation only.
  void open(int fd, std::uint64_t generation);
  // Drops everything that is queued; afterwards nobody uses the socket any more.
  void close() noexcept;

  // Queues the frame and, if `atOnce` and the way is free, writes all that is queued. Refused for another
  // generation, on a broken socket, and when too much is queued.
  SendReceipt send(std::string&& frame, std::uint64_t generation, bool atOnce, const SendGate& gate = {});
  // The frame isn't written any more. If part of it is out already it is ended where it stands, with the
  // mark, so that the peer can't take it for a whole one.
  void withdraw(std::uint64_t ticket) noexcept;
  // How much of the frame isn't written yet; nothing if its connection dropped it.
  std::optional<std::size_t> unwritten(std::uint64_t ticket) noexcept;

  enum class Flush { done, more, full };
  // Writes what is queued. After `full` it is to be called once the socket takes bytes again, after `more`
  // soon (so that reading isn't starved).
  Flush flush() noexcept;

 private:
  struct Frame {
    std::string text;
    std::size_t written = 0;
    std::uint64_t ticket = 0;
    bool withdrawn = false;  // while it was being written; seen to afterwards
  };

  bool writable() const noexcept;
  void writeOnce(std::unique_lock<std::mutex>& lock) noexcept;
  void consume(std::size_t bytes) noexcept;
  void endWithdrawn(Frame& frame) noexcept;
  void popFront() noexcept;

  const std::size_t maxQueuedBytes_;
  const std::optional<char> mark_;

  std::mutex mutex_;
  std::condition_variable writeEnded_;
  std::deque<Frame> frames_;  // tickets without gaps; elements stay in place while they are written
  std::size_t queuedBytes_ = 0;
  std::uint64_t lastTicket_ = 0;
  std::uint64_t lastDone_ = 0;                        // of the frame that left the queue last
  std::uint64_t firstDropped_ = 0, lastDropped_ = 0;  // of the frames that the latest close dropped
  std::uint64_t generation_ = 0;                      // 0: closed
  int fd_ = -1;
  bool writing_ = false;  // some thread is inside a write
  bool full_ = false;     // the network thread waits for the socket to take bytes again
  bool broken_ = false;   // a write failed; the network thread will see the end of the connection
  bool wakeUnderWay_ = false;
  bool withdrawnMeanwhile_ = false;
};

}  // namespace zivra::internal
