// What tests of the log need: a current directory and, since a process has one log, a process of their own.
#pragma once

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "core/daily_files.h"

namespace zivra::internal {

inline std::string contentOf(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeFile(const std::filesystem::path& file, const std::string& content) {
  if (file.has_parent_path()) std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
}

inline std::set<std::string> namesIn(const std::filesystem::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.insert(entry.path().filename().string());
  return names;
}

inline std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find("\r\n", begin), text.size());
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 2;
  }
  return lines;
}

// The file of today; a test that runs over midnight sees yesterday's too.
inline std::string today(const std::string& base) {
  return DailyFiles::nameOn(base, std::chrono::system_clock::now());
}

inline bool becomesTrue(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

class InOwnFolder : public testing::Test {
 protected:
  void SetUp() override {
    before_ = std::filesystem::current_path();
    std::string folder = (std::filesystem::temp_directory_path() / "zivra_log_XXXXXX").string();
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    folder_ = folder;
    std::filesystem::create_directories(folder_ / "cwd");
    std::filesystem::current_path(folder_ / "cwd");
  }
  void TearDown() override {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(folder_);
  }

  struct Outcome {
    int exitCode;  // -1 after a signal
    std::string out, err;
  };

  // Runs the body in a child that then leaves by exit(), with 1 if an expectation failed in it.
  Outcome inOwnProcess(const std::function<void()>& body) {
    const std::string out = folder_ / "out", err = folder_ / "err";
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
      ::alarm(60);
      if (std::freopen(out.c_str(), "wb", stdout) == nullptr) ::_exit(3);
      if (std::freopen(err.c_str(), "wb", stderr) == nullptr) ::_exit(3);
      body();
      std::exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentOf(out), contentOf(err)};
    EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
    return outcome;
  }

  std::filesystem::path folder_;  // holds "cwd", the current directory

 private:
  std::filesystem::path before_;
};

}  // namespace zivra::internal
