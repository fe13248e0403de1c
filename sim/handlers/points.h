// Points of a path as requests spell them. False: malformed.
#pragma once

#include <json/json.h>

#include "motion/motion.h"

namespace zivra::sim {

bool readTarget(const Json::Value& value, Target& target);
bool readCircle(const Json::Value& circle, Move& move);  // the angle and what becomes of the orientation

}  // namespace zivra::sim
