#include "guiding.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

#include "motion/chain_arm.h"
#include "motion/geometry.h"
#include "world.h"

namespace zivra::sim {

namespace {

constexpr double kLongestStep = 0.01;  // s: the arm's neighbouring poses lie close together
constexpr double kTiny = 1e-9;         // s

}  // namespace

void Guiding::begin(Freedom freedom) {
  on_ = true;
  freedom_ = freedom;
}

void Guiding::end(int code) {
  on_ = false;
  hand_.reset();
  recorder.lose(code);
}

void Guiding::boot() {
  on_ = false;
  hand_.reset();
  recorder.boot();
}

void Guiding::lead(std::vector<Joints> points, double seconds, const Motion& motion) {
  if (!on_ || points.empty()) return;
  Hand hand;
  hand.seconds = seconds / static_cast<double>(points.size());
  hand.points = std::move(points);
  hand.points.insert(hand.points.begin(), motion.joints());
  held_ = compose(motion.arm().flange(motion.joints()), motion.toolInFlange());
  hand_ = std::move(hand);
}

// From rest to rest with the least jerk.
Joints Guiding::Hand::wish() const {
  const auto leg = std::min(static_cast<std::size_t>(time / seconds), points.size() - 2);
  const double t = std::clamp(time / seconds - static_cast<double>(leg), 0.0, 1.0);
  const double share = t * t * t * (10 + t * (6 * t - 15));
  Joints wish = points[leg];
  for (std::size_t i = 0; i < wish.size(); ++i) wish[i] += (points[leg + 1][i] - wish[i]) * share;
  return wish;
}

// What of the hand's wish the arm is free to do. It stays where it can't follow.
Joints Guiding::follow(const Motion& motion, const Joints& wish) const {
  const auto& arm = dynamic_cast<const ChainArm&>(motion.mechanicalArm());
  Joints joints = wish;
  for (std::size_t i = 0; i < joints.size(); ++i)
    joints[i] = std::clamp(wish[i], arm.limits().lower[i], arm.limits().upper[i]);
  if (freedom_ == Freedom::all) return joints;

  const KDL::Frame tool = toFrame(motion.toolInFlange()), held = toFrame(held_);
  const KDL::Frame wanted = arm.forward(toVector(joints)) * tool;
  const KDL::Frame allowed =
      freedom_ == Freedom::translation ? KDL::Frame(held.M, wanted.p) : KDL::Frame(wanted.M, held.p);
  JointVector now = toVector(motion.joints());
  return arm.follow(allowed * tool.Inverse(), now) == 0 ? toJoints(now) : motion.joints();
}

void Guiding::moveHand(Motion& motion, double seconds) {
  if (!hand_) return;
  hand_->time += seconds;
  const bool arrived = hand_->left() <= kTiny;
  const Joints before = motion.joints(), now = follow(motion, hand_->wish());
  Joints velocities(now.size(), 0.0);
  if (arrived) {
    hand_.reset();
  } else {
    for (std::size_t i = 0; i < now.size(); ++i) velocities[i] = (now[i] - before[i]) / seconds;
  }
  motion.yield(now, velocities);
}

void Guiding::advance(World& w, double seconds) {
  while (busy() && seconds > kTiny) {
    double step = std::min(seconds, recorder.running() ? recorder.untilNextPoint() : kLongestStep);
    if (hand_) step = std::min(step, std::max(hand_->left(), kTiny));
    moveHand(w.motion, step);
    if (recorder.pass(step, w.motion, moving())) {
      const int code = recorder.verdict();
      w.log(code, code == 0 ? "the path is recorded" : fmt::format("the path isn't kept ({})", code));
    }
    seconds -= step;
  }
}

}  // namespace zivra::sim
