#include "core/library_message.h"

#include <iterator>

#include "core/texts.h"

namespace zivra::internal {
namespace {

// A message is a line.
// clang-format off
constexpr Texts kMessages[] = {
    {"Client has already start receiving state data", "已开始接收数据"},
    {"Controller failed to set output data.", "控制器无法设置发送的状态数据."},
    {"Failed to open UDP socket.", "UDP socket打开失败."},
    {"Controller failed to publish state data.", "控制器无法发送机器人状态信息."},
    {"Not start receiving data", "未开始接收数据"},
    {"Have not received status feedback from controller before timeout, please check network configuration", "超时前未收到机器人状态反馈,请检查网络配置"},
    {"Failed to receive state data ", "接收机器人状态数据错误 "},
    {"Minimum required Ostrel version ", "Ostrel最低版本要求"},
    {"Robot instance type does not match with the connected robot ", "机器人实例类型与连接的机型不符："},
    {"Local IPv4 address is invalid", "本机IPv4地址设置失败，不能为127.0.0.1或机器人地址"},
    {"Invalid number of elements, should be 6 or 16", "位姿初始化接收6或16个参数"},
    // No operation raises the ones below.
    {"Motion control mode is incorrect.", "运动控制模式错误, 非实时模式."},
    {"Failed to create RT controller.", "创建实时控制客户端失败."},
    {"Setup control command failed", "设置控制指令失败 "},
    {"Failed to receive motion error", "无法收到运动错误反馈"},
    {"Load model error.", "加载模型失败 "},
    {"TandiModel library unsupported robot type: ", "Tandi模型库暂不支持的机型"},
    {"Attempted to start multiple motions!", "已经开始运动, 请勿重复调用"},
    {"Start move has not been called", "未调用开始运动"},
    {"Failed start move, set control mode failure ", "设置模式错误, 开始运动失败 "},
    {"Failed start move ", "开始运动失败 "},
    {"Failed to stop move", "停止运动失败 "},
    {"Last motion control loop not finished", "前一段控制周期未结束"},
    {"Industrial robots only support position control", "工业机型仅支持位置控制"},
    {"The start posture and the target posture has different psi setting", "起点和终点的臂角格式不一样"},
    {"Motion command is inconsistent with control mode", "指令和控制模式不一致"},
    {"Cannot send commands ", "发送指令失败"},
    {"The start/target/aux point overlaps", "圆弧起点/终点/辅助点重合"},
    {"Three given points are collinear", "圆弧路径求解时，三点共线"},
    {"The angle among three points is too small", "圆弧路径求解时，三点夹角过小"},
    {"The calculated radius is too small", "圆弧路径求解时，圆弧半径过小失败"},
    {"Not initialized", "未初始化"},
    {"Lowpass-filter: input data is negative, infinite or NaN", "滤波错误,输入数据非正数"},
    {"lowpass-filter: input value to be filtered is infinite NaN.", "滤波错误, 需滤波数据无限大"},
};
// clang-format on

static_assert(std::size(kMessages) == 34);
static_assert(static_cast<int>(Message::firstUnused) == 11);

}  // namespace

const char* libraryMessage(int index) noexcept {
  return index >= 0 && index < static_cast<int>(std::size(kMessages)) ? kMessages[index].current() : "";
}

}  // namespace zivra::internal
