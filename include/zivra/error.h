#pragma once

#include <array>
#include <exception>
#include <string>
#include <system_error>

#include <zivra/export.h>

namespace zivra {

namespace internal {

/// The one category of all codes that the controller and the library give.
class ZIVRA_API ApiErrorCategory final : public std::error_category {
 public:
  const char* name() const noexcept override;
  /// Text of a code in the current language; an unknown code reads as -1, "General failure".
  std::string message(int code) const override;
};

}  // namespace internal

/// Category of the error codes of all operations: 0 success, negative values the controller's, 255 and up the
/// library's.
ZIVRA_API const std::error_category& category() noexcept;

/// Text of a real-time motion error by its flag (0 to 19), in the current language.
ZIVRA_API std::string rtErrorText(unsigned flag);

/// Throws RealtimeMotionException for the lowest flag that is set; returns if none is.
ZIVRA_API void throwFirstRtError(const std::array<bool, 20>& flags);

/// Codes of the library's own. The controller's codes are negative and come through unchanged.
enum class Code : int {
  success = 0,
  notConnected = 255,           ///< no connection was ever made
  network = 256,                ///< the link is down or broke
  responseUnresolved = 257,     ///< a reply that can't be understood
  parameterExceedsLimit = 258,  ///< refused before anything was sent
  argumentInvalid = 259,
  invalidTransformation = 260,
  axisMismatch = 261,
  motionControlMode = 262,
  timeout = 263,
  duplicateOperation = 264,
  udpSocket = 265,
  accessCheck = 266,  ///< version or robot class doesn't fit
  connectionRefused = 267,
  updateFileInvalid = 268,
  upgradeFailure = 269,
  exportFailure = 270,
  exportPartial = 271,
  unregisteredEvent = 272,
  calibrationFrame = 273,
  rtAddressInvalid = 512,
  rtFieldsUnsupported = 513,
  moveEmptyCache = 768,
  robotStopping = 769,
};

/// Makes `Code` usable where a std::error_code is read or compared.
ZIVRA_API std::error_code make_error_code(Code code) noexcept;

/// Base of all exceptions of the library. The text is chosen in the current language when it is made.
class ZIVRA_API Exception : public std::exception {
 public:
  explicit Exception(const std::string& text);  ///< with the whole text
  const char* what() const noexcept override;   ///< the text

 private:
  std::string text_;
};

/// An argument that can't be used ("invalidArguments: ...").
class ZIVRA_API ArgumentException : public Exception {
 public:
  explicit ArgumentException(const std::string& text);  ///< with the whole text
};

/// No connection, or one that the controller refused ("network: ...").
class ZIVRA_API NetworkException : public Exception {
 public:
  explicit NetworkException(const std::string& text);  ///< with the whole text
};

/// Robot and program don't fit together ("execute: ...").
class ZIVRA_API ExecutionException : public Exception {
 public:
  explicit ExecutionException(const std::string& text);  ///< with the whole text
};

/// The controller's version is too old ("execute: protocol: ...").
class ZIVRA_API ProtocolException : public ExecutionException {
 public:
  explicit ProtocolException(const std::string& text);  ///< with the whole text
};

/// Failure of the state stream ("realtime: ...").
class ZIVRA_API RealtimeControlException : public Exception {
 public:
  explicit RealtimeControlException(const std::string& text);  ///< with the whole text
};

/// A motion error that the state stream reports ("realtime: rtMotion: ...").
class ZIVRA_API RealtimeMotionException : public RealtimeControlException {
 public:
  explicit RealtimeMotionException(const std::string& text);  ///< with the whole text
};

/// The state stream isn't in the state that the call needs ("realtime: rtState: ...").
class ZIVRA_API RealtimeStateException : public RealtimeControlException {
 public:
  explicit RealtimeStateException(const std::string& text);  ///< with the whole text
};

}  // namespace zivra

template <>
struct std::is_error_code_enum<zivra::Code> : std::true_type {};
