// Backups of the simulated controller: a tar archive with a folder for each item, filled from the world.
#pragma once

#include <json/json.h>
#include <string>
#include <vector>

#include "world.h"

namespace zivra::sim {

struct BackupRequest {
  std::string name;
  std::vector<std::string> exclude;  // files of the item that are left out, without their extension
};

// The archive; says in `result` how each item went ("ok", or why it is missing).
std::string backUp(World& world, const std::vector<BackupRequest>& items, Json::Value& result);

}  // namespace zivra::sim
