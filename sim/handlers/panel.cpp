// The panel at the tool: supply, keys, serial port and CAN.
#include "panel.h"

#include <algorithm>
#include <optional>

#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr int kNoAnswer = -11002;  // on the bus
constexpr int kWordMask = 0xFFFF, kByteMask = 0xFF;
constexpr int kPeerAnswers = 0x100;  // added to a frame's id

std::optional<int> readInt(const Json::Value& value, int least, int most) {
  if (!value.isInt() || value.asInt() < least || value.asInt() > most) return std::nullopt;
  return value.asInt();
}

Reply failedTransfer() {
  Json::Value value(Json::objectValue);
  value["error"] = kNoAnswer;
  return answer(value);
}

Reply transferred(const char* name, Json::Value values) {
  Json::Value value(Json::objectValue);
  value[name] = std::move(values);
  return data(value);
}

Reply setUp(World& w, const Json::Value& parameter) {
  const auto supply = readText(member(parameter, "vout"));
  const Json::Value& mode = member(parameter, "mode");
  const char* supplies[] = {"off", "reserve", "12v", "24v"};
  if (!supply || std::find(std::begin(supplies), std::end(supplies), *supply) == std::end(supplies)) {
    return badParameter();
  }
  if (!mode.isNull()) {
    const auto word = readText(mode);
    if (word != "rs485" && word != "ai") return badParameter();
    w.panel.serial = *word == "rs485";
  }
  w.panel.supply = *supply;
  return ok();
}

// What all Modbus requests have; nothing if one of them is out of order.
struct Transfer {
  int slave, function;
  std::size_t address, count;
  const Json::Value& values;
};

std::optional<Transfer> readTransfer(const Json::Value& parameter, const char* address, int most) {
  const auto slave = readInt(member(parameter, "slave_addr"), 0, 65535);
  const auto function = readInt(member(parameter, "fun_cmd"), 1, 16);
  const auto from = readInt(member(parameter, address), 0, 65535);
  const auto count = readInt(member(parameter, "num"), 0, most);
  const Json::Value& values = member(parameter, "data_array");
  const std::size_t given = values.isArray() ? values.size() : 0;
  if (!slave || !function || !from || !count || !member(parameter, "if_crc_reverse").isBool())
    return std::nullopt;
  if (!(values.isArray() || values.isNull()) || given != static_cast<std::size_t>(*count))
    return std::nullopt;
  return Transfer{*slave, *function, static_cast<std::size_t>(*from), given, values};
}

// Reads or writes `count` places of the slave's memory and answers what stands there then.
template <typename Place, typename Read>
Reply exchange(World& w, const Transfer& transfer, std::array<Place, Panel::kAddresses>& memory, bool writes,
               const char* name, Read read) {
  if (!w.panel.slaveAnswers(transfer.slave) || transfer.address + transfer.count > Panel::kAddresses) {
    return failedTransfer();
  }
  std::vector<Place> written;
  for (const Json::Value& value : transfer.values) {
    const std::optional<Place> place = read(value);
    if (!place) return badParameter();
    written.push_back(*place);
  }
  Json::Value values(Json::arrayValue);
  for (std::size_t i = 0; i < transfer.count; ++i) {
    if (writes) memory[transfer.address + i] = written[i];
    values.append(memory[transfer.address + i]);
  }
  return transferred(name, std::move(values));
}

Reply registers(World& w, const Json::Value& parameter) {
  const auto transfer = readTransfer(parameter, "reg_addr", w.panel.capacity().registers);
  if (!transfer) return badParameter();
  const bool writes = transfer->function == 6 || transfer->function == 16;
  if (!writes && transfer->function != 3 && transfer->function != 4) return badParameter();
  return exchange(w, *transfer, transfer->function == 4 ? w.panel.input : w.panel.holding, writes,
                  "data_array", [](const Json::Value& value) { return readInt(value, 0, kWordMask); });
}

Reply coils(World& w, const Json::Value& parameter) {
  const auto transfer = readTransfer(parameter, "coil_addr", w.panel.capacity().coils);
  if (!transfer) return badParameter();
  const bool writes = transfer->function == 5 || transfer->function == 15;
  if (!writes && transfer->function != 1 && transfer->function != 2) return badParameter();
  return exchange(w, *transfer, transfer->function == 2 ? w.panel.discrete : w.panel.coils, writes,
                  "rev_data", readFlag);
}

// The bytes come back; what is asked for beyond them is 0.
Reply echo(World& w, const Json::Value& parameter) {
  const int most = w.panel.capacity().bytes;
  const auto sent = readInt(member(parameter, "send_len"), 0, most);
  const auto wanted = readInt(member(parameter, "rev_len"), 0, most);
  const Json::Value& data = member(parameter, "send_data");
  const int given = data.isArray() ? static_cast<int>(data.size()) : 0;
  if (!sent || !wanted || !(data.isArray() || data.isNull()) || given != *sent) return badParameter();
  for (const Json::Value& byte : data) {
    if (!readInt(byte, 0, kByteMask)) return badParameter();
  }
  if (!w.panel.serial) return failedTransfer();
  Json::Value back(Json::arrayValue);
  for (int i = 0; i < *wanted; ++i) back.append(i < given ? data[i] : Json::Value(0));
  return transferred("rev_data", std::move(back));
}

std::optional<CanFrame> readFrame(const Json::Value& value) {
  const auto id = readInt(member(value, "frame_id"), 0, 0x1FFFFFFF);
  const auto format = readInt(member(value, "frame_format"), 0, 1);
  const auto type = readInt(member(value, "frame_type"), 0, 2);
  const auto length = readInt(member(value, "frame_valid_length"), 0, 64);
  const Json::Value& data = member(value, "data_array");
  const int given = data.isArray() ? static_cast<int>(data.size()) : 0;
  if (!id || !format || !type || !length || !(data.isArray() || data.isNull()) || given != *length)
    return std::nullopt;
  CanFrame frame{*id, *format, *type, {}};
  for (const Json::Value& byte : data) {
    const auto number = readInt(byte, 0, kByteMask);
    if (!number) return std::nullopt;
    frame.bytes.push_back(*number);
  }
  return frame;
}

Reply canSend(World& w, const Json::Value& parameter) {
  const Json::Value& frames = member(parameter, "send_frames");
  if (!frames.isArray()) return badParameter();
  std::vector<CanFrame> sent;
  for (const Json::Value& value : frames) {
    const auto frame = readFrame(value);
    if (!frame) return badParameter();
    sent.push_back(*frame);
  }
  for (CanFrame& frame : sent) {
    frame.id += kPeerAnswers;
    w.panel.canReceived.push_back(std::move(frame));
    if (w.panel.canReceived.size() > Panel::kCanQueue) w.panel.canReceived.pop_front();
  }
  return ok();
}

// The peer's answers are there at once: nothing would come by waiting.
Reply canReceive(World& w, const Json::Value& parameter) {
  if (!member(parameter, "timeout_ms").isInt()) return badParameter();
  if (w.panel.canReceived.empty()) return refuse(-1);
  const CanFrame frame = w.panel.canReceived.front();
  w.panel.canReceived.pop_front();
  Json::Value value(Json::objectValue);
  value["frame_id"] = frame.id;
  value["frame_format"] = frame.format;
  value["frame_type"] = frame.type;
  value["frame_valid_length"] = static_cast<int>(frame.bytes.size());
  value["data_array"] = numbersJson(frame.bytes);
  return data(value);
}

// Which client it is makes no difference here.
Reply realTimeClient(World&, const Json::Value& parameter) {
  return readText(member(parameter, "protocol_version")) ? ok() : badParameter();
}

}  // namespace

void addPanelHandlers(Handlers& h) {
  h.set("device.io.norvil", setUp);
  h.get("norvil_support_rs485_param", [](World& w, const Json::Value&) { return answer(w.panel.type); });
  h.get("device.io.keypad", [](World& w, const Json::Value&) {
    Json::Value keys(Json::arrayValue);
    for (const bool pressed : w.panel.keys) keys.append(pressed);
    return answer(keys);
  });
  h.command("modbusRTU.register.rw", registers);
  h.command("modbusRTU.coil.rw", coils);
  h.command("modbusRTU.data.rw", echo);
  h.command("modbusRTU.can.send", canSend);
  h.command("modbusRTU.can.recv", canReceive);
  h.set("eci.rci.cfg", realTimeClient);
}

}  // namespace zivra::sim
