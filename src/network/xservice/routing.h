// Where a message from the controller goes. Any thread.
#pragma once

#include <cstdint>
#include <json/json.h>

namespace zivra::internal {

enum class Destination { nowhere, motion, push, reply };

struct Route {
  Destination destination = Destination::nowhere;
  std::uint64_t id = 0;  // of a reply
};

Route routeOf(const Json::Value& message) noexcept;

}  // namespace zivra::internal
