// What shapes motion without being a move: defaults, overrides and accelerations.
#include <zivra/base_robot.h>

#include "motion_control/encode_moves.h"
#include "robot/operation.h"

namespace zivra {

using internal::Operation;

void BaseRobot::setDefaultSpeed(double speed, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setDefaultSpeed {}", speed);
  if (!impl().motion(ec)) return op.error("setDefaultSpeed uninitialized ({})", ec);
  op.set("move.default_speed", speed / internal::speedAndZoneScale);
  op.end("setDefaultSpeed end, speed: {} ({})", speed, ec);
}

void BaseRobot::setDefaultZone(double zone, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setDefaultZone {}", zone);
  if (!impl().motion(ec)) return op.error("setDefaultZone uninitialized ({})", ec);
  op.set("move.default_zone", zone / internal::speedAndZoneScale);
  op.end("setDefaultZone end, zone: {} ({})", zone, ec);
}

void BaseRobot::setDefaultConfOpt(bool forced, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setDefaultConfOpt {}", forced);
  op.command("move.default_conf", forced);
  op.end("setDefaultConfOpt end, forced: {} ({})", forced, ec);
}

void BaseRobot::setAutoIgnoreZone(bool ignore, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setAutoIgnoreZone {}", ignore);
  op.command("move.ignore_zone", ignore);
  op.end("setAutoIgnoreZone end, ignore: {} ({})", ignore, ec);
}

void BaseRobot::adjustSpeedOnline(double scale, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "adjustSpeedOnline {}", scale);
  op.command("move.override_rate", scale).code();
  op.end("adjustSpeedOnline end, scale: {}% ({})", scale * 100, ec);
}

void BaseRobot::adjustAcceleration(double acc, double jerk, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "adjustAcceleration {}, {}", acc, jerk);
  Json::Value value;
  value["acc"] = acc;
  value["jerk"] = jerk;
  op.set("move.acc", value);
  op.end("adjustAcceleration end, acc: {}, jerk: {} ({})", acc, jerk, ec);
}

void BaseRobot::getAcceleration(double& acc, double& jerk, std::error_code& ec) noexcept {
  auto reply = Operation(impl(), ec).get("move.acc");
  if (!reply.isData()) return;
  const auto readAcc = internal::asNumber(internal::member(reply.value(), "acc"));
  const auto readJerk = internal::asNumber(internal::member(reply.value(), "jerk"));
  if (!readAcc || !readJerk) return reply.fail(Code::responseUnresolved);
  acc = *readAcc;
  jerk = *readJerk;
}

}  // namespace zivra
