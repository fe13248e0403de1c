// From a move to a trajectory: what the targets mean, which way the axes go, and how fast.
#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <utility>

#include "motion/geometry.h"
#include "motion/path.h"

namespace zivra::sim {
namespace {

constexpr double pi = std::numbers::pi;
constexpr double turnRadius = 0.2;         // m: a speed turns the tool as fast as this radius would
constexpr double fastestTurn = pi;         // rad/s, unless the move says otherwise
constexpr double posturePrecision = 0.01;  // rad: off by more, an orientation counts as lost
constexpr double lockedAngle = 1e-3;       // rad: within this a locked axis stands at zero

bool positive(const std::optional<double>& value) { return !value || (*value > 0 && std::isfinite(*value)); }

int readSpeeds(const Move& move, const MotionDefaults& defaults, Speeds& speeds) {
  if (!positive(move.speed) || !positive(move.rotSpeed) || !positive(move.jointSpeed)) return -50513;
  if (move.jointSpeed && *move.jointSpeed > 1.0) return -50513;
  if (!(move.zone.value_or(defaults.zone) >= 0)) return -50019;
  speeds = speedsOf(defaults);
  if (move.jointSpeed) {
    speeds.axes = *move.jointSpeed;
    return 0;
  }
  speeds.tool = move.speed.value_or(defaults.speed);
  if (!(speeds.tool > 0)) return -50513;
  speeds.turn = move.rotSpeed.value_or(std::min(speeds.tool / turnRadius, fastestTurn));
  return 0;
}

// The tool's pose in the work object that a target means.
KDL::Frame resolve(const Target& target) {
  KDL::Frame frame = toFrame(target.pose);
  const KDL::Frame offset = toFrame(target.offset.frame);
  switch (target.offset.kind) {
    case OffsetKind::none:
      break;
    case OffsetKind::offs:  // along and about the work object's axes, turned in place
      frame.p = frame.p + offset.p;
      frame.M = offset.M * frame.M;
      break;
    case OffsetKind::relTool:
      frame = frame * offset;
      break;
  }
  return frame;
}

bool isFinite(const Target& target) {
  return isFinite(target.pose) && (target.offset.kind == OffsetKind::none || isFinite(target.offset.frame));
}

DrawnCurve draw(const Move& move, const KDL::Frame& start, bool firstMove) {
  const KDL::Frame target = resolve(move.target);
  switch (move.kind) {
    case MoveKind::circle:
      return drawArc(start, resolve(move.aux), target);
    case MoveKind::fullCircle:
      return drawCircle(start, resolve(move.aux), target, move.angle, move.rotation);
    case MoveKind::spiral:
      return drawSpiral(start, target, move.radius, move.step, move.angle, move.direction);
    default:
      break;
  }
  DrawnCurve line = drawLine(start, target);
  if (line.code == -50003 && firstMove) line.code = -50518;
  return line;
}

bool axis4Rests(const Knots& knots) {
  return std::all_of(knots.begin(), knots.end(),
                     [](const Trajectory::Knot& knot) { return std::abs(knot.joints(3)) < lockedAngle; });
}

bool keepsPosture(const ChainArm& arm, const MoveSettings& settings, const Curve& curve, const Knots& knots) {
  return std::all_of(knots.begin(), knots.end(), [&](const Trajectory::Knot& knot) {
    const KDL::Rotation now = (arm.forward(knot.joints) * settings.tool).M;
    const KDL::Rotation wanted = settings.reference.M * curve.pose(knot.at).M;
    const KDL::Vector off = rotationVector(now.Inverse() * wanted);
    return KDL::dot(off, off) < posturePrecision * posturePrecision;
  });
}

PlannedMove planCurve(const ChainArm& arm, const Move& move, const MoveSettings& settings,
                      const JointVector& start, bool firstMove, const Speeds& speeds, double zone) {
  const KDL::Frame from = settings.reference.Inverse() * arm.forward(start) * settings.tool;
  const DrawnCurve drawn = draw(move, from, firstMove);
  if (drawn.code != 0) return {drawn.code, nullptr};
  // The end is judged by itself first: it tells an unreachable target from a way that can't be followed.
  const KDL::Frame end = settings.reference * drawn.curve.pose(1) * settings.tool.Inverse();
  const bool exactEnd = arm.axes() >= 6 || move.kind == MoveKind::line || move.kind == MoveKind::circle;
  Arm::Solution solution;
  if (exactEnd) {
    solution = arm.inverse(end, start, {});
    if (solution.code != 0) return {solution.code, nullptr};
  }
  FollowedCurve followed = followCurve(arm, settings, drawn.curve, start);
  const bool avoidable =
      followed.code == -50102 && (move.kind == MoveKind::line || move.kind == MoveKind::circle);
  if (avoidable && settings.defaults.wristTolerance > 0) {
    followed = followWithEvenWrist(arm, settings, drawn.curve, start, toVector(solution.joints),
                                   settings.defaults.wristTolerance);
  } else if (avoidable && settings.defaults.jointWay) {
    followed = {0, jointPath(arm, settings.tool, start, toVector(solution.joints))};
  }
  if (followed.code != 0) return {followed.code, nullptr};
  Knots& knots = followed.knots;
  if (settings.defaults.lockAxis4 && !axis4Rests(knots)) return {-50034, nullptr};
  if (settings.defaults.completePosture && !keepsPosture(arm, settings, drawn.curve, knots))
    return {-50113, nullptr};
  if (settings.defaults.forceConf && !move.target.conf.empty() &&
      !arm.hasConf(knots.back().joints, move.target.conf)) {
    return {-50103, nullptr};
  }
  const auto limits = limitsAlong(knots, arm, speeds);
  return {0, std::make_shared<Trajectory>(std::move(knots), limits, speeds.smoothing, zone)};
}

// To the path's beginning as an unhurried move of the axes, and then along the path in its own time.
PlannedMove planReplay(const ChainArm& arm, const Move& move, const MoveSettings& settings,
                       const JointVector& start) {
  if (!move.path) return {-60511, nullptr};
  const std::vector<Joints>& points = move.path->points;
  if (!(move.rate > 0 && std::isfinite(move.rate))) return {-50513, nullptr};
  if (points.size() < 2 || points.front().size() != arm.axes()) return {-50512, nullptr};
  Knots knots;
  const JointVector first = toVector(points.front()), way = first - start;
  const double largest = way.cwiseAbs().maxCoeff();
  const int intervals = largest < 1e-6 ? 0 : std::max(40, static_cast<int>(largest / 0.05));
  const double approach = intervals == 0 ? 0 : 0.5;  // share of the parameter
  for (int i = 0; i < intervals; ++i) {              // leaves and arrives without a kink in the way
    const double part = static_cast<double>(i) / intervals;
    knots.push_back(jointKnot(arm, settings.tool, approach * part, start + way * part * part * (3 - 2 * part),
                              way * 6 * part * (1 - part) / approach));
  }
  const auto last = static_cast<double>(points.size() - 1);
  for (std::size_t i = 0; i < points.size(); ++i) {
    const std::size_t before = i == 0 ? 0 : i - 1, after = std::min(i + 1, points.size() - 1);
    const bool inside = i != before && i != after;
    const JointVector joints = toVector(points[i]);
    JointVector speed = JointVector::Zero(joints.size());
    if (inside) speed = (toVector(points[after]) - toVector(points[before])) * (last / 2 / (1 - approach));
    const double at = i + 1 == points.size() ? 1 : approach + (1 - approach) * static_cast<double>(i) / last;
    knots.push_back(jointKnot(arm, settings.tool, at, joints, speed));
  }
  const auto reachable = [&](const Trajectory::Knot& knot) { return arm.withinLimits(knot.joints); };
  if (!std::all_of(knots.begin(), knots.end(), reachable)) return {-50101, nullptr};
  if (settings.defaults.lockAxis4 && !axis4Rests(knots)) return {-50033, nullptr};

  Speeds speeds = speedsOf(settings.defaults);
  auto limits = limitsAlong(knots, arm, speeds);
  speeds.tool = settings.defaults.speed;
  const auto gentle = limitsAlong(knots, arm, speeds);
  const double recorded = move.rate * (1 - approach) / (last * move.path->interval);
  for (std::size_t i = 0; i < limits.size(); ++i) {
    if (static_cast<int>(i) < intervals) {
      limits[i] = gentle[i];
    } else {
      limits[i].rate = std::min(limits[i].rate, recorded);
    }
  }
  return {0, std::make_shared<Trajectory>(std::move(knots), limits, speeds.smoothing, 0.0)};
}

}  // namespace

PlannedMove planMove(const ChainArm& arm, const Move& move, const MoveSettings& settings,
                     const JointVector& start, bool firstMove) {
  if (move.kind == MoveKind::replay) return planReplay(arm, move, settings, start);
  Speeds speeds;
  if (const int code = readSpeeds(move, settings.defaults, speeds); code != 0) return {code, nullptr};
  const double zone = move.zone.value_or(settings.defaults.zone);
  JointVector target;
  if (move.kind == MoveKind::absJ) {
    if (move.joints.size() != arm.axes()) return {-50512, nullptr};
    target = toVector(move.joints);
    if (!arm.withinLimits(target)) return {-50101, nullptr};
  } else {
    if (!isFinite(move.target)) return {-50112, nullptr};
    if ((move.kind == MoveKind::circle || move.kind == MoveKind::fullCircle) && !isFinite(move.aux)) {
      return {-50112, nullptr};
    }
    if (move.kind != MoveKind::joint) return planCurve(arm, move, settings, start, firstMove, speeds, zone);
    const auto solution =
        arm.inverse(settings.reference * resolve(move.target) * settings.tool.Inverse(), start,
                    settings.defaults.forceConf ? move.target.conf : std::vector<int>{});
    if (solution.code != 0) return {solution.code, nullptr};
    target = toVector(solution.joints);
  }
  Knots knots = jointPath(arm, settings.tool, start, target);
  if (settings.defaults.lockAxis4 && !axis4Rests(knots))
    return {move.kind == MoveKind::absJ ? -50033 : -50034, nullptr};
  const auto limits = knots.size() > 1 ? limitsAlong(knots, arm, speeds) : std::vector<PathLimit>{};
  return {0, std::make_shared<Trajectory>(std::move(knots), limits, speeds.smoothing, zone)};
}

}  // namespace zivra::sim
