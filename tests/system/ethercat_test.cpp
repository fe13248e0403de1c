// EtherCAT slaves of a simulated controller, over links of their own.
#include <thread>

#include "system/fixture.h"

namespace zivra::test {

namespace {

using EthercatSystem = SystemTest;
using Ec = std::error_code;

constexpr int drive = 1, terminal = 3;

TEST_F(EthercatSystem, SlavesAndTheirStates) {
  auto& controller = startController();
  TandiRobot robot(address());
  BaseEthercat bus = robot.ethercat();
  Ec ec;
  ASSERT_EQ(bus.GetSlaveCount(ec), 3) << ec.message();
  const auto slaves = bus.GetSlavesInfo(ec);
  ASSERT_EQ(slaves.size(), 3u) << ec.message();
  EXPECT_EQ(slaves[0].slaveName, "servo drive");
  EXPECT_EQ(slaves[2].slaveName, "digital terminal");
  for (const SlaveInfo& slave : slaves) EXPECT_EQ(slave.alStatus, 8);

  EXPECT_TRUE(bus.SetSlavesState(2, ec));
  EXPECT_EQ(bus.GetSlaveState(drive, ec), 2);
  EXPECT_TRUE(bus.SetSlavesState(8, ec)) << "refused, which nobody is told";
  EXPECT_EQ(bus.GetSlaveState(drive, ec), 2);
  std::uint8_t byte = 0;
  EXPECT_FALSE(bus.ReadPDO(terminal, 0, 1, &byte, ec));
  EXPECT_EQ(ec.value(), -1);
  EXPECT_FALSE(bus.WritePDO(terminal, 0, 1, &byte, ec));
  EXPECT_FALSE(ec);
  for (const std::uint16_t state : {4, 8}) EXPECT_TRUE(bus.SetSlavesState(state, ec));
  EXPECT_EQ(bus.GetSlaveState(terminal, ec), 8);
  EXPECT_EQ(robot.queryControllerLog(1, {}, ec).at(0).logText, "the EtherCAT slaves went to op");

  controller.unplugSlave(drive);
  EXPECT_EQ(bus.GetSlaveCount(ec), 2);
  EXPECT_EQ(bus.GetSlaveState(drive, ec), 0);
  EXPECT_FALSE(ec);
  EXPECT_EQ(bus.GetSlaveInfo(drive, ec).slaveName, "");
  EXPECT_EQ(ec.value(), -1);
  controller.plugSlave(drive);
  EXPECT_EQ(bus.GetSlaveState(drive, ec), 1);
}

TEST_F(EthercatSystem, ADriveIsMovedByProcessData) {
  startController();
  BaseEthercat bus = TandiRobot(address()).ethercat();
  Ec ec;
  SDOData velocity, target;
  velocity.index = 0x6081;
  velocity.length = target.length = 4;
  velocity.data = {0x40, 0x0d, 0x03, 0x00};  // 200000
  target.index = 0x607a;
  target.data = {0xa0, 0x86, 0x01, 0x00};  // 100000
  ASSERT_TRUE(bus.WriteMultiSDO(drive, {velocity, target}, ec)) << ec.message();
  const std::uint8_t enable[] = {0x0f, 0};
  ASSERT_TRUE(bus.WritePDO(drive, 0, 2, enable, ec)) << ec.message();
  EXPECT_TRUE(eventually([&] {
    std::uint8_t status[2] = {};
    return bus.ReadPDO(drive, 0, 2, status, ec) && status[1] == 0x04;
  })) << "target reached";
  std::array<std::uint8_t, 8> position{};
  ASSERT_TRUE(bus.ReadSDO(drive, 0x6064, 0, 8, position.data(), 100, ec)) << ec.message();
  EXPECT_EQ(position, (std::array<std::uint8_t, 8>{0xa0, 0x86, 0x01}));
  EXPECT_FALSE(bus.WriteSDO(drive, 0x6064, 0, 4, position.data(), 100, ec)) << "read only";
  EXPECT_FALSE(ec);
  velocity.index = 0x1000;
  EXPECT_FALSE(bus.WriteMultiSDO(drive, {target, velocity}, ec));
}

TEST_F(EthercatSystem, SeveralClientsAtOnceAndADropOfTheirLinks) {
  auto& controller = startController();
  TandiRobot robot(address());
  BaseEthercat bus = robot.ethercat(), other = robot.ethercat();
  std::vector<std::thread> threads;
  for (BaseEthercat* one : {&bus, &other}) {
    threads.emplace_back([one] {
      Ec ec;
      for (int i = 0; i < 50; ++i) EXPECT_EQ(one->GetSlaveCount(ec), 3) << ec.message();
    });
  }
  Ec ec;
  for (int i = 0; i < 50; ++i) EXPECT_EQ(robot.powerState(ec), PowerState::off);
  for (auto& thread : threads) thread.join();
  robot.disconnectFromRobot(ec);
  EXPECT_EQ(bus.GetSlaveCount(ec), 3) << "without the robot";
  controller.dropLinks();
  EXPECT_TRUE(eventually([&] { return bus.GetSlaveCount(ec) == 3; })) << "its link comes back";
}

}  // namespace

}  // namespace zivra::test
