// One planned move: the way of the axes from rest to rest over time.
#pragma once

#include <kdl/frames.hpp>
#include <memory>
#include <vector>

#include "motion/chain_arm.h"
#include "motion/time_law.h"

namespace zivra::sim {

// What held when the move was queued.
struct MoveSettings {
  MotionDefaults defaults;
  KDL::Frame tool, reference;
};

class Trajectory;

struct PlannedMove {
  int code = 0;  // 0, or the controller's code of why the move is impossible
  std::shared_ptr<const Trajectory> trajectory;
  int endCode = 0;  // of a jog: why it ends before its step is done
};

// Plans any kind but waits, from `start` at rest. `firstMove`: the arm stands there, no move led
// to it.
PlannedMove planMove(const ChainArm& arm, const Move& move, const MoveSettings& settings,
                     const JointVector& start, bool firstMove);

// A jog that can't be done whole goes as far as it can. `world`: in the base.
PlannedMove planJog(const ChainArm& arm, const Jog& jog, const MoveSettings& settings,
                    const KDL::Frame& world, const JointVector& start);

class Trajectory {
 public:
  struct Knot {
    double at = 0;            // path parameter
    JointVector joints, way;  // way: derivative of the joints by the parameter
    KDL::Twist tool;          // derivative of the tool's pose, in the base's axes
  };
  // limits: one for each knot.
  Trajectory(std::vector<Knot> knots, const std::vector<PathLimit>& limits, double smoothing, double zone);

  double duration() const { return law_.duration(); }
  double zoneEntry() const { return zoneEntry_; }  // s; duration() without a zone
  bool shorterThanZone() const { return shorterThanZone_; }
  const JointVector& end() const { return knots_.back().joints; }
  KDL::Vector departure() const;  // unit vector of the tool's motion in the base, zero if it only turns
  KDL::Vector arrival() const;
  // Joints and their velocities at a time.
  void at(double time, JointVector& joints, JointVector& velocities) const;

 private:
  std::vector<Knot> knots_;
  TimeLaw law_;
  double zoneEntry_ = 0;
  bool shorterThanZone_ = false;
};

}  // namespace zivra::sim
