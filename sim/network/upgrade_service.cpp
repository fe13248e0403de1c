#include "network/upgrade_service.h"

#include <algorithm>
#include <array>
#include <optional>

#include "backup.h"
#include "handlers/values.h"
#include "network/digest.h"
#include "network/json_text.h"

namespace zivra::sim {

namespace {

using Kind = UpgradeFault::Kind;

constexpr std::size_t kHead = 6, kLargestPacket = 256u << 20, kLargestChunk = 0xffff;
constexpr int kFile = 1, kJson = 2;
// Of a file's payload: two bytes and one of 0, the digest, the name's length.
constexpr std::size_t kDigestAt = 3, kNameLengthAt = 19, kNameAt = 21;
constexpr std::string_view kZip = "PK\x03\x04";

struct NamedKind {
  std::string_view name;
  Kind kind;
};
constexpr std::array kNamedKinds = {
    NamedKind{"hang-up", Kind::hangUp},
    NamedKind{"mute", Kind::mute},
    NamedKind{"die", Kind::die},
    NamedKind{"drip", Kind::drip},
    NamedKind{"chunks", Kind::chunks},
    NamedKind{"damaged", Kind::damaged},
    NamedKind{"refuse", Kind::refuse},
    NamedKind{"verdict-first", Kind::verdictFirst},
    NamedKind{"no-backup", Kind::noBackup},
    NamedKind{"partial", Kind::partial},
    NamedKind{"broken", Kind::broken},
};

std::size_t number(std::string_view bytes) {
  std::size_t value = 0;
  for (const char byte : bytes) value = value * 256 + static_cast<unsigned char>(byte);
  return value;
}

std::string bytesOf(std::size_t value, int width) {
  std::string bytes;
  for (int i = width - 1; i >= 0; --i) bytes += static_cast<char>(value >> (8 * i) & 0xff);
  return bytes;
}

std::string packet(int type, std::string_view payload) {
  std::string bytes = bytesOf(payload.size(), 4) + static_cast<char>(type) + '\0';
  return bytes += payload;
}

std::string jsonPacket(const Json::Value& value) { return packet(kJson, writeJson(value) + '\n'); }

std::string filePacket(std::string_view name, std::string_view file, bool broken) {
  auto digest = md5(file);
  if (broken) digest[0] ^= 1;
  std::string payload(3, '\0');
  payload.append(digest.begin(), digest.end());
  payload += bytesOf(name.size(), 2);
  payload += name;
  payload += file;
  return packet(kFile, payload);
}

std::string inChunks(const std::string& bytes, std::size_t size) {
  std::string stream;
  for (std::size_t at = 0; at < bytes.size(); at += size) {
    const std::size_t length = std::min(size, bytes.size() - at);
    stream += bytesOf(length, 2);
    stream.append(bytes, at, length);
  }
  return stream;
}

}  // namespace

std::optional<UpgradeFault::Kind> upgradeFaultNamed(std::string_view name) {
  for (const NamedKind& named : kNamedKinds)
    if (named.name == name) return named.kind;
  return std::nullopt;
}

ServerHooks UpgradeService::hooks() {
  ServerHooks hooks;
  hooks.bytes = [this](LinkId link, std::string_view bytes) { take(link, bytes); };
  hooks.opened = [this](LinkId link) {
    if (ails(Kind::hangUp)) outbox_.push_back({.link = link, .closeAfter = true});
  };
  hooks.closed = [this](LinkId link) { arrived_.erase(link); };
  hooks.takeDeliveries = [this] { return std::exchange(outbox_, {}); };
  return hooks;
}

std::vector<std::string> UpgradeService::packages() const {
  std::lock_guard lock(packagesMutex_);
  return packages_;
}

void UpgradeService::take(LinkId link, std::string_view bytes) {
  std::string& arrived = arrived_[link];
  arrived += bytes;
  while (arrived.size() >= kHead) {
    const std::size_t length = number(std::string_view(arrived).substr(0, 4));
    const int type = static_cast<unsigned char>(arrived[4]);
    if (length > kLargestPacket || (type != kFile && type != kJson)) {
      outbox_.push_back({.link = link, .closeAfter = true});
      arrived.clear();
      return;
    }
    if (arrived.size() - kHead < length) return;
    const auto payload = std::string_view(arrived).substr(kHead, length);
    send(link, type == kFile ? answersToPackage(payload) : answersToRequest(payload));
    arrived.erase(0, kHead + length);
    if (arrived.empty()) arrived.shrink_to_fit();
  }
}

std::vector<std::string> UpgradeService::answersToPackage(std::string_view payload) {
  bool whole = payload.size() >= kNameAt;
  std::string_view package;
  std::string digest;
  if (whole) {
    const std::size_t start = kNameAt + number(payload.substr(kNameLengthAt, 2));
    whole = start <= payload.size();
    if (whole) package = payload.substr(start);
    const auto found = md5(package);
    digest = hexText(found);
    whole = whole && std::equal(found.begin(), found.end(), payload.begin() + kDigestAt,
                                [](unsigned char a, char b) { return a == static_cast<unsigned char>(b); });
  }
  if (ails(Kind::damaged)) whole = false;

  Json::Value report(Json::objectValue), verdict(Json::objectValue);
  report["s"]["file_transfer"] = whole;
  verdict["upgrade"] = whole ? judge(package, digest) : "no package";
  std::vector<std::string> answers{jsonPacket(report), jsonPacket(verdict)};
  if (ails(Kind::verdictFirst)) std::swap(answers[0], answers[1]);
  return answers;
}

std::string UpgradeService::judge(std::string_view package, const std::string& digest) {
  std::lock_guard lock(worldMutex_);
  std::string verdict = "ok";
  if (world_.moving())
    verdict = "the robot is moving";
  else if (!package.starts_with(kZip) || ails(Kind::refuse))
    verdict = "no upgrade package";
  if (verdict != "ok") return verdict;
  std::lock_guard packagesLock(packagesMutex_);
  packages_.push_back(digest);
  return verdict;
}

std::vector<std::string> UpgradeService::answersToRequest(std::string_view payload) {
  const auto request = parseJson(payload.ends_with('\n') ? payload.substr(0, payload.size() - 1) : payload);
  const Json::Value& names = request ? member(*request, "export") : Json::Value::nullSingleton();
  Json::Value answer(Json::objectValue);
  if (!request || !names.isArray()) {
    answer["reply"] = "unknown request";
    return {jsonPacket(answer)};
  }

  std::vector<BackupRequest> items;
  for (const Json::Value& name : names) {
    if (const auto text = readText(name)) {
      items.push_back({*text, {}});
    } else if (!items.empty()) {
      for (const Json::Value& left : member(name, "exclude"))
        if (const auto folder = readText(left)) items.back().exclude.push_back(*folder);
    }
  }
  std::vector<std::string> answers;
  Json::Value result(Json::objectValue);
  std::string archive;
  {
    std::lock_guard lock(worldMutex_);
    const bool partial = ails(Kind::partial);
    if (partial && !items.empty()) {
      result[items.back().name] = "can't be read";
      items.pop_back();
    }
    archive = backUp(world_, items, result);
  }
  const bool sends = readFlag(member(*request, "send_file")).value_or(false);
  const bool made = !names.empty() && !ails(Kind::noBackup);
  if (sends) result["size"] = made ? "ok" : "no backup was made";
  answer["reply"] = "export";
  answer["result"] = result;
  answers.push_back(jsonPacket(answer));
  if (sends && made) answers.push_back(filePacket("./backup/backup.tar", archive, ails(Kind::broken)));
  return answers;
}

void UpgradeService::send(LinkId link, const std::vector<std::string>& packets) {
  if (ails(Kind::mute)) return;
  const auto chunks = faults_.take(Kind::chunks);
  const std::size_t size = std::clamp<std::size_t>(chunks ? chunks->bytes : kLargestChunk, 1, kLargestChunk);
  const auto drip = faults_.take(Kind::drip), death = faults_.take(Kind::die);
  std::vector<std::string> streams;
  for (const std::string& packet : packets) streams.push_back(inChunks(packet, size));
  if (!drip && !death) {
    for (std::string& stream : streams)
      outbox_.push_back({.link = link, .bytes = std::move(stream), .injected = true});
    return;
  }
  std::string stream;
  for (const std::string& one : streams) stream += one;
  if (death) stream.resize(std::min(stream.size(), death->bytes));
  const std::size_t piece =
      drip ? std::max<std::size_t>(drip->bytes, 1) : std::max<std::size_t>(stream.size(), 1);
  std::chrono::milliseconds delay{0};
  for (std::size_t at = 0; at < stream.size(); at += piece) {
    outbox_.push_back({.link = link, .bytes = stream.substr(at, piece), .delay = delay, .injected = true});
    if (drip) delay += drip->delay;
  }
  if (death) outbox_.push_back({.link = link, .delay = delay, .closeAfter = true});
}

}  // namespace zivra::sim
