// Manual and automatic mode, the state of operation, and who controls the arm.
#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

Reply mode(World& w, const Json::Value&) { return answer(w.modeText()); }

Reply switchMode(World& w, const Json::Value& parameter) {
  const auto text = readText(parameter);
  if (text != "auto" && text != "manual") return badParameter();
  if (w.moving()) return refuse(-20);
  if (w.taskSpace != TaskSpace::idle || w.guiding.on()) return refuse(-18);
  if (w.force.running()) return refuse(-41459);
  w.mode = text == "auto" ? OperateMode::automatic : OperateMode::manual;
  return ok();
}

Reply state(World& w, const Json::Value&) { return answer(w.stateText()); }

Reply enableRealTime(World& w, const Json::Value& parameter) {
  const auto protocol = readText(member(parameter, "protocol_version"));
  if (!protocol || protocol->rfind("sdk", 0) != 0) return refuse(-28688);
  if (w.safety.estopLatched) return refuse(-28710);
  if (w.safety.collided) return refuse(-28709);
  if (!w.powered()) return refuse(-17);
  if (w.moving()) return refuse(-20);
  if (w.guiding.on()) return refuse(-18);
  if (w.motion.pending()) return refuse(-28706);  // moves wait to be continued
  if (w.force.running()) return refuse(-41459);
  w.taskSpace = TaskSpace::realTime;
  return ok();
}

Reply disableRealTime(World& w, const Json::Value&) {
  w.leaveGuiding();
  w.taskSpace = TaskSpace::idle;
  return ok();
}

Reply setTeachPendant(World& w, const Json::Value& parameter) {
  const auto with = readFlag(member(parameter, "with"));
  if (!with) return badParameter();
  w.teachPendant = *with;
  return ok();
}

}  // namespace

void addModeHandlers(Handlers& h) {
  h.get("sys.mode", mode);
  h.command("sys.mode.switch", switchMode);
  h.get("sys.state", state);
  h.command("eci.enable", enableRealTime);
  h.command("eci.disable", disableRealTime);
  h.command("sys.set_teach_pendant", setTeachPendant);
}

}  // namespace zivra::sim
