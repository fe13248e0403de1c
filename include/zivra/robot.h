#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <limits>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

#include <zivra/base_robot.h>
#include <zivra/export.h>
#include <zivra/force_control.h>
#include <zivra/model.h>
#include <zivra/panel.h>
#include <zivra/types.h>

namespace zivra {

/// What depends on work type and count of axes. Connecting checks both against the controller.
template <WorkType wt, unsigned short dof>
class ZIVRA_API Robot_T : public virtual BaseRobot {
  static_assert(wt == WorkType::collaborative ? dof >= 5 && dof <= 7 : dof == 3 || dof == 4 || dof == 6,
                "collaborative robots have 5, 6 or 7 axes, industrial ones 3, 4 or 6");

 public:
  ~Robot_T() override;

  /// Connects to the controller at `remoteIP`. `localIP` is the address of this machine that state datagrams
  /// go to; it may be empty, but then no state stream can be started (`localAddressTowards` finds one).
  /// Robots of 3 and 4 axes don't tell the controller. Throws NetworkException (no connection, no answer,
  /// `localIP` refused), ProtocolException (version too old) or ExecutionException (the controller has
  /// another kind of robot), std::system_error for a name without an IPv4 address. At most 30 s to connect
  /// and 10 s an answer.
  void connectToRobot(const std::string& remoteIP, const std::string& localIP = "");
  /// Connects again to the addresses of the last connection; 256 without one or if it fails, 266 if version
  /// or robot class don't fit.
  void connectToRobot(std::error_code& ec) noexcept;

  /// Torques of the axes [Nm] ("sys.rt.jnt_trq"); 261 if the controller has fewer axes.
  std::array<double, dof> jointTorque(std::error_code& ec) noexcept;
  /// Positions, signals, mode and speed override in one exchange.
  StateList getStateList(std::error_code& ec) noexcept;

  /// Starts the state stream: the controller sends `fields` every `interval` (whole milliseconds) to this
  /// machine ("eci.fields.out", "eci.port", "eci.pub.start"). Returns when the first datagram is there, after
  /// 200 ms at least; nothing happens if these fields are being received already, or none is named. Throws
  /// RealtimeControlException (the controller or the catalogue of fields refuses, the fields are more than
  /// 1052 bytes, no port can be had at `localIP`), RealtimeStateException (other fields are being received,
  /// nothing came within 3 s) or RealtimeMotionException (the first datagram tells a motion error). After a
  /// failure nothing is being received, and it can be started again. Robots of 3 and 4 axes have no state
  /// stream.
  template <unsigned short axes = dof>
  std::enable_if_t<(axes > 4)> startReceiveRobotState(std::chrono::nanoseconds interval,
                                                      const std::vector<std::string>& fields) {
    startStream(interval, fields);
  }

  /// Lower and upper limit of each axis ("safety.soft_limit"), in the controller's measure. Whether they are
  /// in force; on failure `limits` is untouched.
  bool getSoftLimit(std::array<double[2], dof>& limits, std::error_code& ec) noexcept;
  /// Switches the limits, and sets them unless left out ("safety.soft_limit"). -10051: beyond the mechanical
  /// limits.
  void setSoftLimit(bool enable, std::error_code& ec,
                    const std::array<double[2], dof>& limits = {
                        {{std::numeric_limits<double>::max(), 0}}}) noexcept;

  /// Has the controller calculate a frame from taught `points`, each the axis angles [rad]
  /// ("utils.calibrate_frame"): 6 for `baseFrame`, 3, 4 or 6 for `tool`, 3 for `wobj` and `rail`; otherwise
  /// 259. `is_held`: the tool or work object is held by the robot. `base_aux` [m] is used for the base frame.
  /// 273 if the points lie too close together.
  FrameCalibrationResult calibrateFrame(FrameType type, const std::vector<std::array<double, dof>>& points,
                                        bool is_held, std::error_code& ec,
                                        const std::array<double, 3>& base_aux = {}) noexcept;

  /// Questions to the controller's kinematic model; shares the link, needs no connection to be made.
  Model_T<dof> model();

 protected:
  Robot_T();
  Robot_T(const std::string& remoteIP, const std::string& localIP);  ///< connects

 private:
  void startStream(std::chrono::nanoseconds interval, const std::vector<std::string>& fields);
};

/// What all collaborative robots share.
class ZIVRA_API BaseCobot : public virtual BaseRobot {
 public:
  ~BaseCobot() override;

  /// @name Guiding by hand
  /// @{

  /// Lets the arm be moved by hand ("sys.drag", under real-time control "eci.drag"); moves and jogs are
  /// refused meanwhile. Joint space goes with `freely` only (259). `quick` is passed on as it is; the
  /// controller judges it. -515: not with the motors as they are (the controller switches them itself);
  /// -10040: the load isn't set rightly or the torque sensors are off; -16, -18: another mode or state.
  void enableDrag(DragParameter::Space space, DragParameter::Type type, std::error_code& ec,
                  bool quick = false) noexcept;
  /// Ends it, as `enableDrag` last asked for it, under the key of the state that the robot is in now.
  void disableDrag(std::error_code& ec) noexcept;
  /// Records the path for at most `duration` seconds ("move.record.start"). -340: the arm isn't at rest.
  void startRecordPath(int duration, std::error_code& ec) noexcept;
  /// ("move.record.stop") -337 to -339: too short, beyond the axes' limits, too fast; -341: the arm isn't at
  /// rest.
  void stopRecordPath(std::error_code& ec) noexcept;
  void cancelRecordPath(std::error_code& ec) noexcept;  ///< Drops what was recorded ("move.record.cancel").
  /// Keeps the recorded path as `name`, or renames the stored path `name` to `saveAs` ("move.record.save").
  /// -342: the motors are off; -352: nothing was recorded; -353: it could not be stored; -60511: no such
  /// path.
  void saveRecordPath(const std::string& name, std::error_code& ec, const std::string& saveAs = "") noexcept;
  /// Queues a stored path as a move; `rate` is a factor of its speed. It runs after `moveStart`, and the
  /// event of moves tells of it under an id that begins with "path": also that there is no such path
  /// (-60511). 255 before the first connection, 262 in another mode than Idle or NrtCommand.
  void replayPath(const std::string& name, double rate, std::error_code& ec) noexcept;
  /// Removes one stored path, or all whatever the name ("move.record.remove", "move.record.remove.all").
  void removePath(const std::string& name, std::error_code& ec, bool removeAll = false) noexcept;
  std::vector<std::string> queryPathLists(std::error_code& ec) noexcept;  ///< ("move.record.paths")
  /// @}

  /// Switches collision detection off ("safety.collision_detection").
  void disableCollisionDetection(std::error_code& ec) noexcept;

  /// @name Panel at the tool
  /// Arguments out of range give 258, and nothing is sent. How much fits into a transfer depends on the type
  /// of panel, which is asked for at first need.
  /// @{

  /// Supply output ("device.io.norvil").
  void setNorvilVout(NorvilOpt::Vout opt, std::error_code& ec) noexcept;
  /// Supply output, and RS485 on ("device.io.norvil"); it stays on whatever `if_rs485` says.
  void setNorvilRS485(NorvilOpt::Vout opt, bool if_rs485, std::error_code& ec) noexcept;
  /// Reads (`fun_cmd` 3, 4) or writes (6, 16) `num` values from register `reg_addr` of a Modbus slave
  /// ("modbusRTU.register.rw"). `data_type`: "int16", "uint16", "int32", "uint32", the last two in two
  /// registers, low word first, and not with 6. `data_array` has `num` elements, for reads too, and is
  /// replaced by the answer, 16-bit values without sign. -1 if the transfer failed, which leaves `data_array`
  /// as it was; any other failure of the exchange leaves `num` zeros in it.
  void NorvilRWModbusRTUReg(int slave_addr, int fun_cmd, int reg_addr, const std::string& data_type, int num,
                            std::vector<int>& data_array, bool if_crc_reverse, std::error_code& ec) noexcept;
  /// Reads (`fun_cmd` 1, 2) or writes (5, 15) `num` coils from `coil_addr` ("modbusRTU.coil.rw"); as for
  /// registers.
  void NorvilRWModbusRTUCoil(int slave_addr, int fun_cmd, int coil_addr, int num,
                             std::vector<bool>& data_array, bool if_crc_reverse,
                             std::error_code& ec) noexcept;
  /// Sends `send_byte` bytes and receives `rev_byte`; both vectors have these sizes ("modbusRTU.data.rw"). -1
  /// if the transfer failed; `recv_data` is empty then, and has to be given its size anew. Any other failure
  /// of the exchange leaves `rev_byte` zeros in it.
  void NorvilRS485SendData(int send_byte, int rev_byte, const std::vector<std::uint8_t>& send_data,
                           std::vector<std::uint8_t>& recv_data, std::error_code& ec) noexcept;
  /// Sends frames ("modbusRTU.can.send"). `data_type`: "uint8", or "int16" and "uint16", whose values still
  /// are one byte each. One bad frame, and none is sent.
  void CANSendData(const std::string& data_type, const std::vector<CANFrame>& send_frame,
                   std::error_code& ec) noexcept;
  /// Waits at most `timeout_ms` for a frame ("modbusRTU.can.recv"); never longer than 10 s. -1 if none came.
  void CANReceiveData(int timeout_ms, const std::string& data_type, CANFrame& recv_frame,
                      std::error_code& ec) noexcept;
  /// Keys pressed ("device.io.keypad"); none on failure. 257 for an answer that is no array, or seven
  /// values that aren't all true or false; another number of keys is no failure, and none is pressed.
  KeyPadState getKeypadState(std::error_code& ec) noexcept;
  /// Whether the controller talks to another real-time client in place of this library ("eci.rci.cfg").
  void useRciClient(bool use, std::error_code& ec) noexcept;
  /// @}

 protected:
  BaseCobot();
};

/// A collaborative robot.
template <unsigned short dof>
class ZIVRA_API Cobot : public Robot_T<WorkType::collaborative, dof>, public BaseCobot {
 public:
  ~Cobot() override;

  /// Switches collision detection on ("safety.collision_detection"). `sensitivity` is the controller's
  /// measure, one an axis. `fallback_compliance` is how far to go back, or for `suppleStop` how yielding to
  /// be, at most 1. 264 if it is on already.
  void enableCollisionDetection(const std::array<double, dof>& sensitivity, StopLevel behaviour,
                                double fallback_compliance, std::error_code& ec) noexcept;
  /// Sets the force sensors' zero, of all axes or of one, which counts from 0 (258)
  /// ("utils.calibrate_force_sensor").
  void calibrateForceSensor(bool all_axes, int axis_index, std::error_code& ec) noexcept;
  /// Commands of force control. Asks the controller once; at most 10 s, whatever it answers.
  ForceControl_T<dof> forceControl();

 protected:
  Cobot();
  Cobot(const std::string& remoteIP, const std::string& localIP);  ///< connects
};

/// An industrial robot.
template <unsigned short dof>
class ZIVRA_API IndustrialRobot : public Robot_T<WorkType::industrial, dof> {
 public:
  ~IndustrialRobot() override;

 protected:
  IndustrialRobot();
  IndustrialRobot(const std::string& remoteIP, const std::string& localIP);  ///< connects
};

/// Collaborative robot of 6 axes.
class ZIVRA_API TandiRobot : public Cobot<6> {
 public:
  TandiRobot();
  /// Connects; throws as `connectToRobot`.
  explicit TandiRobot(const std::string& remoteIP, const std::string& localIP = "");
  ~TandiRobot() override;

  /// How the controller avoids singularities ("move.avoid_singularity", "move.avoid_sing_wrist"). `threshold`
  /// is an angle [rad] for `wrist`, and not used for `lockAxis4`. 259 for a method that this robot doesn't
  /// have; -260 for an answer that is no code.
  void setAvoidSingularity(AvoidSingularityMethod method, bool enable, double threshold,
                           std::error_code& ec) noexcept;
  /// Whether a method is on; 259 for a method that this robot doesn't have, -260 for another answer.
  bool getAvoidSingularity(AvoidSingularityMethod method, std::error_code& ec) noexcept;
};

/// Collaborative robot of 5 axes.
class ZIVRA_API TandiFiveRobot : public Cobot<5> {
 public:
  TandiFiveRobot();
  /// Connects; throws as `connectToRobot`.
  explicit TandiFiveRobot(const std::string& remoteIP, const std::string& localIP = "");
  ~TandiFiveRobot() override;

  /// Whether orientations are interpolated completely ("sys.completePostureLerp").
  void enableCompletePostureLerp(bool enable, std::error_code& ec) noexcept;
};

/// Collaborative robot of 7 axes.
class ZIVRA_API TandiSevenRobot : public Cobot<7> {
 public:
  TandiSevenRobot();
  /// Connects; throws as `connectToRobot`.
  explicit TandiSevenRobot(const std::string& remoteIP, const std::string& localIP = "");
  ~TandiSevenRobot() override;
};

/// Collaborative robot of 7 axes.
class ZIVRA_API QuillRobot : public Cobot<7> {
 public:
  QuillRobot();
  /// Connects; throws as `connectToRobot`.
  explicit QuillRobot(const std::string& remoteIP, const std::string& localIP = "");
  ~QuillRobot() override;
};

/// Industrial robot of 6 axes.
class ZIVRA_API StandardRobot : public IndustrialRobot<6> {
 public:
  StandardRobot();
  /// Connects; throws as `connectToRobot`.
  explicit StandardRobot(const std::string& remoteIP, const std::string& localIP = "");
  ~StandardRobot() override;

  /// How the controller avoids singularities ("move.avoid_singularity", "move.avoid_sing_wrist",
  /// "move.avoid_sing_joint_way"). `threshold` is an angle
  /// [rad] for `wrist` and in the controller's measure for `jointWay`, and not used for `lockAxis4`. 259 for
  /// a method that this robot doesn't have; -260 for an answer that is no code.
  void setAvoidSingularity(AvoidSingularityMethod method, bool enable, double threshold,
                           std::error_code& ec) noexcept;
  /// Whether a method is on; 259 for a method that this robot doesn't have, -260 for another answer.
  bool getAvoidSingularity(AvoidSingularityMethod method, std::error_code& ec) noexcept;

  /// Switches collision detection on ("safety.collision_detection"); the robot stops and goes back by
  /// `fallback`. 264 if it is on already.
  void enableCollisionDetection(const std::array<double, 6>& sensitivity, double fallback,
                                std::error_code& ec) noexcept;
  /// Switches collision detection off ("safety.collision_detection").
  void disableCollisionDetection(std::error_code& ec) noexcept;
};

/// Industrial robot of 3 axes.
class ZIVRA_API TriaxRobot : public IndustrialRobot<3> {
 public:
  TriaxRobot();
  /// Connects; throws as `connectToRobot`.
  explicit TriaxRobot(const std::string& remoteIP);
  ~TriaxRobot() override;
};

/// Industrial robot of 4 axes.
class ZIVRA_API QuadraxRobot : public IndustrialRobot<4> {
 public:
  QuadraxRobot();
  /// Connects; throws as `connectToRobot`.
  explicit QuadraxRobot(const std::string& remoteIP);
  ~QuadraxRobot() override;
};

}  // namespace zivra
