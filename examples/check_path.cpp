// Asks the controller whether paths can be followed before anything moves, and then moves along a good one.
//
// The robot really moves: to a pose with the tool pointing down, then within 10 cm of that place.
#include <cstdio>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;
using zivra::CartesianPosition;

// Where a path begins: the pose, and the axis angles by which the arm reaches it.
struct Start {
  CartesianPosition pose;
  std::vector<double> joints;
};

Start startHere(zivra::TandiRobot& robot) {
  Start start;
  std::error_code ec;
  start.pose = robot.cartPosture(zivra::CoordinateType::endInRef, ec);
  require(ec, "reading the pose");
  start.joints = robot.jointPos(ec);
  require(ec, "reading the axis angles");
  return start;
}

// Prints the verdict on a list of targets, of which the first is the start. True if all can be reached.
bool checkTargets(zivra::TandiRobot& robot, const Start& start, const char* name,
                  const std::vector<CartesianPosition>& targets) {
  std::error_code ec;
  std::vector<double> end;
  const int failing = robot.checkPath(start.joints, targets, end, ec);
  if (!ec) {
    std::printf("  %s: can be followed, ends with axes at %s rad\n", name, listOf(end).c_str());
    return true;
  }
  if (failing == 0) require(ec, name);  // no verdict on a target, but a refusal of the question
  std::printf("  %s: fails at target %d: %s\n", name, failing, describe(ec).c_str());
  return false;
}

void checkAndMove(zivra::TandiRobot& robot, MoveEvents& events) {
  using namespace zivra;
  enterMode(robot, OperateMode::automatic);
  runMoves<MoveAbsJCommand>(robot, events, "joint move home", {moveHome()});
  const Start start = startHere(robot);
  const CartesianPosition side = shifted(start.pose, -0.05, 0.05), end = shifted(start.pose, -0.1, 0);

  std::printf("path checks\n");
  std::error_code ec;
  const auto afterLine = robot.checkPath(start.pose, start.joints, end, ec);
  require(ec, "checking the line");
  std::printf("  line: can be followed, ends with axes at %s rad\n", listOf(afterLine).c_str());
  const auto afterCircle = robot.checkPath(start.pose, start.joints, side, end, ec, 2 * kPi);
  require(ec, "checking the circle");
  std::printf("  circle: can be followed, ends with axes at %s rad\n", listOf(afterCircle).c_str());

  const std::vector<CartesianPosition> bad{start.pose, side, shifted(start.pose, 5, 0), end};
  const std::vector<CartesianPosition> good{start.pose, side, end, start.pose};
  if (checkTargets(robot, start, "targets with one 5 m away", bad))
    throw std::runtime_error("a target 5 m away was found good");
  if (!checkTargets(robot, start, "targets around a triangle", good))
    throw std::runtime_error("nothing to move along");

  std::vector<MoveLCommand> moves;
  for (std::size_t i = 1; i < good.size(); ++i) moves.push_back(named(MoveLCommand(good[i], 250, 0), "side"));
  runMoves(robot, events, "moving along the good targets", moves);
}

void checkAt(const std::string& address) {
  withMovingRobot(address, "", checkAndMove);
  std::printf("4 paths checked, 1 can't be followed as expected, moved along 3 lines\n");
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(argc, argv, "check_path",
                    "usage: check_path ADDRESS\n"
                    "Has paths checked by the 6-axis robot at ADDRESS and moves it along a good one.\n",
                    checkAt);
}
