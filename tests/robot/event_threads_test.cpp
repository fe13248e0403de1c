// What watchers may call, and what becomes of them when the robot goes.
#include <atomic>
#include <chrono>
#include <future>

#include "robot/event_news.h"

namespace zivra::test {

namespace {

using EventThreads = RobotTest;
using Ec = std::error_code;

// --- Calls from callbacks
// ------------------------------------------------------------------------------------

enum class Needs {
  nothing,    // waits for nobody
  answer,     // waits for the controller
  otherEnds,  // waits for threads to end
};

struct Call {
  const char* name;
  Needs needs;
  void (*run)(TandiRobot&, Ec&);
};

const CartesianPosition here({0.4, 0.1, 0.5}, {3.1, 0.2, 3.1});
std::string unreadId;
double unreadNumber = 0;
std::vector<double> unreadNumbers;

#define CALL(needs, expression)                                                             \
  {                                                                                         \
#expression, Needs::needs, [](TandiRobot & r, [[maybe_unused]] Ec & ec) { expression; } \
  }
const Call calls[] = {
    CALL(answer, r.robotInfo(ec)),
    CALL(answer, r.powerState(ec)),
    CALL(answer, r.setPowerState(true, ec)),
    CALL(answer, r.operateMode(ec)),
    CALL(answer, r.setOperateMode(OperateMode::automatic, ec)),
    CALL(answer, r.operationState(ec)),
    CALL(answer, r.jointPos(ec)),
    CALL(answer, r.jointVel(ec)),
    CALL(answer, r.jointTorque(ec)),
    CALL(answer, r.posture(CoordinateType::endInRef, ec)),
    CALL(answer, r.cartPosture(CoordinateType::endInRef, ec)),
    CALL(answer, r.baseFrame(ec)),
    CALL(answer, r.setBaseFrame(Frame(), ec)),
    CALL(answer, r.getStateList(ec)),
    CALL(answer, r.rebootSystem(ec)),
    CALL(answer, r.shutdownSystem(ec)),
    CALL(answer, r.clearServoAlarm(ec)),
    CALL(answer, r.recoverState(1, ec)),
    CALL(answer, r.setTeachPendantMode(true, ec)),
    CALL(answer, r.setDefaultSpeed(1, ec)),
    CALL(answer, r.setDefaultZone(1, ec)),
    CALL(answer, r.setDefaultConfOpt(true, ec)),
    CALL(answer, r.setAutoIgnoreZone(true, ec)),
    CALL(answer, r.adjustSpeedOnline(1, ec)),
    CALL(answer, r.adjustAcceleration(1, 1, ec)),
    CALL(answer, r.getAcceleration(unreadNumber, unreadNumber, ec)),
    CALL(answer, r.startJog(JogOpt::Space::world, 1, 1, 0, true, ec)),
    CALL(answer, r.startJogWithExt(JogOpt::Space::world, 1, 1, 0, true, "", ec, true)),
    CALL(answer, r.stop(ec)),
    CALL(answer, r.checkPath(here, {}, here, ec)),
    CALL(answer, r.checkPath(here, {}, here, here, ec)),
    CALL(answer, r.checkPath({}, {here, here}, unreadNumbers, ec)),
    CALL(answer, r.setAvoidSingularity(AvoidSingularityMethod::wrist, true, 1, ec)),
    CALL(answer, r.getAvoidSingularity(AvoidSingularityMethod::wrist, ec)),
    CALL(nothing, r.setMaxCacheSize(5, ec)),
    CALL(nothing, r.moveAppend(std::vector{MoveLCommand(here)}, unreadId, ec)),
    CALL(nothing, r.moveAppend(MoveWaitCommand(std::chrono::milliseconds(1)), unreadId, ec)),
    CALL(answer, r.executeCommand(std::vector{MoveLCommand(here)}, ec)),
    CALL(answer, r.moveStart(ec)),
    CALL(answer, r.moveReset(ec)),
    CALL(nothing, r.queryEventInfo(Event::moveExecution, ec)),
    CALL(nothing, r.queryEventInfo(Event::safety, ec)),
    CALL(nothing, r.setEventWatcher(Event::moveExecution, {}, ec)),
    CALL(nothing, r.setEventWatcher(Event::safety, {}, ec)),
    CALL(nothing, r.setEventWatcher(Event::rlExecution, {}, ec)),
    CALL(nothing, r.setEventWatcher(Event::logReporter, {}, ec)),
    CALL(nothing, r.setConnectionHandler({})),
    CALL(otherEnds, r.setMotionControlMode(MotionControlMode::RtCommand, ec)),
    CALL(otherEnds, r.setMotionControlMode(MotionControlMode::NrtCommand, ec)),
    CALL(otherEnds, r.connectToRobot(ec)),
    CALL(otherEnds, r.disconnectFromRobot(ec)),
};
#undef CALL

std::vector<Ec> runAll(TandiRobot& robot) {
  std::vector<Ec> results;
  for (const Call& call : calls) {
    Ec ec;
    call.run(robot, ec);
    results.push_back(ec);
  }
  return results;
}

class EventCalls : public RobotTest {
 protected:
  EventCalls() {
    for (const char* key :
         {"sys.power.on", "sys.mode.switch", "ix.coord.base_in_world", "utils.reboot",
          "sys.servo.clear_alarm", "rsc.emer_stop.reset", "move.default_speed", "move.jog",
          "move.jog_with_ext", "move.stop", "move.override_rate", "eci.enable", "eci.disable"})
      controller_.answer(key, "0");
    controller_.answer("sys.rt.jnt_pos", "[1.0,2.0]");
    controller_.mute("move.l");
    controller_.mute("move.wait");
  }
};

TEST_F(EventCalls, InCallbacksDoWhatTheyDoElsewhereOrSayWhyNot) {
  std::vector<Ec> elsewhere;
  {
    TandiRobot robot(address());
    Ec ec;
    robot.setEventWatcher(Event::safety, {}, ec);
    elsewhere = runAll(robot);
  }
  const auto deadlock = std::make_error_code(std::errc::resource_deadlock_would_occur);
  for (int kind = -1; kind < 4; ++kind) {  // -1: the connection handler
    const bool handler = kind == -1;
    const auto event = static_cast<Event>(kind);
    SCOPED_TRACE(handler ? "connection handler" : to_string(event));
    Heard<std::vector<Ec>> heard;
    TandiRobot robot(address());
    Ec ec;
    robot.setEventWatcher(Event::safety, {}, ec);
    const auto run = [&] { heard.add(runAll(robot)); };
    if (handler) {
      robot.setConnectionHandler([&](bool up) {
        if (up) run();
      });
      controller_.drop();
    } else {
      robot.setEventWatcher(
          event, [&](const EventInfo&) { run(); }, ec);
      controller_.push(newsOf(event));
    }
    ASSERT_TRUE(heard.waitFor(1));
    const auto results = heard.all().front();
    for (std::size_t i = 0; i < results.size(); ++i) {
      Ec expected = elsewhere[i];
      if (handler && calls[i].needs == Needs::answer) expected = Code::timeout;
      if (calls[i].needs == Needs::otherEnds && (handler || event == Event::moveExecution))
        expected = deadlock;
      EXPECT_EQ(results[i], expected) << calls[i].name;
    }
    // No harm was done.
    robot.connectToRobot(address());
    EXPECT_EQ(robot.powerState(ec), PowerState::on);
    EXPECT_FALSE(ec) << ec.message();
  }
}

// --- The end of the robot
// ------------------------------------------------------------------------------------

TEST_F(EventThreads, NoneIsHeardOnceTheRobotHasGone) {
  for (const Event event : everyKind) {
    SCOPED_TRACE(to_string(event));
    Heard<bool> began;
    std::atomic<bool> finished{false}, gone{false}, late{false};
    std::promise<void> gate;
    auto robot = std::make_unique<TandiRobot>(address());
    Ec ec;
    robot->setEventWatcher(
        event,
        [&, open = gate.get_future().share()](const EventInfo&) {
          if (gone) late = true;
          began.add(true);
          open.wait_for(longestWait);
          finished = true;
        },
        ec);
    for (int i = 0; i < 50; ++i) controller_.push(newsOf(event));
    ASSERT_TRUE(began.waitFor(1));
    controller_.forgetRequests();
    auto end = std::async(std::launch::async, [&] {
      robot.reset();
      gone = true;
      return finished.load();
    });
    ASSERT_TRUE(controller_.waitForRequest("sys.state")) << "the destructor has begun";
    gate.set_value();
    EXPECT_TRUE(end.get()) << "the destructor waits for a running watcher";
    EXPECT_TRUE(controller_.waitForLinks(0));
    EXPECT_FALSE(late);
  }
}

TEST_F(EventThreads, AWatcherThatHangsDoesntKeepTheRobot) {
  struct State {
    Heard<int> steps;
    std::promise<void> gate;
    std::shared_future<void> open = gate.get_future().share();
  };
  const auto state = std::make_shared<State>();
  {
    TandiRobot robot(address());
    Ec ec;
    robot.setEventWatcher(
        Event::safety,
        [state](const EventInfo&) {
          state->steps.add(1);
          state->open.wait();
          state->steps.add(2);
        },
        ec);
    controller_.push(newsOf(Event::safety));
    ASSERT_TRUE(state->steps.waitFor(1));
  }
  EXPECT_EQ(state->steps.all().size(), 1u);
  EXPECT_TRUE(controller_.waitForLinks(0));
  state->gate.set_value();
  EXPECT_TRUE(state->steps.waitFor(2));
}

TEST_F(EventThreads, TheirWatchersMayEndTheRobot) {
  for (const Event event : everyKind) {
    for (const bool asItsOwner : {false, true}) {
      SCOPED_TRACE(to_string(event) + (asItsOwner ? ", owned" : ""));
      Heard<bool> ended;
      auto robot = std::make_shared<TandiRobot>(address());
      std::weak_ptr<TandiRobot> left = robot;
      Ec ec;
      if (asItsOwner) {
        // Taking its place destroys the watcher, and with it the robot, once the call is over.
        TandiRobot& onlyRobot = *robot;
        onlyRobot.setEventWatcher(
            event,
            [owned = std::move(robot), event, &ended](const EventInfo&) {
              Ec own;
              owned->setEventWatcher(event, {}, own);
              ended.add(true);
            },
            ec);
      } else {
        robot->setEventWatcher(
            event,
            [&](const EventInfo&) {
              robot.reset();
              ended.add(true);
            },
            ec);
      }
      controller_.push(newsOf(event));
      ASSERT_TRUE(ended.waitFor(1));
      ASSERT_TRUE(eventually([&] { return left.expired(); }));
      EXPECT_TRUE(controller_.waitForLinks(0));
    }
  }
}

}  // namespace

}  // namespace zivra::test
