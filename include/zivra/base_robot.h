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
  /// A robot that isn't connected gives 256. From a move watcher or a connection handler, whose threads can't
  /// end themselves: resource_deadlock_would_occur. At most some 30 s with a controller that no longer
  /// answers.
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
  /// Bounds how many moves may be at the controller at a time, 1 to 1000 (values beyond are clamped); 300 at
  /// first.
  void setMaxCacheSize(int size, std::error_code& ec) noexcept;
  /// @}

  /// @name Events
  /// @{

  /// Hears news of one kind. For `Event::moveExecution` the table holds "cmdID" (std::string),
  /// "wayPointIndex" (int), "reachTarget" (bool), "error" (std::error_code), "remark" (std::string),
  /// "customInfo" (std::string); `callback` runs on the motion's notification thread at each finish, error or
  /// remark, and may call any operation. It may be empty. 255 before the first connection; on a dropped link
  /// 256, and the callback is registered all the same.
  void setEventWatcher(Event event, EventCallback callback, std::error_code& ec) noexcept;
  /// The latest news of one kind, without waiting. 255 before the first connection, 259 for an unknown kind.
  EventInfo queryEventInfo(Event event, std::error_code& ec) noexcept;
  /// @}

 protected:
  BaseRobot();
  Impl& impl() const noexcept { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace zivra
