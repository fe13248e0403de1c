// The connection to the upgrade service: bytes as they come, in the pieces in which they came.
//
// Threads: every operation may be called from any thread, those of a conversation by one at a time. The
// network thread fills the inbox; while nobody takes anything out of a full one it stops reading, so that the
// controller has to wait instead of this process's memory growing.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "network/tcp_client.h"

namespace zivra::internal {

class UpdateManagerTcp {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::uint32_t port = 4567;

  explicit UpdateManagerTcp(const LinkLimits& limits);
  virtual ~UpdateManagerTcp();
  UpdateManagerTcp(const UpdateManagerTcp&) = delete;
  UpdateManagerTcp& operator=(const UpdateManagerTcp&) = delete;

  // Ends any connection and makes one to `host`: 256, or 267 if the controller hangs up at once; nothing goes
  // on then.
  std::error_code connect(const std::string& host);
  void stop() noexcept;
  bool connected() const noexcept { return static_cast<bool>(client_.connection()); }

  // One request and what comes back: forgets what came before, and notices the end of its connection even if
  // there is a new one already.
  void beginConversation();
  // False if there was none.
  bool endConversation() noexcept;
  // Returns once all of it is written: 256 if the connection ends, 263 if nothing goes out for `limit`.
  // `last` is what the controller may answer to.
  std::error_code send(std::string&& packet, std::chrono::milliseconds limit, bool last = true);
  // The oldest piece: 256 if there is none and the connection has ended, 263 if none comes in time.
  std::error_code read(std::string& piece, TimePoint deadline);
  // What is to be read next.
  void putBack(std::string_view piece);

 private:
  struct Inbox;
  class Listener;

  const std::shared_ptr<Inbox> inbox_;
  TcpClient client_;
};

}  // namespace zivra::internal
