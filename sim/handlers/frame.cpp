// Where the robot's base stands in the world.
#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

Reply baseFrame(World& w, const Json::Value&) { return answer(poseJson(w.baseFrame())); }

Reply setBaseFrame(World& w, const Json::Value& parameter) {
  const auto frame = readPose(parameter);
  if (!frame) return badParameter();
  if (w.moving()) return refuse(-20);
  if (w.force.running()) return refuse(-41459);
  w.setBaseFrame(*frame);
  return ok();
}

}  // namespace

void addFrameHandlers(Handlers& h) {
  h.get("ix.coord.base_in_world", baseFrame);
  h.set("ix.coord.base_in_world", setBaseFrame);
}

}  // namespace zivra::sim
