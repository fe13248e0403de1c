// The order and the bound of what goes out, with a link whose sending the test holds in its hands.
#include "motion_control/command_queue.h"

#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <map>
#include <thread>
#include <vector>

#include "support/waiting.h"

namespace zivra::internal {
namespace {

using test::Heard;

PendingCommand batch(const std::string& id, std::uint32_t count = 1, bool counted = true) {
  return {id, count, "{}", counted};
}

// A queue on a link that does what the real one does: it asks the gate at the moment of queueing.
class CommandQueueTest : public testing::Test {
 protected:
  ~CommandQueueTest() override { stopSender(); }

  void startSender() {
    sender_ = std::jthread([this](const std::stop_token& stop) { queue.sendUntil(stop); });
  }
  void stopSender() { sender_ = std::jthread(); }

  std::vector<std::string> sentIds() const { return sent.all(); }

  Heard<std::string> sent, failed;
  std::function<void(const PendingCommand&, std::error_code&)> duringSend = [](auto&, auto&) {};
  CommandQueue queue{[this](const PendingCommand& command, XService::Gate gate, std::error_code& ec) {
                       duringSend(command, ec);
                       if (ec) return;
                       if (gate.open()) {
                         sent.add(command.id);
                       } else {
                         ec = std::make_error_code(std::errc::operation_canceled);
                       }
                     },
                     [this](const PendingCommand& command, std::error_code) { failed.add(command.id); }};

 private:
  std::jthread sender_;
};

TEST_F(CommandQueueTest, SendsOnTheCallersThreadUntilTheControllerIsFull) {
  queue.setMaxCacheSize(2);
  queue.push(batch("a"));
  queue.push(batch("b", 100));  // room is looked for before, not after
  EXPECT_EQ(queue.inFlight(), 101u);
  queue.push(batch("c"));
  queue.push(batch("w", 1, false));  // an uncounted one waits its turn too
  EXPECT_EQ(sentIds(), (std::vector<std::string>{"a", "b"}));
  startSender();
  for (int i = 0; i < 99; ++i) queue.finishOne();
  EXPECT_EQ(queue.size(), 2u);
  queue.finishOne();
  ASSERT_TRUE(sent.waitFor(3));
  EXPECT_EQ(queue.inFlight(), 2u);
  queue.finishOne();
  ASSERT_TRUE(sent.waitFor(4));
  EXPECT_EQ(sentIds().back(), "w");
  EXPECT_EQ(queue.inFlight(), 1u);
}

TEST_F(CommandQueueTest, LimitIsClampedAndWakesTheSender) {
  startSender();
  queue.setMaxCacheSize(-5);
  for (const char* id : {"a", "b", "c"}) queue.push(batch(id, 999));
  EXPECT_EQ(sentIds().size(), 1u);
  queue.setMaxCacheSize(5000);  // 1000: one more batch
  ASSERT_TRUE(sent.waitFor(2));
  EXPECT_EQ(queue.size(), 1u);
}

TEST_F(CommandQueueTest, AQuickFinishFindsItsCommandCounted) {
  duringSend = [this](auto&, auto&) { queue.finishOne(); };
  queue.push(batch("a"));
  EXPECT_EQ(queue.inFlight(), 0u);
}

TEST_F(CommandQueueTest, AFailedSendIsTakenBackAndNeverBelowZero) {
  queue.push(batch("a", 3));
  duringSend = [](auto&, std::error_code& ec) { ec = std::make_error_code(std::errc::not_connected); };
  queue.push(batch("b", 5));
  EXPECT_EQ(queue.inFlight(), 3u);
  duringSend = [this](auto&, std::error_code& ec) {
    for (int i = 0; i < 6; ++i) queue.finishOne();
    ec = std::make_error_code(std::errc::not_connected);
  };
  queue.push(batch("c", 5));
  EXPECT_EQ(queue.inFlight(), 0u);
  EXPECT_EQ(failed.all(), (std::vector<std::string>{"b", "c"}));
}

TEST_F(CommandQueueTest, WhatIsTakenOutButUnsentIsWipedToo) {
  for (const bool linkFails : {false, true}) {
    duringSend = [this, linkFails](auto&, std::error_code& ec) {
      queue.wipe();
      if (linkFails) ec = std::make_error_code(std::errc::not_connected);
    };
    queue.push(batch("a", 4));
    EXPECT_EQ(sentIds().size() + failed.all().size(), 0u);
    EXPECT_EQ(queue.size(), 0u);
    EXPECT_EQ(queue.inFlight(), 0u);
  }
}

TEST_F(CommandQueueTest, AHoldPutsTheUnsentBackInFront) {
  startSender();
  bool held = false;
  duringSend = [&](auto&, auto&) {
    if (std::exchange(held, true)) return;
    queue.hold();
    queue.push(batch("b"));
  };
  queue.push(batch("a"));
  EXPECT_EQ(sentIds().size(), 0u);
  EXPECT_EQ(queue.size(), 2u);
  EXPECT_EQ(queue.inFlight(), 0u);
  queue.push(batch("c"));
  queue.release();
  ASSERT_TRUE(sent.waitFor(3));
  EXPECT_EQ(sentIds(), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(failed.all().size(), 0u);
}

TEST_F(CommandQueueTest, HoldsAddUp) {
  queue.hold();
  queue.hold();
  queue.push(batch("a"));
  queue.release();
  queue.push(batch("b"));
  EXPECT_EQ(sentIds().size(), 0u);
  startSender();
  queue.release();
  ASSERT_TRUE(sent.waitFor(2));
  EXPECT_EQ(sentIds(), (std::vector<std::string>{"a", "b"}));
}

// While one caller is in the middle of its send, the queue looks empty.
TEST_F(CommandQueueTest, NobodyOvertakesWhatIsOnItsWay) {
  for (const bool withSender : {true, false}) {
    if (withSender) startSender();
    std::promise<void> entered, go;
    duringSend = [&](const PendingCommand& command, auto&) {
      if (command.id != "a") return;
      entered.set_value();
      go.get_future().wait();
    };
    std::thread first([&] { queue.push(batch("a")); });
    entered.get_future().wait();
    queue.push(batch("b"));
    EXPECT_EQ(queue.size(), 1u);
    go.set_value();
    first.join();
    const std::size_t expected = withSender ? 2 : 4;
    ASSERT_TRUE(sent.waitFor(expected));
    EXPECT_EQ(sentIds()[expected - 2], "a");
    EXPECT_EQ(sentIds()[expected - 1], "b");
    stopSender();
  }
}

TEST_F(CommandQueueTest, ManyCallersKeepTheirOrder) {
  constexpr int callers = 8, each = 200;
  queue.setMaxCacheSize(3);
  startSender();
  duringSend = [this](auto&, auto&) { queue.finishOne(); };
  std::vector<std::thread> threads;
  for (int caller = 0; caller < callers; ++caller) {
    threads.emplace_back([this, caller] {
      for (int i = 0; i < each; ++i)
        queue.push(batch(std::to_string(caller) + ":" + std::to_string(1000 + i)));
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_TRUE(sent.waitFor(callers * each));
  std::map<char, std::string> last;
  for (const std::string& id : sentIds()) {
    EXPECT_LT(last[id[0]], id);
    last[id[0]] = id;
  }
  EXPECT_EQ(sentIds().size(), static_cast<std::size_t>(callers * each));
  EXPECT_EQ(queue.inFlight(), 0u);
}

TEST_F(CommandQueueTest, OutdatedNoticesChangeNothing) {
  std::atomic<std::uint64_t> resets{0};
  const ResetStamp before{&resets, 0};
  queue.setMaxCacheSize(1);
  queue.push(batch("a"));
  queue.push(batch("b"));
  ++resets;
  queue.wipe(before);
  queue.finishOne(before);
  EXPECT_EQ(queue.size(), 1u);
  EXPECT_EQ(queue.inFlight(), 1u);
  queue.wipe({&resets, 1});
  EXPECT_EQ(queue.size(), 0u);
}

TEST_F(CommandQueueTest, TheSenderEndsWithWorkLeft) {
  queue.hold();
  queue.push(batch("a"));
  startSender();
  stopSender();  // joins
  EXPECT_EQ(queue.size(), 1u);
  EXPECT_EQ(sentIds().size(), 0u);
}

}  // namespace
}  // namespace zivra::internal
