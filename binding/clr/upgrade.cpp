#include "clr/upgrade.h"

#include "clr/facade.h"

namespace zivra::clr {

using Native = zivra::BaseUpgrade;

BaseUpgrade::BaseUpgrade() : raw_(std::make_unique<Native>()) {}

BaseUpgrade::BaseUpgrade(const String& remote_ip)
    : raw_(translated([&] { return std::make_unique<Native>(convertString(remote_ip)); })) {}

BaseUpgrade::~BaseUpgrade() = default;

void BaseUpgrade::Dispose() { raw_.reset(); }

void BaseUpgrade::connect(const String& remote_ip) {
  if (!raw_) throw NullReferenceException();
  translated([&] { raw_->connect(convertString(remote_ip)); });
}

void BaseUpgrade::connect(ErrorCode& ec) {
  using Method = void (Native::*)(std::error_code&) noexcept;
  forwardTo(raw_.get(), static_cast<Method>(&Native::connect), ec);
}

void BaseUpgrade::upgrade(const String& local_file_path, ErrorCode& ec) {
  forwardTo(raw_.get(), &Native::upgrade, local_file_path, ec);
}

void BaseUpgrade::exportBackup(const String& local_file_path, const List<BackupItem>& items, ErrorCode& ec) {
  forwardTo(raw_.get(), &Native::exportBackup, local_file_path, items, ec);
}

}  // namespace zivra::clr
