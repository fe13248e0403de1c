#include "clr/convert.h"

#include <any>
#include <cmath>
#include <limits>
#include <utility>

namespace zivra::clr {

namespace {

std::array<double, 3> firstThree(const Array<double>& from) { return {from.at(0), from.at(1), from.at(2)}; }

}  // namespace

String utf8StdStringToString(const std::string& text) { return validUtf8(text); }

String utf8CStringToString(const char* text) { return text == nullptr ? String("") : validUtf8(text); }

std::string convertString(const String& text, const std::string& codeset) {
  return encode(text.text(), codeset);
}

std::string marshal_as(const String& text, const std::string& codeset, std::size_t limit) {
  if (text.isNull()) throw ArgumentNullException("NULLPTR is not supported for this conversion.");
  std::string encoded;
  try {
    encoded = encodeStrictly(text.text(), codeset);
  } catch (const EncodingFailure&) {
    throw ArgumentException(
        "Conversion from WideChar to MultiByte failed.  Please check the content of the string and/or "
        "locale settings.");
  }
  if (encoded.size() > limit) throw ArgumentOutOfRangeException("Size of string exceeds INT_MAX.");
  return encoded;
}

ErrorCode convertErrorCode(const std::error_code& ec) {
  return ErrorCode(ec.value(), utf8StdStringToString(ec.message()));
}

zivra::Frame convertFrame(const Frame& from) { return {firstThree(from.trans), firstThree(from.rpy)}; }

Frame convertFrame(const zivra::Frame& from) { return {convertArray(from.trans), convertArray(from.rpy)}; }

zivra::Load convertLoad(const Load& from) {
  return {from.mass, firstThree(from.cog), firstThree(from.inertia)};
}

Load convertLoad(const zivra::Load& from) {
  return {from.mass, convertArray(from.cog), convertArray(from.inertia)};
}

zivra::Toolset convertToolset(const Toolset& from) {
  return {convertLoad(from.load), convertFrame(from.end), convertFrame(from.reference)};
}

Toolset convertToolset(const zivra::Toolset& from) {
  return {convertLoad(from.load), convertFrame(from.end), convertFrame(from.reference)};
}

zivra::CartesianPosition convertCartesianPosition(const CartesianPosition& from) {
  zivra::CartesianPosition to(firstThree(from.trans), firstThree(from.rpy));
  to.confData = from.confData;
  to.external = from.external;
  to.elbow = from.elbow;
  return to;
}

CartesianPosition convertCartesianPosition(const zivra::CartesianPosition& from) {
  CartesianPosition to;
  to.trans = convertArray(from.trans);
  to.rpy = convertArray(from.rpy);
  to.elbow = from.elbow;
  to.confData = List<int>(from.confData);
  to.external = List<double>(from.external);
  return to;
}

zivra::CartesianPosition::Offset convertOffset(const CartesianPosition::Offset& from) {
  return {from.type, convertFrame(from.frame)};
}

KeyPadState convertKeyPadState(const zivra::KeyPadState& from) {
  return {from.key1_state, from.key2_state, from.key3_state, from.key4_state,
          from.key5_state, from.key6_state, from.key7_state};
}

zivra::CANFrame convertCANFrame(const CANFrame& from) {
  return {from.frame_id, from.frame_format, from.frame_type, convertArrayToVector(from.data),
          from.frame_valid_length};
}

CANFrame convertCANFrame(const zivra::CANFrame& from) {
  return {from.frame_id, from.frame_format, from.frame_type, convertVectorToArray(from.data),
          from.frame_valid_length};
}

zivra::WorkToolInfo convertWorkToolInfo(const WorkToolInfo& from) {
  zivra::WorkToolInfo to(convertString(from.name), from.robotHeld, convertFrame(from.pos),
                         convertLoad(from.load));
  to.alias = convertString(from.alias);
  return to;
}

WorkToolInfo convertWorkToolInfo(const zivra::WorkToolInfo& from) {
  return {utf8StdStringToString(from.name), utf8StdStringToString(from.alias), from.robotHeld,
          convertFrame(from.pos), convertLoad(from.load)};
}

zivra::SDOData toNativeSdo(const std::optional<SDOData>& from) {
  zivra::SDOData to;
  if (!from) return to;
  to.index = from->index;
  to.sub_index = from->sub_index;
  to.length = from->length;
  to.over_time = from->over_time;
  to.wait_time = from->wait_time;
  to.print_data = from->print_data;
  if (from->data)
    std::copy_n(from->data->begin(), std::min(to.data.size(), from->data->size()), to.data.begin());
  return to;
}

Info convertInfo(const zivra::Info& from) {
  return {utf8StdStringToString(from.id), utf8StdStringToString(from.mac),
          utf8StdStringToString(from.version), utf8StdStringToString(from.type), from.joint_num};
}

StateList convertStateList(const zivra::StateList& from) {
  StateList to;
  to.joint_pos = convertVectorToArray(from.joint_pos);
  to.cart_pos = convertCartesianPosition(from.cart_pos);
  for (const auto& [name, value] : from.digital_signals) {
    to.digital_signals.emplace_back(utf8StdStringToString(name), value);
  }
  for (const auto& [name, value] : from.analog_signals) {
    to.analog_signals.emplace_back(utf8StdStringToString(name), value);
  }
  to.operation_mode = static_cast<OperateMode>(from.operation_mode);
  to.speed_override = from.speed_override;
  return to;
}

LogInfo convertLogInfo(const zivra::LogInfo& from) {
  return {from.id, utf8StdStringToString(from.timestamp), utf8StdStringToString(from.logText),
          utf8StdStringToString(from.repairHint)};
}

RLProjectInfo convertProjectInfo(const zivra::RLProjectInfo& from) {
  RLProjectInfo to(utf8StdStringToString(from.name));
  for (const std::string& task : from.taskList) to.taskList.push_back(utf8StdStringToString(task));
  return to;
}

FrameCalibrationResult convertCalibration(const zivra::FrameCalibrationResult& from) {
  return {convertFrame(from.frame), convertArray(from.errors)};
}

SlaveInfo convertSlaveInfo(const zivra::SlaveInfo& from) {
  return {from.vendorId,
          from.productCode,
          from.reversionNumber,
          from.slaveAddr,
          from.slaveId,
          from.alStatus,
          utf8StdStringToString(from.slaveName)};
}

Dictionary _convertCallback(const zivra::EventInfo& from) {
  Dictionary to;
  for (const auto& [name, value] : from) {
    const auto add = [&, &key = name](auto held) {
      to.emplace_back(utf8StdStringToString(key),
                      Object(std::in_place_type<decltype(held)>, std::move(held)));
    };
    if (const auto* whole = std::any_cast<int>(&value)) {
      add(*whole);
    } else if (const auto* real = std::any_cast<double>(&value)) {
      add(*real);
    } else if (const auto* text = std::any_cast<std::string>(&value)) {
      add(utf8StdStringToString(*text));
    } else if (const auto* flag = std::any_cast<bool>(&value)) {
      add(*flag);
    } else if (const auto* ec = std::any_cast<std::error_code>(&value)) {
      add(convertErrorCode(*ec));
    }
  }
  return to;
}

int cutToInt(double value) noexcept {
  if (std::isnan(value)) return 0;
  if (value <= std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
  if (value >= std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
  return static_cast<int>(value);
}

}  // namespace zivra::clr
