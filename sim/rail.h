// The rail under the robot, in the controller's measure: mm, mm/s and so on.
#pragma once

#include <string>

#include "motion/motion.h"

namespace zivra::sim {

struct Rail {
  double encoderResolution = 131072, reductionRatio = 10, motorSpeed = 3000;
  double maxSpeed = 1000, maxAcceleration = 3000, maxJerk = 20000;
  double softLower = -1900, softUpper = 1900, lower = -2000, upper = 2000;
  bool enabled = false;
  std::string name = "rail";
  Pose baseFrame;

  // Limits are in order, and the soft ones within the hard ones.
  bool isSound() const {
    return lower < upper && softLower < softUpper && softLower >= lower && softUpper <= upper;
  }
};

}  // namespace zivra::sim
