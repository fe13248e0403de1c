// What has one element for each axis.
#include <limits>

#include <zivra/robot.h>

#include "core/wire_forms.h"
#include "force_control/force_operation.h"

namespace zivra {

using internal::ForceOperation;

namespace {

const char* endTorqueKey(FrameType type) {
  switch (type) {
    case FrameType::world:
      return "eci.fc.end_torque.ref_world";
    case FrameType::flange:
      return "eci.fc.end_torque.ref_flange";
    case FrameType::tool:
      return "eci.fc.end_torque.ref_tcp";
    default:
      return nullptr;
  }
}

}  // namespace

template <unsigned short dof>
ForceControl_T<dof> Cobot<dof>::forceControl() {
  return ForceControl_T<dof>(this->impl().service);
}

template <unsigned short dof>
ForceControl_T<dof>::ForceControl_T(std::shared_ptr<XService> service)
    : BaseForceControl(std::move(service)) {}

template <unsigned short dof>
ForceControl_T<dof>::~ForceControl_T() = default;

template <unsigned short dof>
void ForceControl_T<dof>::setJointStiffness(const std::array<double, dof>& stiffness,
                                            std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec).setValues("setJointStiffness", "joint_stiff", stiffness);
}

template <unsigned short dof>
void ForceControl_T<dof>::setJointDesiredTorque(const std::array<double, dof>& torque,
                                                std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec).setValues("setJointDesiredTorque", "joint_trq", torque);
}

template <unsigned short dof>
void ForceControl_T<dof>::getEndTorque(FrameType ref_type, std::array<double, dof>& joint_torque_measured,
                                       std::array<double, dof>& external_torque_measured,
                                       std::array<double, 3>& cart_torque, std::array<double, 3>& cart_force,
                                       std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  const char* key = endTorqueKey(ref_type);
  if (key == nullptr) {
    ec = Code::argumentInvalid;
    return;
  }
  auto reply = op.get(key);
  if (reply.failed()) return;
  const Json::Value& value = reply.value();
  if (const auto code = internal::wholeNumber(value)) {
    ec = {*code, category()};
    return;
  }
  const Json::Value& cart = internal::member(value, "cart");
  const auto read = [](const Json::Value& array, auto& out) {
    return internal::readArray(array, out.data(), out.size()) == 0;
  };
  // What was read before a failure stays.
  const bool complete = read(internal::member(value, "joint"), joint_torque_measured) &&
                        read(internal::member(value, "external"), external_torque_measured) &&
                        read(internal::member(cart, "force"), cart_force) &&
                        read(internal::member(cart, "torque"), cart_torque);
  if (!complete) reply.fail(Code::axisMismatch);
}

template <unsigned short dof>
void ForceControl_T<dof>::setJointMaxVel(const std::array<double, dof>& velocity,
                                         std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec)
      .limit("setJointMaxVel", "joint_vel_max", velocity, std::numeric_limits<double>::max());
}

template <unsigned short dof>
void ForceControl_T<dof>::setJointMaxMomentum(const std::array<double, dof>& momentum,
                                              std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec)
      .limit("setJointMaxMomentum", "joint_momentum_max", momentum, std::numeric_limits<double>::max());
}

template <unsigned short dof>
void ForceControl_T<dof>::setJointMaxEnergy(const std::array<double, dof>& energy,
                                            std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec)
      .limit("setJointMaxEnergy", "joint_energy_max", energy, std::numeric_limits<double>::max());
}

template <unsigned short dof>
void ForceControl_T<dof>::setJointControlMaxTorque(const std::array<double, dof>& max_torque,
                                                   std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec)
      .limit("setJointControlMaxTorque", "jnt_ctrl_max_torque", max_torque, 1000);
}

template <unsigned short dof>
void ForceControl_T<dof>::setJointControlMaxVel(const std::array<double, dof>& max_joint_vel,
                                                std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec).limit("setJointControlMaxVel", "jnt_ctrl_max_vel", max_joint_vel, 10);
}

template <unsigned short dof>
void ForceControl_T<dof>::setFcGain(const std::array<double, dof>& gain, std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec).limit("setFcGain", "gain_value", gain, 60);
}

template <unsigned short dof>
void ForceControl_T<dof>::setFriction(const std::array<double, dof>& fric, std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec).limit("setFriction", "friction", fric, 1);
}

template ForceControl_T<5> Cobot<5>::forceControl();
template ForceControl_T<6> Cobot<6>::forceControl();
template ForceControl_T<7> Cobot<7>::forceControl();
template class ForceControl_T<5>;
template class ForceControl_T<6>;
template class ForceControl_T<7>;

}  // namespace zivra
