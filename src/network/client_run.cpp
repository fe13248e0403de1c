#include "network/client_run.h"

#include <asio/error.hpp>
#include <asio/post.hpp>

#include "network/platform.h"

namespace zivra::internal {

namespace {

std::atomic<std::uint64_t> lastGeneration{0};
thread_local std::uint64_t clientOfThread = 0;

}  // namespace

ClientRun::ClientRun(std::uint64_t clientSerial, std::string host, std::uint32_t port,
                     const TcpClient::Options& options, std::shared_ptr<TcpListener> listener)
    : clientSerial_(clientSerial),
      host_(std::move(host)),
      port_(port),
      options_(options),
      listener_(std::move(listener)),
      buffer_(options.mark),
      queue_(options.limits.queuedBytes, options.mark) {}

ClientRun::~ClientRun() {
  // Its own thread was the last owner.
  if (thread_.joinable()) thread_.detach();
}

void ClientRun::launch() {
  const std::lock_guard lock(mutex_);
  thread_ = std::thread([self = shared_from_this()] { self->runThread(); });
}

std::uint64_t ClientRun::clientOfThisThread() noexcept { return clientOfThread; }

void ClientRun::makeErrorCategories() noexcept {
  asio::system_category();
  asio::error::get_netdb_category();
  asio::error::get_addrinfo_category();
  asio::error::get_misc_category();
}

void ClientRun::requestStop() noexcept {
  stopping_ = true;
  io_.stop();  // needs no memory; the thread does the rest itself
}

bool ClientRun::ended() const noexcept {
  const std::lock_guard lock(mutex_);
  return ended_;
}

bool ClientRun::waitEnded(std::chrono::milliseconds limit) noexcept {
  std::unique_lock lock(mutex_);
  const auto deadline = std::chrono::steady_clock::now() + limit;
  if (!changed_.wait_until(lock, deadline, [this] { return ended_; })) return false;
  std::thread finished;
  finished.swap(thread_);  // of several waiters one joins
  lock.unlock();
  if (finished.joinable()) finished.join();
  return true;
}

bool ClientRun::waitAttempt(bool first) noexcept {
  std::unique_lock lock(mutex_);
  const std::uint64_t before = first ? 0 : attemptsEnded_;
  const LinkLimits& limits = options_.limits;
  // The attempt has a limit itself; the rest is for a listener that doesn't return.
  const auto deadline = std::chrono::steady_clock::now() + limits.connect + limits.retryPause + limits.stop;
  changed_.wait_until(lock, deadline, [&] {
    return attemptsEnded_ != before || ended_ || stopping() || (!first && connected());
  });
  return connected();
}

SendReceipt ClientRun::send(std::string&& frame, std::uint64_t generation, bool atOnce,
                            const SendGate& gate) {
  if (stopping()) return {};
  const SendReceipt receipt = queue_.send(std::move(frame), generation, atOnce, gate);
  if (!receipt.wakeNetworkThread) return receipt;
  try {
    asio::post(io_, [this] { flush(); });
  } catch (...) {
    // Without memory to wake the writer the frame would lie there for ever.
    queue_.withdraw(receipt.ticket);
    throw;
  }
  return receipt;
}

template <class Call>
void ClientRun::tell(Call&& call) noexcept {
  try {
    call();
  } catch (...) {
    // The listener's own affair; the link goes on.
  }
}

void ClientRun::runThread() noexcept {
  clientOfThread = clientSerial_;
  const auto guarded = [this](auto&& work) noexcept {
    try {
      work();
      return true;
    } catch (...) {
      // Out of memory as a rule. The connection can't be trusted to be whole.
      drop();
      return false;
    }
  };
  guarded([this] { attempt(); });
  while (!stopping() && !guarded([this] { io_.run(); })) {
    // The context stopped itself if the handler that threw was all it had; a stop meant to last is seen
    // above.
    io_.restart();
  }
  stopping_ = true;
  ++step_;
  drop();
  closeSocket();
  listener_.reset();
  const std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

void ClientRun::attempt() {
  if (stopping()) return;
  const std::uint64_t step = ++step_;
  timer_.expires_after(options_.limits.connect);
  timer_.async_wait([this, step](const std::error_code& error) {
    if (!error && step == step_) attemptFailed();
  });
  candidates_.clear();
  nextCandidate_ = 0;
  if (host_.empty() || port_ == 0 || port_ > 0xFFFF) return attemptFailed();
  std::error_code notAnAddress;
  const auto address = asio::ip::make_address(host_, notAnAddress);
  if (notAnAddress) return resolve();
  candidates_.emplace_back(address, static_cast<std::uint16_t>(port_));
  connectNext();
}

void ClientRun::resolve() {
  std::thread([self = shared_from_this(), step = step_] {
    std::vector<Tcp::endpoint> found;
    try {
      asio::io_context scratch;
      std::error_code ignored;
      for (const auto& entry :
           Tcp::resolver(scratch).resolve(self->host_, std::to_string(self->port_), ignored)) {
        found.push_back(entry.endpoint());
      }
    } catch (...) {
      // Nothing found then.
    }
    try {
      asio::post(self->io_, [run = self.get(), step, found = std::move(found)]() mutable {
        if (step != run->step_) return;
        run->candidates_ = std::move(found);
        run->connectNext();
      });
    } catch (...) {
      // The attempt ends by its limit.
    }
  }).detach();
}

void ClientRun::connectNext() {
  closeSocket();
  while (nextCandidate_ < candidates_.size()) {
    const Tcp::endpoint endpoint = candidates_[nextCandidate_++];
    const int fd = platform::openTcpSocket(endpoint.protocol().family());
    if (fd < 0) continue;
    std::error_code error;
    socket_.assign(endpoint.protocol(), fd, error);
    if (error) {
      platform::closeSocket(fd);
      continue;
    }
    socket_.async_connect(endpoint, [this, step = step_, endpoint](std::error_code failure) {
      if (step != step_ || stopping()) return;
      std::error_code unknown;
      // On this machine a port that nobody listens on can be met by the socket's own.
      if (!failure && socket_.local_endpoint(unknown) == endpoint) failure = asio::error::connection_refused;
      if (failure) return connectNext();
      connected(++lastGeneration);
    });
    return;
  }
  attemptFailed();
}

void ClientRun::attemptFailed() {
  ++step_;
  timer_.cancel();
  closeSocket();
  tell([this] { listener_->attemptEnded(false); });
  if (!everConnected_) {
    stopping_ = true;  // a first attempt that failed leaves nothing behind
    io_.stop();
  } else {
    retryLater();
  }
  attemptTold();
}

void ClientRun::connected(std::uint64_t generation) {
  ++step_;
  timer_.cancel();
  everConnected_ = true;
  buffer_.clear();
  queue_.open(socket_.native_handle(), generation);
  generation_ = generation;
  tell([this] { listener_->attemptEnded(true); });
  attemptTold();
  read();
}

void ClientRun::attemptTold() noexcept {
  const std::lock_guard lock(mutex_);
  ++attemptsEnded_;
  changed_.notify_all();
}

void ClientRun::read() {
  const ReceiveBuffer::Space space = buffer_.prepare();
  socket_.async_read_some(
      asio::buffer(space.data, space.size),
      [this, generation = generation_.load()](const std::error_code& error, std::size_t bytes) {
        if (generation != generation_.load()) return;
        if (error) return drop();
        handOn(bytes);
        read();
      });
}

void ClientRun::handOn(std::size_t bytes) {
  buffer_.commit(bytes);
  while (!stopping()) {
    const auto frame = buffer_.next();
    if (!frame) break;
    listener_->received(*frame);
  }
  listener_->receivedAll();
}

void ClientRun::flush() {
  if (!connected()) return;
  const SendQueue::Flush result = queue_.flush();
  tell([this] { listener_->written(); });
  switch (result) {
    case SendQueue::Flush::done:
      break;
    case SendQueue::Flush::more:
      asio::post(io_, [this] { flush(); });
      break;
    case SendQueue::Flush::full:
      socket_.async_wait(Tcp::socket::wait_write,
                         [this, generation = generation_.load()](const std::error_code& error) {
                           if (!error && generation == generation_.load()) flush();
                         });
      break;
  }
}

void ClientRun::drop() noexcept {
  if (generation_.exchange(0) == 0) return;
  queue_.close();
  closeSocket();
  tell([this] { listener_->disconnected(); });
  try {
    retryLater();
  } catch (...) {
    requestStop();
  }
}

void ClientRun::retryLater() {
  const std::uint64_t step = ++step_;
  if (stopping() || !options_.reconnect) return;
  timer_.expires_after(options_.limits.retryPause);
  timer_.async_wait([this, step](const std::error_code& error) {
    if (!error && step == step_) attempt();
  });
}

void ClientRun::closeSocket() noexcept {
  std::error_code ignored;
  socket_.close(ignored);
}

}  // namespace zivra::internal
