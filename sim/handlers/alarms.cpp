// Alarms and the way back from them.
#include "handlers/handlers.h"

namespace zivra::sim {

namespace {

Reply clearServoAlarm(World& w, const Json::Value&) {
  w.clearAlarms();
  return ok();
}

Reply resetEmergencyStop(World& w, const Json::Value&) { return result(w.resetEmergencyStop()); }

}  // namespace

void addAlarmHandlers(Handlers& h) {
  h.command("sys.servo.clear_alarm", clearServoAlarm);
  h.command("rsc.emer_stop.reset", resetEmergencyStop);
}

}  // namespace zivra::sim
