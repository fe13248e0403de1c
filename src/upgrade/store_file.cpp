#include "upgrade/store_file.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace zivra::internal {

namespace {

namespace fs = std::filesystem;

// Makes a file that nobody has beside `target`, named in `path`; -1 if that fails.
int makeBeside(const std::string& target, mode_t mode, std::string& path) {
  constexpr int mostNames = 100;
  static std::atomic<unsigned> counter{0};
  for (int i = 0; i < mostNames; ++i) {
    path = fmt::format("{}.{}-{}", target, ::getpid(), ++counter);
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
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
  // Putting another file in its place needs no right to write to it.
  if (exists && ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) return false;

  // What is new has the mode that the process gives its files; what is replaced keeps its own.
  std::string beside;
  const int fd = makeBeside(target.string(), exists ? 0600 : 0666, beside);
  if (fd < 0) return false;
  bool done = writeAll(fd, bytes);
  if (exists) done = ::fchmod(fd, static_cast<mode_t>(status.permissions()) & 07777) == 0 && done;
  done = ::close(fd) == 0 && done;
  if (done) {
    fs::rename(beside, target, error);
    done = !error;
  }
  if (!done) ::unlink(beside.c_str());
  return done;
}

}  // namespace zivra::internal
