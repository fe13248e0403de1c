#include "network/file_bytes.h"

#include <algorithm>
#include <filesystem>
#include <new>
#include <system_error>
#include <vector>

namespace zivra::internal {

FileFault FileReader::open(const std::string& path, std::uint64_t maxSize) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(path, ignored)) return FileFault::unopened;
  file_.reset(std::fopen(path.c_str(), "rbe"));
  if (!file_) return FileFault::unopened;
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);
  if (std::fseek(file_.get(), 0, SEEK_END) != 0) return FileFault::unread;
  const long end = std::ftell(file_.get());
  if (end < 0) return FileFault::unread;
  size_ = static_cast<std::uint64_t>(end);
  if (size_ == 0) return FileFault::empty;
  if (size_ > maxSize) return FileFault::tooLarge;
  return rewind() ? FileFault::none : FileFault::unread;
}

std::size_t FileReader::read(char* into, std::size_t size) noexcept {
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left_, size));
  if (std::fread(into, 1, wanted, file_.get()) != wanted) return 0;
  left_ -= wanted;
  return wanted;
}

bool FileReader::rewind() noexcept {
  left_ = size_;
  return std::fseek(file_.get(), 0, SEEK_SET) == 0;
}

FileBytes readFile(const std::string& path, std::uint64_t maxSize) {
  FileBytes result;
  FileReader file;
  result.fault = file.open(path, maxSize);
  if (result.fault != FileFault::none) return result;
  if (file.size() > result.bytes.max_size()) throw std::bad_alloc();
  result.bytes.reserve(static_cast<std::size_t>(file.size()));
  Md5 md5;
  std::vector<char> piece(filePieceSize);
  while (file.left() != 0) {
    const std::size_t size = file.read(piece.data(), piece.size());
    if (size == 0) {
      result.fault = FileFault::unread;
      return result;
    }
    md5.add(piece.data(), size);
    result.bytes.append(piece.data(), size);
  }
  result.md5 = md5.value();
  return result;
}

}  // namespace zivra::internal
