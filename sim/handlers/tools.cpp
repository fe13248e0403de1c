// Tools and work objects, and those in force.
#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "handlers/handlers.h"
#include "handlers/tool_record.h"
#include "handlers/toolset_values.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr double farthest = 1000;  // m
constexpr double heaviest = 25;    // kg
constexpr int lastGlobal = 15;
constexpr int noToolset = -50501;

std::optional<std::array<double, 3>> readThree(const Json::Value& value) {
  const auto read = readNumbers(value, 3);
  if (!read || read->size() != 3) return std::nullopt;
  return std::array{(*read)[0], (*read)[1], (*read)[2]};
}

std::optional<NamedFrame> readNamedFrame(const Json::Value& value, Names names) {
  const auto frame = readPose(value);
  const auto name = readText(member(value, "name"));
  if (!frame || (names == Names::required && !name)) return std::nullopt;
  for (const double length : frame->trans)
    if (std::abs(length) > farthest) return std::nullopt;
  return NamedFrame{name.value_or(""), *frame};
}

Json::Value namedFrameJson(const NamedFrame& frame) {
  Json::Value value = poseJson(frame.frame);
  value["name"] = frame.name;
  return value;
}

ToolList& listOf(World& w, ToolKind kind) {
  return kind == ToolKind::tool ? w.tools.tools : w.tools.workObjects;
}
const char* wordOf(ToolKind kind) { return kind == ToolKind::tool ? "tool" : "wobj"; }

Reply toolset(World& w, const Json::Value&) { return answer(toolsetJson(w.tools.inForce)); }

Reply setToolset(World& w, const Json::Value& parameter) {
  const auto toolset = readToolset(parameter, Names::required);
  if (!toolset) return badParameter();
  if (const int code = loadRefusal(toolset->load); code != 0) return refuse(code);
  if (w.moving()) return refuse(-20);
  w.setToolset(*toolset);
  return ok();
}

Reply queryToolset(World& w, const Json::Value& parameter) {
  const auto toolName = readText(member(parameter, "tool")), wobjName = readText(member(parameter, "wobj"));
  if (!toolName || !wobjName) return badParameter();
  const Tool* tool = w.tools.tools.find(*toolName);
  const Tool* workObject = w.tools.workObjects.find(*wobjName);
  if (tool == nullptr) return failure(noToolset, fmt::format("there is no tool {}", *toolName));
  if (workObject == nullptr) return failure(noToolset, fmt::format("there is no work object {}", *wobjName));
  if (!tool->held || workObject->held)
    return failure(noToolset, "only a tool that the robot holds and a work object in the cell go together");
  return data(toolsetJson({tool->load, {*toolName, tool->frame}, {*wobjName, workObject->frame}}));
}

Handler list(ToolKind kind) {
  return [kind](World& w, const Json::Value&) {
    Json::Value value(Json::objectValue);
    Json::Value& entries = value[wordOf(kind)] = Json::Value(Json::objectValue);
    const ToolList& tools = listOf(w, kind);
    for (const auto* group : {&tools.project, &tools.global}) {
      for (const auto& [name, tool] : *group) {
        Json::Value& entry = entries[name];
        entry["load"] = loadJson(tool.load);
        entry["coord"] = poseJson(tool.frame);
        entry["held"] = tool.held;
      }
    }
    return answer(value);
  };
}

Handler projectNames(ToolKind kind) {
  return [kind](World& w, const Json::Value&) {
    Json::Value names(Json::arrayValue);
    for (const auto& [name, tool] : listOf(w, kind).project) names.append(name);
    return answer(names);
  };
}

// Adds to the loaded project, or changes what stands there. -1: it can't be.
int writeToProject(ToolList& tools, const ToolRecord& record, bool edit) {
  const std::string& former = edit ? record.oldName : record.name;
  const bool known = tools.project.count(former) != 0;
  if (edit) {
    if (!known || former == noTool || former == noWorkObject) return -1;
    if (record.name != former && tools.project.count(record.name) != 0) return -1;
    tools.project.erase(former);
  } else if (known || !record.oldName.empty() || tools.project.size() >= ToolList::most) {
    return -1;
  }
  tools.project[record.name] = record.tool;
  return 0;
}

Handler writeProject(ToolKind kind) {
  return [kind](World& w, const Json::Value& parameter) {
    const Json::Value& records = member(parameter, std::string(wordOf(kind)) + "s");
    const auto action = readText(member(parameter, "operator"));
    if (!records.isArray() || records.size() != 1 || (action != "add" && action != "edit"))
      return badParameter();
    const auto record = readToolRecord(kind, records[0u]);
    if (!record) return badParameter();
    if (const int code = loadRefusal(record->tool.load); code != 0) return refuse(code);
    return result(writeToProject(listOf(w, kind), *record, action == "edit"));
  };
}

Handler writeGlobal(ToolKind kind) {
  return [kind](World& w, const Json::Value& parameter) {
    const auto record = readToolRecord(kind, parameter);
    if (!record || !record->oldName.empty()) return badParameter();
    if (const int code = loadRefusal(record->tool.load); code != 0) return refuse(code);
    if (record->id < 0 || record->id > lastGlobal ||
        record->name != fmt::format("g_{}_{}", wordOf(kind), record->id))
      return refuse(-1);
    listOf(w, kind).global[record->name] = record->tool;
    return ok();
  };
}

}  // namespace

std::optional<Toolset> readToolset(const Json::Value& value, Names names) {
  const Json::Value& load = member(value, "load");
  const auto mass = readNumber(member(load, "mass"));
  const auto cog = readThree(member(load, "cog")), inertia = readThree(member(load, "inertia"));
  const auto end = readNamedFrame(member(value, "end"), names);
  const auto reference = readNamedFrame(member(value, "ref"), names);
  if (!mass || !cog || !inertia || !end || !reference) return std::nullopt;
  return Toolset{{*mass, *cog, *inertia}, *end, *reference};
}

Json::Value loadJson(const Load& load) {
  Json::Value value(Json::objectValue);
  value["mass"] = load.mass;
  value["cog"] = numbersJson(load.cog);
  value["inertia"] = numbersJson(load.inertia);
  return value;
}

Json::Value toolsetJson(const Toolset& toolset) {
  Json::Value value(Json::objectValue);
  value["load"] = loadJson(toolset.load);
  value["end"] = namedFrameJson(toolset.end);
  value["ref"] = namedFrameJson(toolset.reference);
  return value;
}

int loadRefusal(const Load& load) {
  const auto sensible = [](double length) { return std::abs(length) <= farthest; };
  if (load.mass < 0 || !std::ranges::all_of(load.cog, sensible)) return -60200;
  return load.mass > heaviest ? -10141 : 0;
}

void addToolHandlers(Handlers& h) {
  h.get("ix.coord.toolset", toolset);
  h.set("ix.coord.toolset", setToolset);
  h.command("sys.toolset.query", queryToolset);
  for (const ToolKind kind : {ToolKind::tool, ToolKind::workObject}) {
    const std::string word = wordOf(kind);
    h.get("project." + word + ".info", list(kind));
    h.get("project." + word + "s", projectNames(kind));
    h.command("project." + word, writeProject(kind));
    h.command("global." + word + "s.set.one", writeGlobal(kind));
  }
}

}  // namespace zivra::sim
