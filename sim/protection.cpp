#include "protection.h"

#include <cmath>
#include <kdl/frames.hpp>
#include <utility>

#include "motion/chain_arm.h"
#include "motion/geometry.h"
#include "world.h"

namespace zivra::sim {

namespace {

constexpr int kCollided = -50401, kBeyondMechanics = -10051;
constexpr double kNoticedTorque = 10;     // Nm on an axis of sensitivity 1
constexpr double kGivingWay = 0.001;      // m/N of a wholly compliant arm
constexpr double kRetreatRate = 0.4;      // of the fastest jog
constexpr double kStandstill = 1e-6;      // m/s
constexpr double kLeastRetreat = 1e-4;    // m
constexpr double kLimitPrecision = 1e-9;  // rad

}  // namespace

Protection::Protection(const ArmLimits& mechanical)
    : torqueDrift(mechanical.lower.size(), 0.0), lower_(mechanical.lower), upper_(mechanical.upper) {}

void Protection::boot() {
  collisions = {};
  retreat_ = 0;
}

int Protection::setSoftLimits(Motion& motion, bool on, const Joints& lower, const Joints& upper) {
  const ArmLimits& mechanical = motion.mechanicalArm().limits();
  for (std::size_t i = 0; i < lower.size(); ++i) {
    if (lower[i] < mechanical.lower[i] - kLimitPrecision || upper[i] > mechanical.upper[i] + kLimitPrecision)
      return kBeyondMechanics;
  }
  if (!lower.empty()) {
    lower_ = lower;
    upper_ = upper;
  }
  softLimitsOn_ = on;
  motion.setAxisLimits(on ? lower_ : mechanical.lower, on ? upper_ : mechanical.upper);
  return 0;
}

bool Protection::touch(World& w, double newtons) {
  if (!collisions.on || !w.powered() || w.guiding.on()) return false;
  const auto& arm = dynamic_cast<const ChainArm&>(w.motion.arm());
  JacobianMatrix jacobian;
  arm.forward(toVector(w.motion.joints()), &jacobian);
  const Eigen::Vector3d velocity = jacobian.topRows<3>() * toVector(w.motion.velocities());
  const bool moves = w.moving() && velocity.norm() > kStandstill;
  const Eigen::Vector3d away = moves ? Eigen::Vector3d(-velocity.normalized()) : -Eigen::Vector3d::UnitZ();
  const JointVector torques = jacobian.topRows<3>().transpose() * away * newtons;
  bool noticed = false;
  for (std::size_t i = 0; i < collisions.sensitivity.size(); ++i) {
    const double torque = std::abs(torques(static_cast<Eigen::Index>(i)));
    noticed = noticed || torque * collisions.sensitivity[i] > kNoticedTorque;
  }
  if (!noticed) return false;

  if (collisions.reaction == CollisionDetection::Reaction::pause) {
    w.motion.jogging() ? w.motion.stop() : w.motion.pause();
  } else {
    w.abortMotion(kCollided, "collision", World::Ending::soft);
    const bool yields = collisions.reaction == CollisionDetection::Reaction::yield;
    retreat_ = !moves ? 0 : yields ? collisions.compliance * newtons * kGivingWay : collisions.fallback;
    away_ = {away.x(), away.y(), away.z()};
  }
  w.noteCollision();
  return true;
}

void Protection::advance(World& w) {
  if (retreat_ < kLeastRetreat || w.motion.moving()) return;
  // A jog along the x axis of a space that points there. An arm that has no room stays where it is.
  const KDL::Vector x(away_[0], away_[1], away_[2]);
  const KDL::Vector across = std::abs(x.x()) < 0.5 ? KDL::Vector(1, 0, 0) : KDL::Vector(0, 1, 0);
  KDL::Vector z = x * across;
  z.Normalize();
  Jog back;
  back.space = JogSpace::world;
  back.world = toPose(KDL::Frame(KDL::Rotation(x, z * x, z)));
  back.step = std::exchange(retreat_, 0.0);
  back.rate = kRetreatRate;
  w.motion.jog(back);
}

}  // namespace zivra::sim
