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
/// 4567); needs no robot object. One operation at a time: a second one gives -320 at once. A connection that
/// drops is made again by itself; until then, and without any, operations give 256. After one that ended with
/// 263, or in the middle of an answer, the next one connects anew by itself. Copies share the connection.
/// Reserves 512 MiB of address space for reception, which costs memory only as far as a backup fills it.
class ZIVRA_API BaseUpgrade {
 public:
  /// Connects nothing.
  BaseUpgrade();
  /// Connects; throws as `connect`.
  explicit BaseUpgrade(const std::string& remote_ip);
  /// The last copy stops the connection.
  ~BaseUpgrade();
  BaseUpgrade(const BaseUpgrade&);             ///< shares the connection
  BaseUpgrade& operator=(const BaseUpgrade&);  ///< shares the connection

  /// Ends any connection and connects; at most 30 s. Throws NetworkException.
  void connect(const std::string& remote_ip);
  /// Connects to the address of the last `connect`; 256, or 267 if the controller hangs up at once.
  void connect(std::error_code& ec) noexcept;

  /// Sends a package and waits for the controller's verdict, at most a minute once it is sent; 263 if none
  /// comes, or if the controller takes no byte of it for 50 s. -280 if the file can't be opened or is none,
  /// -281 if it is empty, -283 if it is larger than 4 GiB, -284 if it can't be read, 268 if it arrived
  /// damaged, 269 if the controller doesn't take it, -257 for an answer that can't be understood.
  void upgrade(const std::string& local_file_path, std::error_code& ec) noexcept;
  /// Fetches a backup of `items` into a file, which is replaced only by a complete and sound one. 270 if the
  /// backup couldn't be made or arrived damaged, 271 if items are missing from it (it is stored all the
  /// same), -280 if the file can't be written, -257 for an answer that can't be understood. 263 if the answer
  /// doesn't begin within two minutes. From then on every part of the file has to come within 10 s, and a
  /// kilobyte a second on average. At most 512 MiB.
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
