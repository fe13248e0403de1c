#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <zivra/robot.h>

#include "clr/ethercat.h"
#include "clr/types.h"

namespace zivra::clr {

/// The operations that every robot has. Make an object of the class of the robot's model (robots.h): one of
/// this class has no native object, and all that it does is to throw NullReferenceException.
///
/// Operations report in `ec`, which always stands last and is assigned on every return. A conversion that
/// fails throws before anything is sent. What else throws says so.
///
/// Threads: as for the native robot; the layer adds no lock. `Dispose` and the destructor are for a moment at
/// which no other call is under way.
class BaseRobot {
 public:
  BaseRobot();
  BaseRobot(const BaseRobot&) = delete;
  BaseRobot& operator=(const BaseRobot&) = delete;
  /// Disposes, if nobody did.
  virtual ~BaseRobot();

  /// Releases the native robot, then its model; a second time does nothing. Child objects go on.
  virtual void Dispose();

  /// @name Connection
  /// @{
  /// @brief Connects to the controller at `remoteIP`. `localIP` is the address of this machine that state
  /// datagrams go to; it may be empty, but then no state stream can be started. At most 30 s to connect and
  /// 10 s an answer. Throws ApiException if nobody answers, or the version is too old, or the controller has
  /// another kind of robot.
  void connectToRobot(const String& remoteIP, const String& localIP);
  /// @brief Connects to the controller at `remoteIP`, without a state stream. Throws ApiException.
  void connectToRobot(const String& remoteIP);
  void connectToRobot(ErrorCode& ec);
  void disconnectFromRobot(ErrorCode& ec);
  /// @brief Calls `handler` with true when the link comes up and with false when it goes down, on the link's
  /// network thread. Set it before connecting.
  void setConnectionHandler(ConnectionHandlerDelegate handler);
  static String sdkVersion();
  /// @}

  /// @name State
  /// @{
  Info robotInfo(ErrorCode& ec);
  PowerState powerState(ErrorCode& ec);
  void setPowerState(bool on, ErrorCode& ec);
  OperateMode operateMode(ErrorCode& ec);
  void setOperateMode(OperateMode mode, ErrorCode& ec);
  OperationState operationState(ErrorCode& ec);
  Array<double> jointPos(ErrorCode& ec);
  Array<double> jointVel(ErrorCode& ec);
  Array<double> jointTorque(ErrorCode& ec);
  Array<double> posture(CoordinateType ct, ErrorCode& ec);
  CartesianPosition cartPosture(CoordinateType ct, ErrorCode& ec);
  Array<double> baseFrame(ErrorCode& ec);
  void setBaseFrame(const Frame& frame, ErrorCode& ec);
  StateList getStateList(ErrorCode& ec);
  void rebootSystem(ErrorCode& ec);
  void shutdownSystem(ErrorCode& ec);
  void clearServoAlarm(ErrorCode& ec);
  void recoverState(int item, ErrorCode& ec);
  void setTeachPendantMode(bool enable, ErrorCode& ec);
  /// @}

  /// @name Moves
  /// Where a kind reads `args`, missing ones are appended to the caller's own list.
  /// @{
  /// @brief Queues a batch of 1 to 100 moves of one kind; otherwise 259. `cmdId` receives the batch's id,
  /// under which its events come; a wait leaves it as it was. Of several waits only the first counts. Doesn't
  /// wait for the controller: a refusal, and a link that is down, is told as a move event. 262 in another
  /// mode than `Idle` or `NrtCommand`. What is missing in `args` of a MoveCF or MoveSP is appended, as 0.
  void moveAppend(MoveCommand::Type type, List<MoveCommand>& cmd, String& cmdId, ErrorCode& ec);
  void moveAppend(MoveCommand::Type type, MoveCommand& cmd, String& cmdId, ErrorCode& ec);
  /// @brief Sends a batch of moves of one kind at once, past the queue, and starts it ("move.continue"); no
  /// id, no count. A wait does nothing here.
  void executeCommand(MoveCommand::Type type, List<MoveCommand>& cmd, ErrorCode& ec);
  void moveStart(ErrorCode& ec);
  void moveReset(ErrorCode& ec);
  void stop(ErrorCode& ec);
  void setMaxCacheSize(int size, ErrorCode& ec);
  void setDefaultSpeed(double speed, ErrorCode& ec);
  void setDefaultZone(double zone, ErrorCode& ec);
  void setDefaultConfOpt(bool forced, ErrorCode& ec);
  void setAutoIgnoreZone(bool ignore, ErrorCode& ec);
  void adjustSpeedOnline(double scale, ErrorCode& ec);
  void adjustAcceleration(double acc, double jerk, ErrorCode& ec);
  void getAcceleration(double& acc, double& jerk, ErrorCode& ec);
  void startJog(JogOpt::Space space, double rate, double step, std::uint32_t index, bool direction,
                ErrorCode& ec);
  void startJogWithExt(JogOpt::Space space, double rate, double step, std::uint32_t index, bool direction,
                       const String& name, bool isExt, ErrorCode& ec);
  void setMotionControlMode(MotionControlMode mode, ErrorCode& ec);
  /// @}

  /// @name Path checks
  /// @{
  Array<double> checkPath(const CartesianPosition& start, const Array<double>& start_joint,
                          const CartesianPosition& target, ErrorCode& ec);
  /// A circle: `aux1` is a point on it, `aux2` the target; `rot_type` is cut to an integer.
  Array<double> checkPath(const CartesianPosition& start, const Array<double>& start_joint,
                          const CartesianPosition& aux1, const CartesianPosition& aux2, double angle,
                          double rot_type, ErrorCode& ec);
  Array<double> checkPath(const CartesianPosition& start, const Array<double>& start_joint,
                          const CartesianPosition& aux, const CartesianPosition& target, ErrorCode& ec);
  int checkPath(const Array<double>& start_joint, const List<CartesianPosition>& targets,
                Array<double>& target_joint_calculated, ErrorCode& ec);
  /// @}

  /// @name Events
  /// @{
  /// @brief Hears news of one kind. There is one delegate a kind in the whole process: the last one given
  /// hears the events of all robots that were ever watched; null drops them, and `queryEventInfo` alone
  /// tells. It may call any operation. It gets, by their names:
  /// - `moveExecution`: "cmdID" (string), "wayPointIndex" (int), "reachTarget" (bool), "error" (ErrorCode),
  ///   "remark" (string), "customInfo" (string); at each finish, error or remark, on the thread that tells of
  ///   moves. 255 before the first connection; on a dropped link 256, and the delegate is kept all the same.
  /// - `safety`: "collided" (bool).
  /// - `rlExecution`: "taskName" (string), "lookaheadFile" (string), "lookaheadLine" (int), "executeFile"
  ///   (string), "executeLine" (int); lines count from 0.
  /// - `logReporter`: "ecode" (int), "edetail" (string).
  ///
  /// The last three kinds have a thread each, and hear them in order; a delegate that is more than 1000 news
  /// behind loses the oldest. The kind stays subscribed until the robot is disposed.
  void setEventWatcher(Event eventType, EventCallbackDelegate callback, ErrorCode& ec);
  Dictionary queryEventInfo(Event eventType, ErrorCode& ec);
  /// @}

  /// @name State stream
  /// `interval` and `timeout_ms` are milliseconds. These throw ApiException, and the first one
  /// NotSupportedException for a robot of 3 or 4 axes.
  /// @{
  /// @brief Starts the state stream: the controller sends `fields` every `interval` milliseconds to this
  /// machine ("eci.fields.out", "eci.port", "eci.pub.start"). Returns when the first datagram is there, after
  /// 200 ms at least; nothing happens if these fields are being received already, or none is named. Throws
  /// ApiException if the controller or the catalogue of fields refuses, the fields are more than 1052 bytes,
  /// no port can be had at the local address, other fields are being received, nothing came within 3 s, or
  /// the first datagram tells a motion error. After a failure nothing is being received, and it can be
  /// started again. Robots of 3 and 4 axes have no state stream: NotSupportedException.
  void startReceiveRobotState(int interval, const List<String>& fields);
  void stopReceiveRobotState();
  /// @brief Takes one datagram, the oldest that waits. Its length in bytes; 0 if none came within
  /// `timeout_ms` milliseconds. One that is too short for the fields asked for changes nothing; of one that
  /// is longer than 1052 bytes the rest is cut off. Throws ApiException without a stream, for a link that
  /// dropped, and for a motion error that the controller tells ("errors": only "ts" and "errors" have been
  /// taken then, and the stream goes on).
  std::uint32_t updateRobotState(int timeout_ms);
  /// @brief A field of the last datagram; zero before the first. A double is for single reals, 64 bits
  /// without sign for "ts" [us], an array for fields of several reals; flags and modes are read by none. 0,
  /// or -1 for a field that isn't in the stream or has another type: `value` is untouched then (an array is
  /// empty). Throws ApiException without a stream. Any thread.
  int getStateData(const String& name, double& value);
  int getStateData(const String& name, std::uint64_t& value);
  int getStateData(const String& name, Array<double>& value);
  /// @}

  /// @name Signals and registers
  /// A list of a register is a new one, empty on failure.
  /// @{
  bool getDI(std::uint32_t board, std::uint32_t port, ErrorCode& ec);
  bool getDO(std::uint32_t board, std::uint32_t port, ErrorCode& ec);
  double getAI(std::uint32_t board, std::uint32_t port, ErrorCode& ec);
  void setDI(std::uint32_t board, std::uint32_t port, bool state, ErrorCode& ec);
  void setDO(std::uint32_t board, std::uint32_t port, bool state, ErrorCode& ec);
  void setAO(std::uint32_t board, std::uint32_t port, double value, ErrorCode& ec);
  void setSimulationMode(bool state, ErrorCode& ec);
  /// @brief Reads a register ("register.values"): one value, which in an array is that at `index`, or a list
  /// with all values of an array. -17001 if the controller can't read it, -260 if it answers with something
  /// else, 259 for a register of another type or an empty array. On failure a value is untouched, and a list
  /// is empty.
  void readRegister(const String& name, std::uint32_t index, float& value, ErrorCode& ec);
  void readRegister(const String& name, std::uint32_t index, int& value, ErrorCode& ec);
  void readRegister(const String& name, std::uint32_t index, bool& value, ErrorCode& ec);
  void readRegister(const String& name, List<float>& value, ErrorCode& ec);
  void readRegister(const String& name, List<int>& value, ErrorCode& ec);
  void readRegister(const String& name, List<bool>& value, ErrorCode& ec);
  /// @brief Writes a register ("register.write"): one value, to `index` of an array, or an array from its
  /// beginning (`index` isn't used). -1, or for an array -17002, if the controller can't write it, -14010 if
  /// the register is the system's.
  void writeRegister(const String& name, std::uint32_t index, float value, ErrorCode& ec);
  void writeRegister(const String& name, std::uint32_t index, int value, ErrorCode& ec);
  void writeRegister(const String& name, std::uint32_t index, bool value, ErrorCode& ec);
  void writeRegister(const String& name, std::uint32_t index, const Array<float>& value, ErrorCode& ec);
  void writeRegister(const String& name, std::uint32_t index, const Array<int>& value, ErrorCode& ec);
  void writeRegister(const String& name, std::uint32_t index, const Array<bool>& value, ErrorCode& ec);
  /// @}

  /// @name Programs and files
  /// @{
  List<RLProjectInfo> projectsInfo(ErrorCode& ec);
  void loadProject(const String& name, const List<String>& tasks, ErrorCode& ec);
  void ppToMain(ErrorCode& ec);
  void runProject(ErrorCode& ec);
  void pauseProject(ErrorCode& ec);
  void setProjectRunningOpt(double rate, bool loop, ErrorCode& ec);
  String importProject(const String& file_path, bool overwrite, ErrorCode& ec);
  void removeProject(const String& project_name, bool remove_all, ErrorCode& ec);
  String importFile(const String& src_file_path, const String& dest, bool overwrite, ErrorCode& ec);
  void removeFiles(const List<String>& file_path_list, ErrorCode& ec);
  /// @}

  /// @name Tools and work objects
  /// @{
  Toolset toolset(ErrorCode& ec);
  void setToolset(const Toolset& toolset, ErrorCode& ec);
  Toolset setToolset(const String& toolName, const String& wobjName, ErrorCode& ec);
  List<WorkToolInfo> toolsInfo(ErrorCode& ec);
  List<WorkToolInfo> wobjsInfo(ErrorCode& ec);
  void setToolInfo(const WorkToolInfo& tool_info, ErrorCode& ec);
  void setWobjInfo(const WorkToolInfo& wobj_info, ErrorCode& ec);
  /// @}

  /// @name Rail and external axes
  /// `value` is untouched on failure. What a read of a list gives is a new array. The names of
  /// `getExtAxisInfo` and `getMechUnit` have to fit the system's narrow encoding (null:
  /// ArgumentNullException, otherwise ArgumentException).
  /// @{
  /// @brief Sets a parameter of the rail ("rail_param", "rail.set_rail_frame"). Double or int:
  /// "encoderResolution", "reductionRatio", "motorSpeed" (the controller's measure), "maxSpeed" [m/s],
  /// "maxAcc" [m/s^2], "maxJerk" [m/s^3], "softLimit0", "softLimit1", "range0" and "range1" [m] (lower end,
  /// upper end); bool: "enable"; string: "name"; two doubles: "softLimit" and "range"; Frame: "baseFrame"
  /// (258 if the controller doesn't take it). 259 for any other name, or a value of another type.
  void setRailParameter(const String& name, int value, ErrorCode& ec);
  void setRailParameter(const String& name, bool value, ErrorCode& ec);
  void setRailParameter(const String& name, double value, ErrorCode& ec);
  void setRailParameter(const String& name, const String& value, ErrorCode& ec);
  // A literal would go to the overload for bool otherwise.
  void setRailParameter(const String& name, const char* value, ErrorCode& ec) {
    setRailParameter(name, String(value), ec);
  }
  void setRailParameter(const String& name, const Array<double>& value, ErrorCode& ec);
  void setRailParameter(const String& name, const Frame& value, ErrorCode& ec);
  /// @brief Reads a parameter of the rail ("rail_param"); types, names and units as for `setRailParameter`.
  /// An int is cut off towards 0. A frame that the controller doesn't have is zero. On failure `value` is
  /// untouched.
  void getRailParameter(const String& name, bool& value, ErrorCode& ec);
  void getRailParameter(const String& name, double& value, ErrorCode& ec);
  void getRailParameter(const String& name, int& value, ErrorCode& ec);
  void getRailParameter(const String& name, String& value, ErrorCode& ec);
  void getRailParameter(const String& name, std::optional<Array<double>>& value, ErrorCode& ec);
  void getRailParameter(const String& name, std::optional<Frame>& value, ErrorCode& ec);
  /// @brief Reads parameter `info` of mechanical unit `name`, "u1" to "u6"
  /// ("ext_axis.get_mechanical_unit_info"). `info`: "activation", "axes_info", "enable", "fixed_name",
  /// "mech_link_type", "order", "unit_name". On failure `value` is untouched. A text that the system's narrow
  /// encoding lacks is an ArgumentException, null an ArgumentNullException.
  void getMechUnit(const String& name, const String& info, std::optional<Array<String>>& value,
                   ErrorCode& ec);
  void getMechUnit(const String& name, const String& info, int& value, ErrorCode& ec);
  void getMechUnit(const String& name, const String& info, bool& value, ErrorCode& ec);
  /// @brief Reads parameter `info` of external axis `name`, "axis1" to "axis6" ("ext_axis.get_axis_info"), in
  /// the controller's measure. `info`: "ext_data_number", "ext_axis_number", "is_servo_gun", "max_acc",
  /// "max_jerk", "max_motor_speed", "max_speed", "soft_limit_lower", "soft_limit_upper", "zero_value",
  /// "motor_overload_coefficient", "motor_torque_limiting", "reduction_ratio", "rated_torque_of_motor",
  /// "resolution_ratio", "joint_orient", "coordinate_calibrated", "driver_name". Failures as for
  /// `getMechUnit`.
  void getExtAxisInfo(const String& name, const String& info, std::optional<Array<String>>& value,
                      ErrorCode& ec);
  void getExtAxisInfo(const String& name, const String& info, String& value, ErrorCode& ec);
  void getExtAxisInfo(const String& name, const String& info, double& value, ErrorCode& ec);
  void getExtAxisInfo(const String& name, const String& info, int& value, ErrorCode& ec);
  void getExtAxisInfo(const String& name, const String& info, bool& value, ErrorCode& ec);
  /// @}

  /// @name Limits, calibration, clock, log
  /// @{
  /// @brief Lower and upper limit of each axis ("safety.soft_limit"), in the controller's measure. Whether
  /// they are in force. `limits` becomes a new [axes, 2] array, zeros on failure.
  bool getSoftLimit(Array2<double>& limits, ErrorCode& ec);
  /// Reads as many rows as there are axes; IndexOutOfRangeException if there are fewer, but no row at all
  /// sends zeros.
  void setSoftLimit(bool enable, const Array2<double>& limits, ErrorCode& ec);
  FrameCalibrationResult calibrateFrame(FrameType type, const List<Array<double>>& points, bool is_held,
                                        const Array<double>& base_aux, ErrorCode& ec);
  void configNtp(const String& server_ip, ErrorCode& ec);
  void syncTimeWithServer(ErrorCode& ec);
  List<LogInfo> queryControllerLog(std::uint32_t count, LogInfoLevel level, ErrorCode& ec);
  /// No list means no level.
  List<LogInfo> queryControllerLog(std::uint32_t count, const std::optional<List<LogInfoLevel>>& levels,
                                   std::uint32_t offset, ErrorCode& ec);
  Array<double> getRobotCfg_DHparam(bool get_nominal, ErrorCode& ec);
  /// @brief The EtherCAT slaves behind the controller, over a new link. Its failure is no ApiException:
  /// natively the native one leaves as it is, in .NET an ExternalException.
  std::unique_ptr<BaseEthercat> ethercat();
  /// @}

  /// @name Kinematic model
  /// @{
  Array<double> calcIk(const CartesianPosition& posture, ErrorCode& ec);
  Array<double> calcIk(const CartesianPosition& posture, const Toolset& toolset, ErrorCode& ec);
  CartesianPosition calcFk(const Array<double>& joints, ErrorCode& ec);
  CartesianPosition calcFk(const Array<double>& joints, const Toolset& toolset, ErrorCode& ec);
  Array<Array<double>> calcAllIkSolutions(const CartesianPosition& posture, Array<Array<int>>& confs,
                                          ErrorCode& ec);
  /// @}

  /// @name Dynamics
  /// @{
  using OrNull = std::optional<Array<double>>;
  /// @brief Not in this build: throws NotSupportedException, whatever it gets.
  void setTcpCoor(const OrNull& f_t_ee, const OrNull& ee_t_k);
  /// @brief Not in this build: throws NotSupportedException, whatever it gets.
  void setGravityDirection(double gx, double gy, double gz);
  /// @brief Not in this build: throws NotSupportedException, whatever it gets.
  Array<double> jacobian(const OrNull& jntPos, SegmentFrame nr);
  /// @brief Not in this build: throws NotSupportedException, whatever it gets.
  Array<double> jacobianDot(const OrNull& jntPos, const OrNull& jntVel, SegmentFrame nr);
  /// @brief Not in this build: throws NotSupportedException, whatever it gets.
  Array<double> getMassMatrix(const OrNull& jntPos);
  /// @brief Not in this build: throws NotSupportedException, whatever it gets.
  Array<double> getCoriolisVector(const OrNull& jntPos, const OrNull& jntVel);
  /// @brief Not in this build: throws NotSupportedException, whatever it gets.
  void getTorqueNoFriction(const OrNull& jntPos, const OrNull& jntVel, const OrNull& jntAcc,
                           Array<double>& trq_full, Array<double>& trq_inertia, Array<double>& trq_coriolis,
                           Array<double>& trq_gravity);
  /// @}

 private:
  // Call what is given with the robot, or the model, that is set; NullReferenceException if none is.
  template <class Use>
  auto useRobot(const Use& use);
  template <class Use>
  auto useModel(const Use& use);

 protected:
  zivra::BaseRobot* robot = nullptr;  // the common part of the one below that is set

  std::unique_ptr<zivra::TriaxRobot> ir3;
  std::unique_ptr<zivra::QuadraxRobot> ir4;
  std::unique_ptr<zivra::StandardRobot> ir6;
  std::unique_ptr<zivra::TandiFiveRobot> cobot5;
  std::unique_ptr<zivra::TandiRobot> cobot6;
  std::unique_ptr<zivra::Cobot<7>> cobot7;  // both classes of seven axes

  std::unique_ptr<zivra::Model_T<3>> model3;
  std::unique_ptr<zivra::Model_T<4>> model4;
  std::unique_ptr<zivra::Model_T<5>> model5;
  std::unique_ptr<zivra::Model_T<6>> model6;
  std::unique_ptr<zivra::Model_T<7>> model7;
};

}  // namespace zivra::clr
