// Round trips: the library against a bare blocking ping-pong of the same frames, in turns; then many callers
// at once.
#include <atomic>
#include <fmt/format.h>
#include <latch>
#include <thread>
#include <unistd.h>

#include <zivra/robot.h>

#include "bench.h"
#include "core/json.h"
#include "network/xservice/xservice.h"

namespace zivra::bench {

namespace {

constexpr int roundTripsPerTurn = 500;

struct Turn {
  std::vector<double> each;  // ns
  double mean = 0;
};

template <class Exchange>
Turn take(Exchange&& exchange) {
  Turn turn;
  turn.each.reserve(roundTripsPerTurn);
  const std::int64_t begin = nowNs();
  std::int64_t before = begin;
  for (int i = 0; i < roundTripsPerTurn; ++i) {
    exchange();
    const std::int64_t after = nowNs();
    turn.each.push_back(static_cast<double>(after - before));
    before = after;
  }
  turn.mean = static_cast<double>(before - begin) / roundTripsPerTurn;
  return turn;
}

struct Throughput {
  double perSecond = 0;
  double switchesEach = 0;
};

Throughput callersAtOnce(TandiRobot& robot, int callers, double seconds) {
  std::atomic<bool> done{false};
  std::atomic<std::int64_t> count{0};
  std::latch ready(callers + 1);
  std::vector<std::thread> threads;
  for (int i = 0; i < callers; ++i) {
    threads.emplace_back([&] {
      std::error_code ec;
      std::int64_t own = 0;
      ready.arrive_and_wait();
      while (!done) {
        robot.powerState(ec);
        if (ec) return;
        ++own;
      }
      count += own;
    });
  }
  ready.arrive_and_wait();
  const std::int64_t begin = nowNs();
  const std::int64_t switches = contextSwitches();
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  done = true;
  const auto elapsed = static_cast<double>(nowNs() - begin) * 1e-9;
  for (auto& thread : threads) thread.join();
  const auto made = static_cast<double>(count.load());
  return {made / elapsed, static_cast<double>(contextSwitches() - switches) / made};
}

}  // namespace

void roundTrips(const Peer& peer, Table& table, double seconds) {
  TandiRobot robot(peer.address());
  const int fd = connectBare(peer.address());
  const std::string frame = "{\"g\":{\"sys.power\":null},\"id\":123456}\r";
  std::string reply;
  std::error_code ec;

  std::vector<double> ratios, bareEach, ownEach, bareMeans, ownMeans;
  const std::int64_t end = nowNs() + static_cast<std::int64_t>(seconds * 1e9);
  while (nowNs() < end) {
    const Turn bare = take([&] { pingPong(fd, frame, reply); });
    const Turn own = take([&] { robot.powerState(ec); });
    if (ec) throw std::runtime_error("powerState: " + ec.message());
    ratios.push_back(own.mean / bare.mean);
    bareMeans.push_back(bare.mean);
    ownMeans.push_back(own.mean);
    bareEach.insert(bareEach.end(), bare.each.begin(), bare.each.end());
    ownEach.insert(ownEach.end(), own.each.begin(), own.each.end());
  }
  ::close(fd);

  table.section("Round trip of powerState, against a bare blocking ping-pong of the same frames");
  table.row("1 caller, ratio (median of turns)", number(median(ratios), "x"),
            number(median(bareMeans) / 1000, "us"), "at most 1.7 x");
  table.row("1 caller, time", number(median(ownMeans) / 1000, "us"), number(median(bareMeans) / 1000, "us"),
            "");
  table.row("p99, ratio", number(quantile(ownEach, 0.99) / quantile(bareEach, 0.99), "x"),
            number(quantile(bareEach, 0.99) / 1000, "us"), "at most 3 x");

  const double share = seconds / 6;
  std::vector<double> eight, thirtyTwo, switches8, switches32, one;
  for (int turn = 0; turn < 3; ++turn) {
    const Throughput alone = callersAtOnce(robot, 1, share);
    const Throughput few = callersAtOnce(robot, 8, share);
    const Throughput many = callersAtOnce(robot, 32, share);
    one.push_back(alone.perSecond);
    eight.push_back(few.perSecond / alone.perSecond);
    thirtyTwo.push_back(many.perSecond / alone.perSecond);
    switches8.push_back(few.switchesEach);
    switches32.push_back(many.switchesEach);
  }
  const std::string baseline = number(median(one) / 1000, "k/s alone", 1);
  table.row("8 callers, throughput against one", number(median(eight), "x"), baseline, "at least 2.5 x");
  table.row("32 callers, throughput against one", number(median(thirtyTwo), "x"), baseline, "at least 3 x");
  table.row("8 callers, context switches an exchange", number(median(switches8), ""), "", "at most 1.2");
  table.row("32 callers, context switches an exchange", number(median(switches32), ""), "", "at most 1.2");
}

void manyExchanges(const Peer& peer, Table& table, std::int64_t exchanges) {
  XService link;
  link.setEndpoint(peer.address(), 6666);
  std::error_code started;
  link.start(started);
  if (started) throw std::runtime_error("start: " + started.message());

  constexpr int callers = 8;
  std::atomic<std::int64_t> done{0}, wrong{0};
  std::atomic<double> early{0};
  std::vector<std::thread> threads;
  for (int caller = 0; caller < callers; ++caller) {
    threads.emplace_back([&, caller] {
      for (std::int64_t i = caller; i < exchanges; i += callers) {
        std::error_code ec;
        Json::Value value;
        link.get("bench.echo", Json::Value(static_cast<Json::Int64>(i)), value, ec);
        if (ec || internal::asUnsigned(value) != static_cast<std::uint64_t>(i)) ++wrong;
        if (++done == exchanges / 10) early = residentKiB();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  table.section("Many exchanges");
  table.row(fmt::format("{} exchanges, lost, doubled or mixed up", done.load()),
            fmt::format("{}", wrong.load()), "", "0");
  table.row("memory growth after the first tenth", number(residentKiB() - early, "KiB", 0),
            number(early, "KiB", 0), "under 1024 KiB");
}

}  // namespace zivra::bench
