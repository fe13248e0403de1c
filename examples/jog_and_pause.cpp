// Jogs a robot in manual mode, goes back to automatic, and pauses a move in its middle and continues it.
//
// The robot really moves: to a pose with the tool pointing down, then within 20 cm of that place.
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;

std::vector<double> axes(zivra::TandiRobot& robot) {
  std::error_code ec;
  auto angles = robot.jointPos(ec);
  require(ec, "reading the axis angles");
  if (angles.empty()) throw std::runtime_error("the robot tells of no axes");
  return angles;
}

double distance(const std::array<double, 6>& a, const std::array<double, 6>& b) {
  return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

// Ends a jog. Also one whose step is done: until then the library takes a stop for the jog's, not for that of
// moves.
void endJog(zivra::TandiRobot& robot) {
  std::error_code ec;
  robot.stop(ec);
  if (ec != zivra::Code::robotStopping) require(ec, "ending the jog");
  waitUntilAtRest(robot);
}

void jog(zivra::TandiRobot& robot) {
  using namespace zivra;
  std::error_code ec;
  enterMode(robot, OperateMode::manual);

  std::printf("jog of axis 1 by 0.1 rad\n");
  const double before = axes(robot)[0];
  robot.startJog(JogOpt::Space::jointSpace, 0.2, 0.1, 0, true, ec);
  require(ec, "jogging axis 1");
  waitUntilAtRest(robot);
  endJog(robot);
  std::printf("  axis 1 went from %s to %s rad\n", decimals(before).c_str(),
              decimals(axes(robot)[0]).c_str());

  std::printf("jog downwards, stopped after 2 cm\n");
  const auto start = toolPose(robot);
  robot.startJog(JogOpt::Space::baseFrame, 0.2, 0.15, 2, false, ec);
  require(ec, "jogging downwards");
  pollUntil("the jog has gone 2 cm", [&] { return distance(toolPose(robot), start) > 0.02; });
  endJog(robot);
  std::printf("  stopped %s m below, of 0.150 m asked for\n",
              decimals(start[2] - toolPose(robot)[2]).c_str());
}

void pauseAndContinue(zivra::TandiRobot& robot, MoveEvents& events) {
  using namespace zivra;
  std::error_code ec;
  enterMode(robot, OperateMode::automatic);
  runMoves<MoveAbsJCommand>(robot, events, "joint move home", {moveHome()});
  const CartesianPosition start = robot.cartPosture(CoordinateType::endInRef, ec);
  require(ec, "reading the pose");

  const auto from = toolPose(robot);
  const std::string id = startMoves<MoveLCommand>(
      robot, "line of 20 cm with a pause", {named(MoveLCommand(shifted(start, -0.2, 0), 100, 0), "line")});
  pollUntil("the line is at its middle", [&] { return distance(toolPose(robot), from) > 0.1; });
  robot.stop(ec);
  require(ec, "pausing");
  waitUntilAtRest(robot);
  const auto middle = toolPose(robot);
  std::printf("  paused   at %s, %s m on its way\n", placeOf(middle).c_str(),
              decimals(distance(middle, from)).c_str());
  robot.moveStart(ec);
  require(ec, "continuing");
  std::printf("  continued\n");
  events.waitForFinishes(id, 1);
}

void tourAt(const std::string& address) {
  withMovingRobot(address, "", [](zivra::TandiRobot& robot, MoveEvents& events) {
    enterMode(robot, zivra::OperateMode::automatic);
    runMoves<zivra::MoveAbsJCommand>(robot, events, "joint move home", {moveHome()});
    jog(robot);
    pauseAndContinue(robot, events);
  });
  std::printf("jogged 2 times, paused and continued a line\n");
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(argc, argv, "jog_and_pause",
                    "usage: jog_and_pause ADDRESS\n"
                    "Jogs the 6-axis robot at ADDRESS, and pauses and continues a move of it.\n",
                    tourAt);
}
