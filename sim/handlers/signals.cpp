// Signals, and the running parameters that stand beside them in the list of states.
#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

template <typename Group>
Json::Value groupJson(const Group& group) {
  Json::Value value(Json::objectValue);
  for (const auto& [name, level] : group) value[name] = level;
  return value;
}

// Without names the whole tree; with names ("DI.DI0_3") a member for each signal that there is.
Reply signals(World& w, const Json::Value& parameter) {
  Json::Value tree(Json::objectValue);
  tree["DI"] = groupJson(w.signals.di);
  tree["DO"] = groupJson(w.signals.out);
  tree["AI"] = groupJson(w.signals.ai);
  tree["AO"] = groupJson(w.signals.ao);
  if (parameter.isNull()) return answer(tree);
  if (!parameter.isObject()) return badParameter();
  Json::Value named(Json::objectValue);
  for (const std::string& path : parameter.getMemberNames()) {
    const auto dot = path.find('.');
    if (dot == std::string::npos) continue;
    const Json::Value& signal = member(member(tree, path.substr(0, dot)), path.substr(dot + 1));
    if (!signal.isNull()) named[path] = signal;
  }
  return answer(named);
}

Reply runParameters(World& w, const Json::Value& parameter) {
  if (!parameter.isNull() && !parameter.isObject()) return badParameter();
  Json::Value value(Json::objectValue);
  if (parameter.isNull() || parameter.isMember("override")) value["override"] = w.motion.overrideRate();
  return answer(value);
}

}  // namespace

void addSignalHandlers(Handlers& h) {
  h.get("device.io", signals);
  h.get("project.run_param", runParameters);
}

}  // namespace zivra::sim
