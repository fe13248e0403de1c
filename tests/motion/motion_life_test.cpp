// Starting, stopping and destroying the motion queue, also from its own watcher.
#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

#include <zivra/error.h>

#include "motion/motion_fixture.h"

namespace zivra::test {
namespace {

using State = MotionControl<1>::State;

using MotionLifeTest = MotionTest;

TEST_F(MotionLifeTest, StopEndsTheWatchAndStartBeginsAfresh) {
  std::error_code ec;
  watch();
  motion->_stop(ec);
  EXPECT_FALSE(ec);
  EXPECT_EQ(motion->state(), State::stopped);
  ASSERT_TRUE(controller.waitForRequest("move.last_error_with_setting"));
  EXPECT_NE(controller.frames()[0].find(":false}"), std::string::npos);
  notice("absj#1", "finish", 4);  // nobody listens
  settle();
  controller.forgetRequests();
  motion->_start();
  EXPECT_EQ(motion->state(), State::idle);
  ASSERT_TRUE(controller.waitForRequest("move.last_error_with_setting"));
  const auto frames = controller.frames();
  EXPECT_EQ(frames[0].substr(0, 42), R"({"c":{"move.reset":{"remain_traj":false}},)");
  EXPECT_NE(frames[1].find(":true}"), std::string::npos);
  EXPECT_EQ(cmdIdOf(motion->eventInfo()), "");
  notice("absj#2", "finish");
  ASSERT_TRUE(heard.waitFor(1));
  EXPECT_EQ(cmdIdOf(heard.all()[0]), "absj#2");
  controller.forgetRequests();
  motion->_start();  // nothing left to start
  settle();
  EXPECT_EQ(controller.frames().size(), 1u);
}

TEST_F(MotionLifeTest, MoveStartFindsOrMakesRunningThreads) {
  std::error_code ec;
  watch();
  struct Row {
    const char* name;
    std::function<void()> before;
    bool resets;
  };
  const Row rows[] = {
      {"stopped", [&] { motion->_stop(ec); }, true},
      {"stopped, then a batch executed past the queue",
       [&] {
         motion->_stop(ec);
         motion->executeCommand(std::vector{MoveAbsJCommand({0.5})}, ec);
         EXPECT_EQ(motion->state(), State::running);
       },
       false},
      {"the start's reset was refused",
       [&] {
         motion->_stop(ec);
         controller.answer("move.reset", "-17");
         motion->_start();
         EXPECT_EQ(motion->state(), State::stopped);
         controller.answer("move.reset", "0");
       },
       true},
  };
  for (const Row& row : rows) {
    row.before();
    controller.forgetRequests();
    motion->moveStart(ec);
    EXPECT_FALSE(ec) << row.name;
    EXPECT_EQ(motion->state(), State::running) << row.name;
    EXPECT_EQ(controller.count("move.reset"), row.resets ? 1u : 0u) << row.name;
    const std::size_t calls = heard.all().size();
    motion->setMaxCacheSize(1);
    append();
    append();
    notice("absj#0", "finish");
    ASSERT_TRUE(heard.waitFor(calls + 1)) << row.name;
    ASSERT_TRUE(waitForBatches(2)) << row.name;
    notice("absj#1", "finish");
    ASSERT_TRUE(heard.waitFor(calls + 2)) << row.name;
    EXPECT_EQ(motion->inFlight(), 0u) << row.name;
  }
}

TEST_F(MotionLifeTest, AWatcherMayCallAnyOperation) {
  std::error_code stopped, reset;
  std::string appended;
  watch([&](const EventInfo& event) {
    if (cmdIdOf(event) == "first") {
      appended = append();
      motion->moveReset(reset);
      motion->waitForWatcher(3'600'000'000'000);
      motion->setEventHandler([this](const EventInfo& later) { heard.add(later); });
      throw std::runtime_error("no more");
    }
  });
  notice("first", "finish");
  ASSERT_TRUE(eventually([&] { return logger->has("E Move watcher throw: no more"); }));
  EXPECT_FALSE(reset);
  EXPECT_EQ(batchIds(), std::vector<std::string>{appended});
  notice("second", "finish");
  ASSERT_TRUE(heard.waitFor(2));

  motion->setEventHandler([&](const EventInfo& event) {
    motion->_stop(stopped);
    heard.add(event);
    throw 5;
  });
  notice("third", "finish");
  ASSERT_TRUE(heard.waitFor(3));
  ASSERT_TRUE(eventually([&] { return logger->has("E Move watcher throw: unknown exception"); }));
  EXPECT_EQ(stopped, std::errc::resource_deadlock_would_occur);
  EXPECT_EQ(motion->state(), State::stopped);
  watch();
  motion->_start();
  notice("fourth", "finish");
  ASSERT_TRUE(heard.waitFor(4));
}

TEST_F(MotionLifeTest, AWatcherMayStopAndStartAgain) {
  std::error_code ec;
  watch([&](const EventInfo& event) {
    if (cmdIdOf(event) != "first") return;
    motion->_stop(ec);
    motion->_start();
  });
  notice("first", "finish");
  ASSERT_TRUE(controller.waitForRequest("move.last_error_with_setting", 2));
  notice("second", "finish");
  ASSERT_TRUE(heard.waitFor(2));
  EXPECT_EQ(motion->state(), State::idle);
}

TEST_F(MotionLifeTest, AWatcherMayDestroyItsRobot) {
  // On the notification thread, and on the thread of a send that failed.
  for (const bool bySend : {false, true}) {
    if (!motion) motion = std::make_shared<MotionControl<1>>(service);
    std::promise<void> done;
    watch([this, &done, captured = std::make_shared<int>(5)](const EventInfo&) {
      motion.reset();
      EXPECT_EQ(*captured, 5);
      done.set_value();
    });
    if (bySend) {
      killController();
      MotionControl<1>& raw = *motion;  // nobody else holds it
      std::string id;
      std::error_code ec;
      raw.appendCommand(std::vector{MoveAbsJCommand({0.5})}, id, ec);
      EXPECT_FALSE(ec);
      EXPECT_EQ(id.substr(0, 5), "absj#");
    } else {
      notice("absj#0", "finish");
    }
    done.get_future().wait();
    EXPECT_FALSE(motion);
  }
}

TEST_F(MotionLifeTest, DestructionWaitsForARunningWatcherAndStartsNone) {
  std::promise<void> inside, go;
  std::atomic<bool> over{false};
  watch([&](const EventInfo&) {
    inside.set_value();
    go.get_future().wait();
    over = true;
  });
  notice("a", "finish");
  inside.get_future().wait();
  for (int i = 0; i < 100; ++i) notice("b", "finish");
  settle();
  std::thread release([&] {
    controller.waitForRequest("move.last_error_with_setting");  // the destructor has begun
    go.set_value();
  });
  motion.reset();
  EXPECT_TRUE(over);
  EXPECT_EQ(heard.all().size(), 1u);
  release.join();
}

TEST_F(MotionLifeTest, DestructionLeavesAWatcherThatDoesNotReturn) {
  std::promise<void> inside;
  const auto go = std::make_shared<std::promise<void>>();
  const auto over = std::make_shared<std::promise<void>>();
  std::future<void> ended = over->get_future();
  motion->setEventHandler([&inside, go, over](const EventInfo&) {
    inside.set_value();
    go->get_future().wait();
    over->set_value();
  });
  notice("a", "finish");
  inside.get_future().wait();
  const auto begun = std::chrono::steady_clock::now();
  motion.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - begun, longestWait);
  go->set_value();
  ended.wait();
}

TEST_F(MotionLifeTest, AppendingAgainOnADeadLinkDoesNotRecurse) {
  constexpr int again = 2000;
  std::atomic<int> calls{0};
  std::atomic<int> deepest{0};
  watch([&](const EventInfo&) {
    static thread_local int depth = 0;
    deepest = std::max(deepest.load(), ++depth);
    if (++calls < again) append();
    --depth;
  });
  killController();
  append();
  ASSERT_TRUE(eventually([&] { return calls == again; }));
  EXPECT_EQ(deepest, 1);
}

TEST_F(MotionLifeTest, HostileMessagesEndNothing) {
  watch();
  for (const char* n : {"5", "\"x\"", "[]", "null", R"({"error":{},"data":{"id":[],"point":1e300,"msg":7}})",
                        R"({"error":true,"data":"finish"})"}) {
    controller.push(std::string(R"({"move.last_error_with_setting":)") + n + "}");
  }
  controller.send("{\"id\":\"l#1\",\"c\":[-3]}\r{\"id\":\"\",\"c\":{\"\":-3}}\r{\"id\":\"x\",\"y\":1}\r");
  for (int i = 0; i < 5000; ++i) notice("flood#1", "finish");
  notice("mark", "finish");
  ASSERT_TRUE(heard.waitUntil(
      [](const auto& events) { return !events.empty() && cmdIdOf(events.back()) == "mark"; }));
  EXPECT_EQ(motion->inFlight(), 0u);
}

// Everything at once; what is checked is that all of it ends, and the sanitizers.
TEST_F(MotionLifeTest, AllAtOnce) {
  std::atomic<bool> ends{false};
  motion->setMaxCacheSize(5);
  controller.answerBy("move.j", [](const Request& request) {
    std::string id = request.id;
    return std::vector{request.reply("0"), R"({"n":{"move.last_error_with_setting":{"data":{"id":)" + id +
                                               R"(,"msg":"finish","point":0}}},"ts":0})"};
  });
  std::vector<std::thread> threads;
  const auto repeat = [&](auto work) {
    threads.emplace_back([&ends, work] {
      while (!ends) work();
    });
  };
  for (int i = 0; i < 3; ++i) repeat([&] { append(); });
  repeat([&] {
    std::error_code ec;
    motion->moveReset(ec);
    motion->moveStart(ec);
  });
  repeat([&] {
    watch([this](const EventInfo&) { append(); });
    (void)motion->eventInfo();
    motion->setEventHandler(nullptr);
  });
  repeat([&] {
    std::error_code ec;
    motion->_stop(ec);
    motion->_start();
  });
  EXPECT_TRUE(controller.waitForRequest("move.last_error_with_setting", 40));
  EXPECT_TRUE(controller.waitForRequest("move.j", 100));
  ends = true;
  for (std::thread& thread : threads) thread.join();
  motion->setEventHandler(nullptr);
  std::error_code ec;
  motion->moveReset(ec);
  EXPECT_FALSE(ec);
  EXPECT_EQ(motion->inFlight(), 0u);
}

}  // namespace
}  // namespace zivra::test
