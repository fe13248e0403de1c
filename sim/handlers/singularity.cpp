// How moves pass singular places. One way at a time; each has its condition.
#include <cmath>

#include "handlers/handlers.h"
#include "handlers/values.h"
#include "motion/angles.h"

namespace zivra::sim {

namespace {

constexpr double kStraight = 1e-3;         // rad: within this the fourth axis stands at zero
constexpr double kWidestThreshold = 90.0;  // degrees, and the most of what the joint way takes

Reply flag(bool on) { return answer(on ? "on" : "off"); }

bool hasSixAxes(const World& w) { return w.identity.model.axes == 6; }

Reply lockedAxis4(World& w, const Json::Value&) { return flag(w.motion.defaults().lockAxis4); }

Reply lockAxis4(World& w, const Json::Value& parameter) {
  const auto on = readFlag(parameter);
  if (!on) return badParameter();
  if (w.moving()) return refuse(-20);
  MotionDefaults& settings = w.motion.defaults();
  const bool otherWay = settings.wristTolerance > 0 || settings.jointWay;
  if (*on && (!hasSixAxes(w) || otherWay || std::abs(w.motion.joints()[3]) > kStraight))
    return refuse(-60702);
  settings.lockAxis4 = *on;
  return ok();
}

// A switch with a threshold; `change` gets what to set, or refuses by false.
template <typename Change>
Handler thresholdSwitch(int refusal, Change change) {
  return [=](World& w, const Json::Value& parameter) {
    const auto on = readFlag(member(parameter, "enable"));
    const auto threshold = readNumber(member(parameter, "threshold"));
    if (!on || !threshold) return badParameter();
    if (w.moving()) return refuse(-20);
    const bool fits = hasSixAxes(w) && *threshold > 0 && *threshold <= kWidestThreshold;
    if ((*on && !fits) || !change(w, *on, *threshold)) return refuse(refusal);
    return ok();
  };
}

Reply wristWay(World& w, const Json::Value&) { return flag(w.motion.defaults().wristTolerance > 0); }

bool setWristWay(World& w, bool on, double threshold) {
  MotionDefaults& settings = w.motion.defaults();
  if (on && (settings.lockAxis4 || settings.jointWay)) return false;
  settings.wristTolerance = on ? threshold * kDegree : 0;
  return true;
}

Reply jointWay(World& w, const Json::Value&) { return flag(w.motion.defaults().jointWay); }

// The threshold is judged but not used: the joint way is taken wherever the path itself can't be.
bool setJointWay(World& w, bool on, double) {
  MotionDefaults& settings = w.motion.defaults();
  if (on && (settings.lockAxis4 || settings.wristTolerance > 0 || w.identity.model.collaborative))
    return false;
  settings.jointWay = on;
  return true;
}

Reply completePostureLerp(World& w, const Json::Value& parameter) {
  const auto on = readFlag(member(parameter, "enable"));
  if (!on) return badParameter();
  if (w.identity.model.axes != 5) return refuse(-50525);
  w.motion.defaults().completePosture = *on;
  return ok();
}

}  // namespace

void addSingularityHandlers(Handlers& h) {
  h.get("move.avoid_singularity", lockedAxis4);
  h.command("move.avoid_singularity", lockAxis4);
  h.get("move.avoid_sing_wrist", wristWay);
  h.command("move.avoid_sing_wrist", thresholdSwitch(-60704, setWristWay));
  h.get("move.avoid_sing_joint_way", jointWay);
  h.command("move.avoid_sing_joint_way", thresholdSwitch(-60706, setJointWay));
  h.command("sys.completePostureLerp", completePostureLerp);
}

}  // namespace zivra::sim
