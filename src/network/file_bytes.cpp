#include "network/file_bytes.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>
#include <system_error>
#include <vector>

namespace zivra::internal {

namespace {

constexpr std::size_t pieceSize = 256 * 1024;  // digested and copied while it is in the processor's cache

struct Close {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

FileBytes failed(FileFault fault) {
  FileBytes result;
  result.fault = fault;
  return result;
}

}  // namespace

FileBytes readFile(const std::string& path, std::uint64_t maxSize, std::size_t room) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(path, ignored)) return failed(FileFault::unopened);
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rb"));
  if (!file) return failed(FileFault::unopened);
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  if (std::fseek(file.get(), 0, SEEK_END) != 0) return failed(FileFault::unread);
  const long end = std::ftell(file.get());
  if (end < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) return failed(FileFault::unread);
  const auto size = static_cast<std::uint64_t>(end);
  if (size == 0) return failed(FileFault::empty);
  if (size > maxSize) return failed(FileFault::tooLarge);

  FileBytes result;
  if (size > result.bytes.max_size() - room) throw std::bad_alloc();
  result.bytes.reserve(room + static_cast<std::size_t>(size));
  result.bytes.resize(room);
  Md5 md5;
  std::vector<char> piece(static_cast<std::size_t>(std::min<std::uint64_t>(size, pieceSize)));
  for (std::uint64_t left = size; left != 0;) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, piece.size()));
    // A file that has become shorter meanwhile isn't the one that was to be sent.
    if (std::fread(piece.data(), 1, wanted, file.get()) != wanted) return failed(FileFault::unread);
    md5.add(piece.data(), wanted);
    result.bytes.append(piece.data(), wanted);
    left -= wanted;
  }
  result.md5 = md5.value();
  return result;
}

}  // namespace zivra::internal
