// Between the application's move calls and the controller's planner: encodes batches, keeps a bounded number
// of commands at the controller and the rest in a queue here, and turns notifications into bookkeeping and
// events.
//
// Threads: the public operations may be called from any thread, watchers included. Two threads of its own
// exist between `_start` and `_stop`: the sender, and the notification thread, on which watchers run (but for
// a failed send, which is told on the thread that sent, unless that one is inside a watcher). The link's
// network thread only picks what is read from a message and queues it. None of the three mutexes is held
// across a send, a wait for a reply or a watcher, and no two at a time.
#pragma once

#include <cstdint>
#include <json/json.h>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <zivra/base_robot.h>
#include <zivra/move_command.h>

namespace zivra {

class XService;

namespace internal {
class MotionCore;
}

class BaseMotionControl : public Base<BaseMotionControl> {
 public:
  virtual ~BaseMotionControl() = default;
  BaseMotionControl(const BaseMotionControl&) = delete;
  BaseMotionControl& operator=(const BaseMotionControl&) = delete;

 protected:
  explicit BaseMotionControl(std::shared_ptr<XService> service) : service_(std::move(service)) {}
  const std::shared_ptr<XService>& service() const { return service_; }

 private:
  std::shared_ptr<XService> service_;
};

// The number is that of the MotionControlMode.
template <int mode>
class MotionControl;

// For RL tasks: nothing beyond the base.
template <>
class MotionControl<2> : public BaseMotionControl {
 public:
  explicit MotionControl(std::shared_ptr<XService> service) : BaseMotionControl(std::move(service)) {}
};

template <>
class MotionControl<1> : public BaseMotionControl {
 public:
  enum class State : int { idle = 0, running = 1, paused = 2, stopped = 3 };

  // Starts its threads and the watch.
  explicit MotionControl(std::shared_ptr<XService> service);
  // Stops; on one of its own threads it leaves that thread to end by itself.
  ~MotionControl() override;

  // Starts what isn't running. Joins threads of a former run first.
  void _start() noexcept;
  // Ends watch, handler and threads. On one of its own threads: everything but the joining, which the next
  // start or the destructor does, and resource_deadlock_would_occur.
  void _stop(std::error_code& ec) noexcept;

  // Encodes, numbers and queues a batch; `ec` tells of its size only (259).
  template <class T>
  void appendCommand(const std::vector<T>& commands, std::string& cmdID, std::error_code& ec) noexcept;
  void appendReplay(const Json::Value& params) noexcept;
  // Past the queue, and started at once.
  template <class T>
  void executeCommand(const std::vector<T>& commands, std::error_code& ec) noexcept;

  void moveStart(std::error_code& ec) noexcept;
  void moveReset(std::error_code& ec) noexcept;
  // Pauses the moves, or ends a jog.
  void stop(std::error_code& ec) noexcept;
  void setMaxCacheSize(int size) noexcept;  // clamped to 1..1000

  void setJogging(bool on) noexcept;
  State state() const noexcept;
  std::uint32_t inFlight() const noexcept;

  // Once this has returned the former watcher gets no further call; one under way goes on.
  void setEventHandler(EventCallback handler) noexcept;
  EventInfo eventInfo() const;

  // True on the sender and on the notification thread.
  bool onOwnThread() const noexcept;
  // Waits until no watcher is running, at most `limitNs`; returns at once on a thread that is running one.
  void waitForWatcher(std::int64_t limitNs) noexcept;

 private:
  // Shared with the two threads, so that a watcher may destroy its robot.
  std::shared_ptr<internal::MotionCore> core_;
};

}  // namespace zivra
