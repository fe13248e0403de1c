#pragma once

#include <array>
#include <memory>
#include <system_error>

#include <zivra/export.h>
#include <zivra/types.h>

namespace zivra {

class XService;

/// Commands of a force control run, which takes place in the controller. Made by `Cobot::forceControl`. The
/// object shares the robot's link and may outlive the robot object; destroying it doesn't stop the run.
///
/// A run: `fcInit`, then settings, `fcStart`, overlays and conditions, `fcStop`; the controller refuses a
/// wrong order with a negative code. Numbers whose unit isn't named are in the controller's measure and are
/// judged by it. Out of range is 258, and nothing is sent; NaN isn't judged here.
///
/// Each object shortens the wait of its own `waitCondition` only. An object that was moved from may be
/// assigned to or destroyed, and nothing else.
///
/// Threads: one object serves one thread at a time; several objects may be used by several threads. Every
/// operation blocks for at most 10 s, `waitCondition` longer.
class ZIVRA_API BaseForceControl {
 public:
  virtual ~BaseForceControl();
  BaseForceControl(BaseForceControl&&) noexcept;             ///< takes the conditions' limit along
  BaseForceControl& operator=(BaseForceControl&&) noexcept;  ///< the same
  BaseForceControl(const BaseForceControl&) = delete;
  BaseForceControl& operator=(const BaseForceControl&) = delete;

  /// @name Run
  /// @{

  /// Prepares a run in a frame ("eci.fc.init"); `world` for a frame that force control doesn't know.
  void fcInit(FrameType type, std::error_code& ec) noexcept;
  /// Starts the run ("eci.fc.start").
  void fcStart(std::error_code& ec) noexcept;
  /// Ends the run ("eci.fc.stop"); afterwards it takes a new `fcInit`.
  void fcStop(std::error_code& ec) noexcept;
  /// 0 joint, 1 Cartesian impedance ("eci.fc.set"); 258 otherwise.
  void setControlType(int type, std::error_code& ec) noexcept;
  /// What the sensor has to take off ("eci.fc.set").
  void setLoad(const Load& load, std::error_code& ec) noexcept;
  /// Stiffness along and about the axes of the frame ("eci.fc.set").
  void setCartesianStiffness(const std::array<double, 6>& stiffness, std::error_code& ec) noexcept;
  /// Stiffness of the null space ("eci.fc.set").
  void setCartesianNullspaceStiffness(double stiffness, std::error_code& ec) noexcept;
  /// Desired force and torque, in the controller's measure ("eci.fc.set").
  void setCartesianDesiredForce(const std::array<double, 6>& value, std::error_code& ec) noexcept;
  /// @}

  /// @name Search motions laid over the run
  /// @{

  /// A sine, `line_dir` 0, 1 or 2: amplitude [Nm], frequency [Hz], `phase` 0 to pi [rad],
  /// `bias` 0 to 10 [Nm] ("eci.fc.set").
  void setSineOverlay(int line_dir, double amplify, double frequency, double phase, double bias,
                      std::error_code& ec) noexcept;
  /// A Lissajous figure, `plane` 0, 1 or 2: amplitudes 0 to 20, frequencies 0 to 5, `phase_diff` 0 to pi, in
  /// the controller's measure ("eci.fc.set").
  void setLissajousOverlay(int plane, double amplify_one, double frequency_one, double amplify_two,
                           double frequency_two, double phase_diff, std::error_code& ec) noexcept;
  /// Starts the overlay set last ("eci.fc.overlay").
  void startOverlay(std::error_code& ec) noexcept;
  /// Ends it ("eci.fc.overlay").
  void stopOverlay(std::error_code& ec) noexcept;
  /// Pauses it ("eci.fc.overlay").
  void pauseOverlay(std::error_code& ec) noexcept;
  /// Goes on after a pause ("eci.fc.overlay").
  void restartOverlay(std::error_code& ec) noexcept;
  /// @}

  /// @name Conditions that end a wait
  /// `timeout` is 1 to 600 s. Each condition can only shorten the limit of `waitCondition`.
  /// @{

  /// Bounds of the force, in the controller's measure; met inside or outside of them ("eci.fc.set").
  void setForceCondition(const std::array<double, 6>& range, bool isInside, double timeout,
                         std::error_code& ec) noexcept;
  /// Bounds of the torque, in the controller's measure ("eci.fc.set").
  void setTorqueCondition(const std::array<double, 6>& range, bool isInside, double timeout,
                          std::error_code& ec) noexcept;
  /// Bounds of the place in `supervising_frame` [m] ("eci.fc.set").
  void setPoseBoxCondition(const Frame& supervising_frame, const std::array<double, 6>& box, bool isInside,
                           double timeout, std::error_code& ec) noexcept;
  /// Waits until a condition is met or its time is over ("eci.fc.cond"): at most the shortest `timeout`
  /// given, rounded up to seconds, and 5 s, or 10 minutes; then 263. Success doesn't tell which condition
  /// ended the wait, nor whether one was met or its time was over.
  void waitCondition(std::error_code& ec) noexcept;
  /// @}

  /// @name Limits that protect the run ("eci.fc.monitor")
  /// @{

  /// Switches the supervision of the limits.
  void fcMonitor(bool enable, std::error_code& ec) noexcept;
  /// Each at least 0 and finite.
  void setCartesianMaxVel(const std::array<double, 6>& velocity, std::error_code& ec) noexcept;
  /// Each 0 to 1000.
  void setCartesianControlMaxWrench(const std::array<double, 6>& max_wrench, std::error_code& ec) noexcept;
  /// The first three 0 to 3, the others 0 to 10.
  void setCartesianControlMaxVel(const std::array<double, 6>& max_cart_vel, std::error_code& ec) noexcept;
  /// @}

 protected:
  /// Tells the controller of the new object and waits for its answer, at most 10 s, whatever it says.
  explicit BaseForceControl(std::shared_ptr<XService> service);

  struct State;
  State& state() const noexcept { return *state_; }  ///< for the commands of derived classes

 private:
  std::unique_ptr<State> state_;
};

/// What depends on the count of axes.
template <unsigned short dof>
class ZIVRA_API ForceControl_T : public BaseForceControl {
  static_assert(dof >= 5 && dof <= 7, "force control is for collaborative robots, which have 5 to 7 axes");

 public:
  explicit ForceControl_T(std::shared_ptr<XService> service);  ///< as `Cobot::forceControl`
  ~ForceControl_T() override;
  ForceControl_T(ForceControl_T&&) noexcept = default;             ///< as of BaseForceControl
  ForceControl_T& operator=(ForceControl_T&&) noexcept = default;  ///< as of BaseForceControl

  /// Stiffness of each axis ("eci.fc.set").
  void setJointStiffness(const std::array<double, dof>& stiffness, std::error_code& ec) noexcept;
  /// Desired torque of each axis, in the controller's measure ("eci.fc.set").
  void setJointDesiredTorque(const std::array<double, dof>& torque, std::error_code& ec) noexcept;
  /// Torques of the axes, measured and external, and torque and force at the end in a frame,
  /// which is `world`, `flange` or `tool` (259 otherwise) ("eci.fc.end_torque.ref_world" and so on). 261 for
  /// an answer with too little in it; what was read before stays filled.
  void getEndTorque(FrameType ref_type, std::array<double, dof>& joint_torque_measured,
                    std::array<double, dof>& external_torque_measured, std::array<double, 3>& cart_torque,
                    std::array<double, 3>& cart_force, std::error_code& ec) noexcept;

  /// @name Limits that protect the run ("eci.fc.monitor")
  /// @{

  /// Each at least 0 and finite.
  void setJointMaxVel(const std::array<double, dof>& velocity, std::error_code& ec) noexcept;
  /// Each at least 0 and finite.
  void setJointMaxMomentum(const std::array<double, dof>& momentum, std::error_code& ec) noexcept;
  /// Each at least 0 and finite.
  void setJointMaxEnergy(const std::array<double, dof>& energy, std::error_code& ec) noexcept;
  /// Each 0 to 1000.
  void setJointControlMaxTorque(const std::array<double, dof>& max_torque, std::error_code& ec) noexcept;
  /// Each 0 to 10.
  void setJointControlMaxVel(const std::array<double, dof>& max_joint_vel, std::error_code& ec) noexcept;
  /// Each 0 to 60.
  void setFcGain(const std::array<double, dof>& gain, std::error_code& ec) noexcept;
  /// Each 0 to 1.
  void setFriction(const std::array<double, dof>& fric, std::error_code& ec) noexcept;
  /// @}
};

}  // namespace zivra
