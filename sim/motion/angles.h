// Angles are radians; people, programs and some requests count in degrees.
#pragma once

#include <numbers>

namespace zivra::sim {

inline constexpr double kPi = std::numbers::pi, kDegree = kPi / 180;

}  // namespace zivra::sim
