// Defines a tool and a work object, shows what they change of the pose, and moves along the work object's
// axes. Puts the toolset back that was in force before.
//
// The robot really moves: to a pose with the tool pointing down, then within 5 cm of that place. The tool and
// the work object stay in the controller's project, as "example_torch" and "example_table".
#include <cstdio>
#include <string>
#include <system_error>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;
using zivra::CartesianPosition;
using zivra::Frame;

// Ends with the toolset that it began with, whatever happens in between.
class KeepToolset {
 public:
  explicit KeepToolset(zivra::BaseRobot& robot) : robot_(robot) {
    std::error_code ec;
    before_ = robot.toolset(ec);
    require(ec, "reading the toolset");
  }
  ~KeepToolset() {
    if (!changed_) return;
    std::error_code ec;
    robot_.stop(ec);  // no toolset is set on a moving arm; tells that there was nothing to stop
    robot_.setToolset(before_, ec);
    if (ec) std::fprintf(stderr, "define_tool: the former toolset is not set: %s\n", describe(ec).c_str());
  }
  void restore() {
    std::error_code ec;
    robot_.setToolset(before_, ec);
    require(ec, "setting the former toolset");
    changed_ = false;
  }
  KeepToolset(const KeepToolset&) = delete;
  KeepToolset& operator=(const KeepToolset&) = delete;

 private:
  zivra::BaseRobot& robot_;
  zivra::Toolset before_;
  bool changed_ = true;
};

CartesianPosition here(zivra::TandiRobot& robot, const char* what) {
  std::printf("%s: %s\n", what, placeOf(toolPose(robot)).c_str());
  std::error_code ec;
  const CartesianPosition pose = robot.cartPosture(zivra::CoordinateType::endInRef, ec);
  require(ec, "reading the pose");
  return pose;
}

void defineAndMove(zivra::TandiRobot& robot, MoveEvents& events) {
  using namespace zivra;
  std::error_code ec;
  enterMode(robot, OperateMode::automatic);
  runMoves<MoveAbsJCommand>(robot, events, "joint move home", {moveHome()});

  KeepToolset keep(robot);
  robot.setToolset(Toolset(), ec);
  require(ec, "setting no tool");
  const CartesianPosition flange = here(robot, "flange in the world");

  // 15 cm along the flange's z, and not too heavy to be felt.
  const WorkToolInfo torch("example_torch", true, Frame({0, 0, 0.15}, {0, 0, 0}),
                           Load(0.5, {0, 0, 0.07}, {0.001, 0.001, 0.0005}));
  robot.setToolInfo(torch, ec);
  require(ec, "defining the tool");
  // Its corner is where the tip is now, its x points the way of the world's y.
  const Frame corner({flange.trans[0], flange.trans[1], flange.trans[2] - 0.15}, {0, 0, kPi / 2});
  robot.setWobjInfo(WorkToolInfo("example_table", false, corner, Load()), ec);
  require(ec, "defining the work object");
  for (const auto& tool : robot.toolsInfo(ec)) std::printf("  tool %s\n", tool.name.c_str());
  require(ec, "listing the tools");
  for (const auto& wobj : robot.wobjsInfo(ec)) std::printf("  work object %s\n", wobj.name.c_str());
  require(ec, "listing the work objects");

  robot.setToolset("example_torch", "example_table", ec);
  require(ec, "setting tool and work object");
  const CartesianPosition tip = here(robot, "tip on the table");
  runMoves<MoveLCommand>(robot, events, "around a square on the table",
                         {named(MoveLCommand(shifted(tip, 0.05, 0), 100, 0), "along x"),
                          named(MoveLCommand(shifted(tip, 0.05, 0.05), 100, 0), "along y"),
                          named(MoveLCommand(shifted(tip, 0, 0.05), 100, 0), "back"),
                          named(MoveLCommand(tip, 100, 0), "corner")});
  waitUntilAtRest(robot);
  keep.restore();
  std::printf("the tip began at %s of the table\n",
              placeOf({tip.trans[0], tip.trans[1], tip.trans[2]}).c_str());
}

void defineAt(const std::string& address) {
  withMovingRobot(address, "", defineAndMove);
  std::printf("tool and work object defined, 4 lines moved, toolset put back\n");
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(argc, argv, "define_tool",
                    "usage: define_tool ADDRESS\n"
                    "Defines a tool and a work object of the 6-axis robot at ADDRESS and moves in it.\n",
                    defineAt);
}
