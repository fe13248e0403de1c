// A test of this very program in a process of its own, for what ends a process or happens before main.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace zivra::test {

// Runs the test with these variables added to the environment, in the current directory. Gives the exit code;
// -1 if it had to be killed, or ended by a signal.
int runInChild(const std::string& test, const std::vector<std::pair<std::string, std::string>>& environment);

}  // namespace zivra::test
