// Operations that go to the common native base with their arguments and nothing else.
#include "clr/base_robot.h"

#include "clr/facade.h"

namespace zivra::clr {

using Native = zivra::BaseRobot;

void BaseRobot::disconnectFromRobot(ErrorCode& ec) { forwardTo(robot, &Native::disconnectFromRobot, ec); }

String BaseRobot::sdkVersion() { return utf8StdStringToString(Native::sdkVersion()); }

Info BaseRobot::robotInfo(ErrorCode& ec) { return forwardTo<Info>(robot, &Native::robotInfo, ec); }

PowerState BaseRobot::powerState(ErrorCode& ec) {
  return forwardTo<PowerState>(robot, &Native::powerState, ec);
}

void BaseRobot::setPowerState(bool on, ErrorCode& ec) { forwardTo(robot, &Native::setPowerState, on, ec); }

OperateMode BaseRobot::operateMode(ErrorCode& ec) {
  return forwardTo<OperateMode>(robot, &Native::operateMode, ec);
}

void BaseRobot::setOperateMode(OperateMode mode, ErrorCode& ec) {
  forwardTo(robot, &Native::setOperateMode, mode, ec);
}

OperationState BaseRobot::operationState(ErrorCode& ec) {
  return forwardTo<OperationState>(robot, &Native::operationState, ec);
}

Array<double> BaseRobot::jointPos(ErrorCode& ec) {
  return forwardTo<Array<double>>(robot, &Native::jointPos, ec);
}

Array<double> BaseRobot::jointVel(ErrorCode& ec) {
  return forwardTo<Array<double>>(robot, &Native::jointVel, ec);
}

Array<double> BaseRobot::posture(CoordinateType ct, ErrorCode& ec) {
  return forwardTo<Array<double>>(robot, &Native::posture, ct, ec);
}

CartesianPosition BaseRobot::cartPosture(CoordinateType ct, ErrorCode& ec) {
  return forwardTo<CartesianPosition>(robot, &Native::cartPosture, ct, ec);
}

Array<double> BaseRobot::baseFrame(ErrorCode& ec) {
  return forwardTo<Array<double>>(robot, &Native::baseFrame, ec);
}

void BaseRobot::setBaseFrame(const Frame& frame, ErrorCode& ec) {
  forwardTo(robot, &Native::setBaseFrame, frame, ec);
}

void BaseRobot::rebootSystem(ErrorCode& ec) { forwardTo(robot, &Native::rebootSystem, ec); }

void BaseRobot::shutdownSystem(ErrorCode& ec) { forwardTo(robot, &Native::shutdownSystem, ec); }

void BaseRobot::clearServoAlarm(ErrorCode& ec) { forwardTo(robot, &Native::clearServoAlarm, ec); }

void BaseRobot::recoverState(int item, ErrorCode& ec) { forwardTo(robot, &Native::recoverState, item, ec); }

void BaseRobot::setTeachPendantMode(bool enable, ErrorCode& ec) {
  forwardTo(robot, &Native::setTeachPendantMode, enable, ec);
}

void BaseRobot::moveStart(ErrorCode& ec) { forwardTo(robot, &Native::moveStart, ec); }

void BaseRobot::moveReset(ErrorCode& ec) { forwardTo(robot, &Native::moveReset, ec); }

void BaseRobot::stop(ErrorCode& ec) { forwardTo(robot, &Native::stop, ec); }

void BaseRobot::setMaxCacheSize(int size, ErrorCode& ec) {
  forwardTo(robot, &Native::setMaxCacheSize, size, ec);
}

void BaseRobot::setDefaultSpeed(double speed, ErrorCode& ec) {
  forwardTo(robot, &Native::setDefaultSpeed, speed, ec);
}

void BaseRobot::setDefaultZone(double zone, ErrorCode& ec) {
  forwardTo(robot, &Native::setDefaultZone, zone, ec);
}

void BaseRobot::setDefaultConfOpt(bool forced, ErrorCode& ec) {
  forwardTo(robot, &Native::setDefaultConfOpt, forced, ec);
}

void BaseRobot::setAutoIgnoreZone(bool ignore, ErrorCode& ec) {
  forwardTo(robot, &Native::setAutoIgnoreZone, ignore, ec);
}

void BaseRobot::adjustSpeedOnline(double scale, ErrorCode& ec) {
  forwardTo(robot, &Native::adjustSpeedOnline, scale, ec);
}

void BaseRobot::adjustAcceleration(double acc, double jerk, ErrorCode& ec) {
  forwardTo(robot, &Native::adjustAcceleration, acc, jerk, ec);
}

void BaseRobot::getAcceleration(double& acc, double& jerk, ErrorCode& ec) {
  forwardTo(robot, &Native::getAcceleration, acc, jerk, ec);
}

void BaseRobot::startJog(JogOpt::Space space, double rate, double step, std::uint32_t index, bool direction,
                         ErrorCode& ec) {
  forwardTo(robot, &Native::startJog, space, rate, step, index, direction, ec);
}

void BaseRobot::startJogWithExt(JogOpt::Space space, double rate, double step, std::uint32_t index,
                                bool direction, const String& name, bool isExt, ErrorCode& ec) {
  forwardTo(robot, &Native::startJogWithExt, space, rate, step, index, direction, name, isExt, ec);
}

void BaseRobot::setMotionControlMode(MotionControlMode mode, ErrorCode& ec) {
  forwardTo(robot, &Native::setMotionControlMode, mode, ec);
}

Dictionary BaseRobot::queryEventInfo(Event eventType, ErrorCode& ec) {
  return forwardTo<Dictionary>(robot, &Native::queryEventInfo, eventType, ec);
}

void BaseRobot::stopReceiveRobotState() { forwardTo(robot, &Native::stopReceiveRobotState); }

bool BaseRobot::getDI(std::uint32_t board, std::uint32_t port, ErrorCode& ec) {
  return forwardTo<bool>(robot, &Native::getDI, board, port, ec);
}

bool BaseRobot::getDO(std::uint32_t board, std::uint32_t port, ErrorCode& ec) {
  return forwardTo<bool>(robot, &Native::getDO, board, port, ec);
}

double BaseRobot::getAI(std::uint32_t board, std::uint32_t port, ErrorCode& ec) {
  return forwardTo<double>(robot, &Native::getAI, board, port, ec);
}

void BaseRobot::setDI(std::uint32_t board, std::uint32_t port, bool state, ErrorCode& ec) {
  forwardTo(robot, &Native::setDI, board, port, state, ec);
}

void BaseRobot::setDO(std::uint32_t board, std::uint32_t port, bool state, ErrorCode& ec) {
  forwardTo(robot, &Native::setDO, board, port, state, ec);
}

void BaseRobot::setAO(std::uint32_t board, std::uint32_t port, double value, ErrorCode& ec) {
  forwardTo(robot, &Native::setAO, board, port, value, ec);
}

void BaseRobot::setSimulationMode(bool state, ErrorCode& ec) {
  forwardTo(robot, &Native::setSimulationMode, state, ec);
}

List<RLProjectInfo> BaseRobot::projectsInfo(ErrorCode& ec) {
  return forwardTo<List<RLProjectInfo>>(robot, &Native::projectsInfo, ec);
}

void BaseRobot::loadProject(const String& name, const List<String>& tasks, ErrorCode& ec) {
  forwardTo(robot, &Native::loadProject, name, tasks, ec);
}

void BaseRobot::ppToMain(ErrorCode& ec) { forwardTo(robot, &Native::ppToMain, ec); }

void BaseRobot::runProject(ErrorCode& ec) { forwardTo(robot, &Native::runProject, ec); }

void BaseRobot::pauseProject(ErrorCode& ec) { forwardTo(robot, &Native::pauseProject, ec); }

void BaseRobot::setProjectRunningOpt(double rate, bool loop, ErrorCode& ec) {
  forwardTo(robot, &Native::setProjectRunningOpt, rate, loop, ec);
}

String BaseRobot::importProject(const String& file_path, bool overwrite, ErrorCode& ec) {
  return forwardTo<String>(robot, &Native::importProject, file_path, overwrite, ec);
}

void BaseRobot::removeProject(const String& project_name, bool remove_all, ErrorCode& ec) {
  forwardTo(robot, &Native::removeProject, project_name, remove_all, ec);
}

String BaseRobot::importFile(const String& src_file_path, const String& dest, bool overwrite, ErrorCode& ec) {
  return forwardTo<String>(robot, &Native::importFile, src_file_path, dest, overwrite, ec);
}

void BaseRobot::removeFiles(const List<String>& file_path_list, ErrorCode& ec) {
  forwardTo(robot, &Native::removeFiles, file_path_list, ec);
}

Toolset BaseRobot::toolset(ErrorCode& ec) { return forwardTo<Toolset>(robot, &Native::toolset, ec); }

void BaseRobot::setToolset(const Toolset& toolset, ErrorCode& ec) {
  using Method = void (Native::*)(const zivra::Toolset&, std::error_code&) noexcept;
  forwardTo(robot, static_cast<Method>(&Native::setToolset), toolset, ec);
}

Toolset BaseRobot::setToolset(const String& toolName, const String& wobjName, ErrorCode& ec) {
  using Method =
      zivra::Toolset (Native::*)(const std::string&, const std::string&, std::error_code&) noexcept;
  return forwardTo<Toolset>(robot, static_cast<Method>(&Native::setToolset), toolName, wobjName, ec);
}

List<WorkToolInfo> BaseRobot::toolsInfo(ErrorCode& ec) {
  return forwardTo<List<WorkToolInfo>>(robot, &Native::toolsInfo, ec);
}

List<WorkToolInfo> BaseRobot::wobjsInfo(ErrorCode& ec) {
  return forwardTo<List<WorkToolInfo>>(robot, &Native::wobjsInfo, ec);
}

void BaseRobot::setToolInfo(const WorkToolInfo& tool_info, ErrorCode& ec) {
  forwardTo(robot, &Native::setToolInfo, tool_info, ec);
}

void BaseRobot::setWobjInfo(const WorkToolInfo& wobj_info, ErrorCode& ec) {
  forwardTo(robot, &Native::setWobjInfo, wobj_info, ec);
}

void BaseRobot::configNtp(const String& server_ip, ErrorCode& ec) {
  forwardTo(robot, &Native::configNtp, server_ip, ec);
}

void BaseRobot::syncTimeWithServer(ErrorCode& ec) { forwardTo(robot, &Native::syncTimeWithServer, ec); }

List<LogInfo> BaseRobot::queryControllerLog(std::uint32_t count, LogInfoLevel level, ErrorCode& ec) {
  return queryControllerLog(count, List<LogInfoLevel>{level}, 0, ec);
}

List<LogInfo> BaseRobot::queryControllerLog(std::uint32_t count,
                                            const std::optional<List<LogInfoLevel>>& levels,
                                            std::uint32_t offset, ErrorCode& ec) {
  return forwardTo<List<LogInfo>>(robot, &Native::queryControllerLog, count,
                                  levels.value_or(List<LogInfoLevel>()), offset, ec);
}

Array<double> BaseRobot::getRobotCfg_DHparam(bool get_nominal, ErrorCode& ec) {
  return forwardTo<Array<double>>(robot, &Native::getRobotCfg_DHparam, get_nominal, ec);
}

std::unique_ptr<BaseEthercat> BaseRobot::ethercat() {
  if (robot == nullptr) throw NullReferenceException();
  return std::make_unique<BaseEthercat>(robot->ethercat());
}

}  // namespace zivra::clr
