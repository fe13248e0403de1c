// Curves of the tool in the work object, over a parameter from 0 to 1, and the rules by which they are drawn
// through given points.
#pragma once

#include <functional>
#include <kdl/frames.hpp>

#include "motion/motion.h"

namespace zivra::sim {

class Curve {
 public:
  // Position and its derivative at a parameter.
  using Place = std::function<void(double at, KDL::Vector& position, KDL::Vector& derivative)>;

  Curve() = default;
  // Turns by `angle` about `axis` (unit, in the axes of `from`) while it passes along; `turning` is the angle
  // that the direction of the path turns through.
  Curve(Place place, const KDL::Rotation& from, const KDL::Vector& axis, double angle, double turning);

  KDL::Frame pose(double at) const;
  KDL::Twist derivative(double at) const;  // at the moving point, in the work object's axes
  double turning() const { return turning_; }

 private:
  Place place_;
  KDL::Rotation from_;
  KDL::Vector axis_;
  double angle_ = 0, turning_ = 0;
};

struct DrawnCurve {
  int code = 0;  // 0, or the controller's code of why there is no such curve
  Curve curve;
};

DrawnCurve drawLine(const KDL::Frame& start, const KDL::Frame& target);
// Through aux to target.
DrawnCurve drawArc(const KDL::Frame& start, const KDL::Frame& aux, const KDL::Frame& target);
// On the circle through start, aux and target, for an angle of any size; positive first passes aux. The
// orientation stays (constPose), turns about the tool's own z (rotAxis) or about the circle's axis
// (fixedAxis).
DrawnCurve drawCircle(const KDL::Frame& start, const KDL::Frame& aux, const KDL::Frame& target, double angle,
                      CircleRotation rotation);
// An Archimedean spiral in the plane across the tool's z at the target's orientation. It begins at the start,
// which lies at `radius` along the target's x from the centre, and grows by `step` a turn; `positive` is the
// sense about z. The target's position plays no part, its orientation is reached at the end.
DrawnCurve drawSpiral(const KDL::Frame& start, const KDL::Frame& target, double radius, double step,
                      double angle, bool positive);

}  // namespace zivra::sim
