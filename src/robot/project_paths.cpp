#include "robot/project_paths.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include <zivra/error.h>

#include "core/codes.h"

namespace zivra::internal {

namespace {

constexpr const char* root = "project";
constexpr const char* program = ".mod";

// "a//b/" -> "a", "", "b", "".
std::vector<std::string> segmentsOf(const std::string& path) {
  std::vector<std::string> segments;
  std::size_t begin = 0;
  for (auto end = path.find('/'); end != std::string::npos; end = path.find('/', begin)) {
    segments.push_back(path.substr(begin, end - begin));
    begin = end + 1;
  }
  segments.push_back(path.substr(begin));
  return segments;
}

std::string extensionOf(const std::string& path) { return std::filesystem::path(path).extension().string(); }
std::string stemOf(const std::string& path) { return std::filesystem::path(path).stem().string(); }

bool isProjectFile(const std::string& extension) {
  return extension == ".json" || extension == ".xml" || extension == ".sys";
}

}  // namespace

std::string withSlashes(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

std::string fileNameOf(const std::string& path) {
  const auto slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool projectNameOf(const std::string& zipPath, std::string& name) {
  const std::string file = fileNameOf(zipPath);
  const auto zip = file.find(".zip");
  if (zip == std::string::npos) return false;
  name = file.substr(0, zip);
  return true;
}

ImportFault planImport(const std::string& source, const std::string& destination, FileImport& import) {
  auto segments = segmentsOf(destination);
  if (segments.size() < 2 || segments.size() > 4 || segments[0] != root) return ImportFault::destination;
  segments.resize(4);
  const auto& [project, task, file] = std::tie(segments[1], segments[2], segments[3]);
  const std::string extension = extensionOf(source);
  FileImport plan;
  if (task.empty() || !extensionOf(task).empty()) {
    const std::string wanted = extensionOf(task);
    if (!isProjectFile(extension) || (!wanted.empty() && wanted != extension))
      return ImportFault::projectFileExtension;
    plan.name = stemOf(wanted.empty() ? source : task);
  } else {
    const std::string wanted = extensionOf(file);
    if (extension != program || (!wanted.empty() && wanted != program)) return ImportFault::programExtension;
    plan.name = stemOf(wanted.empty() ? source : file);
    plan.request["task_name"] = task;
  }
  plan.request["project_name"] = project;
  plan.request["extension"] = extension;
  import = std::move(plan);
  return ImportFault::none;
}

std::error_code planRemoval(const std::string& path, Json::Value& entry) {
  const auto segments = segmentsOf(path);
  if (segments.size() < 3 || segments.size() > 4 || segments[0] != root) return Code::argumentInvalid;
  Json::Value made;
  made["project"] = segments[1];
  made["task"] = segments[2];
  if (segments.size() == 4) {
    if (extensionOf(segments[3]) != program) return codeOf(wrongFileType);
    made["file"] = segments[3];
  }
  entry = std::move(made);
  return {};
}

}  // namespace zivra::internal
