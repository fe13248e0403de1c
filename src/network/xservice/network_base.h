// A link beside the command link that takes bytes as they are and hears how they arrived.
//
// Threads: every operation may be called from any thread, `sendAndWait` by one at a time. The network thread
// is the client's; what it shares with the waiting caller outlives the link.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>

#include "network/tcp_client.h"

namespace zivra {

class XNetworkBase {
 public:
  using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

  explicit XNetworkBase(const internal::LinkLimits& limits);
  virtual ~XNetworkBase();
  XNetworkBase(const XNetworkBase&) = delete;
  XNetworkBase& operator=(const XNetworkBase&) = delete;

  // Keeps both for the next `start`; doesn't touch the socket.
  virtual void setEndpoint(const std::string& ip, std::uint32_t port);
  // As XService::start; 256 too without an endpoint.
  virtual void start(std::error_code& ec) noexcept;
  virtual void stop() noexcept;
  // Sends the bytes as they are and waits for what the peer says of them. 256 if they can't be queued, -284
  // refused or lost, -285 not acknowledged in time. Ends the connection where the next bytes on it could be
  // taken for these, or a late word about these for one about the next.
  virtual void sendAndWait(std::string&& bytes, std::error_code& ec, const Progress& progress = {}) noexcept;

  bool connected() const noexcept { return static_cast<bool>(client_.connection()); }
  // How long to wait for an acknowledgement. A test may shorten it.
  void setAcknowledgementLimit(std::chrono::milliseconds limit) noexcept { acknowledgementLimit_ = limit; }

 protected:
  // The transfer under way, seen from both threads.
  class Transfer {
   public:
    void begin();
    void end();
    // On the network thread. Words about no transfer, and any but the first, are void.
    void acknowledge(bool success);
    void lose();
    void wake();

   private:
    friend class XNetworkBase;
    enum class Word { none, success, error };

    std::mutex transferMutex;
    std::condition_variable transferDone;
    bool underWay = false, lost = false;
    Word word = Word::none;
    std::uint64_t news = 0;  // counts everything that a waiter has to look at
  };

  // Makes the listener of the connections to come; the one of the base class hears no acknowledgements.
  virtual std::shared_ptr<internal::TcpListener> _bind(std::shared_ptr<Transfer> transfer);
  class Listener;

 private:
  std::error_code send(std::string&& bytes, const Progress& progress);

  const std::shared_ptr<Transfer> transfer_ = std::make_shared<Transfer>();
  internal::TcpClient client_;
  std::atomic<std::chrono::milliseconds> acknowledgementLimit_{std::chrono::milliseconds{300'000}};

  mutable std::mutex mutex_;  // of what follows
  std::string ip_;
  std::uint32_t port_ = 0;
  std::shared_ptr<internal::TcpListener> listener_;
};

class XNetworkBase::Listener : public internal::TcpListener {
 public:
  explicit Listener(std::shared_ptr<Transfer> transfer) : transfer_(std::move(transfer)) {}
  void attemptEnded(bool) override {}
  void received(std::string_view) override {}
  void written() override { transfer_->wake(); }
  void disconnected() override { transfer_->lose(); }

 protected:
  const std::shared_ptr<Transfer> transfer_;
};

}  // namespace zivra
