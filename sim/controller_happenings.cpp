// What users' tests let happen to the simulated robot, its devices and what surrounds it.
#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <stdexcept>

#include "controller_core.h"
#include "network/json_text.h"

namespace zivra::sim {

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

}  // namespace zivra::sim
