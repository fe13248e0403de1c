#pragma once

#include <any>
#include <array>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <unordered_map>
#include <vector>

#include <zivra/export.h>
#include <zivra/move_command.h>
#include <zivra/types.h>

namespace zivra {

/// Common tag of the library's main classes.
template <class T>
struct Base {};

/// Latest news of one kind as a table; `std::any_cast` gives the values by the types that `setEventWatcher`
/// names.
using EventInfo = std::unordered_map<std::string, std::any>;
using EventCallback = std::function<void(const EventInfo&)>;

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

 protected:
  BaseRobot();
  Impl& impl() const noexcept { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace zivra
