// JSON values from and to text, by the library's own reader and writer.
#pragma once

#include <gtest/gtest.h>
#include <json/json.h>
#include <string>

#include "core/json.h"
#include "core/json_text.h"

namespace zivra::internal {

inline std::string textOf(const Json::Value& value) {
  std::string out;
  appendJson(out, value);
  return out;
}

inline Json::Value parsed(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(JsonParser().parse(text, value)) << text;
  return value;
}

}  // namespace zivra::internal
