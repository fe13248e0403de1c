// What a call costs a managed caller, beside the same call through each face in C++ and beside bare sockets.
#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fmt/format.h>
#include <fstream>
#include <memory>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

#include "bench.h"
#include "faces.h"
#include "managed.h"

namespace zivra::bench {

namespace {

constexpr std::uint16_t statePort = 1338, barePort = 1339;
constexpr std::size_t mostWaiting = 100;  // datagrams, less than a socket keeps

enum Kind { state, powerState, oneMove, tenMoves, oneEvent, manyEvents };
struct KindRow {
  const char* key;  // what the managed program calls it
  const char* what;
  std::size_t rounds;
};
constexpr KindRow kinds[] = {{"state", "updateRobotState, 5 x getStateData", 20'000},
                             {"powerState", "powerState", 4'000},
                             {"move1", "moveAppend, 1 move", 2'000},
                             {"move10", "moveAppend, 10 moves", 2'000},
                             {"event", "an event, from the peer's sending", 400},
                             {"events", "each of 100 events at once", 100}};

sockaddr_in endpointAt(const std::string& address, std::uint16_t port) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(port);
  ::inet_pton(AF_INET, address.c_str(), &endpoint.sin_addr);
  return endpoint;
}

class Datagrams {
 public:
  explicit Datagrams(sockaddr_in to) : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    ::connect(fd_, reinterpret_cast<const sockaddr*>(&to), sizeof to);
  }
  ~Datagrams() { ::close(fd_); }
  Datagrams(const Datagrams&) = delete;
  Datagrams& operator=(const Datagrams&) = delete;

  void send(std::size_t count) const {
    constexpr std::array<char, stateLength> content{};
    for (; count > 0; --count) {
      // Nobody listens at first; whoever misses a state later says so.
      [[maybe_unused]] const auto sent = ::send(fd_, content.data(), content.size(), 0);
    }
  }

 private:
  int fd_;
};

template <class Call>
double usOf(Call&& call) {
  const std::int64_t begin = nowNs();
  call();
  return static_cast<double>(nowNs() - begin) * 1e-3;
}

// Something that can be measured.
class Side {
 public:
  virtual ~Side() = default;
  virtual const char* name() const = 0;
  virtual bool has(Kind) const { return true; }
  // How long each round took [us].
  virtual std::vector<double> run(Kind kind, std::size_t rounds) = 0;
};

// States wait before they are taken: `take` finds each of them there.
template <class Take>
std::vector<double> takeStates(const Datagrams& datagrams, std::size_t rounds, Take take) {
  std::vector<double> us;
  while (us.size() < rounds) {
    const std::size_t count = std::min(mostWaiting, rounds - us.size());
    datagrams.send(count);
    for (std::size_t i = 0; i < count; ++i) us.push_back(usOf(take));
  }
  return us;
}

template <class Round>
std::vector<double> repeated(std::size_t rounds, Round round) {
  std::vector<double> us;
  for (std::size_t i = 0; i < rounds; ++i) us.push_back(round());
  return us;
}

class Bare final : public Side {
 public:
  Bare(const Peer& peer, const std::string& own)
      : link_(connectBare(peer.address())),
        socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)),
        datagrams_(endpointAt(own, barePort)) {
    const timeval limit{10, 0};
    ::setsockopt(link_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    const sockaddr_in at = endpointAt(own, barePort);
    if (::bind(socket_, reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0)
      throw std::runtime_error("no port for the bare socket");
  }
  ~Bare() override {
    ::close(link_);
    ::close(socket_);
  }
  Bare(const Bare&) = delete;
  Bare& operator=(const Bare&) = delete;

  const char* name() const override { return "bare socket"; }
  bool has(Kind kind) const override { return kind == state || kind == powerState || kind == oneEvent; }
  std::vector<double> run(Kind kind, std::size_t rounds) override {
    if (kind == state) return takeStates(datagrams_, rounds, [this] { take(); });
    if (kind == powerState) {
      return repeated(rounds, [this] {
        return usOf([this] { pingPong(link_, "{\"g\":{\"sys.power\":null},\"id\":1}\r", reply_); });
      });
    }
    return repeated(rounds, [this] { return event(); });
  }

 private:
  void take() const {
    char buffer[stateLength], values[stateLength];
    const ssize_t got = ::recv(socket_, buffer, sizeof buffer, 0);
    std::memcpy(values, buffer, static_cast<std::size_t>(got));
    asm volatile("" ::"r"(values) : "memory");
  }
  double event() {
    const std::size_t length = pingPong(link_, "{\"c\":{\"move.continue\":0},\"id\":1}\r", reply_);
    // Where this process didn't get to run in time, the event came with the reply.
    std::string_view text = std::string_view(reply_).substr(0, length);
    text.remove_prefix(text.find('\r') + 1);
    std::int64_t now = nowNs();
    if (text.empty()) {
      const ssize_t got = ::recv(link_, reply_.data(), reply_.size(), 0);
      now = nowNs();
      if (got <= 0) throw std::runtime_error("the peer has gone, or stands still");
      text = std::string_view(reply_).substr(0, static_cast<std::size_t>(got));
    }
    heard_.arrived(now, text);
    return heard_.await(1);
  }

  int link_, socket_;
  Datagrams datagrams_;
  std::string reply_;
  Heard heard_;
};

class InProcess final : public Side {
 public:
  InProcess(std::unique_ptr<Face> face, const std::string& own)
      : face_(std::move(face)), datagrams_(endpointAt(own, statePort)) {
    // The peer doesn't publish: the first states come from here.
    std::atomic<bool> up{false};
    std::thread publisher([&] {
      while (!up) {
        datagrams_.send(1);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
      }
    });
    face_->startStream();
    up = true;
    publisher.join();
    while (face_->takeState()) {
    }
  }

  const char* name() const override { return face_->name(); }
  std::vector<double> run(Kind kind, std::size_t rounds) override {
    switch (kind) {
      case state:
        return takeStates(datagrams_, rounds, [this] {
          if (!face_->takeState()) throw std::runtime_error("a state was lost");
        });
      case powerState:
        return repeated(rounds, [this] { return usOf([this] { face_->powerState(); }); });
      case oneMove:
      case tenMoves:
        return repeated(rounds, [this, moves = kind == oneMove ? 1u : 10u] {
          const double us = usOf([&] { face_->moveAppend(moves); });
          face_->moveReset();
          return us;
        });
      case oneEvent:
      case manyEvents:
        break;
    }
    face_->watch(heard_);
    return repeated(rounds, [this, kind] {
      if (kind == oneEvent) {
        face_->moveStart();
        return heard_.await(1);
      }
      face_->stop();
      return heard_.await(eventsAtOnce) / eventsAtOnce;
    });
  }

 private:
  Heard heard_;
  std::unique_ptr<Face> face_;
  Datagrams datagrams_;
};

class Managed final : public Side {
 public:
  Managed(const std::string& program, const Peer& peer, const std::string& own)
      : program_(program, {peer.address(), own}) {}
  const char* name() const override { return "C#"; }
  std::vector<double> run(Kind kind, std::size_t rounds) override {
    return program_.run(kinds[kind].key, rounds);
  }

 private:
  ManagedProgram program_;
};

using Sides = std::vector<std::unique_ptr<Side>>;

// All rounds of a kind, the sides in turns, so that what else the machine does befalls all of them.
void measure(Kind kind, const Sides& sides, std::size_t rounds, std::size_t turns) {
  std::vector<std::vector<double>> times(sides.size());
  for (std::size_t turn = 0; turn < turns; ++turn) {
    for (std::size_t i = 0; i < sides.size(); ++i) {
      if (!sides[i]->has(kind)) continue;
      const auto us = sides[i]->run(kind, rounds / turns);
      times[i].insert(times[i].end(), us.begin(), us.end());
    }
  }
  double native = 0;
  for (std::size_t i = 0; i < sides.size(); ++i) {
    if (times[i].empty()) continue;
    const double middle = median(times[i]);
    if (std::strcmp(sides[i]->name(), "C++") == 0) native = middle;
    fmt::print("{:<36} {:<12} {:>7} {:>9.2f} {:>9.2f} {:>8}  {}\n", kinds[kind].what, sides[i]->name(),
               times[i].size(), middle, quantile(times[i], 0.99),
               native > 0 ? fmt::format("{:.2f}", middle / native) : "",
               kind == state && dynamic_cast<Managed*>(sides[i].get()) != nullptr ? "below 3" : "");
  }
  std::fflush(stdout);
}

double loadAverage() {
  double load = 0;
  std::ifstream("/proc/loadavg") >> load;
  return load;
}

}  // namespace

void binding(const Peer& peer, const std::string& managedProgram, bool quick) {
  ::signal(SIGPIPE, SIG_IGN);  // a managed program that has gone is told by the write
  Sides sides;
  sides.push_back(std::make_unique<Bare>(peer, "127.61.0.2"));
  const auto add = [&](const std::string& own, auto makeFace) {
    sides.push_back(std::make_unique<InProcess>(makeFace(peer.address(), own), own));
  };
  add("127.61.0.3", nativeFace);
  add("127.61.0.4", layerFace);
  add("127.61.0.5", functionsFace);
  if (!managedProgram.empty()) sides.push_back(std::make_unique<Managed>(managedProgram, peer, "127.61.0.6"));

  fmt::print("\nManaged binding, us a call; the machine's load at the beginning: {:.1f}\n", loadAverage());
  fmt::print("{:<36} {:<12} {:>7} {:>9} {:>9} {:>8}  {}\n", "what", "through", "rounds", "median", "p99",
             "to C++", "target");
  // The managed side compiles what is called often again, in the background and twice, each time after a
  // while in which nothing new was called.
  for (int turn = 0; turn < (quick ? 2 : 10); ++turn) {
    for (const auto& side : sides) {
      for (const Kind kind : {state, powerState, oneMove, tenMoves, oneEvent, manyEvents}) {
        if (side->has(kind)) side->run(kind, kind == state ? 2000 : 40);
      }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  for (const Kind kind : {state, powerState, oneMove, tenMoves, oneEvent, manyEvents})
    measure(kind, sides, kinds[kind].rounds / (quick ? 20 : 1), quick ? 1 : 20);
}

}  // namespace zivra::bench
