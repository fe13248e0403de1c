// The command link under load, garbage, drops and odd lifetimes.
#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <thread>

#include <zivra/error.h>

#include "link_fixture.h"

namespace zivra {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using test::compact;
using test::eventually;
using test::idOf;
using test::LinkTest;

struct Asked {
  Json::Value value{"kept"};
  std::error_code ec;
};

struct XServiceLinkTest : LinkTest {
  std::future<Asked> ask(const std::string& key, std::int64_t timeoutNs = XService::defaultTimeoutNs) {
    return std::async(std::launch::async, [this, key, timeoutNs] {
      Asked asked;
      service.command(key, Json::Value(), asked.value, asked.ec, timeoutNs);
      return asked;
    });
  }
  static std::string keyOf(const std::string& frame) {
    constexpr std::string_view before = R"({"c":{")";
    return frame.substr(before.size(), frame.find('"', before.size()) - before.size());
  }
  static std::string replyTo(const std::string& frame, const std::string& value) {
    return R"({"c":{")" + keyOf(frame) + "\":" + value + "},\"id\":" + idOf(frame) + "}\r";
  }
  void expectAlive() {
    auto asked = ask("alive");
    peerLink.send(replyTo(peerLink.frame().value_or(""), "1"));
    EXPECT_FALSE(asked.get().ec);
  }
  // One that doesn't read: its socket is full soon, and from then on frames with `longBody` wait in the
  // queue.
  void makePeerDeaf() {
    peer.takeLittle();
    peerLink.close();
    peerLink = peer.accept();
    ASSERT_TRUE(eventually([this] { return service.connected(); }));
  }
  const std::string longBody = std::string(100'000, 'b');
};

TEST_F(XServiceLinkTest, RepliesFindTheirOwnWaiters) {
  constexpr int callers = 100;  // more than there are channels to wake
  std::vector<std::future<Asked>> asked;
  std::vector<std::string> frames;
  for (int i = 0; i < callers; ++i) asked.push_back(ask("k" + std::to_string(i)));
  for (int i = 0; i < callers; ++i) frames.push_back(peerLink.frame().value_or(""));
  std::string replies;
  for (auto frame = frames.rbegin(); frame != frames.rend(); ++frame) {
    replies += replyTo(*frame, keyOf(*frame).substr(1));
  }
  peerLink.send(replies);
  for (int i = 0; i < callers; ++i) {
    const Asked one = asked[static_cast<std::size_t>(i)].get();
    EXPECT_FALSE(one.ec);
    EXPECT_EQ(compact(one.value), std::to_string(i));
  }
}

TEST_F(XServiceLinkTest, ManyCallersExchangeWithoutLoss) {
  std::thread controller([this] {
    while (const auto frame = peerLink.frame()) peerLink.send(replyTo(*frame, keyOf(*frame).substr(1)));
  });
  std::vector<std::thread> callers;
  for (int t = 0; t < 16; ++t) {
    callers.emplace_back([this, t] {
      for (int i = 0; i < 200; ++i) {
        const int number = t * 1000 + i;
        Json::Value value;
        std::error_code ec;
        service.command("k" + std::to_string(number), Json::Value(), value, ec);
        ASSERT_FALSE(ec);
        ASSERT_EQ(value, number);
      }
    });
  }
  for (auto& caller : callers) caller.join();
  service.stop();
  controller.join();
}

TEST_F(XServiceLinkTest, WhatCanNotBeReadIsDroppedAndTheLinkGoesOn) {
  const std::string streams[] = {"\r\r\r",
                                 "garbage\r",
                                 "{\"a\":1\r",
                                 std::string("\xff\xfe\0\r", 4),
                                 "[1,2]\r",
                                 "{\"id\":5}\r",
                                 std::string("\0\0\r", 3),
                                 "{\"a\":1,\"id\":{}}\r{\"a\":1,\"id\":-5}\r{\"a\":1,\"id\":1e99}\r",
                                 std::string(2000, '[') + "\r",
                                 std::string(2000, '[') + std::string(2000, ']') + "\r",
                                 "{\"a\":" + std::string(100'000, '[') + "\r",
                                 "{\"big\":\"" + std::string(5'000'000, 'b') + "\",\"id\":1}\r"};
  for (const std::string& stream : streams) {
    SCOPED_TRACE(stream.substr(0, 20));
    peerLink.send(stream);
    expectAlive();
  }
  EXPECT_TRUE(pushes.all().empty());
  EXPECT_EQ(connections.all(), std::vector<bool>{true});
}

TEST_F(XServiceLinkTest, OneMemberReplyIsNoReply) {
  auto asked = ask("k", 50'000'000);
  peerLink.send("{\"id\":" + idOf(peerLink.frame().value_or("")) + "}\r");
  EXPECT_EQ(asked.get().ec, Code::timeout);
}

TEST_F(XServiceLinkTest, PushesAndMotionRepliesGoToTheirHandlers) {
  peerLink.send(R"({"n":{"a":1},"t":1})"
                "\r"
                R"({"n":{"move.last_error_with_setting":{}},"t":1})"
                "\r"
                R"({"c":{"k":0},"id":"m1"})"
                "\r"
                R"({"id":7,"n":{"b":2}})"
                "\r");
  EXPECT_TRUE(pushes.waitUntil([](const auto& all) {
    return all == std::vector<std::string>{R"({"n":{"a":1},"t":1})", R"({"id":7,"n":{"b":2}})"};
  }));
  EXPECT_EQ(motions.all(), (std::vector<std::string>{R"({"n":{"move.last_error_with_setting":{}},"t":1})",
                                                     R"({"c":{"k":0},"id":"m1"})"}));
}

TEST_F(XServiceLinkTest, FloodOfPushesAroundAReply) {
  std::string flood;
  for (int i = 0; i < 20'000; ++i)
    flood += R"({"n":{"k":1},"t":1})"
             "\r";
  auto asked = ask("k");
  const std::string frame = peerLink.frame().value_or("");
  peerLink.send(flood + replyTo(frame, "1") + flood);
  EXPECT_FALSE(asked.get().ec);
  EXPECT_TRUE(pushes.waitFor(40'000));
}

TEST_F(XServiceLinkTest, DropWakesEveryWaiterAtOnceAndTheLinkComesBack) {
  for (const bool hard : {false, true}) {
    std::vector<std::future<Asked>> asked;
    for (int i = 0; i < 40; ++i) asked.push_back(ask("k"));
    for (int i = 0; i < 40; ++i) EXPECT_TRUE(peerLink.frame());
    const auto begin = Clock::now();
    hard ? peerLink.reset() : peerLink.close();
    for (auto& one : asked) EXPECT_EQ(one.get().ec, Code::network);
    EXPECT_LT(Clock::now() - begin, 5s);  // half of what a time-out takes
    peerLink = peer.accept();
    ASSERT_TRUE(eventually([this] { return service.connected(); }));
    expectAlive();
  }
  EXPECT_TRUE(connections.waitUntil([](const auto& all) {
    return all == std::vector<bool>{true, false, true, false, true};
  }));
}

TEST_F(XServiceLinkTest, RequestsThatFailedAreNotCarriedOutLater) {
  makePeerDeaf();
  std::error_code ec;
  std::size_t stuck = 0;
  while (stuck < 64) {
    service.commandAsync("fill", longBody, {}, ec);
    ASSERT_FALSE(ec);
    ++stuck;
  }
  std::vector<std::future<Asked>> failing;
  for (int i = 0; i < 10; ++i) failing.push_back(ask("failed", 20'000'000));
  for (auto& one : failing) EXPECT_EQ(one.get().ec, Code::timeout);
  auto waiting = ask("waiting");
  std::size_t filled = 0;
  for (;;) {
    const std::string frame = peerLink.frame().value_or("");
    ASSERT_FALSE(frame.empty());
    EXPECT_EQ(frame.find("failed"), std::string::npos);
    filled += frame.find("fill") != std::string::npos ? 1 : 0;
    if (frame.find("waiting") == std::string::npos) continue;
    peerLink.send(replyTo(frame, "1"));
    break;
  }
  EXPECT_EQ(filled, stuck);
  EXPECT_FALSE(waiting.get().ec);
}

TEST_F(XServiceLinkTest, NothingQueuedBeforeADropGoesOutAfterIt) {
  makePeerDeaf();
  std::error_code ec;
  for (int i = 0; i < 64; ++i) service.commandAsync("before", longBody, {}, ec);
  std::vector<std::future<Asked>> asked;
  for (int i = 0; i < 8; ++i) asked.push_back(ask("before"));
  peerLink.reset();
  for (auto& one : asked) EXPECT_EQ(one.get().ec, Code::network);
  peerLink = peer.accept();
  ASSERT_TRUE(eventually([this] { return service.connected(); }));
  expectAlive();
  service.stop();
  EXPECT_EQ(peerLink.rest(), "");
}

TEST_F(XServiceLinkTest, PeerThatStopsReadingDoesNotBloatTheProcess) {
  const std::string body(1'000'000, 'b');
  std::error_code ec;
  int accepted = 0;
  while (!ec && accepted < 200) {
    service.commandAsync("k", body, {}, ec);
    accepted += ec ? 0 : 1;
  }
  EXPECT_EQ(ec, Code::network);
  EXPECT_LT(accepted, 64);
}

TEST_F(XServiceLinkTest, RequestsRaceWithDrops) {
  std::atomic<bool> done{false};
  std::thread controller([&] {
    for (int round = 0; round < 15; ++round) {
      for (int i = 0; i < 20; ++i) {
        const auto frame = peerLink.frame(1s);
        if (!frame) break;
        peerLink.send(replyTo(*frame, "1"));
      }
      peerLink.reset();
      peerLink = peer.accept();
    }
    done = true;
    while (const auto frame = peerLink.frame()) peerLink.send(replyTo(*frame, "1"));
  });
  std::vector<std::thread> callers;
  for (int t = 0; t < 6; ++t) {
    callers.emplace_back([&] {
      while (!done) {
        Json::Value value;
        std::error_code ec;
        const auto begin = Clock::now();
        service.command("k", Json::Value(), value, ec);
        EXPECT_TRUE(!ec || ec == Code::network) << ec.value();
        EXPECT_LT(Clock::now() - begin, 9s);  // nobody waits for the time-out
        if (ec) std::this_thread::yield();
      }
    });
  }
  for (auto& caller : callers) caller.join();
  service.stop();
  controller.join();
}

TEST_F(XServiceLinkTest, WaitingFormsOnTheNetworkThreadReportItAtOnce) {
  test::Heard<int> codes;
  service.setPushHandler([&](const Json::Value&) {
    Json::Value value;
    Json::Value request;
    std::error_code ec;
    service.get("k", value, ec), codes.add(ec.value());
    service.get("k", value, value, ec), codes.add(ec.value());
    service.getMany({"k"}, {1}, value, ec), codes.add(ec.value());
    service.set("k", value, ec), codes.add(ec.value());
    service.setValue("k", value, ec), codes.add(ec.value());
    service.command("k", value, value, ec), codes.add(ec.value());
    service.exchange(request, value, ec), codes.add(ec.value());
    service.start(ec), codes.add(ec.value());
    service.watch("k", true, ec), codes.add(ec.value());
    service.setPushHandler({});  // replaced by itself
  });
  peerLink.send(R"({"n":{"a":1},"t":1})"
                "\r"
                R"({"n":{"a":1},"t":1})"
                "\r");
  ASSERT_TRUE(codes.waitFor(9));
  EXPECT_EQ(peerLink.frame().value_or("").find("{\"id\":"), 0U);  // the watch, and nothing before it
  service.stop();                                                 // the handler has returned
  EXPECT_EQ(codes.all(), (std::vector<int>{263, 263, 263, 263, 263, 263, 263, 0, 0}));
}

TEST_F(XServiceLinkTest, ReplacedHandlerIsNotRunningAnyMore) {
  std::atomic<bool> inside{false}, replaced{false};
  std::atomic<int> afterwards{0};
  service.setPushHandler([&](const Json::Value&) {
    if (replaced) ++afterwards;
    inside = true;
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    if (replaced) ++afterwards;
    throw std::runtime_error("from a handler");
  });
  for (int i = 0; i < 100; ++i)
    peerLink.send(R"({"n":{"a":1},"t":1})"
                  "\r");
  ASSERT_TRUE(eventually([&] { return inside.load(); }));
  service.setPushHandler([this](const Json::Value&) { pushes.add("new"); });
  replaced = true;
  peerLink.send(R"({"n":{"a":1},"t":1})"
                "\r");
  EXPECT_TRUE(pushes.waitFor(1));
  EXPECT_EQ(afterwards, 0);
}

TEST_F(XServiceLinkTest, DestroyedOnItsNetworkThread) {
  auto victim = std::make_unique<XService>(test::shortLimits());
  test::Heard<std::string> heard;
  const auto held = std::make_shared<int>();  // by the handler, as long as anybody could call it
  victim->setConnectionHandler([&, held](bool up) { heard.add(up ? "up" : "down"); });
  victim->setPushHandler([&](const Json::Value&) {
    victim.reset();
    heard.add("gone");
  });
  std::error_code ec;
  victim->setEndpoint(peer.address(), test::RawPeer::port);
  victim->start(ec);
  ASSERT_FALSE(ec);
  test::RawConnection link = peer.accept();
  link.send(R"({"n":{"a":1},"t":1})"
            "\r"
            R"({"n":{"a":1},"t":1})"
            "\r");
  EXPECT_TRUE(heard.waitFor(2));
  EXPECT_EQ(link.rest(), "");
  EXPECT_TRUE(eventually([&] { return held.use_count() == 1; }));
  EXPECT_EQ(heard.all(), (std::vector<std::string>{"up", "gone"}));
}

TEST_F(XServiceLinkTest, StopTellsTheHandlerAndEndsWaiters) {
  auto asked = ask("k");
  EXPECT_TRUE(peerLink.frame());
  service.stop();
  EXPECT_EQ(asked.get().ec, Code::network);
  EXPECT_EQ(connections.all(), (std::vector<bool>{true, false}));
  EXPECT_FALSE(peer.somebodyConnects(100ms));
  std::error_code ec;
  service.start(ec);
  EXPECT_FALSE(ec);
  peerLink = peer.accept();
  expectAlive();
}

struct LineLogger : internal::Logger {
  const std::string& name() const noexcept override { return name_; }
  void write(internal::LogLevel, std::string_view line) noexcept override { lines.add(std::string(line)); }
  void flush() noexcept override {}
  std::string name_ = "lines";
  test::Heard<std::string> lines;
};

TEST_F(XServiceLinkTest, LogsItsConnections) {
  const auto logger = std::make_shared<LineLogger>();
  service.setLogger(logger);
  peerLink.close();
  peerLink = peer.accept();
  const std::string link = "uid: " + internal::uid() + " | xService " + peer.address() + ":6666 ";
  const std::vector<std::string> expected{link + "disconnect", link + "connect"};
  EXPECT_TRUE(logger->lines.waitUntil([&](const auto& lines) { return lines == expected; }));
}

}  // namespace
}  // namespace zivra
