#pragma once

#include <array>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include <zivra/export.h>

/// Value types of the robots. Lengths are metres and angles radians unless an operation says otherwise.
namespace zivra {

/// A pose.
struct ZIVRA_API Frame {
  Frame() = default;
  /// From x, y, z [m] and the rotations about them [rad].
  Frame(const std::array<double, 3>& translation, const std::array<double, 3>& rotation)
      : trans(translation), rpy(rotation) {}

  std::array<double, 3> trans{};  ///< x, y, z [m]
  std::array<double, 3> rpy{};    ///< rotation about x, y, z [rad]
  std::array<double, 16>
      pos{};  ///< transformation matrix, row by row; never sent and never converted to or from the others
};

/// A Cartesian target or measured pose.
struct ZIVRA_API CartesianPosition : Frame {
  /// An offset of a move's target.
  struct ZIVRA_API Offset {
    /// Where an offset is counted.
    enum class Type { none = 0, offs = 1, relTool = 2 };

    Offset() = default;
    /// By `by` [m], [rad].
    Offset(Type kind, const Frame& by) : type(kind), frame(by) {}

    Type type = Type::none;  ///< `offs` in the work object, `relTool` in the tool
    Frame frame;             ///< [m], [rad]
  };

  CartesianPosition() = default;
  /// From 6 numbers (x, y, z, rx, ry, rz) or 16 (`pos`; `trans` and `rpy` stay zero).
  /// Throws ArgumentException for any other count.
  CartesianPosition(std::initializer_list<double> values);
  /// From x, y, z [m] and the rotations about them [rad].
  CartesianPosition(const std::array<double, 3>& translation, const std::array<double, 3>& rotation)
      : Frame(translation, rotation) {}

  double elbow = 0;              ///< arm angle of a 7-axis robot [rad]
  bool hasElbow = false;         ///< carried along with the position, not read by the library
  std::vector<int> confData;     ///< axis configuration; empty: the controller chooses
  std::vector<double> external;  ///< positions of external axes
};

/// Axis angles.
struct ZIVRA_API JointPosition {
  JointPosition() = default;
  /// From angles [rad].
  JointPosition(std::vector<double> angles)
      : joints(std::move(angles)) {}  // NOLINT: a list of angles is a position
  /// From angles [rad].
  JointPosition(std::initializer_list<double> angles) : joints(angles) {}

  std::vector<double> joints;    ///< [rad]
  std::vector<double> external;  ///< external axes
};

/// What the robot carries.
struct ZIVRA_API Load {
  Load() = default;
  /// Members in their order.
  Load(double m, const std::array<double, 3>& centre, const std::array<double, 3>& inertiaAboutAxes)
      : mass(m), cog(centre), inertia(inertiaAboutAxes) {}

  double mass = 0;                  ///< [kg]
  std::array<double, 3> cog{};      ///< centre of gravity [m]
  std::array<double, 3> inertia{};  ///< about x, y, z [kg m^2]
};

/// Tool and work object in force.
struct ZIVRA_API Toolset {
  Load load;        ///< of the tool
  Frame end;        ///< tool frame in the flange frame
  Frame reference;  ///< work object frame
};

// Of the following enumerations -1 marks a state that could not be read.

/// State of the motors: `estop` emergency stop, `gstop` safety gate.
enum class PowerState { on = 0, off = 1, estop = 2, gstop = 3, unknown = -1 };
/// Manual or automatic.
enum class OperateMode { manual = 0, automatic = 1, unknown = -1 };
/// What the robot is doing.
enum class OperationState {
  idle = 0,
  jog = 1,
  rtControlling = 2,
  drag = 3,
  rlProgram = 4,
  demo = 5,
  dynamicIdentify = 6,
  frictionIdentify = 7,
  loadIdentify = 8,
  moving = 9,
  jogging = 10,
  unknown = -1
};
/// Kind of robot.
enum class ZIVRA_API WorkType { industrial = 0, collaborative = 1 };
/// Which pose is meant: of the flange in the base frame, or of the tool in the reference frame.
enum class CoordinateType { flangeInBase = 0, endInRef = 1 };
/// What a robot does after a collision.
enum class StopLevel { stop0 = 0, stop1 = 1, stop2 = 2, suppleStop = 3 };
/// Way of commanding motion: moves (`Idle`, `NrtCommand`), program tasks or real-time control.
enum class MotionControlMode { Idle = 0, NrtCommand = 1, NrtRLTask = 2, RtCommand = 3 };
/// Ways of real-time control. No operation takes one yet.
enum class RtControllerMode {
  jointPosition = 0,
  cartesianPosition = 1,
  jointImpedance = 2,
  cartesianImpedance = 3,
  torque = 4
};
/// Parts of the arm. No operation takes one yet.
enum class SegmentFrame {
  joint1 = 1,
  joint2 = 2,
  joint3 = 3,
  joint4 = 4,
  joint5 = 5,
  joint6 = 6,
  joint7 = 7,
  flange = 8,
  endEffector = 9,
  stiffness = 10
};
/// Kinds of frames.
enum class FrameType { world = 0, baseFrame = 1, flange = 2, tool = 3, wobj = 4, path = 5, rail = 6 };
/// Ways of avoiding singularities.
enum class AvoidSingularityMethod { lockAxis4 = 0, wrist = 1, jointWay = 2 };
/// Kinds of news that the controller pushes.
enum class Event { moveExecution = 0, safety = 1, rlExecution = 2, logReporter = 3 };

/// How to jog.
struct ZIVRA_API JogOpt {
  /// What the jog's index counts: axes, or directions of a frame.
  enum class Space {
    world = 0,
    flange = 1,
    baseFrame = 2,
    toolFrame = 3,
    wobjFrame = 4,
    jointSpace = 5,
    singularityAvoidMode = 6,
    baseParallelMode = 7
  };
};

/// How the arm lets itself be guided by hand.
struct ZIVRA_API DragParameter {
  /// Guided by its axes or by the tool.
  enum class Space { jointSpace = 0, cartesianSpace = 1 };
  /// What of the tool's pose can be changed.
  enum class Type { translationOnly = 0, rotationOnly = 1, freely = 2 };
};

/// Options of the panel at the tool.
struct ZIVRA_API NorvilOpt {
  /// Supply output.
  enum class Vout { off = 0, reserve = 1, supply12v = 2, supply24v = 3 };
};

/// What a backup can hold.
enum class BackupItem {
  customConfig = 0,
  robotConfig = 1,
  robotConfigWithoutBodyParams = 2,
  controllerLog = 3,
  systemLog = 4,
  rlProgram = 5,
  backupRlProgram = 6,
  sdkRecordPath = 7
};

/// Identity of a controller (key "sys.info").
struct ZIVRA_API Info {
  std::string id;       ///< robot id
  std::string mac;      ///< MAC address as text
  std::string version;  ///< controller version, dotted numbers
  std::string type;     ///< robot model
  int joint_num = 0;    ///< count of axes
};

/// Several states read in one exchange.
struct ZIVRA_API StateList {
  std::vector<double> joint_pos;                               ///< [rad]
  CartesianPosition cart_pos;                                  ///< as "sys.posture"
  std::vector<std::pair<std::string, bool>> digital_signals;   ///< all DI, then all DO
  std::vector<std::pair<std::string, double>> analog_signals;  ///< all AI, then all AO
  OperateMode operation_mode = OperateMode::unknown;           ///< manual or automatic
  double speed_override = 0;                                   ///< fraction
};

/// @name Printing
/// The forms of the library's own log lines. `operator<<` prints the same text; users of fmt include
/// `<zivra/format.h>`.
/// @{

ZIVRA_API std::string to_string(const Frame& value);                      ///< its text
ZIVRA_API std::string to_string(const CartesianPosition& value);          ///< its text
ZIVRA_API std::string to_string(const CartesianPosition::Offset& value);  ///< its text
ZIVRA_API std::string to_string(const Load& value);                       ///< its text
ZIVRA_API std::string to_string(const Toolset& value);                    ///< its text
ZIVRA_API std::string to_string(PowerState value);                        ///< its text
ZIVRA_API std::string to_string(OperateMode value);                       ///< its text
ZIVRA_API std::string to_string(OperationState value);                    ///< its text
ZIVRA_API std::string to_string(StopLevel value);                         ///< its text
ZIVRA_API std::string to_string(MotionControlMode value);                 ///< its text
ZIVRA_API std::string to_string(AvoidSingularityMethod value);            ///< its text
ZIVRA_API std::string to_string(Event value);                             ///< its text
ZIVRA_API std::string to_string(JogOpt::Space value);                     ///< its text
ZIVRA_API std::string to_string(DragParameter::Space value);              ///< its text
ZIVRA_API std::string to_string(DragParameter::Type value);               ///< its text
ZIVRA_API std::string to_string(NorvilOpt::Vout value);                   ///< its text

ZIVRA_API std::ostream& operator<<(std::ostream& out, const Frame& value);                      ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, const CartesianPosition& value);          ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, const CartesianPosition::Offset& value);  ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, const Load& value);                       ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, const Toolset& value);                    ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, PowerState value);                        ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, OperateMode value);                       ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, OperationState value);                    ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, StopLevel value);                         ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, MotionControlMode value);                 ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, AvoidSingularityMethod value);            ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, Event value);                             ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, JogOpt::Space value);                     ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, DragParameter::Space value);              ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, DragParameter::Type value);               ///< its text
ZIVRA_API std::ostream& operator<<(std::ostream& out, NorvilOpt::Vout value);                   ///< its text
/// @}

}  // namespace zivra
