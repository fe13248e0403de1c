// Runs the loaded tasks: reads their lines, gives moves to the motion queue, waits, and tells where the
// program pointers are. The world calls, with its mutex held.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "programs/program.h"

namespace zivra::sim {

class World;

struct ProgramTask {
  std::string name;
  std::vector<Module> modules;
  std::size_t main = 0;  // which module it begins with
};

class ProgramRunner {
 public:
  static constexpr double kLineTime = 0.004;  // s of simulated time that reading a line takes

  bool loop = false;  // begins again at the end

  bool loaded() const { return !tasks_.empty(); }
  const std::string& project() const { return project_; }
  bool running() const { return running_; }
  bool atLine() const { return atLine_; }  // there is somewhere to go on from
  // Its moves are in the motion queue, and what motion tells is for `notice`.
  bool usesMotion() const;
  // Once a program has run, others' moves wait until the queue was reset.
  bool needsReset() const { return needsReset_; }
  void queueWasReset() { needsReset_ = false; }

  void load(const std::string& project, std::vector<ProgramTask> tasks);
  void unload();
  void toMain(World& world);
  void start(World& world);  // or goes on
  void pause(World& world);
  // Something else stops all motion and empties the queue: pauses before the move that was under way.
  void loseMoves();

  void notice(World& world, const MoveNotice& notice);
  void advance(World& world, double seconds);

 private:
  struct Frame {
    std::size_t module, next;  // statement
    std::vector<int> loops;    // how often each open one is still to be run, this time included
  };
  using Position = std::vector<Frame>;
  struct Place {
    std::string file;
    int line = 0;  // 0: nowhere yet
  };
  struct Ahead {  // a move that is in the queue
    int number;
    Place place;
    Position before;
  };
  struct Task {
    ProgramTask text;
    Position position;  // empty: read to the end
    std::deque<Ahead> ahead;
    double waitLeft = 0;  // s
    Place looked, executed;
  };

  void rewind();
  void step(World& world, Task& task);
  void queueMove(World& world, Task& task, const Statement& statement, const Place& place);
  bool ended(const Task& task) const;
  void fail(World& world, const Task& task, const Place& place, const std::string& what, int code);
  void tell(World& world, const Task& task) const;

  std::string project_;
  std::vector<Task> tasks_;
  bool running_ = false, atLine_ = false, needsReset_ = false;
  double untilNextLine_ = 0;  // s
  int lastNumber_ = 0;
};

}  // namespace zivra::sim
