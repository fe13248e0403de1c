// Hears all that a controller tells of its own accord while the robot moves: moves, collisions, where the
// controller's own programs are, and its log for the user.
//
// The robot really moves: to a pose with the tool pointing down, and 10 cm to and fro.
#include <any>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;

// How long after the last move the controller may take to write of it.
constexpr auto kLateNews = std::chrono::seconds(2);

// The value under `key` of a table.
template <class Value>
Value valueOf(const zivra::EventInfo& info, const char* key) {
  return std::any_cast<Value>(info.at(key));
}

std::string place(const zivra::EventInfo& info, const char* file, const char* line) {
  return valueOf<std::string>(info, file) + ":" + std::to_string(valueOf<int>(info, line));
}

// What an event says, in words.
std::string wordsOf(zivra::Event event, const zivra::EventInfo& info) {
  switch (event) {
    case zivra::Event::moveExecution: {
      std::string text = valueOf<std::string>(info, "cmdID") + " point " +
                         std::to_string(valueOf<int>(info, "wayPointIndex"));
      if (const auto error = valueOf<std::error_code>(info, "error")) text += ", failed: " + describe(error);
      if (valueOf<bool>(info, "reachTarget")) text += ", finished";
      for (const char* key : {"customInfo", "remark"}) {
        const auto more = valueOf<std::string>(info, key);
        if (!more.empty()) text += ", " + more;
      }
      return text;
    }
    case zivra::Event::safety:
      return valueOf<bool>(info, "collided") ? "collided" : "no collision any more";
    case zivra::Event::rlExecution:
      return valueOf<std::string>(info, "taskName") + " at " + place(info, "executeFile", "executeLine") +
             ", looks ahead to " + place(info, "lookaheadFile", "lookaheadLine");
    case zivra::Event::logReporter:
      return valueOf<std::string>(info, "edetail") + " (" + std::to_string(valueOf<int>(info, "ecode")) + ")";
  }
  return "news of a kind that isn't known";
}

// Each kind is heard on a thread of its own, so that lines and counts need a lock.
class Protocol {
 public:
  void hear(zivra::Event event, const zivra::EventInfo& info) {
    const std::string words = wordsOf(event, info);
    const std::lock_guard<std::mutex> lock(mutex_);
    std::printf("  heard %-14s %s\n", to_string(event).c_str(), words.c_str());
    std::fflush(stdout);
    ++counts_[event];
    changed_.notify_all();
  }
  bool waitForOne(zivra::Event event, std::chrono::seconds limit) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return counts_[event] > 0; });
  }
  int count(zivra::Event event) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return counts_[event];
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<zivra::Event, int> counts_;
};

void moveAbout(zivra::TandiRobot& robot, MoveEvents& moves) {
  using namespace zivra;
  enterMode(robot, OperateMode::automatic);
  runMoves<MoveAbsJCommand>(robot, moves, "joint move home", {moveHome()});
  std::error_code ec;
  const CartesianPosition start = robot.cartPosture(CoordinateType::endInRef, ec);
  require(ec, "reading the pose");
  runMoves<MoveLCommand>(robot, moves, "two lines",
                         {named(MoveLCommand(shifted(start, -0.1, 0), 250, 0), "there"),
                          named(MoveLCommand(start, 250, 0), "back")});
  std::printf("line to a target 5 m away\n");
  std::string id;
  robot.moveAppend(std::vector<MoveLCommand>{MoveLCommand(shifted(start, 5, 0), 250, 0)}, id, ec);
  require(ec, "far target");
  moves.waitForError();
}

void watchAt(const std::string& address) {
  // Declared before the robot, whose destructor is the end of all calls of its watchers.
  Protocol protocol;
  MoveEvents moves;
  zivra::TandiRobot robot;
  robot.setConnectionHandler([&moves](bool connected) {
    if (!connected) moves.linkLost();
  });
  connect(robot, address);
  orStop(robot, [&] {
    std::error_code ec;
    for (const auto event : {zivra::Event::safety, zivra::Event::rlExecution, zivra::Event::logReporter}) {
      robot.setEventWatcher(
          event, [&protocol, event](const zivra::EventInfo& info) { protocol.hear(event, info); }, ec);
      require(ec, "watching " + to_string(event));
    }
    robot.setEventWatcher(
        zivra::Event::moveExecution,
        [&](const zivra::EventInfo& info) {
          protocol.hear(zivra::Event::moveExecution, info);
          if (const auto error = valueOf<std::error_code>(info, "error"))
            moves.failed(error);
          else if (valueOf<bool>(info, "reachTarget"))
            moves.finished(valueOf<std::string>(info, "cmdID"));
        },
        ec);
    require(ec, "watching the moves");
    moveAbout(robot, moves);
    if (!protocol.waitForOne(zivra::Event::logReporter, kLateNews))
      std::printf("the controller logged nothing\n");
  });
  std::printf("heard %d of moves, %d of safety, %d of programs, %d of the log\n",
              protocol.count(zivra::Event::moveExecution), protocol.count(zivra::Event::safety),
              protocol.count(zivra::Event::rlExecution), protocol.count(zivra::Event::logReporter));
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(argc, argv, "watch_events",
                    "usage: watch_events ADDRESS\n"
                    "Moves the 6-axis robot at ADDRESS a little and prints all events that it hears "
                    "meanwhile.\n",
                    watchAt);
}
