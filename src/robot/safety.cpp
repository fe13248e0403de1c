// What protects: collision detection, limits of the axes, zero of the force sensors.
#include <algorithm>
#include <limits>

#include <zivra/robot.h>

#include "core/json.h"
#include "core/wire_forms.h"
#include "robot/operation.h"

namespace zivra {

using internal::Operation;

namespace {

constexpr const char* collisionKey = "safety.collision_detection";
constexpr const char* softLimitKey = "safety.soft_limit";

const char* behaviourWord(StopLevel level) {
  switch (level) {
    case StopLevel::stop2:
      return "pause";
    case StopLevel::suppleStop:
      return "fcimpedstop";
    default:
      return "stop1";
  }
}

// `compliant`: the number says how yielding the arm is, not how far it goes back.
template <std::size_t n>
Json::Value collisionRequest(const std::array<double, n>& sensitivity, const char* behaviour, bool compliant,
                             double number) {
  Json::Value request;
  request["enable"] = true;
  request["sensitivity"] = internal::numbersJson(sensitivity);
  request["action"]["behaviour"] = behaviour;
  if (compliant) {
    request["compliance"] = std::min(number, 1.0);
  } else {
    request["action"]["fallback"] = number;
  }
  return request;
}

void switchCollisionOn(Operation& op, const Json::Value& request) noexcept {
  op.command(collisionKey, request).codeOrNull().tellAs(-1, static_cast<int>(Code::duplicateOperation));
}

void switchCollisionOff(BaseRobot::Impl& impl, std::error_code& ec) noexcept {
  Operation op(impl, ec, "disableCollisionDetection");
  Json::Value request;
  request["enable"] = false;
  op.command(collisionKey, request).codeOrNull();
  op.end("disableCollisionDetection end ({})", ec);
}

// Elements that aren't there read as 0; nothing for what is no array of numbers.
template <std::size_t n>
std::optional<std::array<double, n>> limitsIn(const Json::Value& value) {
  const auto numbers = internal::asNumbers(value);
  if (!numbers) return std::nullopt;
  std::array<double, n> limits{};
  std::copy_n(numbers->begin(), std::min(n, numbers->size()), limits.begin());
  return limits;
}

// As the log prints them.
template <std::size_t n>
std::array<std::array<double, 2>, n> pairsOf(const std::array<double[2], n>& limits) {
  std::array<std::array<double, 2>, n> pairs{};
  for (std::size_t i = 0; i < n; ++i) pairs[i] = {limits[i][0], limits[i][1]};
  return pairs;
}

}  // namespace

template <unsigned short dof>
void Cobot<dof>::enableCollisionDetection(const std::array<double, dof>& sensitivity, StopLevel behaviour,
                                          double fallback_compliance, std::error_code& ec) noexcept {
  Operation op(this->impl(), ec, "enableCollisionDetection {}, {}, {}", sensitivity, behaviour,
               fallback_compliance);
  switchCollisionOn(op, collisionRequest(sensitivity, behaviourWord(behaviour),
                                         behaviour == StopLevel::suppleStop, fallback_compliance));
  op.end("enableCollisionDetection end, sensitivity: {}, behaviour: {}, fallback: {} ({})", sensitivity,
         behaviour, fallback_compliance, ec);
}

void StandardRobot::enableCollisionDetection(const std::array<double, 6>& sensitivity, double fallback,
                                             std::error_code& ec) noexcept {
  Operation op(impl(), ec, "enableCollisionDetection {}, {}", sensitivity, fallback);
  switchCollisionOn(op, collisionRequest(sensitivity, behaviourWord(StopLevel::stop1), false, fallback));
  op.end("enableCollisionDetection end, sensitivity: {}, fallback: {} ({})", sensitivity, fallback, ec);
}

void BaseCobot::disableCollisionDetection(std::error_code& ec) noexcept { switchCollisionOff(impl(), ec); }
void StandardRobot::disableCollisionDetection(std::error_code& ec) noexcept {
  switchCollisionOff(impl(), ec);
}

template <WorkType wt, unsigned short dof>
bool Robot_T<wt, dof>::getSoftLimit(std::array<double[2], dof>& limits, std::error_code& ec) noexcept {
  auto reply = Operation(impl(), ec).get(softLimitKey);
  if (reply.failed()) return false;
  const auto enabled = internal::asTruth(internal::member(reply.value(), "enable"));
  const auto lower = limitsIn<dof>(internal::member(reply.value(), "lower"));
  const auto upper = limitsIn<dof>(internal::member(reply.value(), "upper"));
  if (!enabled || !lower || !upper) {
    reply.fail(Code::responseUnresolved);
    return false;
  }
  for (std::size_t i = 0; i < dof; ++i) {
    limits[i][0] = (*lower)[i];
    limits[i][1] = (*upper)[i];
  }
  return *enabled;
}

template <WorkType wt, unsigned short dof>
void Robot_T<wt, dof>::setSoftLimit(bool enable, std::error_code& ec,
                                    const std::array<double[2], dof>& limits) noexcept {
  const auto pairs = pairsOf(limits);
  Operation op(impl(), ec, "setSoftLimit {}, {}", enable, pairs);
  Json::Value request;
  request["enable"] = enable;
  Json::Value& lower = request["lower"] = Json::Value(Json::arrayValue);
  Json::Value& upper = request["upper"] = Json::Value(Json::arrayValue);
  if (limits[0][0] != std::numeric_limits<double>::max()) {
    for (const auto& [least, most] : pairs) {
      lower.append(least);
      upper.append(most);
    }
  }
  op.command(softLimitKey, request).codeOrNull();
  op.end("setSoftLimit end {}, {}, ({})", enable, pairs, ec);
}

template <unsigned short dof>
void Cobot<dof>::calibrateForceSensor(bool all_axes, int axis_index, std::error_code& ec) noexcept {
  Operation op(this->impl(), ec, "calibrateForceSensor {}, {}", all_axes, axis_index);
  Json::Value request;
  if (!all_axes) {
    if (axis_index < 0 || axis_index >= dof) {
      ec = Code::parameterExceedsLimit;
      op.error("calibrateForceSensor index:{} over-range | ({})", axis_index, ec);
      return;
    }
    request["index"] = axis_index;
  }
  op.command("utils.calibrate_force_sensor", request).codeOrNull();
  op.end("calibrateForceSensor end {}, {}, ({})", all_axes, axis_index, ec);
}

#define ZIVRA_SOFT_LIMIT(wt, dof)                                                     \
  template ZIVRA_API bool Robot_T<wt, dof>::getSoftLimit(std::array<double[2], dof>&, \
                                                         std::error_code&) noexcept;  \
  template ZIVRA_API void Robot_T<wt, dof>::setSoftLimit(bool, std::error_code&,      \
                                                         const std::array<double[2], dof>&) noexcept;
ZIVRA_SOFT_LIMIT(WorkType::collaborative, 5)
ZIVRA_SOFT_LIMIT(WorkType::collaborative, 6)
ZIVRA_SOFT_LIMIT(WorkType::collaborative, 7)
ZIVRA_SOFT_LIMIT(WorkType::industrial, 3)
ZIVRA_SOFT_LIMIT(WorkType::industrial, 4)
ZIVRA_SOFT_LIMIT(WorkType::industrial, 6)
#undef ZIVRA_SOFT_LIMIT

#define ZIVRA_COBOT_SAFETY(dof)                                                                           \
  template ZIVRA_API void Cobot<dof>::enableCollisionDetection(const std::array<double, dof>&, StopLevel, \
                                                               double, std::error_code&) noexcept;        \
  template ZIVRA_API void Cobot<dof>::calibrateForceSensor(bool, int, std::error_code&) noexcept;
ZIVRA_COBOT_SAFETY(5)
ZIVRA_COBOT_SAFETY(6)
ZIVRA_COBOT_SAFETY(7)
#undef ZIVRA_COBOT_SAFETY

}  // namespace zivra
