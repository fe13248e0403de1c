// The rail's parameters, and the tables of external axes and mechanical units. The rail is the first axis of
// the first unit; the second unit is a turn-and-tilt table of two axes. No unit is activated.
#include <algorithm>
#include <iterator>

#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr int kCantSet = -290, kMoving = -20;
constexpr double kFarthest = 100000;   // mm
constexpr double kLargestFrame = 100;  // m

struct Number {
  const char* key;
  double Rail::*field;
  double least, most;
};

constexpr Number kNumbers[] = {
    {"recolution_ratio", &Rail::encoderResolution, 1, 1e9},
    {"reduction_ratio", &Rail::reductionRatio, 1e-3, 1e6},
    {"motor_speed", &Rail::motorSpeed, 1, 1e5},
    {"max_speed", &Rail::maxSpeed, 1, 1e4},
    {"max_acc", &Rail::maxAcceleration, 1, 1e5},
    {"max_jerk", &Rail::maxJerk, 1, 1e6},
    {"soft_limit_lower", &Rail::softLower, -kFarthest, kFarthest},
    {"soft_limit_upper", &Rail::softUpper, -kFarthest, kFarthest},
    {"lower", &Rail::lower, -kFarthest, kFarthest},
    {"upper", &Rail::upper, -kFarthest, kFarthest},
};

Reply rail(World& w, const Json::Value&) {
  Json::Value value(Json::objectValue);
  for (const Number& number : kNumbers) value[number.key] = w.rail.*number.field;
  value["enable"] = w.rail.enabled;
  value["name"] = w.rail.name;
  value["base_frame"] = poseJson(w.rail.baseFrame);
  return answer(value);
}

// 0 or the code of the refusal.
int set(Rail& rail, const std::string& key, const Json::Value& value) {
  constexpr int wrongType = -260;
  if (key == "enable") {
    const auto on = readFlag(value);
    if (on) rail.enabled = *on;
    return on ? 0 : wrongType;
  }
  if (key == "name") {
    const auto name = readText(value);
    if (name) rail.name = *name;
    return !name ? wrongType : name->empty() ? kCantSet : 0;
  }
  const auto* number = std::ranges::find(kNumbers, key, [](const Number& n) { return std::string(n.key); });
  const auto given = readNumber(value);
  if (number == std::end(kNumbers) || !given) return wrongType;
  rail.*number->field = *given;
  return *given >= number->least && *given <= number->most ? 0 : kCantSet;
}

// All of it is taken, or nothing.
Reply setRail(World& w, const Json::Value& parameter) {
  if (!parameter.isObject() || parameter.empty()) return badParameter();
  if (w.moving()) return refuse(kMoving);
  Rail changed = w.rail;
  for (const std::string& key : parameter.getMemberNames()) {
    if (const int code = set(changed, key, parameter[key]); code != 0) return refuse(code);
  }
  if (!changed.isSound()) return refuse(kCantSet);
  w.rail = changed;
  return ok();
}

Reply setRailFrame(World& w, const Json::Value& parameter) {
  const auto frame = readPose(parameter);
  if (!frame) return badParameter();
  if (w.moving()) return refuse(kMoving);
  const bool near = std::ranges::all_of(
      frame->trans, [](double shift) { return shift >= -kLargestFrame && shift <= kLargestFrame; });
  if (near) w.rail.baseFrame = *frame;
  return data(near);
}

// What is the same for all axes here; the caller fills in the rest.
Json::Value axis(int number, const char* driver) {
  Json::Value value(Json::objectValue);
  value["ext_data_number"] = number;
  value["ext_axis_number"] = number;
  value["is_servo_gun"] = false;
  value["zero_value"] = 0.0;
  value["motor_overload_coefficient"] = 1.5;
  value["motor_torque_limiting"] = 3.0;
  value["rated_torque_of_motor"] = 2.4;
  value["resolution_ratio"] = 131072.0;
  value["joint_orient"] = 1;
  value["coordinate_calibrated"] = false;
  value["driver_name"] = driver;
  return value;
}

// A rotating axis: degrees.
Json::Value turningAxis(int number, double limit) {
  Json::Value value = axis(number, "drive of the table");
  value["max_speed"] = 180.0;
  value["max_acc"] = 720.0;
  value["max_jerk"] = 7200.0;
  value["max_motor_speed"] = 3000.0;
  value["reduction_ratio"] = 100.0;
  value["soft_limit_lower"] = -limit;
  value["soft_limit_upper"] = limit;
  return value;
}

Json::Value railAxis(const Rail& rail) {
  Json::Value value = axis(1, "drive of the rail");
  value["max_speed"] = rail.maxSpeed;
  value["max_acc"] = rail.maxAcceleration;
  value["max_jerk"] = rail.maxJerk;
  value["max_motor_speed"] = rail.motorSpeed;
  value["reduction_ratio"] = rail.reductionRatio;
  value["resolution_ratio"] = rail.encoderResolution;
  value["soft_limit_lower"] = rail.softLower;
  value["soft_limit_upper"] = rail.softUpper;
  const auto& frame = rail.baseFrame;
  const auto isSet = [](double part) { return part != 0; };
  value["coordinate_calibrated"] =
      std::ranges::any_of(frame.trans, isSet) || std::ranges::any_of(frame.rot, isSet);
  return value;
}

Json::Value unit(int order, const std::string& name, bool enabled, std::initializer_list<const char*> axes) {
  Json::Value value(Json::objectValue);
  value["activation"] = false;
  value["enable"] = enabled;
  value["fixed_name"] = "u" + std::to_string(order);
  value["unit_name"] = name;
  value["mech_link_type"] = order;
  value["order"] = order;
  for (const char* axis : axes) value["axes_info"].append(axis);
  return value;
}

Reply axes(World& w, const Json::Value&) {
  Json::Value rows(Json::objectValue);
  rows["axis1"] = railAxis(w.rail);
  rows["axis2"] = turningAxis(2, 120);
  rows["axis3"] = turningAxis(3, 3600);
  return data(rows);
}

Reply units(World& w, const Json::Value&) {
  Json::Value rows(Json::objectValue);
  rows["u1"] = unit(1, w.rail.name, w.rail.enabled, {"axis1"});
  rows["u2"] = unit(2, "table", true, {"axis2", "axis3"});
  return data(rows);
}

}  // namespace

void addRailHandlers(Handlers& h) {
  h.get("rail_param", rail);
  h.set("rail_param", setRail);
  h.command("rail.set_rail_frame", setRailFrame);
  h.command("ext_axis.get_axis_info", axes);
  h.command("ext_axis.get_mechanical_unit_info", units);
}

}  // namespace zivra::sim
