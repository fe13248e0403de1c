// Brings a program project to the controller, runs it and follows its program pointer.
//
// The robot really moves, as the program says. The project that is built beside this program
// (examples/projects/square) is written for the simulated controller's arm of 6 axes.
#include <any>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;

constexpr auto kLateNews = std::chrono::seconds(5);

// "task0 main.mod line 3"; lines of the table count from 0.
std::string placeIn(const zivra::EventInfo& info) {
  return std::any_cast<std::string>(info.at("taskName")) + ' ' +
         std::any_cast<std::string>(info.at("executeFile")) + " line " +
         std::to_string(std::any_cast<int>(info.at("executeLine")) + 1);
}

// What is heard of the program, each kind of news on a thread of the library's.
class Progress {
 public:
  void pointer(const zivra::EventInfo& info) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::string place = placeIn(info);
    if (place == last_) return;  // only the pointer that looks ahead has moved
    last_ = place;
    ++lines_;
    std::printf("  %s\n", place.c_str());
    std::fflush(stdout);
    changed_.notify_all();
  }
  void log(const zivra::EventInfo& info) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const int code = std::any_cast<int>(info.at("ecode"));
    const auto text = std::any_cast<std::string>(info.at("edetail"));
    std::printf("  the controller writes: %s (%d)\n", text.c_str(), code);
    std::fflush(stdout);
    if (code < 0) failure_ = text;
    changed_.notify_all();
  }
  void waitFor(const std::string& place) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, kLateNews, [&] { return last_ == place || !failure_.empty(); });
  }
  std::string failure() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return failure_;
  }
  int lines() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::string last_, failure_;
  int lines_ = 0;
};

void showTransfer(std::uint64_t done, std::uint64_t total) {
  std::printf("  %llu of %llu bytes\n", static_cast<unsigned long long>(done),
              static_cast<unsigned long long>(total));
}

std::string import(zivra::BaseRobot& robot, const std::string& file) {
  std::printf("import of %s\n", file.c_str());
  std::error_code ec;
  robot.setTransferProgress(showTransfer);
  const std::string name = robot.importProject(file, true, ec);
  require(ec, "import of " + file);
  return name;
}

// The project with all its tasks; throws with a list of what there is.
zivra::RLProjectInfo find(zivra::BaseRobot& robot, const std::string& name) {
  std::error_code ec;
  const auto projects = robot.projectsInfo(ec);
  require(ec, "reading the projects");
  std::string names;
  for (const auto& project : projects) {
    if (project.name == name) return project;
    names += ' ' + project.name;
  }
  throw std::runtime_error("the controller has no project \"" + name + "\"; it has:" + names);
}

bool runs(zivra::BaseRobot& robot) {
  std::error_code ec;
  const auto state = robot.operationState(ec);
  require(ec, "reading the state");
  return state == zivra::OperationState::rlProgram;
}

void run(zivra::BaseRobot& robot, Progress& progress, const zivra::RLProjectInfo& project) {
  std::error_code ec;
  robot.loadProject(project.name, project.taskList, ec);
  require(ec, "loading " + project.name);
  robot.ppToMain(ec);
  require(ec, "program pointer to main");
  robot.setProjectRunningOpt(1.0, false, ec);
  require(ec, "setting speed and loop mode");
  enterMode(robot, zivra::OperateMode::automatic);
  std::printf("%s runs\n", project.name.c_str());
  robot.runProject(ec);
  require(ec, "running " + project.name);
  try {
    while (runs(robot) && !interrupted) std::this_thread::sleep_for(kBetweenReads);
    waitUntilAtRest(robot);
  } catch (...) {
    robot.pauseProject(ec);  // whatever it says: the robot is stopped by other means too
    throw;
  }
  // The table is up to date; the watcher may be a little behind.
  const auto news = robot.queryEventInfo(zivra::Event::rlExecution, ec);
  require(ec, "reading the program pointer");
  progress.waitFor(placeIn(news));
  if (!progress.failure().empty()) throw std::runtime_error("the program stopped: " + progress.failure());
}

void runAt(const std::string& address, const std::string& file) {
  using zivra::Event;
  // Declared before the robot, whose destructor is the end of all calls of its watchers.
  Progress progress;
  zivra::TandiRobot robot;
  connect(robot, address);
  std::string name = "demo";
  orStop(robot, [&] {
    std::error_code ec;
    robot.setMotionControlMode(zivra::MotionControlMode::NrtRLTask, ec);
    require(ec, "switching to program tasks");
    if (!file.empty()) name = import(robot, file);
    const auto project = find(robot, name);
    robot.setEventWatcher(
        Event::rlExecution, [&](const zivra::EventInfo& info) { progress.pointer(info); }, ec);
    require(ec, "watching the program pointer");
    robot.setEventWatcher(
        Event::logReporter, [&](const zivra::EventInfo& info) { progress.log(info); }, ec);
    require(ec, "watching the log");
    run(robot, progress, project);
  });
  std::printf("ran %s, %d lines\n", name.c_str(), progress.lines());
}

}  // namespace

int main(int argc, char** argv) {
  return runWithArguments(
      argc, argv, "run_project",
      "usage: run_project ADDRESS [PROJECT.zip]\n"
      "Brings a program project to the 6-axis robot at ADDRESS and runs it; without one it runs the "
      "project \"demo\"\nthat the simulated controller has from the start.\n"
      "The robot moves as the program says: know it before you run it.\n",
      [](const Arguments& arguments) {
        if (arguments.empty() || arguments.size() > 2) return false;
        runAt(arguments[0], arguments.size() == 2 ? arguments[1] : "");
        return true;
      });
}
