#pragma once

#include <array>
#include <tuple>
#include <utility>

#include "abi/codec.h"

/// The enumerations and value types: their names in C#, members and fields in order.
namespace zivra::clr::abi {

// The comma at the end keeps the rest from being left out, which some compilers warn of.
#define ZCLR_EACH(macro, context, ...) ZCLR_EXPAND(ZCLR_EACH_STEP(macro, context, __VA_ARGS__, ))
#define ZCLR_EACH_STEP(macro, context, first, ...) \
  macro(context, first) __VA_OPT__(, ZCLR_EACH_AGAIN ZCLR_PARENS(macro, context, __VA_ARGS__))
#define ZCLR_EACH_AGAIN() ZCLR_EACH_STEP
#define ZCLR_PARENS ()
#define ZCLR_EXPAND(...) ZCLR_EXPAND2(ZCLR_EXPAND2(ZCLR_EXPAND2(__VA_ARGS__)))
#define ZCLR_EXPAND2(...) ZCLR_EXPAND1(ZCLR_EXPAND1(ZCLR_EXPAND1(__VA_ARGS__)))
#define ZCLR_EXPAND1(...) __VA_ARGS__

#define ZCLR_MEMBER(type, member) std::pair<const char*, int>(#member, static_cast<int>(type::member))
#define ZCLR_ENUM(type, csharp, ...)                                                            \
  template <>                                                                                   \
  struct EnumInfo<type> {                                                                       \
    static constexpr const char* name = csharp;                                                 \
    static constexpr auto members = std::to_array({ZCLR_EACH(ZCLR_MEMBER, type, __VA_ARGS__)}); \
  };

template <class Class, class Of, class T>
constexpr Field<Class, T> field(const char* name, T Of::*member) {
  return {name, member};
}
#define ZCLR_FIELD(type, member) field<type>(#member, &type::member)
#define ZCLR_FIELDS(type, csharp, ...)                                                 \
  template <>                                                                          \
  struct Fields<type> {                                                                \
    static constexpr const char* name = csharp;                                        \
    static constexpr auto list = std::tuple(ZCLR_EACH(ZCLR_FIELD, type, __VA_ARGS__)); \
  };

ZCLR_ENUM(PowerState, "PowerState", on, off, estop, gstop, unknown)
ZCLR_ENUM(OperateMode, "OperateMode", manual, automatic, unknown)
ZCLR_ENUM(OperationState, "OperationState", idle, jog, rtControlling, drag, rlProgram, demo, dynamicIdentify,
          frictionIdentify, loadIdentify, moving, jogging, unknown)
ZCLR_ENUM(WorkType, "WorkType", industrial, collaborative)
ZCLR_ENUM(CoordinateType, "CoordinateType", flangeInBase, endInRef)
ZCLR_ENUM(StopLevel, "StopLevel", stop0, stop1, stop2, suppleStop)
ZCLR_ENUM(MotionControlMode, "MotionControlMode", Idle, NrtCommand, NrtRLTask, RtCommand)
ZCLR_ENUM(RtControllerMode, "RtControllerMode", jointPosition, cartesianPosition, jointImpedance,
          cartesianImpedance, torque)
ZCLR_ENUM(SegmentFrame, "SegmentFrame", joint1, joint2, joint3, joint4, joint5, joint6, joint7, flange,
          endEffector, stiffness)
ZCLR_ENUM(JogSpace, "JogSpace", world, flange, baseFrame, toolFrame, wobjFrame, jointSpace,
          singularityAvoidMode, baseParallelMode)
ZCLR_ENUM(JogOpt::Space, "JogOpt.Space", world, flange, baseFrame, toolFrame, wobjFrame, jointSpace,
          singularityAvoidMode, baseParallelMode)
ZCLR_ENUM(FrameType, "FrameType", world, baseFrame, flange, tool, wobj, path, rail)
ZCLR_ENUM(AvoidSingularityMethod, "AvoidSingularityMethod", lockAxis4, wrist, jointWay)
ZCLR_ENUM(Event, "Event", moveExecution, safety, rlExecution, logReporter)
ZCLR_ENUM(LogInfoLevel, "LogInfoLevel", info, warning, err)
ZCLR_ENUM(CANFormat, "CANFormat", STANDARD, EXTENDED)
ZCLR_ENUM(CANType, "CANType", CANFD_ACCELERATED, CANFD, CanClassic)
ZCLR_ENUM(BackupItem, "BackupItem", customConfig, robotConfig, robotConfigWithoutBodyParams, controllerLog,
          systemLog, rlProgram, backupRlProgram, sdkRecordPath)
ZCLR_ENUM(DragOpt::Space, "DragOpt.Space", jointSpace, cartesianSpace)
ZCLR_ENUM(DragOpt::Type, "DragOpt.Type", translationOnly, rotationOnly, freely)
ZCLR_ENUM(DragParameter::Space, "DragParameter.Space", jointSpace, cartesianSpace)
ZCLR_ENUM(DragParameter::Type, "DragParameter.Type", translationOnly, rotationOnly, freely)
ZCLR_ENUM(NorvilOpt::Vout, "NorvilOpt.Vout", off, reserve, supply12v, supply24v)
ZCLR_ENUM(CartesianPosition::Offset::Type, "CartesianPosition.Offset.Type", none, offs, relTool)
ZCLR_ENUM(MoveCommand::Type, "MoveCommand.Type", MoveL, MoveJ, MoveAbsJ, MoveC, MoveCF, MoveSP, MoveWait)

ZCLR_ENUM(Fault, "Fault", none, api, indexOutOfRange, nullReference, argumentNull, argument,
          argumentOutOfRange, notSupported, external, outOfMemory)

ZCLR_FIELDS(Frame, "Frame", trans, rpy)
ZCLR_FIELDS(CartesianPosition, "CartesianPosition", trans, rpy, elbow, confData, external)
ZCLR_FIELDS(CartesianPosition::Offset, "CartesianPosition.Offset", type, frame)
ZCLR_FIELDS(JointPosition, "JointPosition", joints, external)
ZCLR_FIELDS(MoveCommand, "MoveCommand", cartTarget, jointTarget, auxPoint, cartTargetOffset, auxPointOffset,
            speed, jointSpeed, rotSpeed, zone, customInfo, args)
ZCLR_FIELDS(Load, "Load", mass, cog, inertia)
ZCLR_FIELDS(Toolset, "Toolset", load, end, reference)
ZCLR_FIELDS(FrameCalibrationResult, "FrameCalibrationResult", frame, errors)
ZCLR_FIELDS(SDOData, "SDOData", index, sub_index, length, over_time, wait_time, print_data, data)
ZCLR_FIELDS(CANFrame, "CANFrame", frame_id, frame_format, frame_type, data, frame_valid_length)
ZCLR_FIELDS(WorkToolInfo, "WorkToolInfo", name, alias, robotHeld, pos, load)
ZCLR_FIELDS(Info, "Info", id, mac, version, type, joint_num)
ZCLR_FIELDS(StateList, "StateList", joint_pos, cart_pos, digital_signals, analog_signals, operation_mode,
            speed_override)
ZCLR_FIELDS(KeyPadState, "KeyPadState", key1_state, key2_state, key3_state, key4_state, key5_state,
            key6_state, key7_state)
ZCLR_FIELDS(SlaveInfo, "SlaveInfo", vendorId, productCode, reversionNumber, slaveAddr, slaveId, alStatus,
            slaveName)

#undef ZCLR_ENUM
#undef ZCLR_MEMBER
#undef ZCLR_FIELDS
#undef ZCLR_FIELD

/// The enumerations that C# gets, nested ones with their owner.
template <class... E>
struct EnumList {};
using AllEnums =
    EnumList<PowerState, OperateMode, OperationState, WorkType, CoordinateType, StopLevel, MotionControlMode,
             RtControllerMode, SegmentFrame, JogSpace, JogOpt::Space, FrameType, AvoidSingularityMethod,
             Event, LogInfoLevel, CANFormat, CANType, BackupItem, DragOpt::Space, DragOpt::Type,
             DragParameter::Space, DragParameter::Type, NorvilOpt::Vout, CartesianPosition::Offset::Type,
             MoveCommand::Type>;

}  // namespace zivra::clr::abi
