// Checks of paths, and how singularities are passed.
#include <algorithm>

#include "robot/fixture.h"
#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;
using Method = AvoidSingularityMethod;
using RotType = MoveCFCommand::RotType;

const CartesianPosition a({0.5, 0.25, 1}, {3, 0, 1.5});
const CartesianPosition b({1.5, 0.25, 1}, {3, 0, 1.5});
// Takes along all that a point can have.
const CartesianPosition c = [] {
  CartesianPosition point({2, 0, 0}, {0, 0, 0});
  point.elbow = 0.5;
  point.confData = {1, -1, 0, 2};
  point.external = {0.125};
  return point;
}();
const std::vector<double> joints{0.5, -1, 0.25};

#define A R"("rot":[3.0,0.0,1.5],"trans":[0.5,0.25,1.0])"
#define B R"({"elb":0.0,"rot":[3.0,0.0,1.5],"trans":[1.5,0.25,1.0]})"
#define C                                                                                           \
  R"({"conf":[1.0,-1.0,0.0,2.0,0.0,0.0,0.0,0.0],"elb":0.5,"external":[0.125],"rot":[0.0,0.0,0.0],)" \
  R"("trans":[2.0,0.0,0.0]})"
#define START R"("point0":{"elb":0.0,"near":[0.5,-1.0,0.25],)" A "}"

const char* const reply = R"({"data":[0.5,1.25],"error":0})";
// A result that is no array is none, and so is none at all.
Rules answerRules() {
  return Rules().ownLogOnly().tolerates("-/error /error=null -/data /data=* </data <</data >/data");
}
const std::vector<double> end{0.5, 1.25}, zeros{0, 0, 0};

const WireCase rows[] = {
    {"line", 'c', "move.path.check", "{" START R"(,"point1":)" B "}", reply, "checkPath (0)",
     [](Robot& r, Ec& ec) { expectEqual(r.checkPath(a, joints, b, ec), end, zeros); }, answerRules()},
    {"line from a start without angles", 'c', "move.path.check",
     R"({"point0":{"elb":0.0,"near":[],)" A R"(},"point1":)" C "}", reply, "checkPath (0)",
     [](Robot& r, Ec& ec) { expectEqual(r.checkPath(a, {}, c, ec), end, {}); }, answerRules()},
    {"circle", 'c', "move.path.check", "{" START R"(,"point1":)" C R"(,"point2":)" B "}", reply,
     "checkPath (0)",
     [](Robot& r, Ec& ec) {
       expectEqual(r.checkPath(a, joints, c, b, ec, 0, RotType::fixedAxis), end, zeros);
     },
     answerRules()},
    {"circle of an angle", 'c', "move.path.check",
     R"({"circle":{"angle":-6.25,"rot_type":"rot_axis"},)" START R"(,"point1":)" B R"(,"point2":)" C "}",
     reply, "checkPath (0)",
     [](Robot& r, Ec& ec) {
       expectEqual(r.checkPath(a, joints, b, c, ec, -6.25, RotType::rotAxis), end, zeros);
     },
     answerRules()},
    {"list", 'c', "move.path.check", R"({"path":[{"point1":)" B R"(},{"point1":)" C "}]," START "}", reply,
     "checkPath (0)",
     [](Robot& r, Ec& ec) {
       std::vector<double> calculated(9, 1.0);
       const int failing = r.checkPath(joints, {a, b, c}, calculated, ec);
       expectEqual(std::pair(failing, calculated), std::pair(0, end), std::pair(0, zeros));
     },
     answerRules()},
    {"lock axis 4", 'c', "move.avoid_singularity", "true", "0",
     "setAvoidSingularity end, method: lockAxis4, enable: true, threshold: 2.5 (0)",
     [](Robot& r, Ec& ec) { r.setAvoidSingularity(Method::lockAxis4, true, 2.5, ec); },
     Rules().otherCode(-260)},
    {"lock axis 4 of an industrial robot", 'c', "move.avoid_singularity", "false", "0",
     "setAvoidSingularity end, method: lockAxis4, enable: false, threshold: 0 (0)",
     [](StandardRobot& r, Ec& ec) { r.setAvoidSingularity(Method::lockAxis4, false, 0, ec); },
     Rules().otherCode(-260)},
    {"wrist", 'c', "move.avoid_sing_wrist", R"({"enable":true,"threshold":28.647889756541161})", "0",
     "setAvoidSingularity end, method: wrist, enable: true, threshold: 0.5 (0)",
     [](Robot& r, Ec& ec) { r.setAvoidSingularity(Method::wrist, true, 0.5, ec); }, Rules().otherCode(-260)},
    {"wrist of an industrial robot", 'c', "move.avoid_sing_wrist",
     R"({"enable":false,"threshold":-28.647889756541161})", "0",
     "setAvoidSingularity end, method: wrist, enable: false, threshold: -0.5 (0)",
     [](StandardRobot& r, Ec& ec) { r.setAvoidSingularity(Method::wrist, false, -0.5, ec); },
     Rules().otherCode(-260)},
    {"joint way", 'c', "move.avoid_sing_joint_way", R"({"enable":true,"threshold":0.5})", "0",
     "setAvoidSingularity end, method: jointWay, enable: true, threshold: 0.5 (0)",
     [](StandardRobot& r, Ec& ec) { r.setAvoidSingularity(Method::jointWay, true, 0.5, ec); },
     Rules().otherCode(-260)},
    {"is axis 4 locked", 'g', "move.avoid_singularity", "null", R"("on")", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.getAvoidSingularity(Method::lockAxis4, ec), true, false); },
     Rules().integerIsCode().otherCode(-260).tolerates("=bool")},
    {"is the wrist's way off", 'g', "move.avoid_sing_wrist", "null", R"("off")", nullptr,
     [](StandardRobot& r, Ec& ec) { expectEqual(r.getAvoidSingularity(Method::wrist, ec), false, false); },
     Rules().integerIsCode().otherCode(-260).tolerates("=bool")},
    {"is the joint way taken", 'g', "move.avoid_sing_joint_way", "null", "true", nullptr,
     [](StandardRobot& r, Ec& ec) { expectEqual(r.getAvoidSingularity(Method::jointWay, ec), true, false); },
     Rules().integerIsCode().otherCode(-260)},
    {"complete posture", 'c', "sys.completePostureLerp", R"({"enable":true})", "0",
     "enableCompletePostureLerp, enable: true, (0)",
     [](TandiFiveRobot& r, Ec& ec) { r.enableCompletePostureLerp(true, ec); }, Rules().ownLogOnly()},
};
const WireTests tests("path_check", rows);

using PathCheck = RobotTest;

TEST_F(PathCheck, TellsWhichTargetFails) {
  const struct {
    const char *reply, *log;
    int code, failing;
    std::vector<double> calculated = zeros;
  } cases[] = {
      {R"({"data":{"index":2,"msg":"out of reach"},"error":-50002})", "checkPath (-50002out of reach)",
       -50002, 3},
      {R"({"data":{"index":0},"error":-50002})", "checkPath (-50002)", -50002, 1},
      {R"({"data":{"msg":"no index"},"error":-5})", "checkPath (-5no index)", -5, 0},
      {R"({"data":{"index":"2","msg":5},"error":-6})", "checkPath (-6)", -6, 0},
      {R"({"data":{"index":2147483647},"error":-7})", "checkPath (-7)", -7, 2147483647},
      {R"({"data":"words alone","error":-8})", "checkPath (-8words alone)", -8, 0},
      {R"({"data":[1.0],"error":-9})", "checkPath (-9)", -9, 0},
      {R"({"error":-10})", "checkPath (-10)", -10, 0},
      {"-11", "checkPath (-11)", -11, 0},
      {R"({"data":{"index":1}})", "checkPath (0)", 0, 0, {}},
      {R"({"data":[2.0]})", "checkPath (0)", 0, 0, {2}},
      {"0", "checkPath (0)", 0, 0, {}},
  };
  {
    TandiRobot robot(address());
    for (const auto& row : cases) {
      SCOPED_TRACE(row.reply);
      controller_.answer("move.path.check", row.reply);
      std::vector<double> calculated(4, 9.0);
      Ec ec;
      EXPECT_EQ(robot.checkPath(joints, {a, b, c}, calculated, ec), row.failing);
      EXPECT_EQ(ec, Ec(row.code, category()));
      EXPECT_EQ(calculated, row.calculated);
      EXPECT_EQ(robot.checkPath(a, joints, b, ec), row.calculated);
      EXPECT_EQ(robot.checkPath(a, joints, b, c, ec), row.calculated);
      EXPECT_EQ(ec, Ec(row.code, category()));
    }
    const auto sent = controller_.count("move.path.check");
    for (const auto& few : {std::vector<CartesianPosition>(), std::vector{a}}) {
      std::vector<double> calculated;
      Ec ec;
      EXPECT_EQ(robot.checkPath(joints, few, calculated, ec), 0);
      EXPECT_EQ(ec, Code::argumentInvalid);
    }
    EXPECT_EQ(controller_.count("move.path.check"), sent);
  }
  const auto log = robotLog("scripted");
  for (const auto& row : cases) {
    EXPECT_NE(std::find(log.begin(), log.end(), row.log), log.end()) << row.log;
  }
}

TEST_F(PathCheck, AnswersOfSwitchesThatFitNothingAreAMismatch) {
  TandiRobot robot(address());
  for (const char* answer : {"\"x\"", "\"ON\"", "0.5", "[]", "{}", "null"}) {
    SCOPED_TRACE(answer);
    controller_.answer("move.avoid_sing_wrist", answer);
    Ec ec;
    robot.setAvoidSingularity(Method::wrist, true, 1, ec);
    EXPECT_EQ(ec, Ec(-260, category()));
    EXPECT_FALSE(robot.getAvoidSingularity(Method::wrist, ec));
    EXPECT_EQ(ec, Ec(-260, category()));
  }
}

TEST_F(PathCheck, MethodsThatARobotHasNotAreRefusedHere) {
  {
    TandiRobot robot(address());
    for (const auto method : {Method::jointWay, static_cast<Method>(3), static_cast<Method>(-1)}) {
      Ec ec;
      robot.setAvoidSingularity(method, true, 1, ec);
      EXPECT_EQ(ec, Code::argumentInvalid);
      ec.clear();
      EXPECT_FALSE(robot.getAvoidSingularity(method, ec));
      EXPECT_EQ(ec, Code::argumentInvalid);
    }
    for (const Request& request : controller_.requests())
      EXPECT_EQ(request.key.find("avoid"), std::string::npos) << request.text;
  }
  for (const auto& log : {robotLog("scripted"), globalLog()}) {
    const auto line = "E: uid: scripted | setAvoidSingularity unsupported method jointWay (259)";
    EXPECT_NE(std::find(log.begin(), log.end(), line), log.end());
  }
}

}  // namespace

}  // namespace zivra::test
