// The TCP client of all links: connects with a limit, reads frames or whatever comes, sends without waiting,
// rebuilds a dropped connection, and can be stopped from any thread. What the bytes mean is its user's
// matter.
//
// Threads: every operation may be called from any thread. A started client has one network thread, on which
// the listener is called. It ends with `stop`, and when there is nothing more to do: a first attempt that
// failed, or a drop without reconnection. A host name (not an address) is resolved on a short-lived thread of
// its own, because that can't be interrupted.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "network/send_queue.h"

namespace zivra::internal {

class ClientRun;

// A test may shorten them.
struct LinkLimits {
  std::chrono::milliseconds connect{30'000};
  std::chrono::milliseconds retryPause{1'000};  // after a drop and between attempts, so that no loop runs hot
  std::chrono::milliseconds stop{10'000};       // for listeners that are still running
  std::size_t queuedBytes = std::size_t{32} * 1024 * 1024;  // for a peer that stopped reading
};

// Called on the network thread, one call at a time. What it throws is swallowed, but out of `received` and
// `receivedAll` it ends the connection.
class TcpListener {
 public:
  virtual ~TcpListener() = default;
  // An attempt to connect has ended.
  virtual void attemptEnded(bool connected) = 0;
  // One frame without its mark; without marks whatever has come. Void after the call.
  virtual void received(std::string_view bytes) = 0;
  // All that had come at once has been given to `received`.
  virtual void receivedAll() {}
  // The network thread has written some of what was queued (not told of what a sender wrote itself).
  virtual void written() {}
  // After each successful attempt once: the connection has dropped or was stopped.
  virtual void disconnected() = 0;
};

// One connection of a client, from its success to its drop. What is sent on it goes out on it or never. Any
// thread; copies are cheap.
class TcpConnection {
 public:
  TcpConnection() = default;
  TcpConnection(std::shared_ptr<ClientRun> run, std::uint64_t generation);

  explicit operator bool() const noexcept { return generation_ != 0; }
  // Doesn't wait for the network. `atOnce` writes on the calling thread if the way is free; otherwise the
  // network thread writes it together with its neighbours. Throws nothing but std::bad_alloc.
  SendReceipt send(std::string&& frame, bool atOnce = true, const SendGate& gate = {}) const;
  // Takes a frame back if it isn't written yet.
  void withdraw(const SendReceipt& receipt) const noexcept;
  // How much of a frame isn't written yet; nothing if it was dropped when the connection ended. To be asked
  // before anything is sent on the next connection.
  std::optional<std::size_t> unwritten(const SendReceipt& receipt) const noexcept;

 private:
  std::shared_ptr<ClientRun> run_;
  std::uint64_t generation_ = 0;
};

class TcpClient {
 public:
  struct Options {
    std::optional<char> mark;  // ends frames; none: bytes are handed on as they come
    bool reconnect = true;
    LinkLimits limits{};
  };

  explicit TcpClient(const Options& options);
  // Stops.
  ~TcpClient();
  TcpClient(const TcpClient&) = delete;
  TcpClient& operator=(const TcpClient&) = delete;

  // Connects and returns when the attempt has ended and the listener has been told. On a started client it
  // waits for the attempt under way, and host, port and listener stay the former ones. 256 if there is no
  // connection afterwards; resource_deadlock_would_occur if it would have to wait on the network thread.
  // `listener` is held until the network thread has ended.
  std::error_code start(const std::string& host, std::uint32_t port,
                        std::shared_ptr<TcpListener> listener) noexcept;
  // Ends connection, attempts and reconnection at once, and waits until the network thread has ended, for a
  // listener that is running at most `limits.stop`. On the network thread it doesn't wait.
  void stop() noexcept;

  bool onNetworkThread() const noexcept;
  // The connection that stands, or an empty one.
  TcpConnection connection() const noexcept;

 private:
  std::shared_ptr<ClientRun> run() const noexcept;

  const Options options_;
  const std::uint64_t serial_;  // never used twice, as an address may be
  mutable std::mutex mutex_;
  std::shared_ptr<ClientRun> run_;
};

}  // namespace zivra::internal
