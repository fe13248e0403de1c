// Packages and backups over a socket whose other end says what the test wants.
#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>

#include <zivra/error.h>
#include <zivra/upgrade.h>

#include "support/raw_peer.h"
#include "support/temporary_folder.h"
#include "upgrade/spelled_packets.h"
#include "upgrade/upgrade_client.h"

namespace zivra::test {

namespace {

using namespace std::chrono_literals;
using internal::UpgradeClient;
using internal::UpgradeLimits;

constexpr std::uint16_t port = 4567;
const std::string arrived = answerOf("{\"s\":{\"file_transfer\":true}}"),
                  taken = answerOf("{\"upgrade\":\"ok\"}");
const std::string made = answerOf("{\"reply\":\"export\",\"result\":{\"size\":\"ok\"}}");
const std::string backup = chunked(packetOf(1, filePayload("./b.tar", "the backup")), 9);

UpgradeLimits shortLimits(std::chrono::milliseconds limit) {
  UpgradeLimits limits;
  limits.firstAnswer = limits.secondAnswer = limits.backupAnswer = limit;
  limits.firstChunk = limits.chunkBegin = limits.chunkRest = limit;
  limits.link.retryPause = 20ms;
  return limits;
}

struct Upgrade : testing::Test {
  Upgrade() { connect(longestWait); }

  // A fresh client whose answers are awaited for so long.
  void connect(std::chrono::milliseconds limit) { connect(shortLimits(limit)); }
  void connect(const UpgradeLimits& limits) {
    client = std::make_unique<UpgradeClient>(limits);
    std::error_code ec;
    client->connect(address.text(), ec);
    ASSERT_FALSE(ec);
    link = accept();
  }
  RawConnection accept() {
    EXPECT_TRUE(readable(listener, longestWait)) << "nobody connects";
    return RawConnection(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
  }
  std::future<int> upgrade(const std::string& path = "package") {
    return run([this, path](std::error_code& ec) { client->upgrade(path, ec); });
  }
  std::future<int> exportBackup(const std::set<BackupItem>& items = {}) {
    return run([this, items](std::error_code& ec) { client->exportBackup("backup", items, ec); });
  }
  template <class Call>
  std::future<int> run(Call call) {
    return std::async(std::launch::async, [call] {
      std::error_code ec = make_error_code(Code::notConnected);
      call(ec);
      return ec.value();
    });
  }
  // Takes one packet: type and payload.
  std::pair<int, std::string> packet() {
    const std::string head = link.bytes(6);
    if (head.size() != 6) return {};
    std::size_t size = 0;
    for (int i = 0; i < 4; ++i)
      size = size << 8 | static_cast<unsigned char>(head[static_cast<std::size_t>(i)]);
    return {head[4], link.bytes(size)};
  }
  static void write(const std::string& name, const std::string& bytes) {
    std::ofstream(name, std::ios::binary) << bytes;
  }
  static std::string read(const std::string& name) {
    std::stringstream text;
    text << std::ifstream(name, std::ios::binary).rdbuf();
    return text.str();
  }

  TemporaryFolder folder;
  LoopbackAddress address{22};
  Descriptor listener = listenOn(address.text(), port);
  std::unique_ptr<UpgradeClient> client;
  RawConnection link;
};

TEST_F(Upgrade, PackagesGoOutInTheirPacket) {
  const std::string large(3'000'000, '\r');
  for (const std::string& package : {std::string("abc"), large}) {
    write("package", package);
    std::vector<std::uint64_t> done;
    client->progress.set([&](std::uint64_t sent, std::uint64_t total) {
      EXPECT_EQ(total, package.size());
      done.push_back(sent);
      throw 1;  // nobody's business
    });
    auto result = upgrade();
    const auto [type, payload] = packet();
    EXPECT_EQ(type, 1);
    EXPECT_TRUE(payload == filePayload("./upgrade/pervan.zip", package));
    link.send(arrived + taken);
    EXPECT_EQ(result.get(), 0);
    ASSERT_FALSE(done.empty());
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
    EXPECT_EQ(done.back(), package.size());
  }
}

TEST_F(Upgrade, Answers) {
  const auto both = [](const char* first, const char* second) { return answerOf(first) + answerOf(second); };
  const struct {
    const char* name;
    std::string answers;
    int code;
  } rows[] = {
      {"good", arrived + taken, 0},
      {"the verdict first", taken + arrived, 0},
      {"empty chunks between", std::string(2, '\0') + arrived + std::string(4, '\0') + taken, 0},
      {"further members",
       both("{\"s\":{\"file_transfer\":true,\"x\":1},\"y\":2}", "{\"a\":0,\"upgrade\":\"ok\"}"), 0},
      {"arrived as a number", both("{\"s\":{\"file_transfer\":1}}", "{\"upgrade\":\"ok\"}"), 0},
      {"damaged", both("{\"s\":{\"file_transfer\":false}}", "{\"upgrade\":\"no\"}"), 268},
      {"damaged, says nothing", both("{\"s\":{}}", "{\"upgrade\":\"ok\"}"), 268},
      {"not taken", both("{\"upgrade\":\"bad\"}", "{\"s\":{\"file_transfer\":true}}"), 269},
      {"not taken, no text", both("{\"s\":{\"file_transfer\":true}}", "{\"upgrade\":1}"), 269},
      {"no object in s", both("{\"s\":true}", "{\"upgrade\":\"ok\"}"), -257},
      {"a text for a flag", both("{\"s\":{\"file_transfer\":\"x\"}}", "{\"upgrade\":\"ok\"}"), -257},
      {"two reports", arrived + arrived, -257},
      {"two verdicts", taken + taken, -257},
      {"another answer", answerOf("{\"a\":1}") + taken, -257},
      {"no object", answerOf("[1]"), -257},
      {"no JSON", chunked(packetOf(2, "ok")), -257},
      {"half of an answer", arrived.substr(0, arrived.size() - 1), -257},
      {"half of a length", std::string(1, '\0'), -257},
      {"no room for a packet", chunked("short"), -257},
      {"a length beyond its chunk", chunked(bigEndian(1000, 4) + "\2" + std::string(1, '\0') + "{}"), -257},
      {"good again", arrived + taken, 0},
  };
  write("package", "abc");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    auto result = upgrade();
    packet();
    link.send(row.answers);
    EXPECT_EQ(result.get(), row.code);
    if (row.code == -257) connect(longestWait);
  }
}

TEST_F(Upgrade, SilenceAndDeath) {
  write("package", "abc");
  for (const std::string& answers : {std::string(), arrived, std::string(200, '\0')}) {
    // Long enough for the good operation that follows, on slow machines too.
    UpgradeLimits limits = shortLimits(longestWait);
    limits.firstAnswer = 1s;
    if (answers == arrived) limits.secondAnswer = 100ms;
    connect(limits);
    auto result = upgrade();
    packet();
    link.send(answers);
    EXPECT_EQ(result.get(), 263);
    // What comes late is no answer to the next package.
    link.send(taken + arrived);
    result = upgrade();
    link = accept();
    packet();
    link.send(answerOf("{\"upgrade\":\"no\"}") + arrived);
    EXPECT_EQ(result.get(), 269);
  }
  connect(longestWait);
  for (const bool answered : {false, true}) {
    auto result = upgrade();
    packet();
    if (answered) link.send(arrived);
    link.reset();
    EXPECT_EQ(result.get(), 256);
    link = accept();  // made again by itself
    EXPECT_TRUE(eventually([&] {
      std::error_code ec;
      client->upgrade("missing", ec);
      return ec.value() == -280;
    }));
  }
  listener.reset();
  link.close();
  EXPECT_TRUE(eventually([&] { return upgrade().get() == 256; })) << "no link";
}

TEST_F(Upgrade, PackagesThatCannotBeSent) {
  write("empty", "");
  std::filesystem::create_directory("directory");
  write("huge", "");
  std::filesystem::resize_file("huge", std::uint64_t{1} << 32);  // takes no room
  const std::pair<const char*, int> rows[] = {
      {"empty", -281}, {"directory", -280}, {"missing", -280}, {"", -280}, {"huge", -283}};
  for (const auto& [path, code] : rows) EXPECT_EQ(upgrade(path).get(), code) << path;
  client.reset();
  EXPECT_EQ(link.rest(), "");
}

TEST_F(Upgrade, APeerThatDoesNotRead) {
  UpgradeLimits limits = shortLimits(longestWait);
  limits.stall = 100ms;
  connect(limits);
  write("package", std::string(30'000'000, 'x'));
  EXPECT_EQ(upgrade().get(), 263);
}

TEST_F(Upgrade, APeerThatTalksAllTheTime) {
  const std::string talk(20'000'000, 't');
  EXPECT_TRUE(link.send(talk)) << "what nobody asked for is read, and forgotten";
  connect(longestWait);
  write("package", std::string(30'000'000, 'x'));
  auto result = upgrade();
  link.bytes(1);
  EXPECT_FALSE(link.send(talk)) << "it all went into memory";
  EXPECT_EQ(result.get(), 256);
}

TEST_F(Upgrade, OneOperationAtATimeAlsoThroughACopy) {
  write("package", "abc");
  BaseUpgrade one(address.text());
  link = accept();
  const BaseUpgrade copy = one;
  BaseUpgrade other;
  other = copy;
  auto result = run([&](std::error_code& ec) { one.upgrade("package", ec); });
  packet();
  std::error_code ec;
  other.upgrade("package", ec);
  EXPECT_EQ(ec.value(), -320);
  other.exportBackup("backup", {}, ec);
  EXPECT_EQ(ec.value(), -320);
  link.send(arrived + taken);
  EXPECT_EQ(result.get(), 0);
  result = run([&](std::error_code& code) { other.exportBackup("backup", {}, code); });
  packet();
  link.send(made + backup);
  EXPECT_EQ(result.get(), 0);
}

TEST_F(Upgrade, Connecting) {
  BaseUpgrade fresh;
  std::error_code ec;
  fresh.connect(ec);
  EXPECT_EQ(ec, Code::network) << "no address";
  fresh.upgrade("package", ec);
  EXPECT_EQ(ec, Code::network);
  auto result = run([&](std::error_code& code) { client->connect(code); });
  RawConnection second = accept();
  second.close();
  EXPECT_EQ(result.get(), 267);
  EXPECT_EQ(link.rest(), "") << "the former connection goes on";
  listener.reset();
  EXPECT_THROW(fresh.connect(address.text()), NetworkException);
  EXPECT_THROW(BaseUpgrade{address.text()}, NetworkException);
  fresh.connect(ec);
  EXPECT_EQ(ec, Code::network);
  listener = listenOn(address.text(), port);
  fresh.connect(ec);
  EXPECT_FALSE(ec) << "the address is kept from an attempt that failed";
}

TEST_F(Upgrade, RequestsOfBackups) {
  using Item = BackupItem;
  const std::pair<std::set<Item>, const char*> rows[] = {
      {{}, "[]"},
      {{Item::robotConfigWithoutBodyParams, Item::robotConfig},
       "[\"robot_cfg\",\"robot_cfg\",{\"exclude\":[\"local_cfg\"]}]"},
      {{Item::sdkRecordPath, Item::backupRlProgram, Item::rlProgram, Item::systemLog, Item::controllerLog,
        Item::customConfig},
       "[\"interactive\",\"log\",\"syslog\",\"project\",\"historical_engineering\",\"sdk_path\"]"},
      {{static_cast<Item>(8), static_cast<Item>(-1)}, "[\"\",\"\"]"},
  };
  for (const auto& [items, list] : rows) {
    auto result = exportBackup(items);
    const auto [type, payload] = packet();
    EXPECT_EQ(type, 2);
    EXPECT_EQ(payload, std::string("{\"export\":") + list + ",\"send_file\":true}\n");
    link.send(made + backup);
    EXPECT_EQ(result.get(), 0);
  }
}

TEST_F(Upgrade, AnswersToBackups) {
  const struct {
    const char* answer;
    int code;
    bool stored;
  } rows[] = {
      {"{\"reply\":\"export\",\"result\":{\"log\":\"ok\",\"size\":\"ok\"}}", 0, true},
      {"{\"reply\":\"export\",\"result\":{\"log\":\"none\",\"size\":\"ok\",\"syslog\":\"ok\"}}", 271, true},
      {"{\"reply\":\"export\",\"result\":{\"a\":1,\"b\":[],\"size\":\"ok\"},\"x\":0}", 0, true},
      {"{\"reply\":\"export\",\"result\":{\"log\":\"ok\"}}", 0, false},
      {"{\"reply\":\"export\",\"result\":{}}", 0, false},
      {"{\"reply\":\"export\",\"result\":{\"log\":\"none\"}}", 271, false},
      {"{\"reply\":\"export\",\"result\":{\"log\":\"none\",\"size\":\"full\"}}", 270, false},
      {"{\"reply\":\"export\",\"result\":{\"size\":1,\"zzz\":\"none\"}}", 270, false},
      {"{\"reply\":\"export\",\"result\":\"ok\"}", -257, false},
      {"{\"reply\":\"export\",\"result\":[\"ok\"]}", -257, false},
      {"{\"reply\":\"export\"}", -257, false},
      {"{\"reply\":\"import\",\"result\":{\"size\":\"ok\"}}", -257, false},
      {"{\"reply\":1,\"result\":{}}", -257, false},
      {"null", -257, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.answer);
    write("backup", "the former");
    auto result = exportBackup();
    packet();
    link.send(answerOf(row.answer));
    if (row.stored) link.send(backup);
    EXPECT_EQ(result.get(), row.code);
    EXPECT_EQ(read("backup"), row.stored ? "the backup" : "the former");
    if (row.code == -257) connect(longestWait);
  }
}

TEST_F(Upgrade, BackupsThatDoNotArriveLeaveTheFormerFile) {
  std::string wrong = filePayload("n", "the backup");
  wrong[4] ^= 1;
  const struct {
    const char* name;
    std::string stream;
    bool closes;
    int code;
  } rows[] = {
      {"another digest", chunked(packetOf(1, wrong)), false, 270},
      {"another packet", chunked(packetOf(2, wrong)), false, -257},
      {"larger than anything", chunked(bigEndian(536'870'907, 4) + packetOf(1, wrong).substr(4)), false, 270},
      {"nothing", "", false, 270},
      {"empty chunks only", std::string(1000, '\0'), false, 270},
      {"half of a length", backup.substr(0, 12), false, 270},
      {"half of a chunk", backup.substr(0, 18), false, 270},
      {"whole chunks, not all", backup.substr(0, 22), false, 270},
      {"dies", backup.substr(0, 22), true, 270},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    UpgradeLimits limits = shortLimits(100ms);
    limits.backupAnswer = longestWait;
    connect(limits);
    write("backup", "the former");
    auto result = exportBackup();
    packet();
    link.send(made + row.stream);
    if (row.closes) link.close();
    EXPECT_EQ(result.get(), row.code);
    EXPECT_EQ(read("backup"), "the former");
  }
}

TEST_F(Upgrade, ABackupMustKeepAPace) {
  UpgradeLimits limits = shortLimits(longestWait);
  limits.grace = 50ms;
  connect(limits);
  auto result = exportBackup();
  packet();
  link.send(made);
  // A byte now and then is in time for every single read.
  for (std::size_t at = 0; result.wait_for(5ms) != std::future_status::ready; ++at) {
    ASSERT_LT(at, 4000u) << "never ends";
    link.send(std::string_view(at == 0 ? "\xff" : "x", 1));
  }
  EXPECT_EQ(result.get(), 270);
}

TEST_F(Upgrade, ATargetThatCannotBeWritten) {
  std::filesystem::create_directory("backup");
  auto result = exportBackup();
  packet();
  link.send(made + backup);
  EXPECT_EQ(result.get(), -280);
  std::filesystem::remove("backup");
  result = exportBackup();  // the conversation was over, so the connection is the same
  packet();
  link.send(made + backup);
  EXPECT_EQ(result.get(), 0);
  EXPECT_EQ(read("backup"), "the backup");
}

TEST_F(Upgrade, ALargeBackupTellsItsProgress) {
  const std::string file(20'000'000, 'b');
  std::vector<std::uint64_t> done;
  client->progress.set([&](std::uint64_t received, std::uint64_t total) {
    EXPECT_EQ(total, file.size());
    done.push_back(received);
  });
  auto result = exportBackup();
  packet();
  link.send(made + chunked(packetOf(1, filePayload("n", file))));
  EXPECT_EQ(result.get(), 0);
  EXPECT_TRUE(read("backup") == file);
  EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
  ASSERT_FALSE(done.empty());
  EXPECT_EQ(done.back(), file.size());
}

}  // namespace

}  // namespace zivra::test
