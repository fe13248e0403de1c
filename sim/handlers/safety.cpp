// Collision detection, limits of the axes, zero of the torque sensors.
#include <algorithm>

#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

using Reaction = CollisionDetection::Reaction;

constexpr double kMostSensitive = 2.0;
constexpr int kAlreadyOn = -1;

Reply switchCollisionDetection(World& w, const Json::Value& parameter) {
  const auto enable = readFlag(member(parameter, "enable"));
  if (!enable) return badParameter();
  CollisionDetection& present = w.protection.collisions;
  if (!*enable) {
    present.on = false;
    return ok();
  }
  const Json::Value& action = member(parameter, "action");
  const auto sensitivity = readNumbers(member(parameter, "sensitivity"), 0);
  const auto behaviour = readText(member(action, "behaviour"));
  if (!sensitivity || sensitivity->size() != w.identity.model.axes || !behaviour) return badParameter();
  const auto sensible = [](double value) { return value > 0 && value <= kMostSensitive; };
  if (!std::all_of(sensitivity->begin(), sensitivity->end(), sensible)) return badParameter();
  CollisionDetection wanted{true, *sensitivity};
  if (*behaviour == "fcimpedstop") {
    const auto compliance = readNumber(member(parameter, "compliance"));
    if (!compliance || !(*compliance >= 0 && *compliance <= 1)) return badParameter();
    wanted.reaction = Reaction::yield;
    wanted.compliance = *compliance;
  } else {
    const auto fallback = readNumber(member(action, "fallback"));
    if ((*behaviour != "stop1" && *behaviour != "pause") || !fallback || *fallback < 0) return badParameter();
    wanted.reaction = *behaviour == "pause" ? Reaction::pause : Reaction::stop;
    wanted.fallback = *fallback;
  }
  // It takes torque sensors to do more than to stop.
  if (wanted.reaction != Reaction::stop && !w.identity.model.collaborative) return badParameter();
  if (present.on) return refuse(kAlreadyOn);
  present = wanted;
  return ok();
}

Reply softLimits(World& w, const Json::Value&) {
  Json::Value value(Json::objectValue);
  value["enable"] = w.protection.softLimitsOn();
  value["lower"] = numbersJson(w.protection.lower());
  value["upper"] = numbersJson(w.protection.upper());
  return answer(value);
}

Reply setSoftLimits(World& w, const Json::Value& parameter) {
  const auto enable = readFlag(member(parameter, "enable"));
  const auto lower = readNumbers(member(parameter, "lower"), 0);
  const auto upper = readNumbers(member(parameter, "upper"), 0);
  if (!enable || !lower || !upper || lower->size() != upper->size()) return badParameter();
  if (!lower->empty() && lower->size() != w.identity.model.axes) return badParameter();
  for (std::size_t i = 0; i < lower->size(); ++i) {
    if (!((*lower)[i] < (*upper)[i])) return badParameter();
  }
  if (w.moving()) return refuse(-20);
  if (w.force.running()) return refuse(-41459);
  if (w.motion.pending()) return refuse(-18);  // moves that were planned with other limits
  return result(w.protection.setSoftLimits(w.motion, *enable, *lower, *upper));
}

Reply calibrateForceSensor(World& w, const Json::Value& parameter) {
  std::vector<double>& drift = w.protection.torqueDrift;
  const Json::Value& index = member(parameter, "index");
  if (!parameter.isNull() && (!index.isInt() || index.asInt() < 0 || index.asUInt() >= drift.size())) {
    return badParameter();
  }
  if (w.moving()) return refuse(-20);
  if (parameter.isNull()) {
    std::fill(drift.begin(), drift.end(), 0.0);
  } else {
    drift[index.asUInt()] = 0;
  }
  return ok();
}

}  // namespace

void addSafetyHandlers(Handlers& h) {
  h.command("safety.collision_detection", switchCollisionDetection);
  h.get("safety.soft_limit", softLimits);
  h.command("safety.soft_limit", setSoftLimits);
  h.command("utils.calibrate_force_sensor", calibrateForceSensor);
}

}  // namespace zivra::sim
