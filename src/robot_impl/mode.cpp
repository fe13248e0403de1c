// The switch between ways of commanding motion.
#include <chrono>
#include <system_error>
#include <thread>

#include <zivra/error.h>

#include "core/json.h"
#include "robot_impl/impl.h"
#include "robot_impl/turn.h"

namespace zivra {

namespace {

constexpr int invalidCommandKey = -259;
// The controller takes this long until it listens to a real-time client.
constexpr std::chrono::milliseconds realTimeSettling{300};

std::error_code commandCode(XService& service, const char* key, const Json::Value& parameters) {
  std::error_code ec;
  Json::Value reply;
  service.command(key, parameters, reply, ec);
  if (ec) return ec;
  const auto code = internal::asInt(reply);
  return code ? std::error_code(*code, category()) : make_error_code(Code::responseUnresolved);
}

// A controller that doesn't know the key has nothing to disable.
std::error_code leaveRealTime(XService& service) {
  std::error_code ec;
  if (internal::readOperationState(service, ec) != OperationState::rtControlling) return ec;
  ec = commandCode(service, "eci.disable", Json::Value());
  return ec == std::error_code(invalidCommandKey, category()) ? std::error_code(0, category()) : ec;
}

std::error_code enterRealTime(XService& service) {
  Json::Value parameters;
  parameters["protocol_version"] = internal::protocolVersion();
  return commandCode(service, "eci.enable", parameters);
}

}  // namespace

std::string internal::protocolVersion() { return "sdk" + BaseRobot::sdkVersion(); }

void BaseRobot::Impl::switchMode(MotionControlMode wanted, std::error_code& ec) noexcept {
  ec.clear();
  const Turn turn(*this);
  // A watcher or handler can't wait for the threads that end and begin here.
  if (onOwnThread() || !turn.held()) {
    ec = std::make_error_code(std::errc::resource_deadlock_would_occur);
    return;
  }
  if (wanted != MotionControlMode::RtCommand) ec = leaveRealTime(*service);
  // What failed so far keeps the mode from being stored, not from being entered.
  std::error_code entered;
  switch (wanted) {
    case MotionControlMode::Idle:
    case MotionControlMode::NrtCommand:
      startMotion();
      break;
    case MotionControlMode::NrtRLTask:
      if (const auto control = motion()) control->_stop(entered);
      if (const std::lock_guard lock(motionMutex_); !rlTask_)
        rlTask_ = std::make_unique<MotionControl<2>>(service);
      break;
    case MotionControlMode::RtCommand:
      entered = enterRealTime(*service);
      if (entered) break;
      if (const auto control = motion()) control->_stop(entered);
      std::this_thread::sleep_for(realTimeSettling);
      break;
    default:
      entered = Code::argumentInvalid;
  }
  if (!ec || entered) ec = entered;
  if (!ec) mode = wanted;
}

std::shared_ptr<MotionControl<1>> BaseRobot::Impl::motionForMoves(std::error_code& ec) const noexcept {
  auto control = motion(ec);
  const MotionControlMode current = mode;
  if (control && current != MotionControlMode::Idle && current != MotionControlMode::NrtCommand) {
    ec = Code::motionControlMode;
    control.reset();
  }
  return control;
}

bool BaseRobot::Impl::hasRlTask() const {
  const std::lock_guard lock(motionMutex_);
  return rlTask_ != nullptr;
}

}  // namespace zivra
