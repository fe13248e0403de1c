#include "network/file_link.h"

#include <algorithm>

#include "network/digest.h"

namespace zivra::sim {

ServerHooks FileLink::hooks() {
  ServerHooks hooks;
  hooks.bytes = [this](LinkId link, std::string_view bytes) { take(link, bytes); };
  hooks.closed = [this](LinkId link) { forget(link); };
  hooks.takeDeliveries = [this] { return std::exchange(outbox_, {}); };
  return hooks;
}

void FileLink::take(LinkId link, std::string_view bytes) {
  std::lock_guard lock(worldMutex_);
  auto& incoming = world_.incoming;
  // Bytes that nobody announced are nobody's file.
  if (!incoming) return;
  if (incoming->arrived.empty()) ails_ = faults_.take();
  auto& arrived = incoming->arrived[link];
  const auto wanted = static_cast<std::size_t>(incoming->length) - arrived.size();
  arrived.insert(arrived.end(), bytes.begin(), bytes.begin() + std::min(wanted, bytes.size()));
  if (ails_ && ails_->kind == FileFault::Kind::drop && arrived.size() * 2 >= incoming->length) {
    outbox_.push_back({.link = link, .closeAfter = true});
    incoming.reset();
  } else if (arrived.size() == incoming->length) {
    finish(link);
  }
}

void FileLink::finish(LinkId link) {
  IncomingFile incoming = std::move(*world_.incoming);
  world_.incoming.reset();
  incoming.file.bytes = std::move(incoming.arrived[link]);
  const auto& bytes = incoming.file.bytes;
  const std::string digest = hexText(md5({reinterpret_cast<const char*>(bytes.data()), bytes.size()}));
  const bool good = digest == incoming.md5 && !(ails_ && ails_->kind == FileFault::Kind::refuse);
  if (good) world_.received = std::move(incoming.file);
  acknowledge(link, good);
}

void FileLink::acknowledge(LinkId link, bool good) {
  Delivery delivery{.link = link, .bytes = good ? "{\"f\":\"success\"}\r" : "{\"f\":\"error\"}\r"};
  if (ails_ && ails_->kind == FileFault::Kind::mute) return;
  if (ails_ && ails_->kind == FileFault::Kind::text) delivery.bytes.insert(0, ails_->text + '\r');
  if (ails_ && ails_->kind == FileFault::Kind::delay) delivery.delay = ails_->delay;
  outbox_.push_back(std::move(delivery));
}

void FileLink::forget(LinkId link) {
  std::lock_guard lock(worldMutex_);
  if (world_.incoming) world_.incoming->arrived.erase(link);
}

}  // namespace zivra::sim
