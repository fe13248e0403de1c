// Where a file of a program project goes: the rules by which a destination or removal path becomes a request.
// Nothing is sent here and no file touched. Any thread.
#pragma once

#include <json/value.h>
#include <string>
#include <system_error>

namespace zivra::internal {

// "a\b" -> "a/b".
std::string withSlashes(std::string path);
// The part behind the last "/" or "\".
std::string fileNameOf(const std::string& path);

// The name that a project's zip file is announced under: its file name up to the first ".zip"; false if
// there is no such place.
bool projectNameOf(const std::string& zipPath, std::string& name);

// Which rule a file and its destination break.
enum class ImportFault { none, destination, projectFileExtension, programExtension };

// How one file is brought into a project.
struct FileImport {
  std::string name;     // announced, without extension
  Json::Value request;  // "project_name", "extension", and "task_name" for a program
};

// `source` and `destination` with slashes. `import` is filled if there is no fault.
ImportFault planImport(const std::string& source, const std::string& destination, FileImport& import);

// The entry that removes `path` (with slashes); 259 or -281 for a path that names no task and no program.
std::error_code planRemoval(const std::string& path, Json::Value& entry);

}  // namespace zivra::internal
