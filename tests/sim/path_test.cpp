// The way that a move takes, and moves that are refused.
#include <array>
#include <cmath>
#include <gtest/gtest.h>

#include "sim/moves.h"

namespace zivra::sim::test {
namespace {

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
    const Outcome result = run(motion, {test.move}, [&](double) {
      const Pose now = motion.toolInReference();
      EXPECT_GE(distance(now, test.from), test.low - 1e-6);
      EXPECT_LE(distance(now, test.from), test.high + 1e-6);
      EXPECT_NEAR(now.trans[2], start.trans[2], 1e-6);
    });
    ASSERT_EQ(result.ends.size(), 1U);
    EXPECT_EQ(result.ends[0].error, 0);
    expectToolAt(motion, test.end);
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
      expectToolAt(motion, expected);
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

}  // namespace
}  // namespace zivra::sim::test
