// What rows can't say of tools and models: names, orientations, and requests that depend on an answer.
#include <cmath>
#include <json/json.h>

#include "robot/fixture.h"
#include "robot/tool_record.h"

namespace zivra::test {

namespace {

using Tools = RobotTest;
using Ec = std::error_code;
using internal::ToolKind;

TEST_F(Tools, NamesDecideWhoseTheyAre) {
  const struct {
    const char* name;
    bool global;
    int id;
  } rows[] = {{"g_tool_0", true, 0},
              {"g_tool_15", true, 15},
              {"g_tool_16", false, 16},
              {"g_tool_-1", false, -1},
              {"g_tool_3x", false, 3},
              {"g_tool_", false, 0},
              {"g_tool_x", false, 0},
              {"tool3", false, 0},
              {" g_tool_3", false, 0},
              {"g_wobj_1", false, 0},
              {"G_tool_1", false, 0},
              {"g_tool_99999999999999999999", false, 0},
              {"", false, 0}};
  TandiRobot robot(address());
  controller_.answer("project.tools", "[]");
  for (const char* key : {"project.tool", "global.tools.set.one"}) controller_.answer(key, "0");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    controller_.forgetRequests();
    Ec ec;
    robot.setToolInfo({row.name, true, {}, {}}, ec);
    EXPECT_FALSE(ec) << ec.message();
    EXPECT_EQ(controller_.count("global.tools.set.one"), row.global ? 1u : 0u);
    EXPECT_EQ(controller_.count("project.tools"), row.global ? 0u : 1u);
    const std::string sent = controller_.requests().back().text;
    EXPECT_NE(sent.find("\"id\":" + std::to_string(row.id) + ",\"identified\""), std::string::npos) << sent;
  }
}

TEST_F(Tools, OrientationsAreSentTwice) {
  const double half = std::sqrt(0.5), quarterTurn = std::acos(0.0);
  const struct {
    std::array<double, 3> rpy, degrees;
    std::array<double, 4> quaternion;
  } rows[] = {
      {{quarterTurn, 0, 0}, {90, 0, 0}, {half, half, 0, 0}},
      {{0, quarterTurn, 0}, {0, 90, 0}, {half, 0, half, 0}},
      {{0, 0, -quarterTurn}, {0, 0, -90}, {half, 0, 0, -half}},
      // First about x, then about the fixed z: the turn that takes x to y, y to z and z to x.
      {{quarterTurn, 0, quarterTurn}, {90, 0, 90}, {0.5, 0.5, 0.5, 0.5}},
      {{quarterTurn, quarterTurn, 0}, {90, 90, 0}, {0.5, 0.5, 0.5, -0.5}},
  };
  for (const auto& row : rows) {
    const WorkToolInfo info("t", true, Frame({0.1, 0, 0}, row.rpy), {});
    const Json::Value frame = internal::toolRecord(ToolKind::tool, info)["frame"];
    EXPECT_NEAR(frame["pos"]["x"].asDouble(), 100, 1e-12);
    for (int i = 0; i < 3; ++i)
      EXPECT_NEAR(frame["ori"]["euler"][std::string(1, "abc"[i])].asDouble(), row.degrees[i], 1e-12) << i;
    for (int i = 0; i < 4; ++i)
      EXPECT_NEAR(frame["ori"]["quaternion"]["q" + std::to_string(i + 1)].asDouble(), row.quaternion[i],
                  1e-12)
          << i;
  }
}

// One operation whose first answer is fixed, and what each second answer makes of it.
TEST_F(Tools, SecondAnswersDecide) {
  TandiRobot robot(address());
  Ec ec;
  controller_.answer("project.wobjs", "-290");
  const auto write = [&] { robot.setWobjInfo({"table", false, {}, {}}, ec); };
  controller_.answer("sys.toolset.query",
                     R"({"data":{"end":{},"load":{"mass":2.5},"ref":{"trans":[1,2,3],"more":[7]}}})");
  const auto choose = [&] {
    const Toolset found = robot.setToolset("torch", "table", ec);
    EXPECT_EQ(found.load.mass, 2.5) << "what was found, whatever became of it";
    EXPECT_NE(controller_.requests().back().text.find(R"("more":[7],"name":"table")"), std::string::npos);
  };
  const auto full = [&] {
    controller_.forgetRequests();
    const auto read = robot.getRobotCfg_DHparam(false, ec);
    EXPECT_EQ(read, ec ? std::vector<double>() : std::vector<double>{0.5});
    const auto requests = controller_.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_NE(requests[1].text.find(R"({"key":"KINEMATICS.DH_PARAMS","type":"json"})"), std::string::npos);
  };
  const struct {
    const char* name;
    const char* key;
    const char* reply;
    int code;
    std::function<void()> call;
  } rows[] = {
      {"written", "project.wobj", "0", 0, write},
      {"refused", "project.wobj", "-5", -5, write},
      {"failed", "project.wobj", "-1", -50501, write},
      {"answered by a text", "project.wobj", R"("-1")", 0, write},
      {"set", "ix.coord.toolset", "0", 0, choose},
      {"not set", "ix.coord.toolset", "-20", -20, choose},
      {"set without an integer", "ix.coord.toolset", "{}", 257, choose},
      {"nominal after none", "cfg.get", R"({"data":[0.5]})", 0, full},
      {"refused after none", "cfg.get", "-290", -290, full},
      {"none after none", "cfg.get", R"({"data":null})", 257, full},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    controller_.answerBy(row.key, [&row](const Request& request) {
      const bool first = request.text.find("DH_PARAMS_ALL") != std::string::npos;
      return std::vector{request.reply(first ? R"({"data":null})" : row.reply)};
    });
    row.call();
    EXPECT_EQ(ec.value(), row.code);
  }
  // The nominal set has nothing that could stand in for it.
  controller_.answer("cfg.get", R"({"data":null})");
  controller_.forgetRequests();
  robot.getRobotCfg_DHparam(true, ec);
  EXPECT_EQ(ec, Code::responseUnresolved);
  EXPECT_EQ(controller_.count("cfg.get"), 1u);
}

TEST_F(Tools, AnswersAreJudgedInTheirOrder) {
  TandiRobot robot(address());
  Model_T<6> model = robot.model();
  Ec ec;
  std::vector<std::vector<int>> confs{{7}};
  const auto inverse = [&] { EXPECT_EQ(model.calcIk({}, ec), (std::array<double, 6>{})); };
  const auto forward = [&] { EXPECT_EQ(model.calcFk({}, ec).trans, (std::array<double, 3>{})); };
  const auto all = [&] { EXPECT_TRUE(model.calcAllIkSolutions({}, confs, ec).empty()); };
  const auto byNames = [&] { EXPECT_EQ(robot.setToolset("t", "w", ec).load.mass, 0); };
  const auto tools = [&] { EXPECT_TRUE(robot.toolsInfo(ec).empty()); };
  const struct {
    const char* key;
    const char* reply;
    int code;
    std::function<void()> call;
  } rows[] = {
      {"sys.calc.ik", R"({"error":"x","data":[1,2,3,4,5,6]})", -32, inverse},
      {"sys.calc.ik", R"({"error":0,"data":[1,2,3,4,5,6]})", -32, inverse},
      {"sys.calc.ik", R"({"data":[1,2,3,4,5]})", 261, inverse},
      {"sys.calc.ik", "0", 257, inverse},
      {"sys.calc.fk", "-5", -5, forward},
      {"sys.calc.fk", "0", 0, forward},
      {"sys.calc.fk", R"("x")", 257, forward},
      {"utils.calc.all.ik", "-5", -5, all},
      {"utils.calc.all.ik", R"({"data":{"result":[{"jnt":[],"conf":[1.5]},{"jnt":[],"conf":[3000000000]}]}})",
       257, all},
      {"sys.toolset.query", R"({"error":0,"data":{"end":{},"load":{"mass":1},"ref":{}}})", -50501, byNames},
      {"sys.toolset.query", R"({"error":0})", -260, byNames},
      {"sys.toolset.query", "0", -260, byNames},
      {"project.tool.info", "-5", -5, tools},
      {"project.tool.info", R"({"wobj":{}})", 257, tools},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.key) + " " + row.reply);
    controller_.answer(row.key, row.reply);
    row.call();
    EXPECT_EQ(ec.value(), row.code);
  }
  EXPECT_EQ(controller_.count("ix.coord.toolset"), 0u) << "nothing is set after a failed query";
  EXPECT_EQ(confs, (std::vector<std::vector<int>>{{7}}));
}

TEST_F(Tools, AModelOutlivesItsRobot) {
  controller_.answer("sys.calc.fk", R"({"data":{"trans":[1,2,3],"rot":[0,0,0]}})");
  Ec ec;
  auto robot = std::make_unique<TandiRobot>();
  Model_T<6> model = robot->model();
  EXPECT_EQ(model.calcFk({}, ec).trans[0], 0);
  EXPECT_EQ(ec, Code::network) << "made before the connection";
  robot->connectToRobot(address());
  const Model_T<6> copy = model;
  EXPECT_EQ(model.calcFk({}, ec).trans[2], 3);
  EXPECT_FALSE(ec) << ec.message();
  robot.reset();
  model = copy;
  EXPECT_EQ(model.calcFk({}, ec).trans[2], 3) << "the link is shared";
  controller_.die();
  EXPECT_TRUE(eventually([&] { return model.calcFk({}, ec).trans[2] == 0; }));
  EXPECT_EQ(ec, Code::network);
}

}  // namespace

}  // namespace zivra::test
