// Zip files as a test wants them, hostile ones included.
#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace zivra::test {

struct ZipEntry {
  std::string path, content;
  unsigned type = AE_IFREG;  // of a link, the content is where it leads
};

// `packed`: the contents are compressed, otherwise they stand in the file as they are.
inline std::vector<unsigned char> zipped(const std::vector<ZipEntry>& entries, bool packed = true) {
  std::size_t room = 1 << 20;
  for (const ZipEntry& entry : entries) room += entry.content.size();
  std::vector<unsigned char> bytes(room);
  std::size_t used = 0;
  const std::unique_ptr<archive, decltype(&archive_write_free)> writer(archive_write_new(),
                                                                       archive_write_free);
  archive_write_set_format_zip(writer.get());
  if (!packed) archive_write_zip_set_compression_store(writer.get());
  archive_write_set_bytes_in_last_block(writer.get(), 1);
  if (archive_write_open_memory(writer.get(), bytes.data(), bytes.size(), &used) != ARCHIVE_OK)
    throw std::runtime_error("can't write a zip file");
  for (const ZipEntry& entry : entries) {
    const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> head(archive_entry_new(),
                                                                             archive_entry_free);
    archive_entry_set_pathname(head.get(), entry.path.c_str());
    archive_entry_set_filetype(head.get(), entry.type);
    archive_entry_set_perm(head.get(), 0644);
    if (entry.type == AE_IFLNK) {
      archive_entry_set_symlink(head.get(), entry.content.c_str());
    } else {
      archive_entry_set_size(head.get(), static_cast<la_int64_t>(entry.content.size()));
    }
    if (archive_write_header(writer.get(), head.get()) != ARCHIVE_OK)
      throw std::runtime_error(archive_error_string(writer.get()));
    if (entry.type == AE_IFREG) archive_write_data(writer.get(), entry.content.data(), entry.content.size());
  }
  archive_write_close(writer.get());
  bytes.resize(used);
  return bytes;
}

}  // namespace zivra::test
