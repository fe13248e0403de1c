// Switches a robot on, moves it in every way that the controller plans, and hears how each move ended.
//
// The robot really moves: joints to a pose with the tool pointing down, then within 10 cm of that place.
#include <array>
#include <chrono>
#include <cstdio>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;

void prepare(zivra::TandiRobot& robot) {
  std::error_code ec;
  const auto info = robot.robotInfo(ec);
  require(ec, "reading the identity");
  std::printf("connected to %s: %s, %d axes, controller version %s\n", info.id.c_str(), info.type.c_str(),
              info.joint_num, info.version.c_str());
  enterMode(robot, zivra::OperateMode::automatic);
  std::printf("power %s", to_string(robot.powerState(ec)).c_str());
  require(ec, "reading the power state");
  std::printf(", mode %s\n", to_string(robot.operateMode(ec)).c_str());
  require(ec, "reading the mode");
}

void moveAround(zivra::TandiRobot& robot, MoveEvents& events) {
  using namespace zivra;
  std::error_code ec;

  runMoves<MoveAbsJCommand>(robot, events, "joint move home", {moveHome()});

  const CartesianPosition start = robot.cartPosture(CoordinateType::endInRef, ec);
  require(ec, "reading the pose");
  const double speed = 250, zone = 10;  // mm/s, mm
  runMoves<MoveLCommand>(robot, events, "square of four lines",
                         {named(MoveLCommand(shifted(start, 0, 0.1), speed, zone), "corner 1"),
                          named(MoveLCommand(shifted(start, -0.1, 0.1), speed, zone), "corner 2"),
                          named(MoveLCommand(shifted(start, -0.1, 0), speed, zone), "corner 3"),
                          named(MoveLCommand(start, speed, 0), "corner 4")});
  runMoves<MoveCFCommand>(
      robot, events, "full circle",
      {named(MoveCFCommand(shifted(start, -0.1, 0), shifted(start, -0.05, 0.05), 2 * kPi, speed, 0),
             "circle")});
  runMoves<MoveSPCommand>(robot, events, "spiral",
                          {named(MoveSPCommand(start, 0.01, 0.01, 4 * kPi, true, 100), "spiral")});

  std::printf("wait of half a second\n");
  std::string id;
  robot.moveAppend(MoveWaitCommand(std::chrono::milliseconds(500)), id, ec);
  require(ec, "wait");
  robot.moveStart(ec);
  require(ec, "wait");
  events.waitForFinishes(id, 1);

  std::printf("line to a target 5 m away\n");
  robot.moveAppend(std::vector<MoveLCommand>{MoveLCommand(shifted(start, 5, 0), speed, 0)}, id, ec);
  require(ec, "far target");
  robot.moveStart(ec);  // may find that the move has been thrown away already
  std::printf("  %-8s refused: %s\n", id.c_str(), describe(events.waitForError()).c_str());
}

void moveAt(const std::string& address, const std::string& localAddress) {
  std::array<double, 6> pose{};
  withMovingRobot(address, localAddress, [&pose](zivra::TandiRobot& robot, MoveEvents& events) {
    prepare(robot);
    moveAround(robot, events);
    pose = toolPose(robot);
  });
  std::printf("disconnected\nreached %s after 8 moves, 1 refused as expected\n", placeOf(pose).c_str());
}

}  // namespace

int main(int argc, char** argv) {
  return runWithArguments(
      argc, argv, "first_move",
      "usage: first_move ADDRESS [--local ADDRESS]\n"
      "Moves the 6-axis robot at ADDRESS around a little. --local: address of this machine to tell it.\n",
      [](const Arguments& arguments) {
        const bool local = arguments.size() == 3 && arguments[1] == "--local";
        if (!(arguments.size() == 1 || local)) return false;
        moveAt(arguments[0], local ? arguments[2] : "");
        return true;
      });
}
