// The EtherCAT bus of the simulated controller.
#include <fmt/format.h>

#include "sim/bench.h"

namespace zivra::sim::test {
namespace {

// State of each slave in turn; a state that was refused leaves all as they were.
TEST(EthercatBus, RefusesImpossibleChangesOfState) {
  const struct {
    const char* asked;
    bool granted;
    int state;
  } steps[] = {
      {"op", true, 8},    {"bootstrap", false, 8}, {"safeop", true, 4}, {"bootstrap", false, 4},
      {"op", true, 8},    {"preop", true, 2},      {"op", false, 2},    {"bootstrap", false, 2},
      {"init", true, 1},  {"safeop", false, 1},    {"op", false, 1},    {"bootstrap", false, 1},
      {"preop", true, 2}, {"safeop", true, 4},     {"op", true, 8},     {"OP", false, 8},
  };
  Bench bench;
  for (const auto& step : steps) {
    SCOPED_TRACE(step.asked);
    EXPECT_EQ(bench.command("ethercat.set_slaves_state", fmt::format(R"({{"state":"{}"}})", step.asked)),
              step.granted ? 0 : -1);
    const Json::Value states = bench.command("ethercat.get_slaves_state")["data"];
    ASSERT_EQ(states.size(), 3u);
    for (const Json::Value& slave : states) EXPECT_EQ(slave["state"], step.state);
  }
  // The terminal has no firmware to be loaded.
  EthercatBus& bus = bench.world.ethercat;
  bus.plug(3, false);
  ASSERT_TRUE(bus.setState(SlaveState::init) && bus.setState(SlaveState::bootstrap));
  EXPECT_FALSE(bus.setState(SlaveState::preop));
  EXPECT_FALSE(bus.readObject(1, {0x1000, 0})) << "no mailbox there";
  ASSERT_TRUE(bus.setState(SlaveState::init) && bus.setState(SlaveState::preop));
  bus.plug(3, true);
  EXPECT_FALSE(bus.setState(SlaveState::safeop)) << "it is at the beginning again";
  EXPECT_TRUE(bus.setState(SlaveState::init));
}

TEST(EthercatBus, ObjectsAndProcessDataAreTheSame) {
  Bench bench;
  const auto sdo = [&](const char* verb, int index, const std::string& more) {
    return bench.command(
        fmt::format("ethercat.{}_SDO_data", verb),
        fmt::format(R"({{"addr":3,"index":{},"sub_index":1,"over_time":0,{}}})", index, more));
  };
  EXPECT_EQ(sdo("write", 0x7000, R"("length":1,"data":[165])"), 0);
  EXPECT_EQ(sdo("read", 0x6000, R"("length":4)"), json(R"({"data":[165]})")) << "its inputs are wired";
  EXPECT_EQ(bench.command("ethercat.read_PDO_data", R"({"addr":3,"offset":0,"size":1})"),
            json(R"({"data":[165]})"));
  EXPECT_EQ(bench.command("ethercat.write_PDO_data", R"({"addr":3,"offset":0,"size":1,"data":[7]})"), 0);
  EXPECT_EQ(sdo("read", 0x7000, R"("length":1)"), json(R"({"data":[7]})"));
  EXPECT_EQ(sdo("read", 0x1018, R"("length":2)"), json(R"({"data":[161,5]})"))
      << "of four bytes, two were asked for";

  const std::string refused[][2] = {
      {"read_SDO_data", R"({"addr":9,"index":4096,"sub_index":0,"length":4,"over_time":0})"},
      {"read_SDO_data", R"({"addr":3,"index":4097,"sub_index":0,"length":4,"over_time":0})"},
      {"read_SDO_data", R"({"addr":3,"index":4096,"sub_index":0,"length":4})"},
      {"read_SDO_data", R"({"addr":3,"index":4096,"sub_index":256,"length":4,"over_time":0})"},
      {"read_SDO_data", "null"},
      {"write_SDO_data", R"({"addr":3,"index":24576,"sub_index":1,"length":1,"over_time":0,"data":[1]})"},
      {"write_SDO_data", R"({"addr":3,"index":28672,"sub_index":1,"length":2,"over_time":0,"data":[1,2]})"},
      {"write_SDO_data", R"({"addr":3,"index":28672,"sub_index":1,"length":1,"over_time":0,"data":[256]})"},
      {"write_SDO_data", R"({"addr":3,"index":28672,"sub_index":1,"length":1,"over_time":0,"data":[1,2]})"},
      {"read_PDO_data", R"({"addr":3,"offset":0,"size":2})"},
      {"read_PDO_data", R"({"addr":3,"offset":2147483647,"size":2147483647})"},
      {"read_PDO_data", R"({"addr":3,"offset":-1,"size":1})"},
      {"write_PDO_data", R"({"addr":3,"offset":1,"size":1,"data":[1]})"},
      {"write_PDO_data", R"({"addr":3,"offset":0,"size":1})"},
      {"write_multi_SDO_data", "{}"},
      {"write_multi_SDO_data",
       R"([{"addr":3,"index":28672,"sub_index":1,"length":1,"over_time":0,"data":[1]}])"},
      {"get_slave_info", R"({"addr":4})"},
      {"get_slave_info", "null"},
  };
  for (const auto& [verb, parameter] : refused)
    EXPECT_EQ(bench.command("ethercat." + verb, parameter), -1) << verb << parameter;
  EXPECT_EQ(sdo("read", 0x7000, R"("length":1)"), json(R"({"data":[7]})")) << "nothing refused was written";
}

TEST(EthercatBus, ADriveGoesToItsTargetInTime) {
  Bench bench;
  EthercatBus& bus = bench.world.ethercat;
  const auto position = [&] {
    const Bytes bytes = *bus.readObject(1, {0x6064, 0});
    return static_cast<std::int32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16 |
                                     static_cast<unsigned>(bytes[3]) << 24);
  };
  ASSERT_TRUE(bus.writeObject(1, {0x6081, 0}, {0xe8, 0x03, 0, 0}));   // 1000 a second
  ASSERT_TRUE(bus.writeProcessData(1, 2, {0x18, 0xfc, 0xff, 0xff}));  // -1000
  EXPECT_FALSE(bench.world.busy()) << "it isn't enabled";
  ASSERT_TRUE(bus.writeProcessData(1, 0, {0x0f, 0}));
  EXPECT_TRUE(bench.world.busy());
  bench.world.advance(0.25);
  EXPECT_EQ(position(), -250);
  EXPECT_EQ(*bus.readProcessData(1, 0, 2), (Bytes{0x37, 0}));
  EXPECT_NEAR(bench.run(10), 0.75, 0.01);
  EXPECT_EQ(position(), -1000);
  EXPECT_EQ(*bus.readProcessData(1, 0, 2), (Bytes{0x37, 0x04})) << "there";

  ASSERT_TRUE(bus.writeProcessData(1, 2, {0, 0, 0, 0}));
  ASSERT_TRUE(bus.setState(SlaveState::safeop));
  EXPECT_FALSE(bench.world.busy());
  EXPECT_EQ(position(), -1000) << "it stands where it is";
  EXPECT_EQ(*bus.readProcessData(1, 0, 2), (Bytes{0x50, 0}));
  EXPECT_FALSE(bus.writeProcessData(1, 0, {0x0f, 0})) << "inputs only";
  ASSERT_TRUE(bus.setState(SlaveState::preop));
  EXPECT_FALSE(bus.readProcessData(1, 0, 2)) << "no process data at all";
  bench.world.boot();
  EXPECT_EQ(position(), -1000);
  EXPECT_FALSE(bench.world.busy());
}

}  // namespace
}  // namespace zivra::sim::test
