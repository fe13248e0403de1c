// The controller's clock and the server that it follows.
#include <algorithm>
#include <cctype>

#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr std::size_t kLongestName = 253;  // of a host
constexpr int kNotDone = -320;

bool isHost(const std::string& name) {
  const auto belongs = [](unsigned char c) { return std::isalnum(c) || c == '.' || c == '-' || c == ':'; };
  return !name.empty() && name.size() <= kLongestName && std::ranges::all_of(name, belongs);
}

Reply configure(World& w, const Json::Value& parameter) {
  const auto server = readText(member(parameter, "server"));
  if (!server) return badParameter();
  if (!isHost(*server)) return failure(badParameter().value.asInt(), "no name or address of a time server");
  w.clock.server = *server;
  return ok();
}

Reply synchronise(World& w, const Json::Value&) {
  if (w.clock.server.empty()) return failure(kNotDone, "no time server is configured");
  w.clock.ahead = {};
  w.note("the clock was set by " + w.clock.server);
  return ok();
}

}  // namespace

void addClockHandlers(Handlers& h) {
  h.command("sys.ntp.config", configure);
  h.command("sys.ntp.sync", synchronise);
}

}  // namespace zivra::sim
