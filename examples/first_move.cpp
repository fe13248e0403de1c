// Switches a robot on, moves it in every way that the controller plans, and hears how each move ended.
//
// The robot really moves: joints to a pose with the tool pointing down, then within 10 cm of that place.
#include <any>
#include <array>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <zivra/zivra.h>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr auto kLongestMove = std::chrono::seconds(60);

volatile std::sig_atomic_t interrupted = 0;

extern "C" void onInterrupt(int signal) {
  interrupted = 1;
  std::signal(signal, SIG_DFL);  // a second one ends the program at once
}

std::string describe(const std::error_code& ec) {
  return ec.message() + " (" + std::to_string(ec.value()) + ")";
}

void require(const std::error_code& ec, const std::string& what) {
  if (ec) throw std::runtime_error(what + ": " + describe(ec));
}

// Three decimals, and no minus before a zero.
std::string metres(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", std::round(value * 1000) / 1000 + 0.0);
  return text;
}

std::string placeOf(const std::array<double, 6>& pose) {
  return "x " + metres(pose[0]) + "  y " + metres(pose[1]) + "  z " + metres(pose[2]) + " m";
}

// What is known of the moves so far. Events come on a thread of the library's, waiting is for the main
// thread.
class MoveEvents {
 public:
  void finished(const std::string& id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++finishes_[id];
    changed_.notify_all();
  }
  void failed(const std::error_code& ec) {
    const std::lock_guard<std::mutex> lock(mutex_);
    error_ = ec;
    changed_.notify_all();
  }
  void linkLost() { failed(zivra::Code::network); }

  void waitForFinishes(const std::string& id, int count) {
    std::unique_lock<std::mutex> lock(mutex_);
    waitUntil(lock, [&] { return error_ || finishes_[id] >= count; });
    if (error_) throw std::runtime_error("the move " + id + " was not finished: " + describe(error_));
  }
  std::error_code waitForError() {
    std::unique_lock<std::mutex> lock(mutex_);
    waitUntil(lock, [&] { return static_cast<bool>(error_); });
    return std::exchange(error_, {});
  }

 private:
  template <class Condition>
  void waitUntil(std::unique_lock<std::mutex>& lock, Condition reached) {
    const auto deadline = std::chrono::steady_clock::now() + kLongestMove;
    while (!reached()) {
      if (interrupted) throw std::runtime_error("interrupted");
      if (std::chrono::steady_clock::now() > deadline)
        throw std::runtime_error("the robot told nothing of the move for 60 s");
      changed_.wait_for(lock, std::chrono::milliseconds(50));  // a signal can't wake it
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, int> finishes_;
  std::error_code error_;
};

// Runs on the notification thread, which may ask the robot too.
void hear(zivra::TandiRobot& robot, MoveEvents& events, const zivra::EventInfo& info) {
  const auto id = std::any_cast<std::string>(info.at("cmdID"));
  if (const auto error = std::any_cast<std::error_code>(info.at("error"))) {
    events.failed(error);
  } else if (std::any_cast<bool>(info.at("reachTarget"))) {
    std::error_code ec;
    const auto pose = robot.posture(zivra::CoordinateType::endInRef, ec);
    std::printf("  %-8s point %d  %-9s", id.c_str(), std::any_cast<int>(info.at("wayPointIndex")),
                std::any_cast<std::string>(info.at("customInfo")).c_str());
    if (ec)
      std::printf(" finished, pose not read: %s\n", describe(ec).c_str());
    else
      std::printf(" finished at %s\n", placeOf(pose).c_str());
    std::fflush(stdout);
    events.finished(id);
  }
}

template <class Move>
void runMoves(zivra::TandiRobot& robot, MoveEvents& events, const char* what,
              const std::vector<Move>& moves) {
  std::printf("%s\n", what);
  std::error_code ec;
  std::string id;
  robot.moveAppend(moves, id, ec);
  require(ec, what);
  robot.moveStart(ec);
  require(ec, what);
  events.waitForFinishes(id, static_cast<int>(moves.size()));
}

template <class Move>
Move named(Move move, const char* name) {
  move.customInfo = name;
  return move;
}

// `from` shifted along the reference frame's x and y [m].
zivra::CartesianPosition shifted(zivra::CartesianPosition from, double x, double y) {
  from.trans[0] += x;
  from.trans[1] += y;
  return from;
}

void prepare(zivra::TandiRobot& robot) {
  std::error_code ec;
  const auto info = robot.robotInfo(ec);
  require(ec, "reading the identity");
  std::printf("connected to %s: %s, %d axes, controller version %s\n", info.id.c_str(), info.type.c_str(),
              info.joint_num, info.version.c_str());
  robot.setOperateMode(zivra::OperateMode::automatic, ec);
  require(ec, "switching to automatic");
  robot.setPowerState(true, ec);
  require(ec, "switching the motors on");
  std::printf("power %s", to_string(robot.powerState(ec)).c_str());
  require(ec, "reading the power state");
  std::printf(", mode %s\n", to_string(robot.operateMode(ec)).c_str());
  require(ec, "reading the mode");
}

void moveAround(zivra::TandiRobot& robot, MoveEvents& events) {
  using namespace zivra;
  std::error_code ec;

  const JointPosition home{0, kPi / 6, kPi / 2, 0, kPi / 3, 0};
  MoveAbsJCommand toHome = named(MoveAbsJCommand(home), "home");
  toHome.jointSpeed = 0.3;
  runMoves<MoveAbsJCommand>(robot, events, "joint move home", {toHome});

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

int moveAt(const std::string& address, const std::string& localAddress) {
  MoveEvents events;
  zivra::TandiRobot robot;
  robot.setConnectionHandler([&events](bool connected) {
    if (!connected) events.linkLost();
  });
  try {
    robot.connectToRobot(address, localAddress);
  } catch (const zivra::Exception& error) {
    throw std::runtime_error("no connection to \"" + address + "\": " + error.what() +
                             "\nIs the controller on, at this address, and of a robot of 6 axes?");
  }
  // Only now: while connecting there is nothing to stop.
  std::signal(SIGINT, onInterrupt);
  std::signal(SIGTERM, onInterrupt);

  std::error_code ec;
  robot.setEventWatcher(
      zivra::Event::moveExecution, [&](const zivra::EventInfo& info) { hear(robot, events, info); }, ec);
  require(ec, "watching the moves");
  try {
    prepare(robot);
    moveAround(robot, events);
  } catch (...) {
    robot.moveReset(ec);            // drops what is queued
    robot.disconnectFromRobot(ec);  // stops a robot that is moving
    throw;
  }
  const auto pose = robot.posture(zivra::CoordinateType::endInRef, ec);
  require(ec, "reading the pose");
  robot.disconnectFromRobot(ec);
  require(ec, "disconnecting");
  std::printf("disconnected\nreached %s after 8 moves, 1 refused as expected\n", placeOf(pose).c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool help = arguments.size() == 1 && arguments[0] == "--help";
  const bool local = arguments.size() == 3 && arguments[1] == "--local";
  if (help || !(arguments.size() == 1 || local)) {
    std::fputs(
        "usage: first_move ADDRESS [--local ADDRESS]\n"
        "Moves the 6-axis robot at ADDRESS around a little. --local: address of this machine to tell it.\n",
        help ? stdout : stderr);
    return help ? 0 : 2;
  }
  try {
    return moveAt(arguments[0], local ? arguments[2] : "");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "first_move: %s\n", error.what());
    return interrupted ? 130 : 1;
  }
}
