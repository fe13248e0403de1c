#include "network/xservice/network_base.h"

#include <optional>
#include <utility>

#include "core/codes.h"

namespace zivra {

namespace {

using internal::codeOf;

constexpr char frameEnd = '\r';

}  // namespace

void XNetworkBase::Transfer::begin() {
  const std::lock_guard lock(transferMutex);
  underWay = true;
  lost = false;
  word = Word::none;
}

void XNetworkBase::Transfer::end() {
  const std::lock_guard lock(transferMutex);
  underWay = false;
}

void XNetworkBase::Transfer::acknowledge(bool success) {
  const std::lock_guard lock(transferMutex);
  if (!underWay || word != Word::none) return;
  word = success ? Word::success : Word::error;
  ++news;
  transferDone.notify_all();
}

void XNetworkBase::Transfer::lose() {
  const std::lock_guard lock(transferMutex);
  lost = true;
  ++news;
  transferDone.notify_all();
}

void XNetworkBase::Transfer::wake() {
  const std::lock_guard lock(transferMutex);
  ++news;
  transferDone.notify_all();
}

XNetworkBase::XNetworkBase(const internal::LinkLimits& limits)
    : client_({.mark = frameEnd, .reconnect = true, .limits = limits}) {}

XNetworkBase::~XNetworkBase() { client_.stop(); }

std::shared_ptr<internal::TcpListener> XNetworkBase::_bind(std::shared_ptr<Transfer> transfer) {
  return std::make_shared<Listener>(std::move(transfer));
}

void XNetworkBase::setEndpoint(const std::string& ip, std::uint32_t port) {
  auto listener = _bind(transfer_);
  const std::lock_guard lock(mutex_);
  ip_ = ip;
  port_ = port;
  listener_.swap(listener);
}

void XNetworkBase::start(std::error_code& ec) noexcept try {
  std::unique_lock lock(mutex_);
  const std::string ip = ip_;
  const std::uint32_t port = port_;
  auto listener = listener_;
  lock.unlock();
  ec = codeOf(0);
  // An empty address would be looked up, and found: this machine's own.
  if (ip.empty() || !listener) {
    ec = make_error_code(Code::network);
  } else if (const std::error_code failure = client_.start(ip, port, std::move(listener))) {
    ec = failure;
  }
} catch (...) {
  ec = make_error_code(Code::network);
}

void XNetworkBase::stop() noexcept { client_.stop(); }

void XNetworkBase::sendAndWait(std::string&& bytes, std::error_code& ec, const Progress& progress) noexcept {
  transfer_->begin();
  try {
    ec = send(std::move(bytes), progress);
  } catch (...) {
    ec = codeOf(internal::failedToSend);
    stop();
  }
  transfer_->end();
}

std::error_code XNetworkBase::send(std::string&& bytes, const Progress& progress) {
  const auto deadline = std::chrono::steady_clock::now() + acknowledgementLimit_.load();
  const std::uint64_t total = bytes.size();
  const internal::TcpConnection link = client_.connection();
  // Only queued here: what befalls the link from now on befalls the transfer.
  const internal::SendReceipt receipt = link.send(std::move(bytes), false);
  if (receipt.result != internal::SendResult::accepted) return make_error_code(Code::network);

  Transfer& transfer = *transfer_;
  std::optional<std::size_t> told;
  std::unique_lock lock(transfer.transferMutex);
  for (bool inTime = true;;) {
    const std::uint64_t seen = transfer.news;
    lock.unlock();
    const std::optional<std::size_t> left = link.unwritten(receipt);
    if (progress && left && left != told) {
      told = left;
      try {
        progress(total - *left, total);
      } catch (...) {
        // The caller's own affair.
      }
    }
    lock.lock();
    const bool whole = left == 0u;
    // The word of a peer that hasn't seen all of it counts once it could have.
    if (transfer.word == Transfer::Word::success && whole) return codeOf(0);
    if (transfer.word == Transfer::Word::error || transfer.lost || !left || !inTime) {
      const bool refused = transfer.word == Transfer::Word::error;
      const bool lost = transfer.lost || !left;
      lock.unlock();
      if (!lost && !(refused && whole)) stop();
      return codeOf(refused || lost ? internal::failedToSend : internal::sendTimeout);
    }
    inTime = transfer.transferDone.wait_until(lock, deadline, [&] { return transfer.news != seen; });
  }
}

}  // namespace zivra
