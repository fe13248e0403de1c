#include "motion/trajectory.h"

#include <algorithm>
#include <cmath>

namespace zivra::sim {
namespace {

double norm(const KDL::Vector& v) { return std::sqrt(KDL::dot(v, v)); }

KDL::Vector direction(const KDL::Vector& v) {
  const double length = norm(v);
  return length > 1e-9 ? v / length : KDL::Vector::Zero();
}

}  // namespace

Trajectory::Trajectory(std::vector<Knot> knots, const std::vector<PathLimit>& limits, double smoothing,
                       double zone)
    : knots_(std::move(knots)) {
  if (limits.empty()) return;
  law_ = TimeLaw(limits, smoothing);
  zoneEntry_ = law_.duration();
  if (zone <= 0) return;

  std::vector<double> passed(knots_.size(), 0.0);  // m of the tool's way
  for (std::size_t i = 1; i < knots_.size(); ++i) {
    const double speed = (norm(knots_[i - 1].tool.vel) + norm(knots_[i].tool.vel)) / 2;
    passed[i] = passed[i - 1] + speed * (knots_[i].at - knots_[i - 1].at);
  }
  const double length = passed.back();
  shorterThanZone_ = length < zone;
  if (length < 1e-6) return;
  const double entry = length - std::min(zone, length / 2);
  const auto next = std::lower_bound(passed.begin(), passed.end(), entry);
  const auto i = static_cast<std::size_t>(std::max<std::ptrdiff_t>(next - passed.begin(), 1));
  const double share = (entry - passed[i - 1]) / (passed[i] - passed[i - 1]);
  zoneEntry_ = law_.timeAt(knots_[i - 1].at + share * (knots_[i].at - knots_[i - 1].at));
}

KDL::Vector Trajectory::departure() const { return direction(knots_.front().tool.vel); }
KDL::Vector Trajectory::arrival() const { return direction(knots_.back().tool.vel); }

// Cubic between knots, through their values and derivatives.
void Trajectory::at(double time, JointVector& joints, JointVector& velocities) const {
  const TimeLaw::Progress progress = law_.progress(time);
  if (progress.at >= 1 || knots_.size() < 2) {
    joints = knots_.back().joints;
    velocities = knots_.back().way * progress.rate;
    return;
  }
  auto next = std::upper_bound(knots_.begin(), knots_.end(), progress.at,
                               [](double value, const Knot& knot) { return value < knot.at; });
  next = std::clamp(next, knots_.begin() + 1, knots_.end() - 1);
  const Knot &a = *(next - 1), &b = *next;
  const double width = b.at - a.at;
  const double t = (progress.at - a.at) / width;
  const double rise = t * t * (3 - 2 * t), slope = 6 * t * (1 - t) / width;
  const double leave = t * (1 - t) * (1 - t) * width, arrive = -t * t * (1 - t) * width;
  joints = a.joints + (b.joints - a.joints) * rise + a.way * leave + b.way * arrive;
  velocities = progress.rate *
               ((b.joints - a.joints) * slope + a.way * ((1 - t) * (1 - 3 * t)) + b.way * (t * (3 * t - 2)));
}

}  // namespace zivra::sim
