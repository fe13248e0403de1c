// The parts of a simulated controller and the threads that work on them.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "network/dispatch.h"
#include "network/faults.h"
#include "network/file_link.h"
#include "network/server.h"
#include "network/state_publisher.h"
#include "network/upgrade_service.h"
#include "world.h"
#include "zivra/sim/controller.h"

namespace zivra::sim {

// The network thread answers requests, the time thread lets the world move and the publisher sends its state;
// all, and the callers of the public operations, work on the world under worldMutex. Nothing is sent while it
// is held: what is to go out waits in the dispatch and is taken by the network thread.
struct Controller::Core {
  using Clock = std::chrono::steady_clock;

  explicit Core(Options given);

  template <typename Call>
  void everyServer(Call&& call) {
    call(server);
    for (const auto& beside : serversBeside) call(*beside);
  }

  // Does something to the world from a public operation and tells everybody concerned.
  template <typename Change>
  void change(Change&& change) {
    {
      std::lock_guard lock(worldMutex);
      change(world);
      dispatch.collectPushes();
      noticeChange();
    }
    server.wake();
  }

  template <typename Level>
  void setInput(const std::string& name, Level level) {
    bool applied = false;
    change([&](World& w) { applied = w.signals.apply(name, level); });
    if (!applied) throw std::invalid_argument("no terminal leads to the input " + name);
  }

  // With worldMutex held, after anything but the passing of time: wakes those whom it concerns, and nobody
  // for a mere reading.
  void noticeChange();
  bool isIdle() const { return !world.motion.pending() && !world.moving(); }

  template <typename Read>
  auto read(Read&& read) const {
    std::lock_guard lock(worldMutex);
    return read(world);
  }

  ServerHooks hooks();
  void runTime();
  bool somethingToDo() const;
  bool paced() const;
  // With worldMutex held. Gives up to when time has passed, which may be later already.
  Clock::time_point passTime(Clock::time_point now);
  void restart(std::unique_lock<std::mutex>& lock);
  bool sleepUntil(std::unique_lock<std::mutex>& lock, Clock::time_point until);  // false: time ends

  const Options options;
  mutable std::mutex worldMutex;
  mutable std::condition_variable becameIdle;
  std::condition_variable timeWakes;
  World world;
  Faults faults;
  Dispatch dispatch;
  FileLink fileLink;
  UpgradeService upgradeService;
  Server server;
  StatePublisher publisher;
  std::vector<std::unique_ptr<Server>> serversBeside;  // of the file link and the upgrade service
  std::mutex lifecycleMutex;                           // start and stop, one at a time
  std::thread time;
  bool timeEnds = false, timeRests = false, timePaced = false;  // under worldMutex
  Clock::time_point passed{};                                   // up to when; under worldMutex
  std::atomic<bool> refusesLinks{false};                        // by stopListening
  std::atomic<bool> away{false};                                // while it reboots, or shut down
};

}  // namespace zivra::sim
