// Kinematics, planning and execution of the simulated arm.
#include "motion/motion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace zivra::sim {
namespace {

constexpr double pi = 3.14159265358979323846;
const Pose toolDown{{0.45, 0.0, 0.45}, {pi, 0, pi}};

double distance(const Pose& a, const Pose& b) {
  return std::hypot(a.trans[0] - b.trans[0], a.trans[1] - b.trans[1], a.trans[2] - b.trans[2]);
}

// Angle between two orientations, from the relative pose.
double turn(const Pose& a, const Pose& b) {
  const Pose between = compose(inverse(a), b);
  const double halfX = between.rot[0] / 2, halfY = between.rot[1] / 2, halfZ = between.rot[2] / 2;
  const double w = std::cos(halfX) * std::cos(halfY) * std::cos(halfZ) +
                   std::sin(halfX) * std::sin(halfY) * std::sin(halfZ);
  const double x = std::sin(halfX) * std::cos(halfY) * std::cos(halfZ) -
                   std::cos(halfX) * std::sin(halfY) * std::sin(halfZ);
  const double y = std::cos(halfX) * std::sin(halfY) * std::cos(halfZ) +
                   std::sin(halfX) * std::cos(halfY) * std::sin(halfZ);
  const double z = std::cos(halfX) * std::cos(halfY) * std::sin(halfZ) -
                   std::sin(halfX) * std::sin(halfY) * std::cos(halfZ);
  return 2 * std::atan2(std::hypot(x, y, z), std::abs(w));
}

Pose shifted(Pose pose, double x, double y, double z) {
  pose.trans[0] += x;
  pose.trans[1] += y;
  pose.trans[2] += z;
  return pose;
}

Move moveTo(MoveKind kind, const Pose& pose, std::optional<double> speed = 0.3, double zone = 0) {
  Move move;
  move.kind = kind;
  move.target.pose = pose;
  move.speed = speed;
  move.zone = zone;
  return move;
}

Move arc(const Pose& aux, const Pose& target) {
  Move move = moveTo(MoveKind::circle, target);
  move.aux.pose = aux;
  return move;
}

Move fullCircle(const Pose& aux, const Pose& target, double angle,
                CircleRotation rotation = CircleRotation::constPose) {
  Move move = arc(aux, target);
  move.kind = MoveKind::fullCircle;
  move.angle = angle;
  move.rotation = rotation;
  return move;
}

Move spiral(const Pose& target, double radius, double step, double angle, bool positive = true) {
  Move move = moveTo(MoveKind::spiral, target);
  move.radius = radius;
  move.step = step;
  move.angle = angle;
  move.direction = positive;
  return move;
}

Move jointMove(const Joints& joints, std::optional<double> jointSpeed = 1.0, double zone = 0) {
  Move move;
  move.kind = MoveKind::absJ;
  move.joints = joints;
  move.jointSpeed = jointSpeed;
  move.zone = zone;
  return move;
}

Move waitFor(double seconds) {
  Move move;
  move.kind = MoveKind::wait;
  move.waitSeconds = seconds;
  return move;
}

struct Outcome {
  double time = 0;
  std::vector<MoveNotice> ends;    // finishes and errors
  std::vector<double> finishTime;  // of each of them
  double largestJump = 0;          // of a joint velocity between two ticks, rad/s
};

constexpr double tick = 0.002;

// Lets time pass until nothing is under way; `watch` is called after each tick.
Outcome run(Motion& motion, const std::function<void(double)>& watch = {}) {
  Outcome result;
  Joints velocities = motion.velocities(), joints = motion.joints();
  while (motion.pending() && result.time < 300) {
    for (MoveNotice& notice : motion.advance(tick)) {
      if (!notice.finish && notice.error == 0) continue;
      result.ends.push_back(std::move(notice));
      result.finishTime.push_back(result.time + tick);
    }
    result.time += tick;
    const Joints now = motion.velocities();
    for (std::size_t i = 0; i < now.size(); ++i) {
      result.largestJump = std::max(result.largestJump, std::abs(now[i] - velocities[i]));
      const double moved = (motion.joints()[i] - joints[i]) / tick;  // positions and velocities tell the same
      EXPECT_NEAR(moved, (now[i] + velocities[i]) / 2, 0.15) << "axis " << i << " at " << result.time;
    }
    velocities = now;
    joints = motion.joints();
    if (watch) watch(result.time);
  }
  EXPECT_FALSE(motion.pending());
  return result;
}

int runToCode(Motion& motion, std::vector<Move> moves) {
  EXPECT_EQ(motion.append(std::move(moves)), 0);
  EXPECT_EQ(motion.start(), 0);
  const Outcome result = run(motion);
  return result.ends.empty() ? 1 : result.ends.back().error;
}

Motion sixAxes() { return Motion(Arm::make(6)); }

class EveryArm : public testing::TestWithParam<std::size_t> {
 protected:
  std::shared_ptr<const Arm> arm = Arm::make(GetParam());
  Motion motion{arm};

  Joints anyJoints(std::mt19937& random) const {
    Joints joints;
    for (std::size_t i = 0; i < arm->axes(); ++i) {
      joints.push_back(
          std::uniform_real_distribution(arm->limits().lower[i], arm->limits().upper[i])(random));
    }
    return joints;
  }
};
INSTANTIATE_TEST_SUITE_P(Axes, EveryArm, testing::Values(3, 4, 5, 6, 7));

TEST_P(EveryArm, FindsJointsForEveryPoseThatItCanHave) {
  std::mt19937 random(7);
  for (int i = 0; i < 60; ++i) {
    const Joints joints = anyJoints(random);
    const Pose pose = arm->flange(joints);
    Joints near = joints;
    for (double& angle : near) angle += 0.02;
    struct Case {
      const char* name;
      Joints seed;
      std::vector<int> conf;
    };
    const std::array<Case, 3> cases{
        {{"near", near, {}}, {"home", arm->home(), {}}, {"conf", arm->home(), arm->conf(joints)}}};
    for (const Case& test : cases) {
      const Arm::Solution found = arm->inverse(pose, test.seed, test.conf);
      ASSERT_EQ(found.code, 0) << test.name << " " << i;
      EXPECT_LT(distance(arm->flange(found.joints), pose), 1e-8) << test.name << " " << i;
      EXPECT_LT(turn(arm->flange(found.joints), pose), 1e-7) << test.name << " " << i;
      EXPECT_EQ(found.joints, arm->inverse(pose, test.seed, test.conf).joints) << "not repeatable";
      for (std::size_t axis = 0; axis < arm->axes(); ++axis) {
        EXPECT_LE(found.joints[axis], arm->limits().upper[axis] + 1e-8);
        EXPECT_GE(found.joints[axis], arm->limits().lower[axis] - 1e-8);
        if (!test.conf.empty()) {
          EXPECT_NEAR(found.joints[axis], joints[axis], pi / 2 + 1e-5);
        }
      }
    }
    ASSERT_EQ(arm->conf(joints).size(), 8U);
  }
}

TEST_P(EveryArm, FollowsLinesAndEndsAtTheTarget) {
  const Pose start = motion.toolInReference();
  Joints end = motion.joints();  // a pose that this arm can have
  end[0] += 0.35;
  end[2] -= 0.3;
  const Pose target = arm->flange(end);
  ASSERT_EQ(motion.append({moveTo(MoveKind::line, target)}), 0);
  ASSERT_EQ(motion.start(), 0);
  const double length = distance(start, target);
  const Outcome result = run(motion, [&](double) {
    const Pose now = motion.toolInReference();
    EXPECT_NEAR(distance(start, now) + distance(now, target), length, 1e-7);
  });
  ASSERT_EQ(result.ends.size(), 1U);
  EXPECT_EQ(result.ends[0].error, 0);
  EXPECT_TRUE(result.ends[0].finish);
  EXPECT_LT(distance(motion.toolInReference(), target), 1e-6);
  EXPECT_LT(turn(motion.toolInReference(), target), 1e-6);
  EXPECT_GT(result.time, length / 0.3);
  EXPECT_LT(result.time, length / 0.3 + 0.5);
}

TEST_P(EveryArm, StaysOnACircleWhoseOrientationsItMayNotHave) {
  const Pose start = motion.toolInReference();
  const Pose centre = shifted(start, -0.05, 0, 0.0125),
             across = shifted(start, -0.1, 0, 0.025);  // leans by 0.25
  const double radius = distance(start, centre);
  const Pose aux = shifted(centre, 0, radius, 0);
  ASSERT_EQ(motion.append({fullCircle(aux, across, 4, CircleRotation::fixedAxis)}), 0);
  ASSERT_EQ(motion.start(), 0);
  const Outcome result =
      run(motion, [&](double) { EXPECT_NEAR(distance(motion.toolInReference(), centre), radius, 1e-6); });
  EXPECT_LT(result.largestJump, 0.1);
  ASSERT_EQ(result.ends.size(), 1U);
  EXPECT_EQ(result.ends[0].error, arm->axes() == 3 ? -50002 : 0);  // can't turn at all
}

TEST_P(EveryArm, RefusesWhatItCannotReach) {
  EXPECT_EQ(arm->inverse(Pose{{2, 0, 0.3}, {pi, 0, pi}}, arm->home(), {}).code, -50002);
  EXPECT_EQ(arm->inverse(Pose{{NAN, 0, 0.3}, {pi, 0, pi}}, arm->home(), {}).code, -50112);
  EXPECT_EQ(arm->inverse(toolDown, Joints(2), {}).code, -50512);
  const Pose sideways{{0.4, 0.1, 0.5}, {pi / 2, 0, 0.3}};
  EXPECT_EQ(arm->inverse(sideways, arm->home(), {}).code, arm->axes() >= 6   ? 0
                                                          : arm->axes() == 5 ? -50034
                                                                             : -50002);
  Joints beyond = arm->home();
  beyond[0] = arm->limits().upper[0] + 0.1;
  EXPECT_EQ(runToCode(motion, {jointMove(beyond)}), -50101);
  const std::vector<double> torques = arm->gravityTorques(arm->home());
  ASSERT_EQ(torques.size(), arm->axes());
  EXPECT_NEAR(torques[0], 0, 1e-9);      // an upright axis carries nothing
  EXPECT_GT(std::abs(torques[1]), 5.0);  // the shoulder does
}

TEST(Arm, KeepsToTheGivenConfiguration) {
  const auto arm = Arm::make(6);
  const Joints joints{0.3, 0.4, 1.2, 0.5, 0.8, 0.2};
  const Pose pose = arm->flange(joints);
  Joints flipped = joints;
  flipped[3] -= pi;
  flipped[4] = -flipped[4];
  flipped[5] -= pi;
  ASSERT_LT(turn(arm->flange(flipped), pose), 1e-9);
  const Arm::Solution found = arm->inverse(pose, joints, arm->conf(flipped));
  ASSERT_EQ(found.code, 0);
  for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(found.joints[i], flipped[i], 1e-7);
  EXPECT_EQ(arm->inverse(pose, joints, {2, 0, 0, 1, 0, 0, 0, 0}).code, -50021);
  EXPECT_EQ(arm->inverse(pose, joints, {2000000000, -2000000000}).code, -50021);
  EXPECT_THROW(Arm::make(2), std::invalid_argument);
}

TEST(Path, CirclesAndSpiralsKeepTheirShape) {
  const Pose start = toolDown;
  const Pose aux = shifted(start, 0.05, 0.05, 0), across = shifted(start, 0.1, 0, 0);
  const Pose centre = shifted(start, 0.05, 0, 0);
  Pose turnedEnd = across;
  turnedEnd.rot[2] += 0.6;
  struct Case {
    const char* name;
    Move move;
    Pose end;
    double low, high;  // distance from `from`
    Pose from;
    double duration;  // s, about
  };
  const double spiralEnd = 0.02 + 0.01 * 2;
  Pose spiralCentre = compose(start, Pose{{-0.02, 0, 0}, {}});
  const std::vector<Case> cases{
      {"arc", arc(aux, turnedEnd), turnedEnd, 0.05, 0.05, centre, pi * 0.05 / 0.3},
      {"arc the long way", arc(shifted(start, 0.1, 0, 0), aux), aux, 0.05, 0.05, centre,
       1.5 * pi * 0.05 / 0.3},
      {"full circle", fullCircle(aux, across, 2 * pi), start, 0.05, 0.05, centre, 2 * pi * 0.05 / 0.3},
      {"backwards", fullCircle(aux, across, -pi / 2), shifted(start, 0.05, -0.05, 0), 0.05, 0.05, centre,
       pi / 2 * 0.05 / 0.3},
      {"about the tool", fullCircle(aux, across, pi, CircleRotation::rotAxis),
       compose(across, Pose{{}, {0, 0, pi}}), 0.05, 0.05, centre, pi / 1.5},
      {"spiral", spiral(start, 0.02, 0.01, 4 * pi), compose(spiralCentre, Pose{{spiralEnd, 0, 0}, {}}), 0.02,
       spiralEnd, spiralCentre, 4 * pi * 0.03 / 0.3},
      {"spiral, quarter", spiral(start, 0.02, 0, pi / 2), compose(spiralCentre, Pose{{0, 0.02, 0}, {}}), 0.02,
       0.02, spiralCentre, pi / 2 * 0.02 / 0.3},
      {"spiral, other sense", spiral(start, 0.02, 0, pi / 2, false),
       compose(spiralCentre, Pose{{0, -0.02, 0}, {}}), 0.02, 0.02, spiralCentre, pi / 2 * 0.02 / 0.3},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    Motion motion = sixAxes();
    ASSERT_EQ(runToCode(motion, {moveTo(MoveKind::joint, start, 1.0)}), 0);
    ASSERT_EQ(motion.append({test.move}), 0);
    ASSERT_EQ(motion.start(), 0);
    const Outcome result = run(motion, [&](double) {
      const Pose now = motion.toolInReference();
      EXPECT_GE(distance(now, test.from), test.low - 1e-6);
      EXPECT_LE(distance(now, test.from), test.high + 1e-6);
      EXPECT_NEAR(now.trans[2], start.trans[2], 1e-6);
    });
    ASSERT_EQ(result.ends.size(), 1U);
    EXPECT_EQ(result.ends[0].error, 0);
    EXPECT_LT(distance(motion.toolInReference(), test.end), 1e-6);
    EXPECT_LT(turn(motion.toolInReference(), test.end), 1e-6);
    EXPECT_GT(result.time, test.duration * 0.99);
    EXPECT_LT(result.time, test.duration + 0.4);
  }
}

TEST(Path, TargetsAreOfTheToolInTheWorkObjectWithTheirOffsets) {
  const Pose tool{{0.02, -0.01, 0.12}, {0.1, 0.2, 0.3}}, workObject{{0.3, 0.1, 0.05}, {0, 0, 0.5}};
  const Pose target{{0.2, -0.1, 0.3}, {pi, 0.1, pi}};
  const Pose shift{{0.01, 0.02, -0.03}, {0, 0, 0.2}};
  Pose offs = compose(Pose{{}, shift.rot}, Pose{{}, target.rot});
  offs.trans = {target.trans[0] + 0.01, target.trans[1] + 0.02, target.trans[2] - 0.03};
  const std::array<std::pair<OffsetKind, Pose>, 3> cases{
      {{OffsetKind::none, target}, {OffsetKind::offs, offs}, {OffsetKind::relTool, compose(target, shift)}}};
  for (const MoveKind kind : {MoveKind::joint, MoveKind::line}) {
    for (const auto& [offset, expected] : cases) {
      Motion motion = sixAxes();
      motion.setToolset(tool, workObject);
      Move move = moveTo(kind, target);
      move.target.offset = {offset, shift};
      ASSERT_EQ(runToCode(motion, {move}), 0);
      EXPECT_LT(distance(motion.toolInReference(), expected), 1e-6);
      EXPECT_LT(turn(motion.toolInReference(), expected), 1e-6);
      const Pose flange = motion.arm().flange(motion.joints());
      EXPECT_LT(distance(compose(workObject, motion.toolInReference()), compose(flange, tool)), 1e-12);
    }
  }
}

TEST(Refusals, HaveTheControllersCodes) {
  const Pose at = toolDown;
  const Pose near = shifted(at, 0.00005, 0, 0), side = shifted(at, 0.05, 0.05, 0),
             across = shifted(at, 0.1, 0, 0);
  Move badSpeed = moveTo(MoveKind::line, across), badAxes = jointMove(Joints(5)), badPose = badSpeed;
  badSpeed.speed = -0.002;
  badPose.target.pose.rot[1] = INFINITY;
  Move badZone = moveTo(MoveKind::line, across);
  badZone.zone = -0.002;
  Move fast = jointMove(Joints(6), 1.5);
  Move replay;
  replay.kind = MoveKind::replay;
  const std::vector<std::pair<Move, int>> cases{
      {moveTo(MoveKind::line, at), -50518},
      {moveTo(MoveKind::line, shifted(at, 1.5, 0, 0)), -50002},
      {moveTo(MoveKind::joint, shifted(at, 1.5, 0, 0)), -50002},
      {moveTo(MoveKind::line, Pose{{-0.5, 0.02, 0.45}, {pi, 0, 0}}), -50101},  // folds over the column
      {arc(side, near), -50004},
      {arc(near, across), -50005},
      {arc(shifted(across, 0, 0, 0.00005), across), -50006},
      {arc(near, at), -50007},
      {arc(shifted(at, 0.05, 0, 0), across), -50008},
      {arc(shifted(at, 0.0003, 0.0003, 0), shifted(at, 0.0006, 0, 0)), -50009},
      {fullCircle(side, across, 0), -50010},
      {fullCircle(side, across, 1e12), -50010},
      {fullCircle(side, across, NAN), -50010},
      {spiral(at, -0.1, 0.01, 6), -50010},
      {spiral(at, 0.01, -0.01, 12), -50010},
      {spiral(at, 0, 0.00001, 6), -50009},
      {spiral(at, 0.01, 1e6, 12), -50010},
      {badAxes, -50512},
      {badSpeed, -50513},
      {fast, -50513},
      {badPose, -50112},
      {badZone, -50019},
      {waitFor(-1), -50019},
      {replay, -60511},
  };
  Motion motion = sixAxes();
  const Arm::Solution joints = motion.arm().inverse(at, motion.joints(), {});
  ASSERT_EQ(joints.code, 0);
  for (std::size_t i = 0; i < cases.size(); ++i) {
    motion.setJoints(joints.joints);
    EXPECT_EQ(runToCode(motion, {cases[i].first, waitFor(1)}), cases[i].second) << "case " << i;
    EXPECT_EQ(motion.queued(), 0U);
    EXPECT_FALSE(motion.started());
    EXPECT_LT(distance(motion.toolInReference(), at), 1e-9) << "moved in case " << i;
  }
  EXPECT_EQ(runToCode(motion, {moveTo(MoveKind::line, across), moveTo(MoveKind::line, across)}), -50003);
  motion.setJoints(
      {0, 0.15, 1.6, 0.3, 0.001, 0});  // the wrist stretched: a line would have to turn it at once
  EXPECT_EQ(runToCode(motion, {moveTo(MoveKind::line, at)}), -50102);
  EXPECT_EQ(runToCode(motion, {moveTo(MoveKind::joint, at)}), 0);
  motion.failNext(-50401);
  EXPECT_EQ(runToCode(motion, {moveTo(MoveKind::line, across)}), -50401);
  EXPECT_EQ(runToCode(motion, {moveTo(MoveKind::line, across)}), 0);
  EXPECT_EQ(motion.append(std::vector<Move>(5001, waitFor(0))), -18);
  EXPECT_EQ(motion.queued(), 0U);
}

TEST(Refusals, ForcedConfigurationsBind) {
  Motion motion = sixAxes();
  const Pose near = shifted(motion.toolInReference(), 0.05, 0.05, 0);
  for (const auto& [kind, forced] : {std::pair{MoveKind::joint, -50021}, std::pair{MoveKind::line, -50103}}) {
    Move move = moveTo(kind, near);
    move.target.conf = {1, 1, 1, 1, 1, 1, 0, 0};
    motion.setJoints(motion.arm().home());
    motion.defaults().forceConf = true;
    EXPECT_EQ(runToCode(motion, {move}), forced);
    motion.defaults().forceConf = false;
    EXPECT_EQ(runToCode(motion, {move}), 0);
    move.target.conf = motion.arm().conf(motion.joints());
    motion.setJoints(motion.arm().home());
    motion.defaults().forceConf = true;
    EXPECT_EQ(runToCode(motion, {move}), 0);
  }
}

TEST(Execution, SpeedsAndSettingsChangeTheDuration) {
  const auto duration = [](const std::function<void(Motion&, Move&)>& change) {
    Motion motion = sixAxes();
    Move move = moveTo(MoveKind::line, shifted(motion.toolInReference(), 0, 0.3, 0), std::nullopt);
    change(motion, move);
    EXPECT_EQ(motion.append({move}), 0);
    EXPECT_EQ(motion.start(), 0);
    return run(motion).time;
  };
  const double plain = duration([](Motion&, Move&) {});
  EXPECT_NEAR(plain, 3.0, 0.2);
  EXPECT_NEAR(duration([](Motion& m, Move&) { m.defaults().speed = 0.2; }), 1.5, 0.2);
  EXPECT_NEAR(duration([](Motion&, Move& move) { move.speed = 0.05; }), 6.0, 0.2);
  EXPECT_NEAR(duration([](Motion& m, Move&) { m.setOverride(0.5); }), 2 * plain, 0.2);
  EXPECT_GT(duration([](Motion& m, Move&) { m.defaults().acceleration = 0.05; }), plain + 0.4);
  EXPECT_GT(duration([](Motion& m, Move&) { m.defaults().jerk = 0.1; }), plain + 0.3);
  EXPECT_NEAR(duration([](Motion&, Move& move) {
                move.target.pose.rot[2] += 1.0;
                move.rotSpeed = 0.1;
              }),
              10.0, 0.3);
  const auto joints = [](double fraction) {
    Motion motion = sixAxes();
    Joints target = motion.joints();
    target[0] += 1.4;
    EXPECT_EQ(runToCode(motion, {jointMove(target, fraction)}), 0);
    EXPECT_EQ(motion.joints(), target);
    motion.setJoints(motion.arm().home());
    EXPECT_EQ(motion.append({jointMove(target, fraction)}), 0);
    EXPECT_EQ(motion.start(), 0);
    return run(motion).time;
  };
  EXPECT_NEAR(joints(0.1), 1.4 / 0.28, 0.3);
  EXPECT_NEAR(joints(1.0), 1.4 / 2.8 + 0.25, 0.1);
}

TEST(Execution, ZonesPassTheCornerWithoutAStop) {
  const auto square = [](double zone, bool reverse, bool ignoreZone) {
    Motion motion = sixAxes();
    motion.defaults().ignoreZone = ignoreZone;
    const Pose a = motion.toolInReference(), b = shifted(a, 0, 0.2, 0);
    const Pose c = reverse ? a : shifted(a, 0.1, 0.2, 0);
    EXPECT_EQ(motion.append({moveTo(MoveKind::line, b, 0.3, zone), moveTo(MoveKind::line, c, 0.3, zone)}), 0);
    EXPECT_EQ(motion.start(), 0);
    double closest = 1, slowest = 1;
    Pose before = a;
    double now = 0;
    Outcome result = run(motion, [&](double time) {
      const Pose tool = motion.toolInReference();
      closest = std::min(closest, distance(tool, b));
      if (time > 0.4 && time < 1.0) slowest = std::min(slowest, distance(tool, before) / tick);
      before = tool;
      now = time;
    });
    EXPECT_EQ(result.ends.size(), 2U);
    EXPECT_LT(distance(motion.toolInReference(), c), 1e-6);
    EXPECT_LT(result.largestJump, 0.15);
    return std::tuple{result, closest, slowest};
  };
  const auto [stopping, hit, stood] = square(0, false, true);
  const auto [passing, missed, slowest] = square(0.03, false, true);
  EXPECT_LT(hit, 1e-6);
  EXPECT_LT(stood, 1e-3);
  EXPECT_GT(missed, 0.002);
  EXPECT_LT(missed, 0.03);
  EXPECT_GT(slowest, 0.05);
  EXPECT_LT(passing.time, stopping.time - 0.05);
  EXPECT_LT(passing.finishTime[0], stopping.finishTime[0]);
  EXPECT_EQ(passing.ends[0].remark, 0);
  EXPECT_EQ(std::get<0>(square(0.25, false, true)).ends[0].remark, -50027);
  EXPECT_EQ(std::get<0>(square(0.03, true, true)).ends[0].remark, -50000);
  EXPECT_LT(std::get<1>(square(0.03, true, true)), 1e-6);
  EXPECT_EQ(std::get<0>(square(0.03, true, false)).ends[0].remark, 0);
}

TEST(Execution, ReportsEachCommandInOrderAndGoesOnWithWhatComesLater) {
  Motion motion = sixAxes();
  EXPECT_EQ(motion.start(), -1);
  const Pose a = motion.toolInReference(), b = shifted(a, 0, 0.1, 0);
  std::vector<Move> batch{moveTo(MoveKind::line, b, 0.5, 0.02), jointMove(motion.arm().home(), 0.5, 0.02),
                          waitFor(0.5), moveTo(MoveKind::line, b, 0.5)};
  for (std::size_t i = 0; i < batch.size(); ++i) {
    batch[i].id = "l#1";
    batch[i].custom = std::string(1, static_cast<char>('a' + i));
    batch[i].point = static_cast<int>(i);
  }
  ASSERT_EQ(motion.append(batch), 0);
  EXPECT_FALSE(motion.moving());
  EXPECT_TRUE(motion.advance(1).empty());
  ASSERT_EQ(motion.start(), 0);
  const std::vector<MoveNotice> notices = motion.advance(60);  // one large step skips nothing
  std::string seen;
  for (const MoveNotice& notice : notices) {
    EXPECT_EQ(notice.error, 0);
    EXPECT_EQ(notice.id, "l#1");
    EXPECT_EQ(notice.custom[0], 'a' + notice.point);
    if (notice.finish) seen += notice.custom;
  }
  EXPECT_EQ(seen, "abcd");
  EXPECT_EQ(notices.size(), 8U);
  EXPECT_FALSE(motion.moving());
  EXPECT_FALSE(motion.pending());
  EXPECT_TRUE(motion.started());
  ASSERT_EQ(motion.append({moveTo(MoveKind::line, a, 0.5)}), 0);
  motion.advance(0.1);
  EXPECT_TRUE(motion.moving());
  EXPECT_EQ(motion.start(), 0);
  run(motion);
  EXPECT_LT(distance(motion.toolInReference(), a), 1e-6);
  EXPECT_EQ(motion.start(), -1);
}

TEST(Execution, WaitsTakeTheirTimeWhateverTheOverride) {
  Motion motion = sixAxes();
  motion.setOverride(0.2);
  ASSERT_EQ(motion.append({waitFor(0.5)}), 0);
  ASSERT_EQ(motion.start(), 0);
  motion.advance(0.3);
  EXPECT_TRUE(motion.moving());
  motion.pause();
  motion.advance(5);
  EXPECT_TRUE(motion.pending());
  ASSERT_EQ(motion.start(), 0);
  EXPECT_TRUE(motion.advance(0.19).empty());
  EXPECT_EQ(motion.advance(0.02).size(), 1U);
}

TEST(Execution, PauseOverrideAndStopDecelerateAlongThePath) {
  Motion motion = sixAxes();
  const Pose a = motion.toolInReference(), b = shifted(a, 0, 0.3, 0);
  ASSERT_EQ(motion.append({moveTo(MoveKind::line, b, 0.5), waitFor(0)}), 0);
  ASSERT_EQ(motion.start(), 0);
  struct Action {
    double time;
    std::function<void()> act;
  };
  Pose stood;
  const std::vector<Action> actions{
      {0.30, [&] { motion.pause(); }},
      {0.32, [&] { EXPECT_TRUE(motion.moving()); }},
      {0.60,
       [&] {
         EXPECT_FALSE(motion.moving());
         EXPECT_TRUE(motion.pending());
         EXPECT_FALSE(motion.started());
         stood = motion.toolInReference();
       }},
      {0.80,
       [&] {
         EXPECT_EQ(distance(stood, motion.toolInReference()), 0);
         EXPECT_EQ(motion.start(), 0);
       }},
      {0.90, [&] { motion.setOverride(0.3); }},
      {1.20, [&] { motion.setOverride(0.9); }},
  };
  std::size_t next = 0;
  const Outcome result = run(motion, [&](double time) {
    const Pose now = motion.toolInReference();
    EXPECT_NEAR(distance(a, now) + distance(now, b), 0.3, 1e-7);
    while (next < actions.size() && time >= actions[next].time) actions[next++].act();
  });
  EXPECT_EQ(next, actions.size());
  EXPECT_LT(result.largestJump, 0.1);
  EXPECT_EQ(result.ends.size(), 2U);
  EXPECT_LT(distance(motion.toolInReference(), b), 1e-6);

  const std::vector<std::function<void()>> ends{[&] { motion.stop(); }, [&] { motion.reset(true); }};
  for (const auto& end : ends) {
    ASSERT_EQ(motion.append({moveTo(MoveKind::line, a, 0.5), moveTo(MoveKind::line, b, 0.5)}), 0);
    ASSERT_EQ(motion.start(), 0);
    motion.advance(0.3);
    end();
    EXPECT_TRUE(motion.moving());
    EXPECT_FALSE(motion.pending());
    EXPECT_EQ(motion.start(), -1);
    // What is appended meanwhile runs as soon as the arm stands, from there.
    ASSERT_EQ(motion.append({moveTo(MoveKind::line, b, 0.5)}), 0);
    ASSERT_EQ(motion.start(), 0);
    const Outcome after = run(motion);
    EXPECT_LT(after.largestJump, 0.1);
    ASSERT_EQ(after.ends.size(), 1U);
    EXPECT_LT(distance(motion.toolInReference(), b), 1e-6);
  }

  ASSERT_EQ(motion.append({moveTo(MoveKind::line, a, 0.5)}), 0);
  ASSERT_EQ(motion.start(), 0);
  motion.advance(0.3);
  const Joints before = motion.joints();
  motion.halt();
  EXPECT_EQ(motion.joints(), before);
  EXPECT_EQ(motion.velocities(), Joints(6));
  EXPECT_FALSE(motion.moving() || motion.started() || motion.pending());
  EXPECT_TRUE(motion.advance(1).empty());
  EXPECT_EQ(motion.joints(), before);
}

}  // namespace
}  // namespace zivra::sim
