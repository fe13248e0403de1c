#include "world.h"

#include <array>
#include <charconv>
#include <fmt/format.h>

namespace zivra::sim {

namespace {

// "127.0.0.1" -> 7f000001, so that controllers of one machine differ by themselves.
std::array<unsigned, 4> octets(const std::string& address) {
  std::array<unsigned, 4> parts{};
  const char* at = address.data();
  const char* end = at + address.size();
  for (unsigned& part : parts) {
    at = std::from_chars(at, end, part).ptr;
    part &= 0xff;
    if (at != end) ++at;
  }
  return parts;
}

Identity identify(const Options& options) {
  const RobotModel& model = robotModel(options.model);
  const auto [a, b, c, d] = octets(options.address);
  Identity identity;
  identity.model = model;
  identity.address = options.address;
  identity.version = options.version;
  identity.rtPort = options.rtPort;
  identity.id =
      options.id.empty() ? fmt::format("{}-{:02x}{:02x}{:02x}{:02x}", model.name, a, b, c, d) : options.id;
  identity.mac = fmt::format("02:00:{:02x}:{:02x}:{:02x}:{:02x}", a, b, c, d);
  return identity;
}

}  // namespace

World::World(const Options& options)
    : identity(identify(options)),
      motion(Arm::make(robotModel(options.model).axes)),
      userLog(options.language),
      protection(motion.mechanicalArm().limits()) {
  programs.projects.add("demo", demoProject(motion.arm()), true);
}

void World::boot() {
  powered_ = false;
  mode = OperateMode::manual;
  taskSpace = TaskSpace::idle;
  safety.estopLatched = safety.estopPressed;
  safety.servoAlarm = safety.collided = false;
  restart = Restart::none;
  localAddress.clear();
  signals.boot();
  stream.boot(identity.statePort);
  time = 0;
  guiding.boot();
  protection.boot();
  motion.halt();
  motion.reset();
  motion.defaults() = MotionDefaults{};
  motion.setOverride(1.0);
  setToolset({});
  unfinished_.clear();
  programs.runner = ProgramRunner();
  pushes.clear();
  ethercat.boot();
  note("the controller was started");
  incoming.reset();
  force.boot(motion.arm().limits());
}

const char* World::powerText() const {
  if (safety.estopLatched) return "estop";
  if (safety.gateOpen) return "gstop";
  return powered_ ? "on" : "off";
}

const char* World::modeText() const { return mode == OperateMode::automatic ? "auto" : "manual"; }

const char* World::stateText() const {
  if (taskSpace == TaskSpace::realTime) return "rci";
  if (programs.runner.running()) return "program";
  if (guiding.on()) return "drag";
  if (motion.jogging()) return "joging";
  return motion.moving() ? "idleing" : "idle";
}

Signals World::signalsShown() const {
  Signals shown = signals;
  for (const auto& [name, state] : signals.simulated) shown.di[name] = state;
  shown.di[kSafetyChainInput] = !safety.estopPressed;
  shown.out[kMovingOutput] = moving();
  shown.out[kMotorsOutput] = powered_;
  return shown;
}

int World::switchPowerOn() {
  if (safety.estopLatched) return -3;
  if (safety.gateOpen || safety.servoAlarm) return -514;
  if (!powered_) note("the motors were switched on");
  powered_ = true;
  return 0;
}

void World::switchPowerOff() {
  if (powered_) note("the motors were switched off");
  cutPower(-17, "the motors were switched off");
}

void World::cutPower(int code, const std::string& why) {
  powered_ = false;
  abortMotion(code, why);
}

void World::pressEmergencyStop() {
  safety.estopPressed = safety.estopLatched = true;
  log(-3, "the emergency stop was pressed");
  cutPower(-3, "emergency stop");
}

int World::resetEmergencyStop() {
  if (safety.estopPressed) return -3;
  if (safety.estopLatched) log(0, "the emergency stop was reset");
  safety.estopLatched = false;
  return 0;
}

void World::openGate(bool open) {
  if (open != safety.gateOpen) log(0, open ? "the safety gate was opened" : "the safety gate was closed");
  safety.gateOpen = open;
  if (open) cutPower(-17, "the safety gate was opened");
}

void World::raiseServoAlarm() {
  safety.servoAlarm = true;
  log(-50001, "servo alarm");
  cutPower(-50001, "servo alarm");
}

void World::collide() {
  abortMotion(-50401, "collision");
  noteCollision();
}

void World::noteCollision() {
  safety.collided = true;
  push("safety.event.collision", true);
  log(-50401, "collision");
}

void World::clearCollision() {
  protection.forgetRetreat();
  if (!safety.collided) return;
  safety.collided = false;
  push("safety.event.collision", false);
}

void World::clearAlarms() {
  safety.servoAlarm = false;
  force.clearFault();
  clearCollision();
}

void World::setBaseFrame(const Pose& frame) {
  baseFrame_ = frame;
  setToolset(tools.inForce);
}

void World::setToolset(const Toolset& toolset) {
  tools.inForce = toolset;
  motion.setToolset(toolset.end.frame, referenceInBase(toolset));
}

// Work objects are fixed in the world: seen from the moved base they are elsewhere.
Pose World::referenceInBase(const Toolset& toolset) const {
  return compose(inverse(baseFrame_), toolset.reference.frame);
}

Joints World::torques() const {
  constexpr double gravity = 9.81, step = 1e-6;  // m/s^2, rad
  const Arm& arm = motion.arm();
  const Load& load = tools.inForce.load;
  Joints torques = arm.gravityTorques(motion.joints());
  Joints joints = motion.joints();
  // Each axis works against the height that the load gains by its turning.
  const auto heightAt = [&](std::size_t axis, double angle) {
    joints[axis] = angle;
    return compose(arm.flange(joints), Pose{load.cog, {}}).trans[2];
  };
  for (std::size_t axis = 0; axis < joints.size(); ++axis) {
    const double now = joints[axis];
    const double gain = (heightAt(axis, now + step) - heightAt(axis, now - step)) / (2 * step);
    torques[axis] += load.mass * gravity * gain;
    joints[axis] = now;
  }
  return torques;
}

void World::push(const std::string& key, Json::Value payload) { pushes.push_back({key, std::move(payload)}); }

void World::log(int code, const std::string& text) {
  LogEntry entry = userLog.written(code, text);
  entry.time = clock.text();
  Json::Value payload(Json::objectValue);
  payload["error"] = code;
  payload["data"] = entry.text;
  push("log.user", std::move(payload));
  userLog.add(std::move(entry));
}

void World::note(const std::string& text) {
  LogEntry entry = userLog.written(0, text);
  entry.time = clock.text();
  userLog.add(std::move(entry));
}

}  // namespace zivra::sim
