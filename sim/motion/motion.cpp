#include "motion/motion.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <stdexcept>
#include <utility>

#include "motion/geometry.h"
#include "motion/trajectory.h"

namespace zivra::sim {
namespace {

constexpr std::size_t maxQueued = 5000;
constexpr double rampTime = 0.2;    // s from full rate to standstill
constexpr double rampTick = 0.004;  // s of simulated time a step while the rate changes
constexpr double reversal = -0.98;  // cosine between two ways that no zone can join

struct Queued {
  Move move;
  MoveSettings settings;
  bool planned = false;
  PlannedMove plan;
  bool jog = false;
};

// A trajectory under way and how much of its time has passed.
struct Running {
  std::shared_ptr<const Trajectory> trajectory;
  double time = 0;
  bool over() const { return time >= trajectory->duration() - 1e-12; }
  double left() const { return std::max(trajectory->duration() - time, 0.0); }
};

}  // namespace

struct Motion::Core {
  explicit Core(std::shared_ptr<const ChainArm> model)
      : arm(std::move(model)), mechanical(arm), now(arm->home()) {
    velocities.assign(arm->axes(), 0.0);
  }

  std::shared_ptr<const ChainArm> arm, mechanical;
  MotionDefaults defaults;
  KDL::Frame tool, reference;
  Joints now, velocities;

  std::deque<Queued> queue;
  std::optional<Queued> active;
  Running running;                  // of the active move, unless that is a wait
  std::optional<Running> outgoing;  // the move before, in its zone: its rest is added to the active one
  bool zoneCancelled = false;       // the active move stops at its point although it has a zone
  double waitLeft = 0;
  bool started = false;
  bool dropping = false;  // the active move decelerates and is then forgotten
  bool underWay = false;  // a move has ended since the arm last stood idle
  double rate = 0;        // of the plan's time to simulated time, ramped
  double overrideRate = 1;
  int failure = 0;
  std::vector<MoveNotice> notices;

  bool waiting() const { return active && active->move.kind == MoveKind::wait; }
  bool jogging() const { return active && active->jog; }
  double wantedRate() const {
    if (dropping) return 0.0;
    return jogging() ? 1.0 : started ? overrideRate : 0.0;
  }

  void notify(const Move& move, bool finish, int error, int remark) {
    notices.push_back({move.id, move.custom, move.point, finish, error, remark, false});
  }

  void clear() {
    queue.clear();
    active.reset();
    outgoing.reset();
    dropping = underWay = false;
    rate = 0;
    std::fill(velocities.begin(), velocities.end(), 0.0);
  }

  void fail(const Move& move, int code) {
    notify(move, false, code, 0);
    clear();
    started = false;
  }

  JointVector endOfActive() const { return waiting() || !active ? toVector(now) : running.trajectory->end(); }

  void plan(Queued& next, bool firstMove) {
    if (next.planned) return;
    next.planned = true;
    if (next.move.kind == MoveKind::wait) {
      const double time = next.move.waitSeconds;
      next.plan.code = time >= 0 && std::isfinite(time) ? 0 : -50019;
    } else if (!arm->withinLimits(endOfActive())) {
      next.plan.code = -50101;  // the arm stands beyond limits that were set meanwhile
    } else {
      next.plan = planMove(*arm, next.move, next.settings, endOfActive(), firstMove);
    }
  }

  // The first of the queue becomes the active move, or ends everything with its error.
  void begin() {
    plan(queue.front(), !underWay);
    Queued next = std::move(queue.front());
    queue.pop_front();
    const int code = failure != 0 ? std::exchange(failure, 0) : next.plan.code;
    if (code != 0) {
      fail(next.move, code);
      return;
    }
    notify(next.move, false, 0, 0);
    if (!active) rate = wantedRate();
    running = {next.plan.trajectory, 0};
    zoneCancelled = false;
    waitLeft = next.move.waitSeconds;
    underWay = true;
    active = std::move(next);
  }

  // Whether the active move may pass into the next one without a stop.
  bool joinable() {
    if (queue.empty() || outgoing || failure != 0 || dropping || !started) return false;
    const MoveKind kind = queue.front().move.kind;
    if (kind == MoveKind::wait || kind == MoveKind::replay) return false;
    plan(queue.front(), false);
    const Queued& next = queue.front();
    if (next.plan.code != 0) return false;
    const double cosine = KDL::dot(running.trajectory->arrival(), next.plan.trajectory->departure());
    if (cosine < reversal && active->settings.defaults.ignoreZone) {
      zoneCancelled = true;
      return false;
    }
    return true;
  }

  void evaluate() {
    if (!active || waiting()) return;
    JointVector joints, speeds;
    running.trajectory->at(running.time, joints, speeds);
    if (outgoing) {
      JointVector others, otherSpeeds;
      outgoing->trajectory->at(outgoing->time, others, otherSpeeds);
      joints += others - outgoing->trajectory->end();
      speeds += otherSpeeds;
    }
    now = toJoints(joints);
    velocities = toJoints(speeds * rate);
  }

  // What is due at this very time: zone entries, ends, beginnings. False when there is nothing more.
  bool settle() {
    if (!active) {
      if (!started || queue.empty()) {
        underWay = false;
        return false;
      }
      begin();
      return true;
    }
    if (dropping && (rate <= 0 || waiting())) {
      evaluate();
      active.reset();
      outgoing.reset();
      dropping = underWay = false;
      std::fill(velocities.begin(), velocities.end(), 0.0);
      return true;
    }
    if (waiting()) {
      if (waitLeft > 1e-12) return false;
      notify(active->move, true, 0, 0);
      active.reset();
      return true;
    }
    if (outgoing && outgoing->over()) outgoing.reset();
    const bool inZone = running.time >= running.trajectory->zoneEntry() - 1e-12;
    const bool wantsZone = running.trajectory->zoneEntry() < running.trajectory->duration();
    if (inZone && wantsZone && !running.over() && joinable()) {
      notify(active->move, true, 0, running.trajectory->shorterThanZone() ? -50027 : 0);
      outgoing = running;
      begin();
      return true;
    }
    if (!running.over() || outgoing) return false;
    running.time = running.trajectory->duration();
    evaluate();
    std::fill(velocities.begin(), velocities.end(), 0.0);
    if (jogging() && active->plan.endCode != 0)
      notices.push_back({{}, {}, 0, false, active->plan.endCode, 0, true});
    if (dropping || jogging()) {
      dropping = underWay = false;
    } else {
      const int remark = running.trajectory->shorterThanZone() ? -50027 : 0;
      notify(active->move, true, 0, zoneCancelled ? -50000 : remark);
    }
    active.reset();
    return true;
  }

  // Time on the plan until something is due.
  double room() const {
    double result = running.left();
    if (running.time < running.trajectory->zoneEntry()) {
      result = std::min(result, running.trajectory->zoneEntry() - running.time);
    }
    if (outgoing) result = result > 0 ? std::min(result, outgoing->left()) : outgoing->left();
    return std::max(result, 1e-12);
  }

  // Lets the motion go on for at most `seconds`; gives how long it did, 0 if nothing moves.
  double proceed(double seconds) {
    if (waiting()) {
      if (!started) return 0;
      const double step = std::min(seconds, waitLeft);
      waitLeft -= step;
      return step;
    }
    const double wanted = wantedRate();
    if (rate == wanted) {
      if (rate <= 0) return 0;
      const double step = std::min(seconds, room() / rate);
      pass(step * rate);
      return step;
    }
    const double change = (wanted > rate ? 1 : -1) / rampTime;
    double step = std::min({seconds, rampTick, (wanted - rate) / change});
    const double before = rate;
    const double planned = step * (before + change * step / 2);
    if (planned > room()) step = std::max(step * room() / planned, 1e-9);
    const double left = wanted - before - change * step;
    rate = std::abs(left) < 1e-12 ? wanted : before + change * step;
    pass(std::min(step * (before + rate) / 2, room()));
    return step;
  }

  void pass(double planTime) {
    running.time = std::min(running.time + planTime, running.trajectory->duration());
    if (outgoing) outgoing->time += planTime;
  }

  void drop() {
    queue.clear();
    started = false;
    if (active) dropping = true;
    settle();
  }
};

Motion::Motion(std::shared_ptr<const Arm> arm) {
  auto model = std::dynamic_pointer_cast<const ChainArm>(std::move(arm));
  if (!model) throw std::invalid_argument("Motion needs an arm that Arm::make has made");
  core_ = std::make_unique<Core>(std::move(model));
}
Motion::~Motion() = default;
Motion::Motion(Motion&&) noexcept = default;

const Arm& Motion::arm() const { return *core_->arm; }
const Arm& Motion::mechanicalArm() const { return *core_->mechanical; }
void Motion::setAxisLimits(const Joints& lower, const Joints& upper) {
  core_->arm = core_->mechanical->withLimits(lower, upper);
}
const Joints& Motion::joints() const { return core_->now; }
Joints Motion::velocities() const { return core_->velocities; }

void Motion::setJoints(const Joints& joints) {
  const bool finite =
      std::all_of(joints.begin(), joints.end(), [](double angle) { return std::isfinite(angle); });
  if (joints.size() != core_->arm->axes() || !finite) {
    throw std::invalid_argument("setJoints needs " + std::to_string(core_->arm->axes()) +
                                " finite angles, got " + std::to_string(joints.size()));
  }
  core_->clear();
  core_->now = joints;
}

Pose Motion::toolInReference() const {
  const Core& core = *core_;
  return toPose(core.reference.Inverse() * core.arm->forward(toVector(core.now)) * core.tool);
}

void Motion::setToolset(const Pose& tool, const Pose& reference) {
  core_->tool = toFrame(tool);
  core_->reference = toFrame(reference);
}

Pose Motion::toolInFlange() const { return toPose(core_->tool); }
Pose Motion::referenceInBase() const { return toPose(core_->reference); }

void Motion::yield(const Joints& joints, const Joints& velocities) {
  core_->now = joints;
  core_->velocities = velocities;
}

MotionDefaults& Motion::defaults() { return core_->defaults; }

int Motion::append(std::vector<Move> batch) {
  Core& core = *core_;
  if (core.queue.size() + batch.size() > maxQueued) return -18;
  for (Move& move : batch) {
    core.queue.push_back({std::move(move), {core.defaults, core.tool, core.reference}, false, {}});
  }
  return 0;
}

int Motion::start() {
  Core& core = *core_;
  if (core.jogging()) return -20;
  if (core.queue.empty() && (!core.active || core.dropping)) return -1;
  core.started = true;
  return 0;
}

int Motion::jog(const Jog& jog) {
  Core& core = *core_;
  if (moving()) return -20;
  if (core.active) return -18;  // it stands in the middle of a move
  if (!core.arm->withinLimits(toVector(core.now))) return -50101;
  const MoveSettings settings{core.defaults, core.tool, core.reference};
  PlannedMove plan = planJog(*core.arm, jog, settings, toFrame(jog.world), toVector(core.now));
  if (plan.code != 0) return plan.code;
  for (Queued& next : core.queue) next.planned = false;  // from where the jog ends
  core.started = false;
  core.running = {plan.trajectory, 0};
  core.active = Queued{{}, settings, true, std::move(plan), true};
  core.rate = 1;
  return 0;
}

void Motion::pause() { core_->started = false; }
void Motion::stop() {
  if (core_->jogging()) {
    core_->dropping = true;
  } else {
    core_->drop();
  }
}
void Motion::reset() { core_->drop(); }

void Motion::halt() {
  core_->evaluate();
  core_->clear();
  core_->started = false;
}

void Motion::failNext(int code) { core_->failure = code; }

void Motion::setOverride(double rate) {
  if (!std::isnan(rate)) core_->overrideRate = std::clamp(rate, 0.0, 1.0);
}
double Motion::overrideRate() const { return core_->overrideRate; }

bool Motion::jogging() const { return core_->jogging(); }
bool Motion::stopping() const { return core_->dropping; }
bool Motion::moving() const {
  const Core& core = *core_;
  if (core.jogging()) return true;
  if (!core.active) return core.started && !core.queue.empty();
  return core.started || (core.rate > 0 && !core.waiting());
}
bool Motion::started() const { return core_->started; }
bool Motion::pending() const { return !core_->queue.empty() || (core_->active && !core_->dropping); }
std::size_t Motion::queued() const {
  return core_->queue.size() + (core_->active && !core_->dropping && !core_->jogging() ? 1 : 0);
}

PathVerdict Motion::check(const Joints& near, const Target& begin, const std::vector<Move>& moves) const {
  const Core& core = *core_;
  if (near.size() != core.arm->axes()) return {-50512, 0, {}};
  if (!isFinite(begin.pose)) return {-50112, 0, {}};
  const MoveSettings settings{core.defaults, core.tool, core.reference};
  const KDL::Frame flange = core.reference * toFrame(begin.pose) * core.tool.Inverse();
  const Arm::Solution start = core.arm->inverse(flange, toVector(near), {});
  if (start.code != 0) return {start.code, 0, {}};
  JointVector joints = toVector(start.joints);
  for (std::size_t i = 0; i < moves.size(); ++i) {
    const PlannedMove plan = planMove(*core.arm, moves[i], settings, joints, i == 0);
    if (plan.code != 0) return {plan.code, i + 1, {}};
    joints = plan.trajectory->end();
  }
  return {0, 0, toJoints(joints)};
}

std::vector<MoveNotice> Motion::advance(double seconds) {
  Core& core = *core_;
  double left = std::isfinite(seconds) ? std::max(seconds, 0.0) : 0.0;
  do {
    while (core.settle()) {
    }
    if (!core.active || left <= 0) break;
    const double step = core.proceed(left);
    if (step <= 0) break;
    left -= step;
  } while (true);
  core.evaluate();
  if (!core.active || core.waiting()) std::fill(core.velocities.begin(), core.velocities.end(), 0.0);
  return std::exchange(core.notices, {});
}

}  // namespace zivra::sim
