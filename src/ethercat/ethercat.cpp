// EtherCAT slaves behind the controller, over a link of their own.
#include <algorithm>
#include <cstdio>
#include <limits>
#include <optional>
#include <utility>

#include <zivra/base_robot.h>
#include <zivra/error.h>
#include <zivra/ethercat.h>

#include "network/xservice/xservice.h"
#include "robot/operation.h"

namespace zivra {

using internal::member;
using internal::Reply;

// Has no members that change: any thread may ask.
struct BaseEthercat::State {
  const std::shared_ptr<XService> service = std::make_shared<XService>();

  // 256 where there is no link, as in an object that was moved from.
  static Reply command(const std::shared_ptr<State>& state, std::error_code& ec, const char* key,
                       const Json::Value& parameters = Json::Value()) {
    if (state) return internal::Operation(*state->service, ec).command(key, parameters);
    ec = Code::network;
    return {ec, Json::Value()};
  }
};

namespace {

constexpr internal::Word<std::uint16_t> stateWords[] = {
    {"init", 1}, {"preop", 2}, {"bootstrap", 3}, {"safeop", 4}, {"op", 8}};

constexpr std::size_t mostSlaves = std::numeric_limits<std::uint16_t>::max();  // addresses have 16 bits

// "The operation isn't possible", the one refusal that comes without a code.
bool isBareRefusal(const Reply& reply) { return !reply.failed() && internal::asInt(reply.value()) == -1; }

// A JSON integer, of which the caller takes as many bits as it needs.
std::optional<std::uint64_t> asBits(const Json::Value& value) {
  if (const auto number = internal::asUnsigned(value)) return number;
  const auto number = internal::asInt(value);
  return number ? std::optional(static_cast<std::uint64_t>(*number)) : std::nullopt;
}

template <class Unsigned>
bool readUnsigned(const Json::Value& object, const char* key, Unsigned& out) {
  const auto number = internal::asUnsigned(member(object, key));
  if (!number || *number > std::numeric_limits<Unsigned>::max()) return false;
  out = static_cast<Unsigned>(*number);
  return true;
}

// 257 unless all of "data" is bytes. Then the first of them, as many as there is room for, are in `out`.
bool readBytes(Reply& reply, std::uint8_t* out, int room) {
  const Json::Value& data = member(reply.value(), "data");
  if (reply.failed()) return false;
  std::vector<std::uint8_t> bytes;
  bool good = data.isArray();
  if (good) {
    for (const Json::Value& element : data) {
      const auto bits = asBits(element);
      good = good && bits;
      if (good && bytes.size() < static_cast<std::size_t>(std::max(room, 0))) {
        bytes.push_back(static_cast<std::uint8_t>(*bits));
      }
    }
  }
  if (!good) {
    reply.fail(Code::responseUnresolved);
    return false;
  }
  std::copy(bytes.begin(), bytes.end(), out);
  return true;
}

Json::Value bytesOf(const std::uint8_t* data, int length) {
  Json::Value bytes(Json::arrayValue);
  for (int i = 0; i < length; ++i) bytes.append(static_cast<Json::UInt>(data[i]));
  return bytes;
}

Json::Value sdoAddress(int slave_addr, int index, int sub_index, int length, int over_time) {
  Json::Value value;
  value["addr"] = slave_addr;
  value["index"] = index;
  value["sub_index"] = sub_index;
  value["length"] = length;
  value["over_time"] = over_time;
  return value;
}

Json::Value pdoAddress(int slave_addr, int offset, int size) {
  Json::Value value;
  value["addr"] = slave_addr;
  value["offset"] = offset;
  value["size"] = size;
  return value;
}

// A buffer that isn't there can neither be filled nor sent.
bool lacksBuffer(const std::uint8_t* data, int length, std::error_code& ec) {
  if (data != nullptr || length <= 0) return false;
  ec = Code::argumentInvalid;
  return true;
}

struct SlaveState {
  int addr = 0;
  std::uint16_t state = 0;
};

// Empty and 257 unless all of it can be understood.
std::vector<SlaveState> readStates(Reply reply) {
  if (reply.failed()) return {};
  const Json::Value& data = member(reply.value(), "data");
  std::vector<SlaveState> states;
  bool good = data.isArray() && data.size() <= mostSlaves;
  if (good) {
    for (const Json::Value& element : data) {
      const auto addr = internal::asInt(member(element, "addr"));
      const auto state = asBits(member(element, "state"));
      good = good && addr && state;
      if (good) states.push_back({*addr, static_cast<std::uint16_t>(*state)});
    }
  }
  if (good) return states;
  reply.fail(Code::responseUnresolved);
  return {};
}

std::uint16_t stateOf(const std::vector<SlaveState>& states, int addr) {
  for (const SlaveState& slave : states) {
    if (slave.addr == addr) return slave.state;
  }
  return 0;
}

bool readInfo(const Json::Value& data, SlaveInfo& info) {
  const auto name = internal::asText(member(data, "slaveName"));
  if (!name) return false;
  info.slaveName = *name;
  return readUnsigned(data, "addr", info.slaveAddr) && readUnsigned(data, "slaveId", info.slaveId) &&
         readUnsigned(data, "vendorId", info.vendorId) &&
         readUnsigned(data, "productCode", info.productCode) &&
         readUnsigned(data, "reversionNumber", info.reversionNumber);
}

}  // namespace

BaseEthercat BaseRobot::ethercat() {
  auto state = std::make_shared<BaseEthercat::State>();
  const std::string address = impl().service->address();
  std::error_code ec = Code::network;
  state->service->setLogger(impl().service->logger());
  state->service->setEndpoint(address, Impl::commandPort);
  if (!address.empty()) state->service->start(ec);
  if (ec) throw NetworkException(ec.message());
  return BaseEthercat(std::move(state));
}

BaseEthercat::BaseEthercat(std::shared_ptr<State> state) noexcept : state_(std::move(state)) {}
BaseEthercat::BaseEthercat(BaseEthercat&& other) noexcept = default;
BaseEthercat& BaseEthercat::operator=(BaseEthercat&& other) noexcept = default;
BaseEthercat::~BaseEthercat() = default;

int BaseEthercat::GetSlaveCount(std::error_code& ec) noexcept {
  auto reply = State::command(state_, ec, "ethercat.get_con_slaves_num");
  const Json::Value& data = member(reply.value(), "data");
  if (reply.failed() || data.isNull()) return 0;
  const auto count = internal::asInt(data);
  if (!count) reply.fail(Code::responseUnresolved);
  return count.value_or(0);
}

SlaveInfo BaseEthercat::GetSlaveInfo(int slave_addr, std::error_code& ec) noexcept {
  Json::Value parameters;
  parameters["addr"] = slave_addr;
  auto reply = State::command(state_, ec, "ethercat.get_slave_info", parameters);
  if (!reply.isData()) return {};
  SlaveInfo info;
  if (!readInfo(member(reply.value(), "data"), info)) {
    reply.fail(Code::responseUnresolved);
    return {};
  }
  const auto states = readStates(State::command(state_, ec, "ethercat.get_slaves_state"));
  if (ec) return {};
  info.alStatus = stateOf(states, slave_addr);
  return info;
}

std::vector<SlaveInfo> BaseEthercat::GetSlavesInfo(std::error_code& ec) noexcept {
  std::vector<SlaveInfo> slaves;
  for (const SlaveState& slave : readStates(State::command(state_, ec, "ethercat.get_slaves_state"))) {
    slaves.push_back(GetSlaveInfo(slave.addr, ec));
  }
  return slaves;
}

std::uint16_t BaseEthercat::GetSlaveState(int slave_addr, std::error_code& ec) noexcept {
  return stateOf(readStates(State::command(state_, ec, "ethercat.get_slaves_state")), slave_addr);
}

bool BaseEthercat::SetSlavesState(std::uint16_t state, std::error_code& ec) noexcept {
  ec.clear();
  for (const auto& word : stateWords) {
    if (word.value != state) continue;
    Json::Value parameters;
    parameters["state"] = std::string(word.text);
    State::command(state_, ec, "ethercat.set_slaves_state", parameters);
    return true;
  }
  return false;
}

bool BaseEthercat::ReadSDO(int slave_addr, int index, int sub_index, int length, std::uint8_t* data,
                           int over_time, std::error_code& ec) noexcept {
  if (lacksBuffer(data, length, ec)) return false;
  auto reply = State::command(state_, ec, "ethercat.read_SDO_data",
                              sdoAddress(slave_addr, index, sub_index, length, over_time));
  return !isBareRefusal(reply) && readBytes(reply, data, length);
}

bool BaseEthercat::WriteSDO(int slave_addr, int index, int sub_index, int length, const std::uint8_t* data,
                            int over_time, std::error_code& ec) noexcept {
  if (lacksBuffer(data, length, ec)) return false;
  Json::Value parameters = sdoAddress(slave_addr, index, sub_index, length, over_time);
  parameters["data"] = bytesOf(data, length);
  const auto reply = State::command(state_, ec, "ethercat.write_SDO_data", parameters);
  return !isBareRefusal(reply) && !ec;
}

bool BaseEthercat::WriteMultiSDO(std::uint16_t slave_addr, std::vector<SDOData> items,
                                 std::error_code& ec) noexcept {
  Json::Value parameters(Json::arrayValue);
  for (const SDOData& item : items) {
    if (item.length > static_cast<int>(item.data.size())) {
      ec = Code::parameterExceedsLimit;
      return false;
    }
    Json::Value value = sdoAddress(slave_addr, item.index, item.sub_index, item.length, item.over_time);
    value["wait_time"] = item.wait_time;
    value["print_data"] = item.print_data;
    value["data"] = bytesOf(item.data.data(), item.length);
    parameters.append(std::move(value));
  }
  const auto reply = State::command(state_, ec, "ethercat.write_multi_SDO_data", parameters);
  return !isBareRefusal(reply) && !ec;
}

bool BaseEthercat::ReadPDO(int slave_addr, int offset, int size, std::uint8_t* data,
                           std::error_code& ec) noexcept {
  if (lacksBuffer(data, size, ec)) return false;
  auto reply = State::command(state_, ec, "ethercat.read_PDO_data", pdoAddress(slave_addr, offset, size));
  if (reply.failed()) {
    std::fputs(("ReadPDO ec: " + ec.message() + "\n").c_str(), stderr);
    return false;
  }
  if (!reply.isData()) return false;
  return readBytes(reply, data, size);
}

bool BaseEthercat::WritePDO(int slave_addr, int offset, int size, const std::uint8_t* data,
                            std::error_code& ec) noexcept {
  if (lacksBuffer(data, size, ec)) return false;
  Json::Value parameters = pdoAddress(slave_addr, offset, size);
  parameters["data"] = bytesOf(data, size);
  const auto reply = State::command(state_, ec, "ethercat.write_PDO_data", parameters);
  return !isBareRefusal(reply) && !ec;
}

}  // namespace zivra
