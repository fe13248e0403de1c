#include "programs/runner.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

#include "world.h"

namespace zivra::sim {

namespace {
constexpr std::size_t kLookedAhead = 3;  // moves
constexpr std::size_t kDeepestCall = 16;
constexpr int kProgramError = -320;
}  // namespace

bool ProgramRunner::usesMotion() const {
  return std::any_of(tasks_.begin(), tasks_.end(), [](const Task& task) { return !task.ahead.empty(); });
}

void ProgramRunner::load(const std::string& project, std::vector<ProgramTask> tasks) {
  unload();
  project_ = project;
  for (ProgramTask& text : tasks) tasks_.push_back({std::move(text), {}, {}, 0, {}, {}});
}

void ProgramRunner::unload() {
  project_.clear();
  tasks_.clear();
  running_ = atLine_ = false;
}

void ProgramRunner::rewind() {
  for (Task& task : tasks_) {
    task.position = {{task.text.main, 0, {}}};
    task.ahead.clear();
    task.waitLeft = 0;
  }
  atLine_ = true;
}

void ProgramRunner::toMain(World& world) {
  if (usesMotion()) world.motion.reset();
  rewind();
  for (Task& task : tasks_) {
    const Module& main = task.text.modules[task.text.main];
    task.looked = task.executed = {main.file, main.statements.empty() ? 1 : main.statements.front().line};
    tell(world, task);
  }
}

void ProgramRunner::start(World& world) {
  running_ = needsReset_ = true;
  untilNextLine_ = 0;
  if (usesMotion()) world.motion.start();
}

void ProgramRunner::pause(World& world) {
  running_ = false;
  world.motion.pause();
}

void ProgramRunner::loseMoves() {
  running_ = false;
  for (Task& task : tasks_) {
    if (task.ahead.empty()) continue;
    task.position = std::move(task.ahead.front().before);
    task.ahead.clear();
  }
}

void ProgramRunner::notice(World& world, const MoveNotice& notice) {
  for (Task& task : tasks_) {
    const auto found = std::find_if(task.ahead.begin(), task.ahead.end(),
                                    [&](const Ahead& move) { return move.number == notice.point; });
    if (found == task.ahead.end()) continue;
    if (notice.error != 0) {
      fail(world, task, Place(found->place), "the move failed", notice.error);
    } else if (notice.finish) {
      task.ahead.erase(found);
    } else {
      task.executed = found->place;
      tell(world, task);
    }
    return;
  }
}

void ProgramRunner::advance(World& world, double seconds) {
  if (!running_) return;
  if (usesMotion() && !world.motion.started()) {  // somebody has paused the moves
    running_ = false;
    return;
  }
  for (Task& task : tasks_) task.waitLeft = std::max(task.waitLeft - seconds, 0.0);
  untilNextLine_ -= seconds;
  if (untilNextLine_ > 1e-9) return;
  untilNextLine_ = kLineTime;
  for (Task& task : tasks_) {
    step(world, task);
    if (!running_) return;
  }
  if (!std::all_of(tasks_.begin(), tasks_.end(), [this](const Task& task) { return ended(task); })) return;
  rewind();
  running_ = loop;
}

bool ProgramRunner::ended(const Task& task) const {
  return task.position.empty() && task.ahead.empty() && task.waitLeft <= 0;
}

// One line at most, so that no loop takes up the controller's whole time.
void ProgramRunner::step(World& world, Task& task) {
  using Kind = Statement::Kind;
  if (task.waitLeft > 0) return;
  while (!task.position.empty()) {
    const Frame& top = task.position.back();
    if (top.next < task.text.modules[top.module].statements.size()) break;
    task.position.pop_back();
  }
  if (task.position.empty()) return;
  Frame& frame = task.position.back();
  const Module& module = task.text.modules[frame.module];
  const Statement& statement = module.statements[frame.next];
  const Place place{module.file, statement.line};
  switch (statement.kind) {
    case Kind::move:
      queueMove(world, task, statement, place);
      return;
    case Kind::wait:
    case Kind::print:
      if (!task.ahead.empty()) return;  // not before the arm is there
      ++frame.next;
      task.looked = task.executed = place;
      tell(world, task);
      if (statement.kind == Kind::wait)
        task.waitLeft = statement.seconds;
      else
        world.log(0, statement.text);
      return;
    case Kind::loop:
      frame.next = statement.times == 0 ? statement.partner + 1 : frame.next + 1;
      if (statement.times != 0) frame.loops.push_back(statement.times);
      return;
    case Kind::endLoop:
      if (int& left = frame.loops.back(); left == kForever || --left > 0) {
        frame.next = statement.partner + 1;
      } else {
        frame.loops.pop_back();
        ++frame.next;
      }
      return;
    case Kind::call: {
      const auto& modules = task.text.modules;
      const auto called = std::find_if(modules.begin(), modules.end(), [&](const Module& other) {
        return other.file == statement.text + ".mod";
      });
      if (called == modules.end()) return fail(world, task, place, "there is no such program", kProgramError);
      if (task.position.size() == kDeepestCall)
        return fail(world, task, place, "programs call each other too deeply", kProgramError);
      ++frame.next;
      task.position.push_back({static_cast<std::size_t>(called - modules.begin()), 0, {}});
      return;
    }
  }
}

void ProgramRunner::queueMove(World& world, Task& task, const Statement& statement, const Place& place) {
  if (task.ahead.size() == kLookedAhead) return;
  Move move = statement.move;
  move.point = lastNumber_ = lastNumber_ == 1'000'000'000 ? 1 : lastNumber_ + 1;
  if (const int code = world.motion.append({move}); code != 0)
    return fail(world, task, place, "the move was refused", code);
  task.ahead.push_back({move.point, place, task.position});
  ++task.position.back().next;
  world.motion.start();
  task.looked = place;
  tell(world, task);
}

void ProgramRunner::fail(World& world, const Task& task, const Place& place, const std::string& what,
                         int code) {
  running_ = false;
  world.log(code, fmt::format("{} {} line {}: {} ({})", task.text.name, place.file, place.line, what, code));
  world.motion.reset();
  loseMoves();
}

void ProgramRunner::tell(World& world, const Task& task) const {
  const auto written = [](const Place& place) {
    Json::Value value(Json::objectValue);
    value["file_name"] = place.file;
    value["line"] = place.line;
    return value;
  };
  Json::Value pointers(Json::objectValue);
  pointers["task_name"] = task.text.name;
  if (task.looked.line != 0) pointers["adv_line"] = written(task.looked);
  if (task.executed.line != 0) pointers["exe_line"] = written(task.executed);
  Json::Value list(Json::arrayValue);
  list.append(std::move(pointers));
  world.push("project.tasks_pointer", std::move(list));
}

}  // namespace zivra::sim
