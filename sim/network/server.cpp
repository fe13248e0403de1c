#include "network/server.h"

#include <algorithm>
#include <future>

namespace zivra::sim {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kLongestFrame = 1 << 20;       // a longer one is no request of any client
constexpr std::size_t kMostWaitingBytes = 8u << 20;  // for one client that does not read
constexpr std::size_t kMostLinks = 256;
constexpr std::size_t kReadSize = 64 * 1024;
constexpr auto kPieceInterval = 200us;  // apart, so that the peer sees the pieces one by one
constexpr auto kExhaustedPause = 100ms;

}  // namespace

Server::Server(std::string address, std::vector<std::uint16_t> ports, ServerHooks hooks)
    : address_(std::move(address)), ports_(std::move(ports)), hooks_(std::move(hooks)) {}

Server::~Server() { stop(); }

void Server::start() {
  if (thread_.joinable()) {
    if (!stopping_) return;
    thread_.join();
  }
  openListeners();
  stopping_ = false;
  {
    std::lock_guard lock(taskMutex_);
    takesTasks_ = true;
  }
  thread_ = std::thread([this] { loop(); });
}

void Server::stop() {
  stopping_ = true;
  wakeup_.wake();
  if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id()) thread_.join();
}

void Server::openListeners() {
  std::vector<Socket> opened;
  for (const auto port : ports_) opened.push_back(listenOn(address_, port));
  listeners_ = std::move(opened);
}

void Server::listen() {
  onNetworkThread([this] {
    if (listeners_.empty()) openListeners();
  });
}

void Server::stopListening() {
  onNetworkThread([this] { listeners_.clear(); });
}

void Server::dropLinks(Ending ending) {
  onNetworkThread([this, ending] {
    for (auto& [id, link] : links_) (ending == Ending::orderly ? link.closing : link.dead) = true;
    bury();
  });
}

void Server::stopReading(bool on) {
  reading_ = !on;
  onNetworkThread([] {});  // the round under way still has the old value
}

void Server::slice(std::size_t bytes) {
  pieceSize_ = bytes;
  onNetworkThread([] {});  // the round under way still has the old value
}

void Server::coalesce(std::chrono::milliseconds window) {
  window_ = window;
  onNetworkThread([] {});  // the round under way still has the old value
}

void Server::onNetworkThread(std::function<void()> task) {
  auto done = std::make_shared<std::promise<void>>();
  auto waiting = done->get_future();
  {
    std::lock_guard lock(taskMutex_);
    if (!takesTasks_) return;
    tasks_.push_back([task = std::move(task), done] {
      try {
        task();
        done->set_value();
      } catch (...) {
        done->set_exception(std::current_exception());
      }
    });
  }
  wakeup_.wake();
  if (thread_.get_id() != std::this_thread::get_id()) waiting.get();
}

void Server::runTasks() {
  std::vector<std::function<void()>> tasks;
  {
    std::lock_guard lock(taskMutex_);
    tasks.swap(tasks_);
  }
  for (const auto& task : tasks) task();
}

void Server::loop() {
  while (!stopping_) {
    const auto now = Clock::now();
    // Deliveries first: what was said before a drop was asked for still goes out.
    for (Delivery& delivery : hooks_.takeDeliveries()) deliver(std::move(delivery), now);
    fireTimers(now);
    for (auto& [id, link] : links_) flush(link, now);
    runTasks();
    bury();
    waitAndServe();
  }
  {
    std::lock_guard lock(taskMutex_);
    takesTasks_ = false;
  }
  runTasks();
  listeners_.clear();
  for (Delivery& delivery : hooks_.takeDeliveries()) deliver(std::move(delivery), Clock::now());
  for (auto& [id, link] : links_) {
    flush(link, Clock::now());
    link.dead = true;
  }
  bury();
  timers_.clear();
}

void Server::deliver(Delivery delivery, Clock::time_point now) {
  if (delivery.delay > 0ms) {
    const auto due = now + std::exchange(delivery.delay, 0ms);
    timers_.emplace(due, std::move(delivery));
  } else if (delivery.link == 0) {
    for (auto& [id, link] : links_) enqueue(link, delivery, now);
  } else if (const auto found = links_.find(delivery.link); found != links_.end()) {
    enqueue(found->second, delivery, now);
  }
}

void Server::enqueue(Link& link, const Delivery& delivery, Clock::time_point now) {
  if (link.closing || link.dead) return;
  if (delivery.injected)
    link.uncounted += delivery.bytes.size();
  else if (link.waiting() - std::min(link.uncounted, link.waiting()) > kMostWaitingBytes)
    link.dead = true;
  if (link.waiting() == 0) link.heldUntil = now + window_.load();
  if (hooks_.sent && !delivery.bytes.empty()) hooks_.sent(delivery.bytes);
  link.out += delivery.bytes;
  link.closing = delivery.closeAfter;
}

void Server::fireTimers(Clock::time_point now) {
  while (!timers_.empty() && timers_.begin()->first <= now) {
    const auto due = timers_.extract(timers_.begin());
    deliver(std::move(due.mapped()), now);
  }
}

void Server::flush(Link& link, Clock::time_point now) {
  link.blocked = false;
  while (!link.dead && link.waiting() > 0 && now >= link.heldUntil) {
    const std::size_t piece = pieceSize_;
    const auto size = piece == 0 ? link.waiting() : std::min(piece, link.waiting());
    const auto result = link.socket.write(link.out.data() + link.outStart, size);
    if (result.outcome == Socket::Outcome::ended) link.dead = true;
    if (result.outcome == Socket::Outcome::wouldBlock) link.blocked = true;
    if (result.outcome != Socket::Outcome::done) break;
    link.outStart += result.bytes;
    if (piece != 0) link.heldUntil = now + kPieceInterval;
  }
  link.uncounted = std::min(link.uncounted, link.waiting());
  if (link.waiting() == 0) {
    link.out.clear();
    if (link.out.capacity() > kReadSize) link.out.shrink_to_fit();
    link.outStart = 0;
  } else if (link.outStart > kReadSize && link.outStart > link.out.size() / 2) {
    link.out.erase(0, link.outStart);
    link.outStart = 0;
  }
}

void Server::bury() {
  for (auto at = links_.begin(); at != links_.end();) {
    Link& link = at->second;
    if (!link.dead && !(link.closing && link.waiting() == 0)) {
      ++at;
      continue;
    }
    if (link.dead && !stopping_)
      link.socket.closeWithReset();
    else
      link.socket.close();
    const LinkId id = at->first;
    at = links_.erase(at);
    linkCount_ = links_.size();
    hooks_.closed(id);
  }
}

void Server::waitAndServe() {
  const auto now = Clock::now();
  Clock::time_point next = Clock::time_point::max();
  if (!timers_.empty()) next = timers_.begin()->first;

  std::vector<pollfd> watched{{wakeup_.descriptor(), POLLIN, 0}};
  const bool accepting = now >= acceptAgain_;
  if (!accepting) next = std::min(next, acceptAgain_);
  const std::size_t listening = accepting ? listeners_.size() : 0;
  for (std::size_t i = 0; i < listening; ++i) watched.push_back({listeners_[i].descriptor(), POLLIN, 0});
  std::vector<LinkId> ids;
  for (auto& [id, link] : links_) {
    const int wanted = (reading_ && !link.closing ? POLLIN : 0) | (link.blocked ? POLLOUT : 0);
    watched.push_back({link.socket.descriptor(), static_cast<short>(wanted), 0});
    ids.push_back(id);
    if (link.waiting() > 0 && !link.blocked) next = std::min(next, link.heldUntil);
  }

  std::optional<std::chrono::nanoseconds> limit;
  if (next != Clock::time_point::max()) limit = next - now;
  waitForEvents(watched, limit);

  if (watched[0].revents != 0) wakeup_.clear();
  for (std::size_t i = 0; i < listening; ++i)
    if (watched[1 + i].revents != 0) accept(listeners_[i]);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const auto events = watched[1 + listening + i].revents;
    Link& link = links_.at(ids[i]);
    if ((events & POLLIN) != 0) try {
        read(ids[i], link);
      } catch (const std::exception&) {
        link.dead = true;  // out of memory: one client's loss, not everybody's
      }
    else if ((events & (POLLERR | POLLHUP | POLLNVAL)) != 0)
      link.dead = true;
  }
}

void Server::accept(const Socket& listener) {
  while (true) {
    auto [socket, exhausted] = acceptFrom(listener);
    if (exhausted) acceptAgain_ = Clock::now() + kExhaustedPause;
    if (!socket.isOpen()) return;
    if (links_.size() >= kMostLinks) continue;
    links_[++lastId_].socket = std::move(socket);
    linkCount_ = links_.size();
    if (hooks_.opened) hooks_.opened(lastId_);
  }
}

void Server::read(LinkId id, Link& link) {
  char buffer[kReadSize];
  const auto result = link.socket.read(buffer, sizeof buffer);
  if (result.outcome == Socket::Outcome::ended) link.closing = true;  // what was answered still goes out
  if (result.outcome != Socket::Outcome::done) return;
  if (hooks_.bytes) return hooks_.bytes(id, {buffer, result.bytes});
  link.in.append(buffer, result.bytes);
  std::size_t start = 0;
  for (auto end = link.in.find('\r', link.scanned); end != std::string::npos;
       end = link.in.find('\r', start)) {
    hooks_.frame(id, std::string_view(link.in).substr(start, end - start));
    start = end + 1;
  }
  link.in.erase(0, start);
  link.scanned = link.in.size();
  if (link.in.size() > kLongestFrame) link.dead = true;
  if (link.in.empty() && link.in.capacity() > kReadSize) link.in.shrink_to_fit();
}

}  // namespace zivra::sim
