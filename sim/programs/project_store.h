// The projects that the controller keeps, and what may be brought into them.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "programs/unzip.h"

namespace zivra::sim {

struct Project {
  FileTree files;                         // project.xml and the like
  std::map<std::string, FileTree> tasks;  // by name: the programs
};

// A file on its way into a project.
struct NewFile {
  std::string name, extension;  // "main", ".mod"
  std::string bytes;
  bool overwrite = false;
};

class ProjectStore {
 public:
  const std::map<std::string, Project>& all() const { return projects_; }
  const Project* find(const std::string& name) const;

  // The name under which it is stored: another than `name` if that is taken and not to be overwritten.
  // Nothing, and nothing stored, for what is no project.
  std::optional<std::string> add(const std::string& name, const FileTree& files, bool overwrite);
  bool remove(const std::string& name) { return projects_.erase(name) > 0; }
  void clear() { projects_.clear(); }

  // Into the project itself, or into a task (not empty). What came of it in the controller's words; `stored`
  // is the name that the file has now.
  std::string addFile(const std::string& project, const std::string& task, const NewFile& file,
                      std::string& stored);
  // A task, one of its programs (`file` not empty), or a project file that stands in a task's place.
  bool has(const std::string& project, const std::string& task, const std::string& file) const;
  void removeFile(const std::string& project, const std::string& task, const std::string& file);

 private:
  std::size_t bytes() const;

  std::map<std::string, Project> projects_;
};

// Paths as in a project's zip file.
FileTree filesOf(const Project& project);

}  // namespace zivra::sim
