// The controller's clock and the server that it follows.
#include <cstdint>

#include <zivra/base_robot.h>

#include "robot/operation.h"

namespace zivra {

using internal::Operation;

namespace {

// The controller waits for the server before it answers.
constexpr std::int64_t syncTimeoutNs = 12'000'000'000;

// What is neither a code nor an object tells of no failure.
std::string verdict(internal::Reply reply) {
  return reply.isCode() || reply.value().isObject() ? reply.judge() : std::string();
}

}  // namespace

void BaseRobot::configNtp(const std::string& server_ip, std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  Json::Value parameters;
  parameters["server"] = server_ip;
  const std::string text = verdict(op.command("sys.ntp.config", parameters));
  op.note("configNtp {} ({}{})", server_ip, ec, text);
}

void BaseRobot::syncTimeWithServer(std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  const std::string text = verdict(op.command("sys.ntp.sync", Json::Value(), syncTimeoutNs));
  op.note("syncTimeWithServer ({}{})", ec, text);
}

}  // namespace zivra
