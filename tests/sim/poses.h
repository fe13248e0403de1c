// Poses: how far apart they are, and others beside them.
#pragma once

#include <cmath>

#include "motion/motion.h"

namespace zivra::sim::test {

inline double distance(const Pose& a, const Pose& b) {
  return std::hypot(a.trans[0] - b.trans[0], a.trans[1] - b.trans[1], a.trans[2] - b.trans[2]);
}

// Angle between two orientations, from the relative pose.
inline double turn(const Pose& a, const Pose& b) {
  const Pose between = compose(inverse(a), b);
  const double halfX = between.rot[0] / 2, halfY = between.rot[1] / 2, halfZ = between.rot[2] / 2;
  const double w = std::cos(halfX) * std::cos(halfY) * std::cos(halfZ) +
                   std::sin(halfX) * std::sin(halfY) * std::sin(halfZ);
  const double x = std::sin(halfX) * std::cos(halfY) * std::cos(halfZ) -
                   std::cos(halfX) * std::sin(halfY) * std::sin(halfZ);
  const double y = std::cos(halfX) * std::sin(halfY) * std::cos(halfZ) +
                   std::sin(halfX) * std::cos(halfY) * std::sin(halfZ);
  const double z = std::cos(halfX) * std::cos(halfY) * std::sin(halfZ) -
                   std::sin(halfX) * std::sin(halfY) * std::cos(halfZ);
  return 2 * std::atan2(std::hypot(x, y, z), std::abs(w));
}

inline Pose shifted(Pose pose, double x, double y, double z) {
  pose.trans[0] += x;
  pose.trans[1] += y;
  pose.trans[2] += z;
  return pose;
}

}  // namespace zivra::sim::test
