#include "core/log.h"

#include <algorithm>
#include <cctype>

#include "core/log_registry.h"
#include "log_fixture.h"

namespace zivra::internal {
namespace {

namespace fs = std::filesystem;

const char* const kGlobalBase = "logs/global_logger.log";
const char* const kSettings = "user_log_settings.json";

std::string robotBase(const std::string& folder) { return folder + "/OstrelSDK.log"; }

// The message of each line, with the level's letter before it; fails for a line of another form.
std::vector<std::string> messagesIn(const std::string& text) {
  const std::string form = "[L|0000-00-00 00:00:00.000 ";
  EXPECT_TRUE(text.empty() || (text.size() > 2 && text.substr(text.size() - 2) == "\r\n")) << text;
  std::vector<std::string> messages;
  for (const std::string& line : linesOf(text)) {
    std::string begin = line.substr(0, form.size());
    const std::string level = line.substr(1, 1);
    if (begin.size() > 1 && level.find_first_of("DIE") == 0) begin[1] = 'L';
    std::replace_if(
        begin.begin(), begin.end(), [](unsigned char c) { return std::isdigit(c); }, '0');
    const std::size_t end = line.find_first_not_of("0123456789", form.size());  // of the thread's id
    const bool ends = end != std::string::npos && end > form.size() && line.substr(end, 2) == "] ";
    EXPECT_TRUE(begin == form && ends) << line;
    messages.push_back(ends ? level + " " + line.substr(end + 2) : line);
  }
  return messages;
}

using Messages = std::vector<std::string>;

class LogTest : public InOwnFolder {
 protected:
  Messages globalMessages() { return messagesIn(contentOf(today(kGlobalBase))); }
  Messages robotMessages(const std::string& folder) {
    return messagesIn(contentOf(today(robotBase(folder))));
  }
};

TEST_F(LogTest, EachLoggerHasItsPlaceAndAllOneForm) {
  const Outcome outcome = inOwnProcess([] {
    const auto console = consoleLogger();
    EXPECT_EQ(console->name(), "_zivra_log_console_");
    EXPECT_EQ(consoleLogger(), console);
    const auto robot = robotLogger("r1", console);
    EXPECT_EQ(robot->name(), "r1");
    EXPECT_EQ(globalLogger().name(), "global_logger");
    logGlobal(LogLevel::debug, "debug {}", 1);
    logBoth(robot.get(), LogLevel::debug, "debug");
    for (Logger* logger : {&globalLogger(), console.get(), robot.get()})
      logger->write(LogLevel::debug, "debug");
    logGlobal(LogLevel::info, "begin {}", true);
    logBoth(robot.get(), LogLevel::info, "uid: {} | end ({})", "r",
            std::make_error_code(std::errc::timed_out));
    logBoth(console.get(), LogLevel::error, "failed ({})", std::error_code());
    logBoth(nullptr, LogLevel::info, "alone");
    logOwn(robot.get(), LogLevel::error, "{}", std::string(20000, 'x'));
    logOwn(nullptr, LogLevel::error, "nowhere");
  });
  const std::string end = "I uid: r | end (" + std::to_string(ETIMEDOUT) + ")";
  EXPECT_EQ(globalMessages(), (Messages{"I begin true", end, "E failed (0)", "I alone"}));
  EXPECT_EQ(robotMessages("_zivra_log_/r1"), (Messages{end, "E " + std::string(20000, 'x')}));
  EXPECT_EQ(messagesIn(outcome.out), Messages{"E failed (0)"});
  EXPECT_EQ(outcome.err, "");
}

TEST_F(LogTest, SettingsChooseTheFolder) {
  writeFile(kSettings, R"({"_log_storage_directory_": "d", "_retention_days_": 2})");
  for (const char* day : {"01", "02", "03"})
    writeFile(std::string("d/r1/OstrelSDK_2020-01-") + day + ".log", "");
  inOwnProcess([] { logOwn(robotLogger("r1", nullptr).get(), LogLevel::info, "line"); });
  EXPECT_EQ(robotMessages("d/r1"), Messages{"I line"});
  EXPECT_EQ(namesIn("d/r1").size(), 2U);
  EXPECT_TRUE(namesIn("_zivra_log_/r1").empty());
}

TEST_F(LogTest, FailureOfTheSettingsIsTheFirstLine) {
  writeFile(kSettings, R"({"_log_storage_directory_": "d", "_retention_days_": 0})");
  inOwnProcess([] {
    const auto robot = robotLogger("r1", nullptr);
    logOwn(robot.get(), LogLevel::info, "line");
    writeFile(kSettings, R"({"_log_storage_directory_": "d", "_retention_days_": 3})");
    EXPECT_EQ(robotLogger("r1", nullptr), robot) << "the second of one id shares it";
    EXPECT_NE(robotLogger("r2", nullptr), robot);
  });
  EXPECT_EQ(robotMessages("_zivra_log_/r1"),
            (Messages{"E _retention_days_ is less than or equal to 0", "I line"}));
  EXPECT_EQ(namesIn("d"), std::set<std::string>{"r2"}) << "the first one's settings hold for both of r1";
}

TEST_F(LogTest, RobotWithoutFolderStaysOnTheConsole) {
  writeFile("_zivra_log_/r1", "no folder");
  const Outcome outcome = inOwnProcess([] {
    prepareRobotLogging();
    const auto console = consoleLogger();
    EXPECT_EQ(robotLogger("r1", console), console);
    EXPECT_EQ(robotLogger("r1", nullptr), console);
  });
  const std::string line = "E Failed to create log storage directory";
  EXPECT_EQ(messagesIn(outcome.out), (Messages{line, line}));
  EXPECT_EQ(outcome.err.find("[*** LOG ERROR ***][SDK error handler] Failed opening file _zivra_log_/r1/"),
            0U);
}

TEST_F(LogTest, IdsStayInTheFolderAndTakeNoOtherLogger) {
  const std::vector<std::string> ids = {
      "../../evil", "..", "", "/abs/olute", "global_logger", "_zivra_log_console_", std::string(100000, 'x')};
  inOwnProcess([&] {
    const auto console = consoleLogger();
    for (const std::string& id : ids) {
      const auto robot = robotLogger(id, console);
      EXPECT_EQ(robot->name(), id);
      EXPECT_NE(robot, console);
      EXPECT_NE(robot.get(), &globalLogger());
    }
  });
  EXPECT_EQ(namesIn("."), (std::set<std::string>{"_zivra_log_", "logs"}));
  EXPECT_EQ(namesIn("_zivra_log_").size(), ids.size());
  EXPECT_EQ(namesIn(folder_), (std::set<std::string>{"cwd", "err", "out"}));
}

TEST_F(LogTest, GlobalLoggerDoesWithoutItsFolder) {
  writeFile("logs", "no folder");
  const Outcome outcome = inOwnProcess([] {
    for (int i = 0; i < 100; ++i) logGlobal(LogLevel::error, "line");
    shutDownLogging();
    logGlobal(LogLevel::error, "line");
  });
  EXPECT_EQ(outcome.err, "[*** LOG ERROR ***][SDK error handler] Failed opening file " + today(kGlobalBase) +
                             " for writing: Not a directory\n");
}

TEST_F(LogTest, FullDiskIsReportedOnceForEachLossAndNeverInACircle) {
  const std::string globalFile = today(kGlobalBase), robotFile = today(robotBase("_zivra_log_/r1"));
  const auto failure = [](const std::string& file) {
    return "Failed writing to file " + file + ": No space left on device";
  };
  const std::string prefix = "[*** LOG ERROR ***][SDK error handler] ";
  struct Row {
    const char* name;
    bool robotFull, globalFull, prepared;
    std::string err;
    Messages global;
  };
  const Row rows[] = {
      {"to the global logger", true, false, false, "", {"E *** LOGGER ERROR ***: " + failure(robotFile)}},
      {"to standard error", true, false, true, prefix + failure(robotFile) + "\n", {}},
      // The report of the first loss is lost in the same way.
      {"both full", true, true, false, prefix + failure(globalFile) + "\n", {}},
      {"both full, prepared", true, true, true, prefix + failure(robotFile) + "\n", {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    for (const auto& entry : fs::directory_iterator(".")) fs::remove_all(entry.path());
    fs::create_directories("logs");
    fs::create_directories("_zivra_log_/r1");
    if (row.globalFull) fs::create_symlink("/dev/full", globalFile);
    if (row.robotFull) fs::create_symlink("/dev/full", robotFile);
    const Outcome outcome = inOwnProcess([&] {
      if (row.prepared) prepareRobotLogging();
      logOwn(robotLogger("r1", nullptr).get(), LogLevel::error, "line");
    });
    EXPECT_EQ(outcome.err, row.err);
    if (!row.globalFull) {
      EXPECT_EQ(globalMessages(), row.global);
    }
  }
}

int threadsOfProcess() {
  return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator()));
}

TEST_F(LogTest, FlusherRunsUntilTheShutdown) {
  inOwnProcess([this] {
    std::thread([] {}).join();  // a sanitizer's own thread comes with the first
    const int before = threadsOfProcess();
    logGlobal(LogLevel::info, "one");
    EXPECT_EQ(threadsOfProcess(), before + 1);
    EXPECT_TRUE(becomesTrue([&] { return globalMessages().size() == 1; }));
    shutDownLogging();
    EXPECT_TRUE(becomesTrue([&] { return threadsOfProcess() == before; }));
    const auto robot = robotLogger("r1", nullptr);
    logBoth(robot.get(), LogLevel::info, "two");
    // The global logger is no longer registered, but it is somebody's.
    EXPECT_TRUE(becomesTrue([&] { return globalMessages().size() == 2; }));
    EXPECT_TRUE(becomesTrue([&] { return robotMessages("_zivra_log_/r1").size() == 1; }));
  });
}

TEST_F(LogTest, WhatIsLoggedAfterTheShutdownIsInTheFilesInTheEnd) {
  inOwnProcess([this] {
    const auto held = robotLogger("r1", nullptr);
    logBoth(held.get(), LogLevel::info, "before");
    shutDownLogging();
    EXPECT_EQ(globalMessages().size(), 1U);
    EXPECT_EQ(robotMessages("_zivra_log_/r1").size(), 1U);
    EXPECT_NE(robotLogger("r1", nullptr), held) << "dropped from the registry";
    shutDownLogging();

    logBoth(held.get(), LogLevel::error, "an error");
    EXPECT_EQ(globalMessages().size(), 2U);
    EXPECT_EQ(robotMessages("_zivra_log_/r1").size(), 2U);
    logBoth(held.get(), LogLevel::info, "waits");
    EXPECT_TRUE(becomesTrue([&] {
      logBoth(held.get(), LogLevel::info, "takes the others along");
      return globalMessages().size() > 4 && robotMessages("_zivra_log_/r1").size() > 4;
    }));
    shutDownLogging();
    auto released = robotLogger("r2", nullptr);
    shutDownLogging();
    logOwn(released.get(), LogLevel::info, "released");
    released.reset();
    EXPECT_EQ(robotMessages("_zivra_log_/r2"), Messages{"I released"});
    std::atexit([] { logGlobal(LogLevel::info, "at exit"); });  // runs before the log's own
    logBoth(held.get(), LogLevel::info, "last");
  });
  EXPECT_EQ(globalMessages().back(), "I at exit");
  EXPECT_EQ(robotMessages("_zivra_log_/r1").back(), "I last");
}

struct LogsWhenDestroyed {
  ~LogsWhenDestroyed() { logGlobal(LogLevel::info, "later than the log's end"); }
};

TEST_F(LogTest, StaticObjectsLogToTheEnd) {
  inOwnProcess([] {
    static const LogsWhenDestroyed earlierThanTheLog;
    static_cast<void>(earlierThanTheLog);
    logGlobal(LogLevel::info, "line");
  });
  EXPECT_EQ(globalMessages(), (Messages{"I line", "I later than the log's end"}));
}

TEST_F(LogTest, ForkedChildEndsAndLogsWithoutTheFlusher) {
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
  GTEST_SKIP() << "ThreadSanitizer knows no threads in the child of a process with threads";
#endif
#endif
  inOwnProcess([] {
    logGlobal(LogLevel::info, "parent");
    globalLogger().flush();
    const pid_t child = ::fork();
    if (child == 0) {
      ::alarm(30);
      for (int round = 0; round < 3; ++round) {
        robotLogger("r1", nullptr)->write(LogLevel::info, "child");
        shutDownLogging();
      }
      std::exit(0);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  });
  EXPECT_EQ(globalMessages(), Messages{"I parent"});
  EXPECT_EQ(robotMessages("_zivra_log_/r1"), (Messages{"I child", "I child", "I child"}));
}

TEST_F(LogTest, ThreadsLogMakeAndDropAtTheSameTime) {
  constexpr int kThreads = 4, kLines = 300;
  inOwnProcess([] {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([thread] {
        for (int line = 0; line < kLines; ++line) {
          const auto robot = robotLogger(line % 2 ? "r1" : "r2", consoleLogger());
          logBoth(robot.get(), line % 50 ? LogLevel::info : LogLevel::error, "{}/{}", thread, line);
          if (line % 37 == thread) shutDownLogging();
          if (line % 41 == thread) prepareRobotLogging();
        }
      });
    }
    for (auto& thread : threads) thread.join();
  });
  // Of each thread all lines, in their order, with nothing between; two loggers of one robot share a file.
  const auto check = [=](const Messages& messages, int first, int step) {
    std::vector<int> next(kThreads, first);
    for (const std::string& message : messages) {
      int thread = 0, line = 0;
      ASSERT_EQ(std::sscanf(message.c_str(), "%*c %d/%d", &thread, &line), 2) << message;
      ASSERT_LT(thread, kThreads);
      if (step == 1) {
        EXPECT_EQ(line, next[static_cast<std::size_t>(thread)]);
      }
      next[static_cast<std::size_t>(thread)] += step;
    }
    for (int end : next) EXPECT_EQ(end, kLines + first);
  };
  check(globalMessages(), 0, 1);
  check(robotMessages("_zivra_log_/r1"), 1, 2);
  check(robotMessages("_zivra_log_/r2"), 0, 2);
}

TEST(FormatLine, FallsBackToTheFormat) {
  EXPECT_EQ(vformatLine("{} {}", fmt::make_format_args("a")), "{} {}");
}

}  // namespace
}  // namespace zivra::internal
