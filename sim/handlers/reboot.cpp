// Restarting and switching off the controller.
#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

Reply reboot(World& w, const Json::Value& parameter) {
  const bool shutdown = readText(member(parameter, "option")) == "shutdown";
  if (!parameter.isNull() && !shutdown) return badParameter();
  if (w.moving()) return refuse(-20);
  w.restart = shutdown ? Restart::shutdown : Restart::reboot;
  return ok();
}

}  // namespace

void addRebootHandlers(Handlers& h) { h.command("utils.reboot", reboot); }

}  // namespace zivra::sim
