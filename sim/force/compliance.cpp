#include "force/compliance.h"

#include <Eigen/Cholesky>
#include <Eigen/Geometry>
#include <algorithm>

#include "motion/geometry.h"

namespace zivra::sim {

namespace {

constexpr double kDamping = 500;     // N s/m
constexpr double kTurnDamping = 30;  // Nm s/rad
constexpr double kAxisDamping = 40;  // Nm s/rad

Eigen::Vector3d toEigen(const KDL::Vector& v) { return {v.x(), v.y(), v.z()}; }
KDL::Vector toKdl(const Eigen::Vector3d& v) { return {v.x(), v.y(), v.z()}; }

const ChainArm& chainOf(const Motion& motion) { return dynamic_cast<const ChainArm&>(motion.arm()); }

KDL::Vector toKdl(const std::array<double, 3>& v) { return {v[0], v[1], v[2]}; }

// How far the tool's tip is in the material; not positive: not at all.
double depth(const Surroundings::Surface& surface, const KDL::Vector& tip) {
  return KDL::dot(toKdl(surface.point) - tip, toKdl(surface.normal));
}

bool touches(const Surroundings& surroundings, const KDL::Vector& tip) {
  return surroundings.surface && depth(*surroundings.surface, tip) > 0;
}

}  // namespace

Vector6 toVector(const Six& six) { return Eigen::Map<const Vector6>(six.data()); }

Six toSix(const Vector6& vector) {
  Six six;
  std::copy_n(vector.data(), six.size(), six.begin());
  return six;
}

Placement::Placement(const Motion& motion, const Pose& baseFrame)
    : arm(chainOf(motion)), joints(toVector(motion.joints())), base(toFrame(baseFrame)) {
  flange = base * arm.forward(joints, &atFlange);
  tool = flange * toFrame(motion.toolInFlange());
  const Eigen::Vector3d lever = toEigen(tool.p - flange.p);
  atTool.resize(6, atFlange.cols());
  for (Eigen::Index i = 0; i < atFlange.cols(); ++i) {
    const KDL::Vector shift = base.M * toKdl(atFlange.col(i).head<3>());
    const KDL::Vector turn = base.M * toKdl(atFlange.col(i).tail<3>());
    atFlange.col(i) << toEigen(shift), toEigen(turn);
    atTool.col(i) << toEigen(shift) + toEigen(turn).cross(lever), toEigen(turn);
  }
}

Vector6 Placement::outsideWrench(const Surroundings& surroundings) const {
  Vector6 wrench = toVector(surroundings.push);
  if (touches(surroundings, tool.p)) {
    const auto& surface = *surroundings.surface;
    wrench.head<3>() += toEigen(toKdl(surface.normal)) * surface.stiffness * depth(surface, tool.p);
  }
  return wrench;
}

Vector6 Placement::aboutFlange(const Vector6& atTip) const {
  Vector6 wrench = atTip;
  wrench.tail<3>() += toEigen(tool.p - flange.p).cross(atTip.head<3>());
  return wrench;
}

Vector6 turned(const KDL::Rotation& axes, const Vector6& wrench) {
  const KDL::Rotation inverse = axes.Inverse();
  Vector6 result;
  result << toEigen(inverse * toKdl(wrench.head<3>())), toEigen(inverse * toKdl(wrench.tail<3>()));
  return result;
}

JointVector yieldRates(const Placement& placement, const Surroundings& surroundings,
                       const CartesianDrive& drive, double seconds) {
  Vector6 away;
  away << toEigen(placement.tool.p - drive.rest.p),
      toEigen(drive.rest.M * rotationVector(drive.rest.M.Inverse() * placement.tool.M));
  away = turned(drive.axes, away);
  const Vector6 wanted = drive.desired - drive.stiffness.cwiseProduct(away);
  const Vector6 pull = wanted.cwiseMax(-drive.mostWrench).cwiseMin(drive.mostWrench);
  Eigen::Matrix<double, 6, 6> resistance = Eigen::Matrix<double, 6, 6>::Zero();
  for (Eigen::Index i = 0; i < 6; ++i) {
    resistance(i, i) = i < 3 ? kDamping : kTurnDamping;
    if (pull(i) == wanted(i)) resistance(i, i) += seconds * drive.stiffness(i);
  }
  if (touches(surroundings, placement.tool.p)) {
    const Eigen::Vector3d normal = toEigen(drive.axes.Inverse() * toKdl(surroundings.surface->normal));
    resistance.topLeftCorner<3, 3>() +=
        seconds * surroundings.surface->stiffness * normal * normal.transpose();
  }
  const Vector6 outside = turned(drive.axes, placement.outsideWrench(surroundings));
  Vector6 velocity = resistance.ldlt().solve(pull + outside);
  velocity = velocity.cwiseMax(-drive.mostVelocity).cwiseMin(drive.mostVelocity);

  // The arm counts in its base, at the flange.
  const KDL::Rotation toBase = placement.base.M.Inverse() * drive.axes;
  const KDL::Twist atTip(toBase * toKdl(velocity.head<3>()), toBase * toKdl(velocity.tail<3>()));
  const KDL::Vector toFlange = placement.base.M.Inverse() * (placement.flange.p - placement.tool.p);
  return placement.arm.rates(placement.joints, atTip.RefPoint(toFlange));
}

JointVector yieldRates(const Placement& placement, const Surroundings& surroundings, const JointDrive& drive,
                       double seconds) {
  const JointVector wanted = drive.desired - drive.stiffness.cwiseProduct(placement.joints - drive.rest);
  const JointVector pull = wanted.cwiseMax(-drive.mostTorque).cwiseMin(drive.mostTorque);
  using Square = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, 0, maxAxes, maxAxes>;
  Square resistance = Square::Zero(wanted.size(), wanted.size());
  for (Eigen::Index i = 0; i < wanted.size(); ++i)
    resistance(i, i) = kAxisDamping + (pull(i) == wanted(i) ? seconds * drive.stiffness(i) : 0.0);
  if (touches(surroundings, placement.tool.p)) {
    const JointVector along =
        placement.atTool.topRows<3>().transpose() * toEigen(toKdl(surroundings.surface->normal));
    resistance += seconds * surroundings.surface->stiffness * along * along.transpose();
  }
  const JointVector outside = placement.axisTorques(placement.outsideWrench(surroundings));
  return resistance.ldlt().solve(pull + outside);
}

}  // namespace zivra::sim
