// Questions about kinematics, and the Denavit-Hartenberg parameters.
#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;

Toolset toolset() {
  Toolset made;
  made.load.mass = 2.5;
  made.end = Frame({0, 0, 0.5}, {0, 1.5, 0});
  made.reference = Frame({1, 2, 3}, {0.5, 0, 0});
  return made;
}
#define TOOLSET                                                                        \
  R"({"end":{"rot":[0.0,1.5,0.0],"trans":[0.0,0.0,0.5]},"load":{"cog":[0.0,0.0,0.0],)" \
  R"("inertia":[0.0,0.0,0.0],"mass":2.5},"ref":{"rot":[0.5,0.0,0.0],"trans":[1.0,2.0,3.0]}})"
#define TOOLSET_TEXT \
  "end:trans:[0, 0, 0.5], rpy:[0, 1.5, 0], ref:trans:[1, 2, 3], rpy:[0.5, 0, 0], load:m:2.5, cog:[0, 0, 0]"

CartesianPosition posture(std::vector<int> conf = {}) {
  CartesianPosition made({0.5, 0.25, 1}, {3, 0, 1.5});
  made.elbow = 0.75;
  made.confData = std::move(conf);
  return made;
}
#define POSE R"("rot":[3.0,0.0,1.5],"trans":[0.5,0.25,1.0])"
#define POSE_TEXT "trans:[0.5, 0.25, 1], rpy:[3, 0, 1.5]"

const char* const poseReply = R"({"data":{)" POSE R"(,"elb":0.75,"conf":[1,-1]}})";
CartesianPosition expectedPose() { return posture({1, -1}); }
// An answer without a pose is one of zeros.
Rules poseRules() {
  return Rules().allLinesNamed().tolerates(
      "-/* /data/trans=* /data/rot=* /data/conf=* /data/conf/*=real /data/elb=null <*/data/* >*/data/* "
      "/data=null /data=object =object");
}
Rules anglesRules() { return Rules().allLinesNamed().tolerates(">/data").otherCode(261); }

template <std::size_t n>
std::array<double, n> angles() {
  std::array<double, n> made{};
  for (std::size_t i = 0; i < n; ++i) made[i] = 0.5 * static_cast<double>(i) - 1;
  return made;
}

const char* const solutions =
    R"({"data":{"result":[{"jnt":[0.5,1.0],"conf":[0,1.0,-1]},{"jnt":[-0.5],"conf":[2]}]}})";

using Solutions = std::pair<std::vector<std::vector<double>>, std::vector<std::vector<int>>>;

// The caller's list after a failure, which keeps what came before a solution that isn't complete.
void expectSolutions(const Solutions& actual, const Solutions& expected, const Ec& ec) {
  Solutions failed{{}, {{7}}};
  if (ec == Code::axisMismatch) failed.second.assign(actual.second.size(), {0, 1, -1});
  expectEqual(actual, expected, failed);
}

const WireCase rows[] = {
    {"forward", 'c', "sys.calc.fk", "[-1.0,-0.5,0.0,0.5,1.0,1.5]", poseReply,
     "calcFk [-1, -0.5, 0, 0.5, 1, 1.5], ret:" POSE_TEXT ", conf:[1, -1] (0)\n"
     "E: calcFk [-1, -0.5, 0, 0.5, 1, 1.5] (-290)\nE: calcFk [-1, -0.5, 0, 0.5, 1, 1.5] (256)",
     [](Robot& r, Ec& ec) { expectEqual(r.model().calcFk(angles<6>(), ec), expectedPose()); }, poseRules()},
    {"forward with a toolset", 'c', "sys.calc.fk",
     R"({"jnt_pos":[-1.0,-0.5,0.0,0.5,1.0,1.5,2.0],"tool_set":)" TOOLSET "}", poseReply,
     "calcFk [-1, -0.5, 0, 0.5, 1, 1.5, 2] " TOOLSET_TEXT ", ret:" POSE_TEXT ", conf:[1, -1] (0)\n"
     "E: calcFk [-1, -0.5, 0, 0.5, 1, 1.5, 2] " TOOLSET_TEXT " (-290)",
     [](QuillRobot& r, Ec& ec) { expectEqual(r.model().calcFk(angles<7>(), toolset(), ec), expectedPose()); },
     poseRules()},
    {"forward of three axes", 'c', "sys.calc.fk", "[-1.0,-0.5,0.0]", poseReply,
     "calcFk [-1, -0.5, 0], ret:" POSE_TEXT ", conf:[1, -1] (0)",
     [](TriaxRobot& r, Ec& ec) { expectEqual(r.model().calcFk(angles<3>(), ec), expectedPose()); },
     poseRules()},
    {"inverse", 'c', "sys.calc.ik", R"({"redundant":[0.75],)" POSE "}",
     R"({"data":[-1.0,-0.5,0.0,0.5,1.0,1.5]})",
     "calcIk " POSE_TEXT ", ret:[-1, -0.5, 0, 0.5, 1, 1.5] (0)\nE: calcIk " POSE_TEXT
     " (-290)\nE: calcIk " POSE_TEXT " (256)\ncalcIk " POSE_TEXT ", ret:[0, 0, 0, 0, 0, 0] (261)",
     [](Robot& r, Ec& ec) { expectEqual(r.model().calcIk(posture(), ec), angles<6>()); }, anglesRules()},
    {"inverse in a configuration", 'c', "sys.calc.ik",
     R"({"conf":[0.0,1.0,0.0,2.0,0.0,1.0,0.0,0.0],"redundant":[0.75],)" POSE "}",
     R"({"data":[-1.0,-0.5,0.0,0.5,1.0,1.5,9.0]})",
     "calcIk " POSE_TEXT ", conf:[0, 1, 0, 2, 0, 1], ret:[-1, -0.5, 0, 0.5, 1, 1.5] (0)",
     [](Robot& r, Ec& ec) {
       expectEqual(r.model().calcIk(posture({0, 1, 0, 2, 0, 1, 9, 9, 9}), ec), angles<6>());
     },
     std::move(anglesRules()).tolerates("</data /data/6=*")},
    {"inverse with a toolset", 'c', "sys.calc.ik",
     R"({"conf":[3.0,0.0,0.0,0.0,0.0,0.0,0.0,0.0],"redundant":[0.75],)"
     R"("rot":[3.0,0.0,1.5],"tool_set":)" TOOLSET R"(,"trans":[0.5,0.25,1.0]})",
     R"({"data":[-1.0,-0.5,0.0,0.5]})",
     "calcIk " POSE_TEXT ", conf:[3, 0, 0, 0] " TOOLSET_TEXT ", ret:[-1, -0.5, 0, 0.5] (0)\n"
     "E: calcIk " POSE_TEXT ", conf:[3, 0, 0, 0] " TOOLSET_TEXT " (-290)",
     [](QuadraxRobot& r, Ec& ec) { expectEqual(r.model().calcIk(posture({3}), toolset(), ec), angles<4>()); },
     anglesRules()},
    {"inverse of five axes", 'c', "sys.calc.ik", R"({"redundant":[0.75],)" POSE "}",
     R"({"data":[-1.0,-0.5,0.0,0.5,1.0]})", "calcIk " POSE_TEXT ", ret:[-1, -0.5, 0, 0.5, 1] (0)",
     [](TandiFiveRobot& r, Ec& ec) { expectEqual(r.model().calcIk(posture(), ec), angles<5>()); },
     anglesRules()},
    {"all solutions", 'c', "utils.calc.all.ik",
     R"({"conf":[1.0,2.0,3.0,4.0,5.0,6.0,7.0,8.0],"elb":0.75,)" POSE "}", solutions, nullptr,
     [](Robot& r, Ec& ec) {
       Solutions read{{}, {{7}}};
       read.first = r.model().calcAllIkSolutions(posture({1, 2, 3, 4, 5, 6, 7, 8, 9}), read.second, ec);
       expectSolutions(read, {{{0.5, 1}, {-0.5}}, {{0, 1, -1}, {2}}}, ec);
     },
     Rules().otherCode(261).tolerates(
         "/data/result/*/conf/*=real <*/data/* >*/data/*/* >/data/result >/data/result/*/jnt")},
    {"no solution", 'c', "utils.calc.all.ik", R"({"elb":0.75,)" POSE "}", R"({"data":{"result":[]}})",
     nullptr,
     [](Robot& r, Ec& ec) {
       Solutions read{{}, {{7}}};
       read.first = r.model().calcAllIkSolutions(posture(), read.second, ec);
       expectSolutions(read, {}, ec);
     },
     Rules().otherCode(261)},
    {"nominal parameters", 'c', "cfg.get", R"({"func":"std","key":"KINEMATICS.DH_PARAMS","type":"json"})",
     R"({"data":[0.5,-1.0,0.25]})", nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.getRobotCfg_DHparam(true, ec), {0.5, -1, 0.25});
     },
     Rules().tolerates("<*/data >/data /data=array")},
    {"calibrated parameters", 'c', "cfg.get", R"({"key":"KINEMATICS.DH_PARAMS_ALL","type":"json"})",
     R"({"data":[0.5,-1.0,0.25]})", nullptr,
     [](StandardRobot& r, Ec& ec) {
       expectEqual(r.getRobotCfg_DHparam(false, ec), {0.5, -1, 0.25});
     },
     Rules().tolerates("<*/data >/data /data=array")},
};
const WireTests tests("model", rows);

}  // namespace

}  // namespace zivra::test
