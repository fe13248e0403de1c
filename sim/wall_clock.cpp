#include "wall_clock.h"

#include <fmt/chrono.h>

namespace zivra::sim {

std::string WallClock::text() const {
  const auto now = std::chrono::system_clock::now() + ahead;
  return fmt::format("{:%Y-%m-%d %H:%M:%S}", fmt::gmtime(std::chrono::system_clock::to_time_t(now)));
}

}  // namespace zivra::sim
