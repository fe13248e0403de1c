// How far along its path a move is at which time.
#pragma once

#include <vector>

namespace zivra::sim {

// What the path parameter may do at one place of the path.
struct PathLimit {
  double at = 0;            // path parameter, 0 at the first and 1 at the last entry
  double rate = 0;          // 1/s
  double acceleration = 0;  // 1/s^2
};

// From rest to rest as fast as the limits allow, with the acceleration's edges rounded over `smoothing`
// seconds.
class TimeLaw {
 public:
  TimeLaw() = default;  // no path: over at once
  TimeLaw(const std::vector<PathLimit>& limits, double smoothing);

  struct Progress {
    double at = 1;    // path parameter
    double rate = 0;  // 1/s
  };
  Progress progress(double time) const;
  double duration() const { return knots_.empty() ? 0.0 : knots_.back().time + smoothing_; }
  double timeAt(double at) const;  // when the parameter is passed

 private:
  struct Knot {
    double time, at, rate, area;  // area: integral of the parameter over time
  };
  Knot unsmoothed(double time) const;

  std::vector<Knot> knots_;
  double smoothing_ = 0;
};

}  // namespace zivra::sim
