// What the state stream holds, where it goes and when it runs.
#include <cmath>

#include "handlers/handlers.h"
#include "handlers/values.h"
#include "stream/state_datagram.h"

namespace zivra::sim {

namespace {

constexpr int kNoAddress = -28672, kBadPeriod = -28689, kBadArguments = -28708, kRejected = -28711;
constexpr double kLongestPeriod = 1000;  // ms
constexpr std::size_t kFewestAxes = 5;

bool hasStream(const World& w) { return w.identity.model.axes >= kFewestAxes; }

Reply setFields(World& w, const Json::Value& parameter) {
  if (!hasStream(w)) return refuse(kRejected);
  if (!parameter.isArray()) return badParameter();
  std::vector<std::string> fields;
  for (const Json::Value& element : parameter) {
    const auto name = readText(element);
    if (!name) return badParameter();
    // In ascending order, none twice.
    if (!isStateField(*name) || (!fields.empty() && *name <= fields.back())) return refuse(kBadArguments);
    fields.push_back(*name);
  }
  if (writeDatagram(sampleRobot(w, {}), {}, fields).size() > kLongestDatagram) return refuse(kBadArguments);
  w.stream.fields = std::move(fields);
  return ok();
}

Reply setPort(World& w, const Json::Value& parameter) {
  const auto port = readNumber(member(parameter, "broadcast_in"));
  if (!port) return badParameter();
  if (*port != std::floor(*port) || *port < 1 || *port > 65535) return refuse(kBadArguments);
  w.stream.port = static_cast<std::uint16_t>(*port);
  return ok();
}

Reply startPublishing(World& w, const Json::Value& parameter) {
  if (!hasStream(w)) return refuse(kRejected);
  const auto period = readNumber(parameter);
  if (!period) return badParameter();
  if (*period != std::floor(*period) || *period < 1 || *period > kLongestPeriod) return refuse(kBadPeriod);
  if (!w.stream.fields) return refuse(kRejected);
  if (w.localAddress.empty()) return refuse(kNoAddress);
  w.stream.begin(std::chrono::milliseconds(static_cast<int>(*period)));
  return ok();
}

Reply stopPublishing(World& w, const Json::Value& parameter) {
  if (!parameter.isNull()) return badParameter();
  if (w.stream.publishing) w.stream.end();
  return ok();
}

}  // namespace

void addStreamHandlers(Handlers& h) {
  h.set("eci.fields.out", setFields);
  h.set("eci.port", setPort);
  h.command("eci.pub.start", startPublishing);
  h.command("eci.pub.stop", stopPublishing);
}

}  // namespace zivra::sim
