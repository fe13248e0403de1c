#include "handlers/tool_record.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <kdl/frames.hpp>

#include "handlers/values.h"
#include "motion/angles.h"
#include "motion/geometry.h"

namespace zivra::sim {

namespace {

constexpr double farthest = 1e6;  // mm
constexpr double sameRotation = 1e-6;
constexpr std::size_t longestName = 64, longestText = 1024;

// Walks the members of one object; once something is wrong it stays wrong.
class Members {
 public:
  explicit Members(const Json::Value& value) : value_(value), good_(value.isObject()) {}

  const Json::Value& operator[](const char* name) {
    ++seen_;
    const Json::Value& found = member(value_, name);
    if (found.isNull()) good_ = false;
    return found;
  }
  double number(const char* name) {
    const auto read = readNumber((*this)[name]);
    return require(read && std::abs(*read) <= farthest * farthest) ? *read : 0;
  }
  int integer(const char* name) {
    const Json::Value& found = (*this)[name];
    return require(found.isInt()) ? found.asInt() : 0;
  }
  bool flag(const char* name) {
    const auto read = readFlag((*this)[name]);
    return require(read.has_value()) && *read;
  }
  std::string text(const char* name, std::size_t longest) {
    auto read = readText((*this)[name]);
    return require(read && read->size() <= longest) ? *read : std::string();
  }
  template <std::size_t n>
  std::array<double, n> numbers(const char* const (&names)[n]) {
    std::array<double, n> read{};
    for (std::size_t i = 0; i < n; ++i) read[i] = number(names[i]);
    return read;
  }
  std::array<double, 3> three(const char* name) {
    const auto read = readNumbers((*this)[name], 3);
    std::array<double, 3> numbers{};
    if (require(read && read->size() == 3)) std::copy_n(read->begin(), 3, numbers.begin());
    return numbers;
  }
  bool require(bool fact) {
    good_ = good_ && fact;
    return fact;
  }
  // Nothing was wrong, and nothing is there that nobody asked for.
  bool complete() const { return good_ && value_.size() == seen_; }

 private:
  const Json::Value& value_;
  bool good_;
  Json::ArrayIndex seen_ = 0;
};

// Orientation and position; false: malformed.
bool readFrame(const Json::Value& value, Pose& frame) {
  Members members(value);
  Members orientation(members["ori"]), position(members["pos"]);
  Members euler(orientation["euler"]), quaternion(orientation["quaternion"]);
  frame.trans = position.numbers({"x", "y", "z"});
  frame.rot = euler.numbers({"a", "b", "c"});
  const auto q = quaternion.numbers({"q1", "q2", "q3", "q4"});
  for (const Members* part : {&members, &orientation, &position, &euler, &quaternion})
    if (!part->complete()) return false;
  bool near = true;
  for (double& length : frame.trans) near = near && std::abs(length) <= farthest, length /= 1000;
  for (double& angle : frame.rot) angle *= kDegree;
  const double norm = std::hypot(std::hypot(q[0], q[1]), std::hypot(q[2], q[3]));
  if (!near || std::abs(norm - 1) > sameRotation) return false;
  const KDL::Rotation other = KDL::Rotation::Quaternion(q[1], q[2], q[3], q[0]);
  return rotationVector(toFrame(frame).M.Inverse() * other).Norm() < sameRotation;
}

bool readLoad(const Json::Value& value, Load& load) {
  Members members(value);
  load.mass = members.number("mass");
  load.inertia = members.three("moment");
  for (double& moment : load.inertia) moment /= 1e6;
  Pose pose;
  if (!readFrame(members["pose"], pose)) return false;
  load.cog = pose.trans;
  return members.complete();
}

bool readEnvelope(const Json::Value& value) {
  Members members(value);
  members.integer("shape");
  members.three("box_envelope");
  members.number("sphere_envelope");
  return members.complete();
}

}  // namespace

std::optional<ToolRecord> readToolRecord(ToolKind kind, const Json::Value& value) {
  ToolRecord record;
  Members members(value);
  record.id = members.integer("id");
  record.name = members.text("name", longestName);
  record.tool.description = members.text("description", longestText);
  record.tool.held = members.flag("robhold");
  for (const char* name : {"identified", "calibrated", "pers"}) members.flag(name);
  members.integer("method");
  members.require(readFrame(members["frame"], record.tool.frame));
  members.require(readLoad(members["load"], record.tool.load));
  if (kind == ToolKind::tool) {
    members.require(readEnvelope(members["envelope"]));
  } else {
    members.text("mechanic", longestName);
    members.flag("movable");
    members.text("related_frame", longestName);
    members.integer("uf_id");
  }
  if (value.isObject() && value.isMember("old_name")) record.oldName = members.text("old_name", longestName);
  if (record.name.empty() || !members.complete()) return std::nullopt;
  return record;
}

}  // namespace zivra::sim
