#include "core/log_settings.h"

#include <string_view>
#include <utility>

#include "log_fixture.h"

namespace zivra::internal {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFile = "user_log_settings.json";

class LogSettingsTest : public InOwnFolder {};

TEST_F(LogSettingsTest, OneFailureOrTheFilesValues) {
  const std::string noOpen = "Failed to open user_log_settings.json";
  const std::string noDirectory = "user_log_settings.json does not contain _log_storage_directory_";
  const std::string noDays = "user_log_settings.json does not contain _retention_days_";
  const std::string directoryNoText = "_log_storage_directory_ is not a string";
  const std::string daysNoInteger = "_retention_days_ is not an integer";
  const std::string directoryEmpty = "_log_storage_directory_ is empty";
  const std::string daysNotPositive = "_retention_days_ is less than or equal to 0";
  struct Row {
    std::string file;
    std::string failure;
    int days = 7;
    std::string directory = "_zivra_log_";
  };
  const Row rows[] = {
      {R"({"_log_storage_directory_": "d", "_retention_days_": 30})", "", 30, "d"},
      {R"({"_log_storage_directory_": "/tmp/d", "_retention_days_": 1, "more": []})", "", 1, "/tmp/d"},
      {R"({"_log_storage_directory_": "d", "_retention_days_": 5000000000})", "", 2147483647, "d"},
      {"", noOpen},
      {"{\"_log_storage_directory_\":", noOpen},
      {std::string(5000, '['), noOpen},
      {R"({"a": ")" + std::string(2 << 20, 'x') + R"("})", noOpen},
      {"{}", noDays},
      {"[]", noDays},
      {"null", noDays},
      {"7", noDays},
      {R"(["_log_storage_directory_", "_retention_days_"])", noDays},
      {R"({"_log_storage_directory_": "d"})", noDays},
      {R"({"_retention_days_": 3})", noDirectory},
      {R"({"_log_storage_directory_": 1, "_retention_days_": 3})", directoryNoText},
      {R"({"_log_storage_directory_": 1.5, "_retention_days_": 3})", directoryNoText},
      {R"({"_log_storage_directory_": null, "_retention_days_": 3})", directoryNoText},
      {R"({"_log_storage_directory_": ["d"]})", directoryNoText},
      {R"({"_log_storage_directory_": "d", "_retention_days_": "3"})", daysNoInteger},
      {R"({"_log_storage_directory_": "d", "_retention_days_": 3.0})", daysNoInteger},
      {R"({"_log_storage_directory_": "d", "_retention_days_": null})", daysNoInteger},
      {R"({"_log_storage_directory_": "d", "_retention_days_": true})", daysNoInteger},
      {R"({"_log_storage_directory_": {}, "_retention_days_": {}})", daysNoInteger},
      {R"({"_retention_days_": "3"})", daysNoInteger},
      {R"({"_log_storage_directory_": "", "_retention_days_": 3})", directoryEmpty},
      {R"({"_log_storage_directory_": ""})", directoryEmpty},
      {R"({"_log_storage_directory_": "", "_retention_days_": []})", directoryEmpty},
      {R"({"_log_storage_directory_": "d", "_retention_days_": 0})", daysNotPositive},
      {R"({"_log_storage_directory_": "d", "_retention_days_": -5000000000})", daysNotPositive},
      {R"({"_log_storage_directory_": "", "_retention_days_": 0})", daysNotPositive},
      {R"({"_retention_days_": -1})", daysNotPositive},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.file.substr(0, 100));
    fs::remove_all("_zivra_log_");
    writeFile(kFile, row.file);
    const LogSettings settings = readLogSettings("r1");
    EXPECT_EQ(settings.failure == nullptr ? "" : settings.failure, row.failure);
    EXPECT_EQ(settings.directory, row.directory);
    EXPECT_EQ(settings.days, row.days);
    EXPECT_TRUE(fs::is_directory("_zivra_log_/r1"));
    EXPECT_FALSE(fs::exists("d"));
  }
}

TEST_F(LogSettingsTest, NoFileIsNoFailureAndMakesNothing) {
  const LogSettings settings = readLogSettings("r1");
  EXPECT_EQ(settings.failure, nullptr);
  EXPECT_EQ(settings.directory, "_zivra_log_");
  EXPECT_EQ(settings.days, 7);
  EXPECT_TRUE(namesIn(".").empty());
}

TEST_F(LogSettingsTest, WhatIsNoFileCanNotBeOpened) {
  fs::create_directories(kFile);
  EXPECT_STREQ(readLogSettings("r1").failure, "Failed to open user_log_settings.json");
  fs::remove(kFile);
  ASSERT_EQ(::mkfifo(kFile, 0600), 0);
  EXPECT_STREQ(readLogSettings("r1").failure, "Failed to open user_log_settings.json");
}

TEST_F(LogSettingsTest, FolderThatCanNotBeMade) {
  writeFile("_zivra_log_", "no folder");
  writeFile(kFile, R"({"_log_storage_directory_": "", "_retention_days_": 3})");
  EXPECT_STREQ(readLogSettings("r1").failure, "Failed to create log storage directory");
  writeFile(kFile, R"({"_log_storage_directory_": "d", "_retention_days_": 0})");
  EXPECT_STREQ(readLogSettings("r1").failure, "_retention_days_ is less than or equal to 0");
  fs::remove("_zivra_log_");
  writeFile("_zivra_log_/r1", "no folder");
  writeFile(kFile, R"({"_log_storage_directory_": "d", "_retention_days_": 3})");
  const LogSettings settings = readLogSettings("r1");
  EXPECT_STREQ(settings.failure, "Failed to create log storage directory");
  EXPECT_EQ(settings.directory, "_zivra_log_");
}

TEST(HarmlessFolderName, StaysInTheFolderAndIsShort) {
  const std::pair<std::string_view, std::string_view> rows[] = {
      {"r1", "r1"},
      {"XB-7 #12:ä", "XB-7 #12:ä"},
      {".hidden", ".hidden"},
      {"", "_"},
      {".", "_"},
      {"..", "__"},
      {"/", "_"},
      {"../../evil", ".._.._evil"},
      {"/etc/passwd", "_etc_passwd"},
      {"..\\..\\evil", ".._.._evil"},
      {std::string_view("a\0b\nc\x7f", 6), "a_b_c_"},
  };
  for (const auto& [id, name] : rows) EXPECT_EQ(harmlessFolderName(std::string(id)), name) << id;
}

TEST(HarmlessFolderName, LongIdsAreCutBetweenCharacters) {
  const std::string x198(198, 'x');
  EXPECT_EQ(harmlessFolderName(std::string(5000, 'x')), std::string(200, 'x'));
  EXPECT_EQ(harmlessFolderName(std::string(5000, '.')), std::string(200, '_'));
  EXPECT_EQ(harmlessFolderName(x198 + "x\xC3\xA4"), x198 + "x");
  EXPECT_EQ(harmlessFolderName(x198 + "\xC3\xA4"), x198 + "\xC3\xA4");
  EXPECT_EQ(harmlessFolderName(std::string(5000, '\x80')), "_");
}

}  // namespace
}  // namespace zivra::internal
