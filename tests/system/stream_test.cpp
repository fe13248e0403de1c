// The state stream between library and controller: what it shows is what the other links show.
#include <zivra/local_address.h>

#include "system/fixture.h"

namespace zivra::test {

namespace {

using namespace std::chrono_literals;
using Ec = std::error_code;
using Names = std::vector<std::string>;
constexpr auto soon = std::chrono::nanoseconds(longestWait);

class StateStreams : public SystemTest {
 protected:
  std::string local() const { return localAddressTowards(address()); }
};

// Every field that there is, in lists that fit into a datagram, and the bytes of each list on 5, 6 and 7
// axes.
struct List {
  Names fields;
  unsigned bytes[3];
};
const List lists[] = {
    {{"q_m", "q_c", "dq_m", "dq_c", "ddq_c", "tau_m", "tau_c", "tau_filtered_m", "tau_vel_c", "theta_m",
      "theta_vel_m", "motor_tau", "motor_tau_filtered"},
     {548, 652, 756}},
    {{"pos_m", "pos_c", "pos_abc_m", "pos_vel_c", "pos_acc_c", "ex_q_m", "ex_dq_m", "ex_motor_m", "psi_m",
      "psi_c", "psi_vel_c", "psi_acc_c", "tau_ext_base", "tau_ext_stiff", "motion_mode", "control_mode"},
     {702, 702, 702}},
    {{"ddq_m", "pos_vel_m", "pos_acc_m", "io_keypad"}, {0, 179, 187}},
};

template <class Robot>
void receivesEveryField(Robot&& robot, int axes) {
  for (const List& list : lists) {
    const unsigned bytes = list.bytes[axes - 5];
    if (bytes == 0) {
      EXPECT_THROW(robot.startReceiveRobotState(1ms, list.fields), RealtimeControlException);
      continue;
    }
    robot.startReceiveRobotState(1ms, list.fields);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(robot.updateRobotState(soon), bytes);
    EXPECT_EQ(robot.stateStreamHealth().tooShort, 0u);
    robot.stopReceiveRobotState();
  }
  Ec ec;
  const auto told = robot.jointPos(ec);
  robot.startReceiveRobotState(1ms, {"q_m"});
  std::vector<double> streamed;
  EXPECT_EQ(robot.getStateData("q_m", streamed), 0);
  EXPECT_EQ(streamed, told);
}

TEST_F(StateStreams, HoldEveryFieldOfEveryRobot) {
  startController(sim::Model::tandiFive);
  receivesEveryField(TandiFiveRobot(address(), local()), 5);
  startController(sim::Model::tandi);
  receivesEveryField(TandiRobot(address(), local()), 6);
  startController(sim::Model::standard);
  receivesEveryField(StandardRobot(address(), local()), 6);
  startController(sim::Model::tandiSeven);
  receivesEveryField(TandiSevenRobot(address(), local()), 7);
}

TEST_F(StateStreams, ShowAMove) {
  startController(sim::Model::tandi, 10);
  MovingRobot moving(address());
  TandiRobot watching(address(), local());
  watching.startReceiveRobotState(2ms, {"q_m", "dq_m", "pos_m"});
  std::vector<double> before, joints, speeds, pose;
  ASSERT_EQ(watching.getStateData("q_m", before), 0);
  std::string id;
  std::vector<double> target = before;
  target[0] += 0.5;
  moving.robot.moveAppend(std::vector{MoveAbsJCommand(target)}, id, moving.ec);
  moving.robot.moveStart(moving.ec);
  double fastest = 0;
  std::uint64_t ts = 0, last = 0;
  const auto arrived = [&] { return std::abs(joints.at(0) - target[0]) < 1e-6; };
  const auto deadline = std::chrono::steady_clock::now() + longestWait;
  do {
    ASSERT_GT(watching.updateRobotState(soon), 0u);
    ASSERT_EQ(watching.getStateData("ts", ts), 0);
    EXPECT_GE(ts, last) << "in order";
    last = ts;
    ASSERT_EQ(watching.getStateData("q_m", joints), 0);
    ASSERT_EQ(watching.getStateData("dq_m", speeds), 0);
    fastest = std::max(fastest, std::abs(speeds[0]));
  } while (!arrived() && std::chrono::steady_clock::now() < deadline);
  EXPECT_TRUE(arrived());
  EXPECT_GT(fastest, 0.01);
  ASSERT_EQ(watching.getStateData("pos_m", pose), 0);
  const CartesianPosition here = moving.here();
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(pose[4 * i + 3], here.trans[i], 1e-6) << "row-major";
}

TEST_F(StateStreams, BearFaults) {
  startController();
  TandiRobot robot(address(), local());
  robot.startReceiveRobotState(1ms, {"q_m"});
  controller().setStateError(5, true);
  const auto updateUntilThrown = [&] {
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    while (std::chrono::steady_clock::now() < deadline) robot.updateRobotState(soon);
  };
  EXPECT_THROW(updateUntilThrown(), RealtimeMotionException);
  controller().setStateError(5, false);
  EXPECT_TRUE(eventually([&] {
    try {
      return robot.updateRobotState(soon) == 76 && robot.drainRobotState() == 0;
    } catch (const RealtimeMotionException&) {
      return false;
    }
  }));
  controller().cutDatagrams(40, 3);
  EXPECT_TRUE(eventually([&] { return robot.updateRobotState(soon) == 40; }));
  EXPECT_TRUE(eventually([&] { return robot.updateRobotState(soon) == 76; }));
  EXPECT_GE(robot.stateStreamHealth().tooShort, 1u);
  // What comes over the links doesn't matter to what is published.
  controller().dropLinks();
  for (int i = 0; i < 300; ++i) EXPECT_GT(robot.updateRobotState(soon), 0u);
  controller().stop();
  EXPECT_TRUE(eventually([&] { return robot.updateRobotState(1ms) == 0; }));
  robot.stopReceiveRobotState();
  EXPECT_THROW(robot.updateRobotState(1ms), RealtimeStateException);
}

}  // namespace

}  // namespace zivra::test
