// The five functions that a managed assembly calls, called as it calls them.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <new>
#include <thread>

#include <zivra/sim/controller.h>

#include "abi/capi.h"
#include "abi/registry.h"
#include "support/loopback.h"

namespace {

// The largest block of memory that there is.
constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();
std::atomic<std::size_t> largestBlock{unlimited};

}  // namespace

#ifndef __has_feature
#define __has_feature(x) 0
#endif
// ThreadSanitizer brings its own, and doesn't let itself be replaced.
#define MEMORY_CAN_BE_LIMITED !__has_feature(thread_sanitizer)

#if MEMORY_CAN_BE_LIMITED
// Not inlined, so that the compiler doesn't take the one's block for none of the other's.
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* block = size > largestBlock ? nullptr : std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t /*size*/) noexcept { std::free(block); }
#endif

namespace zivra::clr::abi {
namespace {

using test::LoopbackAddress;

std::int32_t numberOf(std::string_view owner, std::string_view name, int overload = 0) {
  for (std::size_t i = 0; i < rows().size(); ++i) {
    if (rows()[i].owner == owner && rows()[i].name == name && overload-- == 0)
      return static_cast<std::int32_t>(i);
  }
  ADD_FAILURE() << "no row " << owner << "." << name;
  return -1;
}

struct Reply {
  std::vector<std::uint8_t> bytes;
  Reader reader{nullptr, 0};
  std::int32_t fault = 0;

  template <class T>
  T get() {
    return Codec<T>::get(reader);
  }
  int ec() {
    const int value = get<int>();
    get<String>();
    return value;
  }
};

Reply callWith(std::uint64_t self, std::int32_t operation, const std::vector<std::uint8_t>& arguments,
               std::int32_t room = 1 << 16, std::size_t memory = unlimited) {
  Reply reply;
  reply.bytes = arguments;  // one buffer both ways, as the assembly has it
  reply.bytes.resize(std::max(arguments.size(), static_cast<std::size_t>(room)));
  largestBlock = memory;
  const std::int32_t size =
      zivra_clr_call(self, operation, reply.bytes.data(), static_cast<std::int32_t>(arguments.size()),
                     reply.bytes.data(), room);
  largestBlock = unlimited;
  reply.bytes.resize(static_cast<std::size_t>(size));
  if (size > room) {
    EXPECT_EQ(zivra_clr_take(reply.bytes.data(), room), size) << "too little room takes nothing";
    EXPECT_EQ(zivra_clr_take(reply.bytes.data(), size), size);
    EXPECT_EQ(zivra_clr_take(reply.bytes.data(), size), 0);
  }
  reply.reader = Reader(reply.bytes.data(), reply.bytes.size());
  reply.fault = reply.get<int>();
  return reply;
}

template <class... T>
std::vector<std::uint8_t> message(const T&... values) {
  Writer to;
  (Codec<T>::put(to, values), ...);
  return to.takeBytes();
}

std::uint64_t make(const char* owner) { return callWith(0, numberOf(owner, owner), {}).get<std::uint64_t>(); }

struct Held {
  explicit Held(const char* owner) : number(make(owner)) {}
  ~Held() { zivra_clr_release(number); }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  const std::uint64_t number;
};

template <class T>
std::vector<std::uint8_t> again(const std::vector<std::uint8_t>& bytes) {
  Reader from(bytes.data(), bytes.size());
  const T value = Codec<T>::get(from);
  from.end();
  return message(value);
}

template <class T>
void expectRoundTrip(const T& value) {
  const auto bytes = message(value);
  EXPECT_EQ(again<T>(bytes), bytes) << Codec<T>::name();
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    Reader cut(bytes.data(), size);
    EXPECT_THROW((Codec<T>::get(cut), cut.end()), BoundaryFault) << Codec<T>::name() << " cut to " << size;
  }
}

MoveCommand someMove() {
  MoveCommand move;
  move.cartTarget->confData = {1, -2};
  move.cartTarget->external = List<double>(2, 0.5);
  move.customInfo = nullptr;
  *move.args = {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::infinity()};
  return move;
}

TEST(Messages, GiveBackWhatWasPutAndNothingThatWasCutOff) {
  expectRoundTrip(true);
  expectRoundTrip<std::uint64_t>(~std::uint64_t{0});
  expectRoundTrip(std::numeric_limits<float>::denorm_min());
  for (const String& text : {String(nullptr), String(""), String("é\0ß"), String(std::string("a\0b", 3))})
    expectRoundTrip(text);
  expectRoundTrip(PowerState::unknown);
  expectRoundTrip(List<MoveCommand>{someMove(), MoveCommand()});
  expectRoundTrip(Array<bool>{true, false});
  expectRoundTrip(Array<Array<int>>{Array<int>{1, 2}, Array<int>()});
  expectRoundTrip(Array2<double>(2, 3));
  expectRoundTrip(Array2<double>(0, 2));
  expectRoundTrip(List<std::optional<SDOData>>{std::nullopt, SDOData()});
  StateList states;
  states.digital_signals = {{String("DI0_0"), true}, {String(nullptr), false}};
  states.analog_signals = {{String("AI0_0"), 2.5}};
  expectRoundTrip(states);
  expectRoundTrip(List<WorkToolInfo>(2));
  expectRoundTrip(Array<CANFrame>{CANFrame(), CANFrame(1, 0, 2, Array<std::uint8_t>{200}, 1)});
  expectRoundTrip(Array<String>{String("a"), String(nullptr)});
  expectRoundTrip(List<Array<double>>{Array<double>{1, 2}, Array<double>()});
  expectRoundTrip(std::optional<List<LogInfoLevel>>());
  expectRoundTrip(std::optional(List<LogInfoLevel>{LogInfoLevel::err, LogInfoLevel::info}));
}

TEST(Messages, AskForNoMoreRoomThanTheyHaveBytes) {
  // Counts, of elements, of rows and columns, that no message of this size can have.
  for (const auto& bytes : {message(2147483647), message(-1), message(-2)}) {
    Reader list(bytes.data(), bytes.size()), text(bytes.data(), bytes.size());
    EXPECT_THROW(Codec<List<double>>::get(list), BoundaryFault);
    if (bytes != message(-1)) {
      EXPECT_THROW(Codec<String>::get(text), BoundaryFault);
    }
  }
  for (const auto& bytes : {message(2147483647, 2147483647), message(2147483647, 2), message(3, 4)}) {
    Reader table(bytes.data(), bytes.size());
    EXPECT_THROW(Codec<Array2<double>>::get(table), BoundaryFault);
  }
}

TEST(Calls, EachFaultHasItsNumber) {
  const Held shell("BaseRobot"), robot("TandiRobot"), triax("TriaxRobot"), upgrade("BaseUpgrade");
  const LoopbackAddress nobody(71);
  const std::vector<std::uint8_t> none;
  const struct {
    const char* what;
    std::int32_t fault;
    std::uint64_t self;
    std::int32_t operation;
    std::vector<std::uint8_t> arguments;
  } cases[] = {
      {"released", kDisposed, 999999, numberOf("BaseRobot", "powerState"), none},
      {"of another kind", kForeignHandle, upgrade.number, numberOf("BaseRobot", "powerState"), none},
      {"of another class", kForeignHandle, triax.number, numberOf("Cobot", "disableDrag"), none},
      {"no such operation", kBadMessage, robot.number, static_cast<std::int32_t>(rows().size()), none},
      {"before the first", kBadMessage, robot.number, -1, none},
      {"more than its arguments", kBadMessage, robot.number, numberOf("BaseRobot", "powerState"),
       message(true)},
      {"fewer", kBadMessage, robot.number, numberOf("BaseRobot", "setPowerState"), none},
      {"api", 1, robot.number, numberOf("BaseRobot", "connectToRobot", 1), message(String(nobody.text()))},
      {"array index", 2, robot.number, numberOf("BaseRobot", "setBaseFrame"),
       message(Frame(Array<double>(2), Array<double>(3)))},
      {"no native object", 3, shell.number, numberOf("BaseRobot", "jointTorque"), none},
      {"null text", 4, robot.number, numberOf("BaseRobot", "getMechUnit", 1),
       message(String(), String("order"), 0)},
      {"text that can't be encoded", 5, robot.number, numberOf("BaseRobot", "getMechUnit", 1),
       message(String("\xFF"), String("order"), 0)},
      {"list index", 6, robot.number, numberOf("BaseRobot", "moveAppend"),
       message(MoveCommand::Type::MoveWait, List<MoveCommand>(), String(""))},
      {"not supported", 7, robot.number, numberOf("BaseRobot", "jacobian"),
       message(std::optional<Array<double>>(), SegmentFrame::flange)},
      {"native", 8, robot.number, numberOf("BaseRobot", "ethercat"), none},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.what);
    Reply reply = callWith(one.self, one.operation, one.arguments);
    EXPECT_EQ(reply.fault, one.fault);
    EXPECT_FALSE(reply.get<String>().isNull());
    EXPECT_NO_THROW(reply.reader.end()) << "a fault has a text and no result";
  }
}

#if MEMORY_CAN_BE_LIMITED
TEST(Calls, ThatRunOutOfMemorySaySo) {
  const Held robot("TandiRobot");
  const auto arguments = message(String("range"), Array<double>(1 << 18));
  Reply reply =
      callWith(robot.number, numberOf("BaseRobot", "setRailParameter", 4), arguments, 1 << 16, 1 << 20);
  EXPECT_EQ(reply.fault, 9);
  EXPECT_FALSE(reply.get<String>().isNull());
  EXPECT_NO_THROW(reply.reader.end());
}
#endif

TEST(Calls, TellWhatWasAppendedToTheArgsOfMoves) {
  const Held robot("TandiRobot");
  MoveCommand circle;
  *circle.args = {3.0};
  Reply reply =
      callWith(robot.number, numberOf("BaseRobot", "moveAppend"),
               message(MoveCommand::Type::MoveCF, List<MoveCommand>{circle, MoveCommand()}, String("id")));
  ASSERT_EQ(reply.fault, 0);
  EXPECT_EQ(reply.get<List<List<double>>>(), (List<List<double>>{List<double>{3, 0}, List<double>{0, 0}}));
  EXPECT_EQ(reply.get<String>(), String("id"));
  EXPECT_EQ(reply.ec(), 255);
  EXPECT_NO_THROW(reply.reader.end());
  circle.args.reset();  // nothing reads it
  reply = callWith(robot.number, numberOf("BaseRobot", "executeCommand"),
                   message(MoveCommand::Type::MoveWait, List<MoveCommand>{circle}));
  ASSERT_EQ(reply.fault, 0);
  EXPECT_EQ(reply.get<List<List<double>>>(), List<List<double>>{List<double>()});
  EXPECT_EQ(reply.ec(), 0);
}

TEST(Calls, OfAFailedReadSayThatNothingWasAssigned) {
  const Held robot("TandiRobot");
  Reply reply =
      callWith(robot.number, numberOf("BaseRobot", "getRailParameter", 4), message(String("softLimit")));
  ASSERT_EQ(reply.fault, 0);
  EXPECT_FALSE(reply.get<std::optional<Array<double>>>());
  EXPECT_NE(reply.ec(), 0);
}

TEST(Calls, ALargeReplyWaitsForItsRoomAndTheOperationRunsOnce) {
  const Held robot("TandiRobot");
  const auto version = callWith(0, numberOf("BaseRobot", "sdkVersion"), {}).get<String>();
  EXPECT_EQ(callWith(0, numberOf("BaseRobot", "sdkVersion"), {}, 5).get<String>(), version);
  Reply slow = callWith(0, numberOf("TandiRobot", "TandiRobot"), {}, 1);
  const auto first = slow.get<std::uint64_t>();
  const Held next("TandiRobot");
  EXPECT_EQ(next.number, first + 1);
  zivra_clr_release(first);
  zivra_clr_release(first);
}

// What a managed side would keep.
std::map<std::uint64_t, std::function<void(Reader)>> delegates;
std::atomic<int> dropped{0};
extern "C" void invokeHere(std::uint64_t number, const void* data, std::int32_t size) {
  delegates.at(number)(Reader(data, static_cast<std::size_t>(size)));
}
extern "C" void dropHere(std::uint64_t) { ++dropped; }

class Delegates : public testing::Test {
 protected:
  Delegates() {
    options_.address = address_.text();
    controller_.emplace(options_);
    controller_->start();
    dropped = 0;
    zivra_clr_callbacks(invokeHere, dropHere);
  }
  ~Delegates() override {
    zivra_clr_callbacks(nullptr, nullptr);
    delegates.clear();
  }
  void handlerOf(std::uint64_t robot, std::uint64_t number) {
    EXPECT_EQ(callWith(robot, numberOf("BaseRobot", "setConnectionHandler"), message(number)).fault, 0);
  }
  Reply connect(std::uint64_t robot) {
    return callWith(robot, numberOf("BaseRobot", "connectToRobot", 1), message(String(address_.text())));
  }

  LoopbackAddress address_{71};
  sim::Options options_;
  std::optional<sim::Controller> controller_;
};

TEST_F(Delegates, MayCallBackAndAreDroppedWithTheirLastUser) {
  std::promise<String> heard;
  delegates[7] = [&](Reader from) {
    if (Codec<bool>::get(from))
      heard.set_value(callWith(0, numberOf("BaseRobot", "sdkVersion"), {}).get<String>());
  };
  {
    const Held robot("TandiRobot");
    handlerOf(robot.number, 7);
    EXPECT_EQ(connect(robot.number).fault, 0);
    auto version = heard.get_future();
    ASSERT_EQ(version.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_FALSE(version.get().text().empty());
    EXPECT_EQ(dropped, 0);
    delegates[8] = [](Reader) {};
    handlerOf(robot.number, 8);
    EXPECT_EQ(dropped, 1);
    handlerOf(robot.number, 0);
    EXPECT_EQ(dropped, 2);
  }
  EXPECT_EQ(dropped, 2);
}

TEST_F(Delegates, ClosingWaitsForThoseUnderWayAndStartsNoMore) {
  std::promise<void> inside, go;
  std::atomic<bool> over{false};
  delegates[7] = [&](Reader) {
    inside.set_value();
    go.get_future().wait();
    over = true;
  };
  const DelegateToken token(7);
  std::thread native([&] { token.invoke(Writer()); });
  inside.get_future().wait();
  std::thread closing([&] {
    zivra_clr_callbacks(nullptr, nullptr);
    EXPECT_TRUE(over);
  });
  go.set_value();
  closing.join();
  native.join();
  token.invoke(Writer());  // nobody hears it: a second set_value would throw
}

TEST(Schema, IsMadeFromAllThatBothSidesShare) {
  const std::string text = describeRows();
  for (const char* part : {"BaseRobot.moveAppend void", "ref double f = ref v.mass;",
                           "ForceControl.getEndTorque", "BaseUpgrade.upgrade", "\nStopLevel stop0 0 stop1 1 ",
                           "\nfaults none 0 api 1 ", " disposed 100 ", "form 1\n"})
    EXPECT_NE(text.find(part), std::string::npos) << part;
}

}  // namespace
}  // namespace zivra::clr::abi
