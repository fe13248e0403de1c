// Texts of exceptions that carry no code.
#pragma once

namespace zivra::internal {

// In the order of the table of texts.
enum class Message : int {
  alreadyReceiving,
  outputRefused,
  socketNotOpened,
  publishRefused,
  notReceiving,
  noStateInTime,
  receiveFailed,
  minimumVersion,
  robotTypeMismatch,
  localAddressInvalid,
  elementCount,
  // No operation raises the ones below.
  firstUnused,
};

// The text in the current language; an index outside the table gives the empty text.
const char* libraryMessage(int index) noexcept;
inline const char* libraryMessage(Message message) noexcept {
  return libraryMessage(static_cast<int>(message));
}

}  // namespace zivra::internal
