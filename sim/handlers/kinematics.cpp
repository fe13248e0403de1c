// Questions about the arm's kinematics. Nothing moves.
#include <fmt/format.h>

#include "handlers/handlers.h"
#include "handlers/points.h"
#include "handlers/toolset_values.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

// The toolset of the question, or the one in force.
std::optional<Toolset> toolsetOf(const World& w, const Json::Value& question) {
  const Json::Value& given = member(question, "tool_set");
  return given.isNull() ? w.tools.inForce : readToolset(given, Names::absent);
}

Pose flangeFor(const World& w, const Toolset& toolset, const Pose& tool) {
  return compose(compose(w.referenceInBase(toolset), tool), inverse(toolset.end.frame));
}

Reply forward(World& w, const Json::Value& question) {
  const auto joints = readNumbers(question.isObject() ? member(question, "jnt_pos") : question, 0);
  const auto toolset = toolsetOf(w, question);
  if (!joints || !toolset) return badParameter();
  const Arm& arm = w.motion.arm();
  if (joints->size() != arm.axes()) return refuse(-50512);
  const Pose tool = compose(arm.flange(*joints), toolset->end.frame);
  Json::Value value = poseJson(compose(inverse(w.referenceInBase(*toolset)), tool));
  value["elb"] = arm.elbow(*joints);
  value["conf"] = numbersJson(arm.conf(*joints));
  return data(value);
}

Reply inverseOf(World& w, const Json::Value& question) {
  Target target;
  const auto elbow = readNumbers(member(question, "redundant"), 1);
  const auto toolset = toolsetOf(w, question);
  if (!readTarget(question, target) || !elbow || !toolset) return badParameter();
  const Arm::Solution solution = w.motion.arm().inverse(flangeFor(w, *toolset, target.pose), elbow->front(),
                                                        w.motion.joints(), target.conf);
  if (solution.code == 0) return data(numbersJson(solution.joints));
  return failure(solution.code, fmt::format("the pose has no solution ({})", solution.code));
}

Reply allInverse(World& w, const Json::Value& question) {
  Target target;
  if (!readTarget(question, target) || member(question, "elb").isNull()) return badParameter();
  const Arm& arm = w.motion.arm();
  Json::Value value(Json::objectValue);
  Json::Value& result = value["result"] = Json::Value(Json::arrayValue);
  for (const Joints& joints : arm.allSolutions(flangeFor(w, w.tools.inForce, target.pose), target.elbow)) {
    Json::Value& solution = result.append(Json::Value(Json::objectValue));
    solution["jnt"] = numbersJson(joints);
    solution["conf"] = numbersJson(arm.conf(joints));
  }
  return data(value);
}

// Row after row a, alpha, d, theta [m, rad]. The full set has beta behind them, the tilt about y of axes that
// are no longer parallel: these arms are as they were designed. Industrial arms have never been measured.
Reply configuration(World& w, const Json::Value& question) {
  const auto key = readText(member(question, "key"));
  const Json::Value& form = member(question, "func");
  if (!key || readText(member(question, "type")) != "json" || (!form.isNull() && readText(form) != "std"))
    return badParameter();
  const bool full = key == "KINEMATICS.DH_PARAMS_ALL";
  if (!full && key != "KINEMATICS.DH_PARAMS") return badParameter();
  if (full && !w.identity.model.collaborative) return data(Json::Value());
  Json::Value numbers(Json::arrayValue);
  for (const DhRow& row : w.motion.arm().dhParameters()) {
    for (const double number : {row.a, row.alpha, row.d, row.theta}) numbers.append(number);
    if (full) numbers.append(0.0);
  }
  return data(numbers);
}

}  // namespace

void addKinematicsHandlers(Handlers& h) {
  h.command("sys.calc.fk", forward);
  h.command("sys.calc.ik", inverseOf);
  h.command("utils.calc.all.ik", allInverse);
  h.command("cfg.get", configuration);
}

}  // namespace zivra::sim
