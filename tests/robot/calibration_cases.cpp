// Calibration of frames, the controller's clock and its user log.
#include "support/wire_case.h"

namespace zivra {

static bool operator==(const FrameCalibrationResult& a, const FrameCalibrationResult& b) {
  return std::tie(a.frame.trans, a.frame.rpy, a.frame.pos, a.errors) ==
         std::tie(b.frame.trans, b.frame.rpy, b.frame.pos, b.errors);
}

static bool operator==(const LogInfo& a, const LogInfo& b) {
  return std::tie(a.id, a.timestamp, a.logText, a.repairHint) ==
         std::tie(b.id, b.timestamp, b.logText, b.repairHint);
}

}  // namespace zivra

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;
using Level = LogInfo::Level;

const char* const fit =
    R"({"data":{"errors":[0.001,0.002,0.5],"frame":{"rot":[0.1,0.2,0.3],"trans":[1.0,2.0,-3.0]}}})";

// Only what the frame holds has to be good; the figures of merit may be missing.
Rules fitRules() {
  return Rules()
      .otherCode(-260)
      .integerGives(-260)
      .tolerates("-/data/* /data/errors* /data/frame=null /data/frame=object <* >*")
      .tolerates("/data/frame/trans=* /data/frame/rot=*");
}

FrameCalibrationResult fitted() {
  FrameCalibrationResult result;
  result.frame = Frame({1, 2, -3}, {0.1, 0.2, 0.3});
  result.errors = {0.001, 0.002, 0.5};
  return result;
}

// `count` points that differ in each number.
template <unsigned short dof>
std::vector<std::array<double, dof>> taught(std::size_t count) {
  std::vector<std::array<double, dof>> points(count);
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t j = 0; j < dof; ++j)
      points[i][j] = static_cast<double>(i) + 0.125 * static_cast<double>(j);
  }
  return points;
}

#define POINT_OF_3(i) "[" i ".0," i ".125," i ".25]"
#define POINT_OF_6(i) "[" i ".0," i ".125," i ".25," i ".375," i ".5," i ".625]"
#define THREE POINT_OF_6("0") "," POINT_OF_6("1") "," POINT_OF_6("2")
#define SIX THREE "," POINT_OF_6("3") "," POINT_OF_6("4") "," POINT_OF_6("5")
#define NO_AUX R"("aux":[0.0,0.0,0.0],)"

const char* const page =
    R"({"data":{"logs":[{"content":"stop","err_code":-3,"repair":"release","time":"2026-01-02 03:04:05"},)"
    R"({"content":"late"}]}})";
std::vector<LogInfo> pageEntries() {
  return {{-3, "2026-01-02 03:04:05", "stop", "release"}, {0, "", "late", ""}};
}
Rules pageRules() {
  return Rules()
      .otherCode(-260)
      .integerGives(-260)
      .tolerates("-/* /data/logs=* <* >*")
      .tolerates("/data/logs/?/content=null /data/logs/?/err_code=null /data/logs/?/repair=null")
      .tolerates("/data/logs/?/time=null");
}

// What is neither a code nor an object tells of no failure.
Rules clockRules() { return Rules().ownLogOnly().tolerates("=null =bool =real =text =array =object"); }

const WireCase rows[] = {
    {"tool from three points", 'c', "utils.calibrate_frame",
     "{" NO_AUX R"("held":true,"points":[)" THREE R"(],"type":"tool"})", fit, nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.calibrateFrame(FrameType::tool, taught<6>(3), true, ec), fitted());
     },
     fitRules()},
    {"tool from six points", 'c', "utils.calibrate_frame",
     "{" NO_AUX R"("held":false,"points":[)" SIX R"(],"type":"tool"})", fit, nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.calibrateFrame(FrameType::tool, taught<6>(6), false, ec), fitted());
     },
     fitRules()},
    {"work object", 'c', "utils.calibrate_frame",
     "{" NO_AUX R"("held":false,"points":[)" THREE R"(],"type":"wobj"})", fit, nullptr,
     [](StandardRobot& r, Ec& ec) {
       expectEqual(r.calibrateFrame(FrameType::wobj, taught<6>(3), false, ec), fitted());
     },
     fitRules()},
    {"base", 'c', "utils.calibrate_frame",
     R"({"aux":[0.5,-1.0,0.25],"held":false,"points":[)" SIX R"(],"type":"base"})", fit, nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.calibrateFrame(FrameType::baseFrame, taught<6>(6), false, ec, {0.5, -1, 0.25}),
                   fitted());
     },
     fitRules()},
    {"rail of three axes", 'c', "utils.calibrate_frame",
     "{" NO_AUX R"("held":false,"points":[)" POINT_OF_3("0") "," POINT_OF_3("1") "," POINT_OF_3(
         "2") R"(],"type":"rail"})",
     fit, nullptr,
     [](TriaxRobot& r, Ec& ec) {
       expectEqual(r.calibrateFrame(FrameType::rail, taught<3>(3), false, ec), fitted());
     },
     fitRules()},

    {"time server", 'c', "sys.ntp.config", R"({"server":"10.0.0.1"})", "0", "configNtp 10.0.0.1 (0)",
     [](Robot& r, Ec& ec) { r.configNtp("10.0.0.1", ec); }, clockRules()},
    {"time server with words", 'c', "sys.ntp.config", R"({"server":"pool"})",
     R"({"data":{"msg":" kept"},"error":0})", "configNtp pool (0 kept)",
     [](Robot& r, Ec& ec) { r.configNtp("pool", ec); }, clockRules().tolerates("-/* /error=null /data*")},
    {"synchronise", 'c', "sys.ntp.sync", "null", "0", "syncTimeWithServer (0)",
     [](Robot& r, Ec& ec) { r.syncTimeWithServer(ec); }, clockRules()},
    {"synchronise with words", 'c', "sys.ntp.sync", "null", R"({"data":" done"})",
     "syncTimeWithServer (0 done)", [](Robot& r, Ec& ec) { r.syncTimeWithServer(ec); },
     clockRules().tolerates("-/* /data*")},

    {"log of two levels", 'c', "user_log.query",
     R"({"filter":{"level":["info","error"]},"limit":10,"offset":25,"order":"time DESC"})", page, nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.queryControllerLog(11, {Level::err, Level::info}, ec, 25), pageEntries());
     },
     pageRules()},
    {"log without a level", 'c', "user_log.query",
     R"({"filter":{"level":[]},"limit":1,"offset":0,"order":"time DESC"})", page, nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.queryControllerLog(0, {}, ec), pageEntries()); }, pageRules()},
    {"log of warnings", 'c', "user_log.query",
     R"({"filter":{"level":["warning"]},"limit":10,"offset":4294967295,"order":"time DESC"})", page, nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.queryControllerLog(10, {Level::warning}, ec, 4294967295U), pageEntries());
     },
     pageRules()},
};
const WireTests tests("calibration", rows);

}  // namespace

}  // namespace zivra::test
