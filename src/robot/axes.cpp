// What depends on work type and count of axes: connecting, and readings of a length fixed at compile time.
#include <zivra/robot.h>

#include "core/json.h"
#include "core/wire_forms.h"
#include "robot/operation.h"

namespace zivra {

using internal::Operation;

namespace {

// The controller doesn't ask robots of 3 and 4 axes where their state stream goes.
constexpr bool tellsLocalAddress(WorkType wt, unsigned short dof) {
  return wt == WorkType::collaborative || dof > 4;
}

// Each member of an object as (name, value); false if one can't be read.
template <class Value, class Read>
bool appendSignals(const Json::Value& object, Read read, std::vector<std::pair<std::string, Value>>& out) {
  if (!object.isObject()) return object.isNull();
  for (auto it = object.begin(); it != object.end(); ++it) {
    const auto value = read(*it);
    if (!value) return false;
    out.emplace_back(it.name(), *value);
  }
  return true;
}

// False if something in it can't be understood.
bool readRest(const Json::Value& values, StateList& list) {
  bool malformed = false;
  list.cart_pos = internal::readCartesian(internal::member(values, "sys.posture"), &malformed);
  if (malformed) return false;

  const Json::Value& io = internal::member(values, "device.io");
  for (const char* kind : {"DI", "DO"}) {
    if (!appendSignals(internal::member(io, kind), internal::asTruth, list.digital_signals)) return false;
  }
  for (const char* kind : {"AI", "AO"}) {
    if (!appendSignals(internal::member(io, kind), internal::asNumber, list.analog_signals)) return false;
  }

  const Json::Value& mode = internal::member(values, "sys.mode");
  if (!mode.isNull() && !mode.isString()) return false;
  list.operation_mode = internal::textOr(mode) == "auto" ? OperateMode::automatic : OperateMode::manual;

  const Json::Value& scale = internal::member(internal::member(values, "project.run_param"), "override");
  if (scale.isNull()) return true;
  const auto number = internal::asNumber(scale);
  list.speed_override = number.value_or(0);
  return number.has_value();
}

}  // namespace

template <WorkType wt, unsigned short dof>
Robot_T<wt, dof>::Robot_T() = default;

template <WorkType wt, unsigned short dof>
Robot_T<wt, dof>::Robot_T(const std::string& remoteIP, const std::string& localIP) {
  impl().reconnect(remoteIP, tellsLocalAddress(wt, dof) ? localIP : "", wt, dof);
}

template <WorkType wt, unsigned short dof>
Robot_T<wt, dof>::~Robot_T() = default;

template <WorkType wt, unsigned short dof>
void Robot_T<wt, dof>::connectToRobot(const std::string& remoteIP, const std::string& localIP) {
  impl().connect(remoteIP, localIP, wt, dof, tellsLocalAddress(wt, dof));
}

template <WorkType wt, unsigned short dof>
void Robot_T<wt, dof>::connectToRobot(std::error_code& ec) noexcept {
  impl().reconnect(wt, dof, ec);
}

template <WorkType wt, unsigned short dof>
std::array<double, dof> Robot_T<wt, dof>::jointTorque(std::error_code& ec) noexcept {
  std::array<double, dof> torque{};
  Operation(impl(), ec).get("sys.rt.jnt_trq").numbers(torque.data(), dof, Code::axisMismatch);
  return torque;
}

template <WorkType wt, unsigned short dof>
StateList Robot_T<wt, dof>::getStateList(std::error_code& ec) noexcept {
  Json::Value scale;
  scale["override"] = Json::Value();
  auto reply = Operation(impl(), ec)
                   .getMany({"sys.rt.jnt_pos", "sys.posture", "device.io", "sys.mode", "project.run_param"},
                            {{}, {}, {}, {}, scale});
  if (reply.failed()) return {};

  StateList list;
  list.joint_pos.assign(dof, 0.0);
  internal::Reply joints(ec, internal::member(reply.value(), "sys.rt.jnt_pos"));
  if (!joints.numbers(list.joint_pos.data(), dof, Code::axisMismatch)) return list;
  if (readRest(reply.value(), list)) return list;
  reply.fail(Code::responseUnresolved);
  return {};
}

template class Robot_T<WorkType::collaborative, 5>;
template class Robot_T<WorkType::collaborative, 6>;
template class Robot_T<WorkType::collaborative, 7>;
template class Robot_T<WorkType::industrial, 3>;
template class Robot_T<WorkType::industrial, 4>;
template class Robot_T<WorkType::industrial, 6>;

}  // namespace zivra
