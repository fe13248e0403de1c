// Signals, registers, the rail and its tables: what is refused, and what depends on what.
#include "sim/bench.h"
#include "zivra/sim/controller.h"

namespace zivra::sim::test {
namespace {

struct Step {
  char form;
  const char* key;
  const char* parameter;
  const char* expected;
};

void follow(Bench& bench, const std::vector<Step>& steps) {
  for (const Step& step : steps)
    EXPECT_EQ(bench.ask(step.form, step.key, step.parameter), json(step.expected))
        << step.key << ' ' << step.parameter;
}

TEST(Signals, AreSetWhereTheyMayBe) {
  Bench bench;
  follow(bench, {
                    {'c', "device.io.out.do", R"({"name":"DO0_5","value":true})", "0"},
                    {'c', "device.io.out.do", R"({"name":"DO0_8","value":true})", "-1"},
                    {'c', "device.io.out.do", R"({"name":"DO2_0","value":true})", "-1"},
                    {'c', "device.io.out.do", R"({"name":"DI0_0","value":true})", "-1"},
                    {'c', "device.io.out.do", R"({"name":"DO0_6","value":true})", "-1"},
                    {'c', "device.io.out.do", R"({"name":"DO0_7","value":true})", "-1"},
                    {'c', "device.io.out.do", R"({"name":"","value":true})", "-1"},
                    {'c', "device.io.out.do", R"({"name":"DO0_0","value":1})", "-260"},
                    {'c', "device.io.out.do", R"({"name":7,"value":true})", "-260"},
                    {'c', "device.io.out.do", "null", "-260"},
                    {'c', "device.io.out.ao", R"({"name":"AO0_1","value":-10.0})", "0"},
                    {'c', "device.io.out.ao", R"({"name":"AO0_1","value":10.5})", "-1"},
                    {'c', "device.io.out.ao", R"({"name":"AI0_1","value":1.0})", "-1"},
                    {'c', "device.io.out.ao", R"({"name":"AO0_1","value":null})", "-260"},
                    {'g', "device.io", R"({"DO.DO0_5":null,"DO.DO0_0":null,"AO.AO0_1":null,"AO.no":null})",
                     R"({"DO.DO0_5":true,"DO.DO0_0":false,"AO.AO0_1":-10.0})"},
                });
}

TEST(Signals, InputsAreSimulatedWhileTheModeIsOn) {
  const char* read = R"({"DI.DI0_0":null,"DI.DI0_1":null})";
  const char* simulated = R"({"DI.DI0_0":false,"DI.DI0_1":true})";
  const char* real = R"({"DI.DI0_0":true,"DI.DI0_1":false})";
  Bench bench;
  follow(bench, {
                    {'c', "device.io.simu.di", R"({"name":"DI0_1","value":true})", "-1"},
                    {'c', "device.io.simu.on", "null", "0"},
                    {'g', "device.io", read, real},
                    {'c', "device.io.simu.di", R"({"name":"DI0_1","value":true})", "0"},
                    {'c', "device.io.simu.di", R"({"name":"DI0_0","value":false})", "0"},
                    {'c', "device.io.simu.di", R"({"name":"DI0_7","value":false})", "-1"},
                    {'c', "device.io.simu.di", R"({"name":"DI9_0","value":true})", "-1"},
                    {'g', "device.io", read, simulated},
                    {'c', "device.io.simu.off", "null", "0"},
                    {'g', "device.io", read, real},
                });
}

TEST(Signals, FollowTheStateAndTheWires) {
  const char* systems = R"({"DI.DI0_7":null,"DO.DO0_6":null,"DO.DO0_7":null})";
  Bench bench;
  bench.makeReady();
  follow(bench, {
                    {'g', "device.io", systems, R"({"DI.DI0_7":true,"DO.DO0_6":false,"DO.DO0_7":true})"},
                    {'g', "register.values", R"({"motors_on.#0":null})", R"({"motors_on.#0":true})"},
                    {'c', "device.io.out.do", R"({"name":"DO1_3","value":true})", "0"},
                    {'c', "device.io.out.ao", R"({"name":"AO1_1","value":2.5})", "0"},
                    {'g', "device.io", R"({"DI.DI1_3":null,"AI.AI1_1":null,"DI.DI0_3":null})",
                     R"({"DI.DI1_3":true,"AI.AI1_1":2.5,"DI.DI0_3":false})"},
                });
  bench.world.pressEmergencyStop();
  follow(bench, {
                    {'g', "device.io", systems, R"({"DI.DI0_7":false,"DO.DO0_6":false,"DO.DO0_7":false})"},
                    {'g', "register.values", R"({"motors_on.#0":null})", R"({"motors_on.#0":false})"},
                });
  bench.world.boot();
  follow(bench, {{'g', "device.io", R"({"DI.DI1_3":null,"AI.AI1_1":null})",
                  R"({"DI.DI1_3":false,"AI.AI1_1":0.0})"}});
}

TEST(Registers, HoldValuesOfTheirType) {
  Bench bench;
  follow(bench,
         {
             {'c', "register.write", R"({"name":"int_array","bias":9,"value":-7})", "0"},
             {'c', "register.write", R"({"name":"int_array","bias":10,"value":1})", "-1"},
             {'c', "register.write", R"({"name":"int_array","bias":0,"value":1.5})", "-1"},
             {'c', "register.write", R"({"name":"int_array","bias":0,"value":true})", "-1"},
             {'c', "register.write", R"({"name":"int_array","bias":0,"value":2147483648})", "-1"},
             {'c', "register.write", R"({"name":"int_single","bias":1,"value":1})", "-1"},
             {'c', "register.write", R"({"name":"bool_single","bias":0,"value":1})", "-1"},
             {'c', "register.write", R"({"name":"float_single","bias":0,"value":1e39})", "-1"},
             {'c', "register.write", R"({"name":"nobody","bias":0,"value":1})", "-1"},
             {'c', "register.write", R"({"name":"motors_on","bias":0,"value":true})", "-14010"},
             {'c', "register.write", R"({"name":"int_single","value":1})", "-260"},
             {'c', "register.write", R"({"name":"int_single","bias":-1,"value":1})", "-260"},
             {'c', "register.write", R"({"name":"int_single","bias":0})", "-260"},
             {'c', "register.write", R"({"bias":0,"value":1})", "-260"},
             {'c', "register.write", R"({"name":"int_array","type":"list","value":[1]})", "-260"},
             {'c', "register.write", R"({"name":"int_array","type":"array","value":1})", "-260"},
             {'c', "register.write", R"({"name":"int_array","type":"array","value":[1,2.5]})", "-1"},
             {'c', "register.write", R"({"name":"int_single","type":"array","value":[1]})", "-1"},
             {'c', "register.write", R"({"name":"nobody","type":"array","value":[1]})", "-1"},
             {'c', "register.write", R"({"name":"motors_on","type":"array","value":[true]})", "-14010"},
             {'c', "register.write",
              R"({"name":"int_array","type":"array","value":[0,1,2,3,4,5,6,7,8,9,10]})", "-1"},
             {'c', "register.write", R"({"name":"int_array","type":"array","value":[5,6]})", "0"},
             {'g', "register.values", R"({"int_array":null})", R"({"int_array":[5,6,0,0,0,0,0,0,0,-7]})"},
             {'g', "register.values", R"({"int_array.#1":null,"int_single.#0":null})",
              R"({"int_array.#1":6,"int_single.#0":0})"},
             {'g', "register.values", R"({"int_single":null})", R"({"int_single":0})"},
             {'g', "register.values", R"({"int_array.#10":null})", "-1"},
             {'g', "register.values", R"({"int_array.#":null})", "-1"},
             {'g', "register.values", R"({"int_array.#1x":null})", "-1"},
             {'g', "register.values", R"({"int_array.#99999999999999999999":null})", "-1"},
             {'g', "register.values", R"({"nobody":null})", "-1"},
             {'g', "register.values", "null", "-260"},
         });
}

TEST(Rail, TakesWhatIsSoundAsAWhole) {
  Bench bench;
  follow(bench, {
                    {'s', "rail_param", R"({"max_speed":500.0,"enable":true,"name":"track"})", "0"},
                    {'s', "rail_param", R"({"lower":-100.0,"upper":100.0})", "-290"},
                    {'s', "rail_param", R"({"soft_limit_lower":-50.0,"soft_limit_upper":-60.0})", "-290"},
                    {'s', "rail_param", R"({"soft_limit_upper":2000.5})", "-290"},
                    {'s', "rail_param", R"({"max_acc":100.0,"max_speed":0.0})", "-290"},
                    {'s', "rail_param", R"({"name":""})", "-290"},
                    {'s', "rail_param", R"({"max_acc":100.0,"enable":1.0})", "-260"},
                    {'s', "rail_param", R"({"max_speed":"fast"})", "-260"},
                    {'s', "rail_param", R"({"resolution_ratio":1.0})", "-260"},
                    {'s', "rail_param", R"({"base_frame":{"trans":[0,0,0],"rot":[0,0,0]}})", "-260"},
                    {'s', "rail_param", "{}", "-260"},
                    {'s', "rail_param", "null", "-260"},
                    {'c', "rail.set_rail_frame", R"({"trans":[1,2,3],"rot":[0,0,0.5]})", R"({"data":true})"},
                    {'c', "rail.set_rail_frame", R"({"trans":[1,2,300],"rot":[0,0,0]})", R"({"data":false})"},
                    {'c', "rail.set_rail_frame", R"({"trans":[1,2],"rot":[0,0,0]})", "-260"},
                });
  const Json::Value now = bench.ask('g', "rail_param");
  EXPECT_EQ(now["max_speed"], 500.0);
  EXPECT_EQ(now["max_acc"], 3000.0);
  EXPECT_EQ(now["upper"], 2000.0);
  EXPECT_EQ(now["enable"], true);
  EXPECT_EQ(now["base_frame"], json(R"({"trans":[1.0,2.0,3.0],"rot":[0.0,0.0,0.5]})"));

  const Json::Value axes = bench.command("ext_axis.get_axis_info")["data"];
  EXPECT_EQ(axes.getMemberNames(), (std::vector<std::string>{"axis1", "axis2", "axis3"}));
  EXPECT_EQ(axes["axis1"]["max_speed"], 500.0);
  EXPECT_EQ(axes["axis1"]["coordinate_calibrated"], true);
  for (const Json::Value& axis : axes) EXPECT_EQ(axis.size(), 18u);
  const Json::Value units = bench.command("ext_axis.get_mechanical_unit_info")["data"];
  EXPECT_EQ(units["u1"]["unit_name"], "track");
  EXPECT_EQ(units["u1"]["enable"], true);
  EXPECT_EQ(units["u2"]["axes_info"], json(R"(["axis2","axis3"])"));
  for (const Json::Value& unit : units) EXPECT_EQ(unit.size(), 7u);
}

TEST(Rail, IsNotChangedUnderAMovingArm) {
  Bench bench;
  bench.makeReady();
  bench.command("move.l", "{\"path\":[{\"point\":" + bench.point(0.1, 0, 0) + "}]}");
  bench.command("move.continue");
  follow(bench, {{'s', "rail_param", R"({"max_speed":500.0})", "-20"},
                 {'c', "rail.set_rail_frame", R"({"trans":[1,2,3],"rot":[0,0,0]})", "-20"},
                 {'g', "device.io", R"({"DO.DO0_6":null})", R"({"DO.DO0_6":true})"}});
}

TEST(Terminals, AreInTheTestsHands) {
  Controller sim({.address = "127.12.1.2"});
  sim.start();
  RawClient client("127.12.1.2");
  sim.setDigitalInput(0, 3, true);
  sim.setAnalogInput(0, 1, -4.5);
  sim.setRegister("count", "5");
  sim.setRegister("speeds", "[1.5,2]");
  EXPECT_EQ(client.request('g', "device.io", R"({"DI.DI0_3":null,"AI.AI0_1":null})"),
            json(R"({"DI.DI0_3":true,"AI.AI0_1":-4.5})"));
  EXPECT_EQ(client.request('g', "register.values", R"({"count.#0":null,"speeds":null})"),
            json(R"({"count.#0":5,"speeds":[1.5,2.0]})"));
  EXPECT_EQ(client.command("device.io.out.do", R"({"name":"DO0_2","value":true})"), 0);
  EXPECT_TRUE(sim.digitalOutput(0, 2));
  EXPECT_FALSE(sim.digitalOutput(0, 3));
  EXPECT_FALSE(sim.digitalOutput(7, 0));
  EXPECT_THROW(sim.setDigitalInput(0, 8, true), std::invalid_argument);
  EXPECT_THROW(sim.setDigitalInput(0, 7, true), std::invalid_argument) << "the system's";
  EXPECT_THROW(sim.setDigitalInput(1, 0, true), std::invalid_argument) << "a wired one";
  EXPECT_THROW(sim.setAnalogInput(2, 0, 1), std::invalid_argument);
  for (const char* value : {"", "\"x\"", "null", "[]", "[1,true]", "[[1]]", "9999999999"})
    EXPECT_THROW(sim.setRegister("count", value), std::invalid_argument) << value;
}

}  // namespace
}  // namespace zivra::sim::test
