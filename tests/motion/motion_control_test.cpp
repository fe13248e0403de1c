// The operations of the motion queue against a scripted controller on a real socket.
#include "motion_control/motion_control.h"

#include <future>
#include <gtest/gtest.h>
#include <thread>

#include <zivra/error.h>

#include "motion/motion_fixture.h"

namespace zivra::test {
namespace {

using State = MotionControl<1>::State;

using MotionControlTest = MotionTest;

TEST_F(MotionControlTest, BatchesAreNumberedInTurnAndTheirMovesCounted) {
  std::vector<std::string> ids;
  const auto send = [&](const auto& batch) {
    std::error_code ec;
    motion->appendCommand(batch, ids.emplace_back(), ec);
    EXPECT_FALSE(ec);
  };
  send(std::vector<MoveAbsJCommand>(1));
  send(std::vector<MoveLCommand>(2));
  send(std::vector{MoveWaitCommand(std::chrono::milliseconds(500))});
  send(std::vector<MoveJCommand>(1));
  send(std::vector<MoveCCommand>(1));
  send(std::vector<MoveCFCommand>(1));
  send(std::vector<MoveSPCommand>(1));
  Json::Value replay;
  replay["name"] = "a";
  motion->appendReplay(replay);
  ASSERT_TRUE(waitForBatches(8));
  unsigned long number = std::stoul(ids[0].substr(ids[0].find('#') + 1));
  std::vector<std::string> expected;
  for (const char* kind : {"absj", "l", "wait", "j", "c", "cf", "sp", "path"})
    expected.push_back(kind + ("#" + std::to_string(number++)));
  EXPECT_EQ(batchIds(), expected);
  EXPECT_TRUE(logger->has("I Append cmd " + ids[0]));
  EXPECT_TRUE(logger->has("I Push cmd replay, id " + expected.back()));
  expected.pop_back();
  EXPECT_EQ(ids, expected) << "as the caller was told";
  EXPECT_EQ(motion->inFlight(), 8u) << "two lines in one batch, the wait not counted";
}

TEST_F(MotionControlTest, BatchSizes) {
  const std::string before = append();
  for (const std::size_t size : {0, 101}) {
    std::error_code ec;
    std::string id = "untouched";
    const std::vector<MoveLCommand> batch(size);
    motion->appendCommand(batch, id, ec);
    EXPECT_EQ(ec, Code::argumentInvalid);
    EXPECT_EQ(id, "untouched");
    motion->executeCommand(batch, ec);
    EXPECT_EQ(ec, Code::argumentInvalid);
  }
  const std::string after = append(100);
  EXPECT_EQ(std::stoul(after.substr(5)), std::stoul(before.substr(5)) + 1);
  settle();
  EXPECT_EQ(batchIds(), (std::vector<std::string>{before, after}));
  EXPECT_EQ(controller.count("move.continue"), 0u);
  EXPECT_EQ(motion->inFlight(), 101u);
}

TEST_F(MotionControlTest, TheThirdWaitsForAFinish) {
  motion->setMaxCacheSize(2);
  const std::vector<std::string> ids{append(), append(), append()};
  settle();
  EXPECT_EQ(batchIds().size(), 2u);
  notice("elsewhere", "finish");
  notice(ids[0], "moving");
  notice(ids[0] + "*text", "finish");
  ASSERT_TRUE(waitForBatches(3));
  EXPECT_EQ(batchIds(), ids);
  EXPECT_EQ(motion->inFlight(), 2u);
}

struct NoticeRow {
  const char* name;
  const char* id;
  const char* msg;
  const char* error;
  unsigned inFlight;  // of 3
  bool queueKept;     // one batch waits
  int watcherError;   // 1: not called
};

TEST_F(MotionControlTest, Notices) {
  const NoticeRow rows[] = {
      {"progress", "absj#1", "moving", "", 3, true, 1},
      {"finish", "absj#1", "finish", "", 3, false, 0},  // one ends, the one that waited goes out
      {"finish of another origin", "teach", "finish", "", 3, true, 0},
      {"error", "absj#1", "no", "-50002", 0, false, -50002},
      {"singularity", "absj#1", "ik", "-1", 0, false, -33},
      {"stopped without a reason", "absj#1", "no", "-257", 0, false, 1},
  };
  watch();
  motion->setMaxCacheSize(3);
  for (const NoticeRow& row : rows) {
    std::error_code ec;
    motion->moveReset(ec);
    ASSERT_FALSE(ec);
    controller.forgetRequests();
    for (int i = 0; i < 4; ++i) append();
    const std::size_t calls = heard.all().size();
    notice(row.id, row.msg, 7, row.error);
    ASSERT_TRUE(eventually([&] { return valueOf<int>(motion->eventInfo(), "wayPointIndex") == 7; }))
        << row.name;
    if (row.watcherError == 1) {
      // A finish of another origin follows; its call shows that there was none before.
      notice("mark", "finish", 8);
      ASSERT_TRUE(heard.waitFor(calls + 1));
      EXPECT_EQ(heard.all().size(), calls + 1) << row.name;
      EXPECT_EQ(cmdIdOf(heard.all().back()), "mark") << row.name;
    } else {
      ASSERT_TRUE(heard.waitFor(calls + 1)) << row.name;
      EXPECT_EQ(errorOf(heard.all().back()), row.watcherError) << row.name;
      EXPECT_EQ(cmdIdOf(heard.all().back()), row.id) << row.name;
    }
    EXPECT_TRUE(eventually([&] { return motion->inFlight() == row.inFlight; })) << row.name;
    settle();
    const bool wentOut = std::string(row.msg) == "finish" && !row.queueKept;
    EXPECT_EQ(batchIds().size(), wentOut ? 4u : 3u) << row.name;
    if (row.inFlight == 0) {  // what waited is gone: the next one goes out at once, alone
      append();
      settle();
      EXPECT_EQ(batchIds().size(), 4u) << row.name;
      EXPECT_EQ(motion->inFlight(), 1u) << row.name;
    }
  }
  EXPECT_TRUE(logger->has("I Notified absj#1 [7] finish:true (0)"));
  EXPECT_TRUE(logger->has("I Notified absj#1 [7] finish:false (-33)"));
}

TEST_F(MotionControlTest, ARefusedBatchIsToldWithItsCustomText) {
  watch();
  controller.answerBy("move.j", [](const Request& request) {
    return std::vector{R"({"c":{"move.j":-17},"id":)" + request.id.substr(0, request.id.size() - 1) +
                       "*mine\"}"};
  });
  motion->setMaxCacheSize(1);
  const std::string id = append();
  ASSERT_TRUE(heard.waitFor(1));
  EXPECT_EQ(errorOf(heard.all()[0]), -17);
  EXPECT_EQ(cmdIdOf(heard.all()[0]), id);
  EXPECT_EQ(valueOf<std::string>(heard.all()[0], "customInfo"), "mine");
  EXPECT_TRUE(eventually([&] { return motion->inFlight() == 0; }));
}

TEST_F(MotionControlTest, AFailedSendIsToldOnTheCallersThread) {
  std::thread::id on;
  watch([&](const EventInfo&) { on = std::this_thread::get_id(); });
  killController();
  const std::string id = append(5);
  const auto events = heard.all();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(on, std::this_thread::get_id());
  EXPECT_EQ(cmdIdOf(events[0]), id);
  EXPECT_EQ(errorOf(events[0]), 256);
  EXPECT_FALSE(valueOf<bool>(events[0], "reachTarget"));
  EXPECT_EQ(cmdIdOf(motion->eventInfo()), id);
  EXPECT_EQ(motion->inFlight(), 0u);
  EXPECT_TRUE(logger->has("E Send command " + id + " (256)"));
  // Nothing of it goes out when the controller is back.
  controller.forgetRequests();
  controller.listen();
  ASSERT_TRUE(eventually([&] { return service->connected(); }));
  const std::string next = append();
  settle();
  EXPECT_EQ(batchIds(), std::vector<std::string>{next});
}

struct ResetRow {
  const char* answer;
  int code;
  bool accepted;
};

TEST_F(MotionControlTest, Reset) {
  const ResetRow rows[] = {{"0", 0, true},    {"\"done\"", 0, true}, {"null", 0, true},
                           {"-3", -3, false}, {"7", 7, false},       {"4294967296", 257, false}};
  for (const ResetRow& row : rows) {
    std::error_code ec;
    controller.answer("move.reset", "0");
    motion->moveReset(ec);
    controller.answer("move.continue", "0");
    motion->moveStart(ec);
    motion->setMaxCacheSize(1);
    append();
    const std::string waiting = append();
    notice("mark", "moving", 5);
    ASSERT_TRUE(eventually([&] { return cmdIdOf(motion->eventInfo()) == "mark"; }));
    controller.forgetRequests();
    controller.answer("move.reset", row.answer);
    motion->moveReset(ec);
    EXPECT_EQ(ec, std::error_code(row.code, category())) << row.answer;
    EXPECT_EQ(controller.frames()[0].substr(0, 41), R"({"c":{"move.reset":{"remain_traj":true}},)");
    EXPECT_EQ(motion->state(), row.accepted ? State::idle : State::running) << row.answer;
    EXPECT_EQ(motion->inFlight(), row.accepted ? 0u : 1u) << row.answer;
    EXPECT_EQ(cmdIdOf(motion->eventInfo()), row.accepted ? "" : "mark") << row.answer;
    motion->setMaxCacheSize(300);
    const std::string next = append();
    const auto left = row.accepted ? std::vector<std::string>{next} : std::vector<std::string>{waiting, next};
    ASSERT_TRUE(waitForBatches(left.size()));
    EXPECT_EQ(batchIds(), left) << row.answer;
  }
}

TEST_F(MotionControlTest, NothingSlipsOutBehindAResetUnderWay) {
  for (const char* answer : {"-3", "0"}) {
    controller.forgetRequests();
    std::string during;
    std::promise<void> arrived;
    std::promise<void> appended;
    controller.answerBy("move.reset", [&](const Request& request) {
      arrived.set_value();
      appended.get_future().wait();
      return std::vector{request.reply(answer)};
    });
    std::thread resetting([&] {
      std::error_code ec;
      motion->moveReset(ec);
    });
    arrived.get_future().wait();
    during = append();
    EXPECT_EQ(motion->inFlight(), 0u);
    appended.set_value();
    resetting.join();
    const bool refused = std::string(answer) != "0";
    if (refused) {
      ASSERT_TRUE(waitForBatches(1));
      EXPECT_EQ(batchIds()[0], during);
      EXPECT_EQ(controller.requests()[0].key, "move.reset");
      std::error_code ec;
      notice(during, "finish");
      ASSERT_TRUE(eventually([&] { return motion->inFlight() == 0; }));
    } else {
      settle();
      EXPECT_EQ(batchIds().size(), 0u);
    }
  }
}

TEST_F(MotionControlTest, NoticesOfBeforeAResetDontTouchWhatComesAfter) {
  std::promise<void> inside, go;
  watch([&](const EventInfo& event) {
    if (cmdIdOf(event) != "block") return;
    inside.set_value();
    go.get_future().wait();
  });
  notice("block", "finish");
  inside.get_future().wait();
  notice("old#1", "no", 3, "-50002");
  notice("old#2", "finish", 3);
  settle();  // both have arrived by then
  std::error_code ec;
  motion->moveReset(ec);
  ASSERT_FALSE(ec);
  append();
  go.set_value();
  notice("mark", "finish", 9);
  ASSERT_TRUE(heard.waitUntil([](const auto& events) { return cmdIdOf(events.back()) == "mark"; }));
  EXPECT_EQ(heard.all().size(), 2u);
  EXPECT_EQ(motion->inFlight(), 1u);
}

struct StartRow {
  const char* answer;
  int code;
  State after;
};

TEST_F(MotionControlTest, StartAndStop) {
  const StartRow starts[] = {{"0", 0, State::running},    {"-1", 768, State::idle},
                             {"-17", -17, State::idle},   {"null", 257, State::idle},
                             {"\"0\"", 257, State::idle}, {"0.0", 257, State::idle}};
  std::error_code ec;
  for (const StartRow& row : starts) {
    motion->moveReset(ec);
    controller.forgetRequests();
    controller.answer("move.continue", row.answer);
    motion->moveStart(ec);
    EXPECT_EQ(ec, std::error_code(row.code, category())) << row.answer;
    EXPECT_EQ(motion->state(), row.after) << row.answer;
    EXPECT_EQ(controller.frames().at(0).substr(0, 26), R"({"c":{"move.continue":0},")");
  }
  const StartRow stops[] = {{"0", 0, State::paused},
                            {"-1", 769, State::paused},
                            {"-5", -5, State::paused},
                            {"[]", 257, State::paused}};
  controller.answer("move.continue", "0");
  for (const StartRow& row : stops) {
    motion->moveStart(ec);
    controller.forgetRequests();
    controller.answer("move.pause", row.answer);
    motion->stop(ec);
    EXPECT_EQ(ec, std::error_code(row.code, category())) << row.answer;
    EXPECT_EQ(motion->state(), row.after) << row.answer;
    EXPECT_EQ(controller.frames().at(0).substr(0, 26), R"({"c":{"move.pause":null},")");
  }
}

TEST_F(MotionControlTest, StopEndsAJogOnce) {
  std::error_code ec;
  motion->moveStart(ec);
  controller.forgetRequests();
  motion->setJogging(true);
  motion->stop(ec);
  EXPECT_FALSE(ec);
  EXPECT_EQ(motion->state(), State::running);
  EXPECT_EQ(controller.frames().at(0).substr(0, 38), R"({"c":{"move.stop":{"task_space":1}},"i)");
  EXPECT_TRUE(logger->has("I stop jogging"));
  motion->stop(ec);
  EXPECT_EQ(controller.requests().at(1).key, "move.pause");
  EXPECT_EQ(motion->state(), State::paused);
}

TEST_F(MotionControlTest, ExecuteGoesPastTheQueue) {
  motion->setMaxCacheSize(1);
  append();
  const std::string waiting = append();
  settle();
  controller.forgetRequests();
  controller.answer("move.continue", "-1");
  std::error_code ec;
  motion->executeCommand(std::vector{MoveAbsJCommand({0.5})}, ec);
  EXPECT_FALSE(ec);  // the reply isn't judged
  EXPECT_EQ(motion->state(), State::running);
  EXPECT_EQ(motion->inFlight(), 1u);
  const auto frames = controller.frames();
  ASSERT_EQ(frames.size(), 2u);
  EXPECT_EQ(frames[0].substr(0, 39), R"({"c":{"move.j":{"point":[0.5]}},"id":)" + frames[0].substr(37, 2));
  EXPECT_NE(frames[0][37], '"');
  EXPECT_EQ(frames[1].substr(0, 29), R"({"c":{"move.continue":null},")");
  EXPECT_TRUE(logger->has("I executeCommand (0)"));

  killController();
  motion->executeCommand(std::vector{MoveAbsJCommand({0.5})}, ec);
  EXPECT_EQ(ec, Code::network);
  EXPECT_FALSE(logger->has("I executeCommand (256)"));
}

}  // namespace
}  // namespace zivra::test
