#include "motion/time_law.h"

#include <algorithm>
#include <cmath>

namespace zivra::sim {

TimeLaw::TimeLaw(const std::vector<PathLimit>& limits, double smoothing) : smoothing_(smoothing) {
  const std::size_t count = limits.size();
  std::vector<double> square(count);  // of the rate; under constant acceleration linear in the parameter
  for (std::size_t i = 0; i < count; ++i) square[i] = limits[i].rate * limits[i].rate;
  square.front() = square.back() = 0;
  const auto gain = [&](std::size_t i) {
    return 2 * std::min(limits[i].acceleration, limits[i + 1].acceleration) *
           (limits[i + 1].at - limits[i].at);
  };
  for (std::size_t i = 0; i + 1 < count; ++i) square[i + 1] = std::min(square[i + 1], square[i] + gain(i));
  for (std::size_t i = count - 1; i > 0; --i)
    square[i - 1] = std::min(square[i - 1], square[i] + gain(i - 1));

  const auto reach = [&](double at, double rate) {
    const Knot& last = knots_.back();
    const double time = 2 * (at - last.at) / (last.rate + rate);
    if (!(time > 0)) return;
    const double acceleration = (rate - last.rate) / time;
    const double area = time * (last.at + time * (last.rate / 2 + time * acceleration / 6));
    knots_.push_back({last.time + time, at, rate, last.area + area});
  };
  knots_.reserve(2 * count);
  knots_.push_back({0, limits.front().at, 0, 0});
  for (std::size_t i = 0; i + 1 < count; ++i) {
    // Where the rates at both ends lie close, the change takes a part of the way at full acceleration.
    const double from = std::sqrt(square[i]), to = std::sqrt(square[i + 1]);
    const double share = std::abs(square[i + 1] - square[i]) / gain(i);
    if (share < 0.999) {
      const double width = limits[i + 1].at - limits[i].at;
      reach(limits[i].at + width * (to > from ? share : 1 - share), std::max(from, to));
    }
    reach(limits[i + 1].at, to);
  }
}

TimeLaw::Knot TimeLaw::unsmoothed(double time) const {
  if (time <= 0) return {time, 0, 0, 0};
  const Knot& end = knots_.back();
  if (time >= end.time) return {time, end.at, 0, end.area + (time - end.time) * end.at};
  const auto next = std::upper_bound(knots_.begin(), knots_.end(), time,
                                     [](double value, const Knot& knot) { return value < knot.time; });
  const Knot& last = *(next - 1);
  const double passed = time - last.time;
  const double acceleration = (next->rate - last.rate) / (next->time - last.time);
  return {time, last.at + passed * (last.rate + passed * acceleration / 2), last.rate + passed * acceleration,
          last.area + passed * (last.at + passed * (last.rate / 2 + passed * acceleration / 6))};
}

TimeLaw::Progress TimeLaw::progress(double time) const {
  if (time >= duration()) return {1, 0};
  if (time <= 0) return {0, 0};
  const Knot now = unsmoothed(time);
  if (smoothing_ <= 0) return {now.at, now.rate};
  const Knot before = unsmoothed(time - smoothing_);
  return {std::clamp((now.area - before.area) / smoothing_, 0.0, 1.0), (now.at - before.at) / smoothing_};
}

double TimeLaw::timeAt(double at) const {
  double low = 0, high = duration();
  for (int i = 0; i < 50; ++i) {
    const double middle = (low + high) / 2;
    (progress(middle).at < at ? low : high) = middle;
  }
  return high;
}

}  // namespace zivra::sim
