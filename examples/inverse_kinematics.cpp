// All ways in which a robot reaches a pose, and how a configuration chooses one of them.
// Nothing moves.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;
using zivra::CartesianPosition;

constexpr double kSamePlace = 1e-4;  // m

double distance(const CartesianPosition& a, const CartesianPosition& b) {
  double square = 0;
  for (std::size_t i = 0; i < 3; ++i) square += (a.trans[i] - b.trans[i]) * (a.trans[i] - b.trans[i]);
  return std::sqrt(square);
}

std::array<double, 6> sixOf(const std::vector<double>& joints) {
  if (joints.size() != 6) throw std::runtime_error("the controller tells of another number of axes");
  std::array<double, 6> six{};
  std::copy(joints.begin(), joints.end(), six.begin());
  return six;
}

std::string textOf(const std::vector<int>& conf) {
  std::string text;
  for (const int number : conf) text += (text.empty() ? "" : " ") + std::to_string(number);
  return text;
}

void solve(zivra::TandiRobot& robot) {
  std::error_code ec;
  const std::vector<double> joints{0.3, 0.5, 1.2, 0.8, 0.9, 0.4};
  auto model = robot.model();
  const CartesianPosition pose = model.calcFk(sixOf(joints), ec);
  require(ec, "forward kinematics");
  std::printf("axes at %s rad reach x %s  y %s  z %s m\n", listOf(joints).c_str(),
              decimals(pose.trans[0]).c_str(), decimals(pose.trans[1]).c_str(),
              decimals(pose.trans[2]).c_str());

  std::vector<std::vector<int>> confs;
  const auto solutions = model.calcAllIkSolutions(pose, confs, ec);
  require(ec, "all solutions");
  for (std::size_t i = 0; i < solutions.size(); ++i) {
    const CartesianPosition reached = model.calcFk(sixOf(solutions[i]), ec);
    require(ec, "forward kinematics of a solution");
    std::printf("  %s rad, configuration %s\n", listOf(solutions[i]).c_str(), textOf(confs[i]).c_str());
    if (distance(reached, pose) > kSamePlace) throw std::runtime_error("a solution misses the pose");
  }
  if (solutions.empty()) throw std::runtime_error("the pose of these angles has no solution");
  CartesianPosition wanted = pose;
  wanted.confData = confs.back();
  const auto chosen = model.calcIk(wanted, ec);
  require(ec, "inverse kinematics");
  std::printf("in the last one's configuration: %s rad\n", listOf({chosen.begin(), chosen.end()}).c_str());

  CartesianPosition far = pose;
  far.trans[0] += 5;
  model.calcIk(far, ec);
  std::printf("5 m away: %s\n", describe(ec).c_str());
  if (!ec) throw std::runtime_error("a pose 5 m away was found reachable");
  std::printf("%zu solutions, and each leads back to the pose\n", solutions.size());
}

void solveAt(const std::string& address) {
  zivra::TandiRobot robot;
  connect(robot, address);
  solve(robot);
  std::error_code ec;
  robot.disconnectFromRobot(ec);
  require(ec, "disconnecting");
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(
      argc, argv, "inverse_kinematics",
      "usage: inverse_kinematics ADDRESS\n"
      "Lists all ways in which the 6-axis robot at ADDRESS could reach a pose; it doesn't move.\n",
      solveAt);
}
