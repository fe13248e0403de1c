#include "support/child_process.h"

#include <csignal>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/waiting.h"

namespace zivra::test {

int runInChild(const std::string& test, const std::vector<std::pair<std::string, std::string>>& environment) {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) variables.emplace_back(*variable);
  // The later of two variables of one name would be ignored.
  for (const auto& [name, value] : environment) {
    std::erase_if(variables, [prefix = name + '='](const std::string& v) { return v.rfind(prefix, 0) == 0; });
    variables.push_back(name + '=' + value);
  }
  std::vector<std::string> arguments{"/proc/self/exe", "--gtest_filter=" + test,
                                     "--gtest_also_run_disabled_tests", "--gtest_brief=1"};
  const auto pointers = [](std::vector<std::string>& texts) {
    std::vector<char*> out;
    for (std::string& text : texts) out.push_back(text.data());
    out.push_back(nullptr);
    return out;
  };
  pid_t child = 0;
  if (::posix_spawn(&child, "/proc/self/exe", nullptr, nullptr, pointers(arguments).data(),
                    pointers(variables).data()) != 0) {
    return -1;
  }
  int status = 0;
  if (!eventually([&] { return ::waitpid(child, &status, WNOHANG) != 0; })) {
    ::kill(child, SIGKILL);
    ::waitpid(child, &status, 0);
    return -1;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace zivra::test
