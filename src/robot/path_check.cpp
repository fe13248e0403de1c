// Asking the controller whether a path can be followed, before anything moves.
#include <algorithm>
#include <climits>
#include <cstdint>

#include <zivra/base_robot.h>

#include "core/wire_forms.h"
#include "motion_control/encode_moves.h"
#include "robot/operation.h"

namespace zivra {

using internal::Operation;

namespace {

Json::Value point(const CartesianPosition& position) {
  Json::Value value;
  internal::writeCartesian(position, false, value);
  return value;
}

Json::Value startPoint(const CartesianPosition& position, const std::vector<double>& joints) {
  Json::Value value = point(position);
  value["near"] = internal::numbersJson(joints);
  return value;
}

// What the controller says of a path.
struct Verdict {
  std::vector<double> joints;  // at its end; as many zeros as the start has values if it can't be followed
  int failingTarget = 0;       // counted from 1; 0: none told
};

Verdict check(Operation& op, const Json::Value& path, std::size_t startValues, std::error_code& ec) {
  auto reply = op.command("move.path.check", path);
  const std::string text = reply.judge();
  Verdict verdict;
  const Json::Value& data = internal::member(reply.value(), "data");
  if (!ec && data.isArray()) verdict.joints = internal::Reply(ec, data).numbers();
  op.note("checkPath ({}{})", ec, text);
  if (!ec) return verdict;
  verdict.joints.assign(startValues, 0.0);
  const auto index = internal::asInt(internal::member(data, "index"));
  if (index)
    verdict.failingTarget = static_cast<int>(std::min<std::int64_t>(std::int64_t{*index} + 1, INT_MAX));
  return verdict;
}

}  // namespace

std::vector<double> BaseRobot::checkPath(const CartesianPosition& start,
                                         const std::vector<double>& start_joint,
                                         const CartesianPosition& target, std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  Json::Value path;
  path["point0"] = startPoint(start, start_joint);
  path["point1"] = point(target);
  return check(op, path, start_joint.size(), ec).joints;
}

std::vector<double> BaseRobot::checkPath(const CartesianPosition& start,
                                         const std::vector<double>& start_joint, const CartesianPosition& aux,
                                         const CartesianPosition& target, std::error_code& ec, double angle,
                                         MoveCFCommand::RotType rot_type) noexcept {
  Operation op(impl(), ec);
  Json::Value path;
  path["point0"] = startPoint(start, start_joint);
  path["point1"] = point(aux);
  path["point2"] = point(target);
  if (angle != 0) {
    path["circle"]["angle"] = angle;
    path["circle"]["rot_type"] = internal::rotTypeText(rot_type);
  }
  return check(op, path, start_joint.size(), ec).joints;
}

int BaseRobot::checkPath(const std::vector<double>& start_joint,
                         const std::vector<CartesianPosition>& targets,
                         std::vector<double>& target_joint_calculated, std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  if (targets.size() < 2) {
    ec = Code::argumentInvalid;
    return 0;
  }
  Json::Value path;
  path["point0"] = startPoint(targets.front(), start_joint);
  path["path"] = Json::Value(Json::arrayValue);
  for (std::size_t i = 1; i < targets.size(); ++i) {
    Json::Value entry;
    entry["point1"] = point(targets[i]);
    path["path"].append(entry);
  }
  Verdict verdict = check(op, path, start_joint.size(), ec);
  target_joint_calculated = std::move(verdict.joints);
  return ec ? verdict.failingTarget : 0;
}

}  // namespace zivra
