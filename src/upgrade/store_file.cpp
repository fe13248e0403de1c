#include "upgrade/store_file.h"

#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace zivra::internal {

namespace {

namespace fs = std::filesystem;

// The mode of a file that a program makes in the ordinary way.
mode_t ordinaryMode() noexcept {
  constexpr mode_t everybody = 0666, common = 022;
  // The process's mask can only be read by changing it, which other threads would notice.
  return everybody & ~common;
}

bool writeAll(int fd, std::string_view bytes) noexcept {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return ::fsync(fd) == 0;
}

}  // namespace

bool storeFile(const std::string& path, std::string_view bytes) {
  std::error_code error;
  fs::path target = path;
  const fs::file_status status = fs::status(target, error);
  const bool exists = fs::exists(status);
  if (exists && !fs::is_regular_file(status)) return false;  // a device isn't to be replaced
  if (exists) target = fs::canonical(target, error);         // a link stays one
  if (error && exists) return false;

  std::string beside = target.string() + ".XXXXXX";
  const int fd = ::mkstemp(beside.data());
  if (fd < 0) return false;
  const mode_t mode = exists ? static_cast<mode_t>(status.permissions()) & 07777 : ordinaryMode();
  bool done = writeAll(fd, bytes) && ::fchmod(fd, mode) == 0;
  done = ::close(fd) == 0 && done;
  if (done) {
    fs::rename(beside, target, error);
    done = !error;
  }
  if (!done) ::unlink(beside.c_str());
  return done;
}

}  // namespace zivra::internal
