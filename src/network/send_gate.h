#pragma once

#include <atomic>
#include <cstdint>

namespace zivra {

// What must hold at the moment in which a frame is queued: the epoch is the expected one.
struct SendGate {
  const std::atomic<std::uint64_t>* epoch = nullptr;
  std::uint64_t expected = 0;

  bool open() const noexcept { return epoch == nullptr || epoch->load() == expected; }
};

}  // namespace zivra
