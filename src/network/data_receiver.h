// The state stream's receiving end: which fields a datagram holds, in what order, and their last values.
//
// A recipe is compiled into a few copies of whole stretches of a datagram: a datagram costs two of them as a
// rule, no look-up and no allocation. `values_` tells where a field's bytes lie in what was copied last.
//
// Threads: `setRecipe`, `open` and `waitFirstState` are for one thread at a time, while nothing is being
// received. Everything else may be called from any thread at any time: those who receive take turns, those
// who read wait for no more than one copy.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <zivra/base_robot.h>

#include "network/state_fields.h"
#include "network/udp_service.h"

namespace zivra {

// A field's value: its type, and where its bytes lie in the last datagram.
struct StateValue {
  StateTag tag;
  std::uint16_t offset;
};

class DataReceiver : public UdpService {
 public:
  // A test may shorten the wait for the first datagram.
  explicit DataReceiver(std::chrono::nanoseconds firstStateLimit = std::chrono::seconds(3))
      : firstStateLimit_(firstStateLimit) {}
  ~DataReceiver() override;

  // Counts anew.
  void open(std::error_code& ec, bool fallback) noexcept override;
  using UdpService::open;
  void close() noexcept override;

  // What datagrams hold from now on; all values are zero. Not 0 if a robot of that many axes doesn't have one
  // of the fields, or if they are too long for a datagram: then everything stays as it was.
  int setRecipe(const std::set<std::string>& requested, unsigned short dof);
  const std::set<std::string>& requested() const noexcept { return fields_; }
  bool isReceiving() const noexcept { return receiving_.load(); }

  // Takes one datagram; its length, 0 if none came in time. Throws RealtimeStateException unless receiving,
  // RealtimeMotionException for an error flag, NetworkException.
  unsigned update(std::chrono::nanoseconds timeout);
  // Takes what waits, keeps the newest, and throws as `update` for the first error flag among them; how many
  // newer ones have replaced.
  unsigned drain();
  // As `update`; is receiving from then on. Throws RealtimeStateException if nothing but empty ones came.
  void waitFirstState();
  // Takes the values from one whole datagram, within a turn or while nothing is being received. Throws
  // RealtimeMotionException for an error flag; the values behind it stay as they were.
  void decode(std::string_view bytes);

  // 0, or -1 for a field that isn't in the recipe or has another type: `value` stays (a vector is empty).
  int read(const std::string& name, double& value) const;
  int read(const std::string& name, std::uint64_t& value) const;
  int read(const std::string& name, std::vector<double>& value) const;
  StateStreamHealth health() const noexcept;

 private:
  static constexpr std::size_t flagCount = bytesOf(StateTag::flags20);
  using Flags = std::array<bool, flagCount>;

  // Not the standard one by its own name: with that the standard library searches small maps entry by entry.
  struct NameHash {
    std::size_t operator()(const std::string& name) const noexcept { return std::hash<std::string>()(name); }
  };

  // A stretch of a datagram that is copied as a whole.
  struct Stretch {
    std::uint16_t from, to, length;
    bool endsInErrors;
  };

  unsigned take(std::chrono::nanoseconds timeout);
  struct Accepted {
    bool whole = false;
    std::optional<Flags> errors;  // if one of them is set
  };

  // Counts a datagram, and takes its values if it is whole.
  Accepted accept(const char* bytes, std::size_t length) noexcept;
  // With `valuesMutex_` held. What stands behind a set error flag isn't taken.
  std::optional<Flags> copyValues(const char* bytes) noexcept;
  template <class Take>
  int readField(const std::string& name, Take&& take) const;

  const std::chrono::nanoseconds firstStateLimit_;
  std::atomic<bool> receiving_{false};
  std::set<std::string> fields_;

  mutable std::mutex valuesMutex_;  // for what follows
  std::unordered_map<std::string, StateValue, NameHash> values_;
  std::vector<Stretch> recipe_;
  std::size_t packetSize_ = longestDatagram;
  std::array<char, longestDatagram> bytes_{};

  StateStreamHealth health_;
  std::chrono::steady_clock::time_point newest_;
  std::optional<std::uint64_t> newestTs_;
};

}  // namespace zivra
