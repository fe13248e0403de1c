#include "motion/chain_arm.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <Eigen/QR>
#include <algorithm>
#include <cmath>
#include <kdl/chaindynparam.hpp>
#include <utility>

#include "motion/geometry.h"

namespace zivra::sim {
namespace {

using Vector6 = Eigen::Matrix<double, 6, 1>;
using Matrix3 = Eigen::Matrix<double, 3, 3>;
using JointMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, 0, maxAxes, maxAxes>;

constexpr double quarterTurn = 1.57079632679489661923;
constexpr double fullTurn = 4 * quarterTurn;
constexpr double leverArm = 0.3;               // m: weighs an angle against a distance
constexpr double positionTolerance = 1e-9;     // m
constexpr double orientationTolerance = 1e-8;  // rad
// An arm of few axes can't have every orientation: a target that was typed with a few digits is met this
// well.
constexpr double looseOrientation = 1e-3;  // rad
// Along a path it may tilt from the wanted orientation by this much.
constexpr double tolerableTilt = 0.6;  // rad
constexpr double tinyDamping = 1e-13;  // keeps a singular pose from dividing by zero
constexpr int scatteredStarts = 24;
constexpr double confTolerance = 1e-6;  // rad: an axis at the edge of a quadrant is in both

Vector6 taskError(const KDL::Frame& now, const KDL::Frame& target) {
  const KDL::Vector shift = target.p - now.p;
  const KDL::Vector turn = now.M * rotationVector(now.M.Inverse() * target.M);
  Vector6 error;
  error << shift.x(), shift.y(), shift.z(), turn.x(), turn.y(), turn.z();
  return error;
}

Vector6 weighed(Vector6 error) {
  error.tail<3>() *= leverArm;
  return error;
}

Vector6 toVector(const KDL::Twist& twist) {
  Vector6 vector;
  vector << twist.vel.x(), twist.vel.y(), twist.vel.z(), twist.rot.x(), twist.rot.y(), twist.rot.z();
  return vector;
}

int quadrant(double angle) { return static_cast<int>(std::floor(angle / quarterTurn)); }

// Repeatable numbers in 0..1, so that the same target always gets the same solution.
class Sequence {
 public:
  double next() {
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(state_ >> 11) * 0x1p-53;
  }

 private:
  unsigned long long state_ = 0x2545F4914F6CDD1DULL;
};

}  // namespace

JointVector toVector(const Joints& joints) {
  return Eigen::Map<const Eigen::VectorXd>(joints.data(), static_cast<Eigen::Index>(joints.size()));
}

Joints toJoints(const JointVector& joints) { return {joints.data(), joints.data() + joints.size()}; }

ChainArm::ChainArm(ArmDescription description)
    : description_(std::move(description)),
      lower_(toVector(description_.limits.lower)),
      upper_(toVector(description_.limits.upper)) {}

std::shared_ptr<const ChainArm> ChainArm::withLimits(const Joints& lower, const Joints& upper) const {
  ArmDescription limited = description_;
  limited.limits.lower = lower;
  limited.limits.upper = upper;
  return std::make_shared<ChainArm>(std::move(limited));
}

KDL::Frame ChainArm::forward(const JointVector& joints, JacobianMatrix* jacobian) const {
  KDL::Frame frame = KDL::Frame::Identity();
  const unsigned count = description_.chain.getNrOfSegments();
  std::array<KDL::Vector, maxAxes> axis, origin;
  const auto& coupling = description_.coupling;
  for (unsigned i = 0; i < count; ++i) {
    const KDL::Segment& segment = description_.chain.getSegment(i);
    double angle = description_.bias(i);
    for (Eigen::Index j = 0; j < joints.size(); ++j) angle += coupling(i, j) * joints(j);
    axis[i] = frame.M * segment.getJoint().JointAxis();
    origin[i] = frame.p;
    frame = frame * segment.pose(angle);
  }
  if (jacobian == nullptr) return frame;
  jacobian->setZero(6, joints.size());
  for (unsigned i = 0; i < count; ++i) {
    const KDL::Vector swing = axis[i] * (frame.p - origin[i]);
    Vector6 column;
    column << swing.x(), swing.y(), swing.z(), axis[i].x(), axis[i].y(), axis[i].z();
    for (Eigen::Index j = 0; j < joints.size(); ++j) {
      if (coupling(i, j) != 0) jacobian->col(j) += coupling(i, j) * column;
    }
  }
  return frame;
}

Pose ChainArm::flange(const Joints& joints) const { return toPose(forward(toVector(joints))); }

std::vector<int> ChainArm::conf(const Joints& joints) const {
  std::vector<int> result(8, 0);
  for (std::size_t i = 0; i < joints.size() && i < result.size(); ++i) result[i] = quadrant(joints[i]);
  return result;
}

bool ChainArm::hasConf(const JointVector& joints, const std::vector<int>& conf) const {
  const auto count = std::min(static_cast<std::size_t>(joints.size()), conf.size());
  for (std::size_t i = 0; i < count; ++i) {
    const double angle = joints(static_cast<Eigen::Index>(i));
    if (quadrant(angle - confTolerance) != conf[i] && quadrant(angle + confTolerance) != conf[i])
      return false;
  }
  return true;
}

bool ChainArm::withinLimits(const JointVector& joints) const {
  return ((joints - lower_).array() >= -1e-9).all() && ((upper_ - joints).array() >= -1e-9).all();
}

std::vector<double> ChainArm::gravityTorques(const Joints& joints) const {
  const JointVector axes = toVector(joints);
  const auto count = description_.chain.getNrOfJoints();
  KDL::JntArray angles(count), torques(count);
  angles.data = description_.coupling * axes + description_.bias;
  KDL::ChainDynParam dynamics(description_.chain, KDL::Vector(0, 0, -9.81));
  dynamics.JntToGravity(angles, torques);
  return toJoints(description_.coupling.transpose() * torques.data);
}

// One step of damped least squares for the whole task; with few axes position first, then what freedom is
// left turns the orientation.
JointVector ChainArm::step(const JacobianMatrix& jacobian, const Vector6& error, double damping) const {
  if (fullTask()) {
    JacobianMatrix weighedJacobian = jacobian;
    weighedJacobian.bottomRows<3>() *= leverArm;
    Eigen::Matrix<double, 6, 6> square = weighedJacobian * weighedJacobian.transpose();
    square.diagonal().array() += damping;
    return weighedJacobian.transpose() * square.ldlt().solve(weighed(error));
  }
  const auto position = jacobian.topRows<3>();
  const auto orientation = jacobian.bottomRows<3>();
  Matrix3 square = position * position.transpose();
  square.diagonal().array() += damping;
  const JointVector first = position.transpose() * square.ldlt().solve(error.head<3>());
  const Eigen::Index freedom = jacobian.cols() - 3;
  if (freedom == 0) return first;
  const JointMatrix directions =
      Eigen::HouseholderQR<Eigen::Matrix<double, Eigen::Dynamic, 3, 0, maxAxes, 3>>(position.transpose())
          .householderQ() *
      JointMatrix::Identity(jacobian.cols(), jacobian.cols());
  const auto still = directions.rightCols(freedom);  // turns the flange and leaves it in its place
  const Eigen::Matrix<double, 3, Eigen::Dynamic, 0, 3, maxAxes> turning = orientation * still;
  JointMatrix turningSquare = turning.transpose() * turning;
  turningSquare.diagonal().array() += damping + 1e-9;
  return first +
         still * turningSquare.ldlt().solve(turning.transpose() * (error.tail<3>() - orientation * first));
}

JointVector ChainArm::rates(const JointVector& joints, const KDL::Twist& twist) const {
  JacobianMatrix jacobian;
  forward(joints, &jacobian);
  return step(jacobian, toVector(twist), tinyDamping);
}

JointVector ChainArm::correctRates(const JointVector& joints, const KDL::Twist& twist,
                                   const JointVector& guess) const {
  JacobianMatrix jacobian;
  forward(joints, &jacobian);
  const Vector6 missing = toVector(twist) - jacobian * guess;
  if (fullTask()) return guess + step(jacobian, missing, tinyDamping);
  const auto position = jacobian.topRows<3>();
  Matrix3 square = position * position.transpose();
  square.diagonal().array() += tinyDamping;
  return guess + position.transpose() * square.ldlt().solve(missing.head<3>());
}

// Levenberg-Marquardt with a damping that follows the error, which converges quadratically near a solution
// and does not burst near singular poses.
bool ChainArm::approach(const KDL::Frame& flange, JointVector& joints, int iterations) const {
  JacobianMatrix jacobian;
  for (int i = 0; i < iterations; ++i) {
    const Vector6 error = taskError(forward(joints, &jacobian), flange);
    if (error.head<3>().norm() < 1e-2 * positionTolerance &&
        error.tail<3>().norm() < 1e-2 * orientationTolerance) {
      return true;
    }
    const Vector6 target = weighed(error);
    jacobian.bottomRows<3>() *= leverArm;
    JointMatrix square = jacobian.transpose() * jacobian;
    square.diagonal().array() += 0.5 * target.squaredNorm() + 1e-13;
    joints += square.ldlt().solve(jacobian.transpose() * target);
  }
  const Vector6 error = taskError(forward(joints), flange);
  return error.head<3>().norm() < positionTolerance && error.tail<3>().norm() < orientationTolerance;
}

// Position exactly, orientation as well as the axes can.
bool ChainArm::approachPosition(const KDL::Frame& flange, JointVector& joints, int iterations) const {
  JacobianMatrix jacobian;
  for (int i = 0; i < iterations; ++i) {
    Vector6 error = taskError(forward(joints, &jacobian), flange);
    if (2 * i > iterations) error.tail<3>().setZero();  // far from its orientation: at least come to rest
    const double distance = error.head<3>().squaredNorm();
    JointVector change = step(jacobian, error, 0.1 * distance + 1e-13);
    const double largest = change.cwiseAbs().maxCoeff();
    if (largest > 0.5) change *= 0.5 / largest;
    joints += change;
    if (distance < 1e-22 && largest < 1e-9) return true;
  }
  return taskError(forward(joints), flange).head<3>().norm() < positionTolerance;
}

bool ChainArm::reaches(const KDL::Frame& flange, JointVector& joints) const {
  if (fullTask()) return approach(flange, joints, 60);
  approach(flange, joints, 40);
  return approachPosition(flange, joints, 40) &&
         taskError(forward(joints), flange).tail<3>().norm() < looseOrientation;
}

bool ChainArm::nearSingular(const JacobianMatrix& jacobian) const {
  constexpr double smallest = 0.006;  // m: of the singular values, angles weighed by the lever arm
  if (!fullTask()) {
    const Matrix3 square = jacobian.topRows<3>() * jacobian.topRows<3>().transpose();
    Eigen::SelfAdjointEigenSolver<Matrix3> solver(square, Eigen::EigenvaluesOnly);
    return solver.eigenvalues()(0) < smallest * smallest;
  }
  JacobianMatrix scaled = jacobian;
  scaled.bottomRows<3>() *= leverArm;
  const Eigen::Matrix<double, 6, 6> square = scaled * scaled.transpose();
  Eigen::SelfAdjointEigenSolver<Eigen::Matrix<double, 6, 6>> solver(square, Eigen::EigenvaluesOnly);
  return solver.eigenvalues()(0) < smallest * smallest;
}

int ChainArm::follow(const KDL::Frame& flange, JointVector& joints) const {
  JointVector next = joints;
  const bool near = fullTask() ? approach(flange, next, 15) : approachPosition(flange, next, 40);
  JacobianMatrix jacobian;
  forward(near ? next : joints, &jacobian);
  if (nearSingular(jacobian)) return -50102;
  if (!near) return -50002;
  if (taskError(forward(next), flange).tail<3>().norm() > tolerableTilt) return cannotTurnSo();
  if (!withinLimits(next)) return -50101;
  if ((next - joints).cwiseAbs().maxCoeff() > 0.4) return -50102;
  joints = next;
  return 0;
}

// Whole turns are free: picks them so that the joints lie within limits and conf, else near the seed.
bool ChainArm::chooseTurns(JointVector& joints, const JointVector& seed, const std::vector<int>& conf) const {
  bool inside = true;
  for (Eigen::Index i = 0; i < joints.size(); ++i) {
    const auto index = static_cast<std::size_t>(i);
    const double middle =
        index < conf.size() ? std::clamp((conf[index] + 0.5) * quarterTurn, lower_(i), upper_(i)) : seed(i);
    const double angle = joints(i) + fullTurn * std::round((middle - joints(i)) / fullTurn);
    const double shift = angle > upper_(i) + 1e-9 ? -fullTurn : angle < lower_(i) - 1e-9 ? fullTurn : 0.0;
    joints(i) = angle + shift;
    if (!(joints(i) >= lower_(i) - 1e-9 && joints(i) <= upper_(i) + 1e-9)) inside = false;
  }
  return inside;
}

JointVector ChainArm::moveIntoConf(const JointVector& joints, const std::vector<int>& conf) const {
  JointVector result = joints;
  for (Eigen::Index i = 0; i < joints.size(); ++i) {
    const auto index = static_cast<std::size_t>(i);
    if (index >= conf.size()) continue;
    const double low = conf[index] * quarterTurn;
    result(i) = std::clamp(std::clamp(joints(i), low, low + quarterTurn), lower_(i), upper_(i));
  }
  return result;
}

std::vector<JointVector> ChainArm::starts(const KDL::Frame& flange, const JointVector& seed,
                                          const std::vector<int>& conf) const {
  std::vector<JointVector> result{moveIntoConf(seed, conf)};
  // The arm's families of postures: facing the target or away from it, elbow and wrist either way.
  const KDL::Vector wrist = flange.p - flange.M.UnitZ() * description_.flangeLength;
  const double facing = std::atan2(wrist.y(), wrist.x());
  for (const double away : {0.0, facing > 0 ? -2 * quarterTurn : 2 * quarterTurn}) {
    for (const double elbow : {1.5, -1.5}) {
      for (const double bent : {1.2, -1.2}) {
        JointVector start = toVector(description_.home);
        start(0) = facing + away;
        start(1) = elbow > 0 ? 0.2 : -0.2;
        start(description_.elbow) = elbow;
        if (description_.wrist >= 0) start(description_.wrist) = bent;
        result.push_back(moveIntoConf(start, conf));
      }
    }
  }
  const JointVector low = moveIntoConf(lower_, conf), high = moveIntoConf(upper_, conf);
  Sequence sequence;
  for (int i = 0; i < scatteredStarts; ++i) {
    JointVector start(seed.size());
    for (Eigen::Index j = 0; j < start.size(); ++j) start(j) = low(j) + (high(j) - low(j)) * sequence.next();
    result.push_back(start);
  }
  return result;
}

Arm::Solution ChainArm::inverse(const KDL::Frame& flange, const JointVector& seed,
                                const std::vector<int>& conf) const {
  if ((flange.p - KDL::Vector(0, 0, description_.shoulderHeight)).Norm() > description_.reach) {
    return {-50002, {}};
  }
  constexpr double nearSeed = 1.2;  // rad: a solution this close is taken without a look at others
  const int repairs = conf.empty() ? 1 : 6;
  const std::vector<JointVector> from = starts(flange, seed, conf);
  const std::size_t families = from.size() - scatteredStarts;
  bool outside = false, otherConf = false;
  JointVector best;
  double bestChange = 0;
  for (std::size_t i = 0; i < from.size(); ++i) {
    if (i >= families && best.size() != 0) break;
    JointVector joints = from[i];
    for (int repair = 0; repair < repairs && reaches(flange, joints); ++repair) {
      if (!chooseTurns(joints, seed, conf)) {
        outside = true;
      } else if (hasConf(joints, conf)) {
        const double change = (joints - seed).cwiseAbs().maxCoeff();
        if (best.size() == 0 || change < bestChange - 1e-6) {
          best = joints;
          bestChange = change;
        }
        break;
      } else {
        otherConf = true;
      }
      if (!conf.empty()) joints = moveIntoConf(joints, conf);
    }
    if (best.size() != 0 && (bestChange < nearSeed || !conf.empty())) break;
  }
  if (best.size() != 0) return {0, toJoints(best)};
  if (otherConf) return {-50021, {}};
  if (outside) return {-50101, {}};
  if (axes() == 5) {
    for (std::size_t i = 0; i < families; ++i) {
      JointVector joints = from[i];
      if (approachPosition(flange, joints, 60)) return {cannotTurnSo(), {}};
    }
  }
  return {-50002, {}};
}

Arm::Solution ChainArm::inverse(const Pose& flange, const Joints& seed, const std::vector<int>& conf) const {
  if (!isFinite(flange)) return {-50112, {}};
  if (seed.size() != axes()) return {-50512, {}};
  return inverse(toFrame(flange), toVector(seed), conf);
}

}  // namespace zivra::sim
