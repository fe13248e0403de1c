#include "upgrade/packets.h"

#include <algorithm>
#include <limits>

#include "core/json.h"
#include "core/json_text.h"

namespace zivra::internal {

namespace {

constexpr char fileType = 1, jsonType = 2;
constexpr std::string_view packageName = "./upgrade/pervan.zip";
constexpr std::size_t md5At = packetHeadSize + 3, nameLengthAt = md5At + 16, nameAt = nameLengthAt + 2;

std::uint64_t bigEndian(std::string_view bytes) noexcept {
  std::uint64_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
  return value;
}

void putBigEndian(char* at, std::uint64_t value, std::size_t width) noexcept {
  for (; width != 0; value >>= 8) at[--width] = static_cast<char>(value & 0xff);
}

void putPacketHead(std::string& packet, std::uint64_t payloadSize, char type) noexcept {
  putBigEndian(packet.data(), payloadSize, 4);
  packet[4] = type;
  packet[5] = 0;
}

}  // namespace

std::string jsonPacket(const Json::Value& value) {
  std::string packet(packetHeadSize, '\0');
  appendJson(packet, value);
  packet += '\n';
  putPacketHead(packet, packet.size() - packetHeadSize, jsonType);
  return packet;
}

std::uint64_t maxPackageSize() noexcept {
  return std::numeric_limits<std::uint32_t>::max() - (nameAt - packetHeadSize + packageName.size());
}

std::string packageHead(std::uint64_t packageSize, const Md5::Value& md5) {
  std::string head(nameAt, '\0');
  head += packageName;
  putPacketHead(head, head.size() - packetHeadSize + packageSize, fileType);
  std::copy(md5.begin(), md5.end(), head.data() + md5At);
  putBigEndian(head.data() + nameLengthAt, packageName.size(), 2);
  return head;
}

Json::Value answerOf(std::string_view chunk) {
  Json::Value value;
  if (chunk.size() < packetHeadSize) return value;
  const std::uint64_t size = bigEndian(chunk.substr(0, 4));
  if (size > chunk.size() - packetHeadSize) return value;
  JsonParser parser;
  if (!parser.parse(chunk.substr(packetHeadSize, static_cast<std::size_t>(size)), value)) return {};
  return value;
}

std::optional<FileHead> packetHeadOf(std::string_view bytes) noexcept {
  if (bytes.size() < packetHeadSize) return std::nullopt;
  FileHead head;
  head.packetSize = bigEndian(bytes.substr(0, 4)) + packetHeadSize;
  head.type = static_cast<unsigned char>(bytes[4]);
  return head;
}

std::optional<FileHead> fileHeadOf(std::string_view bytes) noexcept {
  std::optional<FileHead> head = packetHeadOf(bytes);
  if (!head || bytes.size() < nameAt) return std::nullopt;
  std::copy_n(bytes.data() + md5At, head->md5.size(), head->md5.begin());
  head->dataStart = nameAt + static_cast<std::size_t>(bigEndian(bytes.substr(nameLengthAt, 2)));
  return head;
}

}  // namespace zivra::internal
