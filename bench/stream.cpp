// The state stream: taking datagrams against a bare loop of recv and memcpy, reading fields, time-outs, and a
// kilohertz for a while.
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <fmt/format.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <zivra/robot.h>

#include "allocations.h"
#include "bench.h"

namespace zivra::bench {

namespace {

constexpr const char* ownAddress = "127.60.0.3";
constexpr std::uint16_t statePort = 1338, barePort = 1339;
constexpr std::size_t longest = 1052;
constexpr std::int64_t periodNs = 1'000'000;

sockaddr_in endpointAt(std::uint16_t port) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(port);
  ::inet_pton(AF_INET, ownAddress, &endpoint.sin_addr);
  return endpoint;
}

// Sends to one port.
class Sender {
 public:
  explicit Sender(std::uint16_t port) : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_in to = endpointAt(port);
    ::connect(fd_, reinterpret_cast<const sockaddr*>(&to), sizeof to);
  }
  ~Sender() { ::close(fd_); }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;

  void send(std::size_t length, std::uint64_t ts = 0) const {
    std::array<char, longest> bytes{};
    std::memcpy(bytes.data(), &ts, sizeof ts);
    [[maybe_unused]] const auto sent = ::send(fd_, bytes.data(), length, 0);
  }

 private:
  int fd_;
};

// A process that sends 124 bytes every millisecond; "ts" is when they were due [us].
class KilohertzSender {
 public:
  KilohertzSender() : process_(::fork()) {
    if (process_ < 0) throw std::runtime_error("no process");
    if (process_ > 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const Sender sender(statePort);
    for (std::int64_t due = nowNs();; due += periodNs) {
      const timespec until{due / 1'000'000'000, due % 1'000'000'000};
      ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
      sender.send(124, static_cast<std::uint64_t>(due / 1000));
    }
  }
  ~KilohertzSender() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  KilohertzSender(const KilohertzSender&) = delete;
  KilohertzSender& operator=(const KilohertzSender&) = delete;

 private:
  pid_t process_;
};

// Two fields of joints are 124 bytes; eighteen fields are as much as a datagram holds.
const std::vector<std::string> fewFields{"q_m", "dq_m"};
const std::vector<std::string> manyFields{
    "q_m",       "q_c",       "dq_m",   "dq_c",    "ddq_c",        "ddq_m",
    "tau_m",     "tau_c",     "ex_q_m", "ex_dq_m", "ex_motor_m",   "pos_abc_m",
    "pos_vel_c", "pos_acc_c", "pos_m",  "pos_c",   "tau_ext_base", "tau_ext_stiff"};

void start(TandiRobot& robot, const std::vector<std::string>& fields) {
  std::atomic<bool> up{false};
  // The peer doesn't publish: the first datagram comes from here.
  std::thread publisher([&] {
    const Sender sender(statePort);
    while (!up) {
      sender.send(longest);
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  });
  robot.startReceiveRobotState(std::chrono::milliseconds(1), fields);
  up = true;
  publisher.join();
  robot.drainRobotState();
}

struct Cost {
  double ratio, ownNs, bareNs, allocations;
};

// Datagrams of that length wait, and are taken one by one.
Cost costOfWaiting(TandiRobot& robot, std::size_t length, int turns) {
  const int waiting = length < 200 ? 200 : 80;  // what a socket keeps
  const int bare = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const sockaddr_in at = endpointAt(barePort);
  if (::bind(bare, reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0)
    throw std::runtime_error("no port for the bare socket");
  const Sender toBare(barePort), toOwn(statePort);
  char buffer[longest], values[longest];
  std::vector<double> ratios, ownEach, bareEach;
  std::int64_t allocated = 0;
  for (int turn = 0; turn < turns; ++turn) {
    for (int i = 0; i < waiting; ++i) toBare.send(length);
    std::int64_t begin = nowNs();
    for (int i = 0; i < waiting; ++i) {
      const ssize_t got = ::recv(bare, buffer, sizeof buffer, 0);
      std::memcpy(values, buffer, static_cast<std::size_t>(got));
      asm volatile("" ::"r"(values) : "memory");
    }
    bareEach.push_back(static_cast<double>(nowNs() - begin) / waiting);

    for (int i = 0; i < waiting; ++i) toOwn.send(length);
    const std::int64_t before = allocationsOfThisThread();
    begin = nowNs();
    for (int i = 0; i < waiting; ++i) {
      if (robot.updateRobotState(std::chrono::milliseconds(1)) != length)
        throw std::runtime_error("a datagram was lost");
    }
    const std::int64_t ended = nowNs();
    allocated += allocationsOfThisThread() - before;
    ownEach.push_back(static_cast<double>(ended - begin) / waiting);
    ratios.push_back(ownEach.back() / bareEach.back());
  }
  ::close(bare);
  return {median(ratios), median(ownEach), median(bareEach),
          static_cast<double>(allocated) / (static_cast<double>(turns) * waiting)};
}

template <class Value>
double readNs(TandiRobot& robot, const std::string& name, Value& value) {
  constexpr int reads = 20'000;
  std::vector<double> each;
  for (int turn = 0; turn < 50; ++turn) {
    const std::int64_t begin = nowNs();
    for (int i = 0; i < reads; ++i) {
      robot.getStateData(name, value);
      asm volatile("" ::"r"(&value) : "memory");
    }
    each.push_back(static_cast<double>(nowNs() - begin) / reads);
  }
  return median(each);
}

void timeouts(TandiRobot& robot, Table& table) {
  std::vector<double> over;
  for (int i = 0; i < 500; ++i) {
    const std::int64_t begin = nowNs();
    robot.updateRobotState(std::chrono::milliseconds(1));
    over.push_back(static_cast<double>(nowNs() - begin - periodNs) * 1e-6);
  }
  table.row("time-out of 1 ms, over it: median", number(median(over), "ms", 3), "", "at most 0.2 ms");
  table.row("the same, p99 and worst of 500",
            number(quantile(over, 0.99), "", 3) + number(quantile(over, 1), "ms", 3), "", "");
}

void kilohertz(const Peer& peer, Table& table, double seconds) {
  const KilohertzSender sender;
  TandiRobot robot(peer.address(), ownAddress);
  robot.startReceiveRobotState(std::chrono::milliseconds(1), fewFields);
  robot.drainRobotState();
  std::uint64_t first = 0, ts = 0, count = 0;
  std::vector<double> late;
  late.reserve(static_cast<std::size_t>(seconds * 1000) + 1);
  robot.updateRobotState(std::chrono::seconds(1));
  robot.getStateData("ts", first);
  const std::int64_t end = nowNs() + static_cast<std::int64_t>(seconds * 1e9);
  while (nowNs() < end) {
    if (robot.updateRobotState(std::chrono::seconds(1)) == 0) throw std::runtime_error("the sender is mute");
    robot.getStateData("ts", ts);
    ++count;
    late.push_back(static_cast<double>(nowNs() / 1000 - static_cast<std::int64_t>(ts)) * 1e-3);
  }
  const std::uint64_t sent = (ts - first) / 1000;
  table.row(fmt::format("1 kHz for {:.0f} s: {} datagrams, lost", seconds, count),
            fmt::format("{}", sent - count), "", "0");
  table.row("from when it was due to its values, p50", number(median(late), "ms", 3), "", "");
  table.row("the same, p99 and worst",
            number(quantile(late, 0.99), "", 3) + number(quantile(late, 1), "ms", 3), "", "");
}

}  // namespace

void stateStream(const Peer& peer, Table& table, double seconds) {
  const int turns = seconds < 10 ? 200 : 1000;
  table.section("State stream, against a bare loop of recv and memcpy");
  kilohertz(peer, table, seconds);
  TandiRobot robot(peer.address(), ownAddress);
  for (const auto& [fields, length, target] : {std::tuple{&fewFields, std::size_t{124}, "at most 1.15 x"},
                                               {&manyFields, longest, "at most 1.25 x"}}) {
    start(robot, *fields);
    const Cost cost = costOfWaiting(robot, length, turns);
    table.row(fmt::format("updateRobotState, {} bytes waiting, ratio", length), number(cost.ratio, "x", 3),
              number(cost.bareNs, "ns", 0), target);
    table.row("the same, time", number(cost.ownNs, "ns", 0), number(cost.bareNs, "ns", 0), "");
    table.row("the same, allocations a datagram", number(cost.allocations, "", 4), "", "0");
    if (length == longest) break;
    robot.stopReceiveRobotState();
  }
  std::uint64_t ts = 0;
  std::vector<double> values;
  table.row("getStateData, unsigned", number(readNs(robot, "ts", ts), "ns", 1), "", "at most 25 ns");
  table.row("getStateData, 6 reals", number(readNs(robot, "q_m", values), "ns", 1), "", "at most 50 ns");
  table.row("getStateData, 16 reals", number(readNs(robot, "pos_m", values), "ns", 1), "", "at most 50 ns");
  timeouts(robot, table);
  robot.stopReceiveRobotState();
  start(robot, {"psi_m"});
  double real = 0;
  table.row("getStateData, real", number(readNs(robot, "psi_m", real), "ns", 1), "", "at most 25 ns");
}

}  // namespace zivra::bench
