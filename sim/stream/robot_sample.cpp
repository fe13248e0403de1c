#include "stream/robot_sample.h"

#include <algorithm>
#include <kdl/frames.hpp>

#include "motion/geometry.h"
#include "world.h"

namespace zivra::sim {

namespace {

constexpr double kTorqueFilter = 0.02;  // s, time constant

template <typename Numbers>
Numbers rateOf(const Numbers& now, const Numbers& before, double seconds) {
  Numbers rate = now;
  std::transform(now.begin(), now.end(), before.begin(), rate.begin(),
                 [seconds](double a, double b) { return (a - b) / seconds; });
  return rate;
}

std::array<double, 6> velocityBetween(const Pose& before, const Pose& now, double seconds) {
  const KDL::Frame a = toFrame(before), b = toFrame(now);
  const KDL::Vector way = (b.p - a.p) / seconds, turn = rotationVector(b.M * a.M.Inverse()) / seconds;
  return {way.x(), way.y(), way.z(), turn.x(), turn.y(), turn.z()};
}

}  // namespace

RobotSample sampleRobot(const World& world, const std::optional<RobotSample>& previous) {
  const Motion& motion = world.motion;
  RobotSample sample;
  sample.time = world.time;
  sample.q = motion.joints();
  sample.dq = motion.velocities();
  sample.pose = motion.toolInReference();
  sample.torque = world.force.torques(world, ForceControl::Frame::world).measured;
  sample.filteredTorque = sample.torque;
  sample.ddq.assign(sample.q.size(), 0.0);
  sample.torqueRate.assign(sample.torque.size(), 0.0);
  sample.motionMode = !world.moving() ? 0 : motion.jogging() ? 2 : 1;
  sample.controlMode = world.powered() ? 1 : 0;
  if (!previous) return sample;

  const double seconds = sample.time - previous->time;
  if (seconds <= 0) {  // the same moment once more
    sample.ddq = previous->ddq;
    sample.velocity = previous->velocity;
    sample.acceleration = previous->acceleration;
    sample.filteredTorque = previous->filteredTorque;
    sample.torqueRate = previous->torqueRate;
    return sample;
  }
  const double share = seconds / (seconds + kTorqueFilter);
  for (std::size_t i = 0; i < sample.torque.size(); ++i)
    sample.filteredTorque[i] =
        previous->filteredTorque[i] + share * (sample.torque[i] - previous->filteredTorque[i]);
  // What is put somewhere at once, or measured in another frame, hasn't moved there.
  if (!world.moving()) return sample;
  sample.ddq = rateOf(sample.dq, previous->dq, seconds);
  sample.velocity = velocityBetween(previous->pose, sample.pose, seconds);
  sample.acceleration = rateOf(sample.velocity, previous->velocity, seconds);
  sample.torqueRate = rateOf(sample.torque, previous->torque, seconds);
  return sample;
}

}  // namespace zivra::sim
