// The controller's force control module: its states, what it refuses when, and what goes on while it runs.
// Knows nothing of requests. Numbers for the six directions are force or shift along x, y, z, then torque or
// turn about them, in the axes of the frame that the run was prepared in.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "motion/motion.h"

namespace zivra::sim {

class World;
struct Placement;

using Six = std::array<double, 6>;

// Outside of the robot, in the world.
struct Surroundings {
  struct Surface {
    std::array<double, 3> point{}, normal{};  // unit normal, out of the material
    double stiffness = 0;                     // N/m
  };
  std::optional<Surface> surface;
  Six push{};  // on the tool, at its tip
};

// What protects a run. The first four end it while they are supervised, the others hold it within them.
struct ForceLimits {
  using Numbers = std::vector<double>;
  Numbers toolVelocity, axisVelocity, momentum, energy;
  Numbers controlWrench, controlToolVelocity, controlTorque, controlAxisVelocity;
  Numbers gain, friction;  // how readily the axes follow

  static constexpr double mostGain = 60;  // the axes follow as fast as they can

  static ForceLimits usual(const ArmLimits& arm);
};

struct ForceCondition {
  std::array<double, 6> bounds{};  // lower and upper along x, y, z
  bool inside = false;
  double timeout = 0;  // s
  Pose frame;          // of a box
};

class ForceControl {
 public:
  enum class Frame { world, base, flange, tool, workObject, path };
  enum class Type { joint, cartesian };
  struct Load {
    double mass = 0;
    std::array<double, 3> centre{};
  };
  struct Sine {
    std::size_t axis = 0;
    double amplitude = 0, frequency = 0, phase = 0, bias = 0;
  };
  struct Lissajous {
    std::size_t plane = 0;  // 0 xy, 1 xz, 2 yz
    double amplitudeOne = 0, frequencyOne = 0, amplitudeTwo = 0, frequencyTwo = 0, phase = 0;
  };
  // What a measurement at the end of the arm tells.
  struct Torques {
    Joints measured, outside;
    Six cartesian{};
  };

  Surroundings surroundings;

  // All of these give 0 or the code of the refusal.
  int init(const World& w, Frame frame);
  int start(const World& w);
  int stop(World& w);
  int setType(Type type);
  int setLoad(const Load& load);
  int setCartesianStiffness(const Six& stiffness);
  int setNullspaceStiffness(double stiffness);
  int setDesiredForce(const Six& wrench);
  int setJointStiffness(const Joints& stiffness);
  int setDesiredTorque(const Joints& torque);
  int setOverlay(const Sine& sine);
  int setOverlay(const Lissajous& lissajous);
  int startOverlay();
  int stopOverlay();
  int pauseOverlay();
  int restartOverlay();
  enum class Measure { force, torque, place };
  int setCondition(Measure measure, const ForceCondition& condition);
  int beginWait(std::uint64_t ticket);     // is answered once the wait ends
  void abandonWait(std::uint64_t ticket);  // nobody listens any more
  int supervise(bool on);
  int setLimit(ForceLimits::Numbers ForceLimits::*limit, ForceLimits::Numbers values);

  bool running() const { return state_ == State::running; }
  Torques torques(const World& w, Frame frame) const;

  void advance(World& w, double seconds);
  // Power or motion is gone, and so is the run; a wait is answered with the code.
  void abort(World& w, int code);
  void clearFault() { failed_ = false; }
  void boot(const ArmLimits& arm);  // forgets all but the surroundings

 private:
  enum class State { idle, ready, running, stopped };
  enum class OverlayState { none, going, paused };

  int jointRefusal() const;
  int cartesianRefusal(int code) const;
  int overlayRefusal(int code) const;
  static Pose axesOf(const World& w, const Placement& placement, Frame frame);  // only how they are turned
  Six overlayWrench() const;
  void step(World& w, double seconds);
  bool exceeds(const Placement& placement, const Joints& rates) const;
  void fail(World& w);
  bool met(const World& w, Measure measure, const ForceCondition& condition) const;
  void watchConditions(World& w, double seconds);
  void endRun(World& w, State state, int code);
  void endWait(World& w, int code);

  State state_ = State::idle;
  bool failed_ = false;       // after a protection limit, until the alarm is cleared
  bool limitsReset_ = false;  // that they are the usual ones again hasn't been told yet
  bool supervised_ = false;
  Frame frame_ = Frame::world;
  Type type_ = Type::cartesian;
  Load load_;
  Pose rest_, axes_;  // where the springs have no tension, and the axes that are meant
  Six stiffness_{}, desired_{};
  Joints jointRest_, jointStiffness_, jointDesired_;
  std::optional<Sine> sine_;
  std::optional<Lissajous> lissajous_;
  OverlayState overlay_ = OverlayState::none;
  double overlayTime_ = 0;
  std::array<std::optional<ForceCondition>, 3> conditions_;  // by measure
  std::uint64_t wait_ = 0;                                   // 0: nobody waits
  double waited_ = 0;
  ForceLimits limits_;
};

}  // namespace zivra::sim
