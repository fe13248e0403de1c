// The panel at the tool holds no more than its type does, whoever asks.
#include <fmt/format.h>

#include "sim/bench.h"

namespace zivra::sim::test {
namespace {

std::string list(int count, const std::string& element) {
  std::string text;
  for (int i = 0; i < count; ++i) text += (i == 0 ? "" : ",") + element;
  return '[' + text + ']';
}

TEST(Panel, WhatFitsDependsOnItsType) {
  const struct {
    int type, registers, coils, bytes;
  } cases[] = {{2, 59, 944, 128}, {3, 27, 432, 64}, {4, 59, 944, 128}, {0, 3, 48, 16}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    Bench bench;
    bench.world.panel.type = c.type;
    EXPECT_EQ(bench.ask('s', "device.io.norvil", R"({"vout":"24v","mode":"rs485"})"), 0);
    const auto registers = [&](int count) {
      return bench.command("modbusRTU.register.rw",
                           fmt::format(R"({{"slave_addr":1,"fun_cmd":3,"reg_addr":0,"num":{},)"
                                       R"("if_crc_reverse":false,"data_array":{}}})",
                                       count, list(count, "0")));
    };
    const auto coils = [&](int count) {
      return bench.command("modbusRTU.coil.rw",
                           fmt::format(R"({{"slave_addr":1,"fun_cmd":1,"coil_addr":0,"num":{},)"
                                       R"("if_crc_reverse":false,"data_array":{}}})",
                                       count, list(count, "false")));
    };
    const auto bytes = [&](int count) {
      return bench.command("modbusRTU.data.rw", fmt::format(R"({{"send_len":0,"rev_len":{}}})", count));
    };
    EXPECT_EQ(registers(c.registers)["data"]["data_array"].size(), static_cast<unsigned>(c.registers));
    EXPECT_EQ(registers(c.registers + 1), -260);
    EXPECT_TRUE(coils(c.coils).isObject()) << "at most the slave has fewer";
    EXPECT_EQ(coils(c.coils + 1), -260);
    EXPECT_EQ(bytes(c.bytes)["data"]["rev_data"].size(), static_cast<unsigned>(c.bytes));
    EXPECT_EQ(bytes(c.bytes + 1), -260);
  }
}

}  // namespace
}  // namespace zivra::sim::test
