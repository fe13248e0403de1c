#include "network/tcp_client.h"

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <new>
#include <stdexcept>
#include <sys/resource.h>
#include <thread>

#include <zivra/error.h>

#include "network/platform.h"
#include "support/raw_peer.h"

namespace zivra::internal {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using test::eventually;
using test::Heard;
using test::RawConnection;
using test::RawPeer;

// Notes what it hears as text; a test may hang something on each event.
struct Listener : TcpListener {
  void attemptEnded(bool connected) override { hear(connected ? "up" : "failed"); }
  void received(std::string_view bytes) override { hear(std::string(bytes)); }
  void disconnected() override { hear("down"); }
  void hear(std::string what) {
    heard.add(what);
    if (onEvent) onEvent(what);
  }
  bool waitFor(std::vector<std::string> events) const {
    return heard.waitUntil([&](const auto& all) { return all == events; });
  }

  Heard<std::string> heard;
  std::function<void(const std::string&)> onEvent;
};

TcpClient::Options options(std::chrono::milliseconds retryPause = 20ms) {
  TcpClient::Options chosen;
  chosen.mark = '\r';
  chosen.limits.retryPause = retryPause;
  return chosen;
}

struct TcpClientTest : ::testing::Test {
  std::error_code start(TcpClient& client) { return client.start(peer.address(), RawPeer::port, listener); }

  RawPeer peer;
  std::shared_ptr<Listener> listener = std::make_shared<Listener>();
};

TEST_F(TcpClientTest, ConnectsReadsSendsAndStops) {
  TcpClient client(options());
  ASSERT_FALSE(start(client));
  ASSERT_FALSE(start(client));  // a connected one has nothing to do
  RawConnection link = peer.accept();
  EXPECT_EQ(client.connection().send("hello\r").result, SendResult::accepted);
  EXPECT_EQ(link.frame(), "hello");
  link.send("one\rtwo\rhalf");
  EXPECT_TRUE(listener->waitFor({"up", "one", "two"}));
  client.stop();
  client.stop();
  EXPECT_TRUE(listener->waitFor({"up", "one", "two", "down"}));
  EXPECT_EQ(link.rest(), "");
  EXPECT_FALSE(client.connection());
  EXPECT_EQ(client.connection().send("lost\r").result, SendResult::refused);
  EXPECT_EQ(listener.use_count(), 1);  // nothing of the run is left
  ASSERT_FALSE(start(client));
  EXPECT_TRUE(client.connection());
}

TEST_F(TcpClientTest, WithoutMarkAndReconnectionItEndsWithTheLink) {
  TcpClient::Options plain;
  plain.reconnect = false;
  plain.limits.retryPause = 1ms;
  TcpClient client(plain);
  ASSERT_FALSE(start(client));
  RawConnection link = peer.accept();
  link.send("no mark");
  EXPECT_TRUE(listener->waitFor({"up", "no mark"}));
  link.close();
  EXPECT_TRUE(listener->waitFor({"up", "no mark", "down"}));
  EXPECT_FALSE(peer.somebodyConnects(100ms));
  ASSERT_FALSE(start(client));
}

TEST_F(TcpClientTest, AddressesThatLeadNowhere) {
  peer.shut();
  struct Case {
    const char* name;
    std::string host;
    std::uint32_t port;
  };
  const Case cases[] = {
      {"nobody listens", peer.address(), RawPeer::port},
      {"no host", "", RawPeer::port},
      {"no port", peer.address(), 0},
      {"port that doesn't exist", peer.address(), 65536 + 6666},
      {"another family", "::1", 1},
  };
  for (const Case& c : cases) {
    TcpClient client(options());
    EXPECT_EQ(client.start(c.host, c.port, listener), Code::network) << c.name;
    EXPECT_EQ(listener.use_count(), 1) << c.name;
  }
  peer.listen();
  EXPECT_FALSE(peer.somebodyConnects(100ms));  // no attempts in the background
}

TEST_F(TcpClientTest, NamesAreResolved) {
  const test::Descriptor listening = test::listenOn("127.0.0.1", 26661);
  TcpClient client(options());
  EXPECT_FALSE(client.start("localhost", 26661, listener));
  EXPECT_TRUE(client.connection());
}

TEST_F(TcpClientTest, BlackHoleEndsByItsLimitAndByStop) {
  peer.beBlackHole();
  TcpClient::Options impatient = options();
  impatient.limits.connect = 50ms;
  TcpClient hasty(impatient);
  EXPECT_EQ(start(hasty), Code::network);

  TcpClient patient(options());
  std::atomic<bool> inStart{false};
  std::error_code result;
  std::thread starter([&] {
    inStart = true;
    result = start(patient);
  });
  ASSERT_TRUE(eventually([&] { return inStart && listener.use_count() > 1; }));
  const auto begin = Clock::now();
  patient.stop();
  starter.join();
  EXPECT_EQ(result, Code::network);
  EXPECT_LT(Clock::now() - begin, 10s);  // far below the limit of a connect
}

TEST_F(TcpClientTest, ComesBackAfterADropWithAFreshBuffer) {
  TcpClient client(options());
  ASSERT_FALSE(start(client));
  const TcpConnection first = client.connection();
  RawConnection link = peer.accept();
  link.send("half");
  link.reset();
  link = peer.accept();
  ASSERT_TRUE(listener->heard.waitFor(3));
  EXPECT_EQ(first.send("of the first\r").result, SendResult::refused);
  ASSERT_TRUE(eventually([&] { return static_cast<bool>(client.connection()); }));
  EXPECT_EQ(client.connection().send("of the second\r").result, SendResult::accepted);
  EXPECT_EQ(link.frame(), "of the second");
  link.send("whole\r");
  EXPECT_TRUE(listener->waitFor({"up", "down", "up", "whole"}));
}

TEST_F(TcpClientTest, TriesOnWhileNobodyListens) {
  TcpClient client(options(5ms));
  ASSERT_FALSE(start(client));
  RawConnection link = peer.accept();
  peer.shut();
  link.close();
  ASSERT_TRUE(listener->heard.waitUntil(
      [](const auto& all) { return std::count(all.begin(), all.end(), "failed") >= 3; }));
  EXPECT_EQ(start(client), Code::network);  // waits for the attempt under way
  peer.listen();
  link = peer.accept();
  EXPECT_TRUE(eventually([&] { return static_cast<bool>(client.connection()); }));
}

TEST_F(TcpClientTest, PeerThatAcceptsAndClosesIsNoHotLoop) {
  TcpClient client(options(100ms));
  start(client);
  const auto begin = Clock::now();
  for (int i = 0; i < 4; ++i) peer.accept().close();
  EXPECT_GE(Clock::now() - begin, 300ms);
}

TEST_F(TcpClientTest, StopOnItsOwnThreadLeavesTheRestToOthers) {
  TcpClient client(options());
  std::error_code startedInside;
  listener->onEvent = [&](const std::string& what) {
    if (what != "stop") return;
    EXPECT_TRUE(client.onNetworkThread());
    client.stop();
    startedInside = client.start(peer.address(), RawPeer::port, listener);
    EXPECT_TRUE(!startedInside || startedInside == std::errc::resource_deadlock_would_occur);
  };
  ASSERT_FALSE(start(client));
  EXPECT_FALSE(client.onNetworkThread());
  RawConnection link = peer.accept();
  link.send("stop\rnever seen\r");
  EXPECT_TRUE(listener->waitFor({"up", "stop", "down"}));
  EXPECT_EQ(link.rest(), "");
  ASSERT_FALSE(start(client));  // waits for the former thread
  EXPECT_TRUE(listener->waitFor({"up", "stop", "down", "up"}));
}

TEST_F(TcpClientTest, LastOwnerOnTheNetworkThread) {
  auto client = std::make_unique<TcpClient>(options());
  listener->onEvent = [&](const std::string& what) {
    if (what == "die") client.reset();
  };
  ASSERT_FALSE(start(*client));
  RawConnection link = peer.accept();
  link.send("die\r");
  EXPECT_TRUE(listener->waitFor({"up", "die", "down"}));
  EXPECT_EQ(link.rest(), "");
  EXPECT_TRUE(eventually([&] { return listener.use_count() == 1; }));
}

TEST_F(TcpClientTest, StopDoesNotWaitForEverForAListener) {
  TcpClient::Options impatient = options();
  impatient.limits.stop = 50ms;
  TcpClient client(impatient);
  std::atomic<bool> hanging{false}, release{false};
  listener->onEvent = [&](const std::string& what) {
    if (what != "hang") return;
    hanging = true;
    EXPECT_TRUE(eventually([&] { return release.load(); }));
  };
  ASSERT_FALSE(start(client));
  peer.accept().send("hang\r");
  ASSERT_TRUE(eventually([&] { return hanging.load(); }));
  client.stop();
  EXPECT_EQ(start(client), Code::network);  // never two threads
  release = true;
  EXPECT_TRUE(eventually([&] { return !start(client); }));
}

TEST_F(TcpClientTest, WhatListenersThrowEndsTheConnectionAtMost) {
  TcpClient client(options());
  listener->onEvent = [](const std::string& what) {
    if (what == "no memory") throw std::bad_alloc();
    if (what == "up" || what == "down") throw std::runtime_error(what);
  };
  ASSERT_FALSE(start(client));
  RawConnection link = peer.accept();
  link.send("no memory\r");
  link = peer.accept();
  link.send("fine\r");
  EXPECT_TRUE(listener->waitFor({"up", "no memory", "down", "up", "fine"}));
}

TEST_F(TcpClientTest, StartsAndStopsFromManyThreads) {
  TcpClient client(options(1ms));
  std::atomic<bool> done{false};
  std::thread server([&] {
    while (!done) {
      if (peer.somebodyConnects(1ms)) peer.accept().send("x\r");
    }
  });
  std::vector<std::thread> users;
  for (int t = 0; t < 4; ++t) {
    users.emplace_back([&, t] {
      for (int i = 0; i < 40; ++i) {
        if (t % 2 == 0) start(client);
        client.connection().send("y\r", i % 2 == 0);
        if (t % 2 == 1) client.stop();
      }
    });
  }
  for (auto& user : users) user.join();
  client.stop();
  done = true;
  server.join();
  int up = 0;
  for (const auto& what : listener->heard.all()) {
    up += what == "up" ? 1 : what == "down" ? -1 : 0;
    EXPECT_TRUE(up == 0 || up == 1);
  }
  EXPECT_EQ(up, 0);
  EXPECT_EQ(listener.use_count(), 1);
}

TEST_F(TcpClientTest, NoDescriptorsIsAFailedStartAndNoMore) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer opens a pipe for each check of a type, and calls its own failure an error";
#endif
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  TcpClient client(options());
  const std::string address = peer.address();
  const std::shared_ptr<TcpListener> heard = listener;
  for (int left = 0; left < 8; ++left) {
    const int next = ::dup(0);
    ::close(next);
    const rlimit tight{static_cast<rlim_t>(next + left), before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &tight);
    const std::error_code result = client.start(address, RawPeer::port, heard);
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_TRUE(!result || result == Code::network) << left;
    EXPECT_TRUE(left > 0 || result) << left;
    client.stop();
  }
  EXPECT_FALSE(start(client));
}

TEST(PlatformTest, SocketsAreKeptAliveAndNotInherited) {
  const test::Descriptor socket(platform::openTcpSocket(AF_INET));
  const auto option = [&](int level, int name) {
    int value = -1;
    socklen_t size = sizeof value;
    ::getsockopt(socket.get(), level, name, &value, &size);
    return value;
  };
  EXPECT_NE(::fcntl(socket.get(), F_GETFD) & FD_CLOEXEC, 0);
  EXPECT_EQ(option(SOL_SOCKET, SO_KEEPALIVE), 1);
  EXPECT_EQ(option(SOL_SOCKET, SO_REUSEADDR), 1);
  EXPECT_EQ(option(IPPROTO_TCP, TCP_KEEPIDLE), 60);
  EXPECT_EQ(option(IPPROTO_TCP, TCP_KEEPINTVL), 3);
  EXPECT_EQ(option(IPPROTO_TCP, TCP_NODELAY), 0);
}

}  // namespace
}  // namespace zivra::internal
