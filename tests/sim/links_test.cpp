// Frames, forms, several clients, and what a hostile or careless client gets.
#include <fcntl.h>
#include <set>

#include "sim/raw_client.h"
#include "zivra/sim/controller.h"

namespace zivra::sim::test {
namespace {

struct FrameCase {
  const char* name;
  const char* sent;  // as it stands, CRs included
  std::vector<const char*> replies;
};

const FrameCase kFrames[] = {
    {"unknown get", "{\"g\":{\"no.key\":null},\"id\":1}\r", {R"({"g":{"no.key":-272},"id":1})"}},
    {"unknown set", "{\"s\":{\"no.key\":1},\"id\":2}\r", {R"({"id":2,"s":{"no.key":-288}})"}},
    {"unknown command", "{\"c\":{\"no.key\":null},\"id\":3}\r", {R"({"c":{"no.key":-259},"id":3})"}},
    {"unknown watch", "{\"w\":{\"no.key\":true},\"id\":4}\r", {R"({"id":4,"w":{"no.key":-304}})"}},
    {"a set key is no command", "{\"c\":{\"eci.ip\":null},\"id\":3}\r", {R"({"c":{"eci.ip":-259},"id":3})"}},
    {"string id", "{\"c\":{\"move.l\":{}},\"id\":\"l#8\"}\r", {R"({"c":{"move.l":-260},"id":"l#8"})"}},
    {"largest id",
     "{\"g\":{\"sys.power\":null},\"id\":18446744073709551615}\r",
     {R"({"g":{"sys.power":"off"},"id":18446744073709551615})"}},
    {"several keys",
     "{\"g\":{\"sys.power\":null,\"sys.mode\":null,\"x\":null},\"id\":5}\r",
     {R"({"g":{"sys.mode":"manual","sys.power":"off","x":-272},"id":5})"}},
    {"joined",
     "{\"g\":{\"sys.power\":null},\"id\":6}\r{\"g\":{\"sys.mode\":null},\"id\":7}\r",
     {R"({"g":{"sys.power":"off"},"id":6})", R"({"g":{"sys.mode":"manual"},"id":7})"}},
    {"blanks and line ends",
     " \n{ \"g\" : {\"sys.power\":null}, \"id\":8 } \n\r",
     {R"({"g":{"sys.power":"off"},"id":8})"}},
    {"escaped key", "{\"g\":{\"sys.\\u0070ower\":null},\"id\":9}\r", {R"({"g":{"sys.power":"off"},"id":9})"}},
    {"no body", "{\"id\":10}\r", {R"({"error":-257,"id":10})"}},
    {"two bodies", "{\"c\":{},\"g\":{},\"id\":11}\r", {R"({"error":-257,"id":11})"}},
    {"body of another type", "{\"g\":[1],\"id\":12}\r", {R"({"g":-257,"id":12})"}},
    {"lone CR", "\r", {}},
    {"no JSON", "hello\r", {}},
    {"cut JSON", "{\"g\":{\"sys.power\":nul\r", {}},
    {"text behind the value", "{\"g\":{\"sys.power\":null},\"id\":1}}\r", {}},
    {"no object", "[1,2]\r", {}},
    {"no id", "{\"g\":{\"sys.power\":null}}\r", {}},
    {"id of another type", "{\"g\":{\"sys.power\":null},\"id\":[1]}\r", {}},
    {"negative id", "{\"g\":{\"sys.power\":null},\"id\":-1}\r", {}},
    {"lone surrogate", "{\"g\":{\"\\ud800\":null},\"id\":1}\r", {}},
    {"number of no form", "{\"g\":{\"sys.power\":1.},\"id\":1}\r", {}},
};

TEST(Links, AnswerEachFrameByItself) {
  Controller sim({.address = "127.10.1.1"});
  sim.start();
  for (const bool split : {false, true})
    for (const FrameCase& row : kFrames) {
      SCOPED_TRACE(row.name);
      RawClient client("127.10.1.1");
      const std::string sent = row.sent;
      if (split)
        for (const char byte : sent) client.sendBytes(std::string(1, byte));
      else
        client.sendBytes(sent);
      for (const char* expected : row.replies) EXPECT_EQ(client.receiveText().value_or("nothing"), expected);
      // Nothing else came before this, and the link still works.
      client.sendFrame(R"({"g":{"sys.mode":null},"id":99})");
      EXPECT_EQ(client.receiveText().value_or("nothing"), R"({"g":{"sys.mode":"manual"},"id":99})");
    }
}

TEST(Links, EveryHandledKeyAnswersWhateverItIsGiven) {
  Controller sim({.address = "127.10.1.2"});
  sim.start();
  const char* const parameters[] = {"null",
                                    "true",
                                    "-1",
                                    "1e300",
                                    "\"\"",
                                    "[]",
                                    "[1,\"a\",null]",
                                    "{}",
                                    "{\"a\":1}",
                                    R"({"path":[]})",
                                    R"({"path":[{},7]})",
                                    R"({"trans":[1,2],"rot":{}})",
                                    R"({"point":{"trans":[0,0,0],"rot":[0,0,0],"conf":[1e99]},"traj":[]})"};
  const auto keys = handledKeys();
  ASSERT_GE(keys.size(), 40u);
  for (const std::string& formAndKey : keys) {
    if (formAndKey == "c utils.reboot") continue;  // answers too, but then the link goes
    SCOPED_TRACE(formAndKey);
    RawClient client("127.10.1.2");
    for (const char* parameter : parameters) {
      const Json::Value value = client.request(formAndKey[0], formAndKey.substr(2), parameter);
      EXPECT_FALSE(value.isNull()) << parameter;
      // Commands answer with a code; those that ask for something may answer with more.
      EXPECT_TRUE(formAndKey[0] == 'g' || value.isInt() || value.isObject()) << parameter;
    }
    const Json::Value value = client.request(formAndKey[0], formAndKey.substr(2));
    for (const int unknown : {-259, -272, -288, -304}) EXPECT_NE(value, unknown);
  }
}

TEST(Links, DeepNestingAndLongFramesHarmNobodyElse) {
  Controller sim({.address = "127.10.1.3"});
  sim.start();
  RawClient honest("127.10.1.3"), deep("127.10.1.3"), endless("127.10.1.3");
  deep.sendFrame(std::string(2000, '[') + std::string(2000, ']'));
  deep.sendFrame(R"({"g":{"sys.power":null},"id":1})");
  EXPECT_TRUE(deep.receiveText().has_value());
  endless.sendBytes(std::string(3 << 20, 'x'));
  EXPECT_TRUE(endless.awaitEnd());
  EXPECT_EQ(honest.request('g', "sys.power"), "off");
}

TEST(Links, ClientThatNeverReadsIsDropped) {
  Controller sim({.address = "127.10.1.4"});
  sim.start();
  RawClient honest("127.10.1.4");
  {
    RawClient deaf("127.10.1.4");
    const std::string flood = "{\"g\":{\"" + std::string(100'000, 'x') + "\":null},\"id\":1}\r";
    ASSERT_TRUE(eventually([&] { return sim.clients() == 2; }));
    EXPECT_TRUE(eventually([&] {
      deaf.sendBytes(flood);
      return sim.clients() == 1;
    }));
  }
  EXPECT_EQ(honest.request('g', "sys.power"), "off");
}

TEST(Links, ServeManyClientsOnBothPorts) {
  Controller sim({.address = "127.10.1.5"});
  sim.start();
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([i] {
      RawClient client("127.10.1.5", i % 2 == 0 ? 6666 : 1337);
      for (int n = 0; n < 200; ++n) EXPECT_EQ(client.request('g', "sys.mode"), "manual");
    });
  for (auto& thread : threads) thread.join();
  EXPECT_TRUE(eventually([&] { return sim.clients() == 0; }));
  EXPECT_EQ(sim.requests().size(), 1600u);
}

TEST(Links, PushesGoToThoseWhoWatch) {
  Controller sim({.address = "127.10.1.6"});
  sim.start();
  RawClient watching("127.10.1.6"), other("127.10.1.6"), former("127.10.1.6");
  for (RawClient* client : {&watching, &former})
    EXPECT_EQ(client->request('w', "safety.event.collision", "true"), 0);
  EXPECT_EQ(watching.request('w', "safety.event.collision", "true"), -305);
  EXPECT_EQ(former.request('w', "safety.event.collision", "false"), 0);
  EXPECT_EQ(other.request('w', "log.user", "true"), 0);
  sim.collide();
  const Json::Value push = watching.push();
  EXPECT_EQ(push["n"]["safety.event.collision"], true);
  EXPECT_GE(push.size(), 2u);
  EXPECT_EQ(other.push()["n"]["log.user"]["error"], -50401) << "the log tells of it too";
  sim.push("log.user", R"({"error":7})");
  EXPECT_EQ(other.push()["n"]["log.user"]["error"], 7);
  for (RawClient* client : {&watching, &other, &former}) EXPECT_FALSE(client->receiveText(kQuiet));
  EXPECT_THROW(sim.push("log.user", "{"), std::invalid_argument);
}

TEST(Links, PortsAreFreeAtOnceAfterStop) {
  Controller sim({.address = "127.10.1.7"});
  for (int i = 0; i < 5; ++i) {
    sim.start();
    RawClient client("127.10.1.7");
    EXPECT_EQ(client.request('g', "sys.power"), "off");
    sim.stop();
    EXPECT_TRUE(client.awaitEnd());
  }
  sim.start();
  Controller second({.address = "127.10.1.7"});
  try {
    second.start();
    FAIL() << "two controllers on one port";
  } catch (const std::runtime_error& error) {
    EXPECT_NE(std::string(error.what()).find("127.10.1.7:6666"), std::string::npos) << error.what();
  }
}

std::set<int> openDescriptors() {
  std::set<int> open;
  for (int i = 0; i < 1024; ++i)
    if (::fcntl(i, F_GETFD) >= 0) open.insert(i);
  return open;
}

TEST(Links, AHundredControllersAtOnceLeaveNothingToChildProcesses) {
  const auto before = openDescriptors();
  {
    std::vector<std::unique_ptr<Controller>> controllers;
    for (int i = 1; i <= 100; ++i) {
      controllers.push_back(
          std::make_unique<Controller>(Options{.address = "127.10.2." + std::to_string(i)}));
      controllers.back()->start();
    }
    RawClient client("127.10.2.100");
    EXPECT_EQ(client.request('g', "sys.power"), "off");
    for (const int descriptor : openDescriptors())
      EXPECT_TRUE(before.contains(descriptor) || (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0);
  }
  EXPECT_EQ(openDescriptors(), before);
}

// A comma as the decimal mark, as in half of Europe, without needing such a locale on the machine.
struct CommaMarks : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
};

TEST(Links, NumbersDontFollowTheLocale) {
  const std::locale old = std::locale::global(std::locale(std::locale::classic(), new CommaMarks));
  Controller sim({.address = "127.10.1.9"});
  sim.start();
  RawClient client("127.10.1.9");
  client.request('c', "move.override_rate", "0.625");
  client.sendFrame(R"({"g":{"project.run_param":{"override":null}},"id":1})");
  EXPECT_EQ(client.receiveText().value_or(""), R"({"g":{"project.run_param":{"override":0.625}},"id":1})");
  std::locale::global(old);
}

}  // namespace
}  // namespace zivra::sim::test
