#include "network/state_publisher.h"

#include "stream/state_datagram.h"

namespace zivra::sim {

using namespace std::chrono_literals;

namespace {
// What is overdue by less is made up for; more than that a machine that stood still has lost.
constexpr auto kLongestDelay = 100ms;
}  // namespace

void StatePublisher::start() {
  if (thread_.joinable()) return;
  ends_ = false;  // no thread yet that could read it
  sent_ = 0;
  thread_ = std::thread([this] { loop(); });
}

void StatePublisher::stop() {
  {
    std::lock_guard lock(worldMutex_);
    ends_ = true;
  }
  changed_.notify_one();
  if (thread_.joinable()) thread_.join();
}

void StatePublisher::noticeChange() {
  if (world_.stream.changes != seen_) changed_.notify_one();
}

void StatePublisher::loop() {
  std::unique_lock lock(worldMutex_);
  while (!ends_) {
    seen_ = world_.stream.changes;
    if (world_.stream.publishing)
      publish(lock);
    else
      changed_.wait(lock, [this] { return !waits(); });
  }
}

void StatePublisher::publish(std::unique_lock<std::mutex>& lock) {
  // Seen by clients as coming from the controller; without such a socket they hear nothing.
  const DatagramSocket socket(world_.identity.address);
  auto due = Clock::now();
  while (waits()) {
    // Of the moment that it was due, so that the steps are even however late the thread is.
    const auto passed = passTime_(due);
    const std::string datagram = nextDatagram(world_);
    const auto period = world_.stream.period;
    // With the mutex held, as it doesn't wait: once a request to stop has been answered nothing may come that
    // a client would take for the stream that it asks for next.
    if (!datagram.empty() && socket.send(world_.localAddress, world_.stream.port, datagram)) ++sent_;
    if (passed > due) due += (passed - due) / period * period;  // no moment twice
    due += period;
    const auto late = Clock::now() - due;
    if (late > kLongestDelay) due += late / period * period;
    changed_.wait_until(lock, due, [this] { return !waits(); });
  }
}

}  // namespace zivra::sim
