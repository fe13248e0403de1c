// What protects people and the arm: limits of the axes, the noticing of collisions, and the sensors that this
// rests on. Knows nothing of requests.
#pragma once

#include <array>
#include <vector>

#include "motion/motion.h"

namespace zivra::sim {

class World;

struct CollisionDetection {
  enum class Reaction {
    stop,   // comes to rest, the moves are gone, and the arm goes back
    pause,  // comes to rest and keeps the moves
    yield,  // as `stop`, but gives way to what it has met
  };
  bool on = false;
  std::vector<double> sensitivity;  // one an axis
  Reaction reaction = Reaction::stop;
  double fallback = 0;    // m, of `stop`
  double compliance = 0;  // 0 to 1, of `yield`
};

class Protection {
 public:
  explicit Protection(const ArmLimits& mechanical);

  CollisionDetection collisions;
  std::vector<double> torqueDrift;  // Nm, shown by the torque sensors without any torque

  bool softLimitsOn() const { return softLimitsOn_; }
  const Joints& lower() const { return lower_; }
  const Joints& upper() const { return upper_; }
  // Empty limits stay as they are. 0 or the code of a refusal.
  int setSoftLimits(Motion& motion, bool on, const Joints& lower, const Joints& upper);

  // Something presses against the flange, against its motion, or downwards if it rests. False: not noticed.
  bool touch(World& w, double newtons);
  void forgetRetreat() { retreat_ = 0; }

  void boot();  // soft limits are stored
  void advance(World& w);

 private:
  bool softLimitsOn_ = true;
  Joints lower_, upper_;
  std::array<double, 3> away_{};  // from what was met, in the base
  double retreat_ = 0;            // m that the arm goes that way once it is at rest
};

}  // namespace zivra::sim
