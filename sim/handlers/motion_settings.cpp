// The defaults of moves that name no speed or zone, and changes while the arm moves.
#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr double kFastest = 10.0;    // m/s
constexpr double kWidestZone = 1.0;  // m
constexpr double kSteepest = 2.0;    // of the usual acceleration and jerk

// A number within [least, most], stored where `field` says.
Handler setting(double MotionDefaults::*field, double least, double most) {
  return [=](World& w, const Json::Value& parameter) {
    const auto number = readNumber(parameter);
    if (!number || *number < least || *number > most) return badParameter();
    w.motion.defaults().*field = *number;
    return ok();
  };
}

Handler option(bool MotionDefaults::*field) {
  return [=](World& w, const Json::Value& parameter) {
    const auto on = readFlag(parameter);
    if (!on) return badParameter();
    w.motion.defaults().*field = *on;
    return ok();
  };
}

Reply overrideRate(World& w, const Json::Value& parameter) {
  const auto rate = readNumber(parameter);
  if (!rate || *rate < 0 || *rate > 1) return badParameter();
  w.motion.setOverride(*rate);
  return ok();
}

Reply acceleration(World& w, const Json::Value&) {
  Json::Value value(Json::objectValue);
  value["acc"] = w.motion.defaults().acceleration;
  value["jerk"] = w.motion.defaults().jerk;
  return answer(value);
}

Reply setAcceleration(World& w, const Json::Value& parameter) {
  const auto acc = readNumber(member(parameter, "acc"));
  const auto jerk = readNumber(member(parameter, "jerk"));
  const auto fits = [](double fraction) { return fraction >= 0.01 && fraction <= kSteepest; };
  if (!acc || !jerk || !fits(*acc) || !fits(*jerk)) return badParameter();
  w.motion.defaults().acceleration = *acc;
  w.motion.defaults().jerk = *jerk;
  return ok();
}

}  // namespace

void addMotionSettingHandlers(Handlers& h) {
  h.set("move.default_speed", setting(&MotionDefaults::speed, 0.001, kFastest));
  h.set("move.default_zone", setting(&MotionDefaults::zone, 0.0, kWidestZone));
  h.command("move.default_conf", option(&MotionDefaults::forceConf));
  h.command("move.ignore_zone", option(&MotionDefaults::ignoreZone));
  h.command("move.override_rate", overrideRate);
  h.get("move.acc", acceleration);
  h.set("move.acc", setAcceleration);
}

}  // namespace zivra::sim
