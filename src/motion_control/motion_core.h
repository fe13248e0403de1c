// What MotionControl<1> shares with its two threads: queues, events, state, and the life of the threads. The
// threads keep it alive, so that a watcher may destroy the robot that it belongs to.
//
// Threads: everything from any thread. Whoever calls what may run a watcher (`push`) holds a reference of its
// own.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <system_error>
#include <vector>

#include "motion_control/command_queue.h"
#include "motion_control/motion_control.h"
#include "motion_control/motion_log.h"
#include "motion_control/move_events.h"
#include "motion_control/notification_queue.h"
#include "motion_control/worker.h"

namespace zivra::internal {

// A thread that is in a watcher is waited for no longer than this.
inline constexpr std::chrono::seconds threadEndLimit{5};

class MotionCore : public std::enable_shared_from_this<MotionCore> {
 public:
  using State = MotionControl<1>::State;

  explicit MotionCore(std::shared_ptr<XService> link);

  // Resets the controller if stopped, and makes threads, handler and watch unless they are there. A second
  // caller waits for the first.
  void start() noexcept;
  // resource_deadlock_would_occur on one of the two threads: then all is done but the joining.
  void stop(std::error_code& ec) noexcept;
  // Stops for good. After it no watcher call starts; one under way is waited for, but not for ever.
  void close() noexcept;

  void reset(bool remainTraj, std::error_code& ec) noexcept;
  bool threadsRunning() const noexcept;
  bool onOwnThread() const noexcept;

  MotionLog log() const { return MotionLog(service->logger()); }

  const std::shared_ptr<XService> service;
  std::atomic<State> state{State::stopped};
  std::atomic<bool> jogging{false};
  MoveEvents events;
  CommandQueue commands;

 private:
  void launch(std::uint64_t stopsBefore);
  void joinFormer(std::chrono::steady_clock::time_point deadline) noexcept;
  void notificationLoop(const std::stop_token& stop);
  void _processNotification(const MoveNotice& notice, ResetStamp stamp);
  void tellFailedSend(const PendingCommand& command, std::error_code ec);

  // Shared with the link's handler, which holds nothing else of the robot.
  const std::shared_ptr<NotificationQueue> notifications_ = std::make_shared<NotificationQueue>();

  mutable std::mutex lifecycleMutex_;
  std::condition_variable startEnded_;
  bool starting_ = false;
  std::uint64_t stops_ = 0;
  std::vector<Worker> threads_;  // senderThread, notificationThread; empty when stopped
  std::vector<Worker> former_;   // told to stop, not yet joined
};

}  // namespace zivra::internal
