// What goes on while force control runs: the arm yields, limits trip, conditions are met.
#include <algorithm>
#include <cmath>

#include "force/compliance.h"
#include "motion/geometry.h"
#include "world.h"

namespace zivra::sim {

namespace {

constexpr double kLongestStep = 0.01;  // s
constexpr double kGravity = 9.81;
constexpr double kTurn = 6.283185307179586;
constexpr double kUncompensated = 0.5;  // what friction leaves of an axis' rate if nothing is done about it
// Believable for arms of this size, from the base to the wrist.
constexpr std::array<double, maxAxes> kInertia{3.0, 3.0, 1.5, 0.5, 0.3, 0.1, 0.1};  // kg m^2

Vector6 sixOf(const std::vector<double>& numbers) { return Eigen::Map<const Vector6>(numbers.data()); }

}  // namespace

Pose ForceControl::axesOf(const World& w, const Placement& placement, Frame frame) {
  switch (frame) {
    case Frame::base:
      return toPose(placement.base);
    case Frame::flange:
      return toPose(placement.flange);
    case Frame::tool:
    case Frame::path:
      return toPose(placement.tool);
    case Frame::workObject:
      return compose(toPose(placement.base), w.motion.referenceInBase());
    case Frame::world:
      break;
  }
  return {};
}

Six ForceControl::overlayWrench() const {
  Six wrench{};
  if (overlay_ == OverlayState::none) return wrench;
  if (sine_) {
    wrench[sine_->axis] +=
        sine_->amplitude * std::sin(kTurn * sine_->frequency * overlayTime_ + sine_->phase) + sine_->bias;
  }
  if (lissajous_) {
    const Lissajous& figure = *lissajous_;
    const std::size_t one = figure.plane == 2 ? 1 : 0, two = figure.plane == 0 ? 1 : 2;
    wrench[one] += figure.amplitudeOne * std::sin(kTurn * figure.frequencyOne * overlayTime_);
    wrench[two] += figure.amplitudeTwo * std::sin(kTurn * figure.frequencyTwo * overlayTime_ + figure.phase);
  }
  return wrench;
}

void ForceControl::advance(World& w, double seconds) {
  for (double left = seconds; running() && left > 0;) {
    const double time = std::min(left, kLongestStep);
    left -= time;
    step(w, time);
    if (running()) watchConditions(w, time);
  }
}

void ForceControl::step(World& w, double seconds) {
  const Placement placement(w.motion, w.baseFrame());
  JointVector rates;
  if (type_ == Type::cartesian) {
    const Vector6 desired = toVector(desired_) + toVector(overlayWrench());
    const CartesianDrive drive{toFrame(rest_),
                               toFrame(axes_).M,
                               toVector(stiffness_),
                               desired,
                               sixOf(limits_.controlWrench),
                               sixOf(limits_.controlToolVelocity)};
    rates = yieldRates(placement, surroundings, drive, seconds);
  } else {
    const JointDrive drive{toVector(jointRest_), toVector(jointStiffness_), toVector(jointDesired_),
                           toVector(limits_.controlTorque)};
    rates = yieldRates(placement, surroundings, drive, seconds);
  }
  if (overlay_ == OverlayState::going) overlayTime_ += seconds;

  const ArmLimits& arm = w.motion.arm().limits();
  double slower = 1;  // all axes alike, so that the tool keeps its direction
  for (Eigen::Index i = 0; i < rates.size(); ++i) {
    const auto axis = static_cast<std::size_t>(i);
    rates(i) *= limits_.gain[axis] / ForceLimits::mostGain *
                (1 - kUncompensated * (1 - std::min(limits_.friction[axis], 1.0)));
    const double most = std::min(limits_.controlAxisVelocity[axis], arm.velocity[axis]);
    if (std::abs(rates(i)) > most) slower = std::min(slower, most / std::abs(rates(i)));
  }
  rates *= slower;
  if (supervised_ && exceeds(placement, toJoints(rates))) {
    fail(w);
    return;
  }
  Joints joints = w.motion.joints(), velocities(joints.size(), 0.0);
  for (std::size_t i = 0; i < joints.size(); ++i) {
    const double to = std::clamp(joints[i] + seconds * rates(static_cast<Eigen::Index>(i)),
                                 std::min(arm.lower[i], joints[i]), std::max(arm.upper[i], joints[i]));
    velocities[i] = (to - joints[i]) / seconds;
    joints[i] = to;
  }
  w.motion.yield(joints, velocities);
}

bool ForceControl::exceeds(const Placement& placement, const Joints& rates) const {
  const Six tool = toSix(turned(toFrame(axes_).M, placement.atTool * toVector(rates)));
  for (std::size_t i = 0; i < tool.size(); ++i)
    if (std::abs(tool[i]) > limits_.toolVelocity[i]) return true;
  for (std::size_t i = 0; i < rates.size(); ++i) {
    const double speed = std::abs(rates[i]), momentum = kInertia[i] * speed;
    if (speed > limits_.axisVelocity[i] || momentum > limits_.momentum[i] ||
        0.5 * momentum * speed > limits_.energy[i])
      return true;
  }
  return false;
}

bool ForceControl::met(const World& w, Measure measure, const ForceCondition& condition) const {
  std::array<double, 3> measured{};
  if (measure == Measure::place) {
    measured = compose(inverse(condition.frame), w.motion.toolInReference()).trans;
  } else {
    const Placement placement(w.motion, w.baseFrame());
    const Vector6 outside = placement.outsideWrench(surroundings);
    const Six wrench = toSix(turned(toFrame(axes_).M, placement.aboutFlange(outside)));
    std::copy_n(wrench.begin() + (measure == Measure::force ? 0 : 3), 3, measured.begin());
  }
  bool inside = true;
  for (std::size_t i = 0; i < 3; ++i)
    inside = inside && measured[i] >= condition.bounds[2 * i] && measured[i] <= condition.bounds[2 * i + 1];
  return inside == condition.inside;
}

void ForceControl::watchConditions(World& w, double seconds) {
  if (wait_ == 0) return;
  waited_ += seconds;
  for (const Measure measure : {Measure::force, Measure::torque, Measure::place}) {
    const auto& condition = conditions_[static_cast<std::size_t>(measure)];
    if (!condition || (waited_ < condition->timeout && !met(w, measure, *condition))) continue;
    endWait(w, 0);
    return;
  }
}

ForceControl::Torques ForceControl::torques(const World& w, Frame frame) const {
  const Placement placement(w.motion, w.baseFrame());
  const Vector6 wrench = placement.outsideWrench(surroundings);
  Torques torques;
  const JointVector outside = placement.axisTorques(wrench);
  torques.outside = toJoints(outside);
  // The motors hold the arm and what it carries, and lean against what comes from outside.
  const KDL::Vector centre =
      placement.flange.M * KDL::Vector(load_.centre[0], load_.centre[1], load_.centre[2]);
  const KDL::Vector weight = placement.base.M * KDL::Vector(0, 0, load_.mass * kGravity);
  const KDL::Vector moment = centre * weight;
  Vector6 carried;
  carried << weight.x(), weight.y(), weight.z(), moment.x(), moment.y(), moment.z();
  // The load told to force control stands for that of the tool in force.
  const Joints held = load_.mass > 0 ? w.motion.arm().gravityTorques(w.motion.joints()) : w.torques();
  torques.measured = toJoints(toVector(held) + toVector(w.protection.torqueDrift) +
                              placement.atFlange.transpose() * carried - outside);
  torques.cartesian = toSix(turned(toFrame(axesOf(w, placement, frame)).M,
                                   frame == Frame::tool ? wrench : placement.aboutFlange(wrench)));
  return torques;
}

}  // namespace zivra::sim
