#include "core/daily_files.h"

#include <ctime>

#include "log_fixture.h"

namespace zivra::internal {
namespace {

namespace fs = std::filesystem;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

void useTimeZone(const char* zone) {
  ::setenv("TZ", zone, 1);
  ::tzset();
}

DailyFiles::TimePoint local(int year, int month, int day, int hour = 12, int minute = 0) {
  std::tm date{};
  date.tm_year = year - 1900;
  date.tm_mon = month - 1;
  date.tm_mday = day;
  date.tm_hour = hour;
  date.tm_min = minute;
  date.tm_isdst = -1;
  return std::chrono::system_clock::from_time_t(std::mktime(&date));
}

class DailyFilesTest : public InOwnFolder {
 protected:
  void SetUp() override {
    InOwnFolder::SetUp();
    useTimeZone(kCentralEurope);
  }
};

TEST_F(DailyFilesTest, DaysEndAtMidnightWhateverTheirLength) {
  struct Row {
    const char* zone;
    int year, month, day, hoursLong;
    const char* nextName;
  };
  const Row rows[] = {
      {kCentralEurope, 2026, 1, 31, 24, "s_2026-02-01.log"},
      {kCentralEurope, 2025, 12, 31, 24, "s_2026-01-01.log"},
      {kCentralEurope, 2026, 3, 29, 23, "s_2026-03-30.log"},
      {kCentralEurope, 2026, 10, 25, 25, "s_2026-10-26.log"},
      {"UTC0", 2024, 2, 28, 24, "s_2024-02-29.log"},
      // No 00:00 on 2026-10-18: the clocks go from 24:00 of the day before to 01:00.
      {"XXX3YYY,M10.3.0/0,M2.3.0/0", 2026, 10, 17, 24, "s_2026-10-18.log"},
      {"XXX3YYY,M10.3.0/0,M2.3.0/0", 2026, 10, 18, 23, "s_2026-10-19.log"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.zone) + " before " + row.nextName);
    useTimeZone(row.zone);
    const auto noon = local(row.year, row.month, row.day);
    const auto begin = DailyFiles::nextMidnight(noon - hours(24));
    const auto end = DailyFiles::nextMidnight(noon);
    EXPECT_EQ(end - begin, hours(row.hoursLong));
    EXPECT_EQ(DailyFiles::nextMidnight(begin), end);
    EXPECT_EQ(DailyFiles::nextMidnight(end - seconds(1)), end);
    EXPECT_EQ(DailyFiles::nameOn("s.log", end), row.nextName);
    EXPECT_NE(DailyFiles::nameOn("s.log", end - seconds(1)), row.nextName);
  }
}

TEST_F(DailyFilesTest, OpeningLeavesAsManyFilesAsAreKept) {
  for (int day = 1; day <= 9; ++day)
    writeFile("logs/global_logger_2026-01-0" + std::to_string(day) + ".log", "old");
  writeFile("logs/global_loggers_2020-01-01.log", "of somebody else");
  writeFile("logs/other.log", "");
  fs::create_directories("logs/global_logger_2019-01-01.log");
  struct Row {
    DailyFiles::TimePoint now;
    const char* oldest;
  };
  // First with today's file there already, then on the day after.
  for (const Row& row : {Row{local(2026, 1, 9), "global_logger_2026-01-03.log"},
                         Row{local(2026, 1, 10), "global_logger_2026-01-04.log"}}) {
    DailyFiles files("logs/global_logger.log", 7);
    EXPECT_EQ(files.open(row.now), "");
    auto names = namesIn("logs");
    EXPECT_EQ(names.erase("global_loggers_2020-01-01.log"), 1U);
    EXPECT_EQ(names.erase("other.log"), 1U);
    EXPECT_EQ(names.erase("global_logger_2019-01-01.log"), 1U);
    EXPECT_EQ(names.size(), 7U);
    EXPECT_EQ(*names.begin(), row.oldest);
    EXPECT_TRUE(names.count(DailyFiles::nameOn("global_logger.log", row.now)));
  }
  EXPECT_EQ(contentOf("logs/global_logger_2026-01-09.log"), "old") << "a file is appended to";
}

TEST_F(DailyFilesTest, ChangesFilesAtMidnightAndKeepsTheLast) {
  DailyFiles files("a/b/s.log", 3);
  ASSERT_EQ(files.open(local(2026, 10, 23, 8)), "");
  fs::create_directories("elsewhere");
  fs::current_path("elsewhere");  // later files stay beside the first
  for (int day = 23; day <= 28; ++day) {
    EXPECT_EQ(files.append("first\n", local(2026, 10, day, 0, 0)), "");
    EXPECT_EQ(files.append("last\n", local(2026, 10, day, 23, 59)), "");
  }
  EXPECT_EQ(files.flush(), "");
  fs::current_path("..");
  EXPECT_EQ(namesIn("a/b"),
            (std::set<std::string>{"s_2026-10-26.log", "s_2026-10-27.log", "s_2026-10-28.log"}));
  for (const auto& name : namesIn("a/b")) EXPECT_EQ(contentOf("a/b/" + name), "first\nlast\n") << name;
  EXPECT_TRUE(namesIn("elsewhere").empty());
}

TEST_F(DailyFilesTest, FilesOfBothSidesOfTheStartCountTogether) {
  for (const char* day : {"20", "21", "22"}) writeFile(std::string("s_2026-10-") + day + ".log", "");
  DailyFiles files("s.log", 3);
  files.open(local(2026, 10, 22));
  files.append("x", local(2026, 10, 23));
  EXPECT_EQ(namesIn("."),
            (std::set<std::string>{"s_2026-10-21.log", "s_2026-10-22.log", "s_2026-10-23.log"}));
}

TEST_F(DailyFilesTest, NeverRemovesTheFileInUse) {
  for (const char* key : {"2026-10-21", "2026-10-22", "2031-01-01", "zzz"})
    writeFile(std::string("s_") + key + ".log", "");
  DailyFiles files("s.log", 1);
  EXPECT_EQ(files.open(local(2026, 10, 22)), "");
  EXPECT_EQ(namesIn("."), std::set<std::string>{"s_2026-10-22.log"});
}

TEST_F(DailyFilesTest, OpensLaterWhatCanNotBeOpenedNow) {
  writeFile("logs", "no folder");
  const auto start = local(2026, 1, 1);
  DailyFiles files("logs/s.log", 2);
  EXPECT_EQ(files.open(start), "Failed opening file logs/s_2026-01-01.log for writing: Not a directory");
  EXPECT_FALSE(files.isOpen());
  EXPECT_EQ(files.append("lost\n", start + seconds(1)), "");
  EXPECT_EQ(files.append("lost\n", start + minutes(1)), "") << "told once";
  fs::remove("logs");
  EXPECT_EQ(files.append("found\n", start + minutes(2)), "");
  EXPECT_EQ(files.flush(), "");
  EXPECT_EQ(contentOf("logs/s_2026-01-01.log"), "found\n");
}

TEST_F(DailyFilesTest, GoesOnInTheOldFileIfTheNewOneCanNotBeOpened) {
  DailyFiles files("s.log", 2);
  files.open(local(2026, 1, 1));
  fs::create_directories("s_2026-01-02.log");
  EXPECT_EQ(files.append("one\n", local(2026, 1, 2)),
            "Failed opening file s_2026-01-02.log for writing: Is a directory");
  EXPECT_EQ(files.append("two\n", local(2026, 1, 2, 13)), "");
  EXPECT_EQ(files.append("three\n", local(2026, 1, 3)), "");
  EXPECT_EQ(files.flush(), "");
  EXPECT_EQ(contentOf("s_2026-01-01.log"), "one\ntwo\n");
  EXPECT_EQ(contentOf("s_2026-01-03.log"), "three\n");
}

TEST_F(DailyFilesTest, TellsWhatItCanNotRemove) {
  DailyFiles files("s.log", 1);
  files.open(local(2026, 1, 1));
  fs::remove("s_2026-01-01.log");
  writeFile("s_2026-01-01.log/full/file", "");
  EXPECT_EQ(files.append("line\n", local(2026, 1, 2)),
            "Failed removing daily file s_2026-01-01.log: Directory not empty");
  EXPECT_EQ(files.append("line\n", local(2026, 1, 3)), "");
  EXPECT_FALSE(fs::exists("s_2026-01-02.log"));
}

TEST_F(DailyFilesTest, LosesLinesOnAFullDiskOnlyOnceTold) {
  fs::create_symlink("/dev/full", "s_2026-01-01.log");
  const auto now = local(2026, 1, 1);
  const std::string told = "Failed writing to file s_2026-01-01.log: No space left on device";
  DailyFiles files("s.log", 2);
  EXPECT_EQ(files.open(now), "");
  EXPECT_EQ(files.append("line\n", now), "");
  EXPECT_EQ(files.flush(), told);
  EXPECT_EQ(files.flush(), "");
  EXPECT_EQ(files.append(std::string(1 << 20, 'x'), now), told);
  EXPECT_EQ(files.append("line\n", local(2026, 1, 2)), "");
  EXPECT_EQ(files.flush(), "");
  EXPECT_EQ(contentOf("s_2026-01-02.log"), "line\n");
}

TEST_F(DailyFilesTest, KeepsTheOrderOfShortAndHugeLines) {
  const auto now = local(2026, 1, 1);
  std::string expected;
  {
    DailyFiles files("s.log", 2);
    files.open(now);
    for (std::size_t size : {3, 16383, 16384, 16385, 1, 100000, 7}) {
      const std::string line = std::string(size, static_cast<char>('a' + expected.size() % 26)) + "\r\n";
      EXPECT_EQ(files.append(line, now), "");
      expected += line;
    }
    EXPECT_EQ(files.flush(), "");
  }
  EXPECT_EQ(contentOf("s_2026-01-01.log"), expected);
}

}  // namespace
}  // namespace zivra::internal
