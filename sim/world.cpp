#include "world.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
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

// The controller's own words. The code says it exactly; the words "finish" and "ik" have a meaning of their
// own to clients.
constexpr int kFirstInverseError = -41, kLastInverseError = -33, kInverseErrorBase = -32;

constexpr int kNeedsReset = -17320;    // a program has run
constexpr double kTolerableDrift = 5;  // Nm: with more the arm would move away under the hand

bool isInverseError(int code) { return code >= kFirstInverseError && code <= kLastInverseError; }

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
  motion.reset(false);
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

int World::motionRefusal() const {
  if (safety.estopLatched) return -3;
  if (guiding.on()) return -18;
  if (mode != OperateMode::automatic) return -16;
  if (!powered_) return -17;
  if (taskSpace != TaskSpace::idle) return -18;
  if (force.running()) return -41459;
  return 0;
}

int World::startJog(Jog jog) {
  if (safety.estopLatched) return -3;
  if (taskSpace != TaskSpace::idle || guiding.on()) return -18;
  if (mode != OperateMode::manual) return -16;
  if (!powered_) return -17;
  if (force.running()) return -41459;
  jog.world = inverse(baseFrame_);
  if (const int code = motion.jog(jog); code != 0) return code;
  clearCollision();
  return 0;
}

int World::startProgram() {
  ProgramRunner& program = programs.runner;
  if (!program.loaded()) return -60005;
  if (program.running()) return -20;
  if (const int code = motionRefusal(); code != 0) return code;
  if (!program.atLine()) return -60014;
  if (motion.pending() && !program.usesMotion()) return -18;  // moves of the client's wait to be continued
  clearCollision();
  program.start(*this);
  return 0;
}

void World::forgetMoves() {
  unfinished_.clear();
  programs.runner.loseMoves();
}

int World::appendMoves(std::vector<Move> batch) {
  if (const int code = motionRefusal(); code != 0) return code;
  if (programs.runner.needsReset()) {
    // Clients read other codes than those of motionRefusal from notifications alone.
    reportMoveError(batch.front(), kNeedsReset);
    return kNeedsReset;
  }
  std::vector<Unfinished> appended;
  for (const Move& move : batch) appended.push_back({move.id, move.custom, move.point});
  if (const int code = motion.append(std::move(batch)); code != 0) return code;
  clearCollision();
  unfinished_.insert(unfinished_.end(), appended.begin(), appended.end());
  return 0;
}

int World::continueMoves() {
  if (!motion.pending()) return -1;
  if (programs.runner.needsReset()) return kNeedsReset;
  if (const int code = motionRefusal(); code != 0) return code;
  if (const int code = motion.start(); code != 0) return code;
  clearCollision();
  return 0;
}

void World::reportMoveError(const Move& move, int code) {
  MoveNotice notice;
  notice.id = move.id;
  notice.custom = move.custom;
  notice.point = move.point;
  notice.error = code;
  const std::string text = fmt::format("the move was rejected ({})", code);
  notify(notice, text);
  log(code, text);
}

void World::abortMotion(int code, const std::string& why, Ending ending) {
  ProgramRunner& program = programs.runner;
  if (program.running()) log(code, "the program was stopped: " + why);
  const bool movesOfClient = !program.usesMotion();
  program.loseMoves();
  const bool wasBusy =
      movesOfClient && (motion.jogging() ? motion.queued() > 0 : motion.pending() || motion.moving());
  leaveGuiding();
  protection.forgetRetreat();
  if (ending == Ending::soft) {
    motion.reset(false);
  } else {
    motion.halt();
  }
  force.abort(*this, code);
  if (wasBusy) {
    MoveNotice notice;
    if (!unfinished_.empty()) {
      notice.id = unfinished_.front().id;
      notice.custom = unfinished_.front().custom;
      notice.point = unfinished_.front().point;
    }
    notice.error = code;
    notify(notice, why);
  }
  unfinished_.clear();
}

int World::startGuiding(bool realTime, Guiding::Freedom freedom) {
  if (safety.estopLatched) return -3;
  if (realTime != (taskSpace == TaskSpace::realTime)) return -18;
  if (moving()) return -20;
  if (motion.pending()) return -18;
  if (force.running()) return -41459;
  if (realTime && !powered_) return -515;
  if (!realTime && mode != OperateMode::manual) return -16;
  if (!realTime && !guiding.on() && (powered_ || safety.gateOpen || safety.servoAlarm)) return -515;
  for (const double drift : protection.torqueDrift) {
    if (std::abs(drift) > kTolerableDrift) return -10040;
  }
  clearCollision();
  powered_ = true;
  guiding.begin(freedom);
  return 0;
}

int World::endGuiding(bool realTime) {
  if (realTime != (taskSpace == TaskSpace::realTime)) return -18;
  leaveGuiding();
  return 0;
}

void World::leaveGuiding() {
  if (!guiding.on()) return;
  motion.halt();
  guiding.end(-342);
  if (taskSpace == TaskSpace::idle) powered_ = false;
}

void World::advance(double seconds) {
  ethercat.advance(seconds);
  time += seconds;
  // In pieces while a program runs, so that what a line brings about begins when the line is reached.
  do {
    const bool program = programs.runner.running();
    const double piece = program ? std::min(seconds, ProgramRunner::kLineTime) : seconds;
    advanceMotion(piece);
    programs.runner.advance(*this, piece);
    seconds -= piece;
  } while (seconds > 0);
}

void World::advanceMotion(double seconds) {
  for (const MoveNotice& notice : motion.advance(seconds)) {
    if (notice.jog) {
      log(notice.error, fmt::format("the jog ended before its step was done ({})", notice.error));
      continue;
    }
    if (programs.runner.usesMotion()) {
      programs.runner.notice(*this, notice);
      continue;
    }
    if (notice.error != 0) {
      unfinished_.clear();
      const std::string text = fmt::format("the move failed ({})", notice.error);
      notify(notice, text);
      log(notice.error, text);
      continue;
    }
    if (notice.finish && !unfinished_.empty()) unfinished_.pop_front();
    notify(notice, "started");
  }
  protection.advance(*this);
  force.advance(*this, seconds);
  guiding.advance(*this, seconds);
}

void World::notify(const MoveNotice& notice, const std::string& text) {
  Json::Value payload(Json::objectValue);
  Json::Value& data = payload["data"];
  data["id"] = notice.custom.empty() ? notice.id : notice.id + "*" + notice.custom;
  data["point"] = notice.point;
  if (notice.error != 0) {
    const bool inverse = isInverseError(notice.error);
    payload["error"] = inverse ? notice.error - kInverseErrorBase : notice.error;
    data["msg"] = inverse ? "ik failed" : text;
  } else if (notice.finish) {
    data["msg"] = notice.remark == 0 ? "finish" : fmt::format("finish:{}", notice.remark);
  } else {
    data["msg"] = text;
  }
  push("move.last_error_with_setting", std::move(payload));
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
