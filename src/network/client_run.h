// One run of a TCP client, from its start to its stop: the I/O context, the network thread and the socket.
// Nothing of Asio is seen outside this header's source and its users tcp_client.cpp.
//
// Threads: members marked (N) belong to the network thread, the others may be called from any thread. The
// network thread keeps its run alive.
#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "network/receive_buffer.h"
#include "network/send_queue.h"
#include "network/tcp_client.h"

namespace zivra::internal {

class ClientRun : public std::enable_shared_from_this<ClientRun> {
 public:
  // Throws if the process has no descriptors or threads left.
  ClientRun(std::uint64_t clientSerial, std::string host, std::uint32_t port,
            const TcpClient::Options& options, std::shared_ptr<TcpListener> listener);
  ~ClientRun();
  void launch();

  // The serial of the client whose network thread is calling; 0 on any other thread.
  static std::uint64_t clientOfThisThread() noexcept;
  // To be called before any run: what is made here is destroyed after whoever calls it, also where that one
  // is of static storage and runs until after main.
  static void makeErrorCategories() noexcept;

  void requestStop() noexcept;
  bool stopping() const noexcept { return stopping_.load(); }
  bool ended() const noexcept;
  // True once the network thread has ended, false after the limit.
  bool waitEnded(std::chrono::milliseconds limit) noexcept;
  // Waits for the first attempt, or else for the next one that ends. True if there is a connection.
  bool waitAttempt(bool first) noexcept;

  // Of the connection that stands; 0 without one, and from the request to stop on.
  std::uint64_t generation() const noexcept { return stopping() ? 0 : generation_.load(); }
  bool connected() const noexcept { return generation() != 0; }
  SendReceipt send(std::string&& frame, std::uint64_t generation, bool atOnce, const SendGate& gate);
  void withdraw(std::uint64_t ticket) noexcept { queue_.withdraw(ticket); }
  std::optional<std::size_t> unwritten(std::uint64_t ticket) noexcept { return queue_.unwritten(ticket); }

 private:
  using Tcp = asio::ip::tcp;

  void runThread() noexcept;                 // (N)
  void attempt();                            // (N)
  void resolve();                            // (N)
  void connectNext();                        // (N)
  void attemptFailed();                      // (N)
  void connected(std::uint64_t generation);  // (N)
  void attemptTold() noexcept;               // (N)
  void read();                               // (N)
  void handOn(std::size_t bytes);            // (N)
  void flush();                              // (N)
  void drop() noexcept;                      // (N)
  void retryLater();                         // (N)
  void closeSocket() noexcept;               // (N)
  template <class Call>
  void tell(Call&& call) noexcept;  // (N)

  const std::uint64_t clientSerial_;
  const std::string host_;
  const std::uint32_t port_;
  const TcpClient::Options options_;
  std::shared_ptr<TcpListener> listener_;  // (N)

  asio::io_context io_{1};
  Tcp::socket socket_{io_};                // (N)
  asio::steady_timer timer_{io_};          // (N) of the attempt or the pause
  std::vector<Tcp::endpoint> candidates_;  // (N)
  std::size_t nextCandidate_ = 0;          // (N)
  std::uint64_t step_ = 0;                 // (N) completions of an earlier attempt or pause are void
  bool everConnected_ = false;             // (N)
  ReceiveBuffer buffer_;                   // (N)
  SendQueue queue_;

  std::atomic<std::uint64_t> generation_{0};  // of the connection that stands; 0 without one
  std::atomic<bool> stopping_{false};

  mutable std::mutex mutex_;  // for what follows
  std::condition_variable changed_;
  std::uint64_t attemptsEnded_ = 0;
  bool ended_ = false;
  std::thread thread_;
};

}  // namespace zivra::internal
