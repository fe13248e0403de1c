// Files, packages and backups between the library and the simulated controller.
#include <filesystem>
#include <fstream>
#include <sstream>

#include <zivra/upgrade.h>

#include "network/xservice/transfer.h"
#include "network/xservice/xservice.h"
#include "support/waiting.h"
#include "system/fixture.h"

namespace zivra::test {

namespace {

using namespace std::chrono_literals;
using FileKind = sim::FileFault::Kind;
using UpgradeKind = sim::UpgradeFault::Kind;

struct FilesTest : SystemTest {
  FilesTest() { startController(); }
  void write(const std::string& name, const std::string& bytes) {
    std::ofstream(folder_.path() / name, std::ios::binary) << bytes;
  }
  std::string read(const std::string& name) {
    std::stringstream text;
    text << std::ifstream(folder_.path() / name, std::ios::binary).rdbuf();
    return text.str();
  }
  int send(XService& service, const char* function = "import_project") {
    Json::Value description(Json::objectValue);
    description["file_name"] = "demo";
    description["function"] = function;
    description["overwrite"] = true;
    std::error_code ec;
    service.sendFile("file", 10'485'760, description, ec);
    return ec.value();
  }
};

TEST_F(FilesTest, TransfersOverTheirWholeLife) {
  XService service;
  std::error_code ec;
  service.setEndpoint(address(), 6666);
  service.start(ec);
  ASSERT_FALSE(ec);
  write("file", std::string(10'485'760, 'x'));
  EXPECT_EQ(send(service), 0);
  EXPECT_EQ(send(service, "import_other"), -277);
  controller().inject(sim::FileFault{.kind = FileKind::refuse});
  EXPECT_EQ(send(service), -284);
  controller().inject(sim::FileFault{.kind = FileKind::drop});
  EXPECT_EQ(send(service), -284);
  EXPECT_EQ(send(service), 0) << "made again where it is needed";
  // No machine is through with it in that time: it is given up half sent.
  service.transfer->setAcknowledgementLimit(1ms);
  EXPECT_EQ(send(service), -285);
  service.transfer->setAcknowledgementLimit(300'000ms);
  EXPECT_EQ(send(service), 0) << "what was given up doesn't spoil the next one";
  // Small, so that it is the answer that comes too late, also on a slow machine.
  write("file", std::string(1000, 'x'));
  controller().inject(sim::FileFault{.kind = FileKind::delay, .delay = 1500ms});
  service.transfer->setAcknowledgementLimit(1000ms);
  EXPECT_EQ(send(service), -285);
  service.transfer->setAcknowledgementLimit(300'000ms);
  EXPECT_EQ(send(service), 0);
  controller().inject(
      sim::Fault{.kind = sim::Fault::Kind::refuse, .key = "ix.sdk.transferInit", .code = -514});
  EXPECT_EQ(send(service), -514);
}

TEST_F(FilesTest, ABackupHoldsWhatTheRobotWasTold) {
  TandiRobot robot(address());
  std::error_code ec;
  robot.setDefaultSpeed(123, ec);
  ASSERT_FALSE(ec);
  BaseUpgrade upgrade(address());
  upgrade.exportBackup("backup.tar", {BackupItem::customConfig, BackupItem::robotConfig}, ec);
  EXPECT_FALSE(ec) << ec;
  const std::string backup = read("backup.tar");
  EXPECT_NE(backup.find("\"speed\":0.123"), std::string::npos);
  EXPECT_NE(backup.find("\"id\":\"simulated\""), std::string::npos);
  EXPECT_NE(backup.find("local_cfg"), std::string::npos);
  upgrade.exportBackup("backup.tar", {BackupItem::robotConfigWithoutBodyParams}, ec);
  EXPECT_EQ(read("backup.tar").find("local_cfg"), std::string::npos);
}

TEST_F(FilesTest, FaultsOfTheUpgradeService) {
  const std::set<BackupItem> items = {BackupItem::controllerLog, BackupItem::systemLog};
  const struct {
    const char* name;
    sim::UpgradeFault fault;
    int upgrade, backup;
  } rows[] = {
      {"none", {.kind = UpgradeKind::chunks, .bytes = 0xffff}, 0, 0},
      {"verdict first", {.kind = UpgradeKind::verdictFirst}, 0, 0},
      {"damaged", {.kind = UpgradeKind::damaged}, 268, 0},
      {"refuse", {.kind = UpgradeKind::refuse}, 269, 0},
      {"no backup", {.kind = UpgradeKind::noBackup}, 0, 270},
      {"partial", {.kind = UpgradeKind::partial}, 0, 271},
      {"broken", {.kind = UpgradeKind::broken}, 0, 270},
      {"small chunks", {.kind = UpgradeKind::chunks, .bytes = 1000}, 0, 0},
      {"slow backup", {.kind = UpgradeKind::drip, .bytes = 700, .delay = 2ms}, 0, 0},
      {"dies in the file", {.kind = UpgradeKind::die, .bytes = 1000}, 0, 270},
      {"dies in the answer", {.kind = UpgradeKind::die, .bytes = 20}, -257, -257},
  };
  write("package", std::string("PK\x03\x04", 4) + "package");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    // A fresh one each time: some of these end the connection.
    for (const bool backup : {false, true}) {
      controller().clearFaults();
      BaseUpgrade upgrade(address());
      write("backup", "former");
      controller().inject(row.fault);
      std::error_code ec;
      if (backup) {
        upgrade.exportBackup("backup", items, ec);
        EXPECT_EQ(read("backup") == "former", row.backup != 0 && row.backup != 271);
      } else {
        upgrade.upgrade("package", ec);
      }
      EXPECT_EQ(ec.value(), backup ? row.backup : row.upgrade) << (backup ? "backup" : "upgrade");
    }
  }
  controller().inject(sim::UpgradeFault{});
  EXPECT_THROW(BaseUpgrade{address()}, NetworkException);
  BaseUpgrade upgrade(address());
  EXPECT_EQ(controller().upgrades().size(), 9u);
}

TEST_F(FilesTest, AMovingRobotTakesNoPackage) {
  startController(sim::Model::tandi, 1);
  write("package", std::string("PK\x03\x04", 4) + "package");
  MovingRobot moving(address());
  moving.append({MoveLCommand(shifted(moving.here(), 0, 0.1, 0), 5)});
  moving.robot.moveStart(moving.ec);
  ASSERT_TRUE(eventually([&] { return controller().operationState() == "idleing"; }));
  BaseUpgrade upgrade(address());
  std::error_code ec;
  upgrade.upgrade("package", ec);
  EXPECT_EQ(ec, Code::upgradeFailure);
  moving.robot.stop(ec);
}

}  // namespace

}  // namespace zivra::test
