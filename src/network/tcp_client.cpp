#include "network/tcp_client.h"

#include <atomic>

#include <zivra/error.h>

#include "network/client_run.h"

namespace zivra::internal {

namespace {

std::atomic<std::uint64_t> lastSerial{0};

}  // namespace

TcpConnection::TcpConnection(std::shared_ptr<ClientRun> run, std::uint64_t generation)
    : run_(std::move(run)), generation_(generation) {}

SendReceipt TcpConnection::send(std::string&& frame, bool atOnce, const SendGate& gate) const {
  if (generation_ == 0) return {};
  return run_->send(std::move(frame), generation_, atOnce, gate);
}

void TcpConnection::withdraw(const SendReceipt& receipt) const noexcept {
  if (generation_ != 0) run_->withdraw(receipt.ticket);
}

std::optional<std::size_t> TcpConnection::unwritten(const SendReceipt& receipt) const noexcept {
  if (generation_ == 0) return std::nullopt;
  return run_->unwritten(receipt.ticket);
}

TcpClient::TcpClient(const Options& options) : options_(options), serial_(++lastSerial) {
  ClientRun::makeErrorCategories();
}

TcpClient::~TcpClient() { stop(); }

std::shared_ptr<ClientRun> TcpClient::run() const noexcept {
  const std::lock_guard lock(mutex_);
  return run_;
}

bool TcpClient::onNetworkThread() const noexcept { return ClientRun::clientOfThisThread() == serial_; }

TcpConnection TcpClient::connection() const noexcept {
  std::shared_ptr<ClientRun> current = run();
  if (!current) return {};
  const std::uint64_t generation = current->generation();
  return {std::move(current), generation};
}

std::error_code TcpClient::start(const std::string& host, std::uint32_t port,
                                 std::shared_ptr<TcpListener> listener) noexcept try {
  for (;;) {
    std::unique_lock lock(mutex_);
    std::shared_ptr<ClientRun> current = run_;
    if (current && current->connected()) return {};
    if (onNetworkThread()) return std::make_error_code(std::errc::resource_deadlock_would_occur);
    const bool fresh = !current || current->ended();
    if (fresh) {
      // A failure in here (no descriptors, no threads, no memory) is a failed attempt.
      current = std::make_shared<ClientRun>(serial_, host, port, options_, std::move(listener));
      current->launch();
      run_ = current;
    }
    lock.unlock();
    if (!fresh && current->stopping()) {
      // Never two network threads of one client: the former one is on its way out.
      if (!current->waitEnded(options_.limits.stop)) return make_error_code(Code::network);
      continue;
    }
    const bool connected = current->waitAttempt(fresh);
    if (!connected && fresh && current->stopping()) current->waitEnded(options_.limits.stop);
    return connected ? std::error_code() : make_error_code(Code::network);
  }
} catch (...) {
  return make_error_code(Code::network);
}

void TcpClient::stop() noexcept {
  const std::shared_ptr<ClientRun> current = run();
  if (!current) return;
  current->requestStop();
  if (!onNetworkThread()) current->waitEnded(options_.limits.stop);
}

}  // namespace zivra::internal
