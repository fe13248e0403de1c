#include "programs/programs.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <utility>

#include "motion/angles.h"

namespace zivra::sim {

namespace {

constexpr std::size_t kMostStatements = 50'000;  // of all tasks together
constexpr int kNoSuchProject = -60005, kUnfinished = -320;

std::string angles(Joints joints, double firstAxisBy) {
  joints.front() += firstAxisBy * kDegree;
  for (double& angle : joints) angle /= kDegree;
  return fmt::format("[{:.4f}]", fmt::join(joints, ", "));
}

}  // namespace

FileTree demoProject(const Arm& arm) {
  const Joints home = arm.home();
  return {
      {"project.xml", "<?xml version=\"1.0\"?>\n<project name=\"demo\"><task name=\"task0\"/></project>\n"},
      {"task0/main.mod", fmt::format("! Waves with the first axis.\n"
                                     "MoveAbsJ {}, v30%\n"
                                     "Loop 2\n"
                                     "  Call wave\n"
                                     "EndLoop\n",
                                     angles(home, 0))},
      {"task0/wave.mod", fmt::format("MoveAbsJ {}, v20%, z10\n"
                                     "MoveAbsJ {}, v20%, z10\n"
                                     "MoveAbsJ {}, v20%\n"
                                     "Wait 0.5\n",
                                     angles(home, 10), angles(home, -10), angles(home, 0))}};
}

int loadProgram(Programs& programs, const std::string& project, const std::vector<std::string>& tasks,
                std::string& complaint) {
  const Project* found = programs.projects.find(project);
  if (found == nullptr || tasks.empty()) return kNoSuchProject;
  std::vector<ProgramTask> loaded;
  std::size_t left = kMostStatements;
  for (const std::string& name : tasks) {
    const auto task = found->tasks.find(name);
    if (task == found->tasks.end() || task->second.empty()) return kNoSuchProject;
    const bool twice =
        std::any_of(loaded.begin(), loaded.end(), [&](const auto& t) { return t.name == name; });
    if (twice) return kNoSuchProject;
    ProgramTask text{name, {}, 0};
    try {
      for (const auto& [file, bytes] : task->second) {
        if (file == "main.mod") text.main = text.modules.size();
        text.modules.push_back(parseModule(file, bytes, left));
        left -= text.modules.back().statements.size();
      }
    } catch (const SyntaxError& error) {
      complaint = name + ' ' + error.what();
      return kUnfinished;
    }
    loaded.push_back(std::move(text));
  }
  programs.runner.load(project, std::move(loaded));
  return 0;
}

}  // namespace zivra::sim
