#pragma once

#include <cstdint>

/// The native enumerations as managed ones: same members, same numbers, and only the number crosses.
namespace zivra::clr {

enum class PowerState : std::int32_t { on = 0, off = 1, estop = 2, gstop = 3, unknown = -1 };
enum class OperateMode : std::int32_t { manual = 0, automatic = 1, unknown = -1 };
enum class OperationState : std::int32_t {
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
enum class WorkType : std::int32_t { industrial = 0, collaborative = 1 };
enum class CoordinateType : std::int32_t { flangeInBase = 0, endInRef = 1 };
enum class StopLevel : std::int32_t { stop0 = 0, stop1 = 1, stop2 = 2, suppleStop = 3 };
enum class MotionControlMode : std::int32_t { Idle = 0, NrtCommand = 1, NrtRLTask = 2, RtCommand = 3 };
enum class RtControllerMode : std::int32_t {
  jointPosition = 0,
  cartesianPosition = 1,
  jointImpedance = 2,
  cartesianImpedance = 3,
  torque = 4
};
enum class SegmentFrame : std::int32_t {
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
enum class JogSpace : std::int32_t {
  world = 0,
  flange = 1,
  baseFrame = 2,
  toolFrame = 3,
  wobjFrame = 4,
  jointSpace = 5,
  singularityAvoidMode = 6,
  baseParallelMode = 7
};
enum class FrameType : std::int32_t {
  world = 0,
  baseFrame = 1,
  flange = 2,
  tool = 3,
  wobj = 4,
  path = 5,
  rail = 6
};
enum class AvoidSingularityMethod : std::int32_t { lockAxis4 = 0, wrist = 1, jointWay = 2 };
enum class Event : std::int32_t { moveExecution = 0, safety = 1, rlExecution = 2, logReporter = 3 };
enum class LogInfoLevel : std::int32_t { info = 0, warning = 1, err = 2 };
enum class CANFormat : std::int32_t { STANDARD = 0, EXTENDED = 1 };
enum class CANType : std::int32_t { CANFD_ACCELERATED = 0, CANFD = 1, CanClassic = 2 };
enum class BackupItem : std::int32_t {
  customConfig = 0,
  robotConfig = 1,
  robotConfigWithoutBodyParams = 2,
  controllerLog = 3,
  systemLog = 4,
  rlProgram = 5,
  backupRlProgram = 6,
  sdkRecordPath = 7
};

struct JogOpt {
  enum class Space : std::int32_t {
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

struct DragOpt {
  enum class Space : std::int32_t { jointSpace = 0, cartesianSpace = 1 };
  enum class Type : std::int32_t { translationOnly = 0, rotationOnly = 1, freely = 2 };
};

struct DragParameter {
  enum class Space : std::int32_t { jointSpace = 0, cartesianSpace = 1 };
  enum class Type : std::int32_t { translationOnly = 0, rotationOnly = 1, freely = 2 };
};

struct NorvilOpt {
  enum class Vout : std::int32_t { off = 0, reserve = 1, supply12v = 2, supply24v = 3 };
};

}  // namespace zivra::clr
