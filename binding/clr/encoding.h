#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

/// Texts at the managed boundary: UTF-8 on the managed side, the system's narrow encoding on the native one.
namespace zivra::clr {

/// Codeset of the locale that the environment names; UTF-8 where it names none, or one that isn't installed.
/// The process's own locale isn't looked at, and isn't changed.
std::string environmentCodeset();
/// The same, as it was at the first call.
const std::string& narrowCodeset();

/// The text with U+FFFD for what isn't UTF-8.
std::string validUtf8(std::string_view bytes);

/// Encodes UTF-8; '?' for what the codeset doesn't have.
std::string encode(std::string_view utf8, const std::string& codeset);

struct EncodingFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};
/// Encodes UTF-8; throws EncodingFailure for what isn't valid or the codeset doesn't have.
std::string encodeStrictly(std::string_view utf8, const std::string& codeset);

}  // namespace zivra::clr
