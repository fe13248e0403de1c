// What the controller tells of its own accord: tables, watchers, and the threads that they run on.
#include <algorithm>
#include <any>
#include <fmt/format.h>
#include <future>
#include <map>
#include <thread>

#include "robot/event_news.h"

namespace zivra::test {

namespace {

using Events = RobotTest;
using Ec = std::error_code;
using Texts = std::vector<std::string>;

// Lines of this process's global log, which earlier tests may have written to, with that text.
std::ptrdiff_t countInGlobalLog(const std::string& text) {
  const auto log = globalLog();
  return std::count_if(log.begin(), log.end(), [&](const std::string& line) {
    return line.starts_with("E: uid: scripted | " + text);
  });
}

// The table's entries in the order of their names, as "collided=true".
std::string textOf(const EventInfo& table) {
  std::map<std::string, std::string> entries;
  for (const auto& [name, value] : table) {
    if (const auto* flag = std::any_cast<bool>(&value)) {
      entries[name] = *flag ? "true" : "false";
    } else if (const auto* number = std::any_cast<int>(&value)) {
      entries[name] = std::to_string(*number);
    } else if (const auto* text = std::any_cast<std::string>(&value)) {
      entries[name] = *text;
    } else {
      entries[name] = "another type";
    }
  }
  std::string all;
  for (const auto& [name, value] : entries) all += (all.empty() ? "" : " ") + name + "=" + value;
  return all;
}

std::string program(const char* task, const char* ahead, int aheadLine, const char* executed, int line) {
  return fmt::format("executeFile={} executeLine={} lookaheadFile={} lookaheadLine={} taskName={}", executed,
                     line, ahead, aheadLine, task);
}

const std::string defaults[] = {"collided=false", program("", "", 0, "", 0), "ecode=0 edetail="};
const std::string& defaultsOf(Event event) { return defaults[static_cast<int>(event) - 1]; }

struct Push {
  Event event;
  std::string payload;
  Texts heard;        // the table at each call
  std::string table;  // afterwards
};

std::vector<Push> pushes() {
  std::vector<Push> rows;
  for (const auto& [payload, collided] : {std::pair{"true", "collided=true"},
                                          {"false", "collided=false"},
                                          {"1", "collided=true"},
                                          {"0", "collided=false"}})
    rows.push_back({Event::safety, payload, {collided}, collided});
  const auto rl = [&](const char* payload, Texts heard, const std::string& table) {
    rows.push_back({Event::rlExecution, payload, std::move(heard), table});
  };
  const std::string ahead = program("t", "a.mod", 0, "", 0), both = program("t", "a", 6, "b", 4);
  rl(R"([{"task_name":"t","adv_line":{"file_name":"a.mod","line":1}}])", {ahead}, ahead);
  rl(R"([{"task_name":"t","adv_line":{"file_name":"a","line":7},"exe_line":{"file_name":"b","line":5}}])",
     {both}, both);
  rl(R"([{"task_name":"t","adv_line":{"file_name":"","line":7},"exe_line":{"file_name":"","line":5}}])", {},
     program("t", "", 0, "", 0));
  rl(R"([{"task_name":"t"}])", {}, program("t", "", 0, "", 0));
  const std::string first = program("one", "", 0, "a", 0), second = program("two", "b", 1, "a", 0);
  rl(R"([{"task_name":"one","exe_line":{"file_name":"a","line":1}},)"
     R"({"task_name":"none","exe_line":{"file_name":"","line":9}},)"
     R"({"task_name":"two","adv_line":{"file_name":"b","line":2}}])",
     {first, second}, second);
  // What doesn't fit is passed over, the rest of the push isn't.
  rl(R"([5,null,"x",[],{"task_name":"one","exe_line":{"file_name":"a","line":1}},{"task_name":5,"adv_line":[]}])",
     {first}, program("", "", 0, "a", 0));
  rl(R"([{"task_name":"t","adv_line":5,"exe_line":{"file_name":7,"line":1}}])", {},
     program("t", "", 0, "", 0));
  rl("[]", {}, program("", "", 0, "", 0));
  const auto log = [&](const char* payload, const char* table) {
    rows.push_back({Event::logReporter, payload, {table}, table});
  };
  log("5", "ecode=5 edetail=");
  log("-2147483648", "ecode=-2147483648 edetail=");
  log(R"({"error":-1})", "ecode=-1 edetail=");
  log(R"({"error":7,"data":"a \"b\""})", "ecode=7 edetail=a \"b\"");
  log(R"({"error":7,"data":{"a":1}})", "ecode=7 edetail=");
  log(R"({"error":"x","data":"kept"})", "ecode=0 edetail=kept");
  log(R"({})", "ecode=0 edetail=");
  // Of another shape altogether: nobody hears of them.
  for (const char* payload : {"\"x\"", "[true]", "{}", "null"})
    rows.push_back({Event::safety, payload, {}, defaultsOf(Event::safety)});
  for (const char* payload : {"5", "true", "{\"task_name\":\"t\"}", "null", "\"[]\""})
    rows.push_back({Event::rlExecution, payload, {}, defaultsOf(Event::rlExecution)});
  for (const char* payload : {"\"5\"", "[5]", "0.5", "true", "3000000000", "null"})
    rows.push_back({Event::logReporter, payload, {}, defaultsOf(Event::logReporter)});
  return rows;
}

TEST_F(Events, FillTheirTablesAndLoseNone) {
  Heard<std::string> heard;
  TandiRobot robot(address());
  for (const Push& row : pushes()) {
    SCOPED_TRACE(row.payload);
    Ec ec(1, std::generic_category());
    const std::size_t before = heard.all().size();
    robot.setEventWatcher(
        row.event, [&](const EventInfo& table) { heard.add(textOf(table)); }, ec);
    EXPECT_FALSE(ec) << ec.message();
    EXPECT_EQ(textOf(robot.queryEventInfo(row.event, ec)), defaultsOf(row.event))
        << "set back by each watcher";
    controller_.push(fmt::format(R"({{"{}":{}}})", keyOf(row.event), row.payload));
    robot.powerState(ec);  // an answer comes after what was pushed before it
    EXPECT_EQ(textOf(robot.queryEventInfo(row.event, ec)), row.table);
    EXPECT_FALSE(ec) << ec.message();
    controller_.push(newsOf(row.event));
    ASSERT_TRUE(heard.waitFor(before + row.heard.size() + 1)) << "the next one is heard";
    auto texts = heard.all();
    texts.erase(texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(before));
    texts.pop_back();
    EXPECT_EQ(texts, row.heard);
  }
}

TEST_F(Events, ReachEachKindThatWatches) {
  TandiRobot robot(address());
  Ec ec;
  // Unknown keys, and kinds that nobody watches, mean nothing.
  const std::string many =
      R"({"safety.event.collision":true,"nobody":[1],"log.user":3,"project.tasks_pointer":[)"
      R"({"task_name":"t","exe_line":{"file_name":"f","line":2}}]})";
  controller_.push(many);
  robot.powerState(ec);
  for (const Event event : pushed) {
    EXPECT_TRUE(robot.queryEventInfo(event, ec).empty());
    EXPECT_EQ(ec, Code::unregisteredEvent);
  }
  for (const Event event : pushed) robot.setEventWatcher(event, {}, ec);
  EXPECT_EQ(textOf(robot.queryEventInfo(Event::safety, ec)), "collided=false") << "what came before is gone";
  for (const char* n : {"5", "[]", "null", "\"safety.event.collision\"", many.c_str()}) controller_.push(n);
  robot.powerState(ec);
  EXPECT_EQ(textOf(robot.queryEventInfo(Event::safety, ec)), "collided=true");
  EXPECT_EQ(textOf(robot.queryEventInfo(Event::logReporter, ec)), "ecode=3 edetail=");
  EXPECT_EQ(textOf(robot.queryEventInfo(Event::rlExecution, ec)), program("t", "", 0, "f", 1));
  EXPECT_FALSE(ec) << ec.message();
}

TEST_F(Events, OfUnknownKindsAndOfNoConnection) {
  TandiRobot robot;
  Ec ec(1, std::generic_category());
  for (const int number : {4, -1, 1000}) {
    robot.setEventWatcher(
        static_cast<Event>(number), [](const EventInfo&) {}, ec);
    EXPECT_FALSE(ec) << ec.message();
    EXPECT_TRUE(robot.queryEventInfo(static_cast<Event>(number), ec).empty());
    EXPECT_EQ(ec, Code::argumentInvalid);
  }
  robot.setEventWatcher(Event::moveExecution, {}, ec);
  EXPECT_EQ(ec, Code::notConnected);
  EXPECT_TRUE(robot.queryEventInfo(Event::moveExecution, ec).empty());
  EXPECT_EQ(ec, Code::notConnected);
  for (const Event event : pushed) {
    robot.queryEventInfo(event, ec);
    EXPECT_EQ(ec, Code::unregisteredEvent);
    robot.setEventWatcher(event, {}, ec);
    EXPECT_FALSE(ec) << ec.message();
    EXPECT_EQ(textOf(robot.queryEventInfo(event, ec)), defaultsOf(event));
    EXPECT_FALSE(ec) << ec.message();
  }
  robot.connectToRobot(address());
  for (const Event event : pushed) EXPECT_TRUE(controller_.waitForRequest(keyOf(event)));
}

TEST_F(Events, AreWatchedAgainAfterADrop) {
  Heard<bool> told;
  Heard<std::string> heard;
  {
    TandiRobot robot(address());
    ASSERT_TRUE(controller_.waitForRequest(moveWatch, 2));
    robot.setConnectionHandler([&](bool up) { told.add(up); });
    Ec ec;
    robot.setEventWatcher(
        Event::safety, [&](const EventInfo& table) { heard.add(textOf(table)); }, ec);
    controller_.die();
    ASSERT_TRUE(told.waitFor(1));
    // On the dead link: a later connection has it.
    robot.setEventWatcher(
        Event::logReporter, [&](const EventInfo& table) { heard.add(textOf(table)); }, ec);
    EXPECT_FALSE(ec) << ec.message();
    EXPECT_EQ(textOf(robot.queryEventInfo(Event::logReporter, ec)), "ecode=0 edetail=");
    robot.setEventWatcher(
        Event::moveExecution, [&](const EventInfo&) { heard.add("move"); }, ec);
    EXPECT_EQ(ec, Code::network) << "told, but";
    controller_.forgetRequests();
    controller_.listen();
    ASSERT_TRUE(told.waitFor(2));
    ASSERT_TRUE(controller_.waitForRequest("log.user"));
    Texts frames;
    for (const Request& request : controller_.requests())
      frames.push_back(request.text.substr(request.text.find("\"w\"")));
    EXPECT_EQ(frames, (Texts{R"("w":{"move.last_error_with_setting":true}})",
                             R"("w":{"safety.event.collision":true}})", R"("w":{"log.user":true}})"}));
    const std::pair<Event, std::string> again[] = {{Event::safety, "collided=true"},
                                                   {Event::logReporter, "ecode=1 edetail="},
                                                   {Event::moveExecution, "move"}};
    for (const auto& [event, expected] : again) {
      const std::string& text = expected;
      controller_.push(newsOf(event));
      ASSERT_TRUE(heard.waitUntil([&](const Texts& texts) { return !texts.empty() && texts.back() == text; }))
          << text;
    }
    // Ending the connection ends no watch.
    robot.setEventWatcher(Event::rlExecution, {}, ec);
    robot.disconnectFromRobot(ec);
    controller_.forgetRequests();
    robot.connectToRobot(ec);
    EXPECT_FALSE(ec) << ec.message();
    for (const Event event : pushed) EXPECT_TRUE(controller_.waitForRequest(keyOf(event)));
  }
  const std::string head = "uid: scripted | re-watch event: moveExecution ";
  for (const auto& log : {robotLog("scripted"), globalLog()}) {
    Texts lines;
    std::copy_if(log.begin(), log.end(), std::back_inserter(lines),
                 [](const std::string& line) { return line.find("re-watch") != std::string::npos; });
    // The first connection's line comes before there is a log of the robot's own. Connecting anew sends the
    // watches both as the link comes up and at the end.
    ASSERT_GE(lines.size(), 3u);
    lines.erase(lines.begin(), lines.end() - 3);
    const std::string both = head + "safety rlExecution logReporter ";
    EXPECT_EQ(lines, (Texts{head + "safety logReporter ", both, both}));
  }
}

TEST_F(Events, AreHeardInOrderOnAThreadForEachKind) {
  Heard<std::thread::id> link;
  Heard<std::pair<Event, std::thread::id>> threads;
  Heard<int> numbers;
  TandiRobot robot;
  robot.setConnectionHandler([&](bool) { link.add(std::this_thread::get_id()); });
  robot.connectToRobot(address());
  Ec ec;
  for (const Event event : everyKind) {
    robot.setEventWatcher(
        event,
        [&, event](const EventInfo& table) {
          if (event == Event::logReporter) numbers.add(std::any_cast<int>(table.at("ecode")));
          threads.add({event, std::this_thread::get_id()});
        },
        ec);
  }
  constexpr int count = 900;  // fewer than may wait
  for (int i = 0; i < count; ++i) {
    controller_.push(fmt::format(R"({{"log.user":{}}})", i));
    if (i % 100 == 0) {
      for (const Event event : {Event::moveExecution, Event::safety, Event::rlExecution})
        controller_.push(newsOf(event));
    }
  }
  ASSERT_TRUE(threads.waitFor(count + 3 * 9));
  std::vector<int> expected(count);
  for (int i = 0; i < count; ++i) expected[static_cast<std::size_t>(i)] = i;
  EXPECT_EQ(numbers.all(), expected);
  auto ids = threads.all();
  std::sort(ids.begin(), ids.end());
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  ASSERT_EQ(ids.size(), 4u) << "one thread for each kind";
  std::vector<std::thread::id> distinct{link.all().front(), std::this_thread::get_id()};
  for (const auto& [event, id] : ids) distinct.push_back(id);
  std::sort(distinct.begin(), distinct.end());
  EXPECT_EQ(std::adjacent_find(distinct.begin(), distinct.end()), distinct.end());
}

TEST_F(Events, OfASlowWatcherAreDroppedOldestFirst) {
  constexpr int count = 100'000;
  const std::string tooSlow = "watcher of logReporter is too slow, oldest events are dropped";
  const auto linesBefore = countInGlobalLog(tooSlow);
  Heard<int> heard;
  std::promise<void> gate;
  {
    TandiRobot robot(address());
    Ec ec;
    robot.setEventWatcher(
        Event::logReporter,
        [&, open = gate.get_future().share()](const EventInfo& table) {
          heard.add(std::any_cast<int>(table.at("ecode")));
          open.wait_for(longestWait);
        },
        ec);
    std::string frames;
    for (int i = 0; i < count; ++i) frames += fmt::format("{{\"n\":{{\"log.user\":{}}},\"ts\":1}}\r", i);
    controller_.send(frames.substr(0, frames.size() / 2));
    ASSERT_TRUE(heard.waitFor(1));
    controller_.send(frames.substr(frames.size() / 2));
    for (int i = 0; i < 20; ++i) {
      EXPECT_EQ(robot.powerState(ec), PowerState::on);
      EXPECT_FALSE(ec) << ec.message();
    }
    EXPECT_EQ(textOf(robot.queryEventInfo(Event::logReporter, ec)),
              fmt::format("ecode={} edetail=", count - 1));
    EXPECT_EQ(heard.all().size(), 1u);
    gate.set_value();
    ASSERT_TRUE(heard.waitUntil([](const auto& numbers) { return numbers.back() == count - 1; }));
  }
  const auto numbers = heard.all();
  EXPECT_EQ(numbers.size(), 1001u);
  for (std::size_t i = 1; i < numbers.size(); ++i)
    ASSERT_EQ(numbers[i], count - 1001 + static_cast<int>(i)) << "the latest, without a gap";
  EXPECT_EQ(countInGlobalLog(tooSlow), linesBefore + 1);
}

TEST_F(Events, ThatAWatcherThrowsAtAreLogged) {
  const auto headOf = [](Event event) { return "Event watcher of " + to_string(event) + " throw: "; };
  std::vector<std::ptrdiff_t> lines;
  for (const Event event : pushed) {
    lines.push_back(countInGlobalLog(headOf(event) + "out of order"));
    lines.push_back(countInGlobalLog(headOf(event)));
  }
  Heard<int> heard;
  {
    TandiRobot robot(address());
    Ec ec;
    for (const Event event : pushed) {
      const std::size_t before = heard.all().size();
      robot.setEventWatcher(
          event,
          [&, before](const EventInfo&) {
            heard.add(0);
            if (heard.all().size() == before + 1) throw std::runtime_error("out of order");
            if (heard.all().size() == before + 2) throw 5;
          },
          ec);
      for (int i = 0; i < 3; ++i) controller_.push(newsOf(event));
      ASSERT_TRUE(heard.waitFor(before + 3));
    }
  }
  auto count = lines.begin();
  for (const Event event : pushed) {
    EXPECT_EQ(countInGlobalLog(headOf(event) + "out of order"), *count++ + 1);
    EXPECT_EQ(countInGlobalLog(headOf(event)), *count++ + 2);
  }
}

TEST_F(Events, WatchersMayReplaceThemselves) {
  Heard<std::string> heard;
  TandiRobot robot(address());
  for (const Event event : everyKind) {
    SCOPED_TRACE(to_string(event));
    const std::size_t before = heard.all().size();
    Ec ec;
    robot.setEventWatcher(
        event,
        [&, event](const EventInfo&) {
          Ec own;
          robot.setEventWatcher(
              event, [&](const EventInfo&) { heard.add("second"); }, own);
          EXPECT_FALSE(own) << own.message();
          heard.add("first");
        },
        ec);
    controller_.push(newsOf(event));
    ASSERT_TRUE(heard.waitFor(before + 1));
    controller_.push(newsOf(event));
    ASSERT_TRUE(heard.waitFor(before + 2));
    EXPECT_EQ(heard.all()[before], "first");
    EXPECT_EQ(heard.all()[before + 1], "second");
    robot.setEventWatcher(event, {}, ec);
  }
}

TEST_F(Events, OfABatchGoOnAfterADrop) {
  Heard<bool> told;
  Heard<std::pair<std::string, int>> finishes;
  TandiRobot robot(address());
  robot.setConnectionHandler([&](bool up) { told.add(up); });
  controller_.mute("move.l");
  Ec ec;
  robot.setMaxCacheSize(1, ec);  // the second batch waits for all of the first
  robot.setEventWatcher(
      Event::moveExecution,
      [&](const EventInfo& table) {
        if (std::any_cast<bool>(table.at("reachTarget")))
          finishes.add(
              {std::any_cast<std::string>(table.at("cmdID")), std::any_cast<int>(table.at("wayPointIndex"))});
      },
      ec);
  const auto finish = [&](const std::string& id, int point) {
    controller_.push(moveNotice(fmt::format(R"({{"id":"{}","point":{},"msg":"finish"}})", id, point)));
  };
  std::string id, next;
  robot.moveAppend(std::vector<MoveLCommand>(3, MoveLCommand(CartesianPosition())), id, ec);
  robot.moveAppend(std::vector<MoveLCommand>(3, MoveLCommand(CartesianPosition())), next, ec);
  ASSERT_TRUE(controller_.waitForRequest("move.l"));
  finish(id, 0);
  ASSERT_TRUE(finishes.waitFor(1));
  controller_.drop();
  ASSERT_TRUE(told.waitFor(2));
  finish(id, 1);
  ASSERT_TRUE(finishes.waitFor(2));
  EXPECT_EQ(controller_.count("move.l"), 1u);
  finish(id, 2);
  ASSERT_TRUE(finishes.waitFor(3));
  ASSERT_TRUE(controller_.waitForRequest("move.l", 2)) << "the count went on";
  finish(next, 0);
  ASSERT_TRUE(finishes.waitFor(4));
  EXPECT_EQ(finishes.all(), (std::vector<std::pair<std::string, int>>{{id, 0}, {id, 1}, {id, 2}, {next, 0}}));
}

}  // namespace

}  // namespace zivra::test
