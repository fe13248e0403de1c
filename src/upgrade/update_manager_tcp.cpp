#include "upgrade/update_manager_tcp.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include <zivra/error.h>

namespace zivra::internal {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t fullInbox = 8 * 1024 * 1024;
constexpr auto refusalLimit = 10ms;  // a controller that refuses a client hangs up right after accepting it

}  // namespace

struct UpdateManagerTcp::Inbox {
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::string> pieces;
  std::size_t bytes = 0;
  bool conversing = false;
  bool stopping = false;
  std::uint64_t ends = 0;         // connections that have ended
  std::uint64_t endsAtBegin = 0;  // of the conversation
  std::uint64_t news = 0;         // counts what a sender has to look at

  bool lost() const noexcept { return ends != endsAtBegin; }
  bool full() const noexcept { return bytes >= fullInbox; }

  void add(std::string_view piece) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return !full() || !conversing || stopping; });
    if (!conversing || stopping || lost()) return;
    pieces.emplace_back(piece);
    bytes += piece.size();
    ++news;
    changed.notify_all();
  }
  void tell() {
    const std::lock_guard lock(mutex);
    ++news;
    changed.notify_all();
  }
  void end() {
    const std::lock_guard lock(mutex);
    ++ends;
    ++news;
    changed.notify_all();
  }
  void empty() {
    pieces.clear();
    bytes = 0;
  }
};

class UpdateManagerTcp::Listener final : public TcpListener {
 public:
  explicit Listener(std::shared_ptr<Inbox> inbox) : inbox_(std::move(inbox)) {}
  void attemptEnded(bool) override {}
  void received(std::string_view bytes) override { inbox_->add(bytes); }
  void written() override { inbox_->tell(); }
  void disconnected() override { inbox_->end(); }

 private:
  const std::shared_ptr<Inbox> inbox_;
};

UpdateManagerTcp::UpdateManagerTcp(const LinkLimits& limits)
    : inbox_(std::make_shared<Inbox>()),
      client_({.mark = std::nullopt, .reconnect = true, .limits = limits}) {}

UpdateManagerTcp::~UpdateManagerTcp() { stop(); }

void UpdateManagerTcp::stop() noexcept {
  {
    const std::lock_guard lock(inbox_->mutex);
    inbox_->stopping = true;
    inbox_->changed.notify_all();
  }
  client_.stop();
}

std::error_code UpdateManagerTcp::connect(const std::string& host) {
  stop();
  // An empty address would be looked up, and found: this machine's own.
  if (host.empty()) return make_error_code(Code::network);
  std::unique_lock lock(inbox_->mutex);
  inbox_->stopping = false;
  const std::uint64_t before = inbox_->ends;
  lock.unlock();
  const std::error_code failure = client_.start(host, port, std::make_shared<Listener>(inbox_));
  const auto limit = failure ? 0ms : refusalLimit;
  lock.lock();
  // Also if it was gone again before `start` could see it.
  const bool refused = inbox_->changed.wait_for(lock, limit, [&] { return inbox_->ends != before; });
  lock.unlock();
  if (!refused && !failure) return {0, category()};
  stop();
  return make_error_code(refused ? Code::connectionRefused : Code::network);
}

void UpdateManagerTcp::beginConversation() {
  const std::lock_guard lock(inbox_->mutex);
  inbox_->empty();
  inbox_->endsAtBegin = inbox_->ends;
  inbox_->conversing = true;
}

bool UpdateManagerTcp::endConversation() noexcept {
  const std::lock_guard lock(inbox_->mutex);
  inbox_->empty();
  inbox_->changed.notify_all();
  return std::exchange(inbox_->conversing, false);
}

std::error_code UpdateManagerTcp::send(std::string&& packet, std::chrono::milliseconds limit, bool last) {
  const TcpConnection link = client_.connection();
  {
    // A connection that was made after the conversation began isn't its own.
    const std::lock_guard lock(inbox_->mutex);
    if (inbox_->lost()) return make_error_code(Code::network);
  }
  // The last only queued here: a controller that answers and hangs up at once has taken it all the same.
  const SendReceipt receipt = link.send(std::move(packet), !last);
  if (receipt.result != SendResult::accepted) return make_error_code(Code::network);

  std::optional<std::size_t> before;
  auto deadline = std::chrono::steady_clock::now() + limit;
  std::unique_lock lock(inbox_->mutex);
  for (bool inTime = true;;) {
    const std::uint64_t seen = inbox_->news;
    lock.unlock();
    const std::optional<std::size_t> left = link.unwritten(receipt);
    if (left && left != before) {
      before = left;
      deadline = std::chrono::steady_clock::now() + limit;
      inTime = true;
    }
    lock.lock();
    if (left == 0u) return {0, category()};
    // A controller that talks on while it is talked to isn't listening.
    if (!left || inbox_->lost() || inbox_->full()) return make_error_code(Code::network);
    if (!inTime) return make_error_code(Code::timeout);
    inTime = inbox_->changed.wait_until(lock, deadline, [&] { return inbox_->news != seen; });
  }
}

std::error_code UpdateManagerTcp::read(std::string& piece, TimePoint deadline) {
  std::unique_lock lock(inbox_->mutex);
  inbox_->changed.wait_until(lock, deadline, [this] { return !inbox_->pieces.empty() || inbox_->lost(); });
  if (inbox_->pieces.empty()) return make_error_code(inbox_->lost() ? Code::network : Code::timeout);
  piece = std::move(inbox_->pieces.front());
  inbox_->pieces.pop_front();
  inbox_->bytes -= piece.size();
  inbox_->changed.notify_all();
  return {0, category()};
}

void UpdateManagerTcp::putBack(std::string_view piece) {
  if (piece.empty()) return;
  const std::lock_guard lock(inbox_->mutex);
  inbox_->pieces.emplace_front(piece);
  inbox_->bytes += piece.size();
}

}  // namespace zivra::internal
