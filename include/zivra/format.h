#pragma once

// For applications that format with fmt. The library's other headers need no more than the standard library.
#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <string>

#include <zivra/types.h>

namespace zivra::internal {

/// Takes `{}` and `{:s}`; prints the text that `to_string` gives.
template <class T>
struct TextFormatter {
  constexpr auto parse(fmt::format_parse_context& context) -> decltype(context.begin()) {
    auto it = context.begin();
    if (it != context.end() && *it == 's') ++it;
    if (it != context.end() && *it != '}') throw fmt::format_error("invalid type specifier");
    return it;
  }

  template <class FormatContext>
  auto format(const T& value, FormatContext& context) const -> decltype(context.out()) {
    const std::string text = to_string(value);
    return std::copy(text.begin(), text.end(), context.out());
  }
};

}  // namespace zivra::internal

template <>
struct fmt::formatter<zivra::Frame> : zivra::internal::TextFormatter<zivra::Frame> {};
template <>
struct fmt::formatter<zivra::CartesianPosition> : zivra::internal::TextFormatter<zivra::CartesianPosition> {};
template <>
struct fmt::formatter<zivra::CartesianPosition::Offset>
    : zivra::internal::TextFormatter<zivra::CartesianPosition::Offset> {};
template <>
struct fmt::formatter<zivra::Load> : zivra::internal::TextFormatter<zivra::Load> {};
template <>
struct fmt::formatter<zivra::Toolset> : zivra::internal::TextFormatter<zivra::Toolset> {};
template <>
struct fmt::formatter<zivra::PowerState> : zivra::internal::TextFormatter<zivra::PowerState> {};
template <>
struct fmt::formatter<zivra::OperateMode> : zivra::internal::TextFormatter<zivra::OperateMode> {};
template <>
struct fmt::formatter<zivra::OperationState> : zivra::internal::TextFormatter<zivra::OperationState> {};
template <>
struct fmt::formatter<zivra::StopLevel> : zivra::internal::TextFormatter<zivra::StopLevel> {};
template <>
struct fmt::formatter<zivra::MotionControlMode> : zivra::internal::TextFormatter<zivra::MotionControlMode> {};
template <>
struct fmt::formatter<zivra::AvoidSingularityMethod>
    : zivra::internal::TextFormatter<zivra::AvoidSingularityMethod> {};
template <>
struct fmt::formatter<zivra::Event> : zivra::internal::TextFormatter<zivra::Event> {};
template <>
struct fmt::formatter<zivra::JogOpt::Space> : zivra::internal::TextFormatter<zivra::JogOpt::Space> {};
template <>
struct fmt::formatter<zivra::DragParameter::Space>
    : zivra::internal::TextFormatter<zivra::DragParameter::Space> {};
template <>
struct fmt::formatter<zivra::DragParameter::Type>
    : zivra::internal::TextFormatter<zivra::DragParameter::Type> {};
template <>
struct fmt::formatter<zivra::NorvilOpt::Vout> : zivra::internal::TextFormatter<zivra::NorvilOpt::Vout> {};
