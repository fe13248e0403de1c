#include "motion/frame_fit.h"

#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <Eigen/Eigenvalues>
#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>

#include "motion/geometry.h"

namespace zivra::sim {
namespace {

using Eigen::Matrix3d;
using Eigen::Vector3d;

constexpr double kLeastTurn = 0.05;      // between the poses, as rad, or the tip can't be told from the place
constexpr double kLeastDistance = 0.01;  // m
constexpr std::size_t kMostTouches = 4;

Vector3d toEigen(const KDL::Vector& v) { return {v.x(), v.y(), v.z()}; }

Matrix3d toEigen(const KDL::Rotation& r) {
  Matrix3d m;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) m(i, j) = r(i, j);
  return m;
}

Pose toPose(const Vector3d& origin, const Matrix3d& axes) {
  KDL::Frame frame(KDL::Vector(origin.x(), origin.y(), origin.z()));
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) frame.M(i, j) = axes(i, j);
  return zivra::sim::toPose(frame);
}

struct Flange {
  explicit Flange(const Pose& pose) : turn(toEigen(toFrame(pose).M)), place(toEigen(toFrame(pose).p)) {}
  Matrix3d turn;
  Vector3d place;
};

// Axes with the one direction exactly and the other as nearly as it can be; nothing if they are too alike.
std::optional<Matrix3d> axesFrom(const Vector3d& x, const Vector3d& alongsideX) {
  const double length = x.norm();
  if (length < kLeastDistance) return std::nullopt;
  const Vector3d first = x / length;
  const Vector3d third = first.cross(alongsideX);
  if (third.norm() < kLeastDistance) return std::nullopt;
  Matrix3d axes;
  axes << first, third.normalized().cross(first), third.normalized();
  return axes;
}

std::array<double, 3> meritOf(const std::vector<double>& distances) {
  double largest = 0, sum = 0, squares = 0;
  for (const double distance : distances) {
    largest = std::max(largest, distance);
    sum += distance;
    squares += distance * distance;
  }
  const auto count = static_cast<double>(distances.size());
  return {largest, sum / count, std::sqrt(squares / count)};
}

}  // namespace

std::optional<FrameFit> fitTip(const std::vector<Pose>& poses, FixedTo fixedTo) {
  const std::vector<Flange> flanges(poses.begin(), poses.end());
  const std::size_t touches = std::min(flanges.size(), kMostTouches);
  if (touches < 3) return std::nullopt;

  // turn * tip + place is the same for all: least squares of the differences from the mean.
  Matrix3d meanTurn = Matrix3d::Zero();
  Vector3d meanPlace = Vector3d::Zero();
  for (std::size_t i = 0; i < touches; ++i) {
    meanTurn += flanges[i].turn / static_cast<double>(touches);
    meanPlace += flanges[i].place / static_cast<double>(touches);
  }
  Matrix3d square = Matrix3d::Zero();
  Vector3d right = Vector3d::Zero();
  for (std::size_t i = 0; i < touches; ++i) {
    const Matrix3d turn = flanges[i].turn - meanTurn;
    square += turn.transpose() * turn;
    right -= turn.transpose() * (flanges[i].place - meanPlace);
  }
  const Eigen::SelfAdjointEigenSolver<Matrix3d> solver(square / static_cast<double>(touches),
                                                       Eigen::EigenvaluesOnly);
  if (!(solver.eigenvalues()(0) > kLeastTurn * kLeastTurn)) return std::nullopt;
  const Vector3d tip = square.ldlt().solve(right);
  const Vector3d touched = meanTurn * tip + meanPlace;

  FrameFit fit;
  std::vector<double> distances;
  for (std::size_t i = 0; i < touches; ++i)
    distances.push_back((flanges[i].turn * tip + flanges[i].place - touched).norm());
  fit.errors = meritOf(distances);

  Matrix3d axes = Matrix3d::Identity();
  if (flanges.size() > kMostTouches) {
    const auto moved = [&](const Flange& flange) -> Vector3d {
      const Vector3d by = flange.turn * tip + flange.place - touched;
      return fixedTo == FixedTo::flange ? Vector3d(flange.turn.transpose() * by) : by;
    };
    const Vector3d x = moved(flanges[4]), z = moved(flanges[5]);
    // z is the exact one, as the direction in which a tool works.
    const auto found = axesFrom(z, x);
    if (!found) return std::nullopt;
    axes << found->col(1), found->col(2), found->col(0);
  }
  fit.frame = toPose(fixedTo == FixedTo::flange ? tip : touched, axes);
  return fit;
}

std::optional<FrameFit> fitPlane(const Place& origin, const Place& onX, const Place& towardsY) {
  const Vector3d begin(origin.data());
  const auto axes = axesFrom(Vector3d(onX.data()) - begin, Vector3d(towardsY.data()) - begin);
  if (!axes) return std::nullopt;
  FrameFit fit;
  fit.frame = toPose(begin, *axes);
  return fit;
}

}  // namespace zivra::sim
