// The arms of the simulated controller. Every arm stands straight up with all axes at zero; positive angles
// of the bending axes lean it forward, along x.
#include <kdl/joint.hpp>
#include <kdl/segment.hpp>
#include <numbers>
#include <stdexcept>
#include <string>

#include "motion/chain_arm.h"

namespace zivra::sim {
namespace {

constexpr double pi = std::numbers::pi;
constexpr double shoulderHeight = 0.34, shoulderOffset = 0.03, upperArm = 0.40, foreArm = 0.38;

struct Link {
  KDL::Joint::JointType joint;
  KDL::Vector tip;  // of the link, from its joint
  double mass;      // kg, at the middle of the link
};

const auto turn = KDL::Joint::RotZ;
const auto bend = KDL::Joint::RotY;

void addLinks(ArmDescription& arm, const std::vector<Link>& links) {
  for (const Link& link : links) {
    const KDL::Vector middle = link.tip * 0.5;
    const double inertia = link.mass * 0.01;
    arm.chain.addSegment(KDL::Segment(
        KDL::Joint(link.joint), KDL::Frame(link.tip),
        KDL::RigidBodyInertia(link.mass, middle, KDL::RotationalInertia(inertia, inertia, inertia))));
  }
  const auto joints = static_cast<Eigen::Index>(links.size());
  arm.coupling = Eigen::MatrixXd::Identity(joints, joints);
  arm.bias = Eigen::VectorXd::Zero(joints);
}

// Parallel rods hold the flange level, pointing down: chain joint 3 follows axes 1 and 2.
void addRods(ArmDescription& arm, Eigen::Index axes) {
  const Eigen::Index joints = arm.bias.size();
  arm.coupling = Eigen::MatrixXd::Zero(joints, axes);
  for (Eigen::Index axis = 0; axis < axes; ++axis) arm.coupling(axis < 3 ? axis : axis + 1, axis) = 1.0;
  arm.coupling(3, 1) = arm.coupling(3, 2) = -1.0;
  arm.bias(3) = pi;
}

void limit(ArmDescription& arm, Joints lower, Joints upper, Joints velocity) {
  arm.limits.acceleration.reserve(velocity.size());
  for (const double v : velocity) arm.limits.acceleration.push_back(5.0 * v);
  arm.limits.lower = std::move(lower);
  arm.limits.upper = std::move(upper);
  arm.limits.velocity = std::move(velocity);
}

// Every column leans its next axis over, so that the arm bends forward; without bends between them axes stand
// straight up.
constexpr double quarter = pi / 2;
constexpr DhRow shoulder{shoulderOffset, -quarter, shoulderHeight, 0};
constexpr DhRow upperBend{upperArm, 0, 0, -quarter};
constexpr DhRow foreBend{foreArm, 0, 0, 0};
constexpr DhRow intoTurn{0, quarter, 0, quarter};  // a bend that a turn follows, behind another bend
constexpr DhRow bendThenTurn{0, quarter, 0, 0};    // the same behind a turn
DhRow turnThenBend(double length) { return {0, -quarter, length, 0}; }
DhRow lastTurn(double length) { return {0, 0, length, 0}; }

const Link column{turn, KDL::Vector(shoulderOffset, 0, shoulderHeight), 6.5};
const Link upper{bend, KDL::Vector(0, 0, upperArm), 5.2};

ArmDescription positioningArm() {
  ArmDescription arm;
  arm.flangeLength = 0.08;
  addLinks(arm, {column, upper, {bend, {0, 0, foreArm}, 3.1}, {bend, {0, 0, arm.flangeLength}, 0.8}});
  addRods(arm, 3);
  limit(arm, {-2.97, -1.4, 0.05}, {2.97, 1.7, 2.75}, {2.6, 2.4, 2.8});
  arm.home = {0, 0.15, 1.6};
  arm.dh = {shoulder, upperBend, foreBend, {arm.flangeLength, 0, 0, pi}};
  return arm;
}

ArmDescription palletisingArm() {
  ArmDescription arm;
  arm.flangeLength = 0.10;
  addLinks(arm,
           {column, upper, {bend, {0, 0, foreArm}, 3.1}, {bend, {0, 0, 0}, 0.4}, {turn, {0, 0, 0.10}, 0.7}});
  addRods(arm, 4);
  limit(arm, {-2.97, -1.4, 0.05, -6.2}, {2.97, 1.7, 2.75, 6.2}, {2.6, 2.4, 2.8, 5.2});
  arm.home = {0, 0.15, 1.6, 0};
  arm.dh = {shoulder, upperBend, foreBend, {0, quarter, 0, quarter + pi}, lastTurn(arm.flangeLength)};
  return arm;
}

ArmDescription fiveAxisArm() {
  ArmDescription arm;
  arm.flangeLength = 0.10;
  arm.wrist = 3;
  addLinks(arm,
           {column, upper, {bend, {0, 0, foreArm}, 3.1}, {bend, {0, 0, 0}, 1.1}, {turn, {0, 0, 0.10}, 0.7}});
  limit(arm, {-3.05, -2.3, -2.6, -2.5, -6.2}, {3.05, 2.3, 2.6, 2.5, 6.2}, {2.8, 2.8, 3.1, 3.6, 5.2});
  arm.home = {0, 0.15, 1.6, pi - 1.75, 0};
  arm.dh = {shoulder, upperBend, foreBend, intoTurn, lastTurn(arm.flangeLength)};
  return arm;
}

ArmDescription sixAxisArm() {
  ArmDescription arm;
  arm.flangeLength = 0.10;
  arm.wrist = 4;
  addLinks(arm, {column,
                 upper,
                 {bend, {0, 0, 0.19}, 1.9},
                 {turn, {0, 0, foreArm - 0.19}, 1.2},
                 {bend, {0, 0, 0}, 1.1},
                 {turn, {0, 0, 0.10}, 0.7}});
  limit(arm, {-3.05, -2.3, -2.6, -3.05, -2.5, -6.2}, {3.05, 2.3, 2.6, 3.05, 2.5, 6.2},
        {2.8, 2.8, 3.1, 3.6, 3.6, 5.2});
  arm.home = {0, 0.15, 1.6, 0, pi - 1.75, 0};
  arm.dh = {shoulder, upperBend, intoTurn, turnThenBend(foreArm), bendThenTurn, lastTurn(arm.flangeLength)};
  return arm;
}

ArmDescription sevenAxisArm() {
  ArmDescription arm;
  arm.flangeLength = 0.11;
  arm.elbow = 3;
  arm.wrist = 5;
  addLinks(arm, {{turn, {0, 0, shoulderHeight}, 6.5},
                 {bend, {0, 0, 0.21}, 2.8},
                 {turn, {0, 0, upperArm - 0.21}, 2.4},
                 {bend, {0, 0, 0.19}, 1.9},
                 {turn, {0, 0, foreArm - 0.19}, 1.2},
                 {bend, {0, 0, 0}, 1.1},
                 {turn, {0, 0, arm.flangeLength}, 0.7}});
  limit(arm, {-3.05, -2.1, -3.05, -2.6, -3.05, -2.2, -6.2}, {3.05, 2.1, 3.05, 2.6, 3.05, 2.2, 6.2},
        {2.8, 2.8, 3.1, 3.1, 3.6, 3.6, 5.2});
  arm.home = {0, 0.35, 0, 1.6, 0, pi - 1.95, 0};
  arm.dh = {turnThenBend(shoulderHeight), bendThenTurn, turnThenBend(upperArm),    bendThenTurn,
            turnThenBend(foreArm),        bendThenTurn, lastTurn(arm.flangeLength)};
  return arm;
}

ArmDescription dimensions(std::size_t axes) {
  switch (axes) {
    case 3:
      return positioningArm();
    case 4:
      return palletisingArm();
    case 5:
      return fiveAxisArm();
    case 6:
      return sixAxisArm();
    case 7:
      return sevenAxisArm();
    default:
      throw std::invalid_argument("an arm has 3 to 7 axes, not " + std::to_string(axes));
  }
}

}  // namespace

ArmDescription describeArm(std::size_t axes) {
  ArmDescription arm = dimensions(axes);
  arm.shoulderHeight = shoulderHeight;
  arm.shoulderOffset = axes == 7 ? 0 : shoulderOffset;
  arm.upperArm = upperArm;
  arm.foreArm = foreArm;
  arm.reach = shoulderOffset + upperArm + foreArm + arm.flangeLength;
  return arm;
}

std::shared_ptr<const Arm> Arm::make(std::size_t axes) {
  return std::make_shared<ChainArm>(describeArm(axes));
}

}  // namespace zivra::sim
