// Jogging, stopping, and the switch between ways of commanding motion.
#include <zivra/base_robot.h>

#include "robot/operation.h"

namespace zivra {

using internal::Operation;

namespace {

// The request that both forms of jogging share.
Json::Value jogRequest(JogOpt::Space space, double rate, double step, unsigned index, bool direction) {
  Json::Value request;
  request["space"] = static_cast<int>(space);
  request["rate"] = rate;
  request["step"] = step;
  request["index"] = index;
  request["direction"] = direction;
  return request;
}

void jog(Operation& op, MotionControl<1>& motion, const char* key, const Json::Value& request, double rate,
         double step, std::error_code& ec) {
  if (rate > 1.0 || rate < 0.01 || step <= 0) {
    ec = Code::parameterExceedsLimit;
    return;
  }
  op.command(key, request).code();
  if (!ec) motion.setJogging(true);
}

}  // namespace

void BaseRobot::startJog(JogOpt::Space space, double rate, double step, unsigned index, bool direction,
                         std::error_code& ec) noexcept {
  Operation op(impl(), ec, "startJog {}, {}%, {}, {}, {}", space, rate * 100, step, index, direction);
  const auto motion = impl().motion(ec);
  if (!motion) return op.debug("startJog end ({})", ec);
  jog(op, *motion, "move.jog", jogRequest(space, rate, step, index, direction), rate, step, ec);
  op.end("startJog end, space: {}, rate: {}%, step: {}, index: {}, direction: {} ({})", space, rate * 100,
         step, index, direction, ec);
}

void BaseRobot::startJogWithExt(JogOpt::Space space, double rate, double step, unsigned index, bool direction,
                                const std::string& name, std::error_code& ec, bool isExt) noexcept {
  Operation op(impl(), ec, "startJogWithExt {}, {}%, {}, {},{} ,{}", space, rate * 100, step, index,
               direction, name);
  const auto motion = impl().motion(ec);
  if (!motion) return op.debug("startJogWithExt end ({})", ec);
  Json::Value request = jogRequest(space, rate, step, index, direction);
  request["fixed_name"] = name;
  request["is_ext"] = isExt;
  jog(op, *motion, "move.jog_with_ext", request, rate, step, ec);
  op.end(
      "startJogWithExt end, space: {}, rate: {}%, step: {}, index: {}, direction: {} ,mech_unit name:{} ({})",
      space, rate * 100, step, index, direction, name, ec);
}

void BaseRobot::stop(std::error_code& ec) noexcept {
  Operation op(impl(), ec, "stop");
  if (const auto motion = impl().motion(ec)) {
    motion->stop(ec);
    op.end("stop end ({})", ec);
  } else {
    op.error("stop uninitialized ({})", ec);
  }
}

void BaseRobot::setMotionControlMode(MotionControlMode mode, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setMotionControlMode {}", mode);
  impl().switchMode(mode, ec);
  op.end("setMotionControlMode end, mode: {} ({})", mode, ec);
}

}  // namespace zivra
