// Collision detection, limits of the axes, zero of the force sensors.
#include <fmt/format.h>

#include "robot/fixture.h"
#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;

#define COLLISION "safety.collision_detection"
#define SENSITIVITY R"("sensitivity":[0.5,0.5,0.5,0.5,0.5,0.25])"
constexpr std::array<double, 6> sensitivity{0.5, 0.5, 0.5, 0.5, 0.5, 0.25};
#define COLLISION_LINE "enableCollisionDetection end, sensitivity: [0.5, 0.5, 0.5, 0.5, 0.5, 0.25], "

void detect(Robot& r, StopLevel level, double fallback, Ec& ec) {
  r.enableCollisionDetection(sensitivity, level, fallback, ec);
}

Rules nullIsSuccess() { return Rules().tolerates("=null"); }

constexpr const char* limitReply =
    R"({"enable":true,"lower":[-1,-2.5,-3,-4,-5,-6],"upper":[1,2.5,3,4,5,6,7]})";
using Limits = std::array<std::array<double, 2>, 6>;

void readLimits(Robot& r, Ec& ec, const Limits& expected) {
  std::array<double[2], 6> read;
  for (auto& pair : read) pair[0] = pair[1] = 9;
  const bool on = r.getSoftLimit(read, ec);
  Limits limits, before;
  for (std::size_t i = 0; i < 6; ++i) {
    limits[i] = {read[i][0], read[i][1]};
    before[i] = {9, 9};
  }
  expectEqual(std::pair(on, limits), std::pair(true, expected), std::pair(false, before));
}

const WireCase rows[] = {
    {"stop 0", 'c', COLLISION,
     R"({"action":{"behaviour":"stop1","fallback":1.5},"enable":true,)" SENSITIVITY "}", "0",
     COLLISION_LINE "behaviour: stop0, fallback: 1.5 (0)",
     [](Robot& r, Ec& ec) { detect(r, StopLevel::stop0, 1.5, ec); }, nullIsSuccess()},
    {"stop 1", 'c', COLLISION,
     R"({"action":{"behaviour":"stop1","fallback":0.0},"enable":true,)" SENSITIVITY "}", "0",
     COLLISION_LINE "behaviour: stop1, fallback: 0 (0)",
     [](Robot& r, Ec& ec) { detect(r, StopLevel::stop1, 0, ec); }, nullIsSuccess()},
    {"pause", 'c', COLLISION,
     R"({"action":{"behaviour":"pause","fallback":0.5},"enable":true,)" SENSITIVITY "}", "0",
     COLLISION_LINE "behaviour: stop2, fallback: 0.5 (0)",
     [](Robot& r, Ec& ec) { detect(r, StopLevel::stop2, 0.5, ec); }, nullIsSuccess()},
    {"yield", 'c', COLLISION,
     R"({"action":{"behaviour":"fcimpedstop"},"compliance":0.5,"enable":true,)" SENSITIVITY "}", "0",
     COLLISION_LINE "behaviour: suppleStop, fallback: 0.5 (0)",
     [](Robot& r, Ec& ec) { detect(r, StopLevel::suppleStop, 0.5, ec); }, nullIsSuccess()},
    {"yield no more than wholly", 'c', COLLISION,
     R"({"action":{"behaviour":"fcimpedstop"},"compliance":1.0,"enable":true,)" SENSITIVITY "}", "0",
     COLLISION_LINE "behaviour: suppleStop, fallback: 1.5 (0)",
     [](Robot& r, Ec& ec) { detect(r, StopLevel::suppleStop, 1.5, ec); }, nullIsSuccess()},
    {"a behaviour that isn't one", 'c', COLLISION,
     R"({"action":{"behaviour":"stop1","fallback":1.0},"enable":true,)" SENSITIVITY "}", "0",
     COLLISION_LINE "behaviour: invalid, fallback: 1 (0)",
     [](Robot& r, Ec& ec) { detect(r, static_cast<StopLevel>(4), 1, ec); }, nullIsSuccess()},
    {"detection of an industrial robot", 'c', COLLISION,
     R"({"action":{"behaviour":"stop1","fallback":2.0},"enable":true,)" SENSITIVITY "}", "0",
     COLLISION_LINE "fallback: 2 (0)",
     [](StandardRobot& r, Ec& ec) { r.enableCollisionDetection(sensitivity, 2, ec); }, nullIsSuccess()},
    {"detection with seven axes", 'c', COLLISION,
     R"({"action":{"behaviour":"stop1","fallback":2.0},"enable":true,)"
     R"("sensitivity":[1.0,1.0,1.0,1.0,1.0,1.0,2.0]})",
     "0",
     "enableCollisionDetection end, sensitivity: [1, 1, 1, 1, 1, 1, 2], behaviour: stop1, fallback: 2 (0)",
     [](QuillRobot& r, Ec& ec) {
       r.enableCollisionDetection({1, 1, 1, 1, 1, 1, 2}, StopLevel::stop1, 2, ec);
     },
     nullIsSuccess()},
    {"detection off", 'c', COLLISION, R"({"enable":false})", "0", "disableCollisionDetection end (0)",
     [](Robot& r, Ec& ec) { r.disableCollisionDetection(ec); }, nullIsSuccess()},
    {"detection off on an industrial robot", 'c', COLLISION, R"({"enable":false})", "0",
     "disableCollisionDetection end (0)", [](StandardRobot& r, Ec& ec) { r.disableCollisionDetection(ec); },
     nullIsSuccess()},
    {"read limits", 'g', "safety.soft_limit", "null", limitReply, nullptr,
     [](Robot& r, Ec& ec) {
       readLimits(r, ec, {{{-1, 1}, {-2.5, 2.5}, {-3, 3}, {-4, 4}, {-5, 5}, {-6, 6}}});
     },
     Rules().tolerates("</* <</* >/* /enable=int /enable=real /*/*=real")},
    {"limits that aren't there read as 0", 'g', "safety.soft_limit", "null",
     R"({"enable":1,"lower":[-1,-2.5],"upper":[]})", nullptr,
     [](Robot& r, Ec& ec) {
       readLimits(r, ec, {{{-1, 0}, {-2.5, 0}}});
     },
     Rules().tolerates("</* <</* >/lower /enable=bool /enable=real /*/*=real")},
    {"set limits", 'c', "safety.soft_limit",
     R"({"enable":true,"lower":[-1.0,-2.0,-3.0],"upper":[1.0,2.0,3.5]})", "0",
     "setSoftLimit end true, [[-1, 1], [-2, 2], [-3, 3.5]], (0)",
     [](TriaxRobot& r, Ec& ec) {
       r.setSoftLimit(true, ec, {{{-1, 1}, {-2, 2}, {-3, 3.5}}});
     },
     nullIsSuccess()},
    {"switch limits off", 'c', "safety.soft_limit", R"({"enable":false,"lower":[],"upper":[]})", "0",
     "setSoftLimit end false, [[1.7976931348623157e+308, 0], [0, 0], [0, 0], [0, 0], [0, 0], [0, 0]], (0)",
     [](Robot& r, Ec& ec) { r.setSoftLimit(false, ec); }, nullIsSuccess()},
    {"zero of all force sensors", 'c', "utils.calibrate_force_sensor", "null", "0",
     "calibrateForceSensor end true, 99, (0)", [](Robot& r, Ec& ec) { r.calibrateForceSensor(true, 99, ec); },
     nullIsSuccess()},
    {"zero of the last force sensor", 'c', "utils.calibrate_force_sensor", R"({"index":6})", "0",
     "calibrateForceSensor end false, 6, (0)",
     [](TandiSevenRobot& r, Ec& ec) { r.calibrateForceSensor(false, 6, ec); }, nullIsSuccess()},
};
const WireTests tests("safety", rows);

using Safety = RobotTest;

TEST_F(Safety, TwiceOnIsToldAsSuchAndNothingElseIs) {
  TandiRobot robot(address());
  controller_.answer(COLLISION, "-1");
  Ec ec;
  detect(robot, StopLevel::stop1, 0, ec);
  EXPECT_EQ(ec, Code::duplicateOperation);
  robot.disableCollisionDetection(ec);
  EXPECT_EQ(ec.value(), -1);
}

TEST_F(Safety, ForceSensorsOfOtherAxesAreNotAskedFor) {
  TandiRobot robot(address());
  for (const int index : {-1, 6}) {
    Ec ec;
    robot.calibrateForceSensor(false, index, ec);
    EXPECT_EQ(ec, Code::parameterExceedsLimit) << index;
    EXPECT_EQ(timesLogged(
                  fmt::format("E: uid: scripted | calibrateForceSensor index:{} over-range | (258)", index)),
              1);
  }
  EXPECT_EQ(controller_.count("utils.calibrate_force_sensor"), 0u);
}

}  // namespace

}  // namespace zivra::test
