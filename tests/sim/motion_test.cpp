// Execution: durations, corners, notices, pauses and stops.
#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <tuple>

#include "sim/moves.h"

namespace zivra::sim::test {
namespace {

TEST(Execution, SpeedsAndSettingsChangeTheDuration) {
  const auto duration = [](const std::function<void(Motion&, Move&)>& change) {
    Motion motion = sixAxes();
    Move move = moveTo(MoveKind::line, shifted(motion.toolInReference(), 0, 0.3, 0), std::nullopt);
    change(motion, move);
    return run(motion, {move}).time;
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
    const Outcome result = run(motion, {jointMove(target, fraction)});
    EXPECT_TRUE(result.ends.size() == 1 && result.ends[0].error == 0);
    EXPECT_EQ(motion.joints(), target);
    return result.time;
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
    double closest = 1, slowest = 1;
    Pose before = a;
    const std::vector<Move> lines{moveTo(MoveKind::line, b, 0.3, zone), moveTo(MoveKind::line, c, 0.3, zone)};
    const Outcome result = run(motion, lines, [&](double time) {
      const Pose tool = motion.toolInReference();
      closest = std::min(closest, distance(tool, b));
      if (time > 0.4 && time < 1.0) slowest = std::min(slowest, distance(tool, before) / tick);
      before = tool;
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
  const Outcome result = run(motion, {moveTo(MoveKind::line, b, 0.5), waitFor(0)}, [&](double time) {
    const Pose now = motion.toolInReference();
    EXPECT_NEAR(distance(a, now) + distance(now, b), 0.3, 1e-7);
    while (next < actions.size() && time >= actions[next].time) actions[next++].act();
  });
  EXPECT_EQ(next, actions.size());
  EXPECT_LT(result.largestJump, 0.1);
  EXPECT_EQ(result.ends.size(), 2U);
  EXPECT_LT(distance(motion.toolInReference(), b), 1e-6);

  const std::vector<std::function<void()>> ends{[&] { motion.stop(); }, [&] { motion.reset(); }};
  for (const auto& end : ends) {
    ASSERT_EQ(motion.append({moveTo(MoveKind::line, a, 0.5), moveTo(MoveKind::line, b, 0.5)}), 0);
    ASSERT_EQ(motion.start(), 0);
    motion.advance(0.3);
    end();
    EXPECT_TRUE(motion.moving());
    EXPECT_FALSE(motion.pending());
    EXPECT_EQ(motion.start(), -1);
    // What is appended meanwhile runs as soon as the arm stands, from there.
    const Outcome after = run(motion, {moveTo(MoveKind::line, b, 0.5)});
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
}  // namespace zivra::sim::test
