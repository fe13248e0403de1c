// Tools and work objects: the toolset in force, the lists, and the controller's own record of one.
#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;

Toolset toolset() {
  Toolset made;
  made.load = Load(2.5, {0.5, 0, 0.25}, {0.125, 1, 2});
  made.end = Frame({0, 0, 0.5}, {0, 1.5, 0});
  made.reference = Frame({1, 2, 3}, {0.5, 0, 0});
  return made;
}

void expectToolset(const Toolset& actual, const Toolset& expected) {
  const auto parts = [](const Toolset& t) {
    return std::tuple(t.load.mass, t.load.cog, t.load.inertia, t.end.trans, t.end.rpy, t.reference.trans,
                      t.reference.rpy);
  };
  expectEqual(parts(actual), parts(expected), parts({}));
}

#define LOAD R"("load":{"cog":[0.5,0.0,0.25],"inertia":[0.125,1.0,2.0],"mass":2.5})"
#define END R"("rot":[0.0,1.5,0.0],"trans":[0.0,0.0,0.5])"
#define REF R"("rot":[0.5,0.0,0.0],"trans":[1.0,2.0,3.0])"
#define IN_FORCE R"({"end":{)" END "}," LOAD R"(,"ref":{)" REF "}}"
const char* const printed =
    "setToolset end, Set toolset to end:trans:[0, 0, 0.5], rpy:[0, 1.5, 0], ref:trans:[1, 2, 3], rpy:[0.5, "
    "0, 0], load:m:2.5, cog:[0.5, 0, 0.25] (0)";

// Frames and loads are read tolerantly: what is missing or too short leaves zeros.
#define TOLERANT(at, a, b) \
  "-" at "/" a " -" at "/" b " " at "/" a "=* " at "/" b "=* [<>]*" at "/" a " [<>]*" at "/" b " "
#define TOLERANT_FRAME(at) TOLERANT(at, "trans", "rot")
#define TOLERANT_LOAD(at) TOLERANT(at, "cog", "inertia") "-" at "/mass " at "/mass=null " at "/mass=int "

const char* const list =
    R"({"tool":{"torch":{"load":{"cog":[0.5,0.0,0.25],"inertia":[0.125,1.0,2.0],"mass":2.5},)"
    R"("coord":{"trans":[0.0,0.0,0.5],"rot":[0.0,1.5,0.0]},"held":true},)"
    R"("anvil":{"load":{"mass":1.0},"coord":null}}})";

void expectList(const std::vector<WorkToolInfo>& actual) {
  using Parts = std::tuple<std::string, std::string, bool, std::array<double, 3>, std::array<double, 3>,
                           double, std::array<double, 3>, std::array<double, 3>>;
  std::vector<Parts> parts;
  for (const auto& i : actual)
    parts.emplace_back(i.name, i.alias, i.robotHeld, i.pos.trans, i.pos.rpy, i.load.mass, i.load.cog,
                       i.load.inertia);
  expectEqual(parts, {{"anvil", "", false, {}, {}, 1, {}, {}},
                      {"torch", "", true, {0, 0, 0.5}, {0, 1.5, 0}, 2.5, {0.5, 0, 0.25}, {0.125, 1, 2}}});
}

// The parts of a record, from calibrated to robhold.
#define NO_TURN R"("ori":{"euler":{"a":0,"b":0,"c":0},"quaternion":{"q1":1,"q2":0,"q3":0,"q4":0}})"
#define FRAME                                                                                      \
  R"("frame":{"ori":{"euler":{"a":0.0,"b":0.0,"c":0.0},"quaternion":{"q1":1.0,"q2":0.0,"q3":0.0,)" \
  R"("q4":0.0}},"pos":{"x":125.0,"y":-250.0,"z":0.5}},"id":)"
#define CARRIED(pos)                                                                                \
  R"(,"identified":true,"load":{"mass":2.0,"moment":[125000.0,250000.0,500000.0],"pose":{)" NO_TURN \
  R"(,"pos":)" pos "}},"
#define HELD CARRIED(R"({"x":500.0,"y":0.0,"z":-62.5})")
#define STANDING CARRIED(R"({"x":0,"y":0,"z":0})")
#define TOOL(id, load, name, more, held)                                                               \
  R"({"calibrated":true,"description":"arc \"1\"","envelope":{"box_envelope":[0,0,0],"shape":0,)"      \
  R"("sphere_envelope":0},)" FRAME id load R"("method":3,"name":")" name "\"," more R"("pers":false,)" \
  R"("robhold":)" held "}"
#define WOBJ(id, load, name, more, held, user)                                                  \
  R"({"calibrated":true,"description":"arc \"1\"",)" FRAME id load                              \
  R"("mechanic":"robot","method":3,"movable":true,"name":")" name "\"," more R"("pers":false,)" \
  R"("related_frame":")" user R"(","robhold":)" held R"(,"uf_id":-100})"
#define ADDED(what, record) R"({"operator":"add",")" what "\":[" record "]}"
#define EDITED(what, record) R"({"operator":"edit",")" what "\":[" record "]}"
#define LINE(what, name) \
  what " name " name " trans:[0.125, -0.25, 0.0005], rpy:[0, 0, 0] m:2, cog:[0.5, 0, -0.0625] (0)"

WorkToolInfo info(const char* name, bool held) {
  WorkToolInfo made(name, held, Frame({0.125, -0.25, 0.0005}, {0, 0, 0}),
                    Load(2, {0.5, 0, -0.0625}, {0.125, 0.25, 0.5}));
  made.alias = "arc \"1\"";
  return made;
}

// Any reply but an integer is a success.
Rules recordRules() { return Rules().ownLogOnly().tolerates("=null =bool =real =text =array =object"); }
// The list of the names only decides between adding and editing: whatever becomes of it, the record is sent.
Rules listRules() { return Rules().ownLogOnly().notAwaited(256); }

const WireCase rows[] = {
    {"toolset in force", 'g', "ix.coord.toolset", "null", IN_FORCE, nullptr,
     [](Robot& r, Ec& ec) { expectToolset(r.toolset(ec), toolset()); },
     Rules().integerIsCode().tolerates(TOLERANT_FRAME("/end") TOLERANT_FRAME("/ref") TOLERANT_LOAD(
         "/load") "/end=null /ref=null /load=null /end=object /ref=object /load=object")},
    {"set toolset", 's', "ix.coord.toolset",
     R"({"end":{"name":"",)" END "}," LOAD R"(,"ref":{"name":"",)" REF "}}", "0", printed,
     [](Robot& r, Ec& ec) { r.setToolset(toolset(), ec); }},
    {"set toolset by names", 'c', "sys.toolset.query", R"({"tool":"torch","wobj":"table"})",
     R"({"data":)" IN_FORCE "}",
     "setToolset end, Set toolset to torch, table, (0)\nE: setToolset end, setToolset query failed (-260)\n"
     "E: setToolset end, setToolset query failed (256)\nE: setToolset end, setToolset query failed (257)",
     [](Robot& r, Ec& ec) { expectToolset(r.setToolset("torch", "table", ec), toolset()); },
     Rules()
         .integerGives(-260)
         .otherCode(-260)
         .allLinesNamed()
         .tolerates(TOLERANT_FRAME("/data/end") TOLERANT_FRAME("/data/ref") TOLERANT_LOAD("/data/load"))
         .tolerates("/data/load=null /data/load=object /data/end=object /data/ref=object")
         .then('s', "ix.coord.toolset",
               R"({"end":{"name":"torch",)" END "}," LOAD R"(,"ref":{"name":"table",)" REF "}}", "0")},
    {"tools", 'g', "project.tool.info", "null", list, nullptr,
     [](Robot& r, Ec& ec) { expectList(r.toolsInfo(ec)); },
     Rules()
         .integerIsCode()
         .tolerates(TOLERANT_FRAME("/tool/*/coord") TOLERANT_LOAD("/tool/*/load"))
         .tolerates("-/tool/* /tool/*/load=null /tool/*/load=object /tool/*/coord=null /tool/*/coord=object")
         .tolerates("/tool/torch/held=null /tool/torch/held=int /tool/torch/held=real /tool/torch=object "
                    "/tool/anvil=object /tool/torch=null "
                    "/tool/anvil=null /tool=object")},
    {"work objects", 'g', "project.wobj.info", "null", R"({"wobj":{"w":{"held":true}}})", nullptr,
     [](Robot& r, Ec& ec) {
       std::vector<std::pair<std::string, bool>> read;
       for (const auto& info : r.wobjsInfo(ec)) read.emplace_back(info.name, info.robotHeld);
       expectEqual(read, {{"w", true}});
     },
     Rules().integerIsCode().tolerates("-/wobj/* /wobj/w/held=null /wobj/w/held=int /wobj/w/held=real "
                                       "/wobj/w=object /wobj/w=null /wobj=object")},
    {"global tool", 'c', "global.tools.set.one", TOOL("15", HELD, "g_tool_15", "", "true"), "0",
     LINE("setToolInfo", "g_tool_15"), [](Robot& r, Ec& ec) { r.setToolInfo(info("g_tool_15", true), ec); },
     recordRules()},
    {"global work object", 'c', "global.wobjs.set.one",
     WOBJ("0", STANDING, "g_wobj_0", "", "false", "g_user_0"), "0", LINE("setWobjInfo", "g_wobj_0"),
     [](Robot& r, Ec& ec) { r.setWobjInfo(info("g_wobj_0", false), ec); }, recordRules()},
    {"new tool", 'g', "project.tools", "null", R"(["tool0","g_wobj_12"])", LINE("setToolInfo", "g_wobj_1"),
     [](Robot& r, Ec& ec) { r.setToolInfo(info("g_wobj_1", false), ec); },
     listRules().then('c', "project.tool", ADDED("tools", TOOL("0", STANDING, "g_wobj_1", "", "false")),
                      "0")},
    {"tool that there is", 'g', "project.tools", "null", R"([5,"tool0","g_tool_3x"])",
     LINE("setToolInfo", "g_tool_3x"), [](Robot& r, Ec& ec) { r.setToolInfo(info("g_tool_3x", true), ec); },
     listRules().then('c', "project.tool",
                      EDITED("tools", TOOL("3", HELD, "g_tool_3x", R"("old_name":"g_tool_3x",)", "true")),
                      "0")},
    {"new work object", 'g', "project.wobjs", "null", "[]", LINE("setWobjInfo", "table"),
     [](Robot& r, Ec& ec) { r.setWobjInfo(info("table", true), ec); },
     listRules().then('c', "project.wobj", ADDED("wobjs", WOBJ("0", HELD, "table", "", "true", "userframe0")),
                      "0")},
    {"work object that there is", 'g', "project.wobjs", "null", R"(["g_wobj_16"])",
     LINE("setWobjInfo", "g_wobj_16"), [](Robot& r, Ec& ec) { r.setWobjInfo(info("g_wobj_16", false), ec); },
     listRules().then('c', "project.wobj",
                      EDITED("wobjs", WOBJ("16", STANDING, "g_wobj_16", R"("old_name":"g_wobj_16",)", "false",
                                           "userframe0")),
                      "0")},
};
const WireTests tests("tools", rows);

}  // namespace

}  // namespace zivra::test
