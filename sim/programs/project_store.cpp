#include "programs/project_store.h"

#include <algorithm>
#include <fmt/format.h>
#include <string_view>

namespace zivra::sim {

namespace {

constexpr std::size_t kMostProjects = 200;
constexpr std::size_t kMostBytes = 256 * 1024 * 1024;
constexpr std::string_view kProgram = ".mod";

std::string_view extensionOf(std::string_view name) {
  const auto dot = name.rfind('.');
  return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot);
}

bool isProjectFile(std::string_view extension) {
  return extension == ".xml" || extension == ".json" || extension == ".sys";
}

// "demo/" if all files lie in that folder, else nothing. A task's folder isn't one: beside it lies the .xml.
std::string commonFolder(const FileTree& files) {
  const auto& first = files.begin()->first;
  const std::string folder = first.substr(0, first.find('/') + 1);
  const bool common = std::all_of(files.begin(), files.end(),
                                  [&](const auto& file) { return file.first.rfind(folder, 0) == 0; });
  return common ? folder : std::string();
}

std::optional<Project> sorted(const FileTree& files) {
  if (files.empty()) return std::nullopt;
  const std::size_t head = commonFolder(files).size();
  Project project;
  bool described = false;
  for (const auto& [path, bytes] : files) {
    const std::string rest = path.substr(head);
    const auto slash = rest.find('/');
    const auto extension = extensionOf(rest);
    if (slash == std::string::npos) {
      if (!isProjectFile(extension)) continue;
      described = described || extension == ".xml";
      project.files[rest] = bytes;
    } else if (const std::string file = rest.substr(slash + 1);
               extension == kProgram && file.find('/') == std::string::npos) {
      project.tasks[rest.substr(0, slash)][file] = bytes;
    }
  }
  if (!described || project.tasks.empty()) return std::nullopt;
  return project;
}

// "square", or "square_1" and so on if there is one already.
template <class Taken>
std::string freeName(const std::string& name, const std::string& extension, Taken taken) {
  std::string free = name + extension;
  for (int i = 1; taken(free); ++i) free = fmt::format("{}_{}{}", name, i, extension);
  return free;
}

std::size_t bytesOf(const FileTree& files) {
  std::size_t sum = 0;
  for (const auto& [name, bytes] : files) sum += name.size() + bytes.size();
  return sum;
}

}  // namespace

const Project* ProjectStore::find(const std::string& name) const {
  const auto found = projects_.find(name);
  return found == projects_.end() ? nullptr : &found->second;
}

std::optional<std::string> ProjectStore::add(const std::string& name, const FileTree& files, bool overwrite) {
  auto project = sorted(files);
  if (!project || !isSafeName(name)) return std::nullopt;
  if (projects_.size() >= kMostProjects || bytes() + bytesOf(files) > kMostBytes) return std::nullopt;
  const auto taken = [&](const std::string& n) { return !overwrite && projects_.count(n) > 0; };
  std::string stored = freeName(name, "", taken);
  projects_[stored] = std::move(*project);
  return stored;
}

std::string ProjectStore::addFile(const std::string& project, const std::string& task, const NewFile& file,
                                  std::string& stored) {
  if (file.bytes.empty()) return "empty_data";
  if (task.empty() ? !isProjectFile(file.extension) : file.extension != kProgram) return "wrong_file_type";
  const auto found = projects_.find(project);
  if (found == projects_.end()) return "non-exist task";
  FileTree* folder = &found->second.files;
  if (!task.empty()) {
    const auto place = found->second.tasks.find(task);
    if (place == found->second.tasks.end()) return "non-exist task";
    folder = &place->second;
  }
  const auto taken = [&](const std::string& n) { return !file.overwrite && folder->count(n) > 0; };
  const std::string name = freeName(file.name, file.extension, taken);
  if (file.name.empty() || !isSafeName(name) || bytes() + file.bytes.size() > kMostBytes)
    return "open_file_error";
  (*folder)[name] = file.bytes;
  stored = name;
  return "success";
}

bool ProjectStore::has(const std::string& project, const std::string& task, const std::string& file) const {
  const Project* found = find(project);
  if (found == nullptr) return false;
  const auto place = found->tasks.find(task);
  if (place == found->tasks.end()) return file.empty() && found->files.count(task) > 0;
  return file.empty() || place->second.count(file) > 0;
}

void ProjectStore::removeFile(const std::string& project, const std::string& task, const std::string& file) {
  const auto found = projects_.find(project);
  if (found == projects_.end()) return;
  const auto place = found->second.tasks.find(task);
  if (place == found->second.tasks.end()) {
    if (file.empty()) found->second.files.erase(task);
  } else if (file.empty()) {
    found->second.tasks.erase(place);
  } else {
    place->second.erase(file);
  }
}

std::size_t ProjectStore::bytes() const {
  std::size_t sum = 0;
  for (const auto& [name, project] : projects_) {
    sum += name.size() + bytesOf(project.files);
    for (const auto& [task, programs] : project.tasks) sum += task.size() + bytesOf(programs);
  }
  return sum;
}

FileTree filesOf(const Project& project) {
  FileTree files = project.files;
  for (const auto& [task, programs] : project.tasks)
    for (const auto& [name, bytes] : programs) files[task + '/' + name] = bytes;
  return files;
}

}  // namespace zivra::sim
