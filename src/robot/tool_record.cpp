#include "robot/tool_record.h"

#include <array>
#include <charconv>
#include <cmath>
#include <numbers>

#include "core/wire_forms.h"

namespace zivra::internal {
namespace {

constexpr double pi = std::numbers::pi;
constexpr double millimetres = 1000;           // in a metre
constexpr double squareMillimetres = 1000000;  // in a square metre
constexpr int lastGlobal = 15;

template <class Number>
Json::Value members(const char* const (&names)[3], const std::array<Number, 3>& numbers) {
  Json::Value value(Json::objectValue);
  for (std::size_t i = 0; i < numbers.size(); ++i) value[names[i]] = numbers[i];
  return value;
}

constexpr const char* xyz[] = {"x", "y", "z"};
constexpr const char* abc[] = {"a", "b", "c"};
constexpr std::array<int, 3> integerZeros{};

std::array<double, 3> scaled(std::array<double, 3> numbers, double factor) {
  for (double& number : numbers) number *= factor;
  return numbers;
}

template <class Number>
Json::Value quaternion(Number w, Number x, Number y, Number z) {
  Json::Value value(Json::objectValue);
  value["q1"] = w;
  value["q2"] = x;
  value["q3"] = y;
  value["q4"] = z;
  return value;
}

// Of turns about the fixed axes x, then y, then z.
Json::Value quaternionOf(const std::array<double, 3>& rpy) {
  const double cx = std::cos(rpy[0] / 2), cy = std::cos(rpy[1] / 2), cz = std::cos(rpy[2] / 2);
  const double sx = std::sin(rpy[0] / 2), sy = std::sin(rpy[1] / 2), sz = std::sin(rpy[2] / 2);
  return quaternion(cx * cy * cz + sx * sy * sz, sx * cy * cz - cx * sy * sz, cx * sy * cz + sx * cy * sz,
                    cx * cy * sz - sx * sy * cz);
}

Json::Value frameRecord(const Frame& frame) {
  std::array<double, 3> degrees = frame.rpy;
  for (double& angle : degrees) angle = angle * 180 / pi;
  Json::Value value;
  value["ori"]["euler"] = members(abc, degrees);
  value["ori"]["quaternion"] = quaternionOf(frame.rpy);
  value["pos"] = members(xyz, scaled(frame.trans, millimetres));
  return value;
}

Json::Value loadRecord(const Load& load, bool robotHeld) {
  Json::Value value;
  value["mass"] = load.mass;
  value["moment"] = numbersJson(scaled(load.inertia, squareMillimetres));
  Json::Value& pose = value["pose"];
  // What stands in the cell has no centre of gravity that the robot would feel.
  pose["pos"] = robotHeld ? members(xyz, scaled(load.cog, millimetres)) : members(xyz, integerZeros);
  pose["ori"]["euler"] = members(abc, integerZeros);
  pose["ori"]["quaternion"] = quaternion(1, 0, 0, 0);
  return value;
}

}  // namespace

ToolName readToolName(ToolKind kind, const std::string& name) {
  const std::string prefix = "g_" + std::string(wordOf(kind)) + "_";
  ToolName read;
  if (name.compare(0, prefix.size(), prefix) != 0) return read;
  const char* const end = name.data() + name.size();
  const auto [stop, error] = std::from_chars(name.data() + prefix.size(), end, read.id);
  read.global = error == std::errc() && stop == end && read.id >= 0 && read.id <= lastGlobal;
  return read;
}

Json::Value toolRecord(ToolKind kind, const WorkToolInfo& info) {
  const ToolName name = readToolName(kind, info.name);
  Json::Value record;
  record["id"] = name.id;
  record["name"] = info.name;
  record["identified"] = true;
  record["calibrated"] = true;
  record["description"] = info.alias;
  record["frame"] = frameRecord(info.pos);
  record["method"] = 3;
  record["pers"] = false;
  record["robhold"] = info.robotHeld;
  record["load"] = loadRecord(info.load, info.robotHeld);
  if (kind == ToolKind::workObject) {
    record["mechanic"] = "robot";
    record["movable"] = true;
    record["related_frame"] = name.global ? "g_user_0" : "userframe0";
    record["uf_id"] = -100;
  } else {
    Json::Value& envelope = record["envelope"];
    envelope["shape"] = 0;
    for (const int zero : integerZeros) envelope["box_envelope"].append(zero);
    envelope["sphere_envelope"] = 0;
  }
  return record;
}

}  // namespace zivra::internal
