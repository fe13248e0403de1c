#include "programs/unzip.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <memory>

namespace zivra::sim {

namespace {

constexpr std::size_t kMostFiles = 2000;
constexpr std::size_t kMostBytes = 32 * 1024 * 1024;  // unpacked
constexpr std::size_t kLongestName = 255, kLongestPath = 1000;
constexpr std::size_t kPiece = 64 * 1024;

using Archive = std::unique_ptr<archive, decltype(&archive_read_free)>;

// Each part is a plain name; a folder's path ends with a slash.
bool isInside(const std::string& path) {
  std::size_t begin = 0;
  while (begin < path.size()) {
    const auto end = std::min(path.find('/', begin), path.size());
    if (!isSafeName(path.substr(begin, end - begin))) return false;
    begin = end + 1;
  }
  return !path.empty() && path.size() <= kLongestPath;
}

bool readFile(archive* from, std::string& into, std::size_t& left) {
  std::array<char, kPiece> piece;
  while (true) {
    const auto count = archive_read_data(from, piece.data(), piece.size());
    if (count == 0) return true;
    // The size is told in the file itself, and may be a lie: what counts is what comes.
    if (count < 0 || static_cast<std::size_t>(count) > left) return false;
    left -= static_cast<std::size_t>(count);
    into.append(piece.data(), static_cast<std::size_t>(count));
  }
}

}  // namespace

bool isSafeName(const std::string& name) {
  return !name.empty() && name.size() <= kLongestName && name != "." && name != ".." &&
         std::none_of(name.begin(), name.end(), [](char c) {
           return c == '/' || c == '\\' || c == ':' || static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
         });
}

std::optional<FileTree> unzip(const std::vector<unsigned char>& bytes) {
  const Archive reader(archive_read_new(), archive_read_free);
  if (!reader || archive_read_support_format_zip(reader.get()) != ARCHIVE_OK ||
      archive_read_open_memory(reader.get(), bytes.data(), bytes.size()) != ARCHIVE_OK)
    return std::nullopt;
  FileTree files;
  std::size_t left = kMostBytes;
  for (std::size_t entries = 0;; ++entries) {
    archive_entry* entry = nullptr;
    const int code = archive_read_next_header(reader.get(), &entry);
    if (code == ARCHIVE_EOF) break;
    if (code < ARCHIVE_WARN || entries == kMostFiles) return std::nullopt;
    const char* path = archive_entry_pathname_utf8(entry);
    if (path == nullptr) path = archive_entry_pathname(entry);
    if (path == nullptr || !isInside(path)) return std::nullopt;
    if (archive_entry_filetype(entry) == AE_IFDIR) continue;
    if (archive_entry_filetype(entry) != AE_IFREG || archive_entry_hardlink(entry) != nullptr)
      return std::nullopt;
    std::string content;
    if (!readFile(reader.get(), content, left)) return std::nullopt;
    files[path] = std::move(content);
  }
  // Anything is an empty zip file to a reader that looks for the list at its end.
  if (files.empty()) return std::nullopt;
  return files;
}

}  // namespace zivra::sim
