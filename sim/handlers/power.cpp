// Motor power.
#include "handlers/handlers.h"

namespace zivra::sim {

namespace {

Reply power(World& w, const Json::Value&) { return answer(w.powerText()); }

Reply powerOn(World& w, const Json::Value&) { return result(w.switchPowerOn()); }

Reply powerOff(World& w, const Json::Value&) {
  w.switchPowerOff();
  return ok();
}

}  // namespace

void addPowerHandlers(Handlers& h) {
  h.get("sys.power", power);
  h.command("sys.power.on", powerOn);
  h.command("sys.power.off", powerOff);
}

}  // namespace zivra::sim
