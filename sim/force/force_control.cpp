// States, settings and refusals. What goes on during a run is in force_run.cpp.
#include "force/force_control.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

#include "force/compliance.h"
#include "motion/geometry.h"
#include "world.h"

namespace zivra::sim {

namespace {

constexpr int kModuleFailed = -10079, kUnfinished = -41400, kToolTooLong = -41419, kModelError = -41420,
              kNotRunning = -41421, kSineRefused = -41425, kLissajousRefused = -41426, kNoOverlaySet = -41427,
              kOverlayNotStarted = -41428, kOverlayNotPaused = -41429, kFrameUnsupported = -41430,
              kNotJoint = -41431, kNotCartesian = -41432, kNotCartesianForce = -41433,
              kTorqueTooLarge = -41434, kForceTooLarge = -41435, kSoftLimitsOff = -41442,
              kBadStiffness = -41444, kNoPower = -41448, kMovesUnfinished = -41449, kStopped = -41457,
              kBarredWhileRunning = -41459, kLimitsReset = -41470, kNothingToWaitFor = -260;

constexpr double kLongestTool = 1.0;                           // m
constexpr double kHeaviestLoad = 20;                           // kg
constexpr double kMostForce = 150, kMostTorque = 15;           // N, Nm
constexpr double kMostAxisTorque = 30;                         // Nm
constexpr double kStiffest = 5000, kStiffestTurn = 500;        // N/m, Nm/rad
constexpr double kStiffestAxis = 3000, kStiffestSwivel = 100;  // Nm/rad
constexpr double kUsualStiffness = 1000, kUsualTurnStiffness = 100, kUsualAxisStiffness = 500;
constexpr double kUsualForce = 200, kUsualTorque = 50, kUsualAxisTorque = 100;
constexpr double kUsualSpeed = 0.25, kUsualTurnSpeed = 0.8, kUsualToolSpeed = 1.0, kUsualToolTurnSpeed = 3.0;
constexpr double kUsualMomentum = 50, kUsualEnergy = 100;

constexpr Six sixOf(double shift, double turn) { return {shift, shift, shift, turn, turn, turn}; }

std::vector<double> listOf(double shift, double turn) { return {shift, shift, shift, turn, turn, turn}; }

bool within(std::span<const double> numbers, double least, double most) {
  return std::all_of(numbers.begin(), numbers.end(),
                     [=](double number) { return number >= least && number <= most; });
}

bool within(const Six& six, double least, double most, double leastTurn, double mostTurn) {
  const std::span<const double> all(six);
  return within(all.first(3), least, most) && within(all.last(3), leastTurn, mostTurn);
}

}  // namespace

ForceLimits ForceLimits::usual(const ArmLimits& arm) {
  const std::size_t axes = arm.velocity.size();
  ForceLimits limits;
  limits.toolVelocity = listOf(kUsualToolSpeed, kUsualToolTurnSpeed);
  limits.axisVelocity = limits.controlAxisVelocity = arm.velocity;
  limits.momentum.assign(axes, kUsualMomentum);
  limits.energy.assign(axes, kUsualEnergy);
  limits.controlWrench = listOf(kUsualForce, kUsualTorque);
  limits.controlToolVelocity = listOf(kUsualSpeed, kUsualTurnSpeed);
  limits.controlTorque.assign(axes, kUsualAxisTorque);
  limits.gain.assign(axes, mostGain);
  limits.friction.assign(axes, 1.0);
  return limits;
}

int ForceControl::init(const World& w, Frame frame) {
  if (failed_) return kModuleFailed;
  if (running()) return kUnfinished;
  if (!w.powered()) return kNoPower;
  if (w.moving() || w.motion.pending() || w.guiding.on()) return kMovesUnfinished;
  if (!w.protection.softLimitsOn()) return kSoftLimitsOff;
  const Pose tool = w.motion.toolInFlange();
  if (std::hypot(tool.trans[0], tool.trans[1], tool.trans[2]) > kLongestTool) return kToolTooLong;
  const std::size_t axes = w.motion.arm().axes();
  state_ = State::ready;
  frame_ = frame;
  type_ = Type::cartesian;
  stiffness_ = sixOf(kUsualStiffness, kUsualTurnStiffness);
  desired_ = {};
  jointStiffness_.assign(axes, kUsualAxisStiffness);
  jointDesired_.assign(axes, 0.0);
  sine_.reset();
  lissajous_.reset();
  overlay_ = OverlayState::none;
  conditions_ = {};
  return 0;
}

int ForceControl::start(const World& w) {
  if (failed_) return kModuleFailed;
  if (running()) return kUnfinished;
  if (state_ == State::stopped) return kStopped;
  if (state_ == State::idle || load_.mass < 0 || load_.mass > kHeaviestLoad) return kModelError;
  if (w.moving() || w.motion.pending() || w.guiding.on()) return kUnfinished;
  if (!w.protection.softLimitsOn()) return kSoftLimitsOff;
  const Placement placement(w.motion, w.baseFrame());
  rest_ = toPose(placement.tool);
  axes_ = axesOf(w, placement, frame_);
  jointRest_ = w.motion.joints();
  state_ = State::running;
  return 0;
}

int ForceControl::stop(World& w) {
  if (failed_) return kModuleFailed;
  if (!running()) return kNotRunning;
  endRun(w, State::stopped, kStopped);
  return 0;
}

void ForceControl::abort(World& w, int code) {
  if (state_ != State::idle) endRun(w, State::idle, code);
}

void ForceControl::fail(World& w) {
  failed_ = limitsReset_ = true;
  supervised_ = false;
  limits_ = ForceLimits::usual(w.motion.arm().limits());
  endRun(w, State::idle, kModuleFailed);
  w.log(kModuleFailed, "a protection limit of force control was exceeded");
}

void ForceControl::endRun(World& w, State state, int code) {
  // What else moves the arm brakes it by itself.
  if (running()) w.motion.yield(w.motion.joints(), Joints(w.motion.joints().size(), 0.0));
  state_ = state;
  overlay_ = OverlayState::none;
  endWait(w, code);
}

void ForceControl::endWait(World& w, int code) {
  conditions_ = {};
  if (const auto ticket = std::exchange(wait_, 0); ticket != 0) w.answerLater(ticket, code);
}

void ForceControl::boot(const ArmLimits& arm) {
  const Surroundings kept = surroundings;
  *this = ForceControl{};
  surroundings = kept;
  limits_ = ForceLimits::usual(arm);
}

int ForceControl::setType(Type type) {
  if (failed_) return kModuleFailed;
  if (running()) return kBarredWhileRunning;
  if (state_ == State::stopped) return kStopped;
  if (state_ == State::idle) return kModelError;
  if (type == Type::joint && frame_ == Frame::path) return kFrameUnsupported;
  type_ = type;
  return 0;
}

int ForceControl::setLoad(const Load& load) {
  if (failed_) return kModuleFailed;
  if (running()) return kBarredWhileRunning;
  load_ = load;  // judged at the start, against what the axes feel
  return 0;
}

int ForceControl::jointRefusal() const {
  if (failed_) return kModuleFailed;
  if (state_ == State::stopped) return kStopped;
  return state_ == State::idle || type_ != Type::joint ? kNotJoint : 0;
}

int ForceControl::cartesianRefusal(int code) const {
  if (failed_) return kModuleFailed;
  if (state_ == State::stopped) return kStopped;
  return state_ == State::idle || type_ != Type::cartesian ? code : 0;
}

int ForceControl::setCartesianStiffness(const Six& stiffness) {
  if (const int code = cartesianRefusal(kNotCartesian); code != 0) return code;
  if (overlay_ != OverlayState::none || !within(stiffness, 0, kStiffest, 0, kStiffestTurn))
    return kBadStiffness;
  stiffness_ = stiffness;
  return 0;
}

// The arm has no mass here that would swivel by itself: nothing comes of it.
int ForceControl::setNullspaceStiffness(double stiffness) {
  if (const int code = cartesianRefusal(kNotCartesian); code != 0) return code;
  return stiffness >= 0 && stiffness <= kStiffestSwivel ? 0 : kBadStiffness;
}

int ForceControl::setDesiredForce(const Six& wrench) {
  if (const int code = cartesianRefusal(kNotCartesianForce); code != 0) return code;
  if (!within(wrench, -kMostForce, kMostForce, -kMostTorque, kMostTorque)) return kForceTooLarge;
  desired_ = wrench;
  return 0;
}

int ForceControl::setJointStiffness(const Joints& stiffness) {
  if (const int code = jointRefusal(); code != 0) return code;
  if (!within(stiffness, 0, kStiffestAxis)) return kBadStiffness;
  jointStiffness_ = stiffness;
  return 0;
}

int ForceControl::setDesiredTorque(const Joints& torque) {
  if (const int code = jointRefusal(); code != 0) return code;
  if (!within(torque, -kMostAxisTorque, kMostAxisTorque)) return kTorqueTooLarge;
  jointDesired_ = torque;
  return 0;
}

int ForceControl::overlayRefusal(int code) const {
  const bool settable = overlay_ == OverlayState::none;
  return failed_ ? kModuleFailed : settable ? cartesianRefusal(code) : code;
}

int ForceControl::setOverlay(const Sine& sine) {
  if (const int code = overlayRefusal(kSineRefused); code != 0) return code;
  sine_ = sine;
  return 0;
}

int ForceControl::setOverlay(const Lissajous& lissajous) {
  if (const int code = overlayRefusal(kLissajousRefused); code != 0) return code;
  lissajous_ = lissajous;
  return 0;
}

int ForceControl::startOverlay() {
  if (failed_) return kModuleFailed;
  if (!running() || (!sine_ && !lissajous_)) return kNoOverlaySet;
  if (overlay_ != OverlayState::none) return kUnfinished;
  overlay_ = OverlayState::going;
  overlayTime_ = 0;
  return 0;
}

int ForceControl::stopOverlay() {
  if (failed_) return kModuleFailed;
  if (overlay_ == OverlayState::none) return kOverlayNotStarted;
  overlay_ = OverlayState::none;
  return 0;
}

int ForceControl::pauseOverlay() {
  if (failed_) return kModuleFailed;
  if (overlay_ != OverlayState::going) return kOverlayNotStarted;
  overlay_ = OverlayState::paused;
  return 0;
}

int ForceControl::restartOverlay() {
  if (failed_) return kModuleFailed;
  if (overlay_ != OverlayState::paused) return kOverlayNotPaused;
  overlay_ = OverlayState::going;
  return 0;
}

int ForceControl::setCondition(Measure measure, const ForceCondition& condition) {
  if (failed_) return kModuleFailed;
  if (state_ == State::stopped) return kStopped;
  if (state_ == State::idle) return kNotCartesian;
  conditions_[static_cast<std::size_t>(measure)] = condition;
  return 0;
}

int ForceControl::beginWait(std::uint64_t ticket) {
  if (failed_) return kModuleFailed;
  if (!running()) return kNotRunning;
  if (wait_ != 0) return kUnfinished;
  const bool any = std::any_of(conditions_.begin(), conditions_.end(), [](const auto& c) { return !!c; });
  if (!any) return kNothingToWaitFor;
  wait_ = ticket;
  waited_ = 0;
  return 0;
}

void ForceControl::abandonWait(std::uint64_t ticket) {
  if (wait_ == ticket) wait_ = 0;
}

int ForceControl::supervise(bool on) {
  if (failed_) return kModuleFailed;
  // Told once, to whoever counts on limits that are gone.
  if (on && std::exchange(limitsReset_, false)) return kLimitsReset;
  supervised_ = on;
  return 0;
}

int ForceControl::setLimit(ForceLimits::Numbers ForceLimits::*limit, ForceLimits::Numbers values) {
  if (failed_) return kModuleFailed;
  limits_.*limit = std::move(values);
  limitsReset_ = false;
  return 0;
}

}  // namespace zivra::sim
