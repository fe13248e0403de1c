// The state stream: what datagrams hold, where they go, and when.
#include <algorithm>
#include <bit>
#include <map>

#include "sim/bench.h"
#include "stream/state_datagram.h"
#include "zivra/sim/controller.h"

namespace zivra::sim::test {
namespace {

constexpr std::size_t kHead = 28;  // ts and errors

// Bytes of each field, 0 standing for a double for each axis.
const std::map<std::string, std::size_t> kFields = {
    {"q_m", 0},
    {"q_c", 0},
    {"dq_m", 0},
    {"dq_c", 0},
    {"ddq_m", 0},
    {"ddq_c", 0},
    {"pos_m", 128},
    {"pos_c", 128},
    {"pos_abc_m", 48},
    {"pos_vel_m", 48},
    {"pos_vel_c", 48},
    {"pos_acc_m", 48},
    {"pos_acc_c", 48},
    {"ex_q_m", 48},
    {"ex_dq_m", 48},
    {"ex_motor_m", 48},
    {"psi_m", 8},
    {"psi_c", 8},
    {"psi_vel_c", 8},
    {"psi_acc_c", 8},
    {"tau_m", 0},
    {"tau_c", 0},
    {"tau_filtered_m", 0},
    {"tau_vel_c", 0},
    {"tau_ext_base", 48},
    {"tau_ext_stiff", 48},
    {"theta_m", 0},
    {"theta_vel_m", 0},
    {"motor_tau", 0},
    {"motor_tau_filtered", 0},
    {"motion_mode", 1},
    {"control_mode", 1},
    {"io_keypad", 7},
    {"ts", 8},
    {"errors", 20},
};

std::uint64_t wholeAt(const std::string& datagram, std::size_t at) {
  std::uint64_t value = 0;
  for (std::size_t i = 8; i-- > 0;) value = value << 8 | static_cast<unsigned char>(datagram.at(at + i));
  return value;
}

std::vector<double> realsAt(const std::string& datagram, std::size_t at, std::size_t count) {
  std::vector<double> reals;
  for (std::size_t i = 0; i < count; ++i)
    reals.push_back(std::bit_cast<double>(wholeAt(datagram, at + 8 * i)));
  return reals;
}

std::string listText(const std::vector<std::string>& names) {
  Json::Value list(Json::arrayValue);
  for (const std::string& name : names) list.append(name);
  return list.toStyledString();
}

// The world's next datagram, taken apart.
std::map<std::string, std::vector<double>> readings(Bench& bench, const std::vector<std::string>& names) {
  EXPECT_EQ(bench.ask('s', "eci.fields.out", listText(names)), 0);
  const std::string datagram = nextDatagram(bench.world);
  std::map<std::string, std::vector<double>> readings;
  readings["ts"] = {static_cast<double>(wholeAt(datagram, 0))};
  std::size_t at = kHead;
  for (const std::string& name : names) {
    const std::size_t bytes =
        kFields.at(name) == 0 ? 8 * bench.world.motion.joints().size() : kFields.at(name);
    readings[name] = bytes % 8 == 0 ? realsAt(datagram, at, bytes / 8)
                                    : std::vector<double>{static_cast<double>(datagram.at(at))};
    at += bytes;
  }
  EXPECT_EQ(datagram.size(), at);
  return readings;
}

TEST(StreamDatagram, HasEachFieldInItsSize) {
  for (const Model model : {Model::tandiFive, Model::tandi, Model::tandiSeven, Model::standard}) {
    Bench bench(model);
    const std::size_t axes = bench.world.motion.joints().size();
    bench.world.stream.faults.errors[3] = true;
    for (const auto& [name, bytes] : kFields) {
      SCOPED_TRACE(name);
      EXPECT_EQ(bench.ask('s', "eci.fields.out", listText({name})), 0);
      const std::string datagram = nextDatagram(bench.world);
      EXPECT_EQ(datagram.size(), kHead + (bytes == 0 ? 8 * axes : bytes));
      for (std::size_t flag = 0; flag < 20; ++flag) EXPECT_EQ(datagram.at(8 + flag), flag == 3 ? 1 : 0);
    }
  }
}

void near(const std::vector<double>& actual, const std::vector<double>& expected, double tolerance) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) EXPECT_NEAR(actual[i], expected[i], tolerance) << i;
}

std::vector<double> slope(const std::vector<double>& before, const std::vector<double>& after,
                          double seconds) {
  std::vector<double> slope;
  for (std::size_t i = 0; i < before.size(); ++i) slope.push_back((after[i] - before[i]) / seconds);
  return slope;
}

// What is measured agrees with itself and with what the command link tells.
TEST(StreamDatagram, TellsOfTheMotion) {
  const std::vector<std::string> names = {"control_mode", "ddq_m",     "dq_c",     "dq_m",      "motion_mode",
                                          "pos_abc_m",    "pos_acc_m", "pos_m",    "pos_vel_m", "q_c",
                                          "q_m",          "tau_m",     "tau_vel_c"};
  for (const Model model : {Model::tandiFive, Model::tandi, Model::tandiSeven}) {
    SCOPED_TRACE(static_cast<int>(model));
    Bench bench(model);
    auto rest = readings(bench, names);
    near(rest["dq_m"], std::vector<double>(rest["q_m"].size()), 0);
    near(rest["q_c"], rest["q_m"], 0);
    EXPECT_EQ(rest["motion_mode"][0], 0);
    EXPECT_EQ(rest["control_mode"][0], 0);

    bench.makeReady();
    const std::string turned = bench.point(0.08, 0.05, -0.05);
    bench.command("move.l", R"({"path":[{"point":)" + turned + "}]}");
    bench.command("move.continue");
    bench.world.advance(0.3);
    constexpr double kStep = 0.001;
    const auto next = [&] {
      bench.world.advance(kStep);
      return readings(bench, names);
    };
    next();
    next();
    auto before = next(), now = next();
    const auto joints = [&](const char* key) {
      std::vector<double> numbers;
      for (const Json::Value& number : bench.ask('g', key)) numbers.push_back(number.asDouble());
      return numbers;
    };
    near(now["q_m"], joints("sys.rt.jnt_pos"), 1e-12);
    near(now["dq_m"], joints("sys.rt.jnt_vel"), 1e-12);
    near(now["tau_m"], joints("sys.rt.jnt_trq"), 1e-9);
    auto after = next();
    const auto posture = bench.ask('g', "sys.posture");
    for (unsigned i = 0; i < 3; ++i) {
      EXPECT_NEAR(after["pos_abc_m"][i], posture["trans"][i].asDouble(), 1e-12);
      EXPECT_NEAR(after["pos_abc_m"][3 + i], posture["rot"][i].asDouble(), 1e-12);
      EXPECT_NEAR(after["pos_m"][4 * i + 3], posture["trans"][i].asDouble(), 1e-12);
    }
    const auto& m = after["pos_m"];
    EXPECT_NEAR(std::atan2(m[4], m[0]), posture["rot"][2].asDouble(), 1e-9);  // the turn about z
    EXPECT_NEAR(-std::asin(m[8]), posture["rot"][1].asDouble(), 1e-9);        // about y
    near({m.begin() + 12, m.end()}, {0, 0, 0, 1}, 0);

    EXPECT_EQ(after["ts"][0] - before["ts"][0], 2000);
    EXPECT_EQ(now["motion_mode"][0], 1);
    EXPECT_EQ(now["control_mode"][0], 1);
    near(now["dq_m"], slope(before["q_m"], after["q_m"], 2 * kStep), 1e-3);
    near(now["ddq_m"], slope(before["dq_m"], now["dq_m"], kStep), 1e-9);
    near(now["tau_vel_c"], slope(before["tau_m"], now["tau_m"], kStep), 1e-6);
    near(now["pos_acc_m"], slope(before["pos_vel_m"], now["pos_vel_m"], kStep), 1e-6);
    const auto way = slope(now["pos_abc_m"], after["pos_abc_m"], kStep);
    near({after["pos_vel_m"].begin(), after["pos_vel_m"].begin() + 3}, {way.begin(), way.begin() + 3}, 1e-9);
    EXPECT_GT(std::hypot(way[0], way[1], way[2]), 0.01);
    near(now["q_c"], next()["q_m"], 1e-5);  // what is commanded is reached a little later
    bench.run();
    near(next()["pos_vel_m"], std::vector<double>(6), 0);
  }
}

TEST(StreamRequests, AreRefusedWithTheirReason) {
  // 1052 bytes, the most there may be.
  std::vector<std::string> most = {"ddq_m",     "dq_c",    "dq_m",         "ex_dq_m",       "ex_q_m",
                                   "pos_abc_m", "pos_c",   "pos_m",        "pos_vel_c",     "q_c",
                                   "q_m",       "tau_c",   "tau_ext_base", "tau_ext_stiff", "tau_m",
                                   "tau_vel_c", "theta_m", "theta_vel_m"};
  const struct {
    const char* name;
    char form;
    const char* key;
    std::string parameter;
    int code;
    Model model = Model::tandi;
  } rows[] = {
      {"fields", 's', "eci.fields.out", listText(most), 0},
      {"no field", 's', "eci.fields.out", "[]", 0},
      {"ts and errors once more", 's', "eci.fields.out", R"(["errors","q_m","ts"])", 0},
      {"unknown field", 's', "eci.fields.out", R"(["q_m","q_x"])", -28708},
      {"field of no name", 's', "eci.fields.out", R"([""])", -28708},
      {"twice", 's', "eci.fields.out", R"(["q_m","q_m"])", -28708},
      {"out of order", 's', "eci.fields.out", R"(["q_m","q_c"])", -28708},
      {"no list", 's', "eci.fields.out", R"("q_m")", -260},
      {"no names", 's', "eci.fields.out", "[1]", -260},
      {"four axes have no stream", 's', "eci.fields.out", R"(["q_m"])", -28711, Model::quadrax},
      {"port", 's', "eci.port", R"({"broadcast_in":1338})", 0},
      {"port of no number", 's', "eci.port", R"({"broadcast_in":"1338"})", -260},
      {"no port", 's', "eci.port", "{}", -260},
      {"port 0", 's', "eci.port", R"({"broadcast_in":0})", -28708},
      {"port beyond all", 's', "eci.port", R"({"broadcast_in":65536})", -28708},
      {"half a port", 's', "eci.port", R"({"broadcast_in":1338.5})", -28708},
      {"start", 'c', "eci.pub.start", "1", 0},
      {"slow start", 'c', "eci.pub.start", "1000", 0},
      {"no period", 'c', "eci.pub.start", "null", -260},
      {"period 0", 'c', "eci.pub.start", "0", -28689},
      {"negative period", 'c', "eci.pub.start", "-1", -28689},
      {"endless period", 'c', "eci.pub.start", "1e300", -28689},
      {"start of four axes", 'c', "eci.pub.start", "1", -28711, Model::quadrax},
      {"stop of nothing", 'c', "eci.pub.stop", "null", 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Bench bench(row.model);
    bench.ask('s', "eci.ip", "\"127.11.1.1\"");
    bench.ask('s', "eci.fields.out", R"(["q_m"])");
    EXPECT_EQ(bench.ask(row.form, row.key, row.parameter), row.code);
    EXPECT_EQ(bench.world.stream.publishing, row.key == std::string("eci.pub.start") && row.code == 0);
  }
  Bench bench;
  EXPECT_EQ(bench.ask('s', "eci.fields.out", listText(most)), 0);
  most.insert(most.begin() + 5, "motion_mode");
  EXPECT_EQ(bench.ask('s', "eci.fields.out", listText(most)), -28708);
  EXPECT_EQ(nextDatagram(bench.world).size(), 1052u) << "what was agreed before stays";

  Bench fresh;
  EXPECT_EQ(fresh.command("eci.pub.start", "1"), -28711) << "no fields yet";
  fresh.ask('s', "eci.fields.out", R"(["q_m"])");
  EXPECT_EQ(fresh.command("eci.pub.start", "1"), -28672) << "nobody to send to";
}

// A port of this test's own that datagrams come to.
class Receiver {
 public:
  explicit Receiver(const std::string& address) {
    where_.sin_family = AF_INET;
    ::inet_pton(AF_INET, address.c_str(), &where_.sin_addr);
    socket_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    socklen_t size = sizeof where_;
    if (::bind(socket_, reinterpret_cast<sockaddr*>(&where_), size) != 0 ||
        ::getsockname(socket_, reinterpret_cast<sockaddr*>(&where_), &size) != 0)
      throw std::runtime_error("no port for datagrams");
  }
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;
  ~Receiver() { ::close(socket_); }

  std::string portText() const {
    return R"({"broadcast_in":)" + std::to_string(ntohs(where_.sin_port)) + "}";
  }

  // Empty if none comes.
  std::string receive(std::chrono::milliseconds limit = kPatience) {
    pollfd watched{socket_, POLLIN, 0};
    if (::poll(&watched, 1, static_cast<int>(limit.count())) <= 0) return {};
    char bytes[2000];
    sockaddr_in from{};
    socklen_t size = sizeof from;
    const auto count = ::recvfrom(socket_, bytes, sizeof bytes, 0, reinterpret_cast<sockaddr*>(&from), &size);
    char text[INET_ADDRSTRLEN];
    sender = ::inet_ntop(AF_INET, &from.sin_addr, text, sizeof text);
    return {bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }
  bool fallsSilent() {  // once what is on its way is taken
    while (!receive(0ms).empty()) {
    }
    return receive(kQuiet).empty();
  }
  bool brings(std::size_t bytes) {
    return eventually([&] { return receive().size() == bytes; });
  }

  std::string sender;

 private:
  sockaddr_in where_{};
  int socket_ = -1;
};

struct Stream {
  explicit Stream(const std::string& where, double speedFactor = 1)
      : address(where), sim({.address = where, .speedFactor = speedFactor}), receiver(kClient) {
    sim.start();
  }
  void begin(const std::string& period = "1", const std::string& fields = R"(["q_m"])") {
    RawClient client(address);
    EXPECT_EQ(client.request('s', "eci.ip", "\"" + kClient + "\""), 0);
    EXPECT_EQ(client.request('s', "eci.fields.out", fields), 0);
    EXPECT_EQ(client.request('s', "eci.port", receiver.portText()), 0);
    EXPECT_EQ(client.command("eci.pub.start", period), 0);
  }
  static inline const std::string kClient = "127.11.9.9";
  std::string address;
  Controller sim;
  Receiver receiver;
};

TEST(Stream, TimeIsSimulatedAndEven) {
  for (const auto& [speed, step] : {std::pair(1.0, 2000), std::pair(5.0, 10000), std::pair(0.25, 500)}) {
    SCOPED_TRACE(speed);
    Stream stream("127.11.2.1", speed);
    stream.begin("2");
    auto last = wholeAt(stream.receiver.receive(), 0);
    for (int i = 0; i < 20; ++i) {
      const auto ts = wholeAt(stream.receiver.receive(), 0);
      ASSERT_GT(ts, last);
      const auto off =
          (ts - last + 1) % static_cast<unsigned>(step);  // more than one: the machine stood still
      EXPECT_LE(off, 2u) << ts - last;
      last = ts;
    }
    EXPECT_EQ(stream.receiver.sender, "127.11.2.1");
  }
}

// While the world moves, two threads let its time pass.
TEST(Stream, ShowsAMoveToItsEndWithoutAJump) {
  Stream stream("127.11.2.2", 5);
  stream.begin("1", R"(["dq_m","q_m"])");
  RawClient client(stream.address);
  makeReady(client);
  EXPECT_EQ(client.command("move.j", R"({"point":[0.2,0.6,1.4,0,1,0]})"), 0);
  client.command("move.continue");
  std::vector<double> last;
  std::uint64_t lastTime = 0;
  bool moved = false;
  const bool ended = eventually([&] {
    const std::string datagram = stream.receiver.receive();
    const auto time = wholeAt(datagram, 0);
    const auto speeds = realsAt(datagram, kHead, 6), joints = realsAt(datagram, kHead + 48, 6);
    const double seconds = static_cast<double>(time - lastTime) * 1e-6;
    for (std::size_t i = 0; i < last.size(); ++i)
      EXPECT_LE(std::abs(joints[i] - last[i]), 4 * seconds + 1e-9);
    last = joints;
    lastTime = time;
    const bool moves = std::ranges::any_of(speeds, [](double speed) { return speed != 0; });
    moved = moved || moves;
    return (moved && !moves) || ::testing::Test::HasFailure();
  });
  EXPECT_TRUE(ended && moved);
  EXPECT_EQ(last, stream.sim.jointPositions());
}

TEST(Stream, GoesOnUntilItIsEnded) {
  Stream stream("127.11.2.3");
  Receiver& receiver = stream.receiver;
  stream.begin();
  EXPECT_TRUE(receiver.brings(76));
  stream.sim.dropLinks();  // no matter who is connected
  EXPECT_FALSE(receiver.fallsSilent());

  RawClient client(stream.address, 1337);  // the second command link is as good
  EXPECT_EQ(client.request('s', "eci.fields.out", R"(["pos_m","q_m"])"), 0);
  EXPECT_TRUE(receiver.brings(204));
  Receiver other("127.11.9.8");
  EXPECT_EQ(client.request('s', "eci.ip", "\"127.11.9.8\""), 0);
  EXPECT_TRUE(receiver.fallsSilent());
  EXPECT_EQ(client.request('s', "eci.port", other.portText()), 0);
  EXPECT_TRUE(other.brings(204));
  EXPECT_EQ(client.request('g', "eci.port")["broadcast_in"], json(other.portText())["broadcast_in"]);
  EXPECT_EQ(client.command("eci.pub.stop"), 0);
  EXPECT_TRUE(other.fallsSilent());

  // Each of these ends it too, and each time it can be started anew.
  const std::function<void()> ends[] = {
      [&] { stream.sim.endStateStream(); },
      [&] {
        stream.sim.stop();
        stream.sim.start();
      },
      [&] { stream.sim.reboot(); },
  };
  for (const auto& end : ends) {
    stream.begin("2");
    EXPECT_TRUE(receiver.brings(76));
    end();
    EXPECT_TRUE(eventually([&] { return receiver.receive(kQuiet).empty(); }));
    EXPECT_TRUE(eventually([&] { return RawClient::canConnect(stream.address); }));
  }
  EXPECT_EQ(RawClient(stream.address).command("eci.pub.start", "1"), -28711) << "it has forgotten the fields";
}

TEST(Stream, FaultsHitItsDatagrams) {
  Stream stream("127.11.2.4");
  Receiver& receiver = stream.receiver;
  stream.sim.cutDatagrams(10, 1);
  stream.begin("5");
  EXPECT_EQ(receiver.receive().size(), 10u);
  EXPECT_EQ(receiver.receive().size(), 76u);
  stream.sim.setStateError(15, true);
  EXPECT_TRUE(eventually([&] { return receiver.receive().at(8 + 15) == 1; }));
  stream.sim.clearFaults();
  EXPECT_TRUE(eventually([&] { return receiver.receive().at(8 + 15) == 0; }));
  stream.sim.dropDatagrams(-1);
  EXPECT_TRUE(receiver.fallsSilent());
  const auto sent = stream.sim.datagramsSent();
  EXPECT_GE(sent, 4u);
  stream.sim.dropDatagrams(3);
  EXPECT_TRUE(receiver.brings(76));
  EXPECT_THROW(stream.sim.setStateError(20, true), std::invalid_argument);

  // Nobody there, and an address that can't be reached from here.
  RawClient client(stream.address);
  EXPECT_EQ(client.request('s', "eci.port", R"({"broadcast_in":9})"), 0);
  EXPECT_TRUE(receiver.fallsSilent());
  EXPECT_EQ(client.request('s', "eci.ip", "\"192.0.2.1\""), 0);
  EXPECT_TRUE(receiver.fallsSilent());
  stream.begin();
  EXPECT_TRUE(receiver.brings(76));
}

}  // namespace
}  // namespace zivra::sim::test
