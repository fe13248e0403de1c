#pragma once

#include <memory>

#include <zivra/upgrade.h>

#include "clr/types.h"

namespace zivra::clr {

/// Sends upgrade packages to a controller and fetches backups from it; needs no robot object. Holds 512 MiB
/// of address space until it is disposed.
///
/// Threads: as for the native object.
class BaseUpgrade {
 public:
  BaseUpgrade();
  explicit BaseUpgrade(const String& remote_ip);  ///< throws ApiException
  BaseUpgrade(const BaseUpgrade&) = delete;
  BaseUpgrade& operator=(const BaseUpgrade&) = delete;
  ~BaseUpgrade();

  /// Ends the connection; a second time does nothing.
  void Dispose();

  /// @brief Ends any connection and connects; at most 30 s. Throws ApiException.
  void connect(const String& remote_ip);
  void connect(ErrorCode& ec);
  void upgrade(const String& local_file_path, ErrorCode& ec);
  void exportBackup(const String& local_file_path, const List<BackupItem>& items, ErrorCode& ec);

 private:
  std::unique_ptr<zivra::BaseUpgrade> raw_;
};

}  // namespace zivra::clr
