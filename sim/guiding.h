// Guiding by hand: a scripted hand leads the arm, which follows as far as it is free to. Knows nothing of
// requests.
#pragma once

#include <optional>
#include <vector>

#include "motion/motion.h"
#include "recorder.h"

namespace zivra::sim {

class World;

class Guiding {
 public:
  enum class Freedom { translation, rotation, all };

  Recorder recorder;

  bool on() const { return on_; }
  void begin(Freedom freedom);
  void end(int code);  // a recording is lost with the code
  void boot();

  // The hand takes the arm through the points, each reached and left at rest, in `seconds` altogether. Nobody
  // can move an arm that isn't guided.
  void lead(std::vector<Joints> points, double seconds, const Motion& motion);
  bool moving() const { return hand_.has_value(); }

  bool busy() const { return moving() || recorder.running(); }
  void advance(World& w, double seconds);

 private:
  struct Hand {
    std::vector<Joints> points;  // the first is where it took the arm
    double seconds = 0;          // from one to the next
    double time = 0;
    Joints wish() const;
    double left() const { return seconds * static_cast<double>(points.size() - 1) - time; }
  };
  Joints follow(const Motion& motion, const Joints& wish) const;
  void moveHand(Motion& motion, double seconds);

  bool on_ = false;
  Freedom freedom_ = Freedom::all;
  Pose held_;  // the tool in the base, where the hand took it
  std::optional<Hand> hand_;
};

}  // namespace zivra::sim
