#include "zivra/sim/controller.h"

#include <stdexcept>

#include "controller_core.h"
#include "handlers/handlers.h"
#include "network/json_text.h"

namespace zivra::sim {

Controller::Controller(Options options) : core_(std::make_shared<Core>(std::move(options))) {}

Controller::~Controller() { stop(); }

void Controller::start() {
  std::lock_guard lifecycle(core_->lifecycleMutex);
  if (core_->time.joinable()) return;
  {
    std::lock_guard lock(core_->worldMutex);
    core_->world.boot();
    core_->timeEnds = false;
    core_->passed = Core::Clock::now();
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
