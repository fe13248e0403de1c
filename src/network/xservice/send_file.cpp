// Bringing a file to the controller: announced on the command link, sent on the file link.
#include <optional>
#include <utility>

#include "core/codes.h"
#include "core/json.h"
#include "network/file_bytes.h"
#include "network/xservice/core.h"
#include "network/xservice/transfer.h"

namespace zivra {

namespace {

using internal::codeOf;

Json::Value announcementOf(const internal::FileBytes& file, const Json::Value& description) {
  Json::Value announcement(Json::objectValue);
  announcement["name"] = internal::member(description, "file_name");
  announcement["md5"] = internal::hexText(file.md5);
  announcement["len"] = static_cast<Json::UInt64>(file.bytes.size());
  announcement["function"] = internal::member(description, "function");
  announcement["overwrite"] = internal::member(description, "overwrite");
  return announcement;
}

}  // namespace

void XService::sendFile(const std::string& path, std::uint64_t maxSize, const Json::Value& description,
                        std::error_code& ec, const Progress& progress) noexcept try {
  ec = codeOf(0);
  if (onNetworkThread()) {
    ec = make_error_code(Code::timeout);
    return;
  }
  const Core::TransferTurn turn(*core_);
  if (!turn.taken()) {
    ec = std::make_error_code(std::errc::resource_deadlock_would_occur);
    return;
  }
  if (!transfer->connected()) {
    // Not beside a command link that is down: nobody would end the file link then.
    if (connected()) transfer->start(ec);
    if (ec) return;
    if (!connected()) {
      transfer->stop();
      ec = make_error_code(Code::network);
      return;
    }
  }

  internal::FileBytes file = internal::readFile(path, maxSize);
  switch (file.fault) {
    case internal::FileFault::none:
      break;
    case internal::FileFault::unopened:
      ec = codeOf(internal::unopenedFile);
      return;
    case internal::FileFault::empty:
    case internal::FileFault::tooLarge:
      ec = codeOf(internal::badFileSize);
      return;
    case internal::FileFault::unread:
      ec = codeOf(internal::failedToSend);
      return;
  }

  Json::Value answer;
  command("ix.sdk.transferInit", announcementOf(file, description), answer, ec);
  if (ec) return;
  const std::optional<int> code = internal::asInt(answer);
  ec = code ? codeOf(*code) : make_error_code(Code::responseUnresolved);
  if (!ec) transfer->sendAndWait(std::move(file.bytes), ec, progress);
} catch (...) {
  ec = codeOf(internal::failedToSend);
}

XService::Core::TransferTurn::TransferTurn(Core& core) : core_(core) {
  std::unique_lock lock(core.transferMutex);
  const auto self = std::this_thread::get_id();
  if (core.transferring == self) return;  // out of its own progress callback
  core.transferEnded.wait(lock, [&] { return core.transferring == std::thread::id(); });
  core.transferring = self;
  taken_ = true;
}

XService::Core::TransferTurn::~TransferTurn() {
  if (!taken_) return;
  {
    const std::lock_guard lock(core_.transferMutex);
    core_.transferring = std::thread::id();
  }
  core_.transferEnded.notify_one();
}

}  // namespace zivra
