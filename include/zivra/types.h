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
    enum class Type { none = 0, offs = 1, relTool = 2 };

    Offset() = default;
    Offset(Type kind, const Frame& by) : type(kind), frame(by) {}

    Type type = Type::none;  ///< `offs` in the work object, `relTool` in the tool
    Frame frame;
  };

  CartesianPosition() = default;
  /// From 6 numbers (x, y, z, rx, ry, rz) or 16 (`pos`; `trans` and `rpy` stay zero).
  /// Throws ArgumentException for any other count.
  CartesianPosition(std::initializer_list<double> values);
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
  JointPosition(std::vector<double> angles)
      : joints(std::move(angles)) {}  // NOLINT: a list of angles is a position
  JointPosition(std::initializer_list<double> angles) : joints(angles) {}

  std::vector<double> joints;    ///< [rad]
  std::vector<double> external;  ///< external axes
};

/// What the robot carries.
struct ZIVRA_API Load {
  Load() = default;
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

enum class PowerState { on = 0, off = 1, estop = 2, gstop = 3, unknown = -1 };
enum class OperateMode { manual = 0, automatic = 1, unknown = -1 };
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
enum class ZIVRA_API WorkType { industrial = 0, collaborative = 1 };
/// Which pose is meant: of the flange in the base frame, or of the tool in the reference frame.
enum class CoordinateType { flangeInBase = 0, endInRef = 1 };
enum class StopLevel { stop0 = 0, stop1 = 1, stop2 = 2, suppleStop = 3 };
enum class MotionControlMode { Idle = 0, NrtCommand = 1, NrtRLTask = 2, RtCommand = 3 };
enum class RtControllerMode {
  jointPosition = 0,
  cartesianPosition = 1,
  jointImpedance = 2,
  cartesianImpedance = 3,
  torque = 4
};
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
enum class FrameType { world = 0, baseFrame = 1, flange = 2, tool = 3, wobj = 4, path = 5, rail = 6 };
enum class AvoidSingularityMethod { lockAxis4 = 0, wrist = 1, jointWay = 2 };
/// Kinds of news that the controller pushes.
enum class Event { moveExecution = 0, safety = 1, rlExecution = 2, logReporter = 3 };

struct ZIVRA_API JogOpt {
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

struct ZIVRA_API DragParameter {
  enum class Space { jointSpace = 0, cartesianSpace = 1 };
  enum class Type { translationOnly = 0, rotationOnly = 1, freely = 2 };
};

struct ZIVRA_API NorvilOpt {
  enum class Vout { off = 0, reserve = 1, supply12v = 2, supply24v = 3 };
};

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
  OperateMode operation_mode = OperateMode::unknown;
  double speed_override = 0;  ///< fraction
};

/// @name Printing
/// The forms of the library's own log lines. `operator<<` prints the same text; users of fmt include
/// `<zivra/format.h>`.
/// @{
ZIVRA_API std::string to_string(const Frame& value);
ZIVRA_API std::string to_string(const CartesianPosition& value);
ZIVRA_API std::string to_string(const CartesianPosition::Offset& value);
ZIVRA_API std::string to_string(const Load& value);
ZIVRA_API std::string to_string(const Toolset& value);
ZIVRA_API std::string to_string(PowerState value);
ZIVRA_API std::string to_string(OperateMode value);
ZIVRA_API std::string to_string(OperationState value);
ZIVRA_API std::string to_string(StopLevel value);
ZIVRA_API std::string to_string(MotionControlMode value);
ZIVRA_API std::string to_string(AvoidSingularityMethod value);
ZIVRA_API std::string to_string(Event value);
ZIVRA_API std::string to_string(JogOpt::Space value);
ZIVRA_API std::string to_string(DragParameter::Space value);
ZIVRA_API std::string to_string(DragParameter::Type value);
ZIVRA_API std::string to_string(NorvilOpt::Vout value);

ZIVRA_API std::ostream& operator<<(std::ostream& out, const Frame& value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, const CartesianPosition& value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, const CartesianPosition::Offset& value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, const Load& value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, const Toolset& value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, PowerState value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, OperateMode value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, OperationState value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, StopLevel value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, MotionControlMode value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, AvoidSingularityMethod value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, Event value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, JogOpt::Space value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, DragParameter::Space value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, DragParameter::Type value);
ZIVRA_API std::ostream& operator<<(std::ostream& out, NorvilOpt::Vout value);
/// @}

}  // namespace zivra
