// Who the controller is, and what it has to know of its client.
#include <arpa/inet.h>
#include <string>

#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

Reply info(World& w, const Json::Value&) {
  const Identity& identity = w.identity;
  Json::Value value(Json::objectValue);
  value["id"] = identity.id;
  value["mac"] = identity.mac;
  value["version"] = identity.version;
  value["type"] = std::string(identity.model.type);
  value["joint_num"] = static_cast<int>(identity.model.axes);
  value["work_type"] = identity.model.collaborative ? "cobot" : "industrial";
  return answer(value);
}

Reply ports(World& w, const Json::Value&) {
  Json::Value value(Json::objectValue);
  value["rt"] = w.identity.rtPort;
  value["broadcast"] = w.identity.statePort;
  value["broadcast_in"] = w.stream.port;
  return answer(value);
}

// No network, group or everybody. The controller's own address is fine: its clients run on its machine.
bool isOneHost(std::uint32_t address) { return address >> 24 != 0 && address >> 24 < 224; }

Reply setLocalAddress(World& w, const Json::Value& parameter) {
  const auto address = readText(parameter);
  if (!address) return badParameter();
  in_addr parsed{};
  const bool isIPv4 = ::inet_pton(AF_INET, address->c_str(), &parsed) == 1;
  if (!isIPv4 || !isOneHost(ntohl(parsed.s_addr))) return refuse(-10101);
  w.localAddress = *address;
  return ok();
}

}  // namespace

void addIdentityHandlers(Handlers& h) {
  h.get("sys.info", info);
  h.get("eci.port", ports);
  h.set("eci.ip", setLocalAddress);
}

}  // namespace zivra::sim
