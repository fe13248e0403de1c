// The command link: JSON frames ended by CR over TCP, the request forms, and the routing of what comes back.
//
// Threads: every operation may be called from any thread. Each link has one network thread (the client's), on
// which all handlers and callbacks run, one at a time and without any of this class's locks; what they throw
// is logged. The waiting forms (get, getMany, set, setValue, command, exchange) called there report 263 at
// once. Any number of threads may wait for replies at the same time.
#pragma once

#include <cstdint>
#include <functional>
#include <json/json.h>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <zivra/base_robot.h>

#include "core/log.h"
#include "network/send_gate.h"

namespace zivra {

namespace internal {
struct LinkLimits;
}
class XTransfer;

class XService : public Base<XService> {
 public:
  static constexpr std::int64_t defaultTimeoutNs = 10'000'000'000;

  using Handler = std::function<void(const Json::Value&)>;

  XService();
  explicit XService(const internal::LinkLimits& limits);
  // Stops the link. On the network thread too: then no handler is called any more once this has returned.
  ~XService();
  XService(const XService&) = delete;
  XService& operator=(const XService&) = delete;

  // Keeps both for the next `start`; doesn't touch the socket.
  void setEndpoint(const std::string& ip, std::uint32_t port);
  std::string address() const;  // its ip; empty before the first endpoint
  // Connects, waiting at most 30 s; 256 if that fails, and nothing goes on then. Does nothing on a connected
  // link. From then on the client rebuilds a dropped link by itself until `stop`. On the network thread of a
  // link that is down: resource_deadlock_would_occur.
  void start(std::error_code& ec) noexcept;
  // Ends link and reconnection; waits for the network thread (for a handler that doesn't return at most 10 s)
  // unless called on it. A connected link tells its handler.
  void stop() noexcept;

  bool connected() const noexcept;
  bool onNetworkThread() const noexcept;

  // `handler(true)` and `handler(false)` at each connect and disconnect, on the network thread. Once this has
  // returned the former handler isn't running and will not be called any more (unless called from that very
  // handler).
  void setConnectionHandler(std::function<void(bool)> handler);
  // The same holds for these two.
  void setMotionHandler(Handler handler);
  void setPushHandler(Handler handler);

  std::shared_ptr<internal::Logger> logger() const noexcept;
  void setLogger(std::shared_ptr<internal::Logger> logger) noexcept;

  // Sends one frame on the present connection, without waiting for it; 256 if there is none.
  void sendFrame(const Json::Value& message, std::error_code& ec) noexcept;
  // Numbers the request, sends it and waits for the reply with its id. 256, 263; 259 for a request that is no
  // object. `reply` is untouched then.
  void exchange(Json::Value& request, Json::Value& reply, std::error_code& ec,
                std::int64_t timeoutNs = defaultTimeoutNs) noexcept;

  // The request forms. All clear `ec` first; an out value is untouched if `ec` is set. 257 for a reply
  // without the form's member or key.
  void get(const std::string& key, Json::Value& value, std::error_code& ec) noexcept;
  void get(const std::string& key, const Json::Value& parameter, Json::Value& value,
           std::error_code& ec) noexcept;
  void getMany(const std::vector<std::string>& keys, const std::vector<Json::Value>& parameters,
               Json::Value& values, std::error_code& ec) noexcept;
  void set(const std::string& key, const Json::Value& value, std::error_code& ec) noexcept;
  int setValue(const std::string& key, const Json::Value& value, std::error_code& ec) noexcept;
  void command(const std::string& key, const Json::Value& parameters, Json::Value& value, std::error_code& ec,
               std::int64_t timeoutNs = defaultTimeoutNs) noexcept;

  // The forms that don't wait; usable on the network thread.
  // `callback` gets the whole reply on the network thread, or is never called.
  void commandAsync(const std::string& key, const Json::Value& parameters, Handler callback,
                    std::error_code& ec) noexcept;
  // As above with parameters that are JSON text already.
  void commandTextAsync(const std::string& key, std::string_view parameters, Handler callback,
                        std::error_code& ec) noexcept;

  // Brings a file to the controller: announces `description` ("file_name", "function", "overwrite") on this
  // link and sends the bytes on the file link. Waits for the acknowledgement, at most 300 s. One file at a
  // time: others wait for their turn. 256; -280 if the file can't be read, -283 if it is empty or larger than
  // `maxSize`, -284 refused, lost or no memory, -285 not acknowledged, or the controller's code.
  // `progress(done, total)` is called on the calling thread; what it throws is ignored.
  using Progress = std::function<void(std::uint64_t, std::uint64_t)>;
  void sendFile(const std::string& path, std::uint64_t maxSize, const Json::Value& description,
                std::error_code& ec, const Progress& progress = {}) noexcept;
  // The file link; started and stopped with this one. That it can't be had fails nothing but `sendFile`.
  const std::shared_ptr<XTransfer> transfer;

  using Gate = SendGate;
  // Sends `{"c":body,"id":id}`; `body` is the JSON text of the command object. What comes back under the id
  // goes to the motion handler. operation_canceled if the gate is shut by then, and nothing was sent.
  void commandWithId(std::string_view body, const std::string& id, std::error_code& ec,
                     Gate gate = {}) noexcept;
  void watch(const std::string& key, bool on, std::error_code& ec) noexcept;

 private:
  template <class AppendPayload, class Take>
  void ask(char letter, const std::string& key, AppendPayload&& appendPayload, std::int64_t timeoutNs,
           std::error_code& ec, Take&& take) noexcept;

  struct Core;  // shared with the network thread, which keeps it alive until it has ended
  std::shared_ptr<Core> core_;
};

}  // namespace zivra
