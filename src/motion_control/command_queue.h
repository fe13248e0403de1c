// Batches on their way to the controller: a bounded number of commands there, the rest here.
//
// One batch at a time is on its way out, so that the order on the wire is the order of the calls, whoever
// sends. What was taken out of the queue but isn't sent yet still counts as queued: a wipe drops it, a hold
// puts it back; both shut the gate that the link asks at the moment in which the frame is queued.
//
// Threads: everything from any thread. `send` and `failed` are called without the lock, on the thread that
// pushes or on the one in `sendUntil`; `failed` may push again.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <system_error>

#include "motion_control/reset_stamp.h"
#include "network/xservice/xservice.h"

namespace zivra::internal {

struct PendingCommand {
  std::string id;
  std::uint32_t count = 0;  // commands of the batch
  std::string request;      // JSON text of an object with the request key as its one member
  bool counted = true;      // its commands take part in `inFlight`
};

class CommandQueue {
 public:
  using Send = std::function<void(const PendingCommand&, XService::Gate, std::error_code&)>;
  using Failed = std::function<void(const PendingCommand&, std::error_code)>;

  CommandQueue(Send send, Failed failed) : send_(std::move(send)), failed_(std::move(failed)) {}

  // Sends at once if nothing is before it and the controller has room, else leaves it to `sendUntil`.
  void push(PendingCommand command);
  // The sender thread's work.
  void sendUntil(const std::stop_token& stop);

  // Drops everything and forgets what is in flight, unless a reset came since the stamp was taken.
  void wipe(ResetStamp stamp = {});
  // One command has ended.
  void finishOne(ResetStamp stamp = {});
  // Between the two nothing is sent.
  void hold();
  void release();

  void setMaxCacheSize(int size);
  std::uint64_t inFlight() const;
  std::size_t size() const;

 private:
  bool ready() const;
  void _sendCommand(std::unique_lock<std::mutex>& lock, PendingCommand command);
  PendingCommand takeFirst();

  const Send send_;
  const Failed failed_;
  mutable std::mutex queueMutex_;
  std::condition_variable_any queueChanged_;
  std::deque<PendingCommand> commandQueue_;
  std::uint64_t inFlight_ = 0;
  std::uint64_t maxCacheSize_ = 300;
  std::uint64_t wipes_ = 0;
  int holds_ = 0;
  int senders_ = 0;                      // threads in `sendUntil`
  bool sending_ = false;                 // a batch is out of the queue and not yet sent
  std::atomic<std::uint64_t> epoch_{0};  // changes with each wipe and hold; written under the mutex
};

}  // namespace zivra::internal
