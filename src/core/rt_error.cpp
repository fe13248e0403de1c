// What the state stream reports while the robot moves in real time.
#include <array>
#include <cstddef>
#include <iterator>
#include <string>

#include <zivra/error.h>

#include "core/texts.h"

namespace zivra {
namespace {

// By flag.
// clang-format off
constexpr internal::Texts kMotionErrors[] = {
    {"(0-kActualJointPositionLimitsViolation)", "实际轴角度超限. (0-kActualJointPositionLimitsViolation)"},
    {"(1-kActualCartesianPositionLimitsViolation)", "实际末端位姿超限 (1-kActualCartesianPositionLimitsViolation)"},
    {"(2-kActualCartesianMotionElbowLimitViolation)", "实际臂角超限 (2-kActualCartesianMotionGeneratorElbowLimitViolation)"},
    {"(3-kActualJointVelocityLimitsViolation)", "实际轴速度超限 (3-kActualJointVelocityLimitsViolation)"},
    {"(4-kActualCartesianVelocityLimitsViolation)", "实际末端速度超限 (4-kActualCartesianVelocityLimitsViolation)"},
    {"(5-EStop)", "急停触发 (5-kEstop)"},
    {"(6-kActualCartesianAccelerationLimitsViolation)", "实际末端加速度超限 (6-kActualCartesianAccelerationLimitsViolation)"},
    {"(7-kCommandJointPositionLimitsViolation)", "指令轴角度超限 (7-kCommandJointPositionLimitsViolation)"},
    {"(8-kCommandCartesianPositionLimitsViolation)", "指令末端位姿超限 (8-kCommandCartesianPositionLimitsViolation)"},
    {"(9-kCommandCartesianMotionGeneratorElbowLimitViolation)", "指令臂角超限 (9-kCommandCartesianMotionGeneratorElbowLimitViolation)"},
    {"(10-kCommandJointVelocityLimitsViolation)", "指令轴速度超限 (10-kCommandJointVelocityLimitsViolation)"},
    {"(11-kCommandCartesianVelocityLimitsViolation)", "指令末端速度超限 (11-kCommandCartesianVelocityLimitsViolation)"},
    {"(12-kCommandJointAccelerationLimitsViolation)", "指令轴加速度超限 (12-kCommandJointAccelerationLimitsViolation)"},
    {"(13-kCommandCartesianAccelerationLimitsViolation)", "指令末端加速度超限 (13-kCommandCartesianAccelerationLimitsViolation)"},
    {"(14-kCommandJointAccelerationDiscontinuity)", "指令轴加速度不连续 (14-kCommandJointAccelerationDiscontinuity)"},
    {"Detected collision (15-kCollision)", "检测到碰撞 (15-kCollision)"},
    {"IK error (16-kCartesianPositionMotionGeneratorInvalidFrame)", "笛卡尔指令逆解失败 (16-kCartesianPositionMotionGeneratorInvalidFrame)"},
    {"(17-kCommandTorqueDiscontinuity)", "指令力矩不连续 (17-kCommandTorqueDiscontinuity)"},
    {"(18-kCommandTorqueRangeViolation)", "指令力矩超限 (18-kCommandTorqueRangeViolation)"},
    {"Network is not stable, please increase RT network tolerance. (19-kInstabilityDetection)", "指令发送不稳定, 连续多个周期没有收到新指令 (19-kInstabilityDetection)"},
};
// clang-format on
constexpr internal::Texts kUnknown{"unknown error", "未知错误"};

static_assert(std::size(kMotionErrors) == 20);

}  // namespace

std::string rtErrorText(unsigned flag) {
  return (flag < std::size(kMotionErrors) ? kMotionErrors[flag] : kUnknown).current();
}

void throwFirstRtError(const std::array<bool, 20>& flags) {
  for (std::size_t flag = 0; flag < flags.size(); ++flag) {
    if (flags[flag]) throw RealtimeMotionException(rtErrorText(static_cast<unsigned>(flag)));
  }
}

}  // namespace zivra
