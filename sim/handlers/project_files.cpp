// Taking up files of program projects that came over the file link, and removing them.
#include <optional>
#include <utility>

#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr int kNotFound = -60005, kIsRunning = -20;

// How the controller tells what became of a file.
Reply outcome(const std::string& word, const char* nameMember, const std::string& name) {
  Json::Value value(Json::objectValue);
  value["f"] = word;
  if (!name.empty()) value[nameMember] = name;
  return data(std::move(value));
}

Reply importProject(World& w, const Json::Value& parameter) {
  if (!parameter.isNull()) return badParameter();
  const auto file = std::exchange(w.received, std::nullopt);
  const auto tell = [](const std::string& word, const std::string& name = {}) {
    return outcome(word, "project_name", name);
  };
  if (!file || file->function != "import_project") return tell("function_error");
  ProgramRunner& program = w.programs.runner;
  if (program.running() && program.project() == file->name && file->overwrite) return refuse(kIsRunning);
  const auto files = unzip(file->bytes);
  if (!files) return tell("false_project_zip");
  const auto name = w.programs.projects.add(file->name, *files, file->overwrite);
  return name ? tell("success", *name) : tell("false_project_zip");
}

Reply importFile(World& w, const Json::Value& parameter) {
  const auto project = readText(member(parameter, "project_name"));
  const auto extension = readText(member(parameter, "extension"));
  const Json::Value& taskName = member(parameter, "task_name");
  const auto task = readText(taskName);
  if (!project || !extension || (!task && !taskName.isNull()) || task == "") return badParameter();
  const auto file = std::exchange(w.received, std::nullopt);
  const auto tell = [](const std::string& word, const std::string& name = {}) {
    return outcome(word, "file_name", name);
  };
  if (!file || file->function != "import_project_file") return tell("function_error");
  const NewFile added{file->name, *extension, std::string(file->bytes.begin(), file->bytes.end()),
                      file->overwrite};
  std::string stored;
  const std::string word = w.programs.projects.addFile(*project, task.value_or(""), added, stored);
  return tell(word, stored);
}

Reply removeProject(World& w, const Json::Value& parameter) {
  const auto name = readText(member(parameter, "name"));
  const auto all = readFlag(member(parameter, "remove_all"));
  if (!name || !all) return badParameter();
  ProgramRunner& program = w.programs.runner;
  if (program.running() && (*all || program.project() == *name)) return refuse(kIsRunning);
  if (*all) {
    w.programs.projects.clear();
  } else if (!w.programs.projects.remove(*name)) {
    return failure(-1, "there is no such project");
  }
  if (*all || program.project() == *name) {
    if (program.usesMotion()) w.motion.reset();
    program.unload();
  }
  return ok();
}

Reply removeFiles(World& w, const Json::Value& parameter) {
  const Json::Value& list = member(parameter, "list");
  if (!list.isArray() || list.empty()) return badParameter();
  struct Entry {
    std::string project, task, file;
  };
  std::vector<Entry> entries;
  for (const Json::Value& element : list) {
    const auto project = readText(member(element, "project"));
    const auto task = readText(member(element, "task"));
    const Json::Value& fileName = member(element, "file");
    const auto file = readText(fileName);
    if (!project || !task || (!file && !fileName.isNull()) || file == "") return badParameter();
    entries.push_back({*project, *task, file.value_or("")});
  }
  // All or none.
  for (const Entry& entry : entries) {
    if (!w.programs.projects.has(entry.project, entry.task, entry.file)) return refuse(kNotFound);
    if (w.programs.runner.running() && w.programs.runner.project() == entry.project)
      return refuse(kIsRunning);
  }
  for (const Entry& entry : entries) w.programs.projects.removeFile(entry.project, entry.task, entry.file);
  return ok();
}

}  // namespace

void addProjectFileHandlers(Handlers& h) {
  h.command("ix.sdk.import_project", importProject);
  h.command("eci.file_transfer.import_project_file", importFile);
  h.command("ix.sdk.remove_project", removeProject);
  h.command("project.remove_files", removeFiles);
}

}  // namespace zivra::sim
