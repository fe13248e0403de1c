#include "zivra/sim/controller.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <fmt/format.h>
#include <stdexcept>

#include "handlers/handlers.h"
#include "network/dispatch.h"
#include "network/faults.h"
#include "network/file_link.h"
#include "network/json_text.h"
#include "network/server.h"
#include "network/state_publisher.h"
#include "network/upgrade_service.h"
#include "world.h"

namespace zivra::sim {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

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

// The network thread answers requests, the time thread lets the world move and the publisher sends its state;
// all, and the callers of the public operations, work on the world under worldMutex. Nothing is sent while it
// is held: what is to go out waits in the dispatch and is taken by the network thread.
struct Controller::Core {
  explicit Core(Options given)
      : options(checked(std::move(given))),
        world(options),
        dispatch(world, worldMutex, faults),
        fileLink(world, worldMutex),
        upgradeService(world, worldMutex),
        server(options.address, {options.port, options.rtPort}, hooks()),
        publisher(world, worldMutex, [this](Clock::time_point now) { return passTime(now); }) {
    const auto serve = [this](std::uint16_t port, ServerHooks serverHooks) {
      if (port == 0) return;
      serversBeside.push_back(std::make_unique<Server>(options.address, std::vector<std::uint16_t>{port},
                                                       std::move(serverHooks)));
    };
    serve(options.filePort, fileLink.hooks());
    serve(options.upgradePort, upgradeService.hooks());
  }

  template <typename Call>
  void everyServer(Call&& call) {
    call(server);
    for (const auto& beside : serversBeside) call(*beside);
  }

  ServerHooks hooks() {
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
  void noticeChange() {
    if ((timeRests && somethingToDo()) || timePaced != paced()) timeWakes.notify_one();
    if (isIdle()) becameIdle.notify_all();
    publisher.noticeChange();
  }

  bool somethingToDo() const { return timeEnds || world.busy() || world.restart != Restart::none; }
  // The publisher lets time pass in even steps; the time thread only sees to it that it doesn't stand still.
  bool paced() const { return world.stream.publishing && world.stream.period <= kTick; }
  bool isIdle() const { return !world.motion.pending() && !world.moving(); }

  template <typename Read>
  auto read(Read&& read) const {
    std::lock_guard lock(worldMutex);
    return read(world);
  }

  void runTime();
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

Clock::time_point Controller::Core::passTime(Clock::time_point now) {
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

Controller::Controller(Options options) : core_(std::make_shared<Core>(std::move(options))) {}

Controller::~Controller() { stop(); }

void Controller::start() {
  std::lock_guard lifecycle(core_->lifecycleMutex);
  if (core_->time.joinable()) return;
  {
    std::lock_guard lock(core_->worldMutex);
    core_->world.boot();
    core_->timeEnds = false;
    core_->passed = Clock::now();
  }
  core_->refusesLinks = core_->away = false;
  try {
    core_->everyServer([](Server& each) { each.start(); });
  } catch (...) {
    core_->everyServer([](Server& each) { each.stop(); });
    throw;
  }
  core_->publisher.start();
  core_->time = std::thread([core = core_.get()] { core->runTime(); });
}

void Controller::stop() {
  std::lock_guard lifecycle(core_->lifecycleMutex);
  {
    std::lock_guard lock(core_->worldMutex);
    core_->timeEnds = true;
  }
  core_->timeWakes.notify_one();
  if (core_->time.joinable()) core_->time.join();
  core_->publisher.stop();
  core_->everyServer([](Server& each) { each.stop(); });
}

const Options& Controller::options() const { return core_->options; }

void Controller::inject(const Fault& fault) { core_->faults.add(fault); }
void Controller::inject(const FileFault& fault) { core_->fileLink.faults().add(fault); }
void Controller::inject(const UpgradeFault& fault) { core_->upgradeService.faults().add(fault); }

void Controller::clearFaults() {
  core_->faults.clear();
  core_->fileLink.faults().clear();
  core_->upgradeService.faults().clear();
  core_->change([](World& w) { w.stream.faults = {}; });
}

void Controller::dropLinks() {
  core_->everyServer([](Server& each) { each.dropLinks(Server::Ending::reset); });
}

void Controller::stopListening() {
  core_->refusesLinks = true;
  core_->everyServer([](Server& each) { each.stopListening(); });
}

void Controller::listenAgain() {
  core_->refusesLinks = false;
  if (!core_->away) core_->everyServer([](Server& each) { each.listen(); });
}

void Controller::stopReading(bool on) {
  core_->everyServer([on](Server& each) { each.stopReading(on); });
}

void Controller::sliceFrames(std::size_t bytes) { core_->server.slice(bytes); }
void Controller::coalesceFrames(std::chrono::milliseconds window) { core_->server.coalesce(window); }

void Controller::sendRaw(const std::string& bytes) {
  Delivery delivery;
  delivery.bytes = bytes;
  delivery.injected = true;
  core_->change([&](World&) { core_->dispatch.post(std::move(delivery)); });
}

void Controller::push(const std::string& key, const std::string& payload) {
  auto value = parseJson(payload);
  if (!value) throw std::invalid_argument("the payload of a push must be one JSON value: " + payload);
  core_->change([&](World& w) { w.push(key, std::move(*value)); });
}

void Controller::pressEmergencyStop() {
  core_->change([](World& w) { w.pressEmergencyStop(); });
}

void Controller::releaseEmergencyStop() {
  core_->change([](World& w) { w.safety.estopPressed = false; });
}

void Controller::openSafetyGate(bool open) {
  core_->change([=](World& w) { w.openGate(open); });
}

void Controller::raiseServoAlarm() {
  core_->change([](World& w) { w.raiseServoAlarm(); });
}

void Controller::collide() {
  core_->change([](World& w) { w.collide(); });
}

void Controller::failNextMove(int code) {
  core_->change([=](World& w) { w.motion.failNext(code); });
}

void Controller::setClockAhead(std::chrono::milliseconds by) {
  core_->change([=](World& w) { w.clock.ahead = by; });
}

void Controller::writeUserLog(LogLevel level, int code, const std::string& text, const std::string& repair) {
  core_->change([&](World& w) { w.userLog.add({level, code, w.clock.text(), text, repair}); });
}

void Controller::unplugSlave(int address) {
  core_->change([=](World& w) { w.ethercat.plug(address, false); });
}

void Controller::plugSlave(int address) {
  core_->change([=](World& w) { w.ethercat.plug(address, true); });
}

void Controller::reboot() {
  core_->change([](World& w) { w.restart = Restart::reboot; });
}

void Controller::setPanelType(int type) {
  core_->change([&](World& w) { w.panel.type = type; });
}

void Controller::pressPanelKey(int key, bool pressed) {
  if (key < 1 || key > 7) throw std::out_of_range("the panel has the keys 1 to 7");
  core_->change([&](World& w) { w.panel.keys[static_cast<std::size_t>(key - 1)] = pressed; });
}

void Controller::setModbusInput(int address, std::uint16_t value) {
  if (address < 0 || address > 255) throw std::out_of_range("the Modbus slave has the addresses 0 to 255");
  core_->change([&](World& w) { w.panel.input[static_cast<std::size_t>(address)] = value; });
}

bool Controller::guidedByHand() const {
  return core_->read([](const World& w) { return w.guiding.on(); });
}

void Controller::guideByHand(const std::vector<std::vector<double>>& points, double seconds) {
  const std::size_t axes = core_->world.identity.model.axes;  // never changes
  for (const auto& point : points) {
    if (point.size() != axes ||
        !std::all_of(point.begin(), point.end(), [](double angle) { return std::isfinite(angle); })) {
      throw std::invalid_argument(fmt::format("a point needs {} finite axis angles", axes));
    }
  }
  if (!(seconds > 0 && std::isfinite(seconds))) throw std::invalid_argument("a hand needs time");
  core_->change([&](World& w) { w.guiding.lead(points, seconds, w.motion); });
}

bool Controller::touch(double newtons) {
  bool noticed = false;
  core_->change([&](World& w) { noticed = w.protection.touch(w, newtons); });
  return noticed;
}

void Controller::setTorqueDrift(std::size_t axis, double newtonMetres) {
  core_->change([&](World& w) { w.protection.torqueDrift.at(axis) = newtonMetres; });
}

void Controller::setDigitalInput(unsigned board, unsigned port, bool state) {
  core_->setInput(fmt::format("DI{}_{}", board, port), state);
}

void Controller::setAnalogInput(unsigned board, unsigned port, double level) {
  core_->setInput(fmt::format("AI{}_{}", board, port), level);
}

bool Controller::digitalOutput(unsigned board, unsigned port) const {
  return core_->read([&](const World& w) {
    const Signals signals = w.signalsShown();
    const auto found = signals.out.find(fmt::format("DO{}_{}", board, port));
    return found != signals.out.end() && found->second;
  });
}

void Controller::setRegister(const std::string& name, const std::string& value) {
  const auto parsed = parseJson(value);
  bool defined = false;
  core_->change([&](World& w) { defined = parsed && w.registers.define(name, *parsed); });
  if (!defined) throw std::invalid_argument("no register can hold " + value);
}

void Controller::setStateError(unsigned flag, bool on) {
  if (flag >= StreamFaults{}.errors.size())
    throw std::invalid_argument("a state error is a flag from 0 to 19");
  core_->change([=](World& w) { w.stream.faults.errors[flag] = on; });
}

void Controller::dropDatagrams(int times) {
  core_->change([=](World& w) { w.stream.faults.drop = times; });
}

void Controller::cutDatagrams(std::size_t bytes, int times) {
  core_->change([=](World& w) {
    w.stream.faults.cutTo = bytes;
    w.stream.faults.cut = times;
  });
}

void Controller::endStateStream() {
  core_->change([](World& w) { w.stream.end(); });
}

std::uint64_t Controller::datagramsSent() const { return core_->publisher.sent(); }

std::vector<std::string> Controller::upgrades() const { return core_->upgradeService.packages(); }

void Controller::putProject(const std::string& name, const std::map<std::string, std::string>& files) {
  core_->change([&](World& w) {
    if (!w.programs.projects.add(name, files, true))
      throw std::invalid_argument("a project has a name, a .xml file and a task with a .mod program");
  });
}

std::map<std::string, std::string> Controller::projectFiles(const std::string& name) const {
  return core_->read([&](const World& w) {
    const Project* project = w.programs.projects.find(name);
    return project == nullptr ? FileTree() : filesOf(*project);
  });
}

void Controller::placeSurface(const std::array<double, 3>& point, const std::array<double, 3>& normal,
                              double stiffness) {
  const double length = std::hypot(normal[0], normal[1], normal[2]);
  const bool finite = std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]);
  if (!finite || !std::isfinite(length) || length < 1e-6 || !std::isfinite(stiffness) || stiffness <= 0)
    throw std::invalid_argument("a surface needs a point, a direction and a positive stiffness");
  const Surroundings::Surface surface{
      point, {normal[0] / length, normal[1] / length, normal[2] / length}, stiffness};
  core_->change([&](World& w) { w.force.surroundings.surface = surface; });
}

void Controller::removeSurface() {
  core_->change([](World& w) { w.force.surroundings.surface.reset(); });
}

void Controller::pushTool(const std::array<double, 6>& wrench) {
  for (const double part : wrench)
    if (!std::isfinite(part)) throw std::invalid_argument("a push must be of finite numbers");
  core_->change([&](World& w) { w.force.surroundings.push = wrench; });
}

std::vector<double> Controller::jointPositions() const {
  return core_->read([](const World& w) { return w.motion.joints(); });
}

std::string Controller::powerState() const {
  return core_->read([](const World& w) { return std::string(w.powerText()); });
}

std::string Controller::operationState() const {
  return core_->read([](const World& w) { return std::string(w.stateText()); });
}

std::string Controller::operateMode() const {
  return core_->read([](const World& w) { return std::string(w.modeText()); });
}

std::size_t Controller::clients() const { return core_->server.links(); }

std::vector<std::string> Controller::requests() const {
  return core_->read([this](const World&) {
    const auto& requests = core_->dispatch.requests();
    return std::vector<std::string>(requests.begin(), requests.end());
  });
}

void Controller::setJointPositions(const std::vector<double>& joints) {
  core_->change([&](World& w) {
    w.motion.setJoints(joints);
    w.forgetMoves();
  });
}

bool Controller::waitUntilIdle(std::chrono::milliseconds limit) const {
  std::unique_lock lock(core_->worldMutex);
  return core_->becameIdle.wait_for(lock, limit, [this] { return core_->isIdle(); });
}

std::vector<std::string> handledKeys() { return allHandlers().keys(); }

}  // namespace zivra::sim
