// Signals and registers.
#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;

// Reads into `value`, which is what it stays on failure.
template <class T>
void expectRegister(Robot& r, Ec& ec, T value, const T& expected) {
  const T before = value;
  r.readRegister("r", 2, value, ec);
  expectEqual(value, expected, before);
}

Rules ofOneRegister() { return Rules().integerIsCode().damaged("-/* =* /*=null", -260).damaged("/*=*", 259); }
Rules ofAnArray() {
  return Rules()
      .integerIsCode()
      .tolerates("</r >/r /r/1=bool /r/1=int /r/1=real")
      .damaged("-/r =* /r=null", -260)
      .damaged("/r=* <</r /r/0=*", 259);
}
// An answer of any other type than an integer tells of no failure.
Rules arrayWritten() { return Rules().tolerates("=null =bool =real =text =array =object"); }

const WireCase rows[] = {
    {"digital input", 'g', "device.io", R"({"DI.DI0_3":null})", R"({"DI.DI0_3":true})", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.getDI(0, 3, ec), true); },
     Rules().integerIsCode().tolerates("-/* /*=null /*=int /*=real")},
    {"digital input by a number", 'g', "device.io", R"({"DI.DI4294967295_10":null})",
     R"({"DI.DI4294967295_10":1})", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.getDI(4294967295u, 10, ec), true); },
     Rules().integerIsCode().tolerates("-/* /*=null /*=bool /*=real")},
    {"digital output", 'g', "device.io", R"({"DO.DO12_0":null})", R"({"DO.DO12_0":true})", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.getDO(12, 0, ec), true); },
     Rules().integerIsCode().tolerates("-/* /*=null /*=int /*=real")},
    {"analog input", 'g', "device.io", R"({"AI.AI1_0":null})", R"({"AI.AI1_0":2.5})", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.getAI(1, 0, ec), 2.5); }, Rules().integerIsCode()},
    {"simulate an input", 'c', "device.io.simu.di", R"({"name":"DI0_3","value":true})", "0",
     "setDI end, set DI0_3 to true (0)", [](Robot& r, Ec& ec) { r.setDI(0, 3, true, ec); },
     Rules().replyUnread()},
    {"digital output on", 'c', "device.io.out.do", R"({"name":"DO1_0","value":true})", "0",
     "setDO end, set DO1_0 to true (0)", [](Robot& r, Ec& ec) { r.setDO(1, 0, true, ec); },
     Rules().replyUnread()},
    {"digital output off", 'c', "device.io.out.do", R"({"name":"DO0_15","value":false})", "0",
     "setDO end, set DO0_15 to false (0)", [](Robot& r, Ec& ec) { r.setDO(0, 15, false, ec); },
     Rules().replyUnread()},
    {"analog output", 'c', "device.io.out.ao", R"({"name":"AO0_1","value":-2.0})", "0",
     "setAO end, set AO0_1 to -2 (0)", [](Robot& r, Ec& ec) { r.setAO(0, 1, -2, ec); },
     Rules().replyUnread()},
    {"simulation on", 'c', "device.io.simu.on", "null", "0", nullptr,
     [](Robot& r, Ec& ec) { r.setSimulationMode(true, ec); }},
    {"simulation off", 'c', "device.io.simu.off", "null", "0", nullptr,
     [](Robot& r, Ec& ec) { r.setSimulationMode(false, ec); }},

    {"read int", 'g', "register.values", R"({"r.#2":null})", R"({"r.#2":-5})", nullptr,
     [](Robot& r, Ec& ec) { expectRegister<int>(r, ec, 7, -5); }, ofOneRegister()},
    {"read float", 'g', "register.values", R"({"r.#2":null})", R"({"r.#2":2.5})", nullptr,
     [](Robot& r, Ec& ec) { expectRegister<float>(r, ec, 7, 2.5f); }, ofOneRegister()},
    {"read bool", 'g', "register.values", R"({"r.#2":null})", R"({"r.#2":true})", nullptr,
     [](Robot& r, Ec& ec) { expectRegister<bool>(r, ec, false, true); },
     ofOneRegister().tolerates("/*=int /*=real")},
    {"read ints", 'g', "register.values", R"({"r":null})", R"({"r":[5,-7]})", nullptr,
     [](Robot& r, Ec& ec) {
       expectRegister<std::vector<int>>(r, ec, {}, {5, -7});
     },
     ofAnArray()},
    {"read floats", 'g', "register.values", R"({"r":null})", R"({"r":[1,2.5]})", nullptr,
     [](Robot& r, Ec& ec) {
       expectRegister<std::vector<float>>(r, ec, {}, {1, 2.5f});
     },
     ofAnArray().tolerates("/r/0=real")},
    {"read bools", 'g', "register.values", R"({"r":null})", R"({"r":[true,false]})", nullptr,
     [](Robot& r, Ec& ec) {
       expectRegister<std::vector<bool>>(r, ec, {}, {true, false});
     },
     ofAnArray().tolerates("/r/0=int /r/0=real")},
    {"write int", 'c', "register.write", R"({"bias":2,"name":"r","value":-5})", "0",
     "writeRegister r, 2, -5 (0)", [](Robot& r, Ec& ec) { r.writeRegister("r", 2, -5, ec); }},
    {"write float", 'c', "register.write", R"({"bias":4294967295,"name":"r","value":2.0})", "0",
     "writeRegister r, 4294967295, 2 (0)",
     [](Robot& r, Ec& ec) { r.writeRegister("r", 4294967295u, 2.0f, ec); }},
    {"write bool", 'c', "register.write", R"({"bias":0,"name":"r","value":true})", "0",
     "writeRegister r, 0, true (0)", [](Robot& r, Ec& ec) { r.writeRegister("r", 0, true, ec); }},
    {"write ints", 'c', "register.write", R"({"name":"r","type":"array","value":[1,-2]})", "0",
     "writeRegister r, [1, -2] (0)",
     [](Robot& r, Ec& ec) {
       r.writeRegister("r", 3, std::vector{1, -2}, ec);
     },
     arrayWritten()},
    {"write floats in braces", 'c', "register.write", R"({"name":"r","type":"array","value":[1.5,2.0]})", "0",
     "writeRegister r, [1.5, 2] (0)",
     [](Robot& r, Ec& ec) {
       r.writeRegister("r", 3, {1.5f, 2.0f}, ec);
     },
     arrayWritten()},
    {"write bools", 'c', "register.write", R"({"name":"r","type":"array","value":[true,false]})", "0",
     "writeRegister r, [true, false] (0)",
     [](Robot& r, Ec& ec) {
       r.writeRegister<std::vector<bool>>("r", 3, {true, false}, ec);
     },
     arrayWritten()},
    {"write an empty array", 'c', "register.write", R"({"name":"r","type":"array","value":[]})", "0",
     "writeRegister r, [] (0)", [](Robot& r, Ec& ec) { r.writeRegister("r", 0, std::vector<int>(), ec); },
     arrayWritten()},
};
const WireTests tests("signals", rows);

}  // namespace

}  // namespace zivra::test
