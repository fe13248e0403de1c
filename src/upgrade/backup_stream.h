// A backup on its way in: chunks are joined in one large buffer until the packet is whole, and checked. One
// thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "upgrade/packets.h"

namespace zivra::internal {

// Address space for a whole backup; memory is taken only as far as it is filled.
class ReceptionBuffer {
 public:
  static constexpr std::size_t largest = 536'870'912;

  explicit ReceptionBuffer(std::size_t size = largest) noexcept;
  ~ReceptionBuffer();
  ReceptionBuffer(const ReceptionBuffer&) = delete;
  ReceptionBuffer& operator=(const ReceptionBuffer&) = delete;

  // False if it doesn't fit, or if there was no address space to be had.
  bool append(std::string_view bytes) noexcept;
  std::string_view bytes() const noexcept { return {data_, filled_}; }
  std::size_t size() const noexcept { return size_; }
  // Forgets the content and gives its memory back.
  void clear() noexcept;

 private:
  std::size_t size_;
  char* data_ = nullptr;
  std::size_t filled_ = 0;
};

class BackupStream {
 public:
  enum class State { incomplete, complete, otherPacket, broken };

  explicit BackupStream(ReceptionBuffer& buffer) noexcept;
  ~BackupStream() { buffer_.clear(); }
  BackupStream(const BackupStream&) = delete;
  BackupStream& operator=(const BackupStream&) = delete;

  // `broken`: what its head says can't be, or can't be taken.
  State take(std::string_view chunk) noexcept;

  std::uint64_t received() const noexcept { return buffer_.bytes().size(); }
  // Of the file itself; nothing before its head is whole.
  struct Share {
    std::uint64_t done, total;
  };
  std::optional<Share> share() const noexcept;
  // Once complete: the file, if it has the digest that it came with. Throws std::bad_alloc.
  std::optional<std::string_view> file() const;

 private:
  ReceptionBuffer& buffer_;
  std::optional<FileHead> head_;
};

}  // namespace zivra::internal
