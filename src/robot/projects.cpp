// Program projects: what there is, and running one.
#include <zivra/base_robot.h>

#include "robot/operation.h"

namespace zivra {

using internal::Operation;

namespace {

Json::Value texts(const std::vector<std::string>& list) {
  Json::Value value(Json::arrayValue);
  for (const std::string& text : list) value.append(text);
  return value;
}

// False if the element can't be understood.
bool readProject(const Json::Value& element, RLProjectInfo& project) {
  const Json::Value& name = internal::member(element, "name");
  const Json::Value& tasks = internal::member(element, "tasks");
  if (!element.isObject() || !(name.isNull() || name.isString())) return false;
  project.name = internal::textOr(name);
  if (project.name.empty() || !tasks.isArray()) return true;
  for (const Json::Value& task : tasks) {
    auto text = internal::asText(task);
    if (!text) return false;
    project.taskList.push_back(std::move(*text));
  }
  return true;
}

// Nothing is sent unless the robot was switched to program tasks once; `what` is the operation's name.
bool commandsPrograms(Operation& op, const BaseRobot::Impl& impl, const char* what, std::error_code& ec) {
  if (impl.hasRlTask()) return true;
  ec = Code::motionControlMode;
  op.error("{} control mode error {} ({})", what, impl.mode.load(), ec);
  return false;
}

// An operation that consists of one command without parameters.
void run(BaseRobot::Impl& impl, const char* what, const char* key, std::error_code& ec) {
  Operation op(impl, ec, "{}", what);
  if (!commandsPrograms(op, impl, what, ec)) return;
  op.command(key).code();
  op.end("{} end ({})", what, ec);
}

}  // namespace

std::vector<RLProjectInfo> BaseRobot::projectsInfo(std::error_code& ec) noexcept {
  auto reply = Operation(impl(), ec).get("project.list");
  std::vector<RLProjectInfo> projects;
  if (reply.failed()) return projects;
  if (!reply.value().isArray()) {
    ec = internal::protocolMismatch();
    return projects;
  }
  for (const Json::Value& element : reply.value()) {
    RLProjectInfo project;
    if (!readProject(element, project)) {
      reply.fail(Code::responseUnresolved);
      return {};
    }
    if (!project.name.empty()) projects.push_back(std::move(project));
  }
  return projects;
}

void BaseRobot::loadProject(const std::string& name, const std::vector<std::string>& tasks,
                            std::error_code& ec) noexcept {
  Operation op(impl(), ec, "loadProject {}, {}", name, tasks);
  if (!commandsPrograms(op, impl(), "loadProject", ec)) return;
  if (name.empty() || tasks.empty()) {
    ec = Code::argumentInvalid;
    return op.error("loadProject name or task list is empty ({})", ec);
  }
  Json::Value project;
  project["name"] = name;
  project["tasks"] = texts(tasks);
  op.command("project.load", project).code();
  op.end("loadProject end, name: {}, tasks: {} ({})", name, tasks, ec);
}

void BaseRobot::ppToMain(std::error_code& ec) noexcept { run(impl(), "ppToMain", "project.pp.main", ec); }
void BaseRobot::runProject(std::error_code& ec) noexcept { run(impl(), "runProject", "project.start", ec); }
void BaseRobot::pauseProject(std::error_code& ec) noexcept {
  run(impl(), "pauseProject", "project.stop", ec);
}

void BaseRobot::setProjectRunningOpt(double rate, bool loop, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setProjectRunningOpt {}, {}", rate, loop);
  if (!(rate >= 0.01 && rate <= 1.0)) {
    ec = Code::parameterExceedsLimit;
    return op.error("setProjectRunningOpt {} over-range ({})", rate, ec);
  }
  Json::Value options;
  options["override"] = rate;
  options["loop_mode"] = loop;
  op.set("project.run_param", options);
  op.end("setProjectRunningOpt end, rate: {}, loop: {} ({})", rate * 100, loop, ec);
}

}  // namespace zivra
