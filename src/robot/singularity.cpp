// How the controller treats singularities, and posture interpolation.
#include <numbers>

#include <zivra/error.h>
#include <zivra/robot.h>

#include "robot/operation.h"

namespace zivra {

using internal::Operation;

namespace {

constexpr double degreesPerRadian = 180 / std::numbers::pi;

// Null for a method that the robot doesn't have.
const char* keyOf(AvoidSingularityMethod method, bool hasJointWay) {
  switch (method) {
    case AvoidSingularityMethod::lockAxis4:
      return "move.avoid_singularity";
    case AvoidSingularityMethod::wrist:
      return "move.avoid_sing_wrist";
    case AvoidSingularityMethod::jointWay:
      return hasJointWay ? "move.avoid_sing_joint_way" : nullptr;
  }
  return nullptr;
}

Json::Value switchValue(AvoidSingularityMethod method, bool enable, double threshold) {
  if (method == AvoidSingularityMethod::lockAxis4) return enable;
  Json::Value value;
  value["enable"] = enable;
  value["threshold"] = method == AvoidSingularityMethod::wrist ? threshold * degreesPerRadian : threshold;
  return value;
}

void setAvoid(BaseRobot::Impl& impl, bool hasJointWay, AvoidSingularityMethod method, bool enable,
              double threshold, std::error_code& ec) noexcept {
  Operation op(impl, ec, "setAvoidSingularity {}, {}, {}", method, enable, threshold);
  const char* key = keyOf(method, hasJointWay);
  if (key == nullptr) {
    ec = Code::argumentInvalid;
    return op.error("setAvoidSingularity unsupported method {} ({})", method, ec);
  }
  op.command(key, switchValue(method, enable, threshold)).code(internal::protocolMismatch());
  op.end("setAvoidSingularity end, method: {}, enable: {}, threshold: {} ({})", method, enable, threshold,
         ec);
}

bool getAvoid(BaseRobot::Impl& impl, bool hasJointWay, AvoidSingularityMethod method,
              std::error_code& ec) noexcept {
  Operation op(impl, ec);
  const char* key = keyOf(method, hasJointWay);
  if (key == nullptr) {
    ec = Code::argumentInvalid;
    return false;
  }
  auto reply = op.get(key);
  if (!reply.isData()) return false;
  if (const auto state = internal::asBool(reply.value())) return *state;
  const std::string word = internal::textOr(reply.value());
  if (word == "on" || word == "off") return word == "on";
  ec = internal::protocolMismatch();
  return false;
}

}  // namespace

void TandiRobot::setAvoidSingularity(AvoidSingularityMethod method, bool enable, double threshold,
                                     std::error_code& ec) noexcept {
  setAvoid(impl(), false, method, enable, threshold, ec);
}

bool TandiRobot::getAvoidSingularity(AvoidSingularityMethod method, std::error_code& ec) noexcept {
  return getAvoid(impl(), false, method, ec);
}

void StandardRobot::setAvoidSingularity(AvoidSingularityMethod method, bool enable, double threshold,
                                        std::error_code& ec) noexcept {
  setAvoid(impl(), true, method, enable, threshold, ec);
}

bool StandardRobot::getAvoidSingularity(AvoidSingularityMethod method, std::error_code& ec) noexcept {
  return getAvoid(impl(), true, method, ec);
}

void TandiFiveRobot::enableCompletePostureLerp(bool enable, std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  Json::Value parameters;
  parameters["enable"] = enable;
  op.command("sys.completePostureLerp", parameters).code();
  op.note("enableCompletePostureLerp, enable: {}, ({})", enable, ec);
}

}  // namespace zivra
