#include "motion/curve.h"

#include <cmath>
#include <utility>

#include "motion/geometry.h"

namespace zivra::sim {
namespace {

constexpr double fullTurn = 6.28318530717958647693;
constexpr double closePoints = 1e-4;   // m
constexpr double narrowRadius = 1e-3;  // m
constexpr double wideRadius = 50.0;    // m: flatter than this counts as a straight line
constexpr double maxTurns = 200;

struct Circle {
  int code = 0;
  KDL::Vector centre, normal;  // start to aux to target is the positive sense about the normal
};

double norm(const KDL::Vector& v) { return std::sqrt(KDL::dot(v, v)); }

Circle throughPoints(const KDL::Vector& start, const KDL::Vector& aux, const KDL::Vector& target) {
  const KDL::Vector toAux = aux - start, toTarget = target - start, onward = target - aux;
  const bool nearTarget = norm(toTarget) < closePoints, nearAux = norm(toAux) < closePoints,
             auxTarget = norm(onward) < closePoints;
  if (nearTarget && nearAux && auxTarget) return {-50007, {}, {}};
  if (nearTarget) return {-50004, {}, {}};
  if (nearAux) return {-50005, {}, {}};
  if (auxTarget) return {-50006, {}, {}};
  const KDL::Vector area = toAux * toTarget;
  const double twiceArea = norm(area);
  const double radius = norm(toAux) * norm(toTarget) * norm(onward) / (2 * twiceArea);
  if (!(radius < wideRadius)) return {-50008, {}, {}};
  if (radius < narrowRadius) return {-50009, {}, {}};
  const KDL::Vector toCentre =
      ((toTarget * KDL::dot(toAux, toAux) - toAux * KDL::dot(toTarget, toTarget)) * area) /
      (2 * twiceArea * twiceArea);
  return {0, start + toCentre, area / twiceArea};
}

// Position on a circle: `spoke` from the centre turned about the normal.
Curve::Place onCircle(const Circle& circle, const KDL::Vector& start, double angle) {
  const KDL::Vector spoke = start - circle.centre;
  const KDL::Vector across = circle.normal * spoke;
  return [=](double at, KDL::Vector& position, KDL::Vector& derivative) {
    const double cosine = std::cos(angle * at), sine = std::sin(angle * at);
    position = circle.centre + spoke * cosine + across * sine;
    derivative = (across * cosine - spoke * sine) * angle;
  };
}

Curve between(Curve::Place place, const KDL::Rotation& from, const KDL::Rotation& to, double turning) {
  KDL::Vector axis = rotationVector(from.Inverse() * to);
  const double angle = norm(axis);
  axis = angle > 0 ? axis / angle : KDL::Vector(0, 0, 1);
  return {std::move(place), from, axis, angle, turning};
}

bool isSweep(double angle) { return std::abs(angle) >= 1e-3 && std::abs(angle) <= maxTurns * fullTurn; }

}  // namespace

Curve::Curve(Place place, const KDL::Rotation& from, const KDL::Vector& axis, double angle, double turning)
    : place_(std::move(place)), from_(from), axis_(axis), angle_(angle), turning_(turning) {}

KDL::Frame Curve::pose(double at) const {
  KDL::Frame frame;
  KDL::Vector derivative;
  place_(at, frame.p, derivative);
  frame.M = from_ * KDL::Rotation::Rot2(axis_, angle_ * at);
  return frame;
}

KDL::Twist Curve::derivative(double at) const {
  KDL::Vector position, derivative;
  place_(at, position, derivative);
  return {derivative, from_ * axis_ * angle_};
}

DrawnCurve drawLine(const KDL::Frame& start, const KDL::Frame& target) {
  const KDL::Vector way = target.p - start.p, from = start.p;
  if (norm(way) < 1e-6 && norm(rotationVector(start.M.Inverse() * target.M)) < 1e-6) return {-50003, {}};
  const auto place = [=](double at, KDL::Vector& position, KDL::Vector& derivative) {
    position = from + way * at;
    derivative = way;
  };
  return {0, between(place, start.M, target.M, 0)};
}

DrawnCurve drawArc(const KDL::Frame& start, const KDL::Frame& aux, const KDL::Frame& target) {
  const Circle circle = throughPoints(start.p, aux.p, target.p);
  if (circle.code != 0) return {circle.code, {}};
  const KDL::Vector spoke = start.p - circle.centre, end = target.p - circle.centre;
  double angle = std::atan2(KDL::dot(circle.normal, spoke * end), KDL::dot(spoke, end));
  if (angle <= 0) angle += fullTurn;
  return {0, between(onCircle(circle, start.p, angle), start.M, target.M, angle)};
}

DrawnCurve drawCircle(const KDL::Frame& start, const KDL::Frame& aux, const KDL::Frame& target, double angle,
                      CircleRotation rotation) {
  if (!isSweep(angle)) return {-50010, {}};
  const Circle circle = throughPoints(start.p, aux.p, target.p);
  if (circle.code != 0) return {circle.code, {}};
  const KDL::Vector axis =
      rotation == CircleRotation::fixedAxis ? start.M.Inverse() * circle.normal : KDL::Vector(0, 0, 1);
  const double turned = rotation == CircleRotation::constPose ? 0.0 : angle;
  return {0, {onCircle(circle, start.p, angle), start.M, axis, turned, std::abs(angle)}};
}

DrawnCurve drawSpiral(const KDL::Frame& start, const KDL::Frame& target, double radius, double step,
                      double angle, bool positive) {
  const double growth = step / fullTurn;  // m per rad
  if (!(angle > 0) || !isSweep(angle) || !(radius >= 0) || !(radius + growth * angle >= 0))
    return {-50010, {}};
  if (std::max(radius, radius + growth * angle) < narrowRadius) return {-50009, {}};
  if (!(std::max(radius, radius + growth * angle) < wideRadius)) return {-50010, {}};
  const KDL::Vector x = target.M.UnitX();
  const KDL::Vector y = target.M.UnitY() * (positive ? 1.0 : -1.0);
  const KDL::Vector centre = start.p - x * radius;
  const auto place = [=](double at, KDL::Vector& position, KDL::Vector& derivative) {
    const double swept = angle * at, distance = radius + growth * swept;
    const KDL::Vector out = x * std::cos(swept) + y * std::sin(swept);
    const KDL::Vector along = y * std::cos(swept) - x * std::sin(swept);
    position = centre + out * distance;
    derivative = (out * growth + along * distance) * angle;
  };
  return {0, between(place, start.M, target.M, angle)};
}

}  // namespace zivra::sim
