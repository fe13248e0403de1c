// Collects what a connection reads and cuts it into frames at the mark byte. One thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace zivra::internal {

class ReceiveBuffer {
 public:
  // Without a mark whatever has come is one frame.
  explicit ReceiveBuffer(std::optional<char> mark);

  struct Space {
    char* data;
    std::size_t size;
  };
  // Room for the next read. Frames handed out before are void.
  Space prepare();
  // So many bytes were read into it.
  void commit(std::size_t bytes) noexcept { end_ += bytes; }
  // The next whole frame, without its mark; nothing if none is complete.
  std::optional<std::string_view> next() noexcept;
  // Forgets everything: what a dropped connection left must not meet the next one's first frame.
  void clear();

 private:
  const std::optional<char> mark_;
  std::vector<char> data_;
  std::size_t begin_ = 0;    // of the frame that is incomplete
  std::size_t scanned_ = 0;  // no mark between begin_ and here
  std::size_t end_ = 0;
};

}  // namespace zivra::internal
