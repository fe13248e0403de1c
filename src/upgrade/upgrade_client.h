// What BaseUpgrade does, with limits that a test may shorten.
//
// Threads: any thread may call anything; of two operations at once the second is refused. An operation runs
// on its caller's thread, and so does the progress that it tells.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <system_error>

#include <zivra/types.h>

#include "core/user_function.h"
#include "upgrade/backup_stream.h"
#include "upgrade/chunk_reader.h"
#include "upgrade/update_manager_tcp.h"

namespace zivra::internal {

struct UpgradeLimits {
  using Milliseconds = std::chrono::milliseconds;
  LinkLimits link{};
  Milliseconds stall{50'000};  // nothing of a package goes out
  Milliseconds firstAnswer{50'000}, secondAnswer{10'000};
  Milliseconds backupAnswer{120'000};
  Milliseconds firstChunk{10'000}, chunkBegin{5'000}, chunkRest{3'000};
  // A backup must keep a pace, so that one that drips ends too.
  Milliseconds grace{60'000};
  std::uint64_t bytesPerSecond = 1024;
  std::size_t receptionBuffer = ReceptionBuffer::largest;
};

class UpgradeClient {
 public:
  explicit UpgradeClient(const UpgradeLimits& limits = {});

  void connect(const std::string& host, std::error_code& ec) noexcept;  // and keeps the address
  void connect(std::error_code& ec) noexcept;
  void upgrade(const std::string& path, std::error_code& ec) noexcept;
  void exportBackup(const std::string& path, const std::set<BackupItem>& items, std::error_code& ec) noexcept;

  UserFunction<void(std::uint64_t done, std::uint64_t total)> progress;

 private:
  template <class Operation>
  void operate(std::error_code& ec, Operation&& operation) noexcept;
  std::error_code ensureLink();
  std::error_code sendPackage(const std::string& path);
  std::error_code fetchBackup(const std::string& path, const std::set<BackupItem>& items);
  std::error_code receiveFile(const std::string& path);
  std::error_code receive(BackupStream& stream);
  std::error_code readAnswer(Json::Value& answer, std::chrono::milliseconds limit);
  void tellOf(const BackupStream& stream) const noexcept;
  void tell(std::uint64_t done, std::uint64_t total) const noexcept;

  const UpgradeLimits limits_;
  UpdateManagerTcp tcp_;
  ReceptionBuffer buffer_;
  std::atomic<bool> busy_{false};
  // The last conversation wasn't finished: what may still come of it must not meet the next one.
  std::atomic<bool> unfinished_{false};
  std::shared_ptr<const decltype(progress)::Function> telling_;  // of the operation that runs

  std::mutex mutex_;  // of the next
  std::string address_;
};

}  // namespace zivra::internal
