// The robot at one moment, with the rates of change that the motion doesn't know by itself.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "motion/motion.h"

namespace zivra::sim {

class World;

struct RobotSample {
  double time = 0;                   // s, simulated
  Joints q, dq, ddq;                 // rad, rad/s, rad/s^2
  Pose pose;                         // of the tool, as "sys.posture" tells it
  std::array<double, 6> velocity{};  // of the tool in the axes of that frame: m/s, rad/s
  std::array<double, 6> acceleration{};
  std::vector<double> torque, filteredTorque, torqueRate;  // Nm, Nm, Nm/s
  std::uint8_t motionMode = 0;                             // 0 at rest, 1 a move, 2 a jog
  std::uint8_t controlMode = 0;                            // 0 motors off, 1 position
};

// Rates are differences to the sample before; without one, and at rest, they are zero.
RobotSample sampleRobot(const World& world, const std::optional<RobotSample>& previous);

}  // namespace zivra::sim
