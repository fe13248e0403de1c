// Searches a surface below the tool by force control: the tool leans downwards, circles by a Lissajous
// overlay, and stops once it feels the surface.
//
// The robot really moves: to a pose with the tool pointing down, and from there down until it touches
// something, for at most 20 s.
#include <array>
#include <cstdio>
#include <future>
#include <string>
#include <system_error>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;

constexpr double kPress = 15, kContact = 6, kFar = 1000;  // N
constexpr double kLongestSearch = 20;                     // s

// Stiff across, soft along z, and leaning downwards.
void prepare(zivra::BaseForceControl& force) {
  std::error_code ec;
  force.fcInit(zivra::FrameType::world, ec);
  require(ec, "preparing force control");
  force.setControlType(1, ec);
  require(ec, "choosing Cartesian impedance");
  force.setLoad(zivra::Load(0.5, {0, 0, 0.05}, {0, 0, 0}), ec);
  require(ec, "setting the load");
  force.setCartesianStiffness({1000, 1000, 0, 100, 100, 100}, ec);
  require(ec, "setting the stiffness");
  force.setCartesianDesiredForce({0, 0, -kPress, 0, 0, 0}, ec);
  require(ec, "setting the force");
  force.setCartesianMaxVel({0.5, 0.5, 0.5, 3, 3, 3}, ec);
  require(ec, "limiting the speed");
  force.fcMonitor(true, ec);
  require(ec, "supervising the limits");
  force.setLissajousOverlay(0, 8, 0.5, 8, 1, kPi / 2, ec);
  require(ec, "setting the search motion");
}

// Waits on a thread of its own, so that Ctrl-C can end it by stopping the run.
void waitForContact(zivra::TandiRobot& robot, zivra::BaseForceControl& force) {
  std::error_code ec;
  force.setForceCondition({-kFar, kFar, -kFar, kFar, -kFar, kContact}, false, kLongestSearch, ec);
  require(ec, "setting the condition");
  auto waiting = std::async(std::launch::async, [&force] {
    std::error_code own;
    force.waitCondition(own);
    return own;
  });
  while (waiting.wait_for(kBetweenReads) != std::future_status::ready) {
    if (!interrupted) continue;
    robot.forceControl().fcStop(ec);  // an object serves one thread at a time: this is another one
    waiting.wait();
    throw std::runtime_error("interrupted");
  }
  require(waiting.get(), "waiting for contact");
}

void search(zivra::TandiRobot& robot, zivra::ForceControl_T<6>& force) {
  std::error_code ec;
  const double start = toolPose(robot)[2];
  prepare(force);
  force.fcStart(ec);
  require(ec, "starting force control");
  force.startOverlay(ec);
  require(ec, "starting the search motion");
  std::printf("searching downwards from z %s m\n", decimals(start).c_str());
  std::fflush(stdout);
  waitForContact(robot, force);

  // A wait also ends, without an error, when the condition's time is over.
  std::array<double, 6> measured{}, outside{};
  std::array<double, 3> torque{}, touch{};
  force.getEndTorque(zivra::FrameType::world, measured, outside, torque, touch, ec);
  require(ec, "reading the force");
  const auto end = toolPose(robot);
  force.fcStop(ec);
  require(ec, "stopping force control");
  if (touch[2] <= kContact)
    throw std::runtime_error("no contact within 20 s, as far as z " + decimals(end[2]));
  std::printf("contact at z %s m, %s m below, with %.0f N\n", decimals(end[2]).c_str(),
              decimals(start - end[2]).c_str(), touch[2]);
}

void searchAt(const std::string& address) {
  withMovingRobot(address, "", [](zivra::TandiRobot& robot, MoveEvents& events) {
    enterMode(robot, zivra::OperateMode::automatic);
    runMoves<zivra::MoveAbsJCommand>(robot, events, "joint move home", {moveHome()});
    auto force = robot.forceControl();
    try {
      search(robot, force);
    } catch (...) {
      std::error_code ec;
      force.fcStop(ec);  // refused where nothing runs
      throw;
    }
  });
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(argc, argv, "search_contact",
                    "usage: search_contact ADDRESS\n"
                    "Lowers the tool of the 6-axis robot at ADDRESS, circling, until it touches something.\n",
                    searchAt);
}
