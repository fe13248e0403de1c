// Reads parameters that a client may have filled with anything, and writes the values that replies share.
// Nothing here throws on a wrong type.
#pragma once

#include <array>
#include <cstddef>
#include <json/json.h>
#include <optional>
#include <string>
#include <vector>

#include "motion/motion.h"

namespace zivra::sim {

const Json::Value& member(const Json::Value& object, const std::string& name);  // null if there is none

std::optional<double> readNumber(const Json::Value& value);  // finite
std::optional<bool> readFlag(const Json::Value& value);
std::optional<std::string> readText(const Json::Value& value);
// All elements of an array of at least `atLeast` finite numbers.
std::optional<std::vector<double>> readNumbers(const Json::Value& value, std::size_t atLeast);
std::optional<Pose> readPose(const Json::Value& value);  // "trans" and "rot"

// Fills `into` if the member is there; false if it is there and is no finite number.
bool readOptional(const Json::Value& object, const std::string& name, std::optional<double>& into);

template <typename Numbers>
Json::Value numbersJson(const Numbers& numbers) {
  Json::Value value(Json::arrayValue);
  for (const auto number : numbers) value.append(number);
  return value;
}

Json::Value poseJson(const Pose& pose);

}  // namespace zivra::sim
