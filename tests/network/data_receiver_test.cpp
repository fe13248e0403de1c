// Field lists, datagrams, reading, and the socket underneath.
#include "network/data_receiver.h"

#include <future>
#include <sstream>

#include <zivra/error.h>
#include <zivra/local_address.h>

#include "core/process_state.h"
#include "support/datagrams.h"
#include "support/loopback.h"
#include "support/waiting.h"

namespace zivra::test {

namespace {

using namespace std::chrono_literals;
using Fields = std::set<std::string>;

constexpr std::uint16_t statePort = 1338;

std::vector<std::string> words(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), {}};
}

struct Group {
  const char* names;
  std::size_t bytes[3];  // with 5, 6 and 7 axes; 0: not there
};
const Group catalogue[] = {
    {"ts psi_m psi_c psi_vel_c psi_acc_c", {8, 8, 8}},
    {"errors", {20, 20, 20}},
    {"q_m q_c dq_m dq_c ddq_c tau_m tau_c tau_filtered_m tau_vel_c theta_m theta_vel_m motor_tau "
     "motor_tau_filtered",
     {40, 48, 56}},
    {"ddq_m", {0, 48, 56}},
    {"pos_m pos_c", {128, 128, 128}},
    {"pos_abc_m pos_vel_c pos_acc_c ex_q_m ex_dq_m ex_motor_m tau_ext_base tau_ext_stiff", {48, 48, 48}},
    {"pos_vel_m pos_acc_m", {0, 48, 48}},
    {"motion_mode control_mode", {1, 1, 1}},
    {"io_keypad", {0, 7, 7}},
};

TEST(StateFields, AreThoseOfTheRobot) {
  const std::size_t totals[] = {1222, 1477, 1589}, counts[] = {31, 35, 35};
  for (unsigned short axes = 5; axes <= 7; ++axes) {
    std::size_t total = 0, count = 0;
    for (const Group& group : catalogue) {
      const std::size_t bytes = group.bytes[axes - 5];
      for (const std::string& name : words(group.names)) {
        const auto tag = stateField(name, axes);
        EXPECT_EQ(tag ? bytesOf(*tag) : 0, bytes) << name << " of " << axes;
        total += bytes;
        count += bytes > 0 ? 1 : 0;
      }
    }
    EXPECT_EQ(total, totals[axes - 5]);
    EXPECT_EQ(count, counts[axes - 5]);
  }
  for (const char* name : {"", "Q_m", "q_m ", "q", "tau_ext"}) EXPECT_FALSE(stateField(name, 6)) << name;
  EXPECT_EQ(stateField("q_m", 3), StateTag::reals7) << "any other count of axes";
}

class StateStream : public testing::Test {
 protected:
  StateStream() {
    internal::setLanguage(internal::Language::english);
    receiver_.setup(statePort, "127.0.0.1", address_.text());
  }
  void send(const std::string& bytes) { sendDatagram(bytes, address_.text(), receiver_.boundPort()); }
  // Up and receiving, with one datagram taken already.
  void start(const Fields& fields, const std::string& first, unsigned short axes = 6) {
    ASSERT_EQ(receiver_.setRecipe(fields, axes), 0);
    std::error_code ec;
    receiver_.open(ec, true);
    ASSERT_FALSE(ec) << ec.message();
    send(first);
    receiver_.waitFirstState();
  }
  std::uint64_t ts() {
    std::uint64_t value = 0;
    EXPECT_EQ(receiver_.read("ts", value), 0);
    return value;
  }
  double firstOf(const std::string& name) {
    std::vector<double> values;
    EXPECT_EQ(receiver_.read(name, values), 0);
    return values.empty() ? -1 : values.front();
  }
  template <class Exception>
  static std::string thrownBy(const std::function<void()>& call) {
    try {
      call();
    } catch (const Exception& e) {
      EXPECT_TRUE(typeid(e) == typeid(Exception));
      return e.what();
    }
    return {};
  }

  LoopbackAddress address_{21};
  DataReceiver receiver_{200ms};
};

TEST_F(StateStream, RecipesFitOrAreRefusedAsAWhole) {
  Fields full{"pos_m", "pos_c"};
  for (const char* names : {"q_m q_c dq_m dq_c ddq_c ddq_m tau_m tau_c",
                            "ex_q_m ex_dq_m ex_motor_m pos_abc_m pos_vel_c pos_acc_c "
                            "tau_ext_base tau_ext_stiff"}) {
    for (const std::string& name : words(names)) full.insert(name);
  }
  Fields tooMuch = full;
  tooMuch.insert("motion_mode");
  Fields twice = full;
  twice.insert("ts");
  struct Row {
    const char* name;
    Fields fields;
    unsigned short axes;
    bool accepted;
  };
  for (const Row& row :
       {Row{"1052 bytes", full, 6, true}, Row{"1053 bytes", tooMuch, 6, false},
        Row{"a time stamp more", twice, 6, false}, Row{"fewer bytes", tooMuch, 5, false},
        Row{"unknown", {"q_m", "q_x"}, 6, false}, Row{"not with 5 axes", {"ddq_m"}, 5, false},
        Row{"with 7 axes", {"ddq_m", "io_keypad"}, 7, true}, Row{"nothing", {}, 6, true}}) {
    SCOPED_TRACE(row.name);
    ASSERT_EQ(receiver_.setRecipe({"psi_m"}, 6), 0);
    EXPECT_EQ(receiver_.setRecipe(row.fields, row.axes) == 0, row.accepted);
    EXPECT_EQ(receiver_.requested(), row.accepted ? row.fields : Fields{"psi_m"});
    double angle = -1;
    EXPECT_EQ(receiver_.read("psi_m", angle), row.accepted ? -1 : 0);
  }
}

TEST_F(StateStream, TakesFieldsFromTheirPlaces) {
  // In the order of the names, with one of each length before a field that is read.
  start({"pos_m", "q_m", "motion_mode", "io_keypad", "dq_m", "psi_m", "tau_ext_base"},
        Datagram(77)
            .reals(7, 10)
            .add<std::uint64_t>(0xffffff)  // the keypad's seven, and the mode
            .reals(16, 30)
            .add(0.5)
            .reals(7, 50)
            .reals(6, 60),
        7);
  EXPECT_EQ(ts(), 77u);
  EXPECT_EQ(firstOf("dq_m"), 10);
  EXPECT_EQ(firstOf("pos_m"), 30);
  EXPECT_EQ(firstOf("q_m"), 50);
  std::vector<double> values{1, 2, 3};
  EXPECT_EQ(receiver_.read("tau_ext_base", values), 0);
  EXPECT_EQ(values, (std::vector<double>{60, 61, 62, 63, 64, 65}));
  double angle = 0;
  EXPECT_EQ(receiver_.read("psi_m", angle), 0);
  EXPECT_EQ(angle, 0.5);

  for (const char* name : {"ts", "errors", "motion_mode", "io_keypad", "psi_m", "q_c", ""}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(receiver_.read(name, values), -1);
    EXPECT_TRUE(values.empty());
    angle = 9;
    EXPECT_EQ(receiver_.read(name, angle), name == std::string("psi_m") ? 0 : -1);
    std::uint64_t count = 9;
    EXPECT_EQ(receiver_.read(name, count), name == std::string("ts") ? 0 : -1);
    EXPECT_TRUE(count == 9 || name == std::string("ts"));
  }
}

TEST_F(StateStream, FieldsNamedTwiceComeTwice) {
  const auto datagram = [](std::uint64_t n, const std::string& errors) {
    const auto real = static_cast<double>(n);
    return Datagram(n).reals(6, real).flags(errors).reals(6, real).add(n + 1);
  };
  start({"ts", "errors", "dq_m", "q_m"}, datagram(5, std::string(20, '\0')));
  EXPECT_EQ(ts(), 6u) << "the later one counts";
  EXPECT_EQ(firstOf("q_m"), 5);
  send(datagram(8, errorFlag(3)));
  EXPECT_EQ(thrownBy<RealtimeMotionException>([&] { receiver_.update(1s); }),
            "realtime: rtMotion: (3-kActualJointVelocityLimitsViolation)");
  EXPECT_EQ(firstOf("dq_m"), 8) << "before the flag";
  EXPECT_EQ(firstOf("q_m"), 5) << "behind the flag";
}

TEST_F(StateStream, JudgesDatagramsByTheirLength) {
  const std::string whole = Datagram(1).reals(6, 1);
  const std::size_t size = whole.size();
  struct Row {
    const char* name;
    std::size_t sent;
    unsigned taken;
    bool decoded;
  };
  start({"q_m"}, whole);
  std::uint64_t n = 1;
  for (const Row& row : {Row{"exact", size, 76, true}, Row{"one more", size + 1, 77, true},
                         Row{"as long as can be", 1052, 1052, true}, Row{"cut", 1053, 1052, true},
                         Row{"huge", 9000, 1052, true}, Row{"one less", size - 1, 75, false},
                         Row{"one byte", 1, 1, false}, Row{"empty", 0, 0, false}}) {
    SCOPED_TRACE(row.name);
    const std::uint64_t before = ts();
    ++n;
    std::string bytes = Datagram(n).reals(6, static_cast<double>(n));
    bytes.resize(row.sent, '\x7f');
    send(bytes);
    EXPECT_EQ(receiver_.update(longestWait), row.taken);
    EXPECT_EQ(ts(), row.decoded ? n : before);
    EXPECT_EQ(firstOf("q_m"), static_cast<double>(row.decoded ? n : before));
    EXPECT_EQ(receiver_.update(0ns), 0u) << "and no more than one";
  }
  const StateStreamHealth health = receiver_.health();
  EXPECT_EQ(health.received, 9u);
  EXPECT_EQ(health.tooShort, 3u);
}

TEST_F(StateStream, ReportsTheFirstErrorFlag) {
  std::string two = errorFlag(5);
  two[19] = 1;
  struct Row {
    std::string errors;
    const char* text;
  };
  start({"q_m"}, Datagram(1).reals(6, 1));
  std::uint64_t n = 1;
  for (const Row& row :
       {Row{errorFlag(5), "(5-EStop)"}, Row{errorFlag(0, 7), "(0-kActualJointPositionLimits"},
        Row{errorFlag(7, '\xff'), "(7-kCommandJointPositionLimitsViolation)"},
        Row{errorFlag(8, '\x80'), "(8-kCommandCartesianPositionLimitsViolation)"},
        Row{errorFlag(19), "Network is not stable"}, Row{two, "(5-EStop)"}}) {
    SCOPED_TRACE(row.text);
    ++n;
    send(Datagram(n, row.errors).reals(6, static_cast<double>(n)));
    const std::string text = thrownBy<RealtimeMotionException>([&] { receiver_.update(longestWait); });
    EXPECT_EQ(text.rfind(std::string("realtime: rtMotion: ") + row.text, 0), 0u) << text;
    EXPECT_EQ(ts(), n) << "read before the flags";
    EXPECT_EQ(firstOf("q_m"), 1) << "behind the flags";
    EXPECT_TRUE(receiver_.isReceiving());
  }
  send(Datagram(++n).reals(6, 9));
  EXPECT_EQ(receiver_.update(longestWait), 76u) << "the stream goes on";
  EXPECT_EQ(firstOf("q_m"), 9);
  EXPECT_EQ(thrownBy<RealtimeControlException>([&] { receiver_.decode(std::string(75, '\0')); }),
            "realtime: Failed to receive state data read form input stream error");
}

TEST_F(StateStream, FirstStateMustCome) {
  const std::string none =
      "realtime: rtState: Have not received status feedback from controller before timeout, please check "
      "network configuration";
  ASSERT_EQ(receiver_.setRecipe({"q_m"}, 6), 0);
  receiver_.open(true);
  EXPECT_EQ(thrownBy<RealtimeStateException>([&] { receiver_.waitFirstState(); }), none);
  send("");
  EXPECT_EQ(thrownBy<RealtimeStateException>([&] { receiver_.waitFirstState(); }), none);
  send(Datagram(1, errorFlag(2)).reals(6, 0));
  EXPECT_THROW(receiver_.waitFirstState(), RealtimeMotionException);
  EXPECT_FALSE(receiver_.isReceiving());
  EXPECT_EQ(thrownBy<RealtimeStateException>([&] { receiver_.update(0ns); }),
            "realtime: rtState: Not start receiving data");
  EXPECT_THROW(receiver_.drain(), RealtimeStateException);
  send("x");
  receiver_.waitFirstState();
  EXPECT_TRUE(receiver_.isReceiving()) << "a short one shows that there is somebody";
}

TEST_F(StateStream, DrainsToTheNewest) {
  start({"psi_m"}, Datagram(1000).add(1.0));
  EXPECT_EQ(receiver_.drain(), 0u) << "nothing waits";
  for (const std::uint64_t n : {2000, 3500, 4000}) send(Datagram(n).add(static_cast<double>(n)));
  send("short");
  EXPECT_EQ(receiver_.drain(), 2u);
  EXPECT_EQ(ts(), 4000u);
  StateStreamHealth health = receiver_.health();
  EXPECT_EQ(health.received, 5u);
  EXPECT_EQ(health.tooShort, 1u);
  EXPECT_EQ(health.skipped, 2u);
  EXPECT_EQ(health.largestGap, 1500u);
  EXPECT_GE(health.age, 0ns);

  send(Datagram(5000, errorFlag(1)).add(5.0));
  send(Datagram(6000, errorFlag(2)).add(6.0));
  send(Datagram(1).add(7.0));  // a controller that was restarted
  EXPECT_EQ(thrownBy<RealtimeMotionException>([&] { receiver_.drain(); }),
            "realtime: rtMotion: (1-kActualCartesianPositionLimitsViolation)");
  EXPECT_EQ(ts(), 1u) << "an error doesn't keep the backlog";
  EXPECT_EQ(receiver_.update(0ns), 0u);
  health = receiver_.health();
  EXPECT_EQ(health.skipped, 4u);
  EXPECT_EQ(health.largestGap, 1500u);
  receiver_.close();
  receiver_.open(true);
  EXPECT_EQ(receiver_.health().received, 0u) << "counts anew";
  EXPECT_EQ(receiver_.health().age, -1ns);
  EXPECT_EQ(ts(), 1u) << "values stay";
}

TEST_F(StateStream, BindsWhereItCan) {
  struct Row {
    const char* address;
    std::errc error;
  };
  for (const Row& row :
       {Row{"", std::errc::invalid_argument}, Row{"localhost", std::errc::invalid_argument},
        Row{"127.0.0.1 ", std::errc::invalid_argument}, Row{"127.0.0.256", std::errc::invalid_argument},
        Row{"::1", std::errc::address_family_not_supported},
        Row{"192.0.2.77", std::errc::address_not_available}}) {
    SCOPED_TRACE(row.address);
    receiver_.setup(statePort, "127.0.0.1", row.address);
    for (const bool fallback : {true, false}) {
      std::error_code ec;
      receiver_.open(ec, fallback);
      EXPECT_EQ(ec, row.error) << ec.message();
      EXPECT_FALSE(receiver_.isOpen());
    }
  }
  receiver_.setup(statePort, "127.0.0.1", address_.text());
  Descriptor other = datagramSocket(address_.text(), statePort);
  std::error_code ec;
  receiver_.open(ec, false);
  EXPECT_EQ(ec, std::errc::address_in_use);
  EXPECT_FALSE(receiver_.isOpen());
  start({"psi_m"}, Datagram(1).add(1.0));
  const std::uint32_t substitute = receiver_.boundPort();
  EXPECT_NE(substitute, statePort);
  other.reset();
  start({"psi_m"}, Datagram(2).add(1.0));
  EXPECT_EQ(receiver_.boundPort(), substitute) << "tried first from then on";
  EXPECT_EQ(ts(), 2u);
  receiver_.setup(statePort, "127.0.0.1", address_.text());
  receiver_.open(false);
  EXPECT_EQ(receiver_.boundPort(), statePort);
  EXPECT_FALSE(receiver_.isReceiving()) << "opening closes first";

  try {
    receiver_.setup(statePort, "::1", address_.text());
    ADD_FAILURE() << "no address of that kind";
  } catch (const std::system_error& e) {
    EXPECT_EQ(std::string(e.what()).rfind("resolve", 0), 0u) << e.what();
  }
}

TEST_F(StateStream, KeepsItsTimeouts) {
  start({"psi_m"}, Datagram(1).add(1.0));
  for (const auto timeout :
       {0ns, -1ns, std::chrono::nanoseconds::min(), 1ns, std::chrono::nanoseconds(3ms)}) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(receiver_.update(timeout), 0u);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, timeout) << "never before the time";
    send(Datagram(2).add(1.0));
    EXPECT_EQ(receiver_.update(timeout), 36u) << "what waits is taken, whatever the time-out";
  }
}

TEST_F(StateStream, ClosingEndsEveryWait) {
  for (int turn = 0; turn < 20; ++turn) {
    start({"psi_m"}, Datagram(1).add(1.0));
    std::vector<std::future<bool>> waiting;
    std::atomic<int> begun{0};
    for (int i = 0; i < 3; ++i) {
      waiting.push_back(std::async(std::launch::async, [&] {
        ++begun;
        try {
          return receiver_.update(std::chrono::nanoseconds::max()) == 0;
        } catch (const RealtimeStateException&) {
          return true;  // came too late to wait
        }
      }));
    }
    EXPECT_TRUE(turn % 2 != 0 || eventually([&] { return begun == 3; }));
    receiver_.close();
    for (auto& one : waiting) {
      ASSERT_EQ(one.wait_for(longestWait), std::future_status::ready);
      EXPECT_TRUE(one.get());
    }
  }
}

TEST_F(StateStream, IsSharedByThreads) {
  start({"q_m", "dq_m"}, Datagram(0).reals(6, 0).reals(6, 0));
  constexpr int datagrams = 150;  // a socket keeps that many
  std::atomic<int> taken{0};
  std::atomic<bool> done{false};
  const auto take = [&] {
    while (taken < datagrams) {
      if (receiver_.update(1ms) != 0) ++taken;
    }
  };
  const auto read = [&] {
    std::uint64_t latest = 0;
    std::vector<double> values;
    bool whole = true;
    while (!done) {
      std::uint64_t now = 0;
      receiver_.read("ts", now);
      receiver_.read("q_m", values);
      whole = whole && now >= latest && values.size() == 6 && values[5] == values[0] + 5;
      latest = now;
    }
    return whole;
  };
  auto reader = std::async(std::launch::async, read);
  auto one = std::async(std::launch::async, take), two = std::async(std::launch::async, take);
  for (int n = 1; n <= datagrams; ++n) send(Datagram(static_cast<std::uint64_t>(n)).reals(6, n).reals(6, n));
  ASSERT_EQ(one.wait_for(longestWait), std::future_status::ready);
  ASSERT_EQ(two.wait_for(longestWait), std::future_status::ready);
  done = true;
  EXPECT_TRUE(reader.get()) << "in order, and never half of one";
  EXPECT_EQ(taken, datagrams);
  EXPECT_EQ(ts(), static_cast<std::uint64_t>(datagrams));
  EXPECT_EQ(receiver_.health().received, 1u + datagrams);

  auto longWait = std::async(std::launch::async, [&] { return receiver_.update(longestWait); });
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(receiver_.update(1ms), 0u) << "another's wait doesn't prolong this one";
    EXPECT_EQ(receiver_.drain(), 0u);
  }
  send(Datagram(1000).reals(6, 0).reals(6, 0));
  EXPECT_EQ(longWait.get(), 124u);
}

TEST(LocalAddress, IsThatOfTheWay) {
  EXPECT_EQ(localAddressTowards("127.21.0.1"), "127.0.0.1");
  for (const char* host : {"", "localhost", "::1", "127.0.0", "300.1.1.1", "255.255.255.255"}) {
    EXPECT_EQ(localAddressTowards(host), "") << host;
  }
}

}  // namespace

}  // namespace zivra::test
