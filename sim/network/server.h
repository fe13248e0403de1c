// Listens, reads frames and sends what the controller has to say, on one thread of its own.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "network/socket.h"

namespace zivra::sim {

using LinkId = std::uint64_t;  // never used twice by one server

// Bytes on their way to one link.
struct Delivery {
  LinkId link = 0;  // 0: every link
  std::string bytes{};
  std::chrono::milliseconds delay{0};
  bool closeAfter = false;
  bool injected = false;  // a test's own bytes, which the bound for slow readers doesn't count
};

// All called on the network thread.
struct ServerHooks {
  std::function<void(LinkId, std::string_view)> frame;    // without its CR
  std::function<void(LinkId, std::string_view)> bytes{};  // if set: whatever comes, in place of frames
  std::function<void(LinkId)> opened{};
  std::function<void(LinkId)> closed;                     // the link is gone
  std::function<std::vector<Delivery>()> takeDeliveries;  // asked in every round
  std::function<void(std::string_view)> sent;             // bytes as they go out
};

// Everything but wake takes effect before it returns, unless called on the network thread itself, where it
// takes effect in the next round. Everything may be called from any thread, start and stop one at a time.
class Server {
 public:
  Server(std::string address, std::vector<std::uint16_t> ports, ServerHooks hooks);
  ~Server();

  void start();  // throws std::runtime_error if a port is taken
  void stop();
  void wake() { wakeup_.wake(); }  // there are deliveries

  void listen();  // throws std::runtime_error if a port is taken
  void stopListening();
  enum class Ending { reset, orderly };
  void dropLinks(Ending ending);
  std::size_t links() const { return linkCount_; }

  void stopReading(bool on);
  void slice(std::size_t bytes);
  void coalesce(std::chrono::milliseconds window);

 private:
  using Clock = std::chrono::steady_clock;
  struct Link {
    Socket socket;
    std::string in;
    std::size_t scanned = 0;  // bytes of `in` known to hold no CR
    std::string out;
    std::size_t outStart = 0;
    std::size_t uncounted = 0;  // how many of the waiting bytes were injected
    Clock::time_point heldUntil{};
    bool blocked = false, closing = false, dead = false;

    std::size_t waiting() const { return out.size() - outStart; }
  };

  void onNetworkThread(std::function<void()> task);
  void openListeners();
  void loop();
  void runTasks();
  void deliver(Delivery delivery, Clock::time_point now);
  void enqueue(Link& link, const Delivery& delivery, Clock::time_point now);
  void fireTimers(Clock::time_point now);
  void flush(Link& link, Clock::time_point now);
  void bury();
  void waitAndServe();
  void accept(const Socket& listener);
  void read(LinkId id, Link& link);

  const std::string address_;
  const std::vector<std::uint16_t> ports_;
  const ServerHooks hooks_;
  Wakeup wakeup_;
  std::thread thread_;
  std::atomic<bool> stopping_{false};
  std::atomic<std::size_t> linkCount_{0};
  std::atomic<bool> reading_{true};
  std::atomic<std::size_t> pieceSize_{0};
  std::atomic<std::chrono::milliseconds> window_{std::chrono::milliseconds{0}};

  std::mutex taskMutex_;  // guards the two below
  bool takesTasks_ = false;
  std::vector<std::function<void()>> tasks_;

  // The network thread's own.
  std::vector<Socket> listeners_;
  Clock::time_point acceptAgain_{};
  LinkId lastId_ = 0;
  std::map<LinkId, Link> links_;
  std::multimap<Clock::time_point, Delivery> timers_;
};

}  // namespace zivra::sim
