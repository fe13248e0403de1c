// What the world keeps of program projects.
#pragma once

#include "programs/project_store.h"
#include "programs/runner.h"

namespace zivra::sim {

struct Programs {
  ProjectStore projects;
  ProgramRunner runner;
};

// The project that is there from the start; small moves about the home position of any arm.
FileTree demoProject(const Arm& arm);

// 0, or why the tasks can't be loaded; what stands wrong in a program is told in `complaint`.
int loadProgram(Programs& programs, const std::string& project, const std::vector<std::string>& tasks,
                std::string& complaint);

}  // namespace zivra::sim
