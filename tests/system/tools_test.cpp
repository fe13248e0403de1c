// Tools, work objects and kinematic questions, from the call to what other operations show of them.
#include <cmath>

#include "system/fixture.h"

namespace zivra::test {

namespace {

using Tools = SystemTest;
using Ec = std::error_code;
constexpr double quarterTurn = 1.5707963267948966;

void expectSamePlace(const std::array<double, 3>& actual, const std::array<double, 3>& expected) {
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-6) << i;
}

TEST_F(Tools, AreListedAndSetInForceByName) {
  startController();
  TandiRobot robot(address());
  Ec ec;
  const auto before = robot.posture(CoordinateType::endInRef, ec);
  const auto torques = robot.jointTorque(ec);
  WorkToolInfo torch("torch", true, Frame({0, 0.02, 0.15}, {0.5, -0.25, 2.5}),
                     Load(1.5, {0, 0, 0.05}, {0.001, 0.002, 0.003}));
  const WorkToolInfo table("g_wobj_3", false, Frame({0.3, 0.1, 0}, {0, 0, quarterTurn}), {});
  robot.setToolInfo(torch, ec);
  EXPECT_FALSE(ec) << ec.message();
  torch.pos.trans[2] = 0.2;
  robot.setToolInfo(torch, ec);
  EXPECT_FALSE(ec) << "changed: " << ec.message();
  robot.setWobjInfo(table, ec);
  EXPECT_FALSE(ec) << ec.message();
  const auto tools = robot.toolsInfo(ec), workObjects = robot.wobjsInfo(ec);
  ASSERT_EQ(tools.size(), 2u) << "with the one that there always is";
  ASSERT_EQ(workObjects.size(), 2u);
  const WorkToolInfo& read = tools[1];
  EXPECT_EQ(read.name, "torch");
  EXPECT_TRUE(read.robotHeld);
  expectSamePlace(read.pos.trans, torch.pos.trans);
  expectSamePlace(read.pos.rpy, torch.pos.rpy);
  expectSamePlace(read.load.cog, torch.load.cog);
  expectSamePlace(read.load.inertia, torch.load.inertia);
  EXPECT_EQ(read.load.mass, 1.5);
  EXPECT_EQ(workObjects[0].name, "g_wobj_3");

  const Toolset found = robot.setToolset("torch", "g_wobj_3", ec);
  EXPECT_FALSE(ec) << ec.message();
  const Toolset inForce = robot.toolset(ec);
  for (const Toolset* toolset : {&found, &inForce}) {
    expectSamePlace(toolset->end.trans, torch.pos.trans);
    expectSamePlace(toolset->reference.rpy, table.pos.rpy);
    EXPECT_EQ(toolset->load.mass, 1.5);
  }
  EXPECT_NE(robot.posture(CoordinateType::endInRef, ec), before);
  EXPECT_NE(robot.jointTorque(ec), torques) << "the load is felt";
  for (const auto& [tool, wobj] : {std::pair{"nothing", "g_wobj_3"}, {"torch", "g_wobj_4"}}) {
    EXPECT_EQ(robot.setToolset(tool, wobj, ec).load.mass, 0);
    EXPECT_EQ(ec.value(), -50501);
    EXPECT_EQ(robot.toolset(ec).load.mass, 1.5) << "as it was";
  }
  robot.setToolInfo({"g_tool_2", true, {}, Load(1000, {}, {})}, ec);
  EXPECT_EQ(ec.value(), -10141);
  robot.setToolset(Toolset(), ec);
  EXPECT_FALSE(ec) << ec.message();
  expectSamePlace({before[0], before[1], before[2]}, robot.cartPosture(CoordinateType::endInRef, ec).trans);
}

TEST_F(Tools, ShapePosesAndMoves) {
  startController();
  MovingRobot moving(address());
  TandiRobot& robot = moving.robot;
  Ec& ec = moving.ec;
  const CartesianPosition flange = robot.cartPosture(CoordinateType::flangeInBase, ec);
  // The work object lies 10 cm before the flange, turned a quarter about z: its x is the base's y.
  Toolset toolset;
  toolset.reference = Frame({flange.trans[0] + 0.1, flange.trans[1], flange.trans[2]}, {0, 0, quarterTurn});
  robot.setToolset(toolset, ec);
  EXPECT_FALSE(ec) << ec.message();
  CartesianPosition target = moving.here();
  expectSamePlace(target.trans, {0, 0.1, 0});
  target.trans = {0.05, 0.08, 0};
  moving.append({MoveLCommand(target, 200, 0)});
  robot.moveStart(ec);
  ASSERT_TRUE(moving.waitForFinishes(1));
  ASSERT_TRUE(controller().waitUntilIdle(longestWait));
  expectSamePlace(moving.here().trans, target.trans);
  expectSamePlace(robot.cartPosture(CoordinateType::flangeInBase, ec).trans,
                  {flange.trans[0] + 0.02, flange.trans[1] + 0.05, flange.trans[2]});
  // A work object is fixed in the world, not in the robot.
  robot.setBaseFrame(Frame({0, 0, 0.5}, {0, 0, 0}), ec);
  EXPECT_FALSE(ec) << ec.message();
  expectSamePlace(moving.here().trans, {target.trans[0], target.trans[1], 0.5});
}

template <class Robot, std::size_t n>
void askModel(const std::string& address, std::size_t parameters) {
  Robot robot(address);
  Ec ec;
  const auto good = [&](const char* what) { EXPECT_FALSE(ec) << what << ": " << ec.message(); };
  auto model = robot.model();
  const auto now = robot.jointPos(ec);
  std::array<double, n> joints{};
  std::copy(now.begin(), now.end(), joints.begin());
  const CartesianPosition here = robot.cartPosture(CoordinateType::endInRef, ec);
  const CartesianPosition pose = model.calcFk(joints, ec);
  good("forward");
  expectSamePlace(pose.trans, here.trans);
  EXPECT_EQ(pose.confData, here.confData);
  Toolset longer;
  longer.end.trans = {0, 0, 0.1};
  const CartesianPosition tip = model.calcFk(joints, longer, ec);
  good("forward with a toolset");
  EXPECT_GT(std::abs(tip.trans[0] - pose.trans[0]) + std::abs(tip.trans[2] - pose.trans[2]), 0.05);
  const auto back = model.calcIk(pose, ec);
  good("inverse");
  const auto backFromTip = model.calcIk(tip, longer, ec);
  good("inverse with a toolset");
  std::vector<std::vector<int>> confs;
  const auto all = model.calcAllIkSolutions(pose, confs, ec);
  good("all solutions");
  ASSERT_EQ(all.size(), confs.size());
  double nearest = 1;
  for (std::size_t i = 0; i < all.size(); ++i) {
    ASSERT_EQ(all[i].size(), n);
    double away = 0;
    for (std::size_t k = 0; k < n; ++k) away = std::max(away, std::abs(all[i][k] - joints[k]));
    nearest = std::min(nearest, away);
  }
  EXPECT_LT(nearest, 1e-6) << "the present one is among them";
  for (std::size_t k = 0; k < n; ++k) {
    EXPECT_NEAR(back[k], joints[k], 1e-6) << k;
    EXPECT_NEAR(backFromTip[k], joints[k], 1e-6) << k;
  }
  CartesianPosition far = pose;
  far.trans[0] = 9;
  EXPECT_EQ(model.calcIk(far, ec), (std::array<double, n>{}));
  EXPECT_EQ(ec.value(), -32);
  EXPECT_TRUE(model.calcAllIkSolutions(far, confs, ec).empty());
  EXPECT_TRUE(confs.empty());
  good("no solution");
  for (const bool nominal : {true, false}) {
    const auto read = robot.getRobotCfg_DHparam(nominal, ec);
    good("parameters");
    EXPECT_EQ(read.size(), nominal ? n * 4 + (n < 5 ? 4 : 0) : parameters);
  }
}

TEST_F(Tools, ModelsOfEachClassAnswer) {
  struct Row {
    sim::Model model;
    void (*ask)(const std::string&, std::size_t parameters);
    std::size_t parameters;  // of the full set; of the nominal one where there is none
  };
  for (const Row& row : {Row{sim::Model::triax, askModel<TriaxRobot, 3>, 16},
                         Row{sim::Model::quadrax, askModel<QuadraxRobot, 4>, 20},
                         Row{sim::Model::standard, askModel<StandardRobot, 6>, 24},
                         Row{sim::Model::tandiFive, askModel<TandiFiveRobot, 5>, 25},
                         Row{sim::Model::tandi, askModel<TandiRobot, 6>, 30},
                         Row{sim::Model::tandiSeven, askModel<QuillRobot, 7>, 35}}) {
    SCOPED_TRACE(sim::modelName(row.model));
    controller_.reset();
    startController(row.model);
    row.ask(address(), row.parameters);
  }
}

}  // namespace

}  // namespace zivra::test
