#include "motion/path.h"

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <algorithm>
#include <cmath>

#include "motion/geometry.h"

namespace zivra::sim {
namespace {

constexpr double toolAcceleration = 3.0;   // m/s^2 at full acceleration
constexpr double turnAcceleration = 12.0;  // rad/s^2
constexpr double accelerationRise = 0.05;  // s to full acceleration at full jerk
constexpr std::size_t maxKnots = 20000;

double norm(const KDL::Vector& v) { return std::sqrt(KDL::dot(v, v)); }

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

}  // namespace

Speeds speedsOf(const MotionDefaults& defaults) {
  Speeds speeds;
  speeds.acceleration = std::clamp(defaults.acceleration, 0.05, 2.0);
  speeds.smoothing = accelerationRise * speeds.acceleration / std::clamp(defaults.jerk, 0.05, 3.0);
  return speeds;
}

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

Trajectory::Knot jointKnot(const ChainArm& arm, const KDL::Frame& tool, double at, const JointVector& joints,
                           const JointVector& way) {
  Trajectory::Knot knot;
  knot.at = at;
  knot.joints = joints;
  knot.way = way;
  JacobianMatrix jacobian;
  const KDL::Frame flange = arm.forward(joints, &jacobian);
  const Eigen::Matrix<double, 6, 1> twist = jacobian * way;
  knot.tool = KDL::Twist(KDL::Vector(twist(0), twist(1), twist(2)), KDL::Vector(twist(3), twist(4), twist(5)))
                  .RefPoint(flange.M * tool.p);
  return knot;
}

Knots jointPath(const ChainArm& arm, const KDL::Frame& tool, const JointVector& from, const JointVector& to) {
  const JointVector way = to - from;
  const double largest = way.cwiseAbs().maxCoeff();
  Knots knots;
  if (largest < 1e-9) return {{0, to, way, KDL::Twist::Zero()}};
  const int intervals = std::max(40, static_cast<int>(largest / 0.05));
  for (int i = 0; i <= intervals; ++i) {
    const double at = static_cast<double>(i) / intervals;
    knots.push_back(jointKnot(arm, tool, at, i == intervals ? to : JointVector(from + way * at), way));
  }
  return knots;
}

FollowedCurve followCurve(const ChainArm& arm, const MoveSettings& settings, const Curve& curve,
                          const JointVector& start) {
  FollowedCurve followed;
  followed.code = CurveFollower(arm, settings, curve).follow(start, followed.knots);
  return followed;
}

FollowedCurve followWithEvenWrist(const ChainArm& arm, const MoveSettings& settings, const Curve& curve,
                                  const JointVector& start, const JointVector& end, double tolerance) {
  using Matrix3 = Eigen::Matrix3d;
  using Vector3 = Eigen::Vector3d;
  const KDL::Twist whole = curve.derivative(0.5);
  const int intervals = std::clamp(static_cast<int>(norm(whole.vel) / 0.005), 60, 5000);
  const Vector3 wristWay = end.tail<3>() - start.tail<3>();
  JointVector joints = start;
  FollowedCurve followed;
  for (int i = 0; i <= intervals; ++i) {
    Trajectory::Knot knot;
    knot.at = static_cast<double>(i) / intervals;
    const KDL::Frame wanted = settings.reference * curve.pose(knot.at);
    const JointVector before = joints;
    joints.tail<3>() = start.tail<3>() + wristWay * knot.at;
    JacobianMatrix jacobian;
    KDL::Frame flange;
    Vector3 missing = Vector3::Ones();
    Eigen::FullPivLU<Matrix3> main;
    for (int attempt = 0; attempt < 20; ++attempt) {
      flange = arm.forward(joints, &jacobian);
      const KDL::Vector lever = flange.M * settings.tool.p, shift = wanted.p - flange.p - lever;
      for (Eigen::Index axis = 0; axis < jacobian.cols(); ++axis)
        jacobian.col(axis).head<3>() +=
            Vector3(jacobian.col(axis).tail<3>()).cross(Vector3(lever.x(), lever.y(), lever.z()));
      missing = Vector3(shift.x(), shift.y(), shift.z());
      main.compute(jacobian.topLeftCorner<3, 3>());
      if (missing.norm() < 1e-10 || !main.isInvertible()) break;
      joints.head<3>() += main.solve(missing);
    }
    followed.code = !(missing.norm() < 1e-9) || (joints - before).cwiseAbs().maxCoeff() > 0.3 ? -50102
                    : !arm.withinLimits(joints)                                               ? -50101
                    : norm(rotationVector((flange * settings.tool).M.Inverse() * wanted.M)) > tolerance
                        ? -50113
                        : 0;
    if (followed.code != 0) return followed;
    const KDL::Vector velocity = settings.reference.M * curve.derivative(knot.at).vel;
    knot.joints = joints;
    knot.way = JointVector(6);
    knot.way.tail<3>() = wristWay;
    knot.way.head<3>() = main.solve(Vector3(velocity.x(), velocity.y(), velocity.z()) -
                                    jacobian.topRightCorner<3, 3>() * wristWay);
    const Vector3 turn = jacobian.bottomRows<3>() * knot.way;
    knot.tool = KDL::Twist(velocity, KDL::Vector(turn(0), turn(1), turn(2)));
    followed.knots.push_back(std::move(knot));
  }
  if ((joints - end).cwiseAbs().maxCoeff() > 1e-5) followed.code = -50102;  // it would end bent otherwise
  return followed;
}

}  // namespace zivra::sim
