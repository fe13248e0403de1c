#include "abi/registry.h"

namespace zivra::clr::abi {

std::vector<Row> rowsOfForceControl() {
  return {
      ZCLR_OP(ForceControl, fcInit, "type, out ec"),
      ZCLR_OP(ForceControl, fcStart, "out ec"),
      ZCLR_OP(ForceControl, fcStop, "out ec"),
      ZCLR_OP(ForceControl, setControlType, "type, out ec"),
      ZCLR_OP(ForceControl, setLoad, "load, out ec"),
      ZCLR_OP(ForceControl, setCartesianStiffness, "stiffness, out ec"),
      ZCLR_OP(ForceControl, setCartesianNullspaceStiffness, "stiffness, out ec"),
      ZCLR_OP(ForceControl, setCartesianDesiredForce, "value, out ec"),
      ZCLR_OP(ForceControl, setJointStiffness, "stiffness, out ec"),
      ZCLR_OP(ForceControl, setJointDesiredTorque, "torque, out ec"),
      ZCLR_OP(ForceControl, getEndTorque,
              "ref_type, out joint_torque_measured, out external_torque_measured, out cart_torque, out "
              "cart_force, out ec"),
      ZCLR_OP(ForceControl, setSineOverlay, "line_dir, amplify, frequency, phase, bias, out ec"),
      ZCLR_OP(ForceControl, setLissajousOverlay,
              "plane, amplify_one, frequency_one, amplify_two, frequency_two, phase_diff, out ec"),
      ZCLR_OP(ForceControl, startOverlay, "out ec"),
      ZCLR_OP(ForceControl, stopOverlay, "out ec"),
      ZCLR_OP(ForceControl, pauseOverlay, "out ec"),
      ZCLR_OP(ForceControl, restartOverlay, "out ec"),
      ZCLR_OP(ForceControl, setForceCondition, "range, isInside, timeout, out ec"),
      ZCLR_OP(ForceControl, setTorqueCondition, "range, isInside, timeout, out ec"),
      ZCLR_OP(ForceControl, setPoseBoxCondition, "supervising_frame, box, isInside, timeout, out ec"),
      ZCLR_OP(ForceControl, waitCondition, "out ec"),
      ZCLR_OP(ForceControl, fcMonitor, "enable, out ec"),
      ZCLR_OP(ForceControl, setCartesianMaxVel, "velocity, out ec"),
      ZCLR_OP(ForceControl, setCartesianControlMaxWrench, "max_wrench, out ec"),
      ZCLR_OP(ForceControl, setCartesianControlMaxVel, "max_cart_vel, out ec"),
      ZCLR_OP(ForceControl, setJointMaxVel, "velocity, out ec"),
      ZCLR_OP(ForceControl, setJointMaxMomentum, "momentum, out ec"),
      ZCLR_OP(ForceControl, setJointMaxEnergy, "energy, out ec"),
      ZCLR_OP(ForceControl, setJointControlMaxTorque, "max_torque, out ec"),
      ZCLR_OP(ForceControl, setJointControlMaxVel, "max_joint_vel, out ec"),
      ZCLR_OP(ForceControl, setFcGain, "gain, out ec"),
      ZCLR_OP(ForceControl, setFriction, "fric, out ec"),
  };
}

}  // namespace zivra::clr::abi
