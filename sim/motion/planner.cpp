// From a move to a trajectory: what the targets mean, which way the axes go, and how fast.
#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "motion/curve.h"
#include "motion/geometry.h"
#include "motion/trajectory.h"

namespace zivra::sim {
namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double toolAcceleration = 3.0;   // m/s^2 at full acceleration
constexpr double turnAcceleration = 12.0;  // rad/s^2
constexpr double accelerationRise = 0.05;  // s to full acceleration at full jerk
constexpr double turnRadius = 0.2;         // m: a speed turns the tool as fast as this radius would
constexpr double fastestTurn = pi;         // rad/s, unless the move says otherwise
constexpr std::size_t maxKnots = 20000;

double norm(const KDL::Vector& v) { return std::sqrt(KDL::dot(v, v)); }

using Knots = std::vector<Trajectory::Knot>;

struct Speeds {
  double tool = 0, turn = 0;  // m/s, rad/s; 0: no limit
  double axes = 1.0;          // fraction of the axes' velocity
  double acceleration = 1.0;  // fraction
  double smoothing = 0;       // s
};

bool positive(const std::optional<double>& value) { return !value || (*value > 0 && std::isfinite(*value)); }

int readSpeeds(const Move& move, const MotionDefaults& defaults, Speeds& speeds) {
  if (!positive(move.speed) || !positive(move.rotSpeed) || !positive(move.jointSpeed)) return -50513;
  if (move.jointSpeed && *move.jointSpeed > 1.0) return -50513;
  if (!(move.zone.value_or(defaults.zone) >= 0)) return -50019;
  speeds.acceleration = std::clamp(defaults.acceleration, 0.05, 2.0);
  speeds.smoothing = accelerationRise * speeds.acceleration / std::clamp(defaults.jerk, 0.05, 3.0);
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

// Rates and accelerations that no limit of the axes or the tool is passed with, for each knot.
std::vector<PathLimit> limitsAlong(const Knots& knots, const ChainArm& arm, const Speeds& speeds) {
  const auto& axes = arm.limits();
  std::vector<PathLimit> limits(knots.size());
  for (std::size_t k = 0; k < knots.size(); ++k) {
    const Trajectory::Knot& knot = knots[k];
    const std::size_t before = k == 0 ? 0 : k - 1, after = std::min(k + 1, knots.size() - 1);
    const double width = knots[after].at - knots[before].at;
    double rate = 1e4, acceleration = 1e4;
    const auto limit = [&](double way, double bend, double maxRate, double maxAcceleration) {
      if (way > 1e-9 && maxRate > 0) rate = std::min(rate, maxRate / way);
      if (way > 1e-9) acceleration = std::min(acceleration, maxAcceleration / way);
      if (bend > 1e-9) rate = std::min(rate, std::sqrt(maxAcceleration / bend));
    };
    for (Eigen::Index i = 0; i < knot.way.size(); ++i) {
      const auto axis = static_cast<std::size_t>(i);
      limit(std::abs(knot.way(i)), std::abs(knots[after].way(i) - knots[before].way(i)) / width,
            speeds.axes * axes.velocity[axis], speeds.acceleration * axes.acceleration[axis]);
    }
    const bool toolMatters = speeds.tool > 0;
    limit(norm(knot.tool.vel), toolMatters ? norm(knots[after].tool.vel - knots[before].tool.vel) / width : 0,
          speeds.tool, speeds.acceleration * toolAcceleration * (toolMatters ? 1 : 4));
    limit(norm(knot.tool.rot), 0, speeds.turn,
          speeds.acceleration * turnAcceleration * (toolMatters ? 1 : 4));
    limits[k] = {knot.at, rate, acceleration};
  }
  return limits;
}

Knots jointPath(const ChainArm& arm, const KDL::Frame& tool, const JointVector& from, const JointVector& to) {
  const JointVector way = to - from;
  const double largest = way.cwiseAbs().maxCoeff();
  Knots knots;
  if (largest < 1e-9) return {{0, to, way, KDL::Twist::Zero()}};
  const int intervals = std::max(40, static_cast<int>(largest / 0.05));
  for (int i = 0; i <= intervals; ++i) {
    Trajectory::Knot knot;
    knot.at = static_cast<double>(i) / intervals;
    knot.joints = i == intervals ? to : JointVector(from + way * knot.at);
    knot.way = way;
    JacobianMatrix jacobian;
    const KDL::Frame flange = arm.forward(knot.joints, &jacobian);
    const Eigen::Matrix<double, 6, 1> twist = jacobian * way;
    knot.tool =
        KDL::Twist(KDL::Vector(twist(0), twist(1), twist(2)), KDL::Vector(twist(3), twist(4), twist(5)))
            .RefPoint(flange.M * tool.p);
    knots.push_back(std::move(knot));
  }
  return knots;
}

class CurveFollower {
 public:
  CurveFollower(const ChainArm& arm, const MoveSettings& settings, const Curve& curve)
      : arm_(arm), reference_(settings.reference), flangeInTool_(settings.tool.Inverse()), curve_(curve) {}

  // The axes' way along the curve; 0, or the code of why they can't follow it.
  int follow(const JointVector& start, Knots& knots) {
    const KDL::Twist whole = curve_.derivative(0.5);
    const double widest = 1.0 / 24;
    knots.push_back(knotAt(0, start));
    if (const int code = arm_.follow(flangeAt(0), knots.back().joints); code != 0) return code;
    knots.back() = knotAt(0, knots.back().joints);
    const double first =
        std::min({widest, 0.005 / std::max(norm(whole.vel), 1e-9), 0.04 / std::max(norm(whole.rot), 1e-9),
                  0.06 / std::max(curve_.turning(), 1e-9)});
    double width = first;
    while (knots.back().at < 1) {
      if (knots.size() > maxKnots) return -50019;
      const Trajectory::Knot& last = knots.back();
      const double at = last.at + width > 1 - 0.1 * width ? 1 : last.at + width;
      JointVector joints = last.joints + last.way * (at - last.at);
      int code = arm_.follow(flangeAt(at), joints);
      const bool rough = code == 0 && (joints - last.joints).cwiseAbs().maxCoeff() > 0.05;
      if ((rough || code != 0) &&
          width > first / 64) {  // nearer to the trouble, or through it in finer steps
        width /= 2;
        continue;
      }
      if (rough) code = -50102;
      if (code != 0) return code;
      knots.push_back(knotAt(at, joints));
      width = std::min(first, width * 1.5);
    }
    matchWays(knots);
    return 0;
  }

 private:
  KDL::Frame flangeAt(double at) const { return reference_ * curve_.pose(at) * flangeInTool_; }

  Trajectory::Knot knotAt(double at, const JointVector& joints) const {
    Trajectory::Knot knot;
    knot.at = at;
    knot.joints = joints;
    knot.tool = reference_.M * curve_.derivative(at);
    knot.way = arm_.rates(joints, flangeRate(knot));
    return knot;
  }

  KDL::Twist flangeRate(const Trajectory::Knot& knot) const {
    return knot.tool.RefPoint((reference_ * curve_.pose(knot.at)).M * flangeInTool_.p);
  }

  // Where the arm has freedom beside the task, the rates that the task asks for are not those at which the
  // knots differ: takes them from the neighbours.
  void matchWays(Knots& knots) const {
    for (std::size_t k = 0; k < knots.size(); ++k) {
      const std::size_t middle = std::clamp<std::size_t>(k, 1, knots.size() - 2);
      const Trajectory::Knot &a = knots[middle - 1], &b = knots[middle], &c = knots[middle + 1];
      const JointVector first = (b.joints - a.joints) / (b.at - a.at);
      const JointVector second = (c.joints - b.joints) / (c.at - b.at);
      const JointVector bend = (second - first) / (c.at - a.at);
      const JointVector guess = first + bend * (2 * knots[k].at - a.at - b.at);
      knots[k].way = arm_.correctRates(knots[k].joints, flangeRate(knots[k]), guess);
    }
  }

  const ChainArm& arm_;
  const KDL::Frame reference_, flangeInTool_;
  const Curve& curve_;
};

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

PlannedMove planCurve(const ChainArm& arm, const Move& move, const MoveSettings& settings,
                      const JointVector& start, bool firstMove, const Speeds& speeds, double zone) {
  const KDL::Frame from = settings.reference.Inverse() * arm.forward(start) * settings.tool;
  const DrawnCurve drawn = draw(move, from, firstMove);
  if (drawn.code != 0) return {drawn.code, nullptr};
  // The end is judged by itself first: it tells an unreachable target from a way that can't be followed.
  const KDL::Frame end = settings.reference * drawn.curve.pose(1) * settings.tool.Inverse();
  const bool exactEnd = arm.axes() >= 6 || move.kind == MoveKind::line || move.kind == MoveKind::circle;
  if (exactEnd) {
    if (const int code = arm.inverse(end, start, {}).code; code != 0) return {code, nullptr};
  }
  Knots knots;
  if (const int code = CurveFollower(arm, settings, drawn.curve).follow(start, knots); code != 0) {
    return {code, nullptr};
  }
  if (settings.defaults.forceConf && !move.target.conf.empty() &&
      !arm.hasConf(knots.back().joints, move.target.conf)) {
    return {-50103, nullptr};
  }
  const auto limits = limitsAlong(knots, arm, speeds);
  return {0, std::make_shared<Trajectory>(std::move(knots), limits, speeds.smoothing, zone)};
}

}  // namespace

PlannedMove planMove(const ChainArm& arm, const Move& move, const MoveSettings& settings,
                     const JointVector& start, bool firstMove) {
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
  const auto limits = knots.size() > 1 ? limitsAlong(knots, arm, speeds) : std::vector<PathLimit>{};
  return {0, std::make_shared<Trajectory>(std::move(knots), limits, speeds.smoothing, zone)};
}

}  // namespace zivra::sim
