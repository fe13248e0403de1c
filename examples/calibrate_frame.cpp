// Teaches three places of a work object, has the controller calculate its frame from them, and checks the
// frame by the place of the third.
//
// The robot really moves: to a pose with the tool pointing down, then within 15 cm of that place. A user
// would guide the tool by hand to the object's corner, to its edge and onto its face; here they are made up.
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <system_error>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;
using zivra::CartesianPosition;

struct Taught {
  std::array<double, 6> joints;
  std::array<double, 3> place;  // [m]
};

// Moves there and takes the axis angles, as if the tool had been guided there.
Taught teach(zivra::TandiRobot& robot, MoveEvents& events, const char* what,
             const CartesianPosition& target) {
  runMoves<zivra::MoveLCommand>(robot, events, what, {named(zivra::MoveLCommand(target, 250, 0), "taught")});
  std::error_code ec;
  const auto joints = robot.jointPos(ec);
  require(ec, "reading the axis angles");
  Taught taught{{}, target.trans};
  if (joints.size() != taught.joints.size()) throw std::runtime_error("the robot has another number of axes");
  for (std::size_t i = 0; i < joints.size(); ++i) taught.joints[i] = joints[i];
  return taught;
}

std::array<double, 3> rotated(const std::array<double, 3>& rpy, const std::array<double, 3>& v) {
  const double cx = std::cos(rpy[0]), sx = std::sin(rpy[0]), cy = std::cos(rpy[1]), sy = std::sin(rpy[1]),
               cz = std::cos(rpy[2]), sz = std::sin(rpy[2]);
  const std::array<double, 3> x{v[0], cx * v[1] - sx * v[2], sx * v[1] + cx * v[2]};
  const std::array<double, 3> y{cy * x[0] + sy * x[2], x[1], -sy * x[0] + cy * x[2]};
  return {cz * y[0] - sz * y[1], sz * y[0] + cz * y[1], y[2]};
}

void calibrate(zivra::TandiRobot& robot, MoveEvents& events) {
  using namespace zivra;
  enterMode(robot, OperateMode::automatic);
  runMoves<MoveAbsJCommand>(robot, events, "joint move home", {moveHome()});
  std::error_code ec;
  const CartesianPosition here = robot.cartPosture(CoordinateType::endInRef, ec);
  require(ec, "reading the pose");

  // A plate of 10 cm by 8 cm, not far from here, that is turned and leans a little.
  const std::array<double, 3> lean{0.1, -0.05, 0.5};
  const auto onPlate = [&](double x, double y) {
    const auto place = rotated(lean, {x, y, 0});
    return shifted(here, place[0] - 0.05, place[1] - 0.05, place[2] + 0.02);
  };
  const Taught corner = teach(robot, events, "the corner: origin of the frame", onPlate(0, 0));
  const Taught edge = teach(robot, events, "along the edge: its x axis", onPlate(0.1, 0));
  const Taught face = teach(robot, events, "onto the face: the side of y", onPlate(0.05, 0.08));

  const auto result =
      robot.calibrateFrame(FrameType::wobj, {corner.joints, edge.joints, face.joints}, false, ec);
  require(ec, "calibrating the work object");
  const Frame& frame = result.frame;
  std::printf("frame of the work object: x %s  y %s  z %s m,  rx %s  ry %s  rz %s rad\n",
              decimals(frame.trans[0]).c_str(), decimals(frame.trans[1]).c_str(),
              decimals(frame.trans[2]).c_str(), decimals(frame.rpy[0]).c_str(),
              decimals(frame.rpy[1]).c_str(), decimals(frame.rpy[2]).c_str());
  std::printf("figures of merit: %s\n", listOf({result.errors.begin(), result.errors.end()}).c_str());

  // The third place, by the frame, and as it was taught.
  const auto by = rotated(frame.rpy, {0.05, 0.08, 0});
  double square = 0;
  for (std::size_t i = 0; i < 3; ++i) square += std::pow(frame.trans[i] + by[i] - face.place[i], 2);

  (void)robot.calibrateFrame(FrameType::wobj, {corner.joints, corner.joints, face.joints}, false, ec);
  std::printf("with the same place taught twice: %s\n", describe(ec).c_str());
  std::printf("the frame has the third place within %.2f mm\n", 1000 * std::sqrt(square));
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(
      argc, argv, "calibrate_frame",
      "usage: calibrate_frame ADDRESS\n"
      "Teaches the 6-axis robot at ADDRESS three places and calibrates a work object from them.\n",
      [](const std::string& address) { withMovingRobot(address, "", calibrate); });
}
