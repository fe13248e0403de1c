#pragma once

#include <cstdint>

#include <zivra/service_types.h>
#include <zivra/types.h>

/// The native enumerations are the managed ones too, so that only numbers cross.
namespace zivra::clr {

using zivra::AvoidSingularityMethod;
using zivra::BackupItem;
using zivra::CoordinateType;
using zivra::DragParameter;
using zivra::Event;
using zivra::FrameType;
using zivra::JogOpt;
using zivra::MotionControlMode;
using zivra::NorvilOpt;
using zivra::OperateMode;
using zivra::OperationState;
using zivra::PowerState;
using zivra::RtControllerMode;
using zivra::SegmentFrame;
using zivra::StopLevel;
using zivra::WorkType;
using LogInfoLevel = zivra::LogInfo::Level;

// Those that have no native one to themselves: .NET knows each as a type of its own.
enum class CANFormat : std::int32_t { STANDARD = 0, EXTENDED = 1 };
enum class CANType : std::int32_t { CANFD_ACCELERATED = 0, CANFD = 1, CanClassic = 2 };
/// The same as `JogOpt::Space`.
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
struct DragOpt {
  /// The same as `DragParameter::Space`.
  enum class Space : std::int32_t { jointSpace = 0, cartesianSpace = 1 };
  /// The same as `DragParameter::Type`.
  enum class Type : std::int32_t { translationOnly = 0, rotationOnly = 1, freely = 2 };
};

}  // namespace zivra::clr
