#include "motion/geometry.h"

#include <algorithm>
#include <cmath>

namespace zivra::sim {

KDL::Frame toFrame(const Pose& pose) {
  return {KDL::Rotation::RPY(pose.rot[0], pose.rot[1], pose.rot[2]),
          KDL::Vector(pose.trans[0], pose.trans[1], pose.trans[2])};
}

Pose toPose(const KDL::Frame& frame) {
  Pose pose;
  pose.trans = {frame.p.x(), frame.p.y(), frame.p.z()};
  frame.M.GetRPY(pose.rot[0], pose.rot[1], pose.rot[2]);
  return pose;
}

bool isFinite(const Pose& pose) {
  const auto finite = [](double value) { return std::isfinite(value); };
  return std::all_of(pose.trans.begin(), pose.trans.end(), finite) &&
         std::all_of(pose.rot.begin(), pose.rot.end(), finite);
}

KDL::Vector rotationVector(const KDL::Rotation& rotation) {
  const KDL::Vector half(0.5 * (rotation(2, 1) - rotation(1, 2)), 0.5 * (rotation(0, 2) - rotation(2, 0)),
                         0.5 * (rotation(1, 0) - rotation(0, 1)));
  const double sine = std::sqrt(KDL::dot(half, half));
  const double cosine = 0.5 * (rotation(0, 0) + rotation(1, 1) + rotation(2, 2) - 1.0);
  if (sine < 1e-5 && cosine < 0) {  // about half a turn: the antisymmetric part no longer shows the axis
    KDL::Vector axis;
    const double angle = rotation.GetRotAngle(axis);
    return axis * angle;
  }
  if (sine < 1e-12) return half;
  return half * (std::atan2(sine, cosine) / sine);
}

Pose compose(const Pose& a, const Pose& b) { return toPose(toFrame(a) * toFrame(b)); }
Pose inverse(const Pose& pose) { return toPose(toFrame(pose).Inverse()); }

}  // namespace zivra::sim
