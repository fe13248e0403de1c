// Teaches the robot a path by hand, and replays it at half speed.
//
// The robot really moves: wherever the hand leads it, and then the same way by itself. Its load has to be set
// rightly and its torque sensors calibrated, or it drifts away under the hand.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;
using Clock = std::chrono::steady_clock;

constexpr const char* kPath = "taught path";
constexpr int kLongestPath = 120;  // s
constexpr auto kHandAway = std::chrono::milliseconds(500);
constexpr double kMoved = 0.02, kSame = 0.005;  // rad
constexpr double kResting = 0.002;              // rad/s
constexpr double kHalf = 0.5;

std::vector<double> axisAngles(zivra::BaseRobot& robot) {
  std::error_code ec;
  auto angles = robot.jointPos(ec);
  require(ec, "reading the axis angles");
  return angles;
}

bool farther(const std::vector<double>& a, const std::vector<double>& b, double angle) {
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
    if (std::abs(a[i] - b[i]) > angle) return true;
  return false;
}

// Until the hand has left the arm alone for a while.
void waitForStandstill(zivra::BaseRobot& robot) {
  auto moved = Clock::now();
  pollUntil(
      "the arm is left alone",
      [&] {
        std::error_code ec;
        const auto velocities = robot.jointVel(ec);
        require(ec, "reading the axis velocities");
        const auto rests = [](double velocity) { return std::abs(velocity) < kResting; };
        if (!std::all_of(velocities.begin(), velocities.end(), rests)) moved = Clock::now();
        return Clock::now() - moved > kHandAway;
      },
      std::chrono::seconds(kLongestPath));
}

void recordPath(zivra::TandiRobot& robot) {
  waitForStandstill(robot);  // a path begins and ends at rest
  const auto begin = axisAngles(robot);
  std::error_code ec;
  robot.startRecordPath(kLongestPath, ec);
  require(ec, "beginning to record");
  std::printf("guide the arm now, and then leave it alone\n");
  std::fflush(stdout);
  pollUntil("a hand moves the arm", [&] { return farther(axisAngles(robot), begin, kMoved); });
  waitForStandstill(robot);
  robot.stopRecordPath(ec);
  require(ec, "recording the path");
  robot.saveRecordPath(kPath, ec);
  require(ec, "storing the path");
}

// Returns where the hand left the arm. Whatever happens, nobody can push it about afterwards.
std::vector<double> teach(zivra::TandiRobot& robot) {
  using namespace zivra;
  std::error_code ec;
  robot.setOperateMode(OperateMode::manual, ec);
  require(ec, "switching to manual");
  robot.setPowerState(false, ec);  // guiding switches the motors itself
  require(ec, "switching the motors off");
  robot.enableDrag(DragParameter::Space::cartesianSpace, DragParameter::Type::freely, ec);
  require(ec, "enabling the guiding");
  std::error_code ended;
  try {
    recordPath(robot);
  } catch (...) {
    robot.disableDrag(ended);
    throw;
  }
  robot.disableDrag(ended);
  require(ended, "disabling the guiding");
  return axisAngles(robot);
}

void replay(zivra::TandiRobot& robot, MoveEvents& events) {
  enterMode(robot, zivra::OperateMode::automatic);
  std::printf("replaying \"%s\" at half speed\n", kPath);
  std::fflush(stdout);
  std::error_code ec;
  robot.replayPath(kPath, kHalf, ec);
  require(ec, "queueing the path");
  robot.moveStart(ec);
  require(ec, "starting the replay");
  events.waitForAnyFinish();
}

void teachAndReplay(zivra::TandiRobot& robot, MoveEvents& events) {
  const auto taught = teach(robot);
  std::error_code ec;
  std::printf("stored paths:");
  for (const auto& name : robot.queryPathLists(ec)) std::printf(" \"%s\"", name.c_str());
  std::printf("\n");
  require(ec, "listing the paths");
  replay(robot, events);
  const bool arrived = !farther(axisAngles(robot), taught, kSame);
  robot.removePath(kPath, ec);
  require(ec, "removing the path");
  if (!arrived) throw std::runtime_error("the replay ended elsewhere than the hand");
}

void teachAt(const std::string& address) {
  withMovingRobot(address, "", teachAndReplay);
  std::printf("taught, replayed at half speed and removed \"%s\"\n", kPath);
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(argc, argv, "teach_and_replay",
                    "usage: teach_and_replay ADDRESS\n"
                    "Records a path by which you guide the 6-axis robot at ADDRESS, and replays it.\n"
                    "A simulated robot needs a hand too: zivra-sim --hand-after 2\n\n"
                    "Exit code: 0, 1 for what went wrong, 2 for wrong arguments, 130 if interrupted.\n",
                    teachAt);
}
