// Projects of the simulated controller: what may be brought in, and what a running program does.
#include <algorithm>

#include "sim/bench.h"
#include "support/zip.h"

namespace zivra::sim::test {
namespace {

using Bytes = std::vector<unsigned char>;
using zivra::test::ZipEntry;
using zivra::test::zipped;

const std::vector<ZipEntry> kWhole = {{"project.xml", "<p/>"}, {"task0/main.mod", "Wait 1\n"}};

// A bench with the bytes received as a project.
class Projects : public testing::Test {
 protected:
  std::string import(const std::string& name, const Bytes& bytes, bool overwrite = false) {
    bench.world.received = ReceivedFile{name, "import_project", overwrite, bytes};
    const Json::Value reply = bench.command("ix.sdk.import_project");
    EXPECT_FALSE(bench.world.received);
    return reply["data"]["f"].asString() + ":" + reply["data"]["project_name"].asString();
  }
  std::string importFile(const std::string& name, const std::string& bytes, const std::string& request,
                         bool overwrite = false) {
    bench.world.received = ReceivedFile{name, "import_project_file", overwrite, {bytes.begin(), bytes.end()}};
    const Json::Value reply = bench.command("eci.file_transfer.import_project_file", request);
    if (!reply.isObject()) return reply.asString();
    return reply["data"]["f"].asString() + ":" + reply["data"]["file_name"].asString();
  }
  std::string list() { return Json::FastWriter().write(bench.ask('g', "project.list")); }

  // Loads task t of a project with that program, and moves the pointer to main.
  void load(const std::string& program, const std::string& called = "") {
    ASSERT_EQ(bench.world.programs.projects.add(
                  "p", {{"p.xml", ""}, {"t/main.mod", program}, {"t/called.mod", called}}, true),
              "p");
    ASSERT_EQ(bench.command("project.load", R"({"name":"p","tasks":["t"]})"), 0);
    ASSERT_EQ(bench.command("project.pp.main"), 0);
    bench.world.pushes.clear();
  }
  void start() {
    bench.makeReady();
    ASSERT_EQ(bench.command("project.start"), 0);
  }
  // Where the pointers have been, each place once in a row: "main.mod:3 called.mod:1 ...".
  std::string places(const char* pointer) const {
    std::string all, last;
    for (const Json::Value& tasks : bench.pushed("project.tasks_pointer")) {
      const Json::Value& place = tasks[0][pointer];
      if (place.isNull()) continue;
      const std::string text = place["file_name"].asString() + ":" + place["line"].asString();
      if (text != last) all += (all.empty() ? "" : " ") + text;
      last = text;
    }
    return all;
  }
  std::string logged() const {
    const auto log = bench.pushed("log.user");
    return log.empty() ? "" : log.back()["data"].asString();
  }
  double degrees(std::size_t axis) const {
    return bench.world.motion.joints()[axis] * 180 / 3.14159265358979;
  }

  Bench bench;
};

TEST_F(Projects, AreUnpackedOrRefused) {
  const std::string bomb(64 << 20, '\0');
  std::vector<ZipEntry> many = kWhole;
  for (int i = 0; i < 2100; ++i) many.push_back({"task0/" + std::to_string(i) + ".mod", "x"});
  Bytes cut = zipped(kWhole), spoilt = zipped({{"p.xml", ""}, {"t/main.mod", "! 12345678\n"}}, false);
  cut.resize(cut.size() / 2);
  const std::string text = "12345678";
  *std::search(spoilt.begin(), spoilt.end(), text.begin(), text.end()) ^= 1;
  const auto with = [](ZipEntry entry) {
    auto entries = kWhole;
    entries.push_back(std::move(entry));
    return zipped(entries);
  };
  const struct {
    const char* name;
    Bytes bytes;
    bool good = false;
  } rows[] = {
      {"whole", zipped(kWhole), true},
      {"in a folder", zipped({{"x/p.xml", ""}, {"x/t/main.mod", ""}, {"x/t/", "", AE_IFDIR}}), true},
      {"with other files", with({"notes/a/b.txt", "1"}), true},
      {"no program", zipped({{"p.xml", ""}, {"t/readme.txt", ""}})},
      {"no xml", zipped({{"p.json", ""}, {"t/main.mod", ""}})},
      {"xml in the task", zipped({{"t/p.xml", ""}, {"t/main.mod", ""}})},
      {"nothing", zipped({})},
      {"no zip", Bytes(1000, 'x')},
      {"no bytes", {}},
      {"cut", cut},
      {"spoilt", spoilt},
      {"bomb", with({"task0/bomb.mod", bomb})},
      {"many", zipped(many)},
      {"escape", with({"../../etc/x.mod", "x"})},
      {"escape from within", with({"task0/../../x.mod", "x"})},
      {"absolute", with({"/etc/x.mod", "x"})},
      {"drive", with({"C:/x.mod", "x"})},
      {"link", with({"task0/link.mod", "/etc/passwd", AE_IFLNK})},
      {"control character", with({"task0/a\nb.mod", "x"})},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    bench.world.programs.projects.clear();
    EXPECT_EQ(import("a", row.bytes), row.good ? "success:a" : "false_project_zip:");
    EXPECT_EQ(bench.world.programs.projects.all().size(), row.good ? 1u : 0u);
  }
  for (const char* name : {"", "..", "a/b", "a\\b"})
    EXPECT_EQ(import(name, zipped(kWhole)), "false_project_zip:");
}

TEST_F(Projects, AreStoredUnderAFreeNameUnlessOverwritten) {
  EXPECT_EQ(list(), "[{\"name\":\"demo\",\"tasks\":[\"task0\"]}]\n");
  const auto other = zipped({{"p.xml", ""}, {"b/main.mod", ""}, {"a/main.mod", ""}});
  EXPECT_EQ(import("demo", other), "success:demo_1");
  EXPECT_EQ(import("demo", zipped(kWhole)), "success:demo_2");
  EXPECT_EQ(import("demo_1", zipped(kWhole), true), "success:demo_1");
  EXPECT_EQ(import("demo", other, true), "success:demo");
  EXPECT_EQ(list(),
            "[{\"name\":\"demo\",\"tasks\":[\"a\",\"b\"]},{\"name\":\"demo_1\",\"tasks\":[\"task0\"]},"
            "{\"name\":\"demo_2\",\"tasks\":[\"task0\"]}]\n");
  EXPECT_EQ(bench.command("ix.sdk.import_project")["data"]["f"], "function_error") << "nothing was received";
  bench.world.received = ReceivedFile{"x", "import_project_file", false, zipped(kWhole)};
  EXPECT_EQ(bench.command("ix.sdk.import_project")["data"]["f"], "function_error");
}

TEST_F(Projects, TakeSingleFiles) {
  const struct {
    const char *name, *bytes, *request, *outcome;
    bool overwrite = false;
  } rows[] = {
      {"p", "1", R"({"project_name":"demo","extension":".json"})", "success:p.json"},
      {"p", "2", R"({"project_name":"demo","extension":".json"})", "success:p_1.json"},
      {"p", "3", R"({"project_name":"demo","extension":".json"})", "success:p.json", true},
      {"m", "Wait 1", R"({"project_name":"demo","task_name":"task0","extension":".mod"})", "success:m.mod"},
      {"m", "", R"({"project_name":"demo","task_name":"task0","extension":".mod"})", "empty_data:"},
      {"m", "x", R"({"project_name":"demo","extension":".mod"})", "wrong_file_type:"},
      {"m", "x", R"({"project_name":"demo","task_name":"task0","extension":".xml"})", "wrong_file_type:"},
      {"m", "x", R"({"project_name":"demo","task_name":"none","extension":".mod"})", "non-exist task:"},
      {"m", "x", R"({"project_name":"none","extension":".xml"})", "non-exist task:"},
      {"../m", "x", R"({"project_name":"demo","extension":".xml"})", "open_file_error:"},
      {"", "x", R"({"project_name":"demo","extension":".xml"})", "open_file_error:"},
      {"m", "x", R"({"project_name":1,"extension":".xml"})", "-260"},
      {"m", "x", R"({"project_name":"demo"})", "-260"},
      {"m", "x", R"({"project_name":"demo","task_name":7,"extension":".mod"})", "-260"},
      {"m", "x", "null", "-260"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.request) + row.outcome);
    EXPECT_EQ(importFile(row.name, row.bytes, row.request, row.overwrite), row.outcome);
  }
  const FileTree files = filesOf(*bench.world.programs.projects.find("demo"));
  EXPECT_EQ(files.at("p.json"), "3");
  EXPECT_EQ(files.at("p_1.json"), "2");
  EXPECT_EQ(files.at("task0/m.mod"), "Wait 1");
  EXPECT_EQ(files.size(), 6u);
}

TEST_F(Projects, LoseAllThatAListNamesOrNothing) {
  import("q", zipped(kWhole));
  const struct {
    const char* list;
    int code;
  } rows[] = {
      {R"([{"project":"q","task":"task0"},{"project":"q","task":"none"}])", -60005},
      {R"([{"project":"q","task":"task0","file":"main.mod"},{"project":"q","task":"x","file":"main.mod"}])",
       -60005},
      {R"([{"project":"q","task":"task0","file":"none.mod"}])", -60005},
      {R"([{"project":"none","task":"task0"}])", -60005},
      {R"([])", -260},
      {R"([{"project":"q"}])", -260},
      {R"([{"project":"q","task":"task0","file":1}])", -260},
  };
  for (const auto& row : rows)
    EXPECT_EQ(bench.command("project.remove_files", std::string("{\"list\":") + row.list + "}"), row.code)
        << row.list;
  EXPECT_EQ(filesOf(*bench.world.programs.projects.find("q")).size(), 2u);
  EXPECT_EQ(bench.command("project.remove_files",
                          R"({"list":[{"project":"q","task":"task0","file":"main.mod"},
                              {"project":"q","task":"project.xml"},{"project":"demo","task":"task0"}]})"),
            0);
  EXPECT_EQ(list(), "[{\"name\":\"demo\",\"tasks\":[]},{\"name\":\"q\",\"tasks\":[\"task0\"]}]\n");
  EXPECT_EQ(filesOf(*bench.world.programs.projects.find("q")).size(), 0u);
  EXPECT_EQ(bench.command("ix.sdk.remove_project", R"({"name":"none","remove_all":false})")["error"], -1);
  EXPECT_EQ(bench.command("ix.sdk.remove_project", R"({"name":"q"})"), -260);
  EXPECT_EQ(bench.command("ix.sdk.remove_project", R"({"name":"q","remove_all":false})"), 0);
  EXPECT_EQ(bench.command("ix.sdk.remove_project", R"({"name":"","remove_all":true})"), 0);
  EXPECT_EQ(list(), "[]\n");
}

TEST_F(Projects, ProgramsAreCheckedWhenTheyAreLoaded) {
  const struct {
    const char *text, *complaint;
  } rows[] = {
      {"MoveL [1,2,3,4,5], v10\n", "line 1: MoveL needs 6 numbers, not 5"},
      {"\n ! x\nMoveL 1,2\n", "line 3: MoveL needs its target in brackets"},
      {"MoveJ [1,2,3,4,5,6\n", "line 1: the target of MoveJ is a list of numbers in brackets"},
      {"MoveJ [1,2,3,4,5,inf]\n", "line 1: MoveJ needs a number"},
      {"MoveJ [1,2,3,4,5,6], v10\n", "line 1: the speed of MoveJ is a percentage: v30%"},
      {"MoveL [1,2,3,4,5,6], v10%\n", "line 1: the speed of MoveL is in mm/s: v200"},
      {"MoveL [1,2,3,4,5,6], v10, v20\n",
       "line 1: behind the target of MoveL a speed and a zone may stand, for instance v200, z5"},
      {"MoveAbsJ [1] v10%\n", "line 1: something stands behind MoveAbsJ that doesn't belong there"},
      {"Wait -1\n", "line 1: Wait needs seconds from 0 to a million"},
      {"Wait\n", "line 1: Wait needs a number"},
      {"Print \"x\n", "line 1: a text ends with a double quote"},
      {"Print x\n", "line 1: a text stands in double quotes"},
      {"Loop 1.5\nEndLoop\n", "line 1: Loop needs a whole number from 0, or none"},
      {"Wait 1\nLoop\n  Loop 2\nEndLoop\n", "line 2: Loop without an EndLoop"},
      {"EndLoop\n", "line 1: EndLoop without a Loop"},
      {"Call\n", "line 1: Call needs the name of a program"},
      {"jump\n", "line 1: there is no statement \"jump\""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    bench.world.programs.projects.add("p", {{"p.xml", ""}, {"t/main.mod", row.text}}, true);
    EXPECT_EQ(bench.command("project.load", R"({"name":"p","tasks":["t"]})"), -320);
    EXPECT_EQ(logged(), std::string("t main.mod ") + row.complaint);
  }
  std::string tooDeep, tooLong;
  for (int i = 0; i < 17; ++i) tooDeep += "Loop\n";
  for (int i = 0; i < 50001; ++i) tooLong += "Wait 0\n";
  for (const std::string& text : {tooDeep, tooLong, std::string(1, '\0')}) {
    bench.world.programs.projects.add("p", {{"p.xml", ""}, {"t/main.mod", text}}, true);
    EXPECT_EQ(bench.command("project.load", R"({"name":"p","tasks":["t"]})"), -320);
  }
  EXPECT_EQ(bench.command("project.pp.main"), -60005) << "nothing was loaded";
}

TEST_F(Projects, ACommandThatComesAtTheWrongTimeIsRefused) {
  const char* const demo = R"({"name":"demo","tasks":["task0"]})";
  EXPECT_EQ(bench.command("project.start"), -60005);
  EXPECT_EQ(bench.command("project.stop"), -1);
  EXPECT_EQ(bench.command("project.load", R"({"name":"none","tasks":["task0"]})"), -60005);
  EXPECT_EQ(bench.command("project.load", R"({"name":"demo","tasks":["none"]})"), -60005);
  EXPECT_EQ(bench.command("project.load", R"({"name":"demo","tasks":[]})"), -60005);
  EXPECT_EQ(bench.command("project.load", R"({"name":"demo","tasks":["task0","task0"]})"), -60005);
  EXPECT_EQ(bench.command("project.load", R"({"name":"demo","tasks":[1]})"), -260);
  EXPECT_EQ(bench.command("project.load", R"({"tasks":["task0"]})"), -260);
  ASSERT_EQ(bench.command("project.load", demo), 0);
  EXPECT_EQ(bench.command("project.start"), -16) << "manual mode";
  bench.world.mode = OperateMode::automatic;
  EXPECT_EQ(bench.command("project.start"), -17) << "no power";
  bench.makeReady();
  EXPECT_EQ(bench.command("project.start"), -60014) << "no program pointer";
  ASSERT_EQ(bench.command("project.pp.main"), 0);
  const std::string line = "{\"point\":" + bench.point(0.05, 0, 0) + "}";
  ASSERT_EQ(bench.command("move.l", line), 0);
  EXPECT_EQ(bench.command("project.start"), -18) << "a client's moves wait";
  ASSERT_EQ(bench.command("move.reset"), 0);
  ASSERT_EQ(bench.command("project.start"), 0);
  bench.world.advance(1);
  const struct {
    char form;
    const char *key, *parameter;
    int code;
  } rows[] = {
      {'c', "project.start", "null", -20},
      {'c', "project.load", demo, -20},
      {'c', "project.pp.main", "null", -20},
      {'c', "sys.mode.switch", "\"manual\"", -20},
      {'c', "eci.enable", R"({"protocol_version":"sdk0"})", -20},
      {'c', "utils.reboot", "null", -20},
      {'c', "ix.sdk.remove_project", R"({"name":"demo","remove_all":false})", -20},
      {'c', "ix.sdk.remove_project", R"({"name":"","remove_all":true})", -20},
      {'c', "project.remove_files", R"({"list":[{"project":"demo","task":"task0"}]})", -20},
      {'c', "move.continue", "null", -17320},
      {'s', "project.run_param", R"({"override":0.001,"loop_mode":true})", -50513},
      {'s', "project.run_param", R"({"override":1.001,"loop_mode":true})", -50513},
      {'s', "project.run_param", R"({"override":1})", -260},
      {'s', "project.run_param", R"({"override":"1","loop_mode":true})", -260},
  };
  for (const auto& row : rows)
    EXPECT_EQ(bench.ask(row.form, row.key, row.parameter), row.code) << row.key << row.parameter;
  EXPECT_EQ(bench.command("move.l", line), -17320);
  EXPECT_STREQ(bench.world.stateText(), "program");
  bench.run();
  EXPECT_STREQ(bench.world.stateText(), "idle");
  EXPECT_EQ(bench.command("move.l", line), -17320) << "until the queue was reset";
  EXPECT_EQ(bench.pushed("move.last_error_with_setting").back()["error"], -17320);
  EXPECT_EQ(bench.command("move.reset"), 0);
  EXPECT_EQ(bench.command("move.l", line), 0);
}

TEST_F(Projects, PointersFollowTheLines) {
  load(
      "! beginning\nMoveAbsJ [10,30,90,0,60,0], v50%, z5\nLoop 2\n  Call called\nEndLoop\n\nPrint \"done\" ! "
      "end\n",
      "MoveAbsJ [0,30,90,0,60,0], v50%\nWait 0.2\n");
  start();
  const double time = bench.run();
  EXPECT_EQ(places("exe_line"), "main.mod:2 called.mod:1 called.mod:2 called.mod:1 called.mod:2 main.mod:7");
  EXPECT_EQ(places("adv_line"), "main.mod:2 called.mod:1 called.mod:2 called.mod:1 called.mod:2 main.mod:7");
  EXPECT_NEAR(degrees(0), 0, 1e-6);
  EXPECT_GT(time, 0.4);
  EXPECT_EQ(logged(), "done");
  EXPECT_TRUE(bench.pushed("move.last_error_with_setting").empty()) << "no move of a client's";
  // The pointer that looks ahead is ahead.
  const Json::Value first = bench.pushed("project.tasks_pointer").front()[0];
  EXPECT_EQ(first["task_name"], "t");
  load("MoveAbsJ [10,30,90,0,60,0], v50%\nMoveAbsJ [20,30,90,0,60,0], v50%\n");
  start();
  bench.world.advance(0.1);
  EXPECT_EQ(places("exe_line"), "main.mod:1");
  EXPECT_EQ(places("adv_line"), "main.mod:1 main.mod:2");
  bench.run();
  EXPECT_EQ(places("exe_line"), "main.mod:1 main.mod:2");
}

TEST_F(Projects, MovesGoWhereTheLinesSay) {
  const Pose at = bench.world.motion.toolInReference();
  const double degree = 180 / 3.14159265358979323846;
  const auto pose = [&](double dx, double dy) {
    std::string text = "[";
    for (int i = 0; i < 3; ++i)
      text += std::to_string(at.trans[i] * 1000 + (i == 0 ? dx : i == 1 ? dy : 0)) + ",";
    for (int i = 0; i < 3; ++i) text += std::to_string(at.rot[i] * degree) + (i < 2 ? "," : "]");
    return text;
  };
  load("MoveL " + pose(50, 0) + ", v100, z0\nMoveJ " + pose(50, -50) + ", v100%\n");
  start();
  bench.world.advance(0.3);
  EXPECT_LT(bench.world.motion.toolInReference().trans[0], at.trans[0] + 0.03) << "100 mm/s";
  bench.run();
  const Pose end = bench.world.motion.toolInReference();
  EXPECT_NEAR(end.trans[0], at.trans[0] + 0.05, 1e-6);
  EXPECT_NEAR(end.trans[1], at.trans[1] - 0.05, 1e-6);
}

TEST_F(Projects, WhatStopsTheArmPausesTheProgram) {
  const struct {
    const char* name;
    std::function<void(Bench&)> stop;
    bool needsPower = false;
  } rows[] = {
      {"project.stop", [](Bench& b) { EXPECT_EQ(b.command("project.stop"), 0); }},
      {"move.pause", [](Bench& b) { EXPECT_EQ(b.command("move.pause"), 0); }},
      {"move.stop", [](Bench& b) { EXPECT_EQ(b.command("move.stop"), 0); }},
      {"move.reset", [](Bench& b) { EXPECT_EQ(b.command("move.reset"), 0); }},
      {"collision", [](Bench& b) { b.world.collide(); }},
      {"power off", [](Bench& b) { b.world.switchPowerOff(); }, true},
      {"emergency stop",
       [](Bench& b) {
         b.world.pressEmergencyStop();
         EXPECT_EQ(b.command("project.start"), -3);
         b.world.safety.estopPressed = false;
         EXPECT_EQ(b.command("rsc.emer_stop.reset"), 0);
       },
       true},
      {"a move that fails",
       [](Bench& b) {
         b.world.motion.failNext(-50002);
         b.run();
         EXPECT_EQ(b.pushed("log.user").back()["error"], -50002);
         EXPECT_EQ(b.pushed("log.user").back()["data"], "t main.mod line 2: the move failed (-50002)");
       }},
  };
  for (const auto& row : rows) {
    for (const double after : {0.5, 3.1}) {  // in the first move, and in the wait behind it
      SCOPED_TRACE(std::string(row.name) + " after " + std::to_string(after));
      if (after > 1 && row.name == std::string("a move that fails")) continue;
      bench.world.boot();
      bench.world.motion.setJoints({0, 0.5, 1.5, 0, 1, 0});
      load(
          "MoveAbsJ [20,30,90,0,60,0], v10%\nMoveAbsJ [30,30,90,0,60,0], v10%\nWait 2\nMoveAbsJ "
          "[0,30,90,0,60,0]\n");
      start();
      for (double t = 0; t < after || (after > 1 && bench.world.motion.pending()); t += 0.002)
        bench.world.advance(0.002);
      EXPECT_STREQ(bench.world.stateText(), "program");
      row.stop(bench);
      bench.run();
      EXPECT_STREQ(bench.world.stateText(), "idle");
      const auto stood = bench.world.motion.joints();
      bench.world.advance(5);
      EXPECT_EQ(bench.world.motion.joints(), stood);
      EXPECT_GT(degrees(0), 0.1);
      EXPECT_TRUE(bench.pushed("move.last_error_with_setting").empty());
      if (row.needsPower) {
        EXPECT_EQ(bench.command("project.start"), -17);
        EXPECT_EQ(bench.command("sys.power.on"), 0);
      }
      ASSERT_EQ(bench.command("project.start"), 0);
      bench.run();
      EXPECT_NEAR(degrees(0), 0, 1e-6);
      EXPECT_EQ(places("exe_line").substr(places("exe_line").size() - 32),
                "main.mod:2 main.mod:3 main.mod:4");
    }
  }
}

TEST_F(Projects, OverrideAndLoopModeAct) {
  const char* const there = "MoveAbsJ [40,30,90,0,60,0], v20%\nMoveAbsJ [0,30,90,0,60,0], v20%\n";
  const auto timeWith = [&](const char* options) {
    EXPECT_EQ(bench.ask('s', "project.run_param", options), 0);
    load(there);
    start();
    return bench.run();
  };
  timeWith(R"({"override":1.0,"loop_mode":false})");  // from wherever the arm is
  const double usual = timeWith(R"({"override":1.0,"loop_mode":false})");
  const double slow = timeWith(R"({"override":0.25,"loop_mode":false})");
  EXPECT_NEAR(slow / usual, 4, 0.3);
  EXPECT_EQ(bench.ask('g', "project.run_param"), json(R"({"loop_mode":false,"override":0.25})"));
  EXPECT_GE(timeWith(R"({"override":1,"loop_mode":true})"), 100) << "never ends by itself";
  bench.world.advance(1);
  EXPECT_EQ(bench.ask('s', "project.run_param", R"({"override":1,"loop_mode":false})"), 0);
  EXPECT_LT(bench.run(), usual + 1) << "ends with the round";
  // Without anything that takes time a loop takes the time of its lines, and can be paused.
  load("Loop\nEndLoop\n");
  start();
  bench.world.advance(10);
  EXPECT_EQ(bench.command("project.stop"), 0);
  bench.run();
  EXPECT_STREQ(bench.world.stateText(), "idle");
}

TEST_F(Projects, TasksRunSideBySide) {
  ASSERT_TRUE(
      bench.world.programs.projects.add("p",
                                        {{"p.xml", ""},
                                         {"arm/main.mod", "MoveAbsJ [10,30,90,0,60,0], v5%\n"},
                                         {"clock/main.mod", "Loop 3\nWait 0.1\nPrint \"tick\"\nEndLoop\n"},
                                         {"lost/main.mod", "Call lost\n"}},
                                        true));
  ASSERT_EQ(bench.command("project.load", R"({"name":"p","tasks":["clock","arm"]})"), 0);
  ASSERT_EQ(bench.command("project.pp.main"), 0);
  start();
  bench.world.advance(0.5);
  EXPECT_EQ(bench.pushed("log.user").size(), 3u);
  EXPECT_TRUE(bench.world.motion.moving());
  bench.run();
  EXPECT_NEAR(degrees(0), 10, 1e-6);
  ASSERT_EQ(bench.command("project.load", R"({"name":"p","tasks":["lost"]})"), 0);
  ASSERT_EQ(bench.command("project.pp.main"), 0);
  ASSERT_EQ(bench.command("project.start"), 0);
  bench.run();
  EXPECT_EQ(logged(), "lost main.mod line 1: there is no such program (-320)");
}

TEST_F(Projects, DemoRunsOnEveryArm) {
  for (const Model model :
       {Model::triax, Model::quadrax, Model::standard, Model::tandiFive, Model::tandi, Model::tandiSeven}) {
    SCOPED_TRACE(modelName(model));
    Bench arm(model);
    ASSERT_EQ(arm.command("project.load", R"({"name":"demo","tasks":["task0"]})"), 0);
    ASSERT_EQ(arm.command("project.pp.main"), 0);
    arm.makeReady();
    ASSERT_EQ(arm.command("project.start"), 0);
    double most = 0;
    for (double t = 0; arm.world.busy() && t < 100; t += 0.01) {
      arm.world.advance(0.01);
      most = std::max(most, arm.world.motion.joints()[0]);
    }
    EXPECT_FALSE(arm.world.busy());
    EXPECT_GT(most, 0.1);
    EXPECT_TRUE(arm.pushed("log.user").empty());
  }
}

}  // namespace
}  // namespace zivra::sim::test
