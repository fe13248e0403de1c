// A current directory of a test's own: logs are written relative to it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zivra::test {

class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_, before_;
};

// The whole text of the files in `folder` whose names begin with `stem`; empty if there are none.
std::string textOfFiles(const std::filesystem::path& folder, const std::string& stem);
// What stands behind the pattern's head in each line, behind "E: " (or another letter) if the level isn't
// info.
std::vector<std::string> logMessages(const std::string& text);
// The lines of a robot's log in the current directory, and of the global log of this process.
std::vector<std::string> robotLog(const std::string& robotId);
std::vector<std::string> globalLog();

}  // namespace zivra::test
