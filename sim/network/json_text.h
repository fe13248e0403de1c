// Reads and writes the JSON text of frames. Of its own because jsoncpp's reader follows the process's locale
// (under a comma locale it reads 1.5 as 1), overlooks what stands behind a value and throws on deep nesting.
#pragma once

#include <json/json.h>
#include <optional>
#include <string>
#include <string_view>

namespace zivra::sim {

// Nothing unless the text is exactly one JSON value of at most 100 levels. Throws nothing but bad_alloc.
std::optional<Json::Value> parseJson(std::string_view text);

// Compact text without a line end; real numbers in the shortest form that reads back the same.
std::string writeJson(const Json::Value& value);

}  // namespace zivra::sim
