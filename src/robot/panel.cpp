// The panel at the tool: supply, keypad, and its serial port as Modbus master or as plain bytes.
#include <cstdint>
#include <iterator>
#include <optional>

#include <zivra/robot.h>

#include "core/json.h"
#include "robot/operation.h"

namespace zivra {

using internal::isAmong;
using internal::LogLevel;
using internal::Operation;
using internal::Reply;

namespace {

// How much fits into one transfer, by the type of the panel.
struct PanelLimits {
  int registers, coils, bytes;
};

constexpr PanelLimits limitsOf(int panelType) {
  switch (panelType) {
    case 2:
    case 4:
      return {59, 944, 128};
    case 3:
      return {27, 432, 64};
    default:
      return {3, 48, 16};
  }
}

// Asks for the type of the panel unless it is known. A failure is not the operation's at hand: that one goes
// on with the narrowest limits, and the next one asks again.
PanelLimits panelLimits(BaseRobot::Impl& impl) {
  if (impl.panelTypeKnown) return limitsOf(impl.panelType);
  std::error_code ec;
  Json::Value value;
  impl.service->get("norvil_support_rs485_param", Json::Value(), value, ec);
  const auto type = ec ? std::nullopt : internal::asInt(value);
  if (type) {  // what another thread has learnt meanwhile stays if this one learns nothing
    impl.panelType = *type;
    impl.panelTypeKnown = true;
  }
  internal::logBoth(impl.service->logger().get(), LogLevel::debug, "uid: {}| GetNorvilType: {}",
                    internal::uid(), type.value_or(0));
  return limitsOf(type.value_or(0));
}

const char* supplyWord(NorvilOpt::Vout opt) {
  switch (opt) {
    case NorvilOpt::Vout::reserve:
      return "reserve";
    case NorvilOpt::Vout::supply12v:
      return "12v";
    case NorvilOpt::Vout::supply24v:
      return "24v";
    default:
      return "off";
  }
}

bool isAddress(int value) { return value >= 0 && value <= 65535; }

// What the controller tells of a transfer. It has no codes of its own for the buses: "error" is -1, whatever
// it holds. A bare integer is a refusal of the request itself; 0 in place of what was read is no answer.
void judge(Reply& reply) {
  if (reply.failed() || reply.value().isNull()) return;
  reply.codeOrData();
  if (reply.failed()) return;
  if (!reply.value().isObject()) {
    reply.fail(Code::responseUnresolved);
  } else if (!internal::member(reply.value(), "error").isNull()) {
    reply.fail({-1, category()});
  }
}

std::optional<unsigned> asWord(const Json::Value& value) {
  const auto number = internal::asInteger(value);
  return number ? std::optional<unsigned>(*number & 0xFFFF) : std::nullopt;
}
std::optional<unsigned> asByte(const Json::Value& value) {
  const auto number = internal::asInteger(value);
  return number ? std::optional<unsigned>(*number & 0xFF) : std::nullopt;
}

// The `n` values read back under "data" / `name`; what isn't there reads as 0. Zeros, and 257, if something
// there can't be read, and after a failed transfer.
template <class Value>
std::vector<unsigned> readBack(Reply& reply, const char* name, int n,
                               std::optional<Value> (*read)(const Json::Value&)) {
  std::vector<unsigned> values(static_cast<std::size_t>(n), 0);
  if (reply.failed()) return values;
  const Json::Value& data = internal::member(reply.value(), "data");
  const Json::Value& array = internal::member(data, name);
  bool understood = (data.isNull() || data.isObject()) && (array.isNull() || array.isArray());
  for (Json::ArrayIndex i = 0; understood && i < array.size() && i < values.size(); ++i) {
    const auto value = read(array[i]);
    understood = value.has_value();
    values[i] = value.value_or(Value());
  }
  if (!understood) {
    reply.fail(Code::responseUnresolved);
    values.assign(values.size(), 0);
  }
  return values;
}

// After a refusal the caller's array stays as it was.
bool refused(const std::error_code& ec) { return ec == std::error_code(-1, category()); }

}  // namespace

void BaseCobot::setNorvilVout(NorvilOpt::Vout opt, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setNorvilVout {}", opt);
  Json::Value request;
  request["vout"] = supplyWord(opt);
  op.set("device.io.norvil", request);
  op.end("setNorvilVout end, opt: {} ({})", opt, ec);
}

void BaseCobot::setNorvilRS485(NorvilOpt::Vout opt, bool if_rs485, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setNorvilRTU {} {}", opt, if_rs485);
  Json::Value request;
  request["vout"] = supplyWord(opt);
  request["mode"] = "rs485";
  op.set("device.io.norvil", request);
  op.end("setNorvilRTU end, opt: {}, {} ({})", opt, if_rs485, ec);
}

void BaseCobot::NorvilRWModbusRTUReg(int slave_addr, int fun_cmd, int reg_addr, const std::string& data_type,
                                     int num, std::vector<int>& data_array, bool if_crc_reverse,
                                     std::error_code& ec) noexcept {
  Operation op(impl(), ec,
               "NorvilRWModbusRTUReg slave_addr: {} fun_cmd: {} reg_addr: {} data_type: {} num: {} ec:{} "
               "if_crc_reverse:{}",
               slave_addr, fun_cmd, reg_addr, data_type, num, ec, if_crc_reverse);
  if (!isAddress(slave_addr)) {
    return op.refuse(" NorvilRWModbusRTUReg error: Parameter slaver_addr out of range | ({})");
  }
  if (!isAmong(fun_cmd, {3, 4, 6, 16})) {
    return op.refuse(" NorvilRWModbusRTUReg error: Parameter fun_cmd out of range | ({})");
  }
  if (!isAddress(reg_addr)) {
    return op.refuse(" NorvilRWModbusRTUReg error: Parameter reg_addr out of range | ({})");
  }
  const int validSize = panelLimits(impl()).registers;
  op.end(" NorvilRWModbusRTUReg valid_size  | ({})", validSize);
  const bool wide = data_type == "int32" || data_type == "uint32";
  if (wide && (num < 0 || num > validSize / 2 || fun_cmd == 6)) {
    return op.refuse(" NorvilRWModbusRTUReg error: Parameter num does not match data_type  | ({})");
  }
  if (!wide && data_type != "int16" && data_type != "uint16") {
    return op.refuse(" NorvilRWModbusRTUReg error: Parameter data_type out of range  | ({})");
  }
  if (!wide && (num < 0 || num > validSize)) {
    return op.refuse(" NorvilRWModbusRTUReg error: Parameter num does not match data_type | ({})");
  }
  const auto count = static_cast<std::size_t>(num);
  if (fun_cmd != 6 && data_array.size() != count) {
    return op.refuse(" NorvilRWModbusRTUReg error: Parameter data_array does not match num | ({})");
  }

  const int registers = wide ? num * 2 : num;
  Json::Value request;
  request["slave_addr"] = slave_addr;
  request["fun_cmd"] = fun_cmd;
  request["reg_addr"] = reg_addr;
  request["num"] = registers;
  request["if_crc_reverse"] = if_crc_reverse;
  for (std::size_t i = 0; i < count; ++i) {
    const auto value = static_cast<std::uint32_t>(i < data_array.size() ? data_array[i] : 0);
    request["data_array"].append(value & 0xFFFF);
    if (wide) request["data_array"].append(value >> 16);
  }
  auto reply = op.command("modbusRTU.register.rw", request);
  judge(reply);
  if (!refused(ec)) {
    const auto read = readBack(reply, "data_array", registers, asWord);
    data_array.assign(count, 0);
    for (std::size_t i = 0; i < count; ++i) {
      data_array[i] = static_cast<int>(wide ? read[2 * i] | read[2 * i + 1] << 16 : read[i]);
    }
  }
  op.end(" NorvilRWModbusRTUReg end, ec:{}", ec);
}

void BaseCobot::NorvilRWModbusRTUCoil(int slave_addr, int fun_cmd, int coil_addr, int num,
                                      std::vector<bool>& data_array, bool if_crc_reverse,
                                      std::error_code& ec) noexcept {
  Operation op(
      impl(), ec,
      "NorvilRWModbusRTUCoil slave_addr: {} fun_cmd: {} coil_addr: {} num: {} ec: {} if_crc_reverse: {} ",
      slave_addr, fun_cmd, coil_addr, num, ec, if_crc_reverse);
  if (!isAddress(slave_addr)) {
    return op.refuse(" NorvilRWModbusRTUCoil error: Parameter slaver_addr out of range | ({})");
  }
  if (!isAmong(fun_cmd, {1, 2, 5, 15})) {
    return op.refuse(" NorvilRWModbusRTUCoil error: Parameter fun_cmd out of range | ({})");
  }
  if (!isAddress(coil_addr)) {
    return op.refuse(" NorvilRWModbusRTUCoil error: Parameter coi_addr out of range | ({})");
  }
  const int validSize = panelLimits(impl()).coils;
  op.end(" NorvilRWModbusRTUCoil valid_size  | ({})", validSize);
  if (num < 0 || num > validSize) {
    return op.refuse(" NorvilRWModbusRTUCoil error: Parameter num out of range | ({})");
  }
  const auto count = static_cast<std::size_t>(num);
  if (fun_cmd != 5 && data_array.size() != count) {
    return op.refuse(" NorvilRWModbusRTUCoil error: Parameter data_array does not match num  | ({})");
  }

  Json::Value request;
  request["slave_addr"] = slave_addr;
  request["fun_cmd"] = fun_cmd;
  request["coil_addr"] = coil_addr;
  request["num"] = num;
  request["if_crc_reverse"] = if_crc_reverse;
  for (std::size_t i = 0; i < count; ++i) {
    request["data_array"].append(i < data_array.size() && data_array[i]);
  }
  auto reply = op.command("modbusRTU.coil.rw", request);
  judge(reply);
  if (!refused(ec)) {
    const auto read = readBack(reply, "rev_data", num, internal::asTruth);
    data_array.assign(read.begin(), read.end());
  }
  op.end(" NorvilRWModbusRTUCoil end, ec:{}", ec);
}

void BaseCobot::NorvilRS485SendData(int send_byte, int rev_byte, const std::vector<std::uint8_t>& send_data,
                                    std::vector<std::uint8_t>& recv_data, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "NorvilRS485SendData send_byte: {} rev_byte: {} ec: {}", send_byte, rev_byte, ec);
  const int validSize = panelLimits(impl()).bytes;
  op.end(" NorvilRS485SendData valid_size  | ({})", validSize);
  if (send_byte < 0 || send_byte > validSize || rev_byte < 0 || rev_byte > validSize) {
    return op.refuse(" NorvilRS485SendData error: Parameter send_byte or rev_byte out of range | ({})");
  }
  if (send_data.size() != static_cast<std::size_t>(send_byte) ||
      recv_data.size() != static_cast<std::size_t>(rev_byte)) {
    return op.refuse(" NorvilRS485SendData error: Parameter byte len does not match data array size | ({})");
  }

  Json::Value request;
  request["send_len"] = send_byte;
  request["rev_len"] = rev_byte;
  for (const std::uint8_t byte : send_data) request["send_data"].append(byte);
  auto reply = op.command("modbusRTU.data.rw", request);
  judge(reply);
  recv_data.clear();
  if (!refused(ec)) {
    for (const unsigned byte : readBack(reply, "rev_data", rev_byte, asByte)) {
      recv_data.push_back(static_cast<std::uint8_t>(byte));
    }
  }
  op.end(" NorvilRS485SendData end, ec:{}", ec);
}

KeyPadState BaseCobot::getKeypadState(std::error_code& ec) noexcept {
  auto reply = Operation(impl(), ec).get("device.io.keypad");
  if (reply.failed()) return {};
  bool KeyPadState::*const keys[] = {
      &KeyPadState::key1_state, &KeyPadState::key2_state, &KeyPadState::key3_state, &KeyPadState::key4_state,
      &KeyPadState::key5_state, &KeyPadState::key6_state, &KeyPadState::key7_state};
  if (!reply.value().isArray()) reply.fail(Code::responseUnresolved);
  // A panel with another number of keys has none of these.
  if (reply.failed() || reply.value().size() != std::size(keys)) return {};
  KeyPadState state;
  for (Json::ArrayIndex i = 0; i < std::size(keys); ++i) {
    const auto pressed = internal::asTruth(reply.value()[i]);
    if (!pressed) {
      reply.fail(Code::responseUnresolved);
      return {};
    }
    state.*keys[i] = *pressed;
  }
  return state;
}

void BaseCobot::useRciClient(bool use, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "useRciClient {}", use);
  Json::Value request;
  request["protocol_version"] = use ? "" : internal::protocolVersion();
  op.set("eci.rci.cfg", request);
  op.end("useRciClient end, use: {} ({})", use, ec);
}

}  // namespace zivra
