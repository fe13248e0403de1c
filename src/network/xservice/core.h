// What the command link and its network thread share: the client, who waits for what, and the handlers. It
// outlives its XService for as long as the network thread runs.
//
// Threads: as XService; `route` and `batchRouted` belong to the network thread.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "core/json.h"
#include "network/tcp_client.h"
#include "network/xservice/handler_slot.h"
#include "network/xservice/reply_table.h"
#include "network/xservice/xservice.h"

namespace zivra {

struct XService::Core : std::enable_shared_from_this<Core> {
  explicit Core(const internal::LinkLimits& limits);

  std::error_code start();
  // Numbers nothing: sends the frame and waits for the reply with `id`. Throws nothing but std::bad_alloc.
  std::error_code exchange(std::string&& frame, std::uint64_t id, Json::Value& reply, std::int64_t timeoutNs);
  std::error_code send(std::string&& frame, const Gate& gate = {});

  void route(std::string_view frame);
  void batchRouted() noexcept { replies.wake(); }
  void linkLost() noexcept { replies.lose(); }
  // Calls a handler or a reply callback; what it throws is logged.
  template <class Call>
  void callUser(Call&& call) noexcept;

  std::shared_ptr<internal::Logger> currentLogger() const noexcept;

  internal::TcpClient client;
  internal::ReplyTable replies;
  internal::HandlerSlot<bool> connectionHandler;
  internal::HandlerSlot<const Json::Value&> motionHandler;
  internal::HandlerSlot<const Json::Value&> pushHandler;

  // One file at a time. A thread that is sending one already doesn't get a turn.
  class TransferTurn {
   public:
    explicit TransferTurn(Core& core);
    ~TransferTurn();
    TransferTurn(const TransferTurn&) = delete;
    TransferTurn& operator=(const TransferTurn&) = delete;
    bool taken() const noexcept { return taken_; }

   private:
    Core& core_;
    bool taken_ = false;
  };
  std::mutex transferMutex;  // of the two below
  std::condition_variable transferEnded;
  std::thread::id transferring;

  mutable std::mutex settingsMutex;  // for the three below
  std::string ip;
  std::uint32_t port = 0;
  std::shared_ptr<internal::Logger> logger;

 private:
  struct Listener;

  internal::JsonParser parser_;  // network thread
};

}  // namespace zivra
