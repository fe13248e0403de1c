// Records the way of the arm while it is guided, and keeps the paths that are worth it. Knows nothing of
// requests. What gives an int gives 0 or the code of a refusal.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "motion/motion.h"

namespace zivra::sim {

class Recorder {
 public:
  static constexpr double kInterval = 0.01;  // s between two points
  static constexpr double kLongest = 600;    // s
  static constexpr std::size_t kMostPaths = 100;

  int start(double duration, const Motion& motion, bool moving);  // ends by itself after `duration` [s]
  // Why the path isn't kept for saving, also of a recording that has ended by itself.
  int stop(const Motion& motion, bool moving);
  int cancel();
  void lose(int code);  // the recording ends, and nothing comes of it

  bool running() const { return running_; }
  double untilNextPoint() const { return untilNext_; }
  // True if the recording has ended by it; `verdict` says what came of it.
  bool pass(double seconds, const Motion& motion, bool moving);
  int verdict() const { return verdict_; }

  // Keeps the recorded path as `as`, or as `name` where that is empty. With nothing recorded the stored path
  // `name` gets the new name `as`.
  int save(const std::string& name, const std::string& as);
  int remove(const std::string& name);
  void removeAll() { paths_.clear(); }
  std::vector<std::string> names() const;
  std::shared_ptr<const RecordedPath> path(const std::string& name) const;  // null: no such path

  void boot();  // stored paths stay

 private:
  int judge(const ArmLimits& limits, bool moving) const;
  void end(const Motion& motion, bool moving);

  bool running_ = false;
  bool untold_ = false;  // it has ended by itself, and nobody was told of it
  int verdict_ = 0;
  double left_ = 0, untilNext_ = 0;
  RecordedPath recorded_;  // being recorded, or not saved yet
  std::map<std::string, std::shared_ptr<const RecordedPath>> paths_;
};

}  // namespace zivra::sim
