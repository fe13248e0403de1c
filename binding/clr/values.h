#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "clr/collections.h"
#include "clr/enums.h"
#include "clr/string.h"

/// What a managed caller holds. Arrays may have any length: what is missing shows when a value is converted.
namespace zivra::clr {

class ErrorCode {
 public:
  ErrorCode() : message_("") {}
  ErrorCode(int v, String m) : value_(v), message_(std::move(m)) {}
  int value() const noexcept { return value_; }
  const String& message() const noexcept { return message_; }
  friend bool operator==(const ErrorCode&, const ErrorCode&) = default;

 private:
  int value_ = 0;
  String message_;
};

struct Frame {
  Frame() = default;
  /// The first three numbers are `trans`, the next three `rpy`; IndexOutOfRangeException if there are fewer.
  explicit Frame(const Array<double>& _frame)
      : trans{_frame.at(0), _frame.at(1), _frame.at(2)}, rpy{_frame.at(3), _frame.at(4), _frame.at(5)} {}
  Frame(Array<double> _trans, Array<double> _rpy) : trans(std::move(_trans)), rpy(std::move(_rpy)) {}

  Array<double> trans = Array<double>(3);
  Array<double> rpy = Array<double>(3);
};

struct CartesianPosition : Frame {
  struct Offset {
    using Type = zivra::CartesianPosition::Offset::Type;

    Type type = Type::none;
    Frame frame;
  };

  double elbow = 0;
  List<int> confData;
  List<double> external;
};

struct JointPosition {
  List<double> joints;
  List<double> external;
};

/// One class for all kinds of moves; the kind is told with the call. `args` are a circle's angle and rotation
/// type, a spiral's radius, step, angle and direction, or a wait's seconds. Members may be null, which is a
/// NullReferenceException for the kinds that read them.
struct MoveCommand {
  /// Kinds of moves: `MoveL` a line, `MoveJ` axes to a pose, `MoveAbsJ` axes to angles, `MoveC` an arc,
  /// `MoveCF` a circle or a part of one, `MoveSP` a spiral, `MoveWait` a pause.
  enum class Type : std::int32_t {
    MoveL = 0,
    MoveJ = 1,
    MoveAbsJ = 2,
    MoveC = 3,
    MoveCF = 4,
    MoveSP = 5,
    MoveWait = 6
  };

  std::optional<CartesianPosition> cartTarget = CartesianPosition();
  std::optional<JointPosition> jointTarget = JointPosition();
  std::optional<CartesianPosition> auxPoint = CartesianPosition();
  std::optional<CartesianPosition::Offset> cartTargetOffset = CartesianPosition::Offset();
  std::optional<CartesianPosition::Offset> auxPointOffset = CartesianPosition::Offset();
  double speed = -1;
  double jointSpeed = -1;
  double rotSpeed = -1;
  double zone = -1;
  String customInfo = "";
  std::optional<List<double>> args = List<double>();
};

struct Load {
  Load() = default;
  Load(double m, Array<double> c, Array<double> i) : mass(m), cog(std::move(c)), inertia(std::move(i)) {}

  double mass = 0;
  Array<double> cog = Array<double>(3);
  Array<double> inertia = Array<double>(3);
};

struct Toolset {
  Load load;
  Frame end;
  Frame reference;
};

struct FrameCalibrationResult {
  FrameCalibrationResult() = default;
  FrameCalibrationResult(Frame f, Array<double> e) : frame(std::move(f)), errors(std::move(e)) {}

  Frame frame;
  Array<double> errors = Array<double>(3);
};

struct LogInfo {
  LogInfo(int _id, String ts, String ct, String r)
      : timestamp(std::move(ts)), logText(std::move(ct)), repairHint(std::move(r)), id_(_id) {}
  int id() const noexcept { return id_; }

  String timestamp;
  String logText;
  String repairHint;

 private:
  int id_;
};

struct SDOData {
  int index = 0;
  int sub_index = 0;
  int length = 0;
  int over_time = 0;
  int wait_time = 0;
  int print_data = 0;
  std::optional<Array<std::uint8_t>> data = Array<std::uint8_t>(50);  ///< null counts as no bytes
};

struct CANFrame {
  CANFrame() = default;
  CANFrame(int id, int format, int type, std::optional<Array<std::uint8_t>> bytes, int valid_len)
      : frame_id(id), frame_format(format), frame_type(type), frame_valid_length(valid_len) {
    if (bytes) data = *std::move(bytes);
  }

  int frame_id = 0;
  int frame_format = 0;
  int frame_type = 2;
  Array<std::uint8_t> data;
  int frame_valid_length = 0;
};

struct RLProjectInfo {
  explicit RLProjectInfo(String n) : name(std::move(n)) {}

  String name;
  List<String> taskList;
};

struct WorkToolInfo {
  WorkToolInfo() = default;
  WorkToolInfo(String n, String a, bool isHeld, Frame p, Load l)
      : name(std::move(n)), alias(std::move(a)), robotHeld(isHeld), pos(std::move(p)), load(std::move(l)) {}

  String name = "";
  String alias = "";
  bool robotHeld = false;
  Frame pos;
  Load load;
};

struct Info {
  String id;
  String mac;
  String version;
  String type;
  int joint_num = 0;
};

struct StateList {
  Array<double> joint_pos;
  CartesianPosition cart_pos;
  Array<std::tuple<String, bool>> digital_signals;
  Array<std::tuple<String, double>> analog_signals;
  OperateMode operation_mode = OperateMode::manual;
  double speed_override = 0;
};

struct KeyPadState {
  bool key1_state = false;
  bool key2_state = false;
  bool key3_state = false;
  bool key4_state = false;
  bool key5_state = false;
  bool key6_state = false;
  bool key7_state = false;
};

struct SlaveInfo {
  std::uint32_t vendorId = 0;
  std::uint32_t productCode = 0;
  std::uint32_t reversionNumber = 0;
  std::uint16_t slaveAddr = 0;
  std::uint32_t slaveId = 0;
  std::uint16_t alStatus = 0;
  String slaveName;
};

/// What an event's table holds.
using Object = std::variant<int, double, String, bool, ErrorCode>;

/// A managed Dictionary<string, object>, in the order in which it was filled.
struct Dictionary : std::vector<std::pair<String, Object>> {
  const Object* find(const String& key) const {
    for (const auto& entry : *this) {
      if (entry.first == key) return &entry.second;
    }
    return nullptr;
  }
};

/// Null if empty. Called on native threads.
using EventCallbackDelegate = std::function<void(const Dictionary&)>;
using ConnectionHandlerDelegate = std::function<void(bool)>;

}  // namespace zivra::clr
