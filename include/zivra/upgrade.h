#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <system_error>

#include <zivra/export.h>
#include <zivra/types.h>

namespace zivra {

/// Sends upgrade packages to a controller and fetches backups from it, over a connection of its own (port
/// 4567); needs no robot object. One operation at a time: a second one gives -320 at once. Copies share the
/// connection. Reserves 512 MiB of address space for reception, which costs memory only as far as a backup
/// fills it.
class ZIVRA_API BaseUpgrade {
 public:
  /// Connects nothing.
  BaseUpgrade();
  /// Connects; throws as `connect`.
  explicit BaseUpgrade(const std::string& remote_ip);
  /// The last copy stops the connection.
  ~BaseUpgrade();
  BaseUpgrade(const BaseUpgrade&);
  BaseUpgrade& operator=(const BaseUpgrade&);

  /// Ends any connection and connects; at most 30 s. Throws NetworkException.
  void connect(const std::string& remote_ip);
  /// Connects to the address of the last `connect`; 256, or 267 if the controller hangs up at once.
  void connect(std::error_code& ec) noexcept;

  /// Sends a package and waits for the controller's verdict, at most a minute. -280 if the file can't be
  /// read, -281 if it is empty, 268 if it arrived damaged, 269 if the controller doesn't take it, -257 for an
  /// answer that can't be understood.
  void upgrade(const std::string& local_file_path, std::error_code& ec) noexcept;
  /// Fetches a backup of `items` into a file, which is replaced only by a complete and sound one. 270 if the
  /// backup couldn't be made or arrived damaged, 271 if items are missing from it (it is stored all the
  /// same), -280 if the file can't be written. At most two minutes until the first byte.
  void exportBackup(const std::string& local_file_path, const std::set<BackupItem>& items,
                    std::error_code& ec) noexcept;

  /// Tells how far a transfer is, in bytes, on the thread of the transfer's caller; empty: nobody is told.
  /// What it throws is ignored. An addition of this library's own.
  void setTransferProgress(std::function<void(std::uint64_t done, std::uint64_t total)> progress);

 private:
  class Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace zivra
