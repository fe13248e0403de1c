// The form in which the controller keeps tools and work objects: millimetres and degrees, each orientation
// twice. Any thread.
#pragma once

#include <json/value.h>
#include <string>
#include <string_view>

#include <zivra/service_types.h>

namespace zivra::internal {

enum class ToolKind { tool, workObject };

// As keys and names spell it.
constexpr std::string_view wordOf(ToolKind kind) { return kind == ToolKind::tool ? "tool" : "wobj"; }

// What a name says: "g_tool_3" is the controller's own number 3, others belong to the project.
struct ToolName {
  int id = 0;
  bool global = false;
};
ToolName readToolName(ToolKind kind, const std::string& name);

Json::Value toolRecord(ToolKind kind, const WorkToolInfo& info);

}  // namespace zivra::internal
