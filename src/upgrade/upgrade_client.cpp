#include "upgrade/upgrade_client.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <vector>

#include "core/codes.h"
#include "core/json.h"
#include "network/file_bytes.h"
#include "upgrade/store_file.h"

namespace zivra::internal {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int protocolError = -257, unfinishedCommand = -320;

const std::string& wireName(BackupItem item) {
  static const auto& names = *new std::unordered_map<BackupItem, std::string>{
      {BackupItem::customConfig, "interactive"},
      {BackupItem::robotConfig, "robot_cfg"},
      {BackupItem::robotConfigWithoutBodyParams, "robot_cfg"},
      {BackupItem::controllerLog, "log"},
      {BackupItem::systemLog, "syslog"},
      {BackupItem::rlProgram, "project"},
      {BackupItem::backupRlProgram, "historical_engineering"},
      {BackupItem::sdkRecordPath, "sdk_path"},
  };
  static const auto& none = *new std::string;
  const auto found = names.find(item);
  return found == names.end() ? none : found->second;
}

Json::Value backupRequest(const std::set<BackupItem>& items) {
  Json::Value list(Json::arrayValue);
  for (const BackupItem item : items) {
    list.append(wireName(item));
    if (item != BackupItem::robotConfigWithoutBodyParams) continue;
    Json::Value without(Json::objectValue);
    without["exclude"].append("local_cfg");
    list.append(without);
  }
  Json::Value request(Json::objectValue);
  request["send_file"] = true;
  request["export"] = list;
  return request;
}

// What the two answers to a package say together.
std::error_code verdictOf(const Json::Value& report, const Json::Value& verdict) {
  const Json::Value& transfer = member(report, "s");
  const Json::Value& flag = member(transfer, "file_transfer");
  const std::optional<bool> arrived = flag.isNull() ? false : asTruth(flag);
  if (!transfer.isObject() || !arrived) return codeOf(protocolError);
  if (!*arrived) return make_error_code(Code::updateFileInvalid);
  if (asText(member(verdict, "upgrade")) != "ok") return make_error_code(Code::upgradeFailure);
  return codeOf(0);
}

// What an answer says of a backup's items; `fileFollows` if there is one.
std::error_code judgeExport(const Json::Value& result, bool& fileFollows) {
  std::error_code code = codeOf(0);
  for (const std::string& name : result.getMemberNames()) {
    const std::optional<std::string> word = asText(member(result, name));
    if (name == "size") {
      if (word != "ok") return make_error_code(Code::exportFailure);
      fileFollows = true;
    } else if (word && word != "ok") {
      code = make_error_code(Code::exportPartial);
    }
  }
  return code;
}

}  // namespace

UpgradeClient::UpgradeClient(const UpgradeLimits& limits)
    : limits_(limits), tcp_(limits.link), buffer_(limits.receptionBuffer) {}

void UpgradeClient::connect(const std::string& host, std::error_code& ec) noexcept {
  try {
    const std::lock_guard lock(mutex_);
    address_ = host;
  } catch (...) {
    ec = std::make_error_code(std::errc::not_enough_memory);
    return;
  }
  connect(ec);
}

void UpgradeClient::connect(std::error_code& ec) noexcept try {
  std::unique_lock lock(mutex_);
  const std::string host = address_;
  lock.unlock();
  unfinished_ = false;
  ec = tcp_.connect(host);
} catch (...) {
  ec = make_error_code(Code::network);
}

void UpgradeClient::tell(std::uint64_t done, std::uint64_t total) const noexcept {
  try {
    if (*telling_) (*telling_)(done, total);
  } catch (...) {
    // The caller's own affair.
  }
}

template <class Operation>
void UpgradeClient::operate(std::error_code& ec, Operation&& operation) noexcept {
  if (busy_.exchange(true)) {
    ec = codeOf(unfinishedCommand);
    return;
  }
  try {
    telling_ = progress.get();
    ec = operation();
  } catch (...) {
    ec = std::make_error_code(std::errc::not_enough_memory);
  }
  telling_ = nullptr;
  // An operation ends its conversation itself when all has been said.
  if (tcp_.endConversation() && tcp_.connected()) {
    unfinished_ = true;
    tcp_.stop();
  }
  busy_ = false;
}

std::error_code UpgradeClient::ensureLink() {
  if (unfinished_) {
    std::error_code ec;
    connect(ec);
    if (ec) unfinished_ = true;
    return ec;
  }
  return tcp_.connected() ? codeOf(0) : make_error_code(Code::network);
}

std::error_code UpgradeClient::readAnswer(Json::Value& answer, std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  for (;;) {
    std::string piece;
    if (const std::error_code failure = tcp_.read(piece, deadline)) return failure;
    ChunkReader reader;
    reader.append(piece);
    const std::optional<std::string_view> chunk = reader.next();
    if (!chunk && reader.rest().empty()) continue;  // chunks that carry nothing
    // An answer comes whole; the head of one is no answer.
    if (chunk) answer = answerOf(*chunk);
    if (chunk) tcp_.putBack(reader.rest());
    return answer.isObject() ? codeOf(0) : codeOf(protocolError);
  }
}

void UpgradeClient::upgrade(const std::string& path, std::error_code& ec) noexcept {
  operate(ec, [&] { return sendPackage(path); });
}

std::error_code UpgradeClient::sendPackage(const std::string& path) {
  if (const std::error_code unlinked = ensureLink()) return unlinked;
  FileReader file;
  switch (file.open(path, maxPackageSize())) {
    case FileFault::none:
      break;
    case FileFault::unopened:
      return codeOf(unopenedFile);
    case FileFault::empty:
      return codeOf(wrongFileType);
    case FileFault::tooLarge:
      return codeOf(badFileSize);
    case FileFault::unread:
      return codeOf(failedToSend);
  }
  // Read twice, because the digest goes first and memory for all of a package costs more than reading it.
  std::vector<char> piece(filePieceSize);
  Md5 md5;
  while (file.left() != 0) {
    const std::size_t size = file.read(piece.data(), piece.size());
    if (size == 0) return codeOf(failedToSend);
    md5.add(piece.data(), size);
  }
  if (!file.rewind()) return codeOf(failedToSend);

  tcp_.beginConversation();
  std::error_code failure = tcp_.send(packageHead(file.size(), md5.value()), limits_.stall, false);
  while (!failure && file.left() != 0) {
    const std::size_t size = file.read(piece.data(), piece.size());
    if (size == 0) return codeOf(failedToSend);
    failure = tcp_.send({piece.data(), size}, limits_.stall, file.left() == 0);
    if (!failure) tell(file.size() - file.left(), file.size());
  }
  if (failure) return failure;
  Json::Value first, second;
  if ((failure = readAnswer(first, limits_.firstAnswer))) return failure;
  if ((failure = readAnswer(second, limits_.secondAnswer))) return failure;
  if (!(hasMember(first, "s") && hasMember(second, "upgrade"))) first.swap(second);
  if (!(hasMember(first, "s") && hasMember(second, "upgrade"))) return codeOf(protocolError);
  tcp_.endConversation();
  return verdictOf(first, second);
}

void UpgradeClient::exportBackup(const std::string& path, const std::set<BackupItem>& items,
                                 std::error_code& ec) noexcept {
  operate(ec, [&] { return fetchBackup(path, items); });
}

std::error_code UpgradeClient::fetchBackup(const std::string& path, const std::set<BackupItem>& items) {
  if (const std::error_code failure = ensureLink()) return failure;
  tcp_.beginConversation();
  if (const std::error_code failure = tcp_.send(jsonPacket(backupRequest(items)), limits_.stall))
    return failure;
  Json::Value answer;
  if (const std::error_code failure = readAnswer(answer, limits_.backupAnswer)) return failure;
  const Json::Value& result = member(answer, "result");
  if (asText(member(answer, "reply")) != "export" || !result.isObject()) return codeOf(protocolError);

  bool fileFollows = false;
  const std::error_code verdict = judgeExport(result, fileFollows);
  if (!fileFollows) {
    tcp_.endConversation();
    return verdict;
  }
  const std::error_code failure = receiveFile(path);
  return failure ? failure : verdict;
}

std::error_code UpgradeClient::receiveFile(const std::string& path) {
  BackupStream stream(buffer_);
  if (const std::error_code failure = receive(stream)) return failure;
  tcp_.endConversation();
  const std::optional<std::string_view> file = stream.file();
  if (!file) return make_error_code(Code::exportFailure);
  return storeFile(path, *file) ? codeOf(0) : codeOf(unopenedFile);
}

std::error_code UpgradeClient::receive(BackupStream& stream) {
  const auto began = Clock::now();
  ChunkReader reader;
  std::chrono::milliseconds limit = limits_.firstChunk;
  auto deadline = began + limit;
  std::size_t waiting = 0;
  for (;;) {
    const std::chrono::milliseconds paid(stream.received() * 1000 /
                                         std::max<std::uint64_t>(limits_.bytesPerSecond, 1));
    std::string piece;
    if (tcp_.read(piece, std::min(deadline, began + limits_.grace + paid)))
      return make_error_code(Code::exportFailure);
    reader.append(piece);
    const std::uint64_t before = stream.received();
    while (const std::optional<std::string_view> chunk = reader.next()) {
      switch (stream.take(*chunk)) {
        case BackupStream::State::incomplete:
          continue;
        case BackupStream::State::complete:
          tellOf(stream);
          return codeOf(0);
        case BackupStream::State::otherPacket:
          return codeOf(protocolError);
        case BackupStream::State::broken:
          return make_error_code(Code::exportFailure);
      }
    }
    tellOf(stream);
    // Each chunk, and each part of one, has a time of its own; chunks that carry nothing don't prolong it.
    const std::size_t left = reader.rest().size();
    if (stream.received() == before && left <= waiting) continue;
    waiting = left;
    if (stream.received() != 0) limit = left < 2 ? limits_.chunkBegin : limits_.chunkRest;
    deadline = Clock::now() + limit;
  }
}

void UpgradeClient::tellOf(const BackupStream& stream) const noexcept {
  if (const std::optional<BackupStream::Share> share = stream.share()) tell(share->done, share->total);
}

}  // namespace zivra::internal
