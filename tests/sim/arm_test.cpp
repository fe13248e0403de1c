// Kinematics of every arm, and straight and round moves of all of them.
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

#include "sim/moves.h"

namespace zivra::sim::test {
namespace {

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
  const double length = distance(start, target);
  const Outcome result = run(motion, {moveTo(MoveKind::line, target)}, [&](double) {
    const Pose now = motion.toolInReference();
    EXPECT_NEAR(distance(start, now) + distance(now, target), length, 1e-7);
  });
  ASSERT_EQ(result.ends.size(), 1U);
  EXPECT_EQ(result.ends[0].error, 0);
  EXPECT_TRUE(result.ends[0].finish);
  expectToolAt(motion, target);
  EXPECT_GT(result.time, length / 0.3);
  EXPECT_LT(result.time, length / 0.3 + 0.5);
}

TEST_P(EveryArm, StaysOnACircleWhoseOrientationsItMayNotHave) {
  const Pose start = motion.toolInReference();
  const Pose centre = shifted(start, -0.05, 0, 0.0125),
             across = shifted(start, -0.1, 0, 0.025);  // leans by 0.25
  const double radius = distance(start, centre);
  const Pose aux = shifted(centre, 0, radius, 0);
  const Outcome result = run(motion, {fullCircle(aux, across, 4, CircleRotation::fixedAxis)}, [&](double) {
    EXPECT_NEAR(distance(motion.toolInReference(), centre), radius, 1e-6);
  });
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

}  // namespace
}  // namespace zivra::sim::test
