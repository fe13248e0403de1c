// Moves of the simulated arm without a world around it, and what they look like tick by tick.
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <numbers>
#include <optional>
#include <utility>
#include <vector>

#include "motion/motion.h"
#include "sim/poses.h"

namespace zivra::sim::test {

inline constexpr double pi = std::numbers::pi;
inline const Pose toolDown{{0.45, 0.0, 0.45}, {pi, 0, pi}};

inline Move moveTo(MoveKind kind, const Pose& pose, std::optional<double> speed = 0.3, double zone = 0) {
  Move move;
  move.kind = kind;
  move.target.pose = pose;
  move.speed = speed;
  move.zone = zone;
  return move;
}

inline Move arc(const Pose& aux, const Pose& target) {
  Move move = moveTo(MoveKind::circle, target);
  move.aux.pose = aux;
  return move;
}

inline Move fullCircle(const Pose& aux, const Pose& target, double angle,
                       CircleRotation rotation = CircleRotation::constPose) {
  Move move = arc(aux, target);
  move.kind = MoveKind::fullCircle;
  move.angle = angle;
  move.rotation = rotation;
  return move;
}

inline Move spiral(const Pose& target, double radius, double step, double angle, bool positive = true) {
  Move move = moveTo(MoveKind::spiral, target);
  move.radius = radius;
  move.step = step;
  move.angle = angle;
  move.direction = positive;
  return move;
}

inline Move jointMove(const Joints& joints, std::optional<double> jointSpeed = 1.0, double zone = 0) {
  Move move;
  move.kind = MoveKind::absJ;
  move.joints = joints;
  move.jointSpeed = jointSpeed;
  move.zone = zone;
  return move;
}

inline Move waitFor(double seconds) {
  Move move;
  move.kind = MoveKind::wait;
  move.waitSeconds = seconds;
  return move;
}

struct Outcome {
  double time = 0;
  std::vector<MoveNotice> ends;    // finishes and errors
  std::vector<double> finishTime;  // of each of them
  double largestJump = 0;          // of a joint velocity between two ticks, rad/s
};

constexpr double tick = 0.002;

// Lets time pass until nothing is under way; `watch` is called after each tick.
inline Outcome run(Motion& motion, const std::function<void(double)>& watch = {}) {
  Outcome result;
  Joints velocities = motion.velocities(), joints = motion.joints();
  while (motion.pending() && result.time < 300) {
    for (MoveNotice& notice : motion.advance(tick)) {
      if (!notice.finish && notice.error == 0) continue;
      result.ends.push_back(std::move(notice));
      result.finishTime.push_back(result.time + tick);
    }
    result.time += tick;
    const Joints now = motion.velocities();
    for (std::size_t i = 0; i < now.size(); ++i) {
      result.largestJump = std::max(result.largestJump, std::abs(now[i] - velocities[i]));
      const double moved = (motion.joints()[i] - joints[i]) / tick;  // positions and velocities tell the same
      EXPECT_NEAR(moved, (now[i] + velocities[i]) / 2, 0.15) << "axis " << i << " at " << result.time;
    }
    velocities = now;
    joints = motion.joints();
    if (watch) watch(result.time);
  }
  EXPECT_FALSE(motion.pending());
  return result;
}

// The same of moves that are taken and started without a word.
inline Outcome run(Motion& motion, std::vector<Move> moves, const std::function<void(double)>& watch = {}) {
  EXPECT_EQ(motion.append(std::move(moves)), 0);
  EXPECT_EQ(motion.start(), 0);
  return run(motion, watch);
}

inline int runToCode(Motion& motion, std::vector<Move> moves) {
  const Outcome result = run(motion, std::move(moves));
  return result.ends.empty() ? 1 : result.ends.back().error;
}

inline void expectToolAt(const Motion& motion, const Pose& pose) {
  EXPECT_LT(distance(motion.toolInReference(), pose), 1e-6);
  EXPECT_LT(turn(motion.toolInReference(), pose), 1e-6);
}

inline Motion sixAxes() { return Motion(Arm::make(6)); }

}  // namespace zivra::sim::test
