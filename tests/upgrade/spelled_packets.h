// The upgrade service's bytes, spelled by hand.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "network/digest.h"

namespace zivra::test {

inline std::string bigEndian(std::size_t value, int width) {
  std::string bytes;
  while (--width >= 0) bytes += static_cast<char>(value >> (8 * width) & 0xff);
  return bytes;
}

inline std::string digestOf(const std::string& bytes) {
  const auto digest = internal::Md5::of(bytes.data(), bytes.size());
  return {digest.begin(), digest.end()};
}

inline std::string packetOf(int type, const std::string& payload) {
  return bigEndian(payload.size(), 4) + static_cast<char>(type) + '\0' + payload;
}

inline std::string filePayload(const std::string& name, const std::string& file) {
  return std::string(3, '\0') + digestOf(file) + bigEndian(name.size(), 2) + name + file;
}

// One chunk, or several of at most `size` bytes.
inline std::string chunked(const std::string& bytes, std::size_t size = 60'000) {
  std::string stream;
  for (std::size_t at = 0; at < bytes.size(); at += size) {
    const std::string part = bytes.substr(at, size);
    stream += bigEndian(part.size(), 2) + part;
  }
  return stream;
}

inline std::string answerOf(const std::string& json) { return chunked(packetOf(2, json + '\n')); }

}  // namespace zivra::test
