#pragma once

#include <memory>

#include <zivra/force_control.h>

#include "clr/types.h"

namespace zivra::clr {

/// Commands of a force control run, made by `Cobot::forceControl`. It may outlive the robot object. Arrays
/// are padded with zeros or cut to the length needed.
///
/// Threads: as for the native object, one at a time.
class ForceControl {
 public:
  explicit ForceControl(zivra::ForceControl_T<5> native);
  explicit ForceControl(zivra::ForceControl_T<6> native);
  explicit ForceControl(zivra::ForceControl_T<7> native);
  ForceControl(const ForceControl&) = delete;
  ForceControl& operator=(const ForceControl&) = delete;
  ~ForceControl();

  /// Releases the native object. Afterwards the operations on axes do nothing and leave `ec` alone, the
  /// others throw NullReferenceException.
  void Dispose();

  /// @name Run
  /// @{
  void fcInit(FrameType type, ErrorCode& ec);
  void fcStart(ErrorCode& ec);
  void fcStop(ErrorCode& ec);
  void setControlType(int type, ErrorCode& ec);
  void setLoad(const Load& load, ErrorCode& ec);
  void setCartesianStiffness(const Array<double>& stiffness, ErrorCode& ec);
  void setCartesianNullspaceStiffness(double stiffness, ErrorCode& ec);
  void setCartesianDesiredForce(const Array<double>& value, ErrorCode& ec);
  void setJointStiffness(const Array<double>& stiffness, ErrorCode& ec);
  void setJointDesiredTorque(const Array<double>& torque, ErrorCode& ec);
  /// The outputs are new arrays, zero where nothing was read.
  void getEndTorque(FrameType ref_type, Array<double>& joint_torque_measured,
                    Array<double>& external_torque_measured, Array<double>& cart_torque,
                    Array<double>& cart_force, ErrorCode& ec);
  /// @}

  /// @name Search motions laid over the run
  /// @{
  void setSineOverlay(int line_dir, double amplify, double frequency, double phase, double bias,
                      ErrorCode& ec);
  void setLissajousOverlay(int plane, double amplify_one, double frequency_one, double amplify_two,
                           double frequency_two, double phase_diff, ErrorCode& ec);
  void startOverlay(ErrorCode& ec);
  void stopOverlay(ErrorCode& ec);
  void pauseOverlay(ErrorCode& ec);
  void restartOverlay(ErrorCode& ec);
  /// @}

  /// @name Conditions that end a wait
  /// @{
  void setForceCondition(const Array<double>& range, bool isInside, double timeout, ErrorCode& ec);
  void setTorqueCondition(const Array<double>& range, bool isInside, double timeout, ErrorCode& ec);
  void setPoseBoxCondition(const Frame& supervising_frame, const Array<double>& box, bool isInside,
                           double timeout, ErrorCode& ec);
  void waitCondition(ErrorCode& ec);
  /// @}

  /// @name Limits that protect the run
  /// @{
  void fcMonitor(bool enable, ErrorCode& ec);
  void setCartesianMaxVel(const Array<double>& velocity, ErrorCode& ec);
  void setCartesianControlMaxWrench(const Array<double>& max_wrench, ErrorCode& ec);
  void setCartesianControlMaxVel(const Array<double>& max_cart_vel, ErrorCode& ec);
  void setJointMaxVel(const Array<double>& velocity, ErrorCode& ec);
  void setJointMaxMomentum(const Array<double>& momentum, ErrorCode& ec);
  void setJointMaxEnergy(const Array<double>& energy, ErrorCode& ec);
  void setJointControlMaxTorque(const Array<double>& max_torque, ErrorCode& ec);
  void setJointControlMaxVel(const Array<double>& max_joint_vel, ErrorCode& ec);
  void setFcGain(const Array<double>& gain, ErrorCode& ec);
  void setFriction(const Array<double>& fric, ErrorCode& ec);
  /// @}

 private:
  template <class Use>
  void useAxes(const Use& use);

  std::unique_ptr<zivra::ForceControl_T<5>> fc_five;
  std::unique_ptr<zivra::ForceControl_T<6>> fc_six;
  std::unique_ptr<zivra::ForceControl_T<7>> fc_seven;
  const int dof;
  zivra::BaseForceControl* fc_base;  // the common part of the one that is set
};

}  // namespace zivra::clr
