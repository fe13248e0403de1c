// The slaves on the EtherCAT bus. A refusal is -1 and nothing more.
#include <algorithm>
#include <iterator>
#include <limits>

#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

struct StateWord {
  const char* text;
  SlaveState state;
};
constexpr StateWord kStates[] = {{"init", SlaveState::init},
                                 {"preop", SlaveState::preop},
                                 {"bootstrap", SlaveState::bootstrap},
                                 {"safeop", SlaveState::safeop},
                                 {"op", SlaveState::op}};

Reply refusal() { return refuse(-1); }

std::optional<int> readInteger(const Json::Value& value, int least, int most) {
  if (!value.isInt() || value.asInt() < least || value.asInt() > most) return std::nullopt;
  return value.asInt();
}

std::optional<Bytes> readBytes(const Json::Value& value, int count) {
  if (!value.isArray() || value.size() != static_cast<unsigned>(count)) return std::nullopt;
  Bytes bytes;
  for (const Json::Value& element : value) {
    const auto byte = readInteger(element, 0, 255);
    if (!byte) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(*byte));
  }
  return bytes;
}

constexpr int kMost = std::numeric_limits<int>::max();

struct ObjectRequest {
  int address = 0, length = 0;
  ObjectKey key;
};

// "over_time" bounds an exchange on the bus, which takes no time here.
std::optional<ObjectRequest> readObjectRequest(const Json::Value& value) {
  const auto address = readInteger(member(value, "addr"), 0, 65535);
  const auto index = readInteger(member(value, "index"), 0, 65535);
  const auto subIndex = readInteger(member(value, "sub_index"), 0, 255);
  const auto length = readInteger(member(value, "length"), 0, kMost);
  const auto limit = readInteger(member(value, "over_time"), 0, kMost);
  if (!address || !index || !subIndex || !length || !limit) return std::nullopt;
  return ObjectRequest{*address, *length, {*index, *subIndex}};
}

Reply count(World& w, const Json::Value&) { return data(static_cast<int>(w.ethercat.present().size())); }

Reply info(World& w, const Json::Value& parameter) {
  const auto address = readInteger(member(parameter, "addr"), 0, 65535);
  const Slave* slave = address ? w.ethercat.find(*address) : nullptr;
  if (slave == nullptr) return refusal();
  Json::Value value(Json::objectValue);
  value["addr"] = slave->address;
  value["slaveId"] = slave->id;
  value["vendorId"] = slave->vendorId;
  value["productCode"] = slave->productCode;
  value["reversionNumber"] = slave->revision;
  value["slaveName"] = slave->name;
  return data(value);
}

Reply states(World& w, const Json::Value&) {
  Json::Value list(Json::arrayValue);
  for (const Slave* slave : w.ethercat.present()) {
    Json::Value& entry = list.append(Json::Value(Json::objectValue));
    entry["addr"] = slave->address;
    entry["state"] = static_cast<int>(slave->state);
  }
  return data(list);
}

Reply setState(World& w, const Json::Value& parameter) {
  const auto text = readText(member(parameter, "state"));
  const auto* word =
      std::ranges::find_if(kStates, [&](const StateWord& known) { return text == known.text; });
  if (word == std::end(kStates) || !w.ethercat.setState(word->state)) return refusal();
  w.note("the EtherCAT slaves went to " + *text);
  return ok();
}

Reply readObject(World& w, const Json::Value& parameter) {
  const auto request = readObjectRequest(parameter);
  auto bytes = request ? w.ethercat.readObject(request->address, request->key) : std::nullopt;
  if (!bytes) return refusal();
  bytes->resize(std::min(bytes->size(), static_cast<std::size_t>(request->length)));
  return data(numbersJson(*bytes));
}

bool writeOne(World& w, const Json::Value& parameter) {
  const auto request = readObjectRequest(parameter);
  const auto bytes = request ? readBytes(member(parameter, "data"), request->length) : std::nullopt;
  return bytes && w.ethercat.writeObject(request->address, request->key, *bytes);
}

Reply writeObject(World& w, const Json::Value& parameter) {
  return writeOne(w, parameter) ? ok() : refusal();
}

// One after the other; the first that is refused ends it.
Reply writeObjects(World& w, const Json::Value& parameter) {
  if (!parameter.isArray()) return refusal();
  for (const Json::Value& item : parameter) {
    const bool complete =
        readInteger(member(item, "wait_time"), 0, kMost) && readInteger(member(item, "print_data"), 0, kMost);
    if (!complete || !writeOne(w, item)) return refusal();
  }
  return ok();
}

struct ProcessRequest {
  int address = 0, offset = 0, size = 0;
};

std::optional<ProcessRequest> readProcessRequest(const Json::Value& value) {
  const auto address = readInteger(member(value, "addr"), 0, 65535);
  const auto offset = readInteger(member(value, "offset"), 0, kMost);
  const auto size = readInteger(member(value, "size"), 1, kMost);
  if (!address || !offset || !size) return std::nullopt;
  return ProcessRequest{*address, *offset, *size};
}

Reply readProcessData(World& w, const Json::Value& parameter) {
  const auto request = readProcessRequest(parameter);
  const auto bytes =
      request ? w.ethercat.readProcessData(request->address, request->offset, request->size) : std::nullopt;
  return bytes ? data(numbersJson(*bytes)) : refusal();
}

Reply writeProcessData(World& w, const Json::Value& parameter) {
  const auto request = readProcessRequest(parameter);
  const auto bytes = request ? readBytes(member(parameter, "data"), request->size) : std::nullopt;
  return bytes && w.ethercat.writeProcessData(request->address, request->offset, *bytes) ? ok() : refusal();
}

}  // namespace

void addEthercatHandlers(Handlers& h) {
  h.command("ethercat.get_con_slaves_num", count);
  h.command("ethercat.get_slave_info", info);
  h.command("ethercat.get_slaves_state", states);
  h.command("ethercat.set_slaves_state", setState);
  h.command("ethercat.read_SDO_data", readObject);
  h.command("ethercat.write_SDO_data", writeObject);
  h.command("ethercat.write_multi_SDO_data", writeObjects);
  h.command("ethercat.read_PDO_data", readProcessData);
  h.command("ethercat.write_PDO_data", writeProcessData);
}

}  // namespace zivra::sim
