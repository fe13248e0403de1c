// All ways in which an arm reaches a pose. The arms are simple enough for closed forms: two long links in the
// plane that the first axis turns, and a wrist whose axes meet in one point. On 7 axes that plane's place is
// taken by the elbow's angle.
#include <algorithm>
#include <cmath>
#include <optional>

#include "motion/chain_arm.h"
#include "motion/geometry.h"

namespace zivra::sim {
namespace {

constexpr double quarterTurn = 1.57079632679489661923;
constexpr double fullTurn = 4 * quarterTurn;
constexpr double sameAngle = 1e-6;  // rad
constexpr double tiny = 1e-9;

using KDL::Rotation;

// Angles about z, y and z again.
struct Turns {
  double first, bend, last;
};

// Both ways to make a rotation; one where the bend leaves the two turns alike.
std::vector<Turns> turnsOf(const Rotation& m) {
  const double sine = std::hypot(m(0, 2), m(1, 2));
  if (sine < tiny) {
    const bool straight = m(2, 2) > 0;
    return {{0, straight ? 0 : 2 * quarterTurn, std::atan2(m(1, 0), straight ? m(0, 0) : -m(0, 0))}};
  }
  return {
      {std::atan2(m(1, 2), m(0, 2)), std::atan2(sine, m(2, 2)), std::atan2(m(2, 1), -m(2, 0))},
      {std::atan2(-m(1, 2), -m(0, 2)), std::atan2(-sine, m(2, 2)), std::atan2(-m(2, 1), m(2, 0))},
  };
}

struct Bends {
  double shoulder, elbow;
};

// Two links from the shoulder to a point that far out and up; `way` is the sign of the elbow's bend.
std::optional<Bends> bendsTo(double out, double up, double upper, double fore, double way) {
  const double cosine = (out * out + up * up - upper * upper - fore * fore) / (2 * upper * fore);
  if (!(std::abs(cosine) <= 1 + tiny)) return std::nullopt;
  const double elbow = way * std::acos(std::clamp(cosine, -1.0, 1.0));
  const double lead = std::atan2(fore * std::sin(elbow), upper + fore * std::cos(elbow));
  return Bends{std::atan2(out, up) - lead, elbow};
}

double facing(const KDL::Vector& point) {
  return std::hypot(point.x(), point.y()) < tiny ? 0.0 : std::atan2(point.y(), point.x());
}

// Nearly a whole number of quarters is meant to be one: the configuration counts quarters.
double snapped(double angle) {
  const double near = quarterTurn * std::round(angle / quarterTurn);
  return std::abs(angle - near) < tiny ? near : angle;
}

// Of the arm of 7 axes, shoulder in the origin: how the upper arm stands with the elbow in the upright plane.
std::optional<Rotation> uprightUpperArm(const KDL::Vector& wrist, const ArmDescription& arm) {
  const auto bends = bendsTo(std::hypot(wrist.x(), wrist.y()), wrist.z(), arm.upperArm, arm.foreArm, 1.0);
  if (!bends) return std::nullopt;
  return Rotation::RotZ(facing(wrist)) * Rotation::RotY(bends->shoulder);
}

}  // namespace

double ChainArm::elbow(const Joints& joints) const {
  if (axes() != 7) return 0;
  const KDL::Frame flange = forward(toVector(joints));
  const KDL::Vector wrist = flange.p - flange.M.UnitZ() * description_.flangeLength -
                            KDL::Vector(0, 0, description_.shoulderHeight);
  const auto upright = uprightUpperArm(wrist, description_);
  const double distance = wrist.Norm();
  if (!upright || distance < tiny) return 0;
  const KDL::Vector along = wrist / distance;
  const auto aside = [&](const KDL::Vector& v) { return v - along * KDL::dot(v, along); };
  const KDL::Vector from = aside(upright->UnitZ());
  const KDL::Vector to = aside((Rotation::RotZ(joints[0]) * Rotation::RotY(joints[1])).UnitZ());
  if (from.Norm() < sameAngle) return 0;  // stretched: there is no elbow to be seen
  return std::atan2(KDL::dot(along, from * to), KDL::dot(from, to));
}

std::vector<Joints> ChainArm::closedForm(const KDL::Frame& flange, double elbow) const {
  const ArmDescription& arm = description_;
  const KDL::Vector wrist =
      flange.p - flange.M.UnitZ() * arm.flangeLength - KDL::Vector(0, 0, arm.shoulderHeight);
  std::vector<Joints> found;
  if (axes() == 7) {
    const auto upright = uprightUpperArm(wrist, arm);
    if (!upright || wrist.Norm() < tiny) return found;
    const double bend =
        bendsTo(std::hypot(wrist.x(), wrist.y()), wrist.z(), arm.upperArm, arm.foreArm, 1)->elbow;
    const Rotation upper = Rotation::Rot(wrist, elbow) * *upright;
    for (const double way : {1.0, -1.0}) {
      // The elbow bends the other way once the upper arm has turned by half a turn.
      const Rotation turned = upper * Rotation::RotZ(way > 0 ? 0.0 : 2 * quarterTurn);
      for (const Turns& first : turnsOf(turned)) {
        for (const Turns& last : turnsOf((turned * Rotation::RotY(way * bend)).Inverse() * flange.M)) {
          found.push_back(
              {first.first, first.bend, first.last, way * bend, last.first, last.bend, last.last});
        }
      }
    }
    return found;
  }
  for (const double away : {0.0, 2 * quarterTurn}) {
    const double turn = facing(wrist) + away;
    const double out = (away == 0 ? 1 : -1) * std::hypot(wrist.x(), wrist.y()) - arm.shoulderOffset;
    const Rotation rest = Rotation::RotZ(-turn) * flange.M;  // seen from the turned arm
    for (const double way : {1.0, -1.0}) {
      const auto bends = bendsTo(out, wrist.z(), arm.upperArm, arm.foreArm, way);
      if (!bends) continue;
      const Joints begin{turn, bends->shoulder, bends->elbow};
      const double bent = bends->shoulder + bends->elbow;
      const auto add = [&](std::initializer_list<double> last) {
        found.push_back(begin);
        found.back().insert(found.back().end(), last);
      };
      if (axes() == 3) {
        add({});
      } else if (axes() == 4) {
        add({std::atan2(rest(1, 0), -rest(0, 0))});
      } else if (axes() == 5) {
        add({std::atan2(rest(0, 2), rest(2, 2)) - bent, std::atan2(rest(1, 0), rest(1, 1))});
      } else {
        for (const Turns& last : turnsOf(Rotation::RotY(-bent) * rest))
          add({last.first, last.bend, last.last});
      }
    }
  }
  return found;
}

void ChainArm::addTurns(const JointVector& joints, std::vector<Joints>& solutions) const {
  std::vector<Joints> turned{{}};
  for (Eigen::Index i = 0; i < joints.size(); ++i) {
    std::vector<Joints> longer;
    const double angle = snapped(joints(i) - fullTurn * std::round(joints(i) / fullTurn));
    for (const Joints& begin : turned) {
      for (const double turn : {0.0, -fullTurn, fullTurn}) {
        if (angle + turn < lower_(i) - tiny || angle + turn > upper_(i) + tiny) continue;
        longer.push_back(begin);
        longer.back().push_back(angle + turn);
      }
    }
    turned = std::move(longer);
  }
  for (Joints& solution : turned) {
    const bool known = std::ranges::any_of(solutions, [&](const Joints& other) {
      return std::ranges::equal(solution, other,
                                [](double a, double b) { return std::abs(a - b) < sameAngle; });
    });
    if (!known) solutions.push_back(std::move(solution));
  }
}

std::vector<Joints> ChainArm::allSolutions(const Pose& flange, double elbow) const {
  std::vector<Joints> solutions;
  if (!isFinite(flange)) return solutions;
  const KDL::Frame frame = toFrame(flange);
  for (const Joints& start : closedForm(frame, elbow)) {
    JointVector joints = toVector(start);
    // Tells what the axes can't do from what they can.
    if (reaches(frame, joints)) addTurns(joints, solutions);
  }
  return solutions;
}

Arm::Solution ChainArm::inverse(const Pose& flange, double elbow, const Joints& seed,
                                const std::vector<int>& conf) const {
  if (axes() != 7 || seed.size() != axes()) return inverse(flange, seed, conf);
  const std::vector<Joints> all = allSolutions(flange, elbow);
  const JointVector from = toVector(seed);
  const Joints* best = nullptr;
  double shortest = 0;
  for (const Joints& joints : all) {
    if (!hasConf(toVector(joints), conf)) continue;
    const double way = (toVector(joints) - from).cwiseAbs().maxCoeff();
    if (best == nullptr || way < shortest) best = &joints, shortest = way;
  }
  if (best != nullptr) return {0, *best};
  if (!all.empty()) return {-50021, {}};
  const Solution other = inverse(flange, seed, {});
  return {other.code != 0 ? other.code : -50101, {}};  // reached with another elbow only
}

}  // namespace zivra::sim
