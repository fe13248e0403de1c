// Moves of managed robots, and where their events go.
#include <thread>
#include <vector>

#include "binding/managed.h"

namespace zivra::test {

namespace {

// Entries of the tables that a delegate heard, and the thread.
struct Told {
  clr::Dictionary table;
  std::thread::id thread;
};

template <class T>
T valueOf(const clr::Dictionary& table, const char* key) {
  const auto* value = table.find(key);
  const T* held = value == nullptr ? nullptr : std::get_if<T>(value);
  EXPECT_NE(held, nullptr) << key;
  return held == nullptr ? T{} : *held;
}

TEST_F(Managed, MovesRunAndTellTheDelegate) {
  startController();
  Heard<Told> heard;
  clr::TandiRobot robot(address());
  robot.setOperateMode(clr::OperateMode::automatic, ec_);
  done("mode");
  robot.setPowerState(true, ec_);
  done("power");
  robot.setEventWatcher(
      clr::Event::moveExecution,
      [&](const clr::Dictionary& table) {
        heard.add({table, std::this_thread::get_id()});
      },
      ec_);
  done("watcher");
  const auto joints = robot.jointPos(ec_);
  List<clr::MoveCommand> moves(2);
  for (auto& move : moves) {
    move.jointTarget->joints = List<double>(joints);
    move.speed = 500;
    move.customInfo = "caf\u00e9";
  }
  moves[1].jointTarget->joints[0] += 0.1;
  String id;
  robot.moveAppend(clr::MoveCommand::Type::MoveAbsJ, moves, id, ec_);
  done("append");
  EXPECT_FALSE(id.text().empty());
  clr::MoveCommand wait;
  *wait.args = {0.01};
  for (const String& before : {id, String(nullptr)}) {
    String same = before;
    robot.moveAppend(clr::MoveCommand::Type::MoveWait, wait, same, ec_);
    done("wait");
    EXPECT_EQ(same, before);
  }
  robot.moveStart(ec_);
  done("start");
  const auto reached = [](const Told& told) {
    return valueOf<bool>(told.table, "reachTarget") && valueOf<int>(told.table, "wayPointIndex") == 1;
  };
  ASSERT_TRUE(heard.waitUntil([&](const auto& all) { return std::any_of(all.begin(), all.end(), reached); }));
  const auto all = heard.all();
  const Told& last = *std::find_if(all.begin(), all.end(), reached);
  EXPECT_NE(last.thread, std::this_thread::get_id());
  EXPECT_EQ(valueOf<String>(last.table, "cmdID"), id);
  EXPECT_EQ(valueOf<String>(last.table, "customInfo"), String("caf\u00e9"));
  EXPECT_EQ(valueOf<ErrorCode>(last.table, "error").value(), 0);
  EXPECT_FALSE(robot.queryEventInfo(clr::Event::moveExecution, ec_).empty());
  done("query");

  // Nothing to do, and nothing done.
  const auto requests = controller().requests().size();
  const auto unknown = static_cast<clr::MoveCommand::Type>(99);
  for (const auto type : {clr::MoveCommand::Type::MoveWait, unknown}) {
    ec_ = ErrorCode(-99, "");
    robot.executeCommand(type, moves, ec_);
    done("no move");
  }
  String none;
  robot.moveAppend(unknown, moves, none, ec_);
  done("no kind");
  EXPECT_EQ(none, String(""));
  EXPECT_EQ(controller().requests().size(), requests);

  // The caller's own list is completed, also by way of a single move, and by a batch that is refused.
  clr::MoveCommand circle;
  robot.moveAppend(clr::MoveCommand::Type::MoveCF, circle, id, ec_);
  EXPECT_EQ(circle.args, std::vector<double>(2));
  List<clr::MoveCommand> many(101);
  robot.moveAppend(clr::MoveCommand::Type::MoveSP, many, id, ec_);
  EXPECT_EQ(ec_.value(), 259);
  EXPECT_EQ(many.back().args, std::vector<double>(4));
  List<clr::MoveCommand> empty;
  robot.moveAppend(clr::MoveCommand::Type::MoveL, empty, id, ec_);
  EXPECT_EQ(ec_.value(), 259);
  robot.setEventWatcher(clr::Event::moveExecution, nullptr, ec_);
}

TEST_F(Managed, EventsOfAllRobotsGoToTheLastDelegate) {
  startController();
  LoopbackAddress otherAddress(70);
  sim::Options options;
  options.address = otherAddress.text();
  sim::Controller otherController(options);
  otherController.start();

  Heard<int> first, second;
  const auto to = [](Heard<int>& heard) {
    return [&heard](const clr::Dictionary& table) { heard.add(valueOf<bool>(table, "collided") ? 1 : 0); };
  };
  {
    clr::TandiRobot robot(address()), other(otherAddress.text());
    robot.setEventWatcher(clr::Event::safety, to(first), ec_);
    done("first");
    other.setEventWatcher(clr::Event::safety, to(second), ec_);
    done("second");
    // Whoever answers this has taken the request for news before it.
    robot.powerState(ec_);
    other.powerState(ec_);
    controller().collide();
    ASSERT_TRUE(second.waitFor(1));
    otherController.collide();
    ASSERT_TRUE(second.waitFor(2));
    EXPECT_TRUE(first.all().empty());

    for (const int kind : {4, -1}) {
      ec_ = ErrorCode(-99, "");
      robot.setEventWatcher(static_cast<clr::Event>(kind), to(first), ec_);
      done("no kind of event");
    }
    // Null, which also resets the kind's table, drops the events of both.
    other.setEventWatcher(clr::Event::safety, nullptr, ec_);
    done("null");
    other.powerState(ec_);
    controller().collide();
    otherController.collide();
    // The kind's table tells that the news has come; its watcher then has nobody to tell.
    ASSERT_TRUE(
        eventually([&] { return valueOf<bool>(other.queryEventInfo(clr::Event::safety, ec_), "collided"); }));
  }
  EXPECT_EQ(second.all().size(), 2u);
  EXPECT_TRUE(first.all().empty());
}

// Counts its copies.
struct Copied {
  Copied(Heard<int>& to, int& count) : heard(to), copies(count) {}
  Copied(const Copied& other) : heard(other.heard), copies(other.copies) { ++copies; }
  Copied& operator=(const Copied&) = delete;
  void operator()(const clr::Dictionary&) const { heard.add(copies); }

  Heard<int>& heard;
  int& copies;
};

TEST_F(Managed, EventsDontCopyTheDelegate) {
  startController();
  int copies = 0;
  Heard<int> heard;
  clr::TandiRobot robot(address());
  robot.setEventWatcher(clr::Event::safety, Copied(heard, copies), ec_);
  const int before = copies;
  robot.powerState(ec_);  // whoever answers this has taken the request for news before it
  controller().collide();
  ASSERT_TRUE(heard.waitFor(1));
  robot.setEventWatcher(clr::Event::safety, nullptr, ec_);
  EXPECT_EQ(heard.all().front(), before);
}

TEST_F(Managed, ConnectionHandlerHearsTheLink) {
  startController();
  Heard<bool> heard;
  clr::TandiRobot robot;
  robot.setConnectionHandler([&](bool up) { heard.add(up); });
  robot.connectToRobot(address());
  ASSERT_TRUE(heard.waitFor(1));
  robot.Dispose();
  ASSERT_FALSE(heard.all().empty());
  EXPECT_TRUE(heard.all().front());
}

}  // namespace

}  // namespace zivra::test
