#pragma once

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/base_robot.h>
#include <zivra/ethercat.h>
#include <zivra/panel.h>
#include <zivra/service_types.h>
#include <zivra/types.h>

#include "clr/encoding.h"
#include "clr/types.h"

/// Values across the boundary, each direction by the type that it is given. They keep no state; what they
/// throw is a ManagedException, and nothing has been sent by then.
namespace zivra::clr {

String utf8StdStringToString(const std::string& text);  ///< U+FFFD for what isn't UTF-8
String utf8CStringToString(const char* text);           ///< empty for null
/// Empty for null, '?' for what the codeset doesn't have. All texts go in this way but those of `marshal_as`.
std::string convertString(const String& text, const std::string& codeset = narrowCodeset());
/// The strict way: throws ArgumentNullException, ArgumentException for what the codeset doesn't have, and
/// ArgumentOutOfRangeException above `limit` bytes.
std::string marshal_as(const String& text, const std::string& codeset = narrowCodeset(),
                       std::size_t limit = INT_MAX);
ErrorCode convertErrorCode(const std::error_code& ec);

/// N numbers: a shorter array is padded with zeros, a longer one cut.
template <std::size_t N>
std::array<double, N> convertArray(const Array<double>& from) {
  std::array<double, N> to{};
  std::copy_n(from.begin(), std::min(N, from.size()), to.begin());
  return to;
}
template <std::size_t N>
Array<double> convertArray(const std::array<double, N>& from) {
  return Array<double>(from.begin(), from.end());
}
template <class T>
std::vector<T> convertArrayToVector(const Array<T>& from) {
  return from;
}
template <class T>
Array<T> convertVectorToArray(std::vector<T> from) {
  return Array<T>(std::move(from));
}

/// Throws IndexOutOfRangeException for an array of less than 3 numbers, as the two following do.
zivra::Frame convertFrame(const Frame& from);
Frame convertFrame(const zivra::Frame& from);
zivra::Load convertLoad(const Load& from);
Load convertLoad(const zivra::Load& from);
zivra::Toolset convertToolset(const Toolset& from);
Toolset convertToolset(const zivra::Toolset& from);
zivra::CartesianPosition convertCartesianPosition(const CartesianPosition& from);
CartesianPosition convertCartesianPosition(const zivra::CartesianPosition& from);
zivra::CartesianPosition::Offset convertOffset(const CartesianPosition::Offset& from);

KeyPadState convertKeyPadState(const zivra::KeyPadState& from);
zivra::CANFrame convertCANFrame(const CANFrame& from);
CANFrame convertCANFrame(const zivra::CANFrame& from);
zivra::WorkToolInfo convertWorkToolInfo(const WorkToolInfo& from);
WorkToolInfo convertWorkToolInfo(const zivra::WorkToolInfo& from);
/// At most 50 bytes of data; all zero for null.
zivra::SDOData toNativeSdo(const std::optional<SDOData>& from);

Info convertInfo(const zivra::Info& from);
StateList convertStateList(const zivra::StateList& from);
LogInfo convertLogInfo(const zivra::LogInfo& from);
RLProjectInfo convertProjectInfo(const zivra::RLProjectInfo& from);
FrameCalibrationResult convertCalibration(const zivra::FrameCalibrationResult& from);
SlaveInfo convertSlaveInfo(const zivra::SlaveInfo& from);

/// The entries that are an int, a double, a text, a bool or an error code; others are left out.
Dictionary _convertCallback(const zivra::EventInfo& from);

/// Cut to an integer; the nearest one for what no int can hold, 0 for NaN.
int cutToInt(double value) noexcept;

}  // namespace zivra::clr
