// Programs: from a file here to moves there.
#include <any>
#include <fstream>
#include <sstream>

#include <zivra/upgrade.h>

#include "support/zip.h"
#include "system/fixture.h"

namespace zivra::test {

namespace {

using Ec = std::error_code;
using Files = std::map<std::string, std::string>;

constexpr double kDegree = 3.14159265358979323846 / 180;

void write(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}
void writeZip(const std::string& path, const std::vector<ZipEntry>& entries) {
  const auto bytes = zipped(entries);
  write(path, {bytes.begin(), bytes.end()});
}

// A robot that is ready to run programs, and hears where they are.
class Projects : public SystemTest {
 protected:
  TandiRobot& connect(double speedFactor = 20) {
    startController(sim::Model::tandi, speedFactor);
    robot_.connectToRobot(address());
    robot_.setMotionControlMode(MotionControlMode::NrtRLTask, ec);
    EXPECT_FALSE(ec) << ec.message();
    robot_.setEventWatcher(
        Event::rlExecution,
        [this](const EventInfo& info) {
          const auto line = std::any_cast<int>(info.at("executeLine"));
          const auto file = std::any_cast<std::string>(info.at("executeFile"));
          if (!file.empty()) places_.add(file + ':' + std::to_string(line + 1));
        },
        ec);
    robot_.setOperateMode(OperateMode::automatic, ec);
    robot_.setPowerState(true, ec);
    EXPECT_FALSE(ec) << ec.message();
    return robot_;
  }
  void run(const std::string& project, const std::vector<std::string>& tasks) {
    robot_.loadProject(project, tasks, ec);
    ASSERT_FALSE(ec) << ec.message();
    robot_.ppToMain(ec);
    ASSERT_FALSE(ec) << ec.message();
    robot_.runProject(ec);
    ASSERT_FALSE(ec) << ec.message();
  }
  OperationState state() { return robot_.operationState(ec); }
  bool waitFor(OperationState wanted) {
    return eventually([&] { return state() == wanted; });
  }
  // Each place once in a row.
  static std::string once(const std::vector<std::string>& places) {
    std::string all, last;
    for (const auto& place : places) {
      if (place != last) all += (all.empty() ? "" : " ") + place;
      last = place;
    }
    return all;
  }
  bool waitForPlaces(const std::string& wanted) {
    return places_.waitUntil([&](const auto& places) { return once(places) == wanted; });
  }
  double firstAxis() { return controller().jointPositions()[0] / kDegree; }
  std::string list() {
    std::string text;
    for (const auto& project : robot_.projectsInfo(ec)) {
      text += project.name + '(';
      for (const auto& task : project.taskList) text += task + ' ';
      text += ") ";
    }
    return text;
  }

  Ec ec;
  Heard<std::string> places_;  // outlives the robot
  TandiRobot robot_;
};

TEST_F(Projects, AnImportedProgramMovesTheRobot) {
  TandiRobot& robot = connect();
  writeZip("turn.zip", {{"turn/project.xml", "<project/>"},
                        {"turn/task0/main.mod", "! there\nMoveAbsJ [20,30,90,0,60,0], v50%\nCall back\n"},
                        {"turn/task0/back.mod", "Wait 0.5\nMoveAbsJ [5,30,90,0,60,0], v50%\n"}});
  EXPECT_EQ(robot.importProject("turn.zip", false, ec), "turn");
  ASSERT_FALSE(ec) << ec.message();
  EXPECT_EQ(list(), "demo(task0 ) turn(task0 ) ");
  run("turn", {"task0"});
  EXPECT_EQ(state(), OperationState::rlProgram);
  EXPECT_TRUE(waitForPlaces("main.mod:2 back.mod:1 back.mod:2")) << once(places_.all());
  EXPECT_TRUE(waitFor(OperationState::idle));
  EXPECT_NEAR(firstAxis(), 5, 1e-6);
  EXPECT_EQ(std::any_cast<std::string>(robot.queryEventInfo(Event::rlExecution, ec).at("taskName")), "task0");
  // Once more, with another program in its place.
  write("end.mod", "MoveAbsJ [-5,30,90,0,60,0]\n");
  EXPECT_EQ(robot.importFile("end.mod", "project/turn/task0/back.mod", true, ec), "back.mod");
  EXPECT_EQ(robot.importFile("end.mod", "project/turn/task0", false, ec), "end.mod");
  EXPECT_EQ(robot.importFile("end.mod", "project/turn/task0", false, ec), "end_1.mod");
  EXPECT_FALSE(ec) << ec.message();
  run("turn", {"task0"});
  EXPECT_TRUE(controller().waitUntilIdle(longestWait));
  EXPECT_NEAR(firstAxis(), -5, 1e-6);
}

TEST_F(Projects, WhatIsBroughtInIsThereAndWhatIsRemovedGone) {
  TandiRobot& robot = connect();
  writeZip("a.zip", {{"p.xml", "1"}, {"t/main.mod", "Wait 1\n"}, {"u/main.mod", "Wait 1\n"}});
  writeZip("b.zip", {{"readme.txt", "1"}});
  writeZip("c.zip", {{"p.xml", "1"}, {"../t/main.mod", "Wait 1\n"}});
  write("d.zip", "no zip file at all");
  write("x.json", "{}");
  write("y.mod", "Wait 2\n");
  EXPECT_EQ(robot.importProject("a.zip", false, ec), "a");
  EXPECT_EQ(robot.importProject("a.zip", false, ec), "a_1") << "stored beside the first";
  EXPECT_EQ(robot.importProject("a.zip", true, ec), "a");
  EXPECT_FALSE(ec) << ec.message();
  for (const char* name : {"b.zip", "c.zip", "d.zip"}) {
    EXPECT_EQ(robot.importProject(name, false, ec), "");
    EXPECT_EQ(ec.value(), -278) << name;
  }
  EXPECT_EQ(robot.importFile("x.json", "project/a", false, ec), "x.json");
  EXPECT_EQ(robot.importFile("x.json", "project/a/z.json", false, ec), "z.json");
  EXPECT_EQ(robot.importFile("y.mod", "project\\a\\u", false, ec), "y.mod");
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(robot.importFile("y.mod", "project/a/none", false, ec), "");
  EXPECT_EQ(ec.value(), -60005);
  EXPECT_EQ(controller().projectFiles("a"), (Files{{"p.xml", "1"},
                                                   {"t/main.mod", "Wait 1\n"},
                                                   {"u/main.mod", "Wait 1\n"},
                                                   {"u/y.mod", "Wait 2\n"},
                                                   {"x.json", "{}"},
                                                   {"z.json", "{}"}}));
  BaseUpgrade upgrade(address());
  upgrade.exportBackup("backup.tar", {BackupItem::rlProgram}, ec);
  EXPECT_FALSE(ec) << ec.message();
  std::stringstream backup;
  backup << std::ifstream("backup.tar", std::ios::binary).rdbuf();
  EXPECT_NE(backup.str().find("project/a/u/y.mod"), std::string::npos);
  robot.removeFiles({"project/a/t", "project/a/none"}, ec);
  EXPECT_EQ(ec.value(), -60005);
  EXPECT_EQ(controller().projectFiles("a").size(), 6u) << "all or none";
  robot.removeFiles({"project/a/t", "project/a/u/y.mod", "project/a/z.json"}, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(controller().projectFiles("a"),
            (Files{{"p.xml", "1"}, {"u/main.mod", "Wait 1\n"}, {"x.json", "{}"}}));
  robot.removeProject("none", ec);
  EXPECT_EQ(ec.value(), -60005);
  robot.removeProject("a", ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(list(), "a_1(t u ) demo(task0 ) ");
  robot.removeProject("", ec, true);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(list(), "");
  robot.loadProject("a", {"t"}, ec);
  EXPECT_EQ(ec.value(), -60005);
}

TEST_F(Projects, PauseContinueOverrideAndLoop) {
  TandiRobot& robot = connect();
  controller().putProject(
      "p",
      {{"p.xml", ""}, {"t/main.mod", "MoveAbsJ [30,30,90,0,60,0], v20%\nMoveAbsJ [0,30,90,0,60,0], v20%\n"}});
  robot.setProjectRunningOpt(0.05, true, ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(robot.getStateList(ec).speed_override, 0.05);
  robot.runProject(ec);
  EXPECT_EQ(ec.value(), -60005) << "nothing loaded";
  run("p", {"t"});
  EXPECT_TRUE(eventually([&] { return firstAxis() > 1; }));
  robot.pauseProject(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(controller().operationState() != "program");
  EXPECT_TRUE(waitFor(OperationState::idle));
  const double stood = firstAxis();
  EXPECT_LT(stood, 30);
  robot.pauseProject(ec);
  EXPECT_EQ(ec.value(), -1) << "nothing to pause";
  EXPECT_EQ(firstAxis(), stood);
  robot.setProjectRunningOpt(1, true, ec);
  robot.runProject(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_TRUE(waitForPlaces("main.mod:1 main.mod:2 main.mod:1 main.mod:2 main.mod:1")) << once(places_.all());
  robot.setProjectRunningOpt(1, false, ec);
  EXPECT_TRUE(waitFor(OperationState::idle)) << "ends with the round";
  EXPECT_NEAR(firstAxis(), 0, 1e-6);
}

TEST_F(Projects, OwnMovesWaitForAResetAfterAProgram) {
  TandiRobot& robot = connect();
  MovingRobot moving(address());  // connecting resets the queue, so before the program
  run("demo", {"task0"});
  EXPECT_TRUE(controller().waitUntilIdle(longestWait));
  moving.append({MoveLCommand(shifted(moving.here(), 0.05, 0, 0), 200)});
  EXPECT_EQ(moving.waitForError().value(), -17320);
  moving.robot.moveReset(moving.ec);
  EXPECT_FALSE(moving.ec) << moving.ec.message();
  moving.append({MoveLCommand(shifted(moving.here(), 0.05, 0, 0), 200)});
  moving.robot.moveStart(moving.ec);
  EXPECT_TRUE(moving.waitForFinishes(1));
  EXPECT_TRUE(controller().waitUntilIdle(longestWait));
  robot.runProject(ec);
  EXPECT_FALSE(ec) << ec.message();
  EXPECT_EQ(state(), OperationState::rlProgram);
  controller().pressEmergencyStop();
  EXPECT_TRUE(waitFor(OperationState::idle));
  robot.runProject(ec);
  EXPECT_EQ(ec.value(), -3);
}

TEST_F(Projects, AProgramGoesOnWithoutItsClient) {
  connect(5);
  controller().putProject("p", {{"p.xml", ""},
                                {"t/main.mod",
                                 "Loop 3\nMoveAbsJ [10,30,90,0,60,0], v20%\nWait 1\n"
                                 "MoveAbsJ [0,30,90,0,60,0], v20%\nEndLoop\n"}});
  run("p", {"t"});
  controller().dropLinks();
  EXPECT_TRUE(controller().waitUntilIdle(longestWait));
  EXPECT_NEAR(firstAxis(), 0, 1e-6);
  EXPECT_EQ(controller().operationState(), "idle");
  EXPECT_THROW(controller().putProject("p", {{"t/main.mod", ""}}), std::invalid_argument);
}

}  // namespace

}  // namespace zivra::test
