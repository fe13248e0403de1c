#include "support/temporary_folder.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace zivra::test {

namespace fs = std::filesystem;

namespace {

// The global log stays where the process began it, so the first folder outlasts its test.
struct FirstFolder {
  ~FirstFolder() {
    std::error_code ignored;
    if (!path.empty()) fs::remove_all(path, ignored);
  }
  fs::path path;
};
FirstFolder firstFolder;

}  // namespace

TemporaryFolder::TemporaryFolder() : before_(fs::current_path()) {
  std::string pattern = (fs::temp_directory_path() / "zivra-test-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder: " + pattern);
  path_ = pattern;
  fs::current_path(path_);
  if (firstFolder.path.empty()) firstFolder.path = path_;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::current_path(before_, ignored);
  if (path_ != firstFolder.path) fs::remove_all(path_, ignored);
}

std::string textOfFiles(const fs::path& folder, const std::string& stem) {
  std::vector<fs::path> files;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) {
    if (entry.path().filename().string().rfind(stem, 0) == 0) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::ostringstream text;
  for (const auto& file : files) {
    if (fs::file_size(file) > 0) text << std::ifstream(file, std::ios::binary).rdbuf();
  }
  return text.str();
}

std::vector<std::string> logMessages(const std::string& text) {
  std::vector<std::string> messages;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find("\r\n", at), text.size());
    const std::string line = text.substr(at, end - at);
    const std::size_t head = line.find("] ");
    std::string message = head == std::string::npos ? line : line.substr(head + 2);
    if (head != std::string::npos && line[0] == '[' && line[1] != 'I')
      message.insert(0, line.substr(1, 1) + ": ");
    messages.push_back(std::move(message));
    at = end + 2;
  }
  return messages;
}

std::vector<std::string> robotLog(const std::string& robotId) {
  return logMessages(textOfFiles(fs::path("_zivra_log_") / robotId, "OstrelSDK_"));
}

std::vector<std::string> globalLog() {
  return logMessages(textOfFiles(firstFolder.path / "logs", "global_logger_"));
}

}  // namespace zivra::test
