// How the simulated arm moves: kinematics, planning and execution over simulated time. Knows nothing of links
// or JSON keys.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zivra::sim {

using Joints = std::vector<double>;  // rad

// Pose as the controller's interface gives it: metres, and rotation about the fixed axes x, y, z in radians.
struct Pose {
  std::array<double, 3> trans{};
  std::array<double, 3> rot{};
};

struct ArmLimits {
  Joints lower, upper;  // rad
  Joints velocity;      // rad/s
  Joints acceleration;  // rad/s^2
};

// One row of the Denavit-Hartenberg parameters: a turn by theta about z and a shift by d along it, then a
// shift by a along x and a turn by alpha about it. An axis adds its angle to theta.
struct DhRow {
  double a = 0, alpha = 0, d = 0, theta = 0;  // m, rad
};

// The kinematic model of one arm. Immutable after construction: any thread may use it.
class Arm {
 public:
  // axes: 3, 4, 5, 6 or 7; throws std::invalid_argument otherwise.
  static std::shared_ptr<const Arm> make(std::size_t axes);
  virtual ~Arm() = default;

  virtual std::size_t axes() const = 0;
  virtual const ArmLimits& limits() const = 0;
  virtual Joints home() const = 0;                                // a comfortable, non-singular configuration
  virtual Pose flange(const Joints& joints) const = 0;            // flange in the robot's base
  virtual std::vector<int> conf(const Joints& joints) const = 0;  // axis configuration, 8 numbers
  // Joint angles for a flange pose near `seed`; with conf (not empty) the solution must have that
  // configuration. code: 0, or the controller's code of the failure (-50002 unreachable, -50101 joint limits,
  // -50021 conf unresolved, ...).
  struct Solution {
    int code = 0;
    Joints joints;
  };
  virtual Solution inverse(const Pose& flange, const Joints& seed, const std::vector<int>& conf) const = 0;
  // The angle by which 7 axes have their elbow turned out of the upright plane through shoulder and wrist,
  // about the line between the two; 0 for other arms.
  virtual double elbow(const Joints& joints) const = 0;
  // As above with the elbow at an angle; an arm without a choice ignores it.
  virtual Solution inverse(const Pose& flange, double elbow, const Joints& seed,
                           const std::vector<int>& conf) const = 0;
  // Every way to reach a flange pose, whole turns of axes within their limits included; empty: out of reach.
  // Where an axis is free to turn (a straight wrist) one angle stands for all.
  virtual std::vector<Joints> allSolutions(const Pose& flange, double elbow) const = 0;
  // A row for each joint from the base on. On arms of 3 and 4 axes the fourth joint is the rods': its angle
  // is minus those of axes 2 and 3, and axis 4 comes fifth.
  virtual const std::vector<DhRow>& dhParameters() const = 0;
  virtual std::vector<double> gravityTorques(const Joints& joints) const = 0;  // Nm, believable
};

enum class MoveKind { absJ, joint, line, circle, fullCircle, spiral, wait, replay };
enum class OffsetKind { none, offs, relTool };
enum class CircleRotation { constPose, rotAxis, fixedAxis };

struct Offset {
  OffsetKind kind = OffsetKind::none;
  Pose frame;
};

struct Target {
  Pose pose;  // of the tool in the work object (after nothing but the interface's own form)
  double elbow = 0;
  std::vector<int> conf;  // empty: nearest
  Offset offset;
};

// A way of the axes, seen at even intervals, from rest to rest.
struct RecordedPath {
  double interval = 0;  // s
  std::vector<Joints> points;
};

// One command of a batch, decoded from the wire, speeds in m/s and rad/s, zone in metres.
struct Move {
  MoveKind kind = MoveKind::line;
  std::string id;      // id of the batch as the client gave it
  std::string custom;  // the command's custom text
  int point = 0;       // index within the batch
  bool lastOfBatch = true;
  Joints joints;  // absJ
  Target target, aux;
  double angle = 0;             // full circle, spiral: rad
  double radius = 0, step = 0;  // spiral: m, m per turn
  bool direction = false;       // spiral
  CircleRotation rotation = CircleRotation::constPose;
  std::optional<double> speed, zone, jointSpeed,
      rotSpeed;  // nothing: the controller's default; jointSpeed is a fraction of the maximum
  double waitSeconds = 0;
  std::shared_ptr<const RecordedPath> path;  // replay; null: there is none of that name
  double rate = 1;                           // replay: of the recorded speed
};

// What a move's progress tells the client.
struct MoveNotice {
  std::string id, custom;
  int point = 0;
  bool finish = false;
  int error = 0;     // controller code; not 0: this and all queued moves are gone, and start() is needed anew
  int remark = 0;    // controller code told with the finish (for instance -50027), 0: none
  bool jog = false;  // no move: a jog ended before its step was done, and `error` says why
};

enum class JogSpace { world, flange, base, tool, workObject, joints };

// One axis (joints) or the tool, along or about an axis of the space as it lies now.
struct Jog {
  JogSpace space = JogSpace::joints;
  std::size_t axis = 0;  // from 0; of the tool: x, y, z, then the turns about x, y, z
  double step = 0;       // rad or m, signed
  double rate = 1;       // of the fastest jog, up to 1
  Pose world;            // in the base
};

// What planning says about a path that nobody runs.
struct PathVerdict {
  int code = 0;             // 0, or the controller's code of the first point that can't be reached
  std::size_t failing = 0;  // which point that is: 0 is the beginning, 1 the end of the first move
  Joints end;
};

struct MotionDefaults {
  double speed = 0.1;  // m/s
  double zone = 0.0;   // m
  bool forceConf = false;
  bool ignoreZone = true;
  double acceleration = 1.0, jerk = 1.0;  // fractions of the maximum
  // How singular places are passed; without any of them they end a move.
  bool lockAxis4 = false;     // the fourth axis rests at zero
  double wristTolerance = 0;  // rad: the orientation may differ by this; 0: it may not
  bool jointWay = false;      // straight in joint space instead of along the path
  // Of five axes: the orientation follows the whole path, where otherwise it does as well as it can.
  bool completePosture = false;
};

// The motion queue of the controller. Not thread-safe: the caller serialises all calls (one mutex of the
// world).
class Motion {
 public:
  explicit Motion(std::shared_ptr<const Arm> arm);
  ~Motion();
  Motion(Motion&&) noexcept;

  const Arm& arm() const;            // within the limits that are in force
  const Arm& mechanicalArm() const;  // within those of its mechanics
  // Limits of the axes from now on; nothing may be queued.
  void setAxisLimits(const Joints& lower, const Joints& upper);
  const Joints& joints() const;          // now
  Joints velocities() const;             // rad/s, now
  void setJoints(const Joints& joints);  // at once; clears the queue
  Pose toolInReference() const;          // the pose that the interface reports
  void setToolset(const Pose& tool, const Pose& reference);
  Pose toolInFlange() const;
  Pose referenceInBase() const;
  // Somebody else moves the arm; nothing may be queued.
  void yield(const Joints& joints, const Joints& velocities);

  MotionDefaults& defaults();

  // 0, or -18 where the queue is full, and then nothing is queued. Moves are judged when their turn comes:
  // what is wrong with one ends everything with its error notice, in the order of the moves.
  int append(std::vector<Move> batch);
  int start();                    // "move.continue": 0, or -1 with nothing to do
  void pause();                   // decelerates and stands; the queue is kept
  void stop();                    // decelerates, then the queue is gone; a jog leaves the queue alone
  void halt();                    // at once (emergency stop, power off); the queue is gone
  void reset();                   // drops the queue; the move under way decelerates
  int jog(const Jog& jog);        // 0 or why not; the queue waits meanwhile
  void failNext(int code);        // the next move that begins ends with this code
  void setOverride(double rate);  // 0..1, also while moving
  double overrideRate() const;
  bool moving() const;  // the arm is in motion (or in a wait)
  bool jogging() const;
  bool stopping() const;       // it decelerates and will go no farther
  bool started() const;        // "continue" is in force: appended moves run at once
  bool pending() const;        // something is queued or under way
  std::size_t queued() const;  // moves, without a jog

  // Plans from `begin` (solved near the joints `near`) along the moves, with the present settings.
  PathVerdict check(const Joints& near, const Target& begin, const std::vector<Move>& moves) const;

  // Lets `seconds` of simulated time pass; returns what happened meanwhile, in order.
  std::vector<MoveNotice> advance(double seconds);

 private:
  struct Core;
  std::unique_ptr<Core> core_;
};

// Composition and inverse of interface poses (fixed-axis x, y, z rotations).
Pose compose(const Pose& a, const Pose& b);
Pose inverse(const Pose& pose);

}  // namespace zivra::sim
