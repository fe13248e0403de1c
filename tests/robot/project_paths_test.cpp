// The rules by which a path becomes a request.
#include "robot/project_paths.h"

#include <gtest/gtest.h>
#include <json/json.h>

namespace zivra::internal {

namespace {

std::string text(const Json::Value& value) {
  std::string written = Json::FastWriter().write(value);
  written.pop_back();
  return written;
}

TEST(ProjectPaths, OfAFileSayWhereItGoes) {
  constexpr auto destination = ImportFault::destination;
  constexpr auto projectFile = ImportFault::projectFileExtension;
  constexpr auto program = ImportFault::programExtension;
  constexpr auto none = ImportFault::none;
  const struct {
    const char *source, *destination;
    ImportFault fault;
    const char *name = "", *request = "null";
  } rows[] = {
      // Files of a project.
      {"a.json", "project/P", none, "a", R"({"extension":".json","project_name":"P"})"},
      {"d.e/a.b.xml", "project/P", none, "a.b", R"({"extension":".xml","project_name":"P"})"},
      {"a.sys", "project/P/", none, "a", R"({"extension":".sys","project_name":"P"})"},
      {"a.json", "project/P/x.json", none, "x", R"({"extension":".json","project_name":"P"})"},
      {"a.json", "project/P/x.json/", none, "x", R"({"extension":".json","project_name":"P"})"},
      {"a.json", "project/P/x.json/F.mod", none, "x", R"({"extension":".json","project_name":"P"})"},
      {"a.json", "project/P/x.xml", projectFile},
      {"a.json", "project/P/x.mod", projectFile},
      {"a.json", "project/P/x.", projectFile},
      {"a.JSON", "project/P", projectFile},
      {"a.mod", "project/P", projectFile},
      {"a.mod", "project/P/x.mod", projectFile},
      {"a", "project/P", projectFile},
      {".json", "project/P", projectFile},
      {"a.json/b", "project/P", projectFile},
      // Programs of a task.
      {"a.mod", "project/P/T", none, "a", R"({"extension":".mod","project_name":"P","task_name":"T"})"},
      {"/d/a.mod", "project/P/T/", none, "a", R"({"extension":".mod","project_name":"P","task_name":"T"})"},
      {"a.mod", "project/P/T/F.mod", none, "F", R"({"extension":".mod","project_name":"P","task_name":"T"})"},
      {"a.mod", "project/P/T/F", none, "a", R"({"extension":".mod","project_name":"P","task_name":"T"})"},
      {"a.mod", "project/P/.xml/F.mod", none, "F",
       R"({"extension":".mod","project_name":"P","task_name":".xml"})"},
      {"a.json", "project/P/T", program},
      {"a.json", "project/P/T/F.mod", program},
      {"a.mod", "project/P/T/F.xml", program},
      {"a.mod", "project/P/T/F.MOD", program},
      {"a", "project/P/T", program},
      // Neither.
      {"a.json", "project", destination},
      {"a.json", "", destination},
      {"a.json", "proj/P", destination},
      {"a.json", "Project/P", destination},
      {"a.json", "/project/P", destination},
      {"a.json", "P/project", destination},
      {"a.mod", "project/P/T/F.mod/", destination},
      {"a.mod", "project/P/T/U/F.mod", destination},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.source) + " to " + row.destination);
    FileImport import;
    EXPECT_EQ(planImport(row.source, row.destination, import), row.fault);
    EXPECT_EQ(import.name, row.name);
    EXPECT_EQ(text(import.request), row.request);
  }
}

TEST(ProjectPaths, ToBeRemovedNameATaskOrAProgram) {
  const struct {
    const char* path;
    int code;
    const char* entry = "null";
  } rows[] = {
      {"project/P/T", 0, R"({"project":"P","task":"T"})"},
      {"project/P/F.xml", 0, R"({"project":"P","task":"F.xml"})"},
      {"project/P/", 0, R"({"project":"P","task":""})"},
      {"project/P/T/F.mod", 0, R"({"file":"F.mod","project":"P","task":"T"})"},
      {"project/P/T/F.xml", -281},
      {"project/P/T/F", -281},
      {"project/P/T/.mod", -281},
      {"project/P/T/", -281},
      {"project/P", 259},
      {"project", 259},
      {"", 259},
      {"projects/P/T", 259},
      {"/project/P/T", 259},
      {"project/P/T/F.mod/", 259},
      {"project/P/T/U/F.mod", 259},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    Json::Value entry;
    EXPECT_EQ(planRemoval(row.path, entry).value(), row.code);
    EXPECT_EQ(text(entry), row.entry);
  }
}

TEST(ProjectPaths, OfAZipFileNameTheProject) {
  const struct {
    const char *path, *name;
    bool zip = true;
  } rows[] = {
      {"a.zip", "a"},         {"/d/a.zip", "a"},       {"d\\a.zip", "a"},   {"a.zip.bak", "a"},
      {"a.zip.zip", "a"},     {"a.b.zipped", "a.b"},   {".zip", ""},        {"a.ZIP", "", false},
      {"d.zip/a", "", false}, {"d.zip\\a", "", false}, {"azip", "", false}, {"", "", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    std::string name;
    EXPECT_EQ(projectNameOf(row.path, name), row.zip);
    EXPECT_EQ(name, row.name);
  }
}

}  // namespace

}  // namespace zivra::internal
