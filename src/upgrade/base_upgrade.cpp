#include <memory>
#include <utility>

#include <zivra/error.h>
#include <zivra/upgrade.h>

#include "upgrade/upgrade_client.h"

namespace zivra {

class BaseUpgrade::Impl : public internal::UpgradeClient {};

BaseUpgrade::BaseUpgrade() : impl_(std::make_shared<Impl>()) {}

BaseUpgrade::BaseUpgrade(const std::string& remote_ip) : BaseUpgrade() { connect(remote_ip); }

BaseUpgrade::~BaseUpgrade() = default;
BaseUpgrade::BaseUpgrade(const BaseUpgrade&) = default;
BaseUpgrade& BaseUpgrade::operator=(const BaseUpgrade&) = default;

void BaseUpgrade::connect(const std::string& remote_ip) {
  std::error_code ec;
  impl_->connect(remote_ip, ec);
  if (ec) throw NetworkException(ec.message());
}

void BaseUpgrade::connect(std::error_code& ec) noexcept { impl_->connect(ec); }

void BaseUpgrade::upgrade(const std::string& local_file_path, std::error_code& ec) noexcept {
  impl_->upgrade(local_file_path, ec);
}

void BaseUpgrade::exportBackup(const std::string& local_file_path, const std::set<BackupItem>& items,
                               std::error_code& ec) noexcept {
  impl_->exportBackup(local_file_path, items, ec);
}

void BaseUpgrade::setTransferProgress(std::function<void(std::uint64_t done, std::uint64_t total)> progress) {
  impl_->progress.set(std::move(progress));
}

}  // namespace zivra
