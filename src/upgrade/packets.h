// The bytes of the upgrade service: packets to the controller, answers and the head of a file from it. Any
// thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <json/value.h>
#include <optional>
#include <string>
#include <string_view>

#include "network/digest.h"

namespace zivra::internal {

inline constexpr std::size_t packetHeadSize = 6;  // payload length, type, 0

// A JSON packet.
std::string jsonPacket(const Json::Value& value);

// What stands in front of a package's bytes in its packet, and how large a package may be.
std::string packageHead(std::uint64_t packageSize, const Md5::Value& md5);
std::uint64_t maxPackageSize() noexcept;

// The JSON value that one chunk of an answer holds; null for anything else. Throws std::bad_alloc.
Json::Value answerOf(std::string_view chunk);

// How a file packet begins; as far as `bytes` go.
struct FileHead {
  std::uint64_t packetSize = 0;  // head and payload
  int type = 0;
  Md5::Value md5{};
  std::size_t dataStart = 0;
};
inline constexpr int filePacket = 1;
// Nothing as long as the head isn't whole; its name may still be on its way.
std::optional<FileHead> fileHeadOf(std::string_view bytes) noexcept;
// What can be told earlier: the packet's type and size, from the packet's head alone.
std::optional<FileHead> packetHeadOf(std::string_view bytes) noexcept;
// A packet that is shorter has no room for what a file's packet must hold.
inline constexpr std::uint64_t leastFilePacket = 27;

}  // namespace zivra::internal
