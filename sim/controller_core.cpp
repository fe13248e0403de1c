#include "controller_core.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace zivra::sim {

using namespace std::chrono_literals;

namespace {
constexpr auto kTick = 2ms;           // of wall clock while something happens
constexpr auto kLongestStep = 100ms;  // of wall clock: a machine that stood still doesn't make the arm jump
constexpr auto kFarewell = 50ms;      // from the order to go to the links' end
constexpr auto kAway = 300ms;         // how long a reboot takes
constexpr auto kListenAgainInterval = 50ms;  // when the port was taken meanwhile

Options checked(Options options) {
  if (!(std::isfinite(options.speedFactor) && options.speedFactor > 0))
    throw std::invalid_argument("the speed factor of the simulated controller must be a positive number");
  return options;
}
}  // namespace

Controller::Core::Core(Options given)
    : options(checked(std::move(given))),
      world(options),
      dispatch(world, worldMutex, faults),
      fileLink(world, worldMutex),
      upgradeService(world, worldMutex),
      server(options.address, {options.port, options.rtPort}, hooks()),
      publisher(world, worldMutex, [this](Clock::time_point now) { return passTime(now); }) {
  const auto serve = [this](std::uint16_t port, ServerHooks serverHooks) {
    if (port == 0) return;
    serversBeside.push_back(
        std::make_unique<Server>(options.address, std::vector<std::uint16_t>{port}, std::move(serverHooks)));
  };
  serve(options.filePort, fileLink.hooks());
  serve(options.upgradePort, upgradeService.hooks());
}

ServerHooks Controller::Core::hooks() {
  ServerHooks hooks;
  hooks.frame = [this](LinkId link, std::string_view text) {
    if (options.trace) options.trace("< " + std::string(text));
    dispatch.frame(link, text);
    std::lock_guard lock(worldMutex);
    noticeChange();
  };
  hooks.closed = [this](LinkId link) { dispatch.forget(link); };
  hooks.takeDeliveries = [this] { return dispatch.takeDeliveries(); };
  if (options.trace)
    hooks.sent = [this](std::string_view bytes) {
      if (bytes.ends_with('\r')) bytes.remove_suffix(1);
      options.trace("> " + std::string(bytes));
    };
  return hooks;
}

void Controller::Core::noticeChange() {
  if ((timeRests && somethingToDo()) || timePaced != paced()) timeWakes.notify_one();
  if (isIdle()) becameIdle.notify_all();
  publisher.noticeChange();
}

bool Controller::Core::somethingToDo() const {
  return timeEnds || world.busy() || world.restart != Restart::none;
}

// The publisher lets time pass in even steps; the time thread only sees to it that it doesn't stand still.
bool Controller::Core::paced() const { return world.stream.publishing && world.stream.period <= kTick; }

bool Controller::Core::sleepUntil(std::unique_lock<std::mutex>& lock, Clock::time_point until) {
  timeWakes.wait_until(lock, until, [this] { return timeEnds; });
  return !timeEnds;
}

void Controller::Core::runTime() {
  std::unique_lock lock(worldMutex);
  while (!timeEnds) {
    if (world.restart != Restart::none) {
      restart(lock);
      passed = Clock::now();
    } else if (!world.busy()) {
      timeRests = true;
      timeWakes.wait(lock, [this] { return somethingToDo(); });
      passTime(Clock::now());
      timeRests = false;
    } else {
      timePaced = paced();
      const auto interval = timePaced ? kLongestStep : kTick;
      timeWakes.wait_until(lock, passed + interval, [this] { return timeEnds || paced() != timePaced; });
      if (Clock::now() >= passed + interval) passTime(Clock::now());
    }
  }
}

Controller::Core::Clock::time_point Controller::Core::passTime(Clock::time_point now) {
  if (now <= passed) return passed;
  const auto seconds = [this](Clock::duration wall) {
    return std::chrono::duration<double>(wall).count() * options.speedFactor;
  };
  const Clock::duration step = now - std::exchange(passed, now);
  if (timeRests) {  // what has begun meanwhile begins now
    world.time += seconds(step);
    return passed;
  }
  world.advance(seconds(std::min<Clock::duration>(step, kLongestStep)));
  dispatch.collectPushes();
  if (isIdle()) becameIdle.notify_all();
  if (dispatch.hasDeliveries()) server.wake();
  return passed;
}

void Controller::Core::restart(std::unique_lock<std::mutex>& lock) {
  const bool comesBack = world.restart == Restart::reboot;
  // Its answer to the request is out before the links go.
  if (!sleepUntil(lock, Clock::now() + kFarewell)) return;
  away = true;
  lock.unlock();
  everyServer([](Server& each) {
    each.stopListening();
    each.dropLinks(Server::Ending::orderly);
  });
  lock.lock();
  world.boot();
  publisher.noticeChange();
  if (!comesBack) return;
  auto next = Clock::now() + kAway;
  while (sleepUntil(lock, next)) {
    lock.unlock();
    bool back = true;
    away = false;
    try {
      if (!refusesLinks) everyServer([](Server& each) { each.listen(); });
    } catch (const std::runtime_error&) {
      back = false;
    }
    lock.lock();
    if (back) return;
    next = Clock::now() + kListenAgainInterval;
  }
}

}  // namespace zivra::sim
