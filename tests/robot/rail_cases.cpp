// Rail, external axes and mechanical units.
#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;
using Texts = std::vector<std::string>;

constexpr const char* frameLog = "setRail base frame trans:[1, 0.25, -2], rpy:[0, 0, 1.5] (0)";
constexpr const char* frameJson = R"({"rot":[0.0,0.0,1.5],"trans":[1.0,0.25,-2.0]})";
const Frame frame({1, 0.25, -2}, {0, 0, 1.5});

// Reads into `value`, which is what it stays on failure.
template <class T>
void expectRail(Robot& r, Ec& ec, const char* name, T value, const T& expected) {
  const T before = value;
  r.getRailParameter(name, value, ec);
  expectEqual(value, expected, before);
}

template <class T>
void expectAxis(Robot& r, Ec& ec, T value, const T& expected) {
  const T before = value;
  r.getExtAxisInfo("axis2", "max_acc", value, ec);
  expectEqual(value, expected, before);
}

template <class T>
void expectUnit(Robot& r, Ec& ec, T value, const T& expected) {
  const T before = value;
  r.getMechUnit("u6", "axes_info", value, ec);
  expectEqual(value, expected, before);
}

Rules ofTheRail() { return Rules().integerIsCode().damaged("-/* /*", 259); }
Rules ofATable() { return Rules().damaged("-/* /*", 259); }
Rules ofTexts() { return Rules().tolerates("<</* </* >/*").damaged("-/* /*", 259); }

const WireCase rows[] = {
    {"set rail speed", 's', "rail_param", R"({"max_speed":500.0})", "0", nullptr,
     [](Robot& r, Ec& ec) { r.setRailParameter("maxSpeed", 0.5, ec); }},
    {"set rail speed by an int", 's', "rail_param", R"({"max_speed":2000.0})", "0", nullptr,
     [](Robot& r, Ec& ec) { r.setRailParameter("maxSpeed", 2, ec); }},
    {"enable rail", 's', "rail_param", R"({"enable":true})", "0", nullptr,
     [](Robot& r, Ec& ec) { r.setRailParameter("enable", true, ec); }},
    {"set rail name", 's', "rail_param", R"({"name":"track 1"})", "0", nullptr,
     [](Robot& r, Ec& ec) { r.setRailParameter("name", std::string("track 1"), ec); }},
    {"set rail name by a literal", 's', "rail_param", R"({"name":"track 1"})", "0", nullptr,
     [](Robot& r, Ec& ec) { r.setRailParameter("name", "track 1", ec); }},
    {"set rail soft limits", 's', "rail_param", R"({"soft_limit_lower":-1000.0,"soft_limit_upper":1000.0})",
     "0", nullptr,
     [](Robot& r, Ec& ec) {
       r.setRailParameter("softLimit", {-1, 1.0}, ec);
     }},
    {"set rail range", 's', "rail_param", R"({"lower":-1500.0,"upper":2000.0})", "0", nullptr,
     [](Robot& r, Ec& ec) {
       r.setRailParameter("range", std::vector<double>{-1.5, 2, 99}, ec);
     }},
    {"set rail frame", 'c', "rail.set_rail_frame", frameJson, R"({"data":true})", frameLog,
     [](Robot& r, Ec& ec) { r.setRailParameter("baseFrame", frame, ec); },
     Rules()
         .ownLogOnly()
         .tolerates("=null =bool =real =text =array /data=int /data=real")
         .damaged("-/data /data=null", 258)},
    {"set rail frame answered with a code", 'c', "rail.set_rail_frame", frameJson, "0", frameLog,
     [](Robot& r, Ec& ec) { r.setRailParameter("baseFrame", frame, ec); },
     Rules().ownLogOnly().tolerates("=null =bool =real =text =array").damaged("=object", 258)},
    {"rail acceleration", 'g', "rail_param", "null", R"({"max_acc":1999,"max_speed":1})", nullptr,
     [](Robot& r, Ec& ec) { expectRail<double>(r, ec, "maxAcc", 7, 1.999); },
     ofTheRail().tolerates("*max_speed* /max_acc=real")},
    {"rail acceleration as an int", 'g', "rail_param", "null", R"({"max_acc":-1999.0})", nullptr,
     [](Robot& r, Ec& ec) { expectRail<int>(r, ec, "maxAcc", 7, -1); }, ofTheRail()},
    {"rail enabled", 'g', "rail_param", "null", R"({"enable":true})", nullptr,
     [](Robot& r, Ec& ec) { expectRail<bool>(r, ec, "enable", false, true); }, ofTheRail()},
    {"rail name", 'g', "rail_param", "null", R"({"name":"track 1"})", nullptr,
     [](Robot& r, Ec& ec) { expectRail<std::string>(r, ec, "name", "before", "track 1"); }, ofTheRail()},
    {"rail range", 'g', "rail_param", "null", R"({"lower":-2000,"upper":3000})", nullptr,
     [](Robot& r, Ec& ec) {
       expectRail<std::vector<double>>(r, ec, "range", {7}, {-2, 3});
     },
     ofTheRail().tolerates("-/* /*=null /*=real")},
    {"rail frame", 'g', "rail_param", "null",
     R"({"base_frame":{"trans":[1.0,0.25,-2.0],"rot":[0.0,0.0,1.5]}})", nullptr,
     [](Robot& r, Ec& ec) {
       Frame read({7, 7, 7}, {7, 7, 7});
       r.getRailParameter("baseFrame", read, ec);
       expectEqual(read.trans, frame.trans, {7, 7, 7});
       expectEqual(read.rpy, frame.rpy, {7, 7, 7});
     },
     ofTheRail().tolerates("-/* /base_frame=null /base_frame/trans=* /base_frame/rot=* </* <</* >/*")},

    {"axis parameter as int", 'c', "ext_axis.get_axis_info", "null", R"({"data":{"axis2":{"max_acc":5}}})",
     nullptr, [](Robot& r, Ec& ec) { expectAxis<int>(r, ec, 7, 5); }, ofATable()},
    {"axis parameter as double", 'c', "ext_axis.get_axis_info", "null", R"({"data":{"axis2":{"max_acc":2}}})",
     nullptr, [](Robot& r, Ec& ec) { expectAxis<double>(r, ec, 7, 2); },
     ofATable().tolerates("/data/axis2/max_acc=real")},
    {"axis parameter as bool", 'c', "ext_axis.get_axis_info", "null",
     R"({"data":{"axis2":{"max_acc":true}}})", nullptr,
     [](Robot& r, Ec& ec) { expectAxis<bool>(r, ec, false, true); }, ofATable()},
    {"axis parameter as text", 'c', "ext_axis.get_axis_info", "null", R"({"data":{"axis2":{"max_acc":"a"}}})",
     nullptr, [](Robot& r, Ec& ec) { expectAxis<std::string>(r, ec, "before", "a"); }, ofATable()},
    {"axis parameter as texts", 'c', "ext_axis.get_axis_info", "null",
     R"({"data":{"axis2":{"max_acc":["a","b"]}}})", nullptr,
     [](Robot& r, Ec& ec) {
       expectAxis<Texts>(r, ec, {"before"}, {"before", "a", "b"});
     },
     ofTexts()},
    {"unit parameter as int", 'c', "ext_axis.get_mechanical_unit_info", "null",
     R"({"data":{"u6":{"axes_info":5}}})", nullptr, [](Robot& r, Ec& ec) { expectUnit<int>(r, ec, 7, 5); },
     ofATable()},
    {"unit parameter as bool", 'c', "ext_axis.get_mechanical_unit_info", "null",
     R"({"data":{"u6":{"axes_info":true}}})", nullptr,
     [](Robot& r, Ec& ec) { expectUnit<bool>(r, ec, false, true); }, ofATable()},
    {"unit parameter as texts", 'c', "ext_axis.get_mechanical_unit_info", "null",
     R"({"data":{"u6":{"axes_info":["axis1","axis2"]}}})", nullptr,
     [](Robot& r, Ec& ec) {
       expectUnit<Texts>(r, ec, {"before"}, {"before", "axis1", "axis2"});
     },
     ofTexts()},
};
const WireTests tests("rail", rows);

}  // namespace

}  // namespace zivra::test
