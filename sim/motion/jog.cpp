// The way of a jog: one axis, or the tool along or about one direction.
#include <algorithm>
#include <cmath>

#include "motion/path.h"

namespace zivra::sim {
namespace {

constexpr double fastestTool = 0.25;  // m/s: what a person beside the arm can react to
constexpr double fastestTurn = 0.8;   // rad/s
constexpr double longestWay = 3.0;    // m: beyond every arm's reach
constexpr double widestTurn = 13.0;   // rad: beyond every axis' range
constexpr double leastWay = 1e-6;     // rad: nearer to its limit an axis has no room left

PlannedMove trajectoryOf(const ChainArm& arm, Knots knots, const Speeds& speeds, int endCode) {
  const auto limits = limitsAlong(knots, arm, speeds);
  PlannedMove plan;
  plan.trajectory = std::make_shared<Trajectory>(std::move(knots), limits, speeds.smoothing, 0.0);
  plan.endCode = endCode;
  return plan;
}

PlannedMove planAxis(const ChainArm& arm, const Jog& jog, const MoveSettings& settings,
                     const JointVector& start, const Speeds& speeds) {
  if (jog.axis >= arm.axes()) return {-50516, nullptr};
  if (settings.defaults.lockAxis4 && jog.axis == 3) return {-50525, nullptr};
  const auto axis = static_cast<Eigen::Index>(jog.axis);
  JointVector target = start;
  target(axis) = std::clamp(start(axis) + std::clamp(jog.step, -widestTurn, widestTurn),
                            arm.limits().lower[jog.axis], arm.limits().upper[jog.axis]);
  const double way = target(axis) - start(axis);
  if (way * jog.step <= 0 || std::abs(way) < leastWay)
    return {std::abs(jog.step) < leastWay ? -50514 : -50101, nullptr};
  const int endCode = std::abs(way) < std::abs(jog.step) - leastWay ? -50101 : 0;
  return trajectoryOf(arm, jointPath(arm, settings.tool, start, target), speeds, endCode);
}

KDL::Rotation axesOf(const Jog& jog, const MoveSettings& settings, const KDL::Frame& flange,
                     const KDL::Frame& world) {
  switch (jog.space) {
    case JogSpace::world:
      return world.M;
    case JogSpace::flange:
      return flange.M;
    case JogSpace::tool:
      return (flange * settings.tool).M;
    case JogSpace::workObject:
      return settings.reference.M;
    case JogSpace::base:
    case JogSpace::joints:
      break;
  }
  return KDL::Rotation::Identity();
}

// The path up to the last knot, as if it had been meant to end there.
Knots shortened(Knots knots) {
  const double part = knots.back().at;
  for (Trajectory::Knot& knot : knots) {
    knot.at /= part;
    knot.way *= part;
    knot.tool = knot.tool * part;
  }
  knots.back().at = 1;
  return knots;
}

PlannedMove planTool(const ChainArm& arm, const Jog& jog, MoveSettings settings, const JointVector& start,
                     const Speeds& speeds, const KDL::Frame& world) {
  if (jog.axis >= 6) return {-50516, nullptr};
  const bool turns = jog.axis >= 3;
  const KDL::Frame flange = arm.forward(start);
  const KDL::Rotation axes = axesOf(jog, settings, flange, world);
  const int column = static_cast<int>(jog.axis % 3);
  const KDL::Vector along(axes(0, column), axes(1, column), axes(2, column));
  // The flange's own space is that of an arm without a tool. All is counted in the base.
  if (jog.space == JogSpace::flange) settings.tool = KDL::Frame::Identity();
  settings.reference = KDL::Frame::Identity();
  const KDL::Frame from = flange * settings.tool;
  const double longest = turns ? widestTurn : longestWay;
  const double step = std::clamp(jog.step, -longest, longest);
  if (turns && arm.axes() < 6) {  // such an arm follows the position alone: can it turn that way at all?
    JacobianMatrix jacobian;
    arm.forward(start, &jacobian);
    const KDL::Twist twist = KDL::Twist(KDL::Vector::Zero(), along).RefPoint(flange.p - from.p);
    const Eigen::Matrix<double, 6, 1> turned = jacobian * arm.rates(start, twist);
    const Eigen::Vector3d wanted(along.x(), along.y(), along.z());
    if ((turned.tail<3>() - wanted).norm() > 0.01) return {arm.axes() == 5 ? -50034 : -50516, nullptr};
  }
  const KDL::Vector way = turns ? KDL::Vector::Zero() : along * step;
  const auto place = [=](double at, KDL::Vector& position, KDL::Vector& derivative) {
    position = from.p + way * at;
    derivative = way;
  };
  const Curve curve(place, from.M, from.M.Inverse() * along, turns ? step : 0.0, 0.0);
  FollowedCurve followed = followCurve(arm, settings, curve, start);
  constexpr std::size_t leastKnots = 3;
  if (followed.code == 0) return trajectoryOf(arm, std::move(followed.knots), speeds, 0);
  if (followed.knots.size() < leastKnots) return {followed.code, nullptr};
  return trajectoryOf(arm, shortened(std::move(followed.knots)), speeds, followed.code);
}

}  // namespace

PlannedMove planJog(const ChainArm& arm, const Jog& jog, const MoveSettings& settings,
                    const KDL::Frame& world, const JointVector& start) {
  if (!(jog.rate > 0 && jog.rate <= 1)) return {-50513, nullptr};
  if (!std::isfinite(jog.step) || jog.step == 0) return {-50514, nullptr};
  Speeds speeds = speedsOf(settings.defaults);
  speeds.tool = fastestTool * jog.rate;
  speeds.turn = fastestTurn * jog.rate;
  if (jog.space != JogSpace::joints) return planTool(arm, jog, settings, start, speeds, world);
  speeds.axes = jog.rate;
  return planAxis(arm, jog, settings, start, speeds);
}

}  // namespace zivra::sim
