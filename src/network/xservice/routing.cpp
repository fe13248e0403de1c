#include "network/xservice/routing.h"

#include "core/json.h"

namespace zivra::internal {

Route routeOf(const Json::Value& message) noexcept {
  // Every message that means something has two members at least.
  if (!message.isObject() || message.size() < 2) return {};
  if (hasMember(message, "n")) {
    const bool motion = hasMember(member(message, "n"), "move.last_error_with_setting");
    return {motion ? Destination::motion : Destination::push, 0};
  }
  const Json::Value& id = member(message, "id");
  if (id.isString()) return {Destination::motion, 0};
  const auto number = asUnsigned(id);
  return number ? Route{Destination::reply, *number} : Route{};
}

}  // namespace zivra::internal
