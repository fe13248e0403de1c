// What shapes motion without being a move: settings, jogging, stopping, and who commands the arm.
#include <chrono>

#include "robot/fixture.h"
#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;
using Space = JogOpt::Space;
using Mode = MotionControlMode;

#define JOGGED "startJog end, space: baseParallel, rate: 50%, step: 0.5, index: 0, direction: true "

const WireCase rows[] = {
    {"default speed", 's', "move.default_speed", "0.20000000000000001", "0",
     "setDefaultSpeed end, speed: 200 (0)", [](Robot& r, Ec& ec) { r.setDefaultSpeed(200, ec); }},
    {"default zone", 's', "move.default_zone", "0.0050000000000000001", "0",
     "setDefaultZone end, zone: 5 (0)", [](Robot& r, Ec& ec) { r.setDefaultZone(5, ec); }},
    {"speeds that make no sense are the controller's to refuse", 's', "move.default_speed", "-0.5", "0",
     "setDefaultSpeed end, speed: -500 (0)", [](Robot& r, Ec& ec) { r.setDefaultSpeed(-500, ec); }},
    {"configuration binds", 'c', "move.default_conf", "true", "0", "setDefaultConfOpt end, forced: true (0)",
     [](Robot& r, Ec& ec) { r.setDefaultConfOpt(true, ec); }, Rules().replyUnread()},
    {"zones may be left out", 'c', "move.ignore_zone", "false", "0",
     "setAutoIgnoreZone end, ignore: false (0)", [](Robot& r, Ec& ec) { r.setAutoIgnoreZone(false, ec); },
     Rules().replyUnread()},
    {"override", 'c', "move.override_rate", "0.5", "0", "adjustSpeedOnline end, scale: 50% (0)",
     [](Robot& r, Ec& ec) { r.adjustSpeedOnline(0.5, ec); }},
    {"acceleration", 's', "move.acc", R"({"acc":0.5,"jerk":1.5})", "0",
     "adjustAcceleration end, acc: 0.5, jerk: 1.5 (0)",
     [](Robot& r, Ec& ec) { r.adjustAcceleration(0.5, 1.5, ec); }},
    {"read acceleration", 'g', "move.acc", "null", R"({"acc":0.5,"jerk":1.5})", nullptr,
     [](Robot& r, Ec& ec) {
       double acc = -1, jerk = -2;
       r.getAcceleration(acc, jerk, ec);
       expectEqual(std::pair(acc, jerk), std::pair(0.5, 1.5), std::pair(-1.0, -2.0));
     },
     Rules().integerIsCode()},
    {"jog", 'c', "move.jog", R"({"direction":true,"index":2,"rate":0.5,"space":5,"step":0.25})", "0",
     "startJog end, space: jointSpace, rate: 50%, step: 0.25, index: 2, direction: true (0)",
     [](Robot& r, Ec& ec) { r.startJog(Space::jointSpace, 0.5, 0.25, 2, true, ec); }},
    {"jog in the widest of all ranges", 'c', "move.jog",
     R"({"direction":false,"index":4294967295,"rate":1.0,"space":0,"step":1000000.0})", "0",
     "startJog end, space: world, rate: 100%, step: 1000000, index: 4294967295, direction: false (0)",
     [](Robot& r, Ec& ec) { r.startJog(Space::world, 1, 1e6, 4294967295u, false, ec); }},
    {"jog with an external axis", 'c', "move.jog_with_ext",
     R"({"direction":false,"fixed_name":"track \"1\"","index":0,"is_ext":true,"rate":0.25,"space":3,"step":2.0})",
     "0",
     "startJogWithExt end, space: toolFrame, rate: 25%, step: 2, index: 0, direction: false ,mech_unit "
     "name:track \"1\" (0)",
     [](Robot& r, Ec& ec) {
       r.startJogWithExt(Space::toolFrame, 0.25, 2, 0, false, "track \"1\"", ec, true);
     }},
    {"pause", 'c', "move.pause", "null", "0", "stop end (0)", [](Robot& r, Ec& ec) { r.stop(ec); }},
    {"pause and go on", 'c', "move.pause", "null", "0",
     "stop end (0)\nmoveStart end (0)\nstop end (-290)\nstop end (256)",
     [](Robot& r, Ec& ec) {
       r.stop(ec);
       if (!ec) r.moveStart(ec);
     },
     Rules().allLinesNamed().then('c', "move.continue", "0", "0")},
    {"stop of a jog, then a pause", 'c', "move.jog",
     R"({"direction":true,"index":0,"rate":0.5,"space":7,"step":0.5})", "0",
     JOGGED "(0)\nstop jogging\nstop end (0)\nstop end (0)\n" JOGGED "(-290)\n" JOGGED "(256)",
     [](Robot& r, Ec& ec) {
       r.startJog(Space::baseParallelMode, 0.5, 0.5, 0, true, ec);
       const Ec jogged = ec;
       r.stop(ec);
       if (jogged) {
         ec = jogged;
         return;
       }
       if (!ec) r.stop(ec);
     },
     Rules()
         .allLinesNamed()
         .then('c', "move.stop", R"({"task_space":1})", "0")
         .then('c', "move.pause", "null", "0")},
    {"to real time", 'c', "eci.enable", R"({"protocol_version":"sdk0.7.1"})", "0",
     "setMotionControlMode end, mode: RtCommand (0)",
     [](Robot& r, Ec& ec) { r.setMotionControlMode(Mode::RtCommand, ec); },
     Rules().then('w', "move.last_error_with_setting", "false", "0")},
    {"to moves", 'g', "sys.state", "null", R"("idle")", "setMotionControlMode end, mode: NrtCommand (0)",
     [](Robot& r, Ec& ec) { r.setMotionControlMode(Mode::NrtCommand, ec); }},
    {"from real time to moves", 'g', "sys.state", "null", R"("rci")",
     "setMotionControlMode end, mode: NrtCommand (0)",
     [](Robot& r, Ec& ec) { r.setMotionControlMode(Mode::NrtCommand, ec); },
     Rules().then('c', "eci.disable", "null", "0")},
    {"from real time that can't be disabled", 'g', "sys.state", "null", R"("rci")",
     "setMotionControlMode end, mode: Idle (0)",
     [](Robot& r, Ec& ec) { r.setMotionControlMode(Mode::Idle, ec); },
     Rules().then('c', "eci.disable", "null", "-259")},
    {"to tasks", 'g', "sys.state", "null", R"("rlProgram")", "setMotionControlMode end, mode: NrtRLTask (0)",
     [](Robot& r, Ec& ec) { r.setMotionControlMode(Mode::NrtRLTask, ec); },
     Rules().then('w', "move.last_error_with_setting", "false", "0")},
    {"to tasks and back", 'g', "sys.state", "null", R"("idle")",
     "setMotionControlMode end, mode: NrtRLTask (0)\nsetMotionControlMode end, mode: Idle (0)",
     [](Robot& r, Ec& ec) {
       r.setMotionControlMode(Mode::NrtRLTask, ec);
       r.setMotionControlMode(Mode::Idle, ec);
       if (!ec) r.powerState(ec);  // its answer comes after all the others
     },
     Rules()
         .then('w', "move.last_error_with_setting", "false", "0")
         .then('g', "sys.state", "null", R"("idle")")
         .then('c', "move.reset", R"({"remain_traj":false})", "0")
         .then('w', "move.last_error_with_setting", "true", "0")
         .then('g', "sys.power", "null", R"("on")")},
    {"watch collisions", 'w', "safety.event.collision", "true", "0", nullptr,
     [](Robot& r, Ec& ec) { r.setEventWatcher(Event::safety, {}, ec); }, Rules().notAwaited(0)},
    {"watch programs", 'w', "project.tasks_pointer", "true", "0", nullptr,
     [](Robot& r, Ec& ec) { r.setEventWatcher(Event::rlExecution, {}, ec); }, Rules().notAwaited(0)},
    {"watch the user's log", 'w', "log.user", "true", "0", nullptr,
     [](Robot& r, Ec& ec) { r.setEventWatcher(Event::logReporter, {}, ec); }, Rules().notAwaited(0)},
};
const WireTests tests("motion_settings", rows);

using Settings = RobotTest;

TEST_F(Settings, JogsOutOfRangeAreNotSent) {
  TandiRobot robot(address());
  controller_.answer("move.jog", "0");
  controller_.answer("move.jog_with_ext", "0");
  const struct {
    double rate, step;
    bool sent;
  } cases[] = {{0.009, 1, false}, {0.01, 0.001, true}, {1.0, 0.001, true}, {1.0001, 1, false},
               {-0.5, 1, false},  {0.5, 0, false},     {0.5, -1, false}};
  std::size_t sent = 0;
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::Message() << row.rate << ' ' << row.step);
    const int code = row.sent ? 0 : 258;
    sent += row.sent;
    Ec ec;
    robot.startJog(Space::world, row.rate, row.step, 0, true, ec);
    EXPECT_EQ(ec.value(), code);
    EXPECT_EQ(controller_.count("move.jog"), sent);
    robot.startJogWithExt(Space::world, row.rate, row.step, 0, true, "track", ec, true);
    EXPECT_EQ(ec.value(), code);
    EXPECT_EQ(controller_.count("move.jog_with_ext"), sent);
  }
}

TEST_F(Settings, OnlyAnAcceptedJogIsStoppedAsOne) {
  TandiRobot robot(address());
  Ec ec;
  robot.startJog(Space::world, 2, 1, 0, true, ec);
  EXPECT_EQ(ec, Code::parameterExceedsLimit);
  controller_.answer("move.jog", "-20");
  robot.startJog(Space::world, 1, 1, 0, true, ec);
  EXPECT_EQ(ec.value(), -20);
  robot.stop(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(controller_.count("move.pause"), 1u);

  controller_.answer("move.jog", "0");
  for (const int answer : {-1, -290, 0}) {
    SCOPED_TRACE(answer);
    controller_.answer("move.stop", std::to_string(answer));
    controller_.answer("move.pause", std::to_string(answer));
    const int code = answer == -1 ? 769 : answer;
    const auto stops = controller_.count("move.stop"), pauses = controller_.count("move.pause");
    robot.startJog(Space::world, 1, 1, 0, true, ec);
    EXPECT_FALSE(ec) << ec.message();
    robot.stop(ec);
    EXPECT_EQ(ec.value(), code);
    EXPECT_EQ(controller_.count("move.stop"), stops + 1);
    robot.stop(ec);
    EXPECT_EQ(ec.value(), code) << "the jog is over whatever the controller said";
    EXPECT_EQ(controller_.count("move.stop"), stops + 1);
    EXPECT_EQ(controller_.count("move.pause"), pauses + 1);
  }
}

TEST_F(Settings, AnIntegerForAnAccelerationLeavesBothAlone) {
  TandiRobot robot(address());
  for (const int code : {0, -290}) {
    controller_.answer("move.acc", std::to_string(code));
    double acc = 3, jerk = 4;
    Ec ec(1, std::generic_category());
    robot.getAcceleration(acc, jerk, ec);
    EXPECT_EQ(ec, Ec(code, category()));
    EXPECT_EQ(acc, 3);
    EXPECT_EQ(jerk, 4);
  }
}

TEST_F(Settings, WithoutAConnectionSayWhy) {
  const struct {
    const char* name;
    void (*call)(TandiRobot&, Ec&);
    int code;
    const char* line;  // in both logs; nullptr: not asked for
  } cases[] = {
      {"speed", [](auto& r, Ec& ec) { r.setDefaultSpeed(1, ec); }, 255,
       "setDefaultSpeed uninitialized (255)"},
      {"zone", [](auto& r, Ec& ec) { r.setDefaultZone(1, ec); }, 255, "setDefaultZone uninitialized (255)"},
      {"jog", [](auto& r, Ec& ec) { r.startJog(Space::world, 9, 1, 0, true, ec); }, 255, nullptr},
      {"jog with axis", [](auto& r, Ec& ec) { r.startJogWithExt(Space::world, 9, 1, 0, true, "", ec, true); },
       255, nullptr},
      {"stop", [](auto& r, Ec& ec) { r.stop(ec); }, 255, "stop uninitialized (255)"},
      {"configuration", [](auto& r, Ec& ec) { r.setDefaultConfOpt(true, ec); }, 256, nullptr},
      {"zones", [](auto& r, Ec& ec) { r.setAutoIgnoreZone(true, ec); }, 256, nullptr},
      {"override", [](auto& r, Ec& ec) { r.adjustSpeedOnline(1, ec); }, 256, nullptr},
      {"acceleration", [](auto& r, Ec& ec) { r.adjustAcceleration(1, 1, ec); }, 256, nullptr},
      {"real time", [](auto& r, Ec& ec) { r.setMotionControlMode(Mode::RtCommand, ec); }, 256, nullptr},
      // This one makes the motion control that the others ask for.
      {"moves", [](auto& r, Ec& ec) { r.setMotionControlMode(Mode::NrtCommand, ec); }, 256, nullptr},
      {"speed again", [](auto& r, Ec& ec) { r.setDefaultSpeed(1, ec); }, 256, nullptr},
  };
  {
    TandiRobot robot;
    for (const auto& row : cases) {
      SCOPED_TRACE(row.name);
      Ec ec(1, std::generic_category());
      row.call(robot, ec);
      EXPECT_EQ(ec, Ec(row.code, category()));
    }
  }
  const auto log = globalLog();
  for (const auto& row : cases) {
    if (row.line == nullptr) continue;
    const std::string end = std::string(" | ") + row.line;
    EXPECT_TRUE(std::any_of(log.begin(), log.end(), [&](const std::string& line) {
      return line.starts_with("E: uid: ") && line.ends_with(end);
    })) << row.line;
  }
}

// True if moves are taken, which depends on the mode.
bool takesMoves(TandiRobot& robot) {
  Ec ec;
  std::string id;
  robot.moveAppend(MoveWaitCommand(std::chrono::milliseconds(1)), id, ec);
  EXPECT_TRUE(!ec || ec == Code::motionControlMode) << ec.message();
  return !ec;
}

TEST_F(Settings, TheModeIsKeptOnlyIfAllWentWell) {
  TandiRobot robot(address());
  ASSERT_TRUE(controller_.waitForRequest(moveWatch, 2));
  controller_.mute("move.wait");
  Ec ec;
  const struct {
    const char* name;
    const char *state, *disable, *enable;  // as the controller answers
    Mode mode;
    int code;
    std::vector<std::string> requests;  // keys
  } cases[] = {
      {"refused", R"("idle")", "0", "-17", Mode::RtCommand, -17, {"eci.enable"}},
      {"unreadable answer", R"("idle")", "0", "null", Mode::RtCommand, 257, {"eci.enable"}},
      {"unknown mode", R"("idle")", "0", "0", static_cast<Mode>(4), 259, {"sys.state"}},
      {"unknown mode after real time",
       R"("rci")",
       "-5",
       "0",
       static_cast<Mode>(-1),
       259,
       {"sys.state", "eci.disable"}},
      {"unreadable state", "5", "0", "0", Mode::NrtRLTask, 257, {"sys.state", moveWatch}},
      {"real time doesn't end",
       R"("rci")",
       "-5",
       "0",
       Mode::NrtRLTask,
       -5,
       {"sys.state", "eci.disable", moveWatch}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    controller_.answer("sys.state", row.state);
    controller_.answer("eci.disable", row.disable);
    controller_.answer("eci.enable", row.enable);
    controller_.forgetRequests();
    ec.assign(1, std::generic_category());
    robot.setMotionControlMode(row.mode, ec);
    EXPECT_EQ(ec, Ec(row.code, category()));
    ASSERT_TRUE(controller_.waitForRequest(row.requests.back()));
    std::vector<std::string> keys;
    for (const Request& request : controller_.requests()) keys.push_back(request.key);
    EXPECT_EQ(keys, row.requests);
    EXPECT_TRUE(takesMoves(robot)) << "the mode is what it was";
    robot.moveReset(ec);
  }
}

TEST_F(Settings, TheModeOutlivesTheConnection) {
  TandiRobot robot(address());
  controller_.answer("eci.enable", "0");
  Ec ec;
  for (const Mode mode : {Mode::NrtRLTask, Mode::RtCommand}) {
    robot.setMotionControlMode(mode, ec);
    EXPECT_FALSE(ec) << ec.message();
    EXPECT_FALSE(takesMoves(robot));
    robot.connectToRobot(ec);
    EXPECT_FALSE(ec) << ec.message();
    EXPECT_FALSE(takesMoves(robot));
    robot.setMotionControlMode(Mode::NrtCommand, ec);
    EXPECT_FALSE(ec) << ec.message();
    EXPECT_TRUE(takesMoves(robot));
  }
}

}  // namespace

}  // namespace zivra::test
