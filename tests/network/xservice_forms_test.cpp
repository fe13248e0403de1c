// The request forms: what goes out, what comes back, and which code each answer gives.
#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <limits>

#include <zivra/error.h>

#include "link_fixture.h"

namespace zivra {
namespace {

using test::compact;
using test::idOf;
using test::LinkTest;

struct FormCase {
  const char* name;
  const char* frame;  // as it goes out, its id as N
  const char* reply;  // N stands for the id; null: none
  int code;
  const char* value;  // the out value afterwards, which is "kept" before
  std::function<void(XService&, Json::Value&, std::error_code&)> call;
};

void get(XService& x, Json::Value& value, std::error_code& ec) { x.get("k", Json::Value(), value, ec); }
void command(XService& x, Json::Value& value, std::error_code& ec) {
  x.command("k", Json::Value(), value, ec);
}
void set(XService& x, Json::Value&, std::error_code& ec) { x.set("k", 1, ec); }
void setValue(XService& x, Json::Value& value, std::error_code& ec) { value = x.setValue("k", 1, ec); }
void getTwo(XService& x, Json::Value& values, std::error_code& ec) {
  x.getMany({"k", "a"}, {1, Json::Value()}, values, ec);
}

const FormCase formCases[] = {
    // What goes out, and the value that comes back.
    {"get", R"({"g":{"k":null},"id":N})", R"({"g":{"k":[1,{"a":"b"}]},"id":N})", 0, R"([1,{"a":"b"}])", get},
    {"get with its value as parameter", R"({"g":{"k":"kept"},"id":N})", R"({"id":N,"g":{"k":2.5}})", 0, "2.5",
     [](XService& x, Json::Value& v, std::error_code& ec) { x.get("k", v, ec); }},
    {"key and text are escaped", R"({"g":{"a\"\\\r":"\u00e9\r"},"id":N})", R"({"g":{"a\"\\\r":0},"id":N})", 0,
     "0", [](XService& x, Json::Value& v, std::error_code& ec) { x.get("a\"\\\r", "\xC3\xA9\r", v, ec); }},
    {"getMany", R"({"g":{"a":null,"k":1},"id":N})", R"({"g":{"k":5},"id":N})", 0, R"({"k":5})", getTwo},
    {"getMany with no keys", R"({"id":N})", R"({"g":{},"id":N})", 0, "{}",
     [](XService& x, Json::Value& v, std::error_code& ec) { x.getMany({}, {}, v, ec); }},
    {"getMany with lengths that differ", nullptr, nullptr, 259, R"("kept")",
     [](XService& x, Json::Value& v, std::error_code& ec) {
       x.getMany({"a", "b"}, {1}, v, ec);
     }},
    {"set", R"({"id":N,"s":{"k":1}})", R"({"id":N,"s":{"k":0}})", 0, R"("kept")", set},
    {"setValue", R"({"id":N,"s":{"k":1}})", R"({"id":N,"s":{"k":-290}})", 0, "-290", setValue},
    {"command", R"({"c":{"k":null},"id":N})", R"({"c":{"k":-3},"id":N})", 0, "-3", command},
    {"command answered with null", R"({"c":{"k":null},"id":N})", R"({"c":{"k":null},"id":N})", 0, "null",
     command},
    {"watch", R"({"id":N,"w":{"k":true}})", nullptr, 0, R"("kept")",
     [](XService& x, Json::Value&, std::error_code& ec) { x.watch("k", true, ec); }},
    {"watch off", R"({"id":N,"w":{"k":false}})", nullptr, 0, R"("kept")",
     [](XService& x, Json::Value&, std::error_code& ec) { x.watch("k", false, ec); }},
    {"commandWithId", R"({"c":{"b":[1.0]},"id":"1#a\"b"})", nullptr, 0, R"("kept")",
     [](XService& x, Json::Value&, std::error_code& ec) { x.commandWithId(R"({"b":[1.0]})", "1#a\"b", ec); }},
    {"sendFrame", R"({"any":[1.0,true]})", nullptr, 0, R"("kept")",
     [](XService& x, Json::Value&, std::error_code& ec) {
       Json::Value message;
       message["any"].append(1.0);
       message["any"].append(true);
       x.sendFrame(message, ec);
     }},
    {"exchange", R"({"id":N,"x":1})", R"({"id":N,"y":2})", 0, nullptr,
     [](XService& x, Json::Value& v, std::error_code& ec) {
       Json::Value request;
       request["x"] = 1;
       x.exchange(request, v, ec);
       EXPECT_EQ(v["y"], 2);
       EXPECT_EQ(compact(v["id"]), compact(request["id"]));
     }},
    {"exchange of no object", nullptr, nullptr, 259, R"("kept")",
     [](XService& x, Json::Value& v, std::error_code& ec) {
       Json::Value request(5);
       x.exchange(request, v, ec);
     }},
    // Codes.
    {"set refused", R"({"id":N,"s":{"k":1}})", R"({"id":N,"s":{"k":-290}})", -290, R"("kept")", set},
    {"get of another key", R"({"g":{"k":null},"id":N})", R"({"g":{"other":1},"id":N})", 257, R"("kept")",
     get},
    {"get answered as a command", R"({"g":{"k":null},"id":N})", R"({"c":{"k":1},"id":N})", 257, R"("kept")",
     get},
    {"get with a body of null", R"({"g":{"k":null},"id":N})", R"({"g":null,"id":N})", 257, R"("kept")", get},
    {"get with a body of text", R"({"g":{"k":null},"id":N})", R"({"g":"k","id":N})", 257, R"("kept")", get},
    {"get with a body of array", R"({"g":{"k":null},"id":N})", R"({"g":["k"],"id":N})", 257, R"("kept")",
     get},
    {"getMany with a body of number", R"({"g":{"a":null,"k":1},"id":N})", R"({"g":5,"id":N})", 257,
     R"("kept")", getTwo},
    {"command with no body", R"({"c":{"k":null},"id":N})", R"({"id":N,"x":0})", 257, R"("kept")", command},
};

// Where an integer is read, anything else can't be understood.
const char* const noIntegers[] = {"\"0\"", "null", "true",       "0.0",        "-290.5",
                                  "[]",    "{}",   "2147483648", "-2147483649"};

struct FormsTest : LinkTest {
  static std::string withId(std::string text, const std::string& id) {
    if (const auto at = text.find("\"id\":N"); at != std::string::npos) text.replace(at + 5, 1, id);
    return text;
  }
  // Runs the call against a controller that expects the frame and gives the reply.
  void check(const FormCase& c) {
    SCOPED_TRACE(c.name);
    Json::Value value("kept");
    std::error_code ec = std::make_error_code(std::errc::io_error);
    auto done = std::async(std::launch::async, [&] { c.call(service, value, ec); });
    if (c.frame != nullptr) {
      const std::string frame = peerLink.frame().value_or("nothing");
      const std::string id = idOf(frame);
      EXPECT_EQ(frame, withId(c.frame, id));
      if (c.reply != nullptr) peerLink.send(withId(c.reply, id) + "\r");
    }
    done.get();
    EXPECT_EQ(ec.value(), c.code);
    EXPECT_EQ(ec.category(), category());
    if (c.value != nullptr) {
      EXPECT_EQ(compact(value), c.value);
    }
  }
};

TEST_F(FormsTest, FramesValuesAndCodes) {
  for (const FormCase& c : formCases) check(c);
  for (const char* wrong : noIntegers) {
    const std::string reply = std::string(R"({"id":N,"s":{"k":)") + wrong + "}}";
    check({wrong, R"({"id":N,"s":{"k":1}})", reply.c_str(), 257, R"("kept")", set});
    check({wrong, R"({"id":N,"s":{"k":1}})", reply.c_str(), 257, "0", setValue});
  }
}

TEST_F(FormsTest, WithoutLinkEverythingIs256AtOnce) {
  service.stop();
  for (const FormCase& c : formCases) {
    if (c.frame == nullptr) continue;
    Json::Value value("kept");
    std::error_code ec;
    if (std::string(c.name) != "exchange")
      c.call(service, value, ec);
    else
      service.exchange(value = Json::objectValue, value, ec);
    EXPECT_EQ(ec, Code::network) << c.name;
  }
}

TEST_F(FormsTest, GateIsTestedWhenTheFrameIsQueued) {
  std::atomic<std::uint64_t> epoch{7};
  std::error_code ec;
  service.commandWithId("1", "shut", ec, {&epoch, 6});
  EXPECT_EQ(ec, std::errc::operation_canceled);
  service.commandWithId("2", "open", ec, {&epoch, 7});
  EXPECT_FALSE(ec);
  EXPECT_EQ(peerLink.frame(), R"({"c":2,"id":"open"})");
}

TEST_F(FormsTest, TimeOutsOfEverySize) {
  struct Case {
    std::int64_t timeoutNs;
    bool answered;
    int code;
  };
  const Case cases[] = {
      {0, false, 263},
      {-1, false, 263},
      {std::numeric_limits<std::int64_t>::min(), false, 263},
      {1'000'000, false, 263},
      {std::numeric_limits<std::int64_t>::max(), true, 0},
      {std::numeric_limits<std::int64_t>::max() - 1, true, 0},
  };
  for (const Case& c : cases) {
    Json::Value value("kept");
    std::error_code ec;
    auto done =
        std::async(std::launch::async, [&] { service.command("k", Json::Value(), value, ec, c.timeoutNs); });
    const std::string id = idOf(peerLink.frame().value_or(""));
    if (!c.answered) done.get();
    peerLink.send(R"({"c":{"k":1},"id":)" + id + "}\r");  // late, or in time
    if (c.answered) done.get();
    EXPECT_EQ(ec.value(), c.code) << c.timeoutNs;
    EXPECT_EQ(compact(value), c.code == 0 ? "1" : "\"kept\"") << c.timeoutNs;
  }
}

TEST_F(FormsTest, CallbacksGetTheWholeReplyOnce) {
  test::Heard<std::string> heard;
  std::error_code ec;
  service.commandAsync(
      "k", 5,
      [&](const Json::Value& reply) {
        EXPECT_TRUE(service.onNetworkThread());
        heard.add(compact(reply));
        // Inside a callback: what doesn't wait works, what waits reports it.
        std::error_code inner;
        Json::Value value;
        service.get("k", value, inner);
        EXPECT_EQ(inner, Code::timeout);
        service.commandAsync(
            "again", Json::Value(),
            [&](const Json::Value& second) {
              heard.add(compact(second));
              throw std::runtime_error("from a callback");
            },
            inner);
        EXPECT_FALSE(inner);
      },
      ec);
  EXPECT_FALSE(ec);
  const auto answer = [&](const std::string& key) {
    const std::string reply =
        R"({"c":{")" + key + R"(":0},"id":)" + idOf(peerLink.frame().value_or("")) + "}";
    peerLink.send(reply + "\r" + reply + "\r");  // the second finds nobody
    return reply;
  };
  std::vector<std::string> expected{answer("k")};
  expected.push_back(answer("again"));
  EXPECT_TRUE(heard.waitFor(2));
  peerLink.send(R"({"n":{"last":1},"t":1})"
                "\r");
  EXPECT_TRUE(pushes.waitFor(1));  // everything before it has been routed
  EXPECT_EQ(heard.all(), expected);
}

}  // namespace
}  // namespace zivra
