// A file on its way to the controller: read whole, once, and digested while it is read. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "network/digest.h"

namespace zivra::internal {

enum class FileFault { none, unopened, empty, tooLarge, unread };

struct FileBytes {
  FileFault fault = FileFault::none;
  std::string bytes;  // with `room` bytes in front of the file's own
  Md5::Value md5{};   // of the file's own
};

// What is no regular file can't be opened: a pipe might never end.
// Throws std::bad_alloc.
FileBytes readFile(const std::string& path, std::uint64_t maxSize, std::size_t room = 0);

}  // namespace zivra::internal
