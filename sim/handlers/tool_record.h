// A tool or a work object as clients write it: millimetres and degrees, each orientation twice.
#pragma once

#include <json/json.h>
#include <optional>
#include <string>

#include "tools.h"

namespace zivra::sim {

enum class ToolKind { tool, workObject };

struct ToolRecord {
  std::string name, oldName;  // oldName: the one that is changed; may be empty
  int id = 0;
  Tool tool;
};

// Nothing if a member is missing, of another type or one too many, or if the two forms of an orientation
// differ.
std::optional<ToolRecord> readToolRecord(ToolKind kind, const Json::Value& value);

}  // namespace zivra::sim
