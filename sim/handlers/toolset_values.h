// The toolset as requests and replies spell it: metres, and names beside the frames.
#pragma once

#include <json/json.h>
#include <optional>

#include "tools.h"

namespace zivra::sim {

enum class Names { required, absent };

std::optional<Toolset> readToolset(const Json::Value& value, Names names);
Json::Value toolsetJson(const Toolset& toolset);
Json::Value loadJson(const Load& load);

// 0, or the code of the refusal of a load that no arm can have.
int loadRefusal(const Load& load);

}  // namespace zivra::sim
