// Guiding by hand, and recorded paths.
#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr int kJointSpace = 0, kCartesianSpace = 1;
constexpr Guiding::Freedom kFreedoms[] = {Guiding::Freedom::translation, Guiding::Freedom::rotation,
                                          Guiding::Freedom::all};
constexpr int kAllFreedoms = 2;

Handler guide(bool realTime) {
  return [=](World& w, const Json::Value& parameter) {
    const auto enable = readFlag(member(parameter, "enable"));
    const Json::Value &space = member(parameter, "space"), &type = member(parameter, "type");
    const Json::Value& quick = member(parameter, "quick");
    if (!enable || !space.isInt() || !type.isInt() || !(quick.isNull() || quick.isBool())) {
      return badParameter();
    }
    if (!*enable) return result(w.endGuiding(realTime));
    const int freedom = type.asInt();
    if (freedom < 0 || freedom > kAllFreedoms) return badParameter();
    if (space != kCartesianSpace && !(space == kJointSpace && freedom == kAllFreedoms)) return badParameter();
    return result(w.startGuiding(realTime, kFreedoms[freedom]));
  };
}

Reply startRecording(World& w, const Json::Value& parameter) {
  const auto duration = readNumber(member(parameter, "duration"));
  if (readText(member(parameter, "type")) != "time" || !member(parameter, "signals").isArray()) {
    return badParameter();
  }
  if (!duration || !(*duration > 0 && *duration <= Recorder::kLongest)) return badParameter();
  if (!w.guiding.on()) return refuse(-18);
  return result(w.guiding.recorder.start(*duration, w.motion, w.moving()));
}

Reply stopRecording(World& w, const Json::Value&) {
  return result(w.guiding.recorder.stop(w.motion, w.moving()));
}

Reply cancelRecording(World& w, const Json::Value&) { return result(w.guiding.recorder.cancel()); }

Reply savePath(World& w, const Json::Value& parameter) {
  const auto name = readText(member(parameter, "name"));
  const Json::Value& as = member(parameter, "as");
  if (!name || name->empty() || !(as.isNull() || (as.isString() && !as.asString().empty()))) {
    return badParameter();
  }
  if (!w.powered()) return refuse(-342);
  return result(w.guiding.recorder.save(*name, as.isNull() ? "" : as.asString()));
}

Reply removePath(World& w, const Json::Value& parameter) {
  const auto name = readText(parameter);
  return name ? result(w.guiding.recorder.remove(*name)) : badParameter();
}

}  // namespace

void addGuidingHandlers(Handlers& h) {
  h.command("sys.drag", guide(false));
  h.command("eci.drag", guide(true));
  h.command("move.record.start", startRecording);
  h.command("move.record.stop", stopRecording);
  h.command("move.record.cancel", cancelRecording);
  h.command("move.record.save", savePath);
  h.command("move.record.remove", removePath);
  h.command("move.record.remove.all", [](World& w, const Json::Value&) {
    w.guiding.recorder.removeAll();
    return ok();
  });
  h.get("move.record.paths", [](World& w, const Json::Value&) {
    Json::Value names(Json::arrayValue);
    for (const std::string& name : w.guiding.recorder.names()) names.append(name);
    return answer(names);
  });
}

}  // namespace zivra::sim
