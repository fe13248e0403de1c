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

constexpr int kRefused = -1;

// Without names the whole tree; with names ("DI.DI0_3") a member for each signal that there is.
Reply readSignals(World& w, const Json::Value& parameter) {
  const Signals signals = w.signalsShown();
  Json::Value tree(Json::objectValue);
  tree["DI"] = groupJson(signals.di);
  tree["DO"] = groupJson(signals.out);
  tree["AI"] = groupJson(signals.ai);
  tree["AO"] = groupJson(signals.ao);
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

// "name" and "value", for one of the ways of setting a signal.
template <typename Read, typename Set>
Handler setter(Read read, Set set) {
  return [=](World& w, const Json::Value& parameter) {
    const auto name = readText(member(parameter, "name"));
    const auto value = read(member(parameter, "value"));
    if (!name || !value) return badParameter();
    return set(w.signals, *name, *value) ? ok() : refuse(kRefused);
  };
}

bool simulate(Signals& signals, const std::string& name, bool state) { return signals.simulate(name, state); }

template <typename Level>
bool drive(Signals& signals, const std::string& name, Level level) {
  return signals.drive(name, level);
}

template <bool on>
Reply switchSimulation(World& w, const Json::Value&) {
  w.signals.setSimulation(on);
  return ok();
}

Reply runParameters(World& w, const Json::Value& parameter) {
  if (!parameter.isNull() && !parameter.isObject()) return badParameter();
  Json::Value value(Json::objectValue);
  if (parameter.isNull() || parameter.isMember("override")) value["override"] = w.motion.overrideRate();
  if (parameter.isNull() || parameter.isMember("loop_mode")) value["loop_mode"] = w.programs.runner.loop;
  return answer(value);
}

}  // namespace

void addSignalHandlers(Handlers& h) {
  h.get("device.io", readSignals);
  h.command("device.io.simu.di", setter(readFlag, simulate));
  h.command("device.io.out.do", setter(readFlag, drive<bool>));
  h.command("device.io.out.ao", setter(readNumber, drive<double>));
  h.command("device.io.simu.on", switchSimulation<true>);
  h.command("device.io.simu.off", switchSimulation<false>);
  h.get("project.run_param", runParameters);
}

}  // namespace zivra::sim
