// Connecting, losing the link, standing idle, and what all of it weighs.
#include <chrono>
#include <cstdio>
#include <fmt/format.h>
#include <memory>
#include <thread>
#include <unistd.h>

#include <zivra/robot.h>

#include "bench.h"
#include "network/xservice/xservice.h"

namespace zivra::bench {

namespace {

template <class Work>
double millisecondsOf(Work&& work) {
  const std::int64_t begin = nowNs();
  work();
  return static_cast<double>(nowNs() - begin) * 1e-6;
}

std::string ask(const char* key) { return fmt::format("{{\"g\":{{\"{}\":null}},\"id\":1}}\r", key); }

}  // namespace

void connections(const Peer& peer, Table& table) {
  constexpr int turns = 200;
  std::vector<double> bareLink, ownLink, bareRobot, ownRobot, linkRatio, robotRatio;
  std::string reply;
  XService link;
  link.setEndpoint(peer.address(), 6666);
  TandiRobot robot;
  for (int i = 0; i < turns; ++i) {
    bareLink.push_back(millisecondsOf([&] { ::close(connectBare(peer.address())); }));
    ownLink.push_back(millisecondsOf([&] {
      std::error_code ec;
      link.start(ec);
      link.stop();
    }));
    // The same questions as a robot asks: identity, ports, reset, and the state before it leaves.
    bareRobot.push_back(millisecondsOf([&] {
      const int fd = connectBare(peer.address());
      for (const char* key : {"sys.info", "eci.port", "move.reset", "sys.state"})
        pingPong(fd, ask(key), reply);
      ::close(fd);
    }));
    ownRobot.push_back(millisecondsOf([&] {
      robot.connectToRobot(peer.address());
      std::error_code ec;
      robot.disconnectFromRobot(ec);
    }));
    linkRatio.push_back(ownLink.back() / bareLink.back());
    robotRatio.push_back(ownRobot.back() / bareRobot.back());
  }
  table.section("Connecting and disconnecting");
  table.row("robot: connectToRobot and disconnectFromRobot", number(median(ownRobot), "ms", 3),
            number(median(bareRobot), "ms bare", 3), "at most 1 ms");
  table.row("robot, ratio to bare sockets, same questions", number(median(robotRatio), "x"), "",
            "at most 2 x");
  table.row("link: start and stop", number(median(ownLink), "ms", 3), number(median(bareLink), "ms bare", 3),
            "");
  table.row("link, ratio to bare connect and close", number(median(linkRatio), "x"), "", "");
}

void linkLoss(const Peer& peer, Table& table) {
  std::vector<double> late;
  for (int i = 0; i < 30; ++i) {
    XService link;
    link.setEndpoint(peer.address(), 6666);
    std::error_code ec;
    link.start(ec);
    std::int64_t awake = 0;
    std::thread waiter([&] {
      Json::Value value;
      std::error_code lost;
      link.get("bench.mute", value, lost);
      awake = nowNs();
    });
    // Long enough for the waiter to be asleep.
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    link.commandAsync("bench.drop", Json::Value(), nullptr, ec);
    waiter.join();
    late.push_back(static_cast<double>(awake - peer.shared().droppedAtNs.load()) * 1e-6);
  }
  table.section("Link loss");
  table.row("waiter awake after the peer closed, median", number(median(late), "ms", 3), "", "within 5 ms");
  table.row("the same, worst of 30", number(quantile(late, 1), "ms", 3), "", "");
}

void idleLink(const Peer& peer, Table& table) {
  TandiRobot robot(peer.address());
  std::this_thread::sleep_for(std::chrono::milliseconds(600));
  const std::int64_t before = contextSwitches();
  constexpr int seconds = 5;
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  // Half a wake-up a second or so is this thread's own.
  table.section("Idle");
  table.row("wake-ups a second of the whole process",
            number(static_cast<double>(contextSwitches() - before) / seconds, ""), "2 (log's flush)",
            "the flush alone");
}

void memory(const Peer& peer, Table& table) {
  const double bare = residentKiB();
  auto robot = std::make_unique<TandiRobot>(peer.address());
  std::error_code ec;
  robot->powerState(ec);
  const double one = residentKiB();
  std::vector<std::unique_ptr<XService>> links;
  constexpr int further = 50;
  for (int i = 0; i < further; ++i) {
    auto& link = links.emplace_back(std::make_unique<XService>());
    link->setEndpoint(peer.address(), 6666);
    link->start(ec);
    Json::Value value;
    link->get("sys.power", value, ec);
  }
  table.section("Memory");
  table.row("resident with one robot", number(one / 1024, "MiB"), number(bare / 1024, "MiB before"),
            "at most 6 MB");
  table.row("each further link", number((residentKiB() - one) / further, "KiB", 1), "", "at most 64 kB");
}

}  // namespace zivra::bench
