// The defaults of moves that name no speed or zone, and changes while the arm moves.
#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr double kFastest = 10.0;                                     // m/s
constexpr double kWidestZone = 1.0;                                   // m
constexpr double kGentlest = 0.05, kSteepest = 2.0, kRoughest = 3.0;  // of the usual acceleration and jerk

// A number within [least, most], stored where `field` says; another number is refused with `refusal`.
Handler setting(double MotionDefaults::*field, double least, double most, int refusal) {
  return [=](World& w, const Json::Value& parameter) {
    const auto number = readNumber(parameter);
    if (!number) return badParameter();
    if (*number < least || *number > most) return refuse(refusal);
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
  if (!rate) return badParameter();
  if (*rate < 0 || *rate > 1) return refuse(-50513);
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
  if (!acc || !jerk) return badParameter();
  if (*acc < kGentlest || *acc > kSteepest || *jerk < kGentlest || *jerk > kRoughest) return refuse(-290);
  w.motion.defaults().acceleration = *acc;
  w.motion.defaults().jerk = *jerk;
  return ok();
}

}  // namespace

void addMotionSettingHandlers(Handlers& h) {
  h.set("move.default_speed", setting(&MotionDefaults::speed, 0.001, kFastest, -50513));
  h.set("move.default_zone", setting(&MotionDefaults::zone, 0.0, kWidestZone, -290));
  h.command("move.default_conf", option(&MotionDefaults::forceConf));
  h.command("move.ignore_zone", option(&MotionDefaults::ignoreZone));
  h.command("move.override_rate", overrideRate);
  h.get("move.acc", acceleration);
  h.set("move.acc", setAcceleration);
}

}  // namespace zivra::sim
