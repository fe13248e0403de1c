// Files on their way to the controller. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "network/digest.h"

namespace zivra::internal {

enum class FileFault { none, unopened, empty, tooLarge, unread };

// An open file, read from its beginning to the end that it had when it was opened.
class FileReader {
 public:
  // What is no regular file can't be opened: a pipe might never end. Throws std::bad_alloc.
  FileFault open(const std::string& path, std::uint64_t maxSize);
  std::uint64_t size() const noexcept { return size_; }
  std::uint64_t left() const noexcept { return left_; }
  // The next `size` bytes, or as many as are left; 0 if they can't be had: a file that has become shorter
  // isn't the one that was to be sent.
  std::size_t read(char* into, std::size_t size) noexcept;
  bool rewind() noexcept;

 private:
  struct Close {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> file_;
  std::uint64_t size_ = 0, left_ = 0;
};

// In pieces of this size a file is read, copied and digested while it is in the processor's cache.
inline constexpr std::size_t filePieceSize = 128 * 1024;

struct FileBytes {
  FileFault fault = FileFault::none;
  std::string bytes;
  Md5::Value md5{};
};
// The whole of a file. Throws std::bad_alloc.
FileBytes readFile(const std::string& path, std::uint64_t maxSize);

}  // namespace zivra::internal
