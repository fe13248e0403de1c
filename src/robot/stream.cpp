// The state stream as robots offer it.
#include <zivra/error.h>
#include <zivra/robot.h>

#include "robot_impl/impl.h"

namespace zivra {

namespace {

DataReceiver& openReceiver(const BaseRobot::Impl& impl) {
  if (!impl.receiver->isOpen()) throw RealtimeStateException(make_error_code(Code::network).message());
  return *impl.receiver;
}

}  // namespace

template <WorkType wt, unsigned short dof>
void Robot_T<wt, dof>::startStream(std::chrono::nanoseconds interval,
                                   const std::vector<std::string>& fields) {
  impl().startStream(interval, fields, dof);
}

template void Robot_T<WorkType::collaborative, 5>::startStream(std::chrono::nanoseconds,
                                                               const std::vector<std::string>&);
template void Robot_T<WorkType::collaborative, 6>::startStream(std::chrono::nanoseconds,
                                                               const std::vector<std::string>&);
template void Robot_T<WorkType::collaborative, 7>::startStream(std::chrono::nanoseconds,
                                                               const std::vector<std::string>&);
template void Robot_T<WorkType::industrial, 6>::startStream(std::chrono::nanoseconds,
                                                            const std::vector<std::string>&);

void BaseRobot::stopReceiveRobotState() noexcept { impl().stopStream(); }

unsigned BaseRobot::updateRobotState(std::chrono::nanoseconds timeout) {
  return impl().receiver->update(timeout);
}

unsigned BaseRobot::drainRobotState() { return impl().receiver->drain(); }

StateStreamHealth BaseRobot::stateStreamHealth() const noexcept { return impl().receiver->health(); }

int BaseRobot::getStateData(const std::string& name, double& value) {
  return openReceiver(impl()).read(name, value);
}

int BaseRobot::getStateData(const std::string& name, std::uint64_t& value) {
  return openReceiver(impl()).read(name, value);
}

int BaseRobot::getStateData(const std::string& name, std::vector<double>& value) {
  return openReceiver(impl()).read(name, value);
}

}  // namespace zivra
