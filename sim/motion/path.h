// Ways of the axes, straight in joint space or along a curve of the tool, and the limits that hold on them.
#pragma once

#include <vector>

#include "motion/curve.h"
#include "motion/trajectory.h"

namespace zivra::sim {

using Knots = std::vector<Trajectory::Knot>;

struct Speeds {
  double tool = 0, turn = 0;  // m/s, rad/s; 0: no limit
  double axes = 1.0;          // fraction of the axes' velocity
  double acceleration = 1.0;  // fraction
  double smoothing = 0;       // s
};
Speeds speedsOf(const MotionDefaults& defaults);  // without the tool's

// Rates and accelerations that no limit of the axes or the tool is passed with, for each knot.
std::vector<PathLimit> limitsAlong(const Knots& knots, const ChainArm& arm, const Speeds& speeds);

// A knot of a way that is given by the axes; `tool` in the flange.
Trajectory::Knot jointKnot(const ChainArm& arm, const KDL::Frame& tool, double at, const JointVector& joints,
                           const JointVector& way);
Knots jointPath(const ChainArm& arm, const KDL::Frame& tool, const JointVector& from, const JointVector& to);

struct FollowedCurve {
  int code = 0;  // 0, or the controller's code of why the axes can't go on behind the last knot
  Knots knots;
};
FollowedCurve followCurve(const ChainArm& arm, const MoveSettings& settings, const Curve& curve,
                          const JointVector& start);
// For six axes: the wrist's turn evenly to their end and pass any singularity, the others keep the tool's
// position on the curve. The orientation may differ from the curve's by `tolerance` (rad) meanwhile.
FollowedCurve followWithEvenWrist(const ChainArm& arm, const MoveSettings& settings, const Curve& curve,
                                  const JointVector& start, const JointVector& end, double tolerance);

}  // namespace zivra::sim
