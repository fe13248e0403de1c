// Frames on the CAN bus of the panel at the tool.
#include <algorithm>
#include <cstdint>

#include <zivra/robot.h>

#include "core/json.h"
#include "robot/operation.h"

namespace zivra {

using internal::isAmong;
using internal::Operation;

namespace {

// The width of a frame's values on the wire; a text that isn't known is sent as it is, without any data.
enum class Width { none, one, two };

Width widthOf(const std::string& dataType) {
  if (dataType == "uint8") return Width::one;
  return dataType == "int16" || dataType == "uint16" ? Width::two : Width::none;
}

enum class Fault { none, id, format, type, negative, classicTwo, classicOne, flexibleTwo, flexibleOne, size };

using Line = fmt::format_string<std::error_code&>;

Line lineOf(Fault fault) {
  switch (fault) {
    case Fault::id:
      return " CANSendData error: Parameter slaver_addr out of range | ({})";
    case Fault::format:
      return " CANSendData error: Parameter frame_format out of range | ({})";
    case Fault::type:
      return " CANSendData error: Parameter frame_type out of range | ({})";
    case Fault::negative:
      return " CANSendData error: Parameter frame_valid_length exceeds the limit  | ({})";
    case Fault::classicTwo:
      return " CANSendData error: Parameter frame_valid_length exceeds the limit, the data_type is "
             "int16/uint16, length range is 0-4  | ({})";
    case Fault::classicOne:
      return " CANSendData error: Parameter frame_valid_length exceeds the limit, the data_type is uint8, "
             "length range is 0-8  | ({})";
    case Fault::flexibleTwo:
      return " CANSendData error: Parameter frame_valid_length exceeds the limit, the data_type is "
             "int16/uint16, length range is (0-4)/6/8/10/12/16/24/32 | ({})";
    case Fault::flexibleOne:
      return " CANSendData error: Parameter frame_valid_length exceeds the limit, the data_type is uint8, "
             "length range is (0-8)/12/16/20/24/32/48/64 | ({})";
    default:
      return " CANSendData error: Parameter data does not match frame_valid_length | ({})";
  }
}

Fault lengthFault(int frameType, Width width, int length) {
  if (frameType == 2) {
    if (width == Width::two && (length < 0 || length > 4)) return Fault::classicTwo;
    if (width == Width::one && (length < 0 || length > 8)) return Fault::classicOne;
    return Fault::none;
  }
  if (length < 0) return Fault::negative;
  if (width == Width::two && length > 4 && !isAmong(length, {6, 8, 10, 12, 16, 24, 32})) {
    return Fault::flexibleTwo;
  }
  if (width == Width::one && length > 8 && !isAmong(length, {12, 16, 20, 24, 32, 48, 64})) {
    return Fault::flexibleOne;
  }
  return Fault::none;
}

Fault faultOf(const CANFrame& frame, Width width) {
  if (frame.frame_id < 0) return Fault::id;
  if (frame.frame_format < 0 || frame.frame_format > 1) return Fault::format;
  if (frame.frame_type < 0 || frame.frame_type > 2) return Fault::type;
  const Fault fault = lengthFault(frame.frame_type, width, frame.frame_valid_length);
  if (fault != Fault::none) return fault;
  const bool fits = frame.frame_valid_length >= 0 &&
                    frame.data.size() == static_cast<std::size_t>(frame.frame_valid_length);
  return fits ? Fault::none : Fault::size;
}

Json::Value encoded(const CANFrame& frame, Width width) {
  Json::Value out;
  out["frame_id"] = frame.frame_id;
  out["frame_format"] = frame.frame_format;
  out["frame_type"] = frame.frame_type;
  const int bytes = width == Width::none ? 0 : width == Width::one ? 1 : 2;
  out["frame_valid_length"] = frame.frame_valid_length * bytes;
  if (width == Width::none) return out;
  for (const std::uint8_t byte : frame.data) {
    out["data_array"].append(byte);
    if (width == Width::two) out["data_array"].append(0);
  }
  return out;
}

// The frame under "data"; nothing if it can't be understood. What is missing reads as 0. Every byte that
// comes is told to `each`.
template <class Each>
bool decode(const Json::Value& data, Width width, CANFrame& frame, Each&& each) {
  if (data.isNull()) return true;
  if (!data.isObject()) return false;
  int length = 0;
  const std::pair<const char*, int*> members[] = {{"frame_id", &frame.frame_id},
                                                  {"frame_format", &frame.frame_format},
                                                  {"frame_type", &frame.frame_type},
                                                  {"frame_valid_length", &length}};
  for (const auto& [name, into] : members) {
    const Json::Value& value = internal::member(data, name);
    if (value.isNull()) continue;
    const auto number = internal::asInt(value);
    if (!number) return false;
    *into = *number;
  }
  const Json::Value& array = internal::member(data, "data_array");
  if (!array.isNull() && !array.isArray()) return false;

  // The controller's word on the length doesn't reach beyond what came.
  const auto count = std::min<std::size_t>(array.size(), static_cast<std::size_t>(std::max(length, 0)));
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i < count; ++i) {
    const auto value = internal::asInteger(array[static_cast<Json::ArrayIndex>(i)]);
    if (!value) return false;
    bytes.push_back(static_cast<std::uint8_t>(*value & 0xFF));
    each(bytes.back());
  }
  const std::size_t step = width == Width::two ? 2 : 1;
  for (std::size_t i = 0; width != Width::none && i + step <= bytes.size(); i += step) {
    frame.data.push_back(bytes[i]);
  }
  frame.frame_valid_length = static_cast<int>(frame.data.size());
  return true;
}

}  // namespace

void BaseCobot::CANSendData(const std::string& data_type, const std::vector<CANFrame>& send_frame,
                            std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  const Width width = widthOf(data_type);
  for (const CANFrame& frame : send_frame) {
    op.debug(
        "CANSendData data_type: {} frame_id: {} frame_format: {} frame_type: {} data: {} frame_valid_length: "
        "{} ec:{}",
        data_type, frame.frame_id, frame.frame_format, frame.frame_type, frame.data, frame.frame_valid_length,
        ec);
    const Fault fault = faultOf(frame, width);
    if (fault != Fault::none) return op.refuse(lineOf(fault));
  }
  Json::Value request;
  Json::Value& frames = request["send_frames"] = Json::Value(Json::arrayValue);
  for (const CANFrame& frame : send_frame) frames.append(encoded(frame, width));
  op.command("modbusRTU.can.send", request);
  op.end(" CANSendData end, ec:{}", ec);
}

void BaseCobot::CANReceiveData(int timeout_ms, const std::string& data_type, CANFrame& recv_frame,
                               std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  Json::Value request;
  request["timeout_ms"] = timeout_ms;
  auto reply = op.command("modbusRTU.can.recv", request);
  if (reply.failed() || !reply.value().isObject()) {
    ec = {-1, category()};
    op.end("CANReceiveData warning : No data received after timeout | ({})", ec);
    return;
  }
  CANFrame frame;
  const auto each = [&op](unsigned byte) { op.end(" CANReceiveData data:{}", byte); };
  if (decode(internal::member(reply.value(), "data"), widthOf(data_type), frame, each)) {
    recv_frame = std::move(frame);
  } else {
    reply.fail(Code::responseUnresolved);
  }
  op.end(" CANReceiveData end, ec:{}", ec);
}

}  // namespace zivra
