// Zip files, which may come from anybody.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zivra::sim {

using FileTree = std::map<std::string, std::string>;  // "task0/main.mod" -> its bytes

// All regular files, in memory. Nothing for what is no whole zip file, for names that lead out of it, for
// links and the like, and for more or larger files than a project has.
std::optional<FileTree> unzip(const std::vector<unsigned char>& bytes);

// A name that one file or folder can have: no separators, no control characters, none of the system's own.
bool isSafeName(const std::string& name);

}  // namespace zivra::sim
