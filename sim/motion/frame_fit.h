// Frames from taught points: the arithmetic of calibration. Any thread.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "motion/motion.h"

namespace zivra::sim {

struct FrameFit {
  Pose frame;
  // How far the points lie from where the frame has them [m]: the farthest, their mean, root mean square.
  std::array<double, 3> errors{};
};

// Where a fitted frame is fixed to.
enum class FixedTo { flange, base };

// From flange poses in which a tip touches one place: 3 or 4, or 6 of which the last two don't touch it but
// have the tip moved from there along the frame's x and then along its z. The frame is that of the tip
// (fixed to the flange) or that of the place (fixed to the base). Nothing if the poses are too much alike.
std::optional<FrameFit> fitTip(const std::vector<Pose>& flanges, FixedTo fixedTo);

using Place = std::array<double, 3>;
// From the origin, a place on the x axis, and one on the side of y. Nothing if they lie too close together,
// or in a line.
std::optional<FrameFit> fitPlane(const Place& origin, const Place& onX, const Place& towardsY);

}  // namespace zivra::sim
