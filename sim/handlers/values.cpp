#include "handlers/values.h"

#include <algorithm>
#include <cmath>

namespace zivra::sim {

const Json::Value& member(const Json::Value& object, const std::string& name) {
  const Json::Value* found =
      object.isObject() ? object.find(name.data(), name.data() + name.size()) : nullptr;
  return found ? *found : Json::Value::nullSingleton();
}

std::optional<double> readNumber(const Json::Value& value) {
  if (!value.isNumeric() || !std::isfinite(value.asDouble())) return std::nullopt;
  return value.asDouble();
}

std::optional<bool> readFlag(const Json::Value& value) {
  return value.isBool() ? std::optional(value.asBool()) : std::nullopt;
}

std::optional<std::string> readText(const Json::Value& value) {
  return value.isString() ? std::optional(value.asString()) : std::nullopt;
}

std::optional<std::vector<double>> readNumbers(const Json::Value& value, std::size_t atLeast) {
  if (!value.isArray() || value.size() < atLeast) return std::nullopt;
  std::vector<double> numbers;
  for (const Json::Value& element : value) {
    const auto number = readNumber(element);
    if (!number) return std::nullopt;
    numbers.push_back(*number);
  }
  return numbers;
}

std::optional<Pose> readPose(const Json::Value& value) {
  const auto trans = readNumbers(member(value, "trans"), 3);
  const auto rot = readNumbers(member(value, "rot"), 3);
  if (!trans || !rot) return std::nullopt;
  Pose pose;
  std::copy_n(trans->begin(), 3, pose.trans.begin());
  std::copy_n(rot->begin(), 3, pose.rot.begin());
  return pose;
}

bool readOptional(const Json::Value& object, const std::string& name, std::optional<double>& into) {
  const Json::Value& value = member(object, name);
  if (value.isNull()) return true;
  into = readNumber(value);
  return into.has_value();
}

Json::Value poseJson(const Pose& pose) {
  Json::Value value(Json::objectValue);
  value["trans"] = numbersJson(pose.trans);
  value["rot"] = numbersJson(pose.rot);
  return value;
}

}  // namespace zivra::sim
