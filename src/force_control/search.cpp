// Search motions laid over a run, and the conditions that end a wait.
#include <cmath>
#include <numbers>

#include "core/wire_forms.h"
#include "force_control/force_operation.h"

namespace zivra {

using internal::ForceOperation;
using internal::inRange;
using internal::valuesOf;

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kLargestBias = 10, kLargestAmplitude = 20, kHighestFrequency = 5;
constexpr double kShortestTimeout = 1, kLongestTimeout = 600;  // s
constexpr double kSpare = 5;                                   // s that the controller may take beyond that
constexpr double kMillimetres = 1000;

bool isAxis(int number) { return number >= 0 && number <= 2; }

// {"values":[first, ...]}, the first an integer.
Json::Value overlayValues(int first, std::initializer_list<double> others) {
  Json::Value param(Json::objectValue);
  param["values"].append(first);
  for (const double other : others) param["values"].append(other);
  return param;
}

void overlay(ForceOperation op, std::string_view name, const char* cmd, std::error_code& ec) noexcept {
  op.command("eci.fc.overlay", internal::named(cmd));
  op.end("{} ({})", name, ec);
}

// Adds what all conditions have, sends it, and shortens the wait. False, with the line written, if `timeout`
// is out of range.
bool setCondition(ForceOperation& op, std::string_view name, const char* cmd, Json::Value param,
                  bool isInside, double timeout, std::int64_t& waitTimeoutNs) noexcept {
  if (!op.accepts(inRange(timeout, kShortestTimeout, kLongestTimeout))) {
    op.error("{} timeout: {} over-range", name, timeout);
    return false;
  }
  param["inside"] = isInside;
  param["timeout"] = timeout;
  op.set(cmd, param);
  // False for a NaN, which leaves the wait as it was.
  const double wait = (std::ceil(timeout) + kSpare) * 1e9;
  if (!op.failed() && wait < static_cast<double>(waitTimeoutNs))
    waitTimeoutNs = static_cast<std::int64_t>(wait);
  return true;
}

void setRange(XService& service, std::string_view name, const char* cmd, const std::array<double, 6>& range,
              bool isInside, double timeout, std::int64_t& waitTimeoutNs, std::error_code& ec) noexcept {
  ForceOperation op(service, ec);
  if (!setCondition(op, name, cmd, valuesOf(range), isInside, timeout, waitTimeoutNs)) return;
  op.end("{} range:{}, inside:{}, timeout:{}|{} ({})", name, range, isInside, timeout, waitTimeoutNs, ec);
}

}  // namespace

void BaseForceControl::setSineOverlay(int line_dir, double amplify, double frequency, double phase,
                                      double bias, std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  if (!op.accepts(isAxis(line_dir) && inRange(phase, 0, kPi) && inRange(bias, 0, kLargestBias))) {
    op.error("setSineOverlay axis:{}, phase:{}, bias:{} over-range", line_dir, phase, bias);
    return;
  }
  op.set("sine_overlay", overlayValues(line_dir, {amplify, frequency, phase, bias}));
  op.end("setSineOverlay {}, {}Nm, {}Hz, {}rad, {}Nm ({})", line_dir, amplify, frequency, phase, bias, ec);
}

void BaseForceControl::setLissajousOverlay(int plane, double amplify_one, double frequency_one,
                                           double amplify_two, double frequency_two, double phase_diff,
                                           std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  const bool valid = isAxis(plane) && inRange(amplify_one, 0, kLargestAmplitude) &&
                     inRange(amplify_two, 0, kLargestAmplitude) &&
                     inRange(frequency_one, 0, kHighestFrequency) &&
                     inRange(frequency_two, 0, kHighestFrequency) && inRange(phase_diff, 0, kPi);
  if (!op.accepts(valid)) {
    op.error("setLissajousOverlay {},{},{},{},{},{} over-range", plane, amplify_one, frequency_one,
             amplify_two, frequency_two, phase_diff);
    return;
  }
  op.set("lissajous_overlay",
         overlayValues(plane, {amplify_one, frequency_one, amplify_two, frequency_two, phase_diff}));
  op.end("setLissajousOverlay {},{},{},{},{},{} ({})", plane, amplify_one, frequency_one, amplify_two,
         frequency_two, phase_diff, ec);
}

void BaseForceControl::startOverlay(std::error_code& ec) noexcept {
  overlay({*state().service, ec}, "startOverlay", "start", ec);
}

void BaseForceControl::stopOverlay(std::error_code& ec) noexcept {
  overlay({*state().service, ec}, "stopOverlay", "stop", ec);
}

void BaseForceControl::pauseOverlay(std::error_code& ec) noexcept {
  overlay({*state().service, ec}, "pauseOverlay", "pause", ec);
}

void BaseForceControl::restartOverlay(std::error_code& ec) noexcept {
  overlay({*state().service, ec}, "restartOverlay", "restart", ec);
}

void BaseForceControl::setForceCondition(const std::array<double, 6>& range, bool isInside, double timeout,
                                         std::error_code& ec) noexcept {
  setRange(*state().service, "setForceCondition", "force_cond", range, isInside, timeout,
           state().waitTimeoutNs, ec);
}

void BaseForceControl::setTorqueCondition(const std::array<double, 6>& range, bool isInside, double timeout,
                                          std::error_code& ec) noexcept {
  setRange(*state().service, "setTorqueCondition", "torque_cond", range, isInside, timeout,
           state().waitTimeoutNs, ec);
}

void BaseForceControl::setPoseBoxCondition(const Frame& supervising_frame, const std::array<double, 6>& box,
                                           bool isInside, double timeout, std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  std::array<double, 6> sent = box;
  for (double& bound : sent) bound *= kMillimetres;
  Json::Value param = valuesOf(sent);
  param["frame"] = Json::Value(Json::objectValue);
  internal::writeFrame(supervising_frame, param["frame"]);
  if (!setCondition(op, "setPoseBoxCondition", "posbox_cond", std::move(param), isInside, timeout,
                    state().waitTimeoutNs)) {
    return;
  }
  op.end("setPoseBoxCondition frame:{}, box:{}, inside:{}, timeout:{}|{} ({})", supervising_frame, box,
         isInside, timeout, state().waitTimeoutNs, ec);
}

void BaseForceControl::waitCondition(std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  op.end("Execute waitCondition");
  op.command("eci.fc.cond", internal::named("wait"), state().waitTimeoutNs);
  op.end("waitCondition finish ({})", ec);
}

}  // namespace zivra
