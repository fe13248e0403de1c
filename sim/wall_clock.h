// The controller's clock: it may be wrong until a time server sets it right.
#pragma once

#include <chrono>
#include <string>

namespace zivra::sim {

struct WallClock {
  std::string server;                  // empty: none configured
  std::chrono::milliseconds ahead{0};  // of this machine's clock, which the time servers follow

  std::string text() const;  // "2026-01-31 23:59:59", world time
};

}  // namespace zivra::sim
