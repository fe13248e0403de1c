// Where the arm is and what its joints feel.
#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

Reply jointPositions(World& w, const Json::Value&) { return answer(numbersJson(w.motion.joints())); }

Reply jointVelocities(World& w, const Json::Value&) { return answer(numbersJson(w.motion.velocities())); }

Reply jointTorques(World& w, const Json::Value&) {
  return answer(numbersJson(w.force.torques(w, ForceControl::Frame::world).measured));
}

Reply position(const World& w, const Pose& pose) {
  Json::Value value = poseJson(pose);
  value["elb"] = w.motion.arm().elbow(w.motion.joints());
  value["conf"] = numbersJson(w.motion.arm().conf(w.motion.joints()));
  return answer(value);
}

Reply toolInReference(World& w, const Json::Value&) { return position(w, w.motion.toolInReference()); }

Reply flangeInBase(World& w, const Json::Value&) {
  return position(w, w.motion.arm().flange(w.motion.joints()));
}

}  // namespace

void addReadingHandlers(Handlers& h) {
  h.get("sys.rt.jnt_pos", jointPositions);
  h.get("sys.rt.jnt_vel", jointVelocities);
  h.get("sys.rt.jnt_trq", jointTorques);
  h.get("sys.posture", toolInReference);
  h.get("sys.posture.flan_in_base", flangeInBase);
}

}  // namespace zivra::sim
