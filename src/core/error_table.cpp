#include "core/error_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace zivra::internal {
namespace {

struct Row {
  int code;
  Texts texts;
};

// A code is a line.
// clang-format off
constexpr Row kRows[] = {
    {0, {"success", "操作成功完成"}},
    {-1, {"General failure", "发生错误"}},
    {-3, {"The robot is in EStop state, please recover.", "机器人急停按钮被按下, 请先恢复"}},
    {-16, {"The operation is not allowed under current mode (auto/manual), please switch to the other.", "该操作不允许在当前模式下执行(手动/自动), 请切换到另一个模式"}},
    {-17, {"motor power state unsupported operation", "该操作不允许在当前上下电状态下执行"}},
    {-18, {"task_space unsupported operation", "该操作不允许在机器人当前运行状态下执行"}},
    {-19, {"control mode (position/force) unsupported operation", "该操作不允许在当前控制模式(位置/力控)下执行"}},
    {-20, {"robot state (moving) unsupported operation", "机器人运动中"}},
    {-32, {"IK error", "计算逆解错误"}},
    {-33, {"IK error (singularity)", "逆解是奇异点"}},
    {-34, {"IK error (over limit)", "逆解超出机器人软限位"}},
    {-35, {"IK error (out of working space)", "目标点超出运动范围"}},
    {-36, {"IK error (out of working space)", "目标点超出运动范围"}},
    {-37, {"IK error (too large step)", "单步距离过大，无法计算逆解"}},
    {-38, {"IK error (joint configure data)", "配置数据cfx错误逆解无解"}},
    {-39, {"IK error (input data)", "输入数据错误，无法计算逆解"}},
    {-40, {"IK error (near singularity)", "逆解参考点是奇异点"}},
    {-41, {"IK error (algorithm failure)", "算法失效，无法计算逆解"}},
    {-257, {"Protocol parsing error", "通信协议解析失败"}},
    {-258, {"invalid data key", "未找到匹配的数据名称"}},
    {-259, {"invalid command key", "未找到匹配的指令名称"}},
    {-260, {"protocol mismatch", "数据值错误, 可能是通信协议不匹配"}},
    {-272, {"invalid data key (get method)", "未找到要查询的数据名称"}},
    {-273, {"data unreadable", "数据不可读"}},
    {-277, {"funtion not correspond", "文件传输前后功能码不对应"}},
    {-278, {"false project zip", "工程文件压缩包错误-需包含.mod和.xml文件"}},
    {-279, {"file path dose not exist", "文件路径不存在"}},
    {-280, {"fail to open file", "无法打开文件"}},
    {-281, {"wrong file type", "输入文件类型错误"}},
    {-283, {"file is oversized to transfer", "文件大小超出可传输大小"}},
    {-284, {"failed to send data", "文件数据发送失败"}},
    {-285, {"send data timeout", "文件数据发送超时"}},
    {-288, {"data non-writable", "数据不可写"}},
    {-289, {"set data failed (merge json)", "设置数据失败"}},
    {-290, {"set data failed", "设置数据失败"}},
    {-304, {"monitor data failed", "监控数据失败"}},
    {-305, {"monitor data failed (duplicated)", "数据已被监控, 不支持重复监控"}},
    {-320, {"unfinished command", "指令执行未完成"}},
    {-337, {"recorded path is too short", "录制的路径过短, 数据点不足, 请重新录制"}},
    {-338, {"recorded path has points exceed joint angle limit", "录制的路径中存在超过关节软限位的情况。请重新录制"}},
    {-339, {"recorded path has points exceed joint velocity limit", "录制的路径中存在关节速度过快的情况, 请重新录制"}},
    {-340, {"the path does not start from idle state", "未从机器人静止状态开始录制路径"}},
    {-341, {"the path does not end with idle state", "停止录制路径时机器人未停止运动"}},
    {-342, {"motor power off, cannot save path", "机器人处于下电状态, 保存路径失败"}},
    {-352, {"empty path cache", "缓冲区不存在有效的路径, 请录制"}},
    {-353, {"save path failed (serialisation)", "保存路径到磁盘失败"}},
    {-513, {"switch mode failed", "切换手动/自动操作模式失败"}},
    {-514, {"switch motor power failed", "上下电失败"}},
    {-515, {"switch drag failed", "打开/关闭拖动失败, 请检查机器人是否处于下电"}},
    {-10005, {"Not at mechanical zero position", "标定中, 或标定时重置负载失败"}},
    {-10030, {"Input simulation mode is off, the signal name not found", "未打开仿真模式或信号不存在"}},
    {-10040, {"Start drag failed, please set correct load", "开始拖动失败,正确设置负载并标定力矩传感器"}},
    {-10051, {"Soft limit value exceeds mechanical joint limit", "软限位超出机械限位"}},
    {-10065, {"Sync NTP failed", "同步NTP时间失败"}},
    {-10101, {"Invalid IP address", "IP地址非法"}},
    {-28672, {"RT mode network error", "实时模式网络错误"}},
    {-28688, {"switch to RT mode failed", "切换运动控制模式失败"}},
    {-28689, {"RT mode unsupported frequency", "该频率不支持"}},
    {-28705, {"RT mode already started moving", "已经开始运动"}},
    {-28706, {"RT mode request impossible", "无法执行该操作，可能由于机器人未处于空闲状态"}},
    {-28707, {"RT mode start at singularity", "起始位置为奇异点"}},
    {-28708, {"RT mode invalid arguments", "参数错误"}},
    {-28709, {"RT mode collision occurred", "机器人处于碰撞停止"}},
    {-28710, {"RT mode EStop is pressed", "机器人处于急停状态"}},
    {-28711, {"RT mode general_reject", "请求被拒绝"}},
    {-10079, {"Force control module is in error state", "力控模块处于错误状态"}},
    {-10141, {"load mass exceed limit", "负载质量超过了机器人额定负载"}},
    {-14010, {"IO or register is bind as systemIO", "已绑定为系统IO"}},
    {-14501, {"DO signal not found, or it's defined as a SystemIO", "DO信号不存在或为系统输出"}},
    {-17001, {"read register failed", "读寄存器错误,寄存器不存在或数据类型不符"}},
    {-17002, {"write register failed", "写寄存器错误,寄存器不存在或数据类型不符"}},
    {-17320, {"Have run RL program, call moveReset() to reset", "执行过RL程序, 需要重置运动缓存后再开始运动"}},
    {-17407, {"Disable safety area before using rail", "开启导轨需关闭安全区域"}},
    {-41400, {"Has unfinished force control commands", "尚有力控指令未完成"}},
    {-41419, {"The length of tool exceeds limitation", "TCP长度超限，力控初始化失败"}},
    {-41420, {"Force control model error, failed start force control", "未进行力控初始化; 或未正确设置负载; 或力控模型偏差较大"}},
    {-41421, {"Not in force control mode, cannot stop", "停止力控失败，当前不处于力控运行状态"}},
    {-41422, {"Resume force control failed", "重新开启力控失败"}},
    {-41425, {"Not in impedance control mode, or is doing searching motion", "非阻抗控制模式，或搜索运动在运行中"}},
    {-41426, {"Not in impedance control mode, or is doing searching motion", "非阻抗控制模式，或搜索运动在运行中"}},
    {-41427, {"Not in impedance control mode, or hasn't setup overlay motion", "当前不处于笛卡尔阻抗控制模式或未设置搜索运动"}},
    {-41428, {"Not in impedance control mode, or overlay motion isn't started", "当前不处于笛卡尔阻抗控制模式或未开始搜索运动"}},
    {-41429, {"Not in impedance control mode, or overlay motion isn't paused", "当前未处于笛卡尔阻抗模式或搜索运动未暂停"}},
    {-41430, {"Unsupported impedance control type or force control frame", "不支持的阻抗控制类型或力控坐标系"}},
    {-41431, {"not joint force control mode or uninitialized", "当前未处于关节阻抗控制模式或未初始化"}},
    {-41432, {"not cartesian force control mode or uninitialised", "当前未处于笛卡尔阻抗控制模式或未初始化"}},
    {-41433, {"not cartesian force control mode or uninitialised", "当前未处于笛卡尔阻抗控制模式或未初始化"}},
    {-41434, {"Joint desired force exceed limitation", "关节期望力超过限制"}},
    {-41435, {"Desired force exceed limitation", "笛卡尔空间期望力超过限制"}},
    {-41442, {"Soft limit is disabled", "机器人不满足软限位要求，开启力控失败"}},
    {-41444, {"given stiffness value are inappropriate, or in the state cannot set stiffness", "阻抗刚度设置失败，数值不合理或当前状态不能设置刚度"}},
    {-41448, {"Motor power is off during initialization", "力控过程中下电，初始化失败"}},
    {-41449, {"Failed during initialization", "力控指令尚未执行完毕，初始化失败 "}},
    {-41457, {"Has run fc stop, need restart", "执行过力控停止,需要重新开始"}},
    {-41459, {"The operation is not allowed in force control mode", "处于力控模式，不允许执行的操作"}},
    {-41470, {"Force control protection parameter is set to default", "出现报错力控保护参数已设为默认值"}},
    {-50000, {"move zone canceled", "两条轨迹夹角过小或长度过短，转弯区无法生成"}},
    {-50001, {"move error state", "控制器状态错误，无法生成轨迹"}},
    {-50002, {"move target unreachable", "目标点超出运动范围, 或为奇异点"}},
    {-50003, {"adjacent points", "相邻两个目标点过近"}},
    {-50004, {"move circle close start target", "无法生成圆弧,起始点和目标点距离过近"}},
    {-50005, {"move circle close start aux", "无法生成圆弧, 起始点和辅助点距离过近"}},
    {-50006, {"move circle close aux target", "无法生成圆弧, 辅助点和目标点距离过近"}},
    {-50007, {"move circle close points", "无法生成圆弧, 起始点/辅助点/目标点距离过近"}},
    {-50008, {"move circle points in line", "无法生成圆弧, 点位在一条直线"}},
    {-50009, {"move circle narrow radius", "无法生成圆弧, 半径过小"}},
    {-50010, {"move circle invalid", "无法生成圆弧"}},
    {-50019, {"move trajectory failure", "生成轨迹失败"}},
    {-50021, {"move conf-data unresolved", "指定conf参数下目标点无解, 请检查数值或不设置confData"}},
    {-50027, {"The length of path is shorter than the radius of zone", "轨迹短于最小转弯区半径, 自动拼接路径"}},
    {-50033, {"Lock axis is enabled, but the target joint angle isn't consistent", "机器人处于锁轴状态，目标点锁轴角度发生了偏离，请调整目标点或关闭锁轴状态"}},
    {-50034, {"The target is unreachable when lock-axis is enabled, or for 5-axis model", "锁轴状态下或5轴机型无法到达目标点"}},
    {-50101, {"move joints unreachable", "轴角度超出运动范围, 尝试取消软限位后恢复各轴到允许的范围内"}},
    {-50102, {"singularity", "存在穿越奇异点的轨迹"}},
    {-50103, {"wrong conf-data", "笛卡尔路径终点不符合给定的ConfData"}},
    {-50104, {"exceed torque limit", "关节力矩超限"}},
    {-50112, {"the given posture is invalid", "位姿有误计算逆解失败"}},
    {-50113, {"Posture deviation exceed limit", "改变的姿态超过设定的阈值"}},
    {-50114, {"move joints lookahead unreachable", "前瞻中轴运动超出运动范围，提前停止运动"}},
    {-50115, {"Pass singularity", "轨迹前瞻过程中遇到奇异点"}},
    {-50118, {"The calculated target posture is different from the given one", "改变姿态后求解的终点与所需要终点不一致"}},
    {-50120, {"Cannot get a target in singularity avoid mode", "奇异规避下搜索路径终点角度失败"}},
    {-50121, {"Cannot get a target in singularity avoid mode", "奇异规避下搜索路径终点角度失败"}},
    {-50204, {"sampling shortage", "规划过程中采样点不足, 请重新运行"}},
    {-50205, {"There's a gap between adjacent commands", "相邻位置指令相差过大"}},
    {-50208, {"internal trajectory error", "内部轨迹错误, 请调用moveReset()重置运动指令缓存"}},
    {-50401, {"collided", "检测到碰撞"}},
    {-50501, {"tool wobj failure", "工具工件坐标系设置失败，可能由于工具或工件不存在"}},
    {-50512, {"axes number mismatch", "轴数不匹配"}},
    {-50513, {"move invalid rate", "速度设置无效，机器人无法运动"}},
    {-50514, {"move invalid step", "步长设置无效，机器人无法运动"}},
    {-50515, {"move invalid coordinate", "参考坐标系设置无效，机器人无法运动"}},
    {-50516, {"move invalid index", "运动轴设置无效，机器人无法运动"}},
    {-50518, {"move already at target", "运动失败，目标点可能是当前点"}},
    {-50519, {"move invalid target", "生成轨迹失败, 目标点位可能超出机器人工作范围"}},
    {-50525, {"move joint locked", "该机型不支持奇异规避模式运动, 或机器人锁轴失败, 4轴角度不为0不运行运动, 请调整4轴角度"}},
    {-50533, {"move joint locked enable failed", "进入锁轴状态失败"}},
    {-60005, {"project not found", "RL工程或指定任务不存在"}},
    {-60014, {"Controller is in error state, cannot start move", "控制器当前状态不允许开始运动"}},
    {-60200, {"Invalid load value", "负载信息错误, 设置失败"}},
    {-60511, {"Path not found", "路径不存在"}},
    {-60611, {"Is saving diagnosis data, please wait", "正在生成诊断数据不能运动,请等待"}},
    {-60702, {"switch to avoid singularity mode failed (4th axis is not zero)", "当前四轴角度不为0, 不允许切换到四轴固定模式, 或机型不支持"}},
    {-60704, {"Failed to meet the wrist method condition", "不满足牺牲姿态奇异规避的开启条件"}},
    {-60706, {"Failed to meet the joint space interpolation condition", "不满足轴空间插补奇异规避的开启条件"}},
    {255, {"uninitialized nor connect", "未初始化连接机器人"}},
    {256, {"network connection", "网络连接错误"}},
    {257, {"response unresolved", "无法解析机器人消息, 可能由于SDK版本与控制器版本不匹配"}},
    {258, {"parameter exceed limit", "参数错误,数值超出范围"}},
    {259, {"argument invalid", "参数错误,参数类型或个数错误"}},
    {260, {"invalid transformation matrix", "不是合法的变换矩阵"}},
    {261, {"axis mismatch", "数组元素个数与机器人轴数不符"}},
    {262, {"motion control mode error", "运动控制模式错误,请切换到正确的模式"}},
    {263, {"timeout", "超时前未收到机器人回复, 可能由于网络通信问题"}},
    {264, {"duplicate operation", "重复操作"}},
    {265, {"network udp socket", "通过UDP端口接收数据失败，请检查网络及防火墙配置"}},
    {266, {"access check failure", "客户端校验失败，请检查控制器版本和机器人型号"}},
    {267, {"connection refused", "连接被拒绝"}},
    {268, {"update file invalid", "升级文件无效"}},
    {269, {"upgrade failure", "升级失败"}},
    {270, {"export failure", "导出失败"}},
    {271, {"export partial", "导出备份成功但有文件不存在"}},
    {272, {"unregistered event", "事件未监听"}},
    {273, {"calibration frame error", "点位距离过近，坐标系标定失败"}},
    {512, {"RT mode ip address port invalid", "IP地址或端口设置错误, 或端口被占用"}},
    {513, {"RT mode fields unsupported", "设置了不支持的字段, 或总长度超出限制"}},
    {768, {"move empty cache", "没有可执行的运动指令"}},
    {769, {"robot is stopping", "机器人停止中或当前状态无法暂停"}},
};
// clang-format on

constexpr std::size_t kCount = std::size(kRows);
static_assert(kCount == 168);

// Places in kRows by rising code.
constexpr std::array<std::uint8_t, kCount> kByCode = [] {
  std::array<std::uint8_t, kCount> places{};
  for (std::size_t i = 0; i < kCount; ++i) places[i] = static_cast<std::uint8_t>(i);
  std::sort(places.begin(), places.end(),
            [](std::uint8_t a, std::uint8_t b) { return kRows[a].code < kRows[b].code; });
  return places;
}();
static_assert(std::adjacent_find(kByCode.begin(), kByCode.end(), [](std::uint8_t a, std::uint8_t b) {
                return kRows[a].code == kRows[b].code;
              }) == kByCode.end());

}  // namespace

const Texts* textsOfCode(int code) noexcept {
  const auto* found =
      std::lower_bound(kByCode.begin(), kByCode.end(), code,
                       [](std::uint8_t place, int wanted) { return kRows[place].code < wanted; });
  return found != kByCode.end() && kRows[*found].code == code ? &kRows[*found].texts : nullptr;
}

}  // namespace zivra::internal
