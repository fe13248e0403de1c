// Between the interface's poses and the frames that the kinematics count in.
#pragma once

#include <kdl/frames.hpp>

#include "motion/motion.h"

namespace zivra::sim {

KDL::Frame toFrame(const Pose& pose);
Pose toPose(const KDL::Frame& frame);
bool isFinite(const Pose& pose);

// Axis times angle (0..pi) of a rotation. Exact for tiny angles too, where KDL's own form gives zero.
KDL::Vector rotationVector(const KDL::Rotation& rotation);

}  // namespace zivra::sim
