#pragma once

#include <any>
#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include <zivra/base.h>
#include <zivra/ethercat.h>
#include <zivra/export.h>
#include <zivra/move_command.h>
#include <zivra/service_types.h>
#include <zivra/types.h>
#include <zivra/value_types.h>

namespace zivra {

/// Latest news of one kind as a table; `std::any_cast` gives the values by the types that `setEventWatcher`
/// names.
using EventInfo = std::unordered_map<std::string, std::any>;
/// Hears news of one kind.
using EventCallback = std::function<void(const EventInfo&)>;
/// Hears how far a transfer is, in bytes.
using TransferProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;

/// How the state stream is doing since it was started. An addition of this library's own.
struct ZIVRA_API StateStreamHealth {
  std::uint64_t received = 0;        ///< datagrams taken, skipped ones included
  std::uint64_t tooShort = 0;        ///< of these: shorter than the fields asked for, and not decoded
  std::uint64_t skipped = 0;         ///< of these: left behind by `drainRobotState`
  std::chrono::nanoseconds age{-1};  ///< since the newest was taken, give or take 10 ms; -1 before the first
  std::uint64_t largestGap = 0;      ///< between the "ts" of two that followed each other [us]
};

/// The operations that every robot has. Make an object of the class of the robot's model (robot.h).
///
/// Errors: every operation with an `ec` clears it first, reports in it and throws nothing. Besides the codes
/// named at an operation each of them gives 256 (link down), 263 (no answer within 10 s) and 257 (an answer
/// that can't be understood); negative codes are the controller's refusals. A failed read gives the type's
/// default unless said otherwise.
///
/// Frames: "base" is the robot's base frame, "reference" the work object in force, "tool" the tool in force.
///
/// Threads: operations may be called from any thread at any time and block their caller until the controller
/// has answered. Connecting, disconnecting and destroying are for one thread at a time, and none of them
/// belongs in a connection handler. On the link's network thread (in a connection handler) operations that
/// wait give 263 at once.
class ZIVRA_API BaseRobot : public Base<BaseRobot> {
 public:
  class Impl;

  virtual ~BaseRobot();
  BaseRobot(const BaseRobot&) = delete;
  BaseRobot& operator=(const BaseRobot&) = delete;

  /// @name Connection
  /// @{

  /// Ends the connection; a robot that is moving is stopped first. Handlers and watchers stay registered.
  /// A robot that isn't connected gives 256. In a move watcher all of this is done but for the end of the
  /// watcher's own thread, and `ec` is resource_deadlock_would_occur; in a connection handler the same code,
  /// and nothing is done. At most some 30 s with a controller that no longer answers.
  void disconnectFromRobot(std::error_code& ec) noexcept;

  /// `handler(true)` is called when the link comes up, `handler(false)` when it goes down, on the link's
  /// network thread. What it throws is logged. Set it before connecting.
  void setConnectionHandler(std::function<void(bool)> handler);

  /// Version of this library.
  static std::string sdkVersion();
  /// @}

  /// @name State
  /// @{

  /// Identity of the controller ("sys.info"). On failure the texts are empty and `joint_num` is 0.
  Info robotInfo(std::error_code& ec) noexcept;
  /// State of the motors ("sys.power"); `unknown` on failure and for a word that isn't known.
  PowerState powerState(std::error_code& ec) noexcept;
  /// Switches the motors ("sys.power.on", "sys.power.off").
  void setPowerState(bool on, std::error_code& ec) noexcept;
  /// Manual or automatic ("sys.mode").
  OperateMode operateMode(std::error_code& ec) noexcept;
  /// Switches the mode ("sys.mode.switch"); any value but `automatic` asks for manual.
  void setOperateMode(OperateMode mode, std::error_code& ec) noexcept;
  /// What the robot is doing ("sys.state").
  OperationState operationState(std::error_code& ec) noexcept;
  /// Axis angles [rad], all axes ("sys.rt.jnt_pos").
  std::vector<double> jointPos(std::error_code& ec) noexcept;
  /// Axis velocities [rad/s] ("sys.rt.jnt_vel").
  std::vector<double> jointVel(std::error_code& ec) noexcept;
  /// Pose as x, y, z [m], rx, ry, rz [rad] ("sys.posture", "sys.posture.flan_in_base").
  std::array<double, 6> posture(CoordinateType ct, std::error_code& ec) noexcept;
  /// Pose with configuration and external axes; same keys as `posture`.
  CartesianPosition cartPosture(CoordinateType ct, std::error_code& ec) noexcept;
  /// Base frame in the world as x, y, z [m], rx, ry, rz [rad] ("ix.coord.base_in_world").
  std::array<double, 6> baseFrame(std::error_code& ec) noexcept;
  /// Sets the base frame in the world.
  void setBaseFrame(const Frame& frame, std::error_code& ec) noexcept;
  /// Restarts the controller ("utils.reboot"); the link drops and comes back by itself.
  void rebootSystem(std::error_code& ec) noexcept;
  /// Shuts the controller down ("utils.reboot" with the option "shutdown").
  void shutdownSystem(std::error_code& ec) noexcept;
  /// Clears alarms of the drives ("sys.servo.clear_alarm").
  void clearServoAlarm(std::error_code& ec) noexcept;
  /// Recovers from an emergency stop with item 1 ("rsc.emer_stop.reset"); any other item gives 259. The
  /// controller's answer isn't judged: read `powerState` afterwards.
  void recoverState(int item, std::error_code& ec) noexcept;
  /// Allows or forbids the teach pendant ("sys.set_teach_pendant").
  void setTeachPendantMode(bool enable, std::error_code& ec) noexcept;
  /// @}

  /// @name Moves
  /// Without any connection so far: 255.
  /// @{

  /// Queues a batch of 1 to 100 moves of one kind; otherwise 259. `cmdID` receives the batch's id, under
  /// which its events come. Doesn't wait for the controller: a refusal, and a link that is down, is told as a
  /// move event. T: MoveAbsJCommand, MoveJCommand, MoveLCommand, MoveCCommand, MoveCFCommand or
  /// MoveSPCommand. 262 in another mode than Idle or NrtCommand.
  template <class T>
  void moveAppend(const std::vector<T>& commands, std::string& cmdID, std::error_code& ec) noexcept;
  /// Queues a wait.
  void moveAppend(const MoveWaitCommand& command, std::string& cmdID, std::error_code& ec) noexcept;
  /// Sends a batch at once, past the queue, and starts it ("move.continue"); no id, no count. T as for
  /// `moveAppend`.
  template <class T>
  void executeCommand(const std::vector<T>& commands, std::error_code& ec) noexcept;
  /// Starts or continues the queued moves ("move.continue"); 768 if the controller has none.
  void moveStart(std::error_code& ec) noexcept;
  /// Drops all queued moves here and in the controller ("move.reset").
  void moveReset(std::error_code& ec) noexcept;
  /// Pauses the moves that are under way, or ends a jog ("move.pause", "move.stop"); `moveStart` continues.
  /// 769 if the robot is stopping already.
  void stop(std::error_code& ec) noexcept;
  /// Bounds how many moves may be at the controller at a time, 1 to 1000 (values beyond are clamped); 300 at
  /// first.
  void setMaxCacheSize(int size, std::error_code& ec) noexcept;
  /// @}

  /// @name Settings of motion
  /// The controller keeps them. No range is checked here: what it refuses is its code. Without any connection
  /// so far `setDefaultSpeed`, `setDefaultZone` and both ways of jogging give 255.
  /// @{

  /// Speed of moves that name none [mm/s] ("move.default_speed").
  void setDefaultSpeed(double speed, std::error_code& ec) noexcept;
  /// Zone of moves that name none [mm] ("move.default_zone").
  void setDefaultZone(double zone, std::error_code& ec) noexcept;
  /// Whether a target's configuration binds ("move.default_conf"). The answer isn't judged.
  void setDefaultConfOpt(bool forced, std::error_code& ec) noexcept;
  /// Whether a zone that can't be made is left out without an error ("move.ignore_zone"). The answer isn't
  /// judged.
  void setAutoIgnoreZone(bool ignore, std::error_code& ec) noexcept;
  /// Scales the speed of what moves, also while it moves; a fraction ("move.override_rate").
  void adjustSpeedOnline(double scale, std::error_code& ec) noexcept;
  /// Acceleration and jerk, in the controller's own measure ("move.acc").
  void adjustAcceleration(double acc, double jerk, std::error_code& ec) noexcept;
  /// Reads acceleration and jerk ("move.acc"); on failure both stay as they were.
  void getAcceleration(double& acc, double& jerk, std::error_code& ec) noexcept;

  /// Moves one axis, or along one direction of a Cartesian space, until `step` is done or `stop` is called
  /// ("move.jog"). `rate` is a fraction, 0.01 to 1; `step` is above 0, in the controller's measure for the
  /// space; `index` counts axes or directions from 0; 258 for a rate or step outside, and nothing is sent
  /// (NaN is not judged here). End every jog with `stop`, also one whose step is done: until then the next
  /// `stop` is taken as the end of the jog.
  void startJog(JogOpt::Space space, double rate, double step, unsigned index, bool direction,
                std::error_code& ec) noexcept;
  /// As `startJog`, with the mechanical unit `name`; `isExt` tells that it is an external axis
  /// ("move.jog_with_ext").
  void startJogWithExt(JogOpt::Space space, double rate, double step, unsigned index, bool direction,
                       const std::string& name, std::error_code& ec, bool isExt) noexcept;

  /// Switches the way of commanding motion. 259 for an unknown mode; a failure leaves the mode as it was.
  /// `RtCommand` takes at least 300 ms. In a watcher or handler, which it would wait for:
  /// resource_deadlock_would_occur.
  void setMotionControlMode(MotionControlMode mode, std::error_code& ec) noexcept;
  /// @}

  /// @name Path checks
  /// Nothing moves: the controller computes whether the tool can follow a path from the axis angles
  /// `start_joint` [rad]
  /// ("move.path.check"), in the reference in force.
  /// @{

  /// A line. The axis angles at its end; as many zeros as `start_joint` has values, and the controller's
  /// code, if it can't be followed.
  std::vector<double> checkPath(const CartesianPosition& start, const std::vector<double>& start_joint,
                                const CartesianPosition& target, std::error_code& ec) noexcept;
  /// An arc through `aux`, or with an `angle` [rad] other than 0 a circle of that angle. Result as for the
  /// line.
  std::vector<double> checkPath(const CartesianPosition& start, const std::vector<double>& start_joint,
                                const CartesianPosition& aux, const CartesianPosition& target,
                                std::error_code& ec, double angle = 0,
                                MoveCFCommand::RotType rot_type = MoveCFCommand::RotType::constPose) noexcept;
  /// Lines through all `targets`, which are 2 at least (259). 0 if all can be followed; otherwise `ec` is set
  /// and the result is the failing target, counted from 1 (the start is the first), or 0 if the controller
  /// names none. `target_joint_calculated` gets the result of the line form.
  int checkPath(const std::vector<double>& start_joint, const std::vector<CartesianPosition>& targets,
                std::vector<double>& target_joint_calculated, std::error_code& ec) noexcept;
  /// @}

  /// @name Events
  /// @{

  /// Hears news of one kind. The callback may be empty (then `queryEventInfo` alone tells), may call any
  /// operation, and what it throws is logged. It gets a copy of the kind's table:
  /// - `moveExecution`: "cmdID" (std::string), "wayPointIndex" (int), "reachTarget" (bool), "error"
  /// (std::error_code),
  ///   "remark" (std::string), "customInfo" (std::string); at each finish, error or remark, on the motion's
  ///   notification thread. 255 before the first connection; on a dropped link 256, and the callback is
  ///   registered all the same.
  /// - `safety`: "collided" (bool).
  /// - `rlExecution`: "taskName" (std::string), "lookaheadFile" (std::string), "lookaheadLine" (int),
  /// "executeFile"
  ///   (std::string), "executeLine" (int); lines count from 0.
  /// - `logReporter`: "ecode" (int), "edetail" (std::string).
  ///
  /// The last three kinds have a thread each, started by the first news, and hear them in order; a callback
  /// that is more than 1000 news behind loses the oldest. Setting a watcher resets its kind's table, and the
  /// kind stays subscribed for the life of the robot object. No callback starts once the destructor has
  /// returned.
  void setEventWatcher(Event event, EventCallback callback, std::error_code& ec) noexcept;
  /// The latest news of one kind, without waiting. 255 for moves before the first connection, 272 for a kind
  /// that was never watched, 259 for an unknown one.
  EventInfo queryEventInfo(Event event, std::error_code& ec) noexcept;
  /// @}

  /// @name State stream
  /// Fields of the robot's state at a fixed rate, as datagrams that the application takes: no exchange is
  /// made for them. Needs a connection made with the address of this machine as `localIP`, which
  /// `localAddressTowards` finds. `Robot_T::startReceiveRobotState` starts it.
  ///
  /// One thread takes datagrams; others may read fields meanwhile, and wait for no more than one datagram's
  /// decoding. Threads that take at the same time take turns, each within its own time-out. Datagrams that
  /// nobody takes wait in the socket's queue, oldest first, until it is full.
  ///
  /// Fields, at most 1052 bytes of them; what they mean is the controller's matter:
  /// - always there: "ts" (8 bytes), "errors" (20 flags, 20 bytes), 28 bytes together;
  /// - a real (8 bytes) an axis: "q_m", "q_c", "dq_m", "dq_c", "ddq_m"*, "ddq_c", "tau_m", "tau_c",
  ///   "tau_filtered_m", "tau_vel_c", "theta_m", "theta_vel_m", "motor_tau", "motor_tau_filtered";
  /// - 16 reals: "pos_m", "pos_c";
  /// - 6 reals: "pos_abc_m", "pos_vel_m"*, "pos_vel_c", "pos_acc_m"*, "pos_acc_c", "ex_q_m", "ex_dq_m",
  ///   "ex_motor_m", "tau_ext_base", "tau_ext_stiff";
  /// - a real: "psi_m", "psi_c", "psi_vel_c", "psi_acc_c";
  /// - a byte: "motion_mode", "control_mode"; 7 bytes: "io_keypad"*.
  ///
  /// Those with * are not there on robots of 5 axes.
  /// @{

  /// Ends the stream ("eci.pub.stop"); nothing happens if there is none. A thread that waits in
  /// `updateRobotState` comes back with 0. At most 10 s with a controller that doesn't answer. Disconnecting,
  /// connecting anew and destroying the robot end it too.
  void stopReceiveRobotState() noexcept;
  /// Takes one datagram, the oldest that waits. Its length in bytes; 0 if none came within `timeout`. One
  /// that is too short for the fields asked for changes nothing; of one that is longer than 1052 bytes the
  /// rest is cut off. Throws RealtimeStateException without a stream, RealtimeMotionException for a motion
  /// error that the controller tells ("errors": only "ts" and "errors" have been taken then, and the stream
  /// goes on), NetworkException. Allocates nothing unless it throws.
  unsigned updateRobotState(std::chrono::nanoseconds timeout);
  /// Takes all datagrams that wait and keeps the newest, without waiting; returns how many were skipped.
  /// Throws as `updateRobotState`, for the first motion error in any of them, once all are taken. An addition
  /// of this library's own.
  unsigned drainRobotState();
  /// Counts since the stream was started; any thread. An addition of this library's own.
  StateStreamHealth stateStreamHealth() const noexcept;
  /// A field of the last datagram; zero before the first. `double` is for single reals, `std::uint64_t` for
  /// "ts" [us], a vector for fields of several reals; flags and modes are read by none. 0, or -1 for a field
  /// that isn't in the stream or has another type: `value` is untouched then (a vector is empty). Throws
  /// RealtimeStateException without a stream. Any thread.
  int getStateData(const std::string& name, double& value);
  int getStateData(const std::string& name, std::uint64_t& value);        ///< "ts" [us]
  int getStateData(const std::string& name, std::vector<double>& value);  ///< a field of several reals
  /// @}

  /// @name Signals and registers
  /// Signals are addressed by board and port, both from 0. What the controller doesn't know is its code;
  /// nothing is checked here. Registers are the controller's variables of the types int, float and bool, each
  /// single or an array. What isn't finite reaches the controller as null or as a number beyond all range.
  /// @{

  bool getDI(unsigned board, unsigned port, std::error_code& ec) noexcept;    ///< ("device.io")
  bool getDO(unsigned board, unsigned port, std::error_code& ec) noexcept;    ///< ("device.io")
  double getAI(unsigned board, unsigned port, std::error_code& ec) noexcept;  ///< ("device.io")
  /// -10030 unless simulation mode is on ("device.io.simu.di"). Of this and the next two the controller tells
  /// this one refusal only.
  void setDI(unsigned board, unsigned port, bool state, std::error_code& ec) noexcept;
  /// -14501 for a signal that isn't there or is the system's ("device.io.out.do").
  void setDO(unsigned board, unsigned port, bool state, std::error_code& ec) noexcept;
  /// -14501 for a signal that isn't there or is the system's ("device.io.out.ao").
  void setAO(unsigned board, unsigned port, double value, std::error_code& ec) noexcept;
  /// Whether inputs take what `setDI` says ("device.io.simu.on", "device.io.simu.off").
  void setSimulationMode(bool state, std::error_code& ec) noexcept;
  /// Reads a register ("register.values"). T: int, float or bool, of which `index` chooses one in an array,
  /// or a vector of one of them, which reads a whole array (`index` isn't used). -17001 if the controller
  /// can't read it, -260 if it answers with something else; `value` is untouched then. 259 for a register of
  /// another type or an empty array: `value` is untouched then, but a vector is empty.
  template <class T>
  internal::ForRegister<T> readRegister(const std::string& name, unsigned index, T& value,
                                        std::error_code& ec) noexcept;
  /// Writes a register ("register.write"). T as for `readRegister`; a vector is written from the array's
  /// beginning (`index` isn't used). -1, or for an array -17002, if the controller can't write it, -14010 if
  /// the register is the system's.
  template <class T>
  internal::ForRegister<T> writeRegister(const std::string& name, unsigned index, T value,
                                         std::error_code& ec) noexcept;
  /// The same for a list in braces.
  template <class T, class = std::enable_if_t<std::is_arithmetic_v<T>>>
  void writeRegister(const std::string& name, unsigned index, std::initializer_list<T> values,
                     std::error_code& ec) noexcept {
    writeRegister(name, index, std::vector<T>(values), ec);
  }
  /// @}

  /// @name Programs and files
  /// @{

  /// Projects and their tasks ("project.list").
  std::vector<RLProjectInfo> projectsInfo(std::error_code& ec) noexcept;
  /// Loads tasks of a project ("project.load"). 259 for an empty name or no task; 262, as for the next three,
  /// before the mode was `NrtRLTask` once.
  void loadProject(const std::string& name, const std::vector<std::string>& tasks,
                   std::error_code& ec) noexcept;
  void ppToMain(std::error_code& ec) noexcept;      ///< Program pointer to main ("project.pp.main").
  void runProject(std::error_code& ec) noexcept;    ///< Starts or continues ("project.start").
  void pauseProject(std::error_code& ec) noexcept;  ///< Pauses ("project.stop").
  /// Speed override, 0.01 to 1 (258 otherwise), and whether to begin again at the end ("project.run_param").
  void setProjectRunningOpt(double rate, bool loop, std::error_code& ec) noexcept;
  /// Sends a project, a zip file of at most 10 MiB, and has it unpacked ("ix.sdk.import_project"). The name
  /// under which the controller stored it; empty on failure. -279 no such file, -281 no zip file, -283 empty
  /// or too large, -284 refused or damaged, -285 not acknowledged within 5 minutes, -277, -278.
  std::string importProject(const std::string& file_path, bool overwrite, std::error_code& ec) noexcept;
  /// Removes a project, or all ("ix.sdk.remove_project"); -60005 for an unknown one.
  void removeProject(const std::string& project_name, std::error_code& ec, bool remove_all = false) noexcept;
  /// Sends one file of at most 10 MiB ("eci.file_transfer.import_project_file"). `dest` says where it goes:
  /// "project/P" and "project/P/F.ext" are files of project P (json, xml or sys), "project/P/T" and
  /// "project/P/T/F.mod" programs of its task T; a name not given is that of the source. The name under which
  /// the controller stored it; empty on failure. 259 for another `dest`, -281 for a file that doesn't fit it;
  /// the rest as for `importProject`.
  std::string importFile(const std::string& src_file_path, const std::string& dest, bool overwrite,
                         std::error_code& ec) noexcept;
  /// Removes tasks ("project/P/T") and programs ("project/P/T/F.mod") ("project.remove_files"). 259 or -281
  /// if one path is none of these: nothing is removed then.
  void removeFiles(const std::vector<std::string>& file_path_list, std::error_code& ec) noexcept;
  /// Tells how far a file is on its way, on the thread of the call that sends it; empty: nobody is told. What
  /// it throws is ignored. An addition of this library's own.
  void setTransferProgress(TransferProgress progress);
  /// @}

  /// @name Tools and work objects
  /// @{

  /// Tool, load and work object in force ("ix.coord.toolset").
  Toolset toolset(std::error_code& ec) noexcept;
  /// Sets them ("ix.coord.toolset"). Poses and moves are those of the tool in the work object from then on.
  void setToolset(const Toolset& toolset, std::error_code& ec) noexcept;
  /// Sets them by names ("sys.toolset.query", "ix.coord.toolset"). -50501 for unknown names, -260 if the
  /// controller doesn't know the question; nothing is set then. Returns what was found, also if the
  /// controller then refuses to set it.
  Toolset setToolset(const std::string& toolName, const std::string& wobjName, std::error_code& ec) noexcept;
  std::vector<WorkToolInfo> toolsInfo(std::error_code& ec) noexcept;  ///< All tools ("project.tool.info").
  std::vector<WorkToolInfo> wobjsInfo(
      std::error_code& ec) noexcept;  ///< All work objects ("project.wobj.info").
  /// Makes or changes a tool of the loaded project, or a global one ("project.tool", "global.tools.set.one");
  /// -50501 if the controller can't. Whether the project has it already ("project.tools") is asked first:
  /// another client may come in between. A centre of gravity goes along only if `robotHeld`.
  void setToolInfo(const WorkToolInfo& tool_info, std::error_code& ec) noexcept;
  /// The same for a work object ("project.wobj", "global.wobjs.set.one").
  void setWobjInfo(const WorkToolInfo& wobj_info, std::error_code& ec) noexcept;
  /// @}

  /// @name Rail and external axes
  /// 259 for a name that isn't one of those listed, or doesn't go with the type of the value; nothing is sent
  /// then. 259 as well if the controller's value is of another type or isn't there. `value` is untouched on
  /// failure.
  /// @{

  /// Sets a parameter of the rail ("rail_param", "rail.set_rail_frame"). T and names: double or int for
  /// "encoderResolution", "reductionRatio", "motorSpeed" (the controller's measure), "maxSpeed" [m/s],
  /// "maxAcc" [m/s^2], "maxJerk" [m/s^3], "softLimit0", "softLimit1", "range0" and "range1" [m] (lower end,
  /// upper end); bool for "enable"; std::string for "name"; a vector of two double for "softLimit" and
  /// "range"; Frame for "baseFrame" (258 if the controller doesn't take it).
  template <class T>
  internal::ForRailSetting<T> setRailParameter(const std::string& name, T value,
                                               std::error_code& ec) noexcept;
  /// The same for a text that is no std::string; 259 for a null pointer.
  void setRailParameter(const std::string& name, const char* value, std::error_code& ec) noexcept;
  /// The same for a list in braces.
  void setRailParameter(const std::string& name, std::initializer_list<double> values,
                        std::error_code& ec) noexcept;
  /// Reads one ("rail_param"); same types, names and units; an int is cut off towards 0. A frame that the
  /// controller doesn't have is zero.
  template <class T>
  internal::ForRail<T> getRailParameter(const std::string& name, T& value, std::error_code& ec) noexcept;
  /// Reads parameter `info` of external axis `name`, "axis1" to "axis6" ("ext_axis.get_axis_info"), in the
  /// controller's measure. T: int, double, bool, std::string or a vector of std::string, which is appended
  /// to. `info`: "ext_data_number", "ext_axis_number", "is_servo_gun", "max_acc", "max_jerk",
  /// "max_motor_speed", "max_speed", "soft_limit_lower", "soft_limit_upper", "zero_value",
  /// "motor_overload_coefficient", "motor_torque_limiting", "reduction_ratio", "rated_torque_of_motor",
  /// "resolution_ratio", "joint_orient", "coordinate_calibrated", "driver_name".
  template <class T>
  internal::ForExtAxis<T> getExtAxisInfo(const std::string& name, const std::string& info, T& value,
                                         std::error_code& ec) noexcept;
  /// Reads parameter `info` of mechanical unit `name`, "u1" to "u6" ("ext_axis.get_mechanical_unit_info"). T:
  /// int, bool or a vector of std::string, which is appended to. `info`: "activation", "axes_info", "enable",
  /// "fixed_name", "mech_link_type", "order", "unit_name".
  template <class T>
  internal::ForMechUnit<T> getMechUnit(const std::string& name, const std::string& info, T& value,
                                       std::error_code& ec) noexcept;
  /// @}

  /// @name Clock, log and configuration
  /// @{

  /// Sets the time server ("sys.ntp.config").
  void configNtp(const std::string& server_ip, std::error_code& ec) noexcept;
  /// Sets the controller's clock by it ("sys.ntp.sync"); at most 12 s.
  void syncTimeWithServer(std::error_code& ec) noexcept;
  /// Entries of the user log, the newest first ("user_log.query"): `count` of them, 1 to 10 (clamped), behind
  /// the first `offset`. UTF-8, or with Chinese texts code page 936.
  std::vector<LogInfo> queryControllerLog(unsigned count, const std::set<LogInfo::Level>& level,
                                          std::error_code& ec, unsigned offset = 0) noexcept;
  /// The controller's Denavit-Hartenberg parameters in its own order ("cfg.get"): the nominal ones, or the
  /// full set, in whose place a controller that has none gives the nominal ones.
  std::vector<double> getRobotCfg_DHparam(bool get_nominal, std::error_code& ec) noexcept;
  /// The EtherCAT slaves behind the controller, over a new link. Throws NetworkException.
  BaseEthercat ethercat();
  /// @}

 protected:
  BaseRobot();
  Impl& impl() const noexcept { return *impl_; }  ///< for the operations of derived classes

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace zivra
