// Cuts the controller's stream into its chunks, however the network cut it: two bytes of length, big-endian,
// and that many bytes. A chunk of length 0 carries nothing and is passed over. One thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zivra::internal {

class ChunkReader {
 public:
  // Chunks handed out before are void.
  void append(std::string_view piece);
  // The next whole chunk, without its length.
  std::optional<std::string_view> next() noexcept;
  // What stands behind the chunks handed out.
  std::string_view rest() const noexcept { return std::string_view(bytes_).substr(begin_); }

 private:
  std::string bytes_;
  std::size_t begin_ = 0;
};

}  // namespace zivra::internal
