// What the examples that move a robot share: Ctrl-C, errors as text, and moves that are waited for.
#pragma once

#include <any>
#include <array>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <zivra/zivra.h>

namespace example {

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr auto kLongestMove = std::chrono::seconds(60);
inline constexpr auto kBetweenReads = std::chrono::milliseconds(20);

inline volatile std::sig_atomic_t interrupted = 0;

extern "C" inline void noteInterrupt(int signal) {
  interrupted = 1;
  std::signal(signal, SIG_DFL);  // a second one ends the program at once
}

inline std::string describe(const std::error_code& ec) {
  return ec.message() + " (" + std::to_string(ec.value()) + ")";
}

inline void require(const std::error_code& ec, const std::string& what) {
  if (ec) throw std::runtime_error(what + ": " + describe(ec));
}

// Three decimals, and no minus before a zero.
inline std::string decimals(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", std::round(value * 1000) / 1000 + 0.0);
  return text;
}

inline std::string placeOf(const std::array<double, 6>& pose) {
  return "x " + decimals(pose[0]) + "  y " + decimals(pose[1]) + "  z " + decimals(pose[2]) + " m";
}

inline std::string listOf(const std::vector<double>& numbers) {
  std::string text;
  for (const double number : numbers) text += (text.empty() ? "" : " ") + decimals(number);
  return text;
}

inline std::array<double, 6> toolPose(zivra::BaseRobot& robot) {
  std::error_code ec;
  const auto pose = robot.posture(zivra::CoordinateType::endInRef, ec);
  require(ec, "reading the pose");
  return pose;
}

// Asks until `reached()`, which may throw.
inline void pollUntil(const std::string& what, const std::function<bool()>& reached,
                      std::chrono::seconds limit = kLongestMove) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!reached()) {
    if (interrupted) throw std::runtime_error("interrupted");
    if (std::chrono::steady_clock::now() > deadline)
      throw std::runtime_error("waited " + std::to_string(limit.count()) + " s in vain until " + what);
    std::this_thread::sleep_for(kBetweenReads);
  }
}

inline void waitUntilAtRest(zivra::BaseRobot& robot) {
  pollUntil("the robot is at rest", [&robot] {
    std::error_code ec;
    const auto state = robot.operationState(ec);
    require(ec, "reading the state");
    return state == zivra::OperationState::idle;
  });
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
  // Of moves whose id isn't known.
  void waitForAnyFinish() {
    std::unique_lock<std::mutex> lock(mutex_);
    waitUntil(lock, [&] { return error_ || !finishes_.empty(); });
    if (error_) throw std::runtime_error("the move was not finished: " + describe(error_));
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

// Prints a move event, and passes on what became of the move.
inline void hear(zivra::BaseRobot& robot, MoveEvents& events, const zivra::EventInfo& info) {
  const auto id = std::any_cast<std::string>(info.at("cmdID"));
  if (const auto error = std::any_cast<std::error_code>(info.at("error"))) {
    events.failed(error);
  } else if (std::any_cast<bool>(info.at("reachTarget"))) {
    std::error_code ec;  // the notification thread may ask the robot too
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
std::string startMoves(zivra::BaseRobot& robot, const char* what, const std::vector<Move>& moves) {
  std::printf("%s\n", what);
  std::fflush(stdout);
  std::error_code ec;
  std::string id;
  robot.moveAppend(moves, id, ec);
  require(ec, what);
  robot.moveStart(ec);
  require(ec, what);
  return id;
}

template <class Move>
void runMoves(zivra::BaseRobot& robot, MoveEvents& events, const char* what, const std::vector<Move>& moves) {
  const std::string id = startMoves(robot, what, moves);
  events.waitForFinishes(id, static_cast<int>(moves.size()));
}

template <class Move>
Move named(Move move, const char* name) {
  move.customInfo = name;
  return move;
}

// Elbow and wrist bent and the tool pointing down: there is room on all sides.
inline zivra::MoveAbsJCommand moveHome() {
  zivra::MoveAbsJCommand move(zivra::JointPosition{0, kPi / 6, kPi / 2, 0, kPi / 3, 0});
  move.jointSpeed = 0.3;
  move.customInfo = "home";
  return move;
}

// `from` shifted along the reference frame's axes [m].
inline zivra::CartesianPosition shifted(zivra::CartesianPosition from, double x, double y, double z = 0) {
  from.trans[0] += x;
  from.trans[1] += y;
  from.trans[2] += z;
  return from;
}

// Motors on, in the mode asked for. A change of mode may switch the motors off, so they come last.
inline void enterMode(zivra::BaseRobot& robot, zivra::OperateMode mode) {
  std::error_code ec;
  robot.setOperateMode(mode, ec);
  require(ec, "switching to " + to_string(mode));
  robot.setPowerState(true, ec);
  require(ec, "switching the motors on");
}

inline void connect(zivra::TandiRobot& robot, const std::string& address, const std::string& local = "") {
  try {
    robot.connectToRobot(address, local);
  } catch (const zivra::Exception& error) {
    throw std::runtime_error("no connection to \"" + address + "\": " + error.what() +
                             "\nIs the controller on, at this address, and of a robot of 6 axes?");
  }
}

// Does `work` on a robot, and stops the robot if `work` throws.
inline void orStop(zivra::BaseRobot& robot, const std::function<void()>& work) {
  // Only now: while connecting there is nothing to stop.
  std::signal(SIGINT, noteInterrupt);
  std::signal(SIGTERM, noteInterrupt);
  std::error_code ec;
  try {
    work();
  } catch (...) {
    robot.stop(ec);       // tells that there was nothing to stop, or that there is no robot to be reached
    robot.moveReset(ec);  // drops what is queued
    robot.disconnectFromRobot(ec);
    throw;
  }
  robot.disconnectFromRobot(ec);
  require(ec, "disconnecting");
}

// `work` with a robot that is connected, with moves heard of in `events`, and ends the connection.
inline void withMovingRobot(const std::string& address, const std::string& local,
                            const std::function<void(zivra::TandiRobot&, MoveEvents&)>& work) {
  MoveEvents events;
  zivra::TandiRobot robot;
  robot.setConnectionHandler([&events](bool connected) {
    if (!connected) events.linkLost();
  });
  connect(robot, address, local);
  orStop(robot, [&] {
    std::error_code ec;
    robot.setEventWatcher(
        zivra::Event::moveExecution, [&](const zivra::EventInfo& info) { hear(robot, events, info); }, ec);
    require(ec, "watching the moves");
    work(robot, events);
  });
}

// The exit code of a program: 0, 1 for what went wrong, 2 for wrong arguments, 130 if interrupted. `help`
// begins with the program's usage; `work` gives false for arguments that it doesn't take.
using Arguments = std::vector<std::string>;
inline int runWithArguments(int argc, char** argv, const std::string& name, const std::string& help,
                            const std::function<bool(const Arguments&)>& work) {
  const Arguments arguments(argv + 1, argv + argc);
  const bool wanted = arguments == Arguments{"--help"};
  try {
    if (!wanted && work(arguments)) return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
    return interrupted ? 130 : 1;
  }
  std::fputs(help.c_str(), wanted ? stdout : stderr);
  return wanted ? 0 : 2;
}

// The same of a program that takes an address and nothing else.
inline int runProgram(int argc, char** argv, const std::string& name, const std::string& help,
                      const std::function<void(const std::string& address)>& work) {
  return runWithArguments(argc, argv, name, help, [&work](const Arguments& arguments) {
    if (arguments.size() != 1) return false;
    work(arguments[0]);
    return true;
  });
}

}  // namespace example
