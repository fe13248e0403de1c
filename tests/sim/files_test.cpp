// The file link, and the upgrade and backup service, as a client meets them that knows nothing of the
// library.
#include <unistd.h>

#include "network/digest.h"
#include "network/file_link.h"
#include "sim/bench.h"
#include "sim/raw_client.h"
#include "zivra/sim/controller.h"

namespace zivra::sim::test {
namespace {

const std::string kAbc = "900150983cd24fb0d6963f7d28e17f72";

std::string announcement(const std::string& name = "\"demo\"", const std::string& length = "3",
                         const std::string& digest = '"' + kAbc + '"',
                         const std::string& function = "\"import_project\"",
                         const std::string& overwrite = "false") {
  return "{\"name\":" + name + ",\"len\":" + length + ",\"md5\":" + digest + ",\"function\":" + function +
         ",\"overwrite\":" + overwrite + "}";
}

TEST(Files, AnnouncementsAreChecked) {
  Bench bench;
  const std::pair<std::string, int> rows[] = {
      {announcement(), 0},
      {announcement("\"demo\"", "10485760"), 0},
      {announcement("\"demo\"", "1", '"' + kAbc + '"', "\"import_project_file\"", "true"), 0},
      {announcement("\"demo\"", "10485761"), -283},
      {announcement("\"demo\"", "0"), -283},
      {announcement("\"demo\"", "3", '"' + kAbc + '"', "\"import_other\""), -277},
      {announcement("\"\""), -260},
      {announcement("\"../demo\""), -260},
      {announcement("\"..\""), -260},
      {announcement("\"a\\\\b\""), -260},
      {announcement("1"), -260},
      {announcement("\"demo\"", "-1"), -260},
      {announcement("\"demo\"", "1.5"), -260},
      {announcement("\"demo\"", "3", "\"abc\""), -260},
      {announcement("\"demo\"", "3", "\"" + std::string(32, 'A') + "\""), -260},
      {announcement("\"demo\"", "3", '"' + kAbc + '"', "1"), -260},
      {announcement("\"demo\"", "3", '"' + kAbc + '"', "\"import_project\"", "0"), -260},
      {"null", -260},
      {"[]", -260},
  };
  for (const auto& [parameter, code] : rows) {
    bench.world.incoming.reset();
    EXPECT_EQ(bench.command("ix.sdk.transferInit", parameter), code) << parameter;
    EXPECT_EQ(bench.world.incoming.has_value(), code == 0) << parameter;
  }
}

const std::string kSuccess = "{\"f\":\"success\"}", kError = "{\"f\":\"error\"}";

struct Started {
  explicit Started(const std::string& address) : sim({.address = address}) { sim.start(); }
  Controller sim;
};

// Of this process alone: each test runs in one of its own.
std::string ownAddress() {
  const auto process = static_cast<unsigned>(::getpid());
  return "127.15." + std::to_string(process / 250 % 250) + "." + std::to_string(process % 250 + 1);
}

struct FileLinkTest : testing::Test {
  void announce(const std::string& parameter = announcement()) {
    EXPECT_EQ(commands.command("ix.sdk.transferInit", parameter), 0);
  }
  std::string transfer(const std::string& bytes, const std::string& parameter = announcement()) {
    announce(parameter);
    files.sendBytes(bytes);
    return files.receiveText().value_or("none");
  }
  const std::string address = ownAddress();
  Started started{address};
  Controller& sim = started.sim;
  RawClient commands{address}, files{address, 7777};
};

TEST_F(FileLinkTest, ChecksTheBytesThatWereAnnounced) {
  EXPECT_EQ(transfer("abc"), kSuccess);
  EXPECT_EQ(transfer("abd"), kError) << "another digest";
  EXPECT_EQ(transfer("a\rb", announcement("\"demo\"", "3", '"' + hexText(md5("a\rb")) + '"')), kSuccess);
  announce();
  for (const char* byte : {"a", "b", "c"}) files.sendBytes(byte);
  EXPECT_EQ(files.receiveText(), kSuccess);
  announce();
  files.sendBytes("abcdef");
  EXPECT_EQ(files.receiveText(), kSuccess) << "what follows is nobody's";
  EXPECT_EQ(files.receiveText(kQuiet), std::nullopt);
  const std::string large(10'485'760, 'x');
  EXPECT_EQ(transfer(large, announcement("\"demo\"", "10485760", '"' + hexText(md5(large)) + '"')), kSuccess);
}

TEST(FileLinks, OneLinkBringsAWholeFile) {
  Bench bench;
  std::mutex mutex;
  FileLink link(bench.world, mutex);
  const ServerHooks hooks = link.hooks();
  hooks.bytes(1, "nobody announced this");
  bench.command("ix.sdk.transferInit", announcement());
  hooks.bytes(1, "a");
  hooks.bytes(2, "bc");
  EXPECT_TRUE(hooks.takeDeliveries().empty()) << "two halves on two links are no file";
  EXPECT_EQ(bench.world.incoming->arrived[1].size(), 1u);
  hooks.closed(2);
  hooks.closed(1);
  EXPECT_TRUE(bench.world.incoming->arrived.empty()) << "a half goes with its link";
  EXPECT_FALSE(bench.world.received);
  hooks.bytes(3, "abc");
  ASSERT_TRUE(bench.world.received);
  EXPECT_FALSE(bench.world.incoming);
  EXPECT_EQ(hooks.takeDeliveries().size(), 1u);
  bench.world.received.reset();
  bench.command("ix.sdk.transferInit", announcement());
  hooks.bytes(2, "a");
  bench.command("ix.sdk.transferInit", announcement("\"other\""));
  hooks.bytes(2, "abc");
  EXPECT_EQ(hooks.takeDeliveries().size(), 1u);
  ASSERT_TRUE(bench.world.received) << "a new announcement begins anew";
  EXPECT_EQ(bench.world.received->name, "other");
  EXPECT_EQ(bench.world.received->bytes.size(), 3u);
  bench.world.received.reset();
  bench.command("ix.sdk.transferInit", announcement());
  hooks.bytes(2, "b");  // the rest of what was given up
  hooks.bytes(4, "ab");
  hooks.closed(2);
  hooks.bytes(4, "c");
  EXPECT_TRUE(bench.world.received) << "another link's rest doesn't spoil it";
}

TEST_F(FileLinkTest, Faults) {
  using Kind = FileFault::Kind;
  sim.inject(FileFault{.kind = Kind::refuse});
  EXPECT_EQ(transfer("abc"), kError);
  sim.inject(FileFault{.kind = Kind::text, .text = "{\"f\":\"later\"}"});
  EXPECT_EQ(transfer("abc"), "{\"f\":\"later\"}");
  EXPECT_EQ(files.receiveText(), kSuccess);
  sim.inject(FileFault{.kind = Kind::delay, .delay = 20ms});
  EXPECT_EQ(transfer("abc"), kSuccess);
  sim.inject(FileFault{.kind = Kind::mute});
  announce();
  files.sendBytes("abc");
  EXPECT_EQ(files.receiveText(kQuiet), std::nullopt);
  sim.inject(FileFault{.kind = Kind::drop, .times = 2});
  announce();
  files.sendBytes("ab");
  EXPECT_TRUE(files.awaitEnd());
  RawClient again(address, 7777);
  sim.clearFaults();
  announce();
  again.sendBytes("abc");
  EXPECT_EQ(again.receiveText(), kSuccess);
}

std::string bigEndian(std::size_t value, int width) {
  std::string bytes;
  while (--width >= 0) bytes += static_cast<char>(value >> (8 * width) & 0xff);
  return bytes;
}

std::string packet(int type, const std::string& payload) {
  return bigEndian(payload.size(), 4) + static_cast<char>(type) + '\0' + payload;
}

struct UpgradeTest : testing::Test {
  // The next `size` bytes; what there is of them at the end of the link.
  std::string receive(std::size_t size) {
    while (unread.size() < size) {
      const std::string piece = client.receiveBytes(kPatience);
      if (piece.empty()) break;
      unread += piece;
    }
    std::string bytes = unread.substr(0, size);
    unread.erase(0, size);
    return bytes;
  }
  static std::size_t number(const std::string& bytes) {
    std::size_t value = 0;
    for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
  }
  // The payload of the next packet, out of its chunks.
  std::string answer(int type = 2) {
    std::string bytes;
    do {
      const std::size_t length = number(receive(2));
      if (length == 0) return "none";
      bytes += receive(length);
    } while (bytes.size() < 6 || bytes.size() < 6 + number(bytes.substr(0, 4)));
    EXPECT_EQ(bytes[4], type);
    return bytes.substr(6);
  }
  static std::string package(const std::string& file, bool damaged = false) {
    const auto digest = md5(damaged ? file + "x" : file);
    const std::string name = "./upgrade/x.zip";
    return packet(1, std::string(3, '\0') + std::string(digest.begin(), digest.end()) +
                         bigEndian(name.size(), 2) + name + file);
  }
  const std::string address = ownAddress();
  Started started{address};
  Controller& sim = started.sim;
  RawClient client{address, 4567};
  std::string unread;
};

TEST_F(UpgradeTest, VerifiesPackages) {
  const std::string file = std::string("PK\x03\x04") + "rest", arrived = "{\"s\":{\"file_transfer\":true}}\n",
                    taken = "{\"upgrade\":\"ok\"}\n";
  client.sendBytes(package(file));
  EXPECT_EQ(answer(), arrived);
  EXPECT_EQ(answer(), taken);
  EXPECT_EQ(sim.upgrades(), std::vector<std::string>{hexText(md5(file))});
  client.sendBytes(package(file, true));
  EXPECT_EQ(answer(), "{\"s\":{\"file_transfer\":false}}\n");
  EXPECT_NE(answer(), taken);
  client.sendBytes(package("no zip"));
  EXPECT_EQ(answer(), arrived);
  EXPECT_NE(answer(), taken);
  client.sendBytes(packet(1, "short"));
  EXPECT_EQ(answer(), "{\"s\":{\"file_transfer\":false}}\n");
  answer();
  EXPECT_EQ(sim.upgrades().size(), 1u);
  client.sendBytes(packet(2, "no JSON"));
  EXPECT_EQ(answer(), "{\"reply\":\"unknown request\"}\n");
  client.sendBytes(bigEndian(0xffffffff, 4) + "\1");
  client.sendBytes(std::string(1, '\0'));
  EXPECT_TRUE(client.awaitEnd()) << "a packet larger than anything";
}

TEST_F(UpgradeTest, BacksUpWhatTheWorldHolds) {
  client.sendBytes(
      packet(2, R"({"export":["robot_cfg",{"exclude":["local_cfg"]},"log","nothing"],"send_file":true})"));
  EXPECT_EQ(
      answer(),
      R"({"reply":"export","result":{"log":"ok","nothing":"no such item","robot_cfg":"ok","size":"ok"}})"
      "\n");
  const std::string payload = answer(1);
  const std::size_t start = 21 + number(payload.substr(19, 2));
  const std::string file = payload.substr(start);
  const auto digest = md5(file);
  EXPECT_EQ(payload.substr(3, 16), std::string(digest.begin(), digest.end()));
  EXPECT_EQ(file.size() % 512, 0u);
  EXPECT_NE(file.find("robot_cfg/robot.json"), std::string::npos);
  EXPECT_EQ(file.find("local_cfg"), std::string::npos);
  EXPECT_NE(file.find("log/controller.log"), std::string::npos);
  for (const char* request :
       {R"({"export":[],"send_file":true})", R"({"export":["log"],"send_file":false})"}) {
    client.sendBytes(packet(2, request));
    EXPECT_EQ(answer().find("\"size\":\"ok\""), std::string::npos) << request;
  }
}

}  // namespace
}  // namespace zivra::sim::test
