#include "handlers/points.h"

#include <cmath>
#include <optional>

#include "handlers/values.h"

namespace zivra::sim {

namespace {

bool readOffset(const Json::Value& value, Offset& offset) {
  if (value.isNull()) return true;
  const auto frame = readPose(value);
  const auto type = readText(member(value, "type"));
  if (!frame || (type != "offs" && type != "reltool")) return false;
  offset = {type == "offs" ? OffsetKind::offs : OffsetKind::relTool, *frame};
  return true;
}

}  // namespace

bool readTarget(const Json::Value& value, Target& target) {
  const auto pose = readPose(value);
  if (!pose) return false;
  target.pose = *pose;
  std::optional<double> elbow;
  if (!readOptional(value, "elb", elbow)) return false;
  target.elbow = elbow.value_or(0);
  if (const Json::Value& conf = member(value, "conf"); !conf.isNull()) {
    const auto numbers = readNumbers(conf, 8);
    if (!numbers) return false;
    for (const double number : *numbers) {
      if (std::abs(number) > 1000) return false;
      target.conf.push_back(static_cast<int>(number));
    }
    target.conf.resize(8);
  }
  return readOffset(member(value, "offset"), target.offset);
}

bool readCircle(const Json::Value& circle, Move& move) {
  const auto angle = readNumber(member(circle, "angle"));
  const auto rotation = readText(member(circle, "rot_type"));
  if (!angle || !rotation) return false;
  move.angle = *angle;
  if (rotation == "rot_axis")
    move.rotation = CircleRotation::rotAxis;
  else if (rotation == "fixed_axis")
    move.rotation = CircleRotation::fixedAxis;
  else if (rotation != "const_pose")
    return false;
  return true;
}

}  // namespace zivra::sim
