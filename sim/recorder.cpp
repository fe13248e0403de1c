#include "recorder.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zivra::sim {

namespace {

constexpr int kTooShort = -337, kBeyondLimits = -338, kTooFast = -339, kNotFromRest = -340, kNotToRest = -341;
constexpr int kNothingRecorded = -352, kNotSaved = -353, kNoSuchPath = -60511;
constexpr int kNotNow = -18;
constexpr double kShortest = 0.5;   // s
constexpr double kLeastWay = 1e-3;  // rad, of the axis that moves most
constexpr double kTiny = 1e-9;      // s, rad and rad/s: rounding

}  // namespace

int Recorder::start(double duration, const Motion& motion, bool moving) {
  if (running_) return kNotNow;
  if (moving) return kNotFromRest;
  running_ = true;
  untold_ = false;
  verdict_ = 0;
  left_ = duration;
  untilNext_ = kInterval;
  recorded_ = {kInterval, {motion.joints()}};
  return 0;
}

int Recorder::stop(const Motion& motion, bool moving) {
  if (running_) {
    end(motion, moving);
  } else if (!std::exchange(untold_, false)) {
    return kNothingRecorded;
  }
  return verdict_;
}

int Recorder::cancel() {
  if (!running_ && recorded_.points.empty()) return kNothingRecorded;
  running_ = untold_ = false;
  recorded_.points.clear();
  return 0;
}

void Recorder::lose(int code) {
  if (!running_) return;
  running_ = false;
  untold_ = true;
  verdict_ = code;
  recorded_.points.clear();
}

bool Recorder::pass(double seconds, const Motion& motion, bool moving) {
  if (!running_) return false;
  left_ -= seconds;
  untilNext_ -= seconds;
  if (untilNext_ <= kTiny) {
    recorded_.points.push_back(motion.joints());
    untilNext_ = kInterval;
  }
  if (left_ > kTiny) return false;
  end(motion, moving);
  untold_ = true;
  return true;
}

int Recorder::judge(const ArmLimits& limits, bool moving) const {
  const std::vector<Joints>& points = recorded_.points;
  if (moving) return kNotToRest;
  if (static_cast<double>(points.size() - 1) * kInterval < kShortest) return kTooShort;
  double longest = 0;
  bool beyond = false, fast = false;
  for (std::size_t i = 0; i < points.size(); ++i) {
    for (std::size_t axis = 0; axis < points[i].size(); ++axis) {
      const double angle = points[i][axis];
      longest = std::max(longest, std::abs(angle - points[0][axis]));
      beyond = beyond || angle < limits.lower[axis] - kTiny || angle > limits.upper[axis] + kTiny;
      const double step = i == 0 ? 0 : std::abs(angle - points[i - 1][axis]);
      fast = fast || step > (limits.velocity[axis] + kTiny) * kInterval;
    }
  }
  if (longest < kLeastWay) return kTooShort;
  return beyond ? kBeyondLimits : fast ? kTooFast : 0;
}

void Recorder::end(const Motion& motion, bool moving) {
  running_ = false;
  verdict_ = judge(motion.arm().limits(), moving);
  if (verdict_ != 0) recorded_.points.clear();
}

int Recorder::save(const std::string& name, const std::string& as) {
  if (running_) return kNotNow;
  if (!recorded_.points.empty()) {
    const std::string& target = as.empty() ? name : as;
    if (paths_.size() >= kMostPaths && !paths_.contains(target)) return kNotSaved;
    paths_[target] = std::make_shared<RecordedPath>(std::exchange(recorded_, {}));
    return 0;
  }
  if (as.empty()) return kNothingRecorded;
  auto stored = paths_.extract(name);
  if (stored.empty()) return kNoSuchPath;
  paths_[as] = std::move(stored.mapped());
  return 0;
}

int Recorder::remove(const std::string& name) { return paths_.erase(name) == 0 ? kNoSuchPath : 0; }

std::vector<std::string> Recorder::names() const {
  std::vector<std::string> names;
  for (const auto& [name, path] : paths_) names.push_back(name);
  return names;
}

std::shared_ptr<const RecordedPath> Recorder::path(const std::string& name) const {
  const auto found = paths_.find(name);
  return found == paths_.end() ? nullptr : found->second;
}

void Recorder::boot() {
  running_ = untold_ = false;
  recorded_.points.clear();
}

}  // namespace zivra::sim
