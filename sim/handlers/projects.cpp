// Program projects: what there is, loading and running them.
#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr int kNotLoaded = -60005, kIsRunning = -20, kNothingToPause = -1;
constexpr double kSlowest = 0.01;

Reply list(World& w, const Json::Value&) {
  Json::Value projects(Json::arrayValue);
  for (const auto& [name, project] : w.programs.projects.all()) {
    Json::Value entry(Json::objectValue);
    entry["name"] = name;
    entry["tasks"] = Json::Value(Json::arrayValue);
    for (const auto& [task, programs] : project.tasks) entry["tasks"].append(task);
    projects.append(std::move(entry));
  }
  return answer(std::move(projects));
}

Reply load(World& w, const Json::Value& parameter) {
  const auto name = readText(member(parameter, "name"));
  const Json::Value& wanted = member(parameter, "tasks");
  if (!name || !wanted.isArray()) return badParameter();
  std::vector<std::string> tasks;
  for (const Json::Value& task : wanted) {
    const auto text = readText(task);
    if (!text) return badParameter();
    tasks.push_back(*text);
  }
  if (w.moving()) return refuse(kIsRunning);
  std::string complaint;
  const bool usesMotion = w.programs.runner.usesMotion();
  const int code = loadProgram(w.programs, *name, tasks, complaint);
  if (!complaint.empty()) w.log(code, complaint);
  if (code == 0 && usesMotion) w.motion.reset();  // what was paused is gone
  return result(code);
}

Reply toMain(World& w, const Json::Value& parameter) {
  if (!parameter.isNull()) return badParameter();
  ProgramRunner& program = w.programs.runner;
  if (!program.loaded()) return refuse(kNotLoaded);
  if (program.running()) return refuse(kIsRunning);
  program.toMain(w);
  return ok();
}

Reply start(World& w, const Json::Value& parameter) {
  return parameter.isNull() ? result(w.startProgram()) : badParameter();
}

Reply stop(World& w, const Json::Value& parameter) {
  if (!parameter.isNull()) return badParameter();
  if (!w.programs.runner.running()) return refuse(kNothingToPause);
  w.programs.runner.pause(w);
  return ok();
}

Reply setRunParameters(World& w, const Json::Value& parameter) {
  const auto rate = readNumber(member(parameter, "override"));
  const auto loop = readFlag(member(parameter, "loop_mode"));
  if (!rate || !loop) return badParameter();
  if (*rate < kSlowest || *rate > 1) return refuse(-50513);
  w.motion.setOverride(*rate);
  w.programs.runner.loop = *loop;
  return ok();
}

}  // namespace

void addProjectHandlers(Handlers& h) {
  h.get("project.list", list);
  h.command("project.load", load);
  h.command("project.pp.main", toMain);
  h.command("project.start", start);
  h.command("project.stop", stop);
  h.set("project.run_param", setRunParameters);
}

}  // namespace zivra::sim
