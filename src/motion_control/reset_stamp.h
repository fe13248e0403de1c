// Tells whether a reset has come since a moment. Compared under the mutex of what it protects, and the reset
// works on that under the same mutex after it has counted: what was stamped before either comes first and is
// wiped by the reset, or sees the count and leaves things alone.
#pragma once

#include <atomic>
#include <cstdint>

namespace zivra::internal {

struct ResetStamp {
  const std::atomic<std::uint64_t>* resets = nullptr;  // none: always current
  std::uint64_t seen = 0;

  bool current() const noexcept { return resets == nullptr || resets->load() == seen; }
};

}  // namespace zivra::internal
