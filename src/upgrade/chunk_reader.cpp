#include "upgrade/chunk_reader.h"

namespace zivra::internal {

void ChunkReader::append(std::string_view piece) {
  bytes_.erase(0, begin_);
  begin_ = 0;
  bytes_ += piece;
}

std::optional<std::string_view> ChunkReader::next() noexcept {
  for (;;) {
    const std::string_view waiting = rest();
    if (waiting.size() < 2) return std::nullopt;
    const auto length = static_cast<std::size_t>(static_cast<unsigned char>(waiting[0]) << 8 |
                                                 static_cast<unsigned char>(waiting[1]));
    if (waiting.size() - 2 < length) return std::nullopt;
    begin_ += 2 + length;
    if (length != 0) return waiting.substr(2, length);
  }
}

}  // namespace zivra::internal
