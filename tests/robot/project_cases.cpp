// Program projects and their files.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "robot/fixture.h"
#include "support/acknowledging_link.h"
#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;

// A file of three bytes in the test's own folder.
std::string fileNamed(const std::string& name) {
  std::ofstream(name, std::ios::binary) << "abc";
  return name;
}
#define ANNOUNCED(name, function, overwrite)                                                            \
  'c', "ix.sdk.transferInit",                                                                           \
      R"({"function":")" function R"(","len":3,"md5":"900150983cd24fb0d6963f7d28e17f72","name":")" name \
      R"(","overwrite":)" overwrite "}",                                                                \
      "0"

using Projects = std::vector<std::pair<std::string, std::vector<std::string>>>;
Projects fields(const std::vector<RLProjectInfo>& list) {
  Projects all;
  for (const auto& project : list) all.emplace_back(project.name, project.taskList);
  return all;
}

const WireCase rows[] = {
    {"projects", 'g', "project.list", "null",
     R"([{"name":"a","tasks":["x","y"]},{"tasks":[1]},{"name":"","tasks":["z"]},{"name":"b"}])", nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(fields(r.projectsInfo(ec)), {{"a", {"x", "y"}}, {"b", {}}});
     },
     Rules()
         .tolerates("<* >* -/*/name -/*/tasks /*/name=null /?/tasks=* /1/tasks/0=* /2/tasks/0=* /1=object "
                    "/2=object /3=object /0=object")
         .otherCode(-260)},
    {"no projects", 'g', "project.list", "null", "[]", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(fields(r.projectsInfo(ec)), {}); }, Rules().otherCode(-260)},
    {"load", 'c', "project.load", R"({"name":"p","tasks":["a","b"]})", "0",
     R"(loadProject end, name: p, tasks: ["a", "b"] (0))",
     [](Robot& r, Ec& ec) {
       r.loadProject("p", {"a", "b"}, ec);
     },
     Rules().inMode(MotionControlMode::NrtRLTask)},
    {"program pointer to main", 'c', "project.pp.main", "null", "0", "ppToMain end (0)",
     [](Robot& r, Ec& ec) { r.ppToMain(ec); }, Rules().inMode(MotionControlMode::NrtRLTask)},
    {"run", 'c', "project.start", "null", "0", "runProject end (0)",
     [](Robot& r, Ec& ec) { r.runProject(ec); }, Rules().inMode(MotionControlMode::NrtRLTask)},
    {"pause", 'c', "project.stop", "null", "0", "pauseProject end (0)",
     [](Robot& r, Ec& ec) { r.pauseProject(ec); }, Rules().inMode(MotionControlMode::NrtRLTask)},
    {"slowest, in a loop", 's', "project.run_param", R"({"loop_mode":true,"override":0.01})", "0",
     "setProjectRunningOpt end, rate: 1, loop: true (0)",
     [](Robot& r, Ec& ec) { r.setProjectRunningOpt(0.01, true, ec); }},
    {"fastest", 's', "project.run_param", R"({"loop_mode":false,"override":1.0})", "0",
     "setProjectRunningOpt end, rate: 100, loop: false (0)",
     [](Robot& r, Ec& ec) { r.setProjectRunningOpt(1, false, ec); }},
    {"import", 'c', "ix.sdk.import_project", "null", R"({"data":{"f":"success","project_name":"p_1"}})",
     "importProject p.zip true (0)",
     [](Robot& r, Ec& ec) { expectEqual(r.importProject(fileNamed("p.zip"), true, ec), "p_1"); },
     Rules()
         .ownLogOnly()
         .silentOnDeadLink()
         .sendsFile()
         .tolerates("-/data/f")
         .after(ANNOUNCED("p", "import_project", "true"))},
    {"import of a file with more behind its name", 'c', "ix.sdk.import_project", "null",
     R"({"data":{"project_name":"a"},"more":1})", "importProject ./a.zip.bak false (0)",
     [](Robot& r, Ec& ec) { expectEqual(r.importProject("./" + fileNamed("a.zip.bak"), false, ec), "a"); },
     Rules()
         .ownLogOnly()
         .silentOnDeadLink()
         .sendsFile()
         .tolerates("-/more /more=*")
         .after(ANNOUNCED("a", "import_project", "false"))},
    {"remove", 'c', "ix.sdk.remove_project", R"({"name":"p","remove_all":false})", "0",
     "removeProject p, all false (0)", [](Robot& r, Ec& ec) { r.removeProject("p", ec); },
     Rules().ownLogOnly().tolerates("=object")},
    {"remove all", 'c', "ix.sdk.remove_project", R"({"name":"","remove_all":true})",
     R"({"data":{"msg":"gone"},"error":0})", "removeProject , all true (0)",
     [](Robot& r, Ec& ec) { r.removeProject("", ec, true); },
     Rules().ownLogOnly().tolerates("-/error /error=null -/data /data=* -/data/msg /data/msg=*")},
    {"project file", 'c', "eci.file_transfer.import_project_file",
     R"({"extension":".json","project_name":"P"})", R"({"data":{"f":"success","file_name":"a.json"}})",
     "importFile a.json project/P (0)",
     [](Robot& r, Ec& ec) {
       expectEqual(r.importFile(fileNamed("a.json"), "project\\P", false, ec), "a.json");
     },
     Rules()
         .ownLogOnly()
         .silentOnDeadLink()
         .sendsFile()
         .tolerates("-/data/f")
         .after(ANNOUNCED("a", "import_project_file", "false"))},
    {"program of a task", 'c', "eci.file_transfer.import_project_file",
     R"({"extension":".mod","project_name":"P","task_name":"T"})",
     R"({"data":{"f":"success","file_name":"F.mod"}})", "importFile ./a.mod project/P/T/F.mod (0)",
     [](Robot& r, Ec& ec) {
       fileNamed("a.mod");
       expectEqual(r.importFile(".\\a.mod", "project/P/T/F.mod", true, ec), "F.mod");
     },
     Rules()
         .ownLogOnly()
         .silentOnDeadLink()
         .sendsFile()
         .tolerates("-/data/f")
         .after(ANNOUNCED("F", "import_project_file", "true"))},
    {"remove files", 'c', "project.remove_files",
     R"({"list":[{"project":"P","task":"T"},{"file":"F.mod","project":"P","task":"T"}]})", "0",
     R"(removeFiles ["project/P/T", "project/P/T/F.mod"] (0))",
     [](Robot& r, Ec& ec) {
       r.removeFiles({"project/P/T", "project\\P\\T/F.mod"}, ec);
     },
     Rules().ownLogOnly().tolerates("=object")},
};
const WireTests tests("project", rows);

class ProjectFiles : public RobotTest {
 protected:
  ProjectFiles() : files_(address()) { controller_.answer("ix.sdk.transferInit", "0"); }

  // At error level, and in the robot's log alone.
  void expectLogged(std::vector<std::string> lines) {
    const auto own = robotLog("scripted"), global = globalLog();
    for (auto& line : lines) {
      line.insert(0, "E: ");
      EXPECT_NE(std::find(own.begin(), own.end(), line), own.end()) << line;
      EXPECT_EQ(std::find(global.begin(), global.end(), line), global.end()) << line;
    }
  }

  AcknowledgingLink files_;
};

constexpr const char* takeProject = "ix.sdk.import_project";
constexpr const char* takeFile = "eci.file_transfer.import_project_file";

TEST_F(ProjectFiles, WhatTheControllerSaysOfAFileIsACode) {
  const struct {
    const char *key, *reply, *result;
    int code;
  } cases[] = {
      {takeProject, R"({"data":{"f":"function_error","project_name":"p"}})", "", -277},
      {takeProject, R"({"data":{"f":"false_project_zip","project_name":"p"}})", "", -278},
      {takeProject, R"({"data":{"f":"empty_data","project_name":"p"}})", "p", 0},
      {takeProject, R"({"data":{"f":"","project_name":"p"}})", "p", 0},
      {takeProject, R"({"data":{"f":"false_project_zip"}})", "", -278},
      {takeProject, R"({"data":{"f":"success"}})", "", 257},
      {takeProject, R"({"error":-5})", "", 257},
      {takeProject, "-5", "", -5},
      {takeProject, "0", "", 0},
      {takeFile, R"({"data":{"f":"function_error"}})", "", -277},
      {takeFile, R"({"data":{"f":"empty_data"}})", "", -284},
      {takeFile, R"({"data":{"f":"wrong_file_type"}})", "", -281},
      {takeFile, R"({"data":{"f":"non-exist task"}})", "", -60005},
      {takeFile, R"({"data":{"f":"open_file_error","file_name":"f"}})", "", -280},
      {takeFile, R"({"data":{"f":"false_project_zip","file_name":"f"}})", "f", 0},
      {takeFile, R"({"data":{"f":"Function_error","file_name":"f"}})", "f", 0},
      {takeFile, "-6", "", -6},
      {takeFile, "0", "", 0},
  };
  TandiRobot robot(address());
  fileNamed("p.zip");
  fileNamed("f.xml");
  for (const auto& row : cases) {
    SCOPED_TRACE(std::string(row.key) + row.reply);
    controller_.answer(row.key, row.reply);
    Ec ec;
    EXPECT_EQ(row.key == takeProject ? robot.importProject("p.zip", false, ec)
                                     : robot.importFile("f.xml", "project/P", false, ec),
              row.result);
    EXPECT_EQ(ec, Ec(row.code, category()));
  }
}

TEST_F(ProjectFiles, NothingIsSentForWhatCanNotBeRight) {
  const struct {
    const char *source, *destination;  // no destination: a project
    int code;
    const char* log;
  } cases[] = {
      {"none.txt", nullptr, -279, "importProject none.txt not exist"},
      {"f.txt", nullptr, -281, "importProject f.txt not zip"},
      {"p.zip/f.txt", nullptr, -281, "importProject p.zip/f.txt not zip"},
      {"empty.zip", nullptr, -283, "importProject empty.zip send file error (-283)"},
      {"none.mod", "project", -279, "importFile none.mod doesn't exist"},
      {"f.txt", "proj/P", 259, "importFile proj/P invalid dest"},
      {"f.txt", "project/P", -281, "importFile f.txt, project/P json/xml file extension error"},
      {"f.txt", "project\\P\\T", -281, "importFile f.txt, project/P/T mod file extension error"},
      {"p.zip/empty.mod", "project/P/T", -283, "importFile p.zip/empty.mod, project/P/T (-283)"},
  };
  {
    TandiRobot robot(address());
    std::filesystem::create_directory("p.zip");
    for (const char* name : {"f.txt", "p.zip/f.txt"}) fileNamed(name);
    for (const char* name : {"empty.zip", "p.zip/empty.mod"}) std::ofstream{name};
    controller_.forgetRequests();
    for (const auto& row : cases) {
      SCOPED_TRACE(row.log);
      Ec ec;
      EXPECT_EQ(row.destination == nullptr ? robot.importProject(row.source, false, ec)
                                           : robot.importFile(row.source, row.destination, false, ec),
                "");
      EXPECT_EQ(ec, Ec(row.code, category()));
    }
    Ec ec;
    EXPECT_EQ(robot.importProject("p.zip", false, ec), "") << "a folder";
    EXPECT_EQ(ec, Ec(-280, category()));
    const struct {
      std::vector<std::string> list;
      int code;
    } lists[] = {
        {{}, 259}, {{"project/P/T", "project/P/T/F.xml"}, -281}, {{"project/P/T/F.mod", "project\\P"}, 259}};
    for (const auto& row : lists) {
      robot.removeFiles(row.list, ec);
      EXPECT_EQ(ec, Ec(row.code, category()));
    }
    EXPECT_EQ(controller_.count("ix.sdk.transferInit"), 0u);
    EXPECT_EQ(controller_.count("project.remove_files"), 0u);
    EXPECT_EQ(files_.received(), "");
  }
  std::vector<std::string> lines{"removeFiles empty list", "removeFiles project/P/T/F.xml file type wrong",
                                 "removeFiles project/P : invalid list"};
  for (const auto& row : cases) lines.emplace_back(row.log);
  expectLogged(lines);
}

TEST_F(ProjectFiles, AFileThatIsNotTakenIsNotTakenUp) {
  {
    TandiRobot robot(address());
    fileNamed("p.zip");
    fileNamed("f.xml");
    Ec ec;
    const auto both = [&](int code) {
      EXPECT_EQ(robot.importProject("p.zip", false, ec), "");
      EXPECT_EQ(ec, Ec(code, category()));
      EXPECT_EQ(robot.importFile("f.xml", "project/P", false, ec), "");
      EXPECT_EQ(ec, Ec(code, category()));
    };
    controller_.answer("ix.sdk.transferInit", "-20");
    both(-20);
    EXPECT_EQ(files_.received(), "");
    controller_.answer("ix.sdk.transferInit", "0");
    files_.acknowledgeWith(R"({"f":"error"})");
    both(-284);
    EXPECT_EQ(files_.received(), "abcabc");
    EXPECT_EQ(controller_.count(takeProject) + controller_.count(takeFile), 0u);
  }
  expectLogged({"importProject p.zip send file error (-20)", "importFile f.xml, project/P (-20)",
                "importProject p.zip send file error (-284)", "importFile f.xml, project/P (-284)"});
  TandiRobot never;
  Ec ec;
  EXPECT_EQ(never.importProject("p.zip", false, ec), "");
  EXPECT_EQ(ec, Code::network);
  EXPECT_EQ(never.importFile("f.xml", "project/P", false, ec), "");
  EXPECT_EQ(ec, Code::network);
}

TEST_F(ProjectFiles, ProgressIsToldOnTheCallersThread) {
  controller_.answer(takeFile, R"({"data":{"f":"success","file_name":"f.xml"}})");
  TandiRobot robot(address());
  fileNamed("f.xml");
  Ec ec;
  std::vector<std::pair<std::uint64_t, std::uint64_t>> told;
  const auto caller = std::this_thread::get_id();
  robot.setTransferProgress([&](std::uint64_t done, std::uint64_t total) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    told.emplace_back(done, total);
    throw std::runtime_error("of no interest");
  });
  EXPECT_EQ(robot.importFile("f.xml", "project/P", false, ec), "f.xml");
  ASSERT_FALSE(told.empty());
  EXPECT_EQ(told.back(), std::pair(std::uint64_t{3}, std::uint64_t{3}));
  const auto before = told.size();
  robot.setTransferProgress({});
  EXPECT_EQ(robot.importFile("f.xml", "project/P", false, ec), "f.xml");
  EXPECT_EQ(told.size(), before);
}

using ProjectRuns = RobotTest;

TEST_F(ProjectRuns, NeedTheModeOfTasks) {
  const struct {
    const char* name;
    void (*call)(TandiRobot&, Ec&);
  } calls[] = {{"loadProject", [](TandiRobot& r, Ec& ec) { r.loadProject("p", {"t"}, ec); }},
               {"ppToMain", [](TandiRobot& r, Ec& ec) { r.ppToMain(ec); }},
               {"runProject", [](TandiRobot& r, Ec& ec) { r.runProject(ec); }},
               {"pauseProject", [](TandiRobot& r, Ec& ec) { r.pauseProject(ec); }}};
  controller_.answer("project.start", "0");
  {
    TandiRobot robot(address()), never;
    Ec ec;
    const auto allRefused = [&](TandiRobot& r) {
      for (const auto& call : calls) {
        call.call(r, ec);
        EXPECT_EQ(ec, Code::motionControlMode) << call.name;
      }
    };
    allRefused(never);
    allRefused(robot);
    robot.setMotionControlMode(MotionControlMode::NrtCommand, ec);
    allRefused(robot);
    for (const Request& request : controller_.requests()) EXPECT_NE(request.key.rfind("project.", 0), 0u);
    robot.setMotionControlMode(MotionControlMode::NrtRLTask, ec);
    for (const auto& [name, tasks] :
         {std::pair<std::string, std::vector<std::string>>("", {"t"}), {"p", {}}}) {
      robot.loadProject(name, tasks, ec);
      EXPECT_EQ(ec, Code::argumentInvalid);
    }
    EXPECT_EQ(controller_.count("project.load"), 0u);
    // The mode stays allowed once it was entered.
    robot.setMotionControlMode(MotionControlMode::NrtCommand, ec);
    robot.runProject(ec);
    EXPECT_FALSE(ec) << ec.message();
    for (const double rate : std::vector<double>{0.009, 1.01, 0, -1, NAN, HUGE_VAL}) {
      robot.setProjectRunningOpt(rate, false, ec);
      EXPECT_EQ(ec, Code::parameterExceedsLimit) << rate;
    }
    EXPECT_EQ(controller_.count("project.run_param"), 0u);
  }
  for (const auto& log : {robotLog("scripted"), globalLog()}) {
    for (const char* line :
         {"loadProject control mode error Idle (262)", "ppToMain control mode error NrtCommand (262)",
          "runProject control mode error Idle (262)", "pauseProject control mode error NrtCommand (262)",
          "loadProject name or task list is empty (259)", "setProjectRunningOpt 0.009 over-range (258)"}) {
      EXPECT_NE(std::find(log.begin(), log.end(), std::string("E: uid: scripted | ") + line), log.end())
          << line;
    }
  }
}

}  // namespace

}  // namespace zivra::test
