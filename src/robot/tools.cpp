// Tools and work objects: the ones in force, the ones that the controller knows, and making them.
#include <algorithm>

#include "core/wire_forms.h"
#include "robot/operation.h"
#include "robot/tool_record.h"

namespace zivra {

using internal::Operation;
using internal::ToolKind;

namespace {

constexpr int toolFailure = -50501;

// An entry of the controller's list; nothing if a member has the wrong type.
std::optional<WorkToolInfo> readEntry(const std::string& name, const Json::Value& entry) {
  bool malformed = !entry.isNull() && !entry.isObject();
  WorkToolInfo info;
  info.name = name;
  info.load = internal::readLoad(internal::member(entry, "load"), &malformed);
  info.pos = internal::readFrame(internal::member(entry, "coord"), &malformed);
  const Json::Value& held = internal::member(entry, "held");
  const auto robotHeld = held.isNull() ? false : internal::asTruth(held);
  if (malformed || !robotHeld) return std::nullopt;
  info.robotHeld = *robotHeld;
  return info;
}

std::vector<WorkToolInfo> readList(Operation& op, ToolKind kind) {
  const std::string word(wordOf(kind));
  auto reply = op.get(("project." + word + ".info").c_str());
  std::vector<WorkToolInfo> list;
  if (!reply.isData()) return list;
  const Json::Value& entries = internal::member(reply.value(), word);
  if (!entries.isObject()) {
    reply.fail(Code::responseUnresolved);
    return list;
  }
  for (auto it = entries.begin(); it != entries.end(); ++it) {
    auto info = readEntry(it.name(), *it);
    if (!info) {
      reply.fail(Code::responseUnresolved);
      return {};
    }
    list.push_back(std::move(*info));
  }
  return list;
}

// Whether the loaded project has a tool of that name already. If the list can't be had it is taken as new.
bool standsInProject(Operation& op, const std::string& listKey, const std::string& name) {
  const auto reply = op.get(listKey.c_str());
  const Json::Value& names = reply.value();
  return names.isArray() && std::any_of(names.begin(), names.end(), [&](const Json::Value& element) {
           return internal::asText(element) == name;
         });
}

void writeTool(Operation& op, ToolKind kind, const WorkToolInfo& info) {
  const std::string word(wordOf(kind)), words = word + "s";
  Json::Value record = internal::toolRecord(kind, info);
  std::string key = "global." + words + ".set.one";
  Json::Value payload;
  if (readToolName(kind, info.name).global) {
    payload = std::move(record);
  } else {
    key = "project." + word;
    const bool edit = standsInProject(op, "project." + words, info.name);
    if (edit) record["old_name"] = info.name;
    payload[words].append(std::move(record));
    payload["operator"] = edit ? "edit" : "add";
  }
  op.command(key.c_str(), payload).codeOrData().tellAs(-1, toolFailure);
}

}  // namespace

Toolset BaseRobot::toolset(std::error_code& ec) noexcept {
  Toolset toolset;
  auto reply = Operation(impl(), ec).get("ix.coord.toolset");
  if (!reply.isData()) return toolset;
  if (internal::readToolset(reply.value(), toolset) != 0) reply.fail(Code::responseUnresolved);
  return toolset;
}

void BaseRobot::setToolset(const Toolset& toolset, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setToolset {}", toolset);
  Json::Value value;
  internal::writeToolset(toolset, value);
  value["end"]["name"] = "";
  value["ref"]["name"] = "";
  op.set("ix.coord.toolset", value);
  op.end("setToolset end, Set toolset to {} ({})", toolset, ec);
}

Toolset BaseRobot::setToolset(const std::string& toolName, const std::string& wobjName,
                              std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setToolset {}, {}", toolName, wobjName);
  Json::Value names;
  names["tool"] = toolName;
  names["wobj"] = wobjName;
  const auto reply = op.command("sys.toolset.query", names);
  Json::Value data = internal::member(reply.value(), "data");
  Toolset found;
  if (!ec) {
    if (!internal::hasMember(reply.value(), "data")) {
      ec = internal::protocolMismatch();
    } else if (internal::hasMember(reply.value(), "error")) {
      ec = {toolFailure, category()};
    } else if (internal::readToolset(data, found) != 0 || !internal::member(data, "end").isObject() ||
               !internal::member(data, "ref").isObject()) {
      ec = Code::responseUnresolved;
    }
  }
  if (ec) {
    op.error("setToolset end, setToolset query failed ({})", ec);
    return {};
  }
  data["end"]["name"] = toolName;
  data["ref"]["name"] = wobjName;
  op.set("ix.coord.toolset", data);
  op.end("setToolset end, Set toolset to {}, {}, ({})", toolName, wobjName, ec);
  return found;
}

std::vector<WorkToolInfo> BaseRobot::toolsInfo(std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  return readList(op, ToolKind::tool);
}

std::vector<WorkToolInfo> BaseRobot::wobjsInfo(std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  return readList(op, ToolKind::workObject);
}

void BaseRobot::setToolInfo(const WorkToolInfo& tool_info, std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  writeTool(op, ToolKind::tool, tool_info);
  op.note("setToolInfo name {} {} {} ({})", tool_info.name, tool_info.pos, tool_info.load, ec);
}

void BaseRobot::setWobjInfo(const WorkToolInfo& wobj_info, std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  writeTool(op, ToolKind::workObject, wobj_info);
  op.note("setWobjInfo name {} {} {} ({})", wobj_info.name, wobj_info.pos, wobj_info.load, ec);
}

}  // namespace zivra
