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

const CartesianPosition here({0.4, 0.1, 0.5}, {3.1, 0.2, 3.1});
const CartesianPosition there({0.5, 0.1, 0.5}, {3.1, 0.2, 3.1});
const CartesianPosition aside({0.5, 0.2, 0.5}, {3.1, 0.2, 3.1});

// Numbers as people write them; the wire has 17 digits.
std::string spelledOut(std::string text) {
  const std::pair<const char*, const char*> reals[] = {{"<0.1>", "0.10000000000000001"},
                                                       {"<0.2>", "0.20000000000000001"},
                                                       {"<0.4>", "0.40000000000000002"},
                                                       {"<1.2>", "1.2"},
                                                       {"<3.1>", "3.1000000000000001"},
                                                       {"<6.28>", "6.2800000000000002"},
                                                       {"<0.02>", "0.02"},
                                                       {"<0.005>", "0.0050000000000000001"}};
  for (const auto& [mark, real] : reals) {
    for (std::size_t at; (at = text.find(mark)) != std::string::npos;)
      text.replace(at, std::string(mark).size(), real);
  }
  return text;
}

TEST_F(MotionControlTest, WholeRequests) {
  std::error_code ec;
  std::string id;
  std::vector<std::string> ids;
  const auto send = [&](const auto& command) {
    motion->appendCommand(std::vector{command}, id, ec);
    EXPECT_FALSE(ec);
    ids.push_back(id);
  };
  send(MoveAbsJCommand({0.1, 0.5, 1.2, 0.1, 1.5, 0.1}, 500, 10));
  send(MoveLCommand(here));
  std::vector<MoveLCommand> two{MoveLCommand(here), MoveLCommand(there, 200)};
  two[1].customInfo = "b";
  two[1].rotSpeed = 1.5;
  motion->appendCommand(two, id, ec);
  ids.push_back(id);
  MoveJCommand joint(here);
  joint.cartTargetOffset = {CartesianPosition::Offset::Type::relTool, {{0, 0, 0.1}, {0, 0, 0}}};
  send(joint);
  MoveCFCommand circle(here, aside, 6.28);
  circle.rotType = MoveCFCommand::RotType::rotAxis;
  send(circle);
  send(MoveSPCommand(here, 0.02, 0.005, 12.5, true, 200));
  send(MoveWaitCommand(std::chrono::milliseconds(500)));
  Json::Value replay;
  replay["name"] = "a";
  replay["rate"] = 1.5;
  motion->appendReplay(replay);
  send(MoveCCommand(here, aside));
  ASSERT_TRUE(waitForBatches(9));

  const std::string pose = R"("rot":[<3.1>,<0.2>,<3.1>],)";
  const std::string h = R"({"elb":0.0,)" + pose + R"("trans":[<0.4>,<0.1>,0.5]})";
  const std::string t = R"({"elb":0.0,)" + pose + R"("trans":[0.5,<0.1>,0.5]})";
  const std::string a = R"({"elb":0.0,)" + pose + R"("trans":[0.5,<0.2>,0.5]})";
  const std::pair<std::string, std::string> rows[] = {
      {R"({"move.j":{"point":[<0.1>,0.5,<1.2>,<0.1>,1.5,<0.1>],"traj":{"speed":0.5,"zone":0.01}}})", "absj"},
      {R"({"move.l":{"point":)" + h + "}}", "l"},
      {R"({"move.l":{"path":[{"point":)" + h + R"(},{"custom":"b","point":)" + t +
           R"(,"traj":{"rot_speed":1.5,"speed":<0.2>}}]}})",
       "l"},
      {R"({"move.jc":{"point":{"elb":0.0,"offset":{"rot":[0.0,0.0,0.0],"trans":[0.0,0.0,<0.1>],"type":"reltool"},)" +
           pose + R"("trans":[<0.4>,<0.1>,0.5]}}})",
       "j"},
      {R"({"move.cf":{"aux":)" + a + R"(,"circle":{"angle":<6.28>,"rot_type":"rot_axis"},"point":)" + h +
           "}}",
       "cf"},
      {R"({"move.sp":{"point":)" + h +
           R"(,"spiral":{"angle":12.5,"dir":true,"radius":<0.02>,"step":<0.005>},"traj":{"speed":<0.2>,"zone":0.0}}})",
       "sp"},
      {R"({"move.wait":{"time":0.5}})", "wait"},
      {R"({"move.replay":{"name":"a","rate":1.5}})", "path"},
      {R"({"move.c":{"aux":)" + a + R"(,"point":)" + h + "}}", "c"},
  };
  const unsigned long first = std::stoul(ids[0].substr(ids[0].find('#') + 1));
  const std::vector<std::string> frames = controller.frames();
  ASSERT_EQ(frames.size(), std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const std::string expectedId = rows[i].second + "#" + std::to_string(first + i);
    EXPECT_EQ(frames[i], R"({"c":)" + spelledOut(rows[i].first) + R"(,"id":")" + expectedId + "\"}");
  }
  EXPECT_EQ(motion->inFlight(), 9u);  // nine moves in eight batches, the wait not counted
  EXPECT_TRUE(logger->has("I Append cmd " + ids[0]));
  EXPECT_TRUE(logger->has("I Push cmd replay, id path#" + std::to_string(first + 7)));
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
