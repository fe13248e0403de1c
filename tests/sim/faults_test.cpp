// The faults that a user's test can lay out, and the controller's own restarts.
#include "sim/raw_client.h"
#include "zivra/sim/controller.h"

namespace zivra::sim::test {
namespace {

using Kind = Fault::Kind;

struct FaultCase {
  const char* name;
  Fault fault;
  const char* received;  // as it stands; null: no frame at all
  bool linkEnds;
  const char* powerThen;  // whether the work was done
};

const FaultCase kFaults[] = {
    {"refuse", {.kind = Kind::refuse, .code = -514}, R"({"c":{"sys.power.on":-514},"id":1})", false, "off"},
    {"refuse another key",
     {.kind = Kind::refuse, .key = "sys.power.off"},
     R"({"c":{"sys.power.on":0},"id":1})",
     false,
     "on"},
    {"delay", {.kind = Kind::delay, .delay = 120ms}, R"({"c":{"sys.power.on":0},"id":1})", false, "on"},
    {"mute", {.kind = Kind::mute, .key = "sys.power.on"}, nullptr, false, "on"},
    {"drop", {.kind = Kind::drop}, nullptr, true, "on"},
    {"drop amid the answer", {.kind = Kind::drop, .half = true}, nullptr, true, "on"},
    {"garbage", {.kind = Kind::garbage, .text = "}{"}, "}{", false, "on"},
    {"reply",
     {.kind = Kind::reply, .text = R"({"a":[1.5]})"},
     R"({"c":{"sys.power.on":{"a":[1.5]}},"id":1})",
     false,
     "on"},
};

TEST(Faults, HitTheRequestsTheyAreLaidOutFor) {
  Controller sim({.address = "127.10.3.1"});
  for (const FaultCase& row : kFaults) {
    SCOPED_TRACE(row.name);
    sim.start();
    sim.inject(row.fault);
    RawClient client("127.10.3.1");
    const auto sent = std::chrono::steady_clock::now();
    client.sendFrame(R"({"c":{"sys.power.on":null},"id":1})");
    const auto text = client.receiveText(row.received || row.linkEnds ? kPatience : kQuiet);
    EXPECT_EQ(text.value_or("none"), row.received ? row.received : "none");
    EXPECT_GE(std::chrono::steady_clock::now() - sent, row.fault.delay);
    if (row.linkEnds) {
      EXPECT_TRUE(client.awaitEnd());
    }
    EXPECT_EQ(sim.powerState(), row.powerThen);
    sim.clearFaults();
    RawClient next("127.10.3.1");
    EXPECT_EQ(next.command("sys.power.on"), 0);  // once is once
    sim.stop();
  }
  EXPECT_THROW(sim.inject({.kind = Kind::reply, .text = "{"}), std::invalid_argument);
}

TEST(Faults, CountAndCombine) {
  Controller sim({.address = "127.10.3.2"});
  sim.start();
  RawClient client("127.10.3.2");
  sim.inject({.kind = Kind::refuse, .key = "*", .code = -1, .times = 2});
  sim.inject({.kind = Kind::delay, .delay = 1ms, .times = -1});
  const int codes[] = {-1, -1, 0, 0};
  for (const int code : codes) EXPECT_EQ(client.command("sys.power.on"), code);
  // A delayed answer is overtaken by what is answered at once.
  sim.clearFaults();
  sim.inject({.kind = Kind::delay, .key = "sys.power", .delay = 300ms});
  client.sendFrame(R"({"g":{"sys.power":null},"id":1})");
  client.sendFrame(R"({"g":{"sys.mode":null},"id":2})");
  EXPECT_EQ(client.reply()["id"], 2);
  EXPECT_EQ(client.reply()["id"], 1);
}

TEST(Faults, OfTheLinks) {
  Controller sim({.address = "127.10.3.3"});
  sim.start();
  {
    RawClient client("127.10.3.3");
    EXPECT_EQ(client.request('g', "sys.power"), "off");
    sim.stopListening();
    EXPECT_FALSE(RawClient::canConnect("127.10.3.3"));
    EXPECT_EQ(client.request('g', "sys.power"), "off");
    sim.dropLinks();
    EXPECT_EQ(sim.clients(), 0u);
    EXPECT_TRUE(client.awaitEnd());
    sim.listenAgain();
  }
  RawClient client("127.10.3.3");
  sim.stopReading(true);
  client.sendFrame(R"({"g":{"sys.mode":null},"id":1})");
  EXPECT_FALSE(client.receiveText(kQuiet));
  sim.stopReading(false);
  EXPECT_EQ(client.receiveText().value_or(""), R"({"g":{"sys.mode":"manual"},"id":1})");

  sim.sendRaw("half a fra");
  sim.sendRaw("me\r");
  EXPECT_EQ(client.receiveText().value_or(""), "half a frame");

  sim.sliceFrames(3);
  client.sendFrame(R"({"g":{"sys.mode":null},"id":2})");
  std::string bytes = client.receiveBytes(kPatience);
  EXPECT_LT(bytes.size(), 30u);
  while (bytes.find('\r') == std::string::npos) bytes += client.receiveBytes(kPatience);
  EXPECT_EQ(bytes, "{\"g\":{\"sys.mode\":\"manual\"},\"id\":2}\r");
  sim.sliceFrames(0);

  sim.coalesceFrames(500ms);
  client.sendFrame(R"({"g":{"sys.mode":null},"id":3})");
  EXPECT_TRUE(eventually([&] { return sim.requests().size() == 5; }));
  client.sendFrame(R"({"g":{"sys.mode":null},"id":4})");
  EXPECT_EQ(client.receiveBytes(kPatience),
            "{\"g\":{\"sys.mode\":\"manual\"},\"id\":3}\r{\"g\":{\"sys.mode\":\"manual\"},\"id\":4}\r");
}

TEST(Faults, RebootDropsTheLinksAndComesBackWithPowerOff) {
  Controller sim({.address = "127.10.3.4"});
  sim.start();
  for (const bool byRequest : {true, false}) {
    RawClient client("127.10.3.4");
    EXPECT_EQ(client.command("sys.power.on"), 0);
    if (byRequest)
      EXPECT_EQ(client.command("utils.reboot"), 0);  // the answer goes out before the link goes down
    else
      sim.reboot();
    EXPECT_TRUE(client.awaitEnd());
    ASSERT_TRUE(eventually([] { return RawClient::canConnect("127.10.3.4"); }));
    EXPECT_EQ(sim.powerState(), "off");
  }
  RawClient client("127.10.3.4");
  EXPECT_EQ(client.command("utils.reboot", R"({"option":"sleep"})"), -260);
  EXPECT_EQ(client.command("utils.reboot", R"({"option":"shutdown"})"), 0);
  EXPECT_TRUE(client.awaitEnd());
  EXPECT_FALSE(RawClient::canConnect("127.10.3.4"));
  sim.stop();
  sim.start();
  EXPECT_TRUE(RawClient::canConnect("127.10.3.4"));
}

}  // namespace
}  // namespace zivra::sim::test
