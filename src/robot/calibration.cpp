// Frames that the controller calculates from taught points.
#include <zivra/error.h>
#include <zivra/robot.h>

#include "core/wire_forms.h"
#include "robot/operation.h"

namespace zivra {

using internal::member;
using internal::Operation;

namespace {

// The controller's word for a frame; null if it doesn't calculate such a frame, or not from so many points.
const char* wordFor(FrameType type, std::size_t points) {
  switch (type) {
    case FrameType::baseFrame:
      return points == 6 ? "base" : nullptr;
    case FrameType::tool:
      return points == 3 || points == 4 || points == 6 ? "tool" : nullptr;
    case FrameType::wobj:
      return points == 3 ? "wobj" : nullptr;
    case FrameType::rail:
      return points == 3 ? "rail" : nullptr;
    case FrameType::world:
    case FrameType::flange:
    case FrameType::path:
      break;
  }
  return nullptr;
}

FrameCalibrationResult readResult(internal::Reply reply) {
  if (reply.failed()) return {};
  const Json::Value& data = member(reply.value(), "data");
  if (internal::hasMember(reply.value(), "data") && internal::hasMember(reply.value(), "error")) {
    reply.fail(Code::calibrationFrame);
    return {};
  }
  if (!data.isObject()) {
    reply.fail(internal::protocolMismatch());
    return {};
  }
  FrameCalibrationResult result;
  internal::readArray(member(data, "errors"), result.errors.data(), result.errors.size());
  bool malformed = false;
  result.frame = internal::readFrame(member(data, "frame"), &malformed);
  if (!malformed) return result;
  reply.fail(Code::responseUnresolved);
  return {};
}

}  // namespace

template <WorkType wt, unsigned short dof>
FrameCalibrationResult Robot_T<wt, dof>::calibrateFrame(FrameType type,
                                                        const std::vector<std::array<double, dof>>& points,
                                                        bool is_held, std::error_code& ec,
                                                        const std::array<double, 3>& base_aux) noexcept {
  Operation op(impl(), ec);
  const char* word = wordFor(type, points.size());
  if (word == nullptr) {
    ec = Code::argumentInvalid;
    return {};
  }
  Json::Value parameters;
  parameters["type"] = word;
  parameters["held"] = is_held;
  parameters["aux"] = internal::numbersJson(base_aux);
  Json::Value& taught = parameters["points"] = Json::Value(Json::arrayValue);
  for (const auto& point : points) taught.append(internal::numbersJson(point));
  return readResult(op.command("utils.calibrate_frame", parameters));
}

#define ZIVRA_CALIBRATE(wt, dof)                                                        \
  template ZIVRA_API FrameCalibrationResult Robot_T<WorkType::wt, dof>::calibrateFrame( \
      FrameType, const std::vector<std::array<double, dof>>&, bool, std::error_code&,   \
      const std::array<double, 3>&) noexcept
ZIVRA_CALIBRATE(collaborative, 5);
ZIVRA_CALIBRATE(collaborative, 6);
ZIVRA_CALIBRATE(collaborative, 7);
ZIVRA_CALIBRATE(industrial, 3);
ZIVRA_CALIBRATE(industrial, 4);
ZIVRA_CALIBRATE(industrial, 6);
#undef ZIVRA_CALIBRATE

}  // namespace zivra
