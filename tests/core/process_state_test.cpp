#include "core/process_state.h"

#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <zivra/version.h>

#include "core/scoped_language.h"

namespace {

using namespace zivra;
using namespace zivra::internal;

TEST(ProcessState, RequestIdsAreNeverGivenTwice) {
  constexpr int kThreads = 4, kEach = 2000;
  std::vector<std::vector<std::uint64_t>> ids(kThreads);
  std::vector<std::thread> threads;
  for (auto& mine : ids) {
    threads.emplace_back([&mine] {
      for (int i = 0; i < kEach; ++i) mine.push_back(nextRequestId());
    });
  }
  for (auto& thread : threads) thread.join();
  std::set<std::uint64_t> all;
  for (const auto& mine : ids) all.insert(mine.begin(), mine.end());
  EXPECT_EQ(all.size(), static_cast<std::size_t>(kThreads * kEach));
  EXPECT_GE(*all.begin(), 1u);
}

TEST(ProcessState, CommandNumbersCountUp) {
  const auto first = nextCommandNumber();
  EXPECT_EQ(nextCommandNumber(), first + 1);
}

TEST(ProcessState, UidOfRobotId) {
  const struct {
    const char* id;
    const char* uid;
  } cases[] = {
      {"", ""},
      {"default", "default"},
      {"12345678901", "12345678901"},
      {"123456789012", "12345678-9012"},
      {"ABCDEFGH-many-more-WXYZ", "ABCDEFGH-WXYZ"},
  };
  for (const auto& c : cases) EXPECT_EQ(uidOf(c.id), c.uid);
}

TEST(ProcessState, UidIsReadAndReplacedByAnyThread) {
  const std::string before = uid();
  const std::string names[] = {"first-robot-with-a-long-name", "second-robot-with-a-longer-name"};
  setUid(names[0]);
  std::thread writer([&] {
    for (int i = 0; i < 1000; ++i) setUid(names[i % 2]);
  });
  for (int i = 0; i < 1000; ++i) {
    const std::string seen = uid();
    EXPECT_TRUE(seen == names[0] || seen == names[1]) << seen;
  }
  writer.join();
  setUid(before);
}

TEST(Language, OfLocaleNames) {
  const struct {
    const char* name;
    Language language;
  } cases[] = {
      {"zh_CN.UTF-8", Language::chinese},
      {"zh_TW.UTF-8", Language::chinese},
      {"en_CN", Language::chinese},
      {"Chinese (Simplified)_China.936", Language::chinese},
      {"LC_CTYPE=zh_CN.GBK;LC_NUMERIC=C", Language::chinese},
      {"C", Language::english},
      {"en_US.UTF-8", Language::english},
      {"ZH_cn", Language::english},
      {"", Language::english},
      {nullptr, Language::english},
  };
  for (const auto& c : cases) EXPECT_EQ(languageOfLocale(c.name), c.language) << (c.name ? c.name : "null");
}

TEST(Language, OfTheEnvironment) {
  for (const char* name : {"C", "xx_NOWHERE.utf8"}) {  // one that exists, one that doesn't
    const ScopedLanguage before(Language::chinese);
    ASSERT_EQ(setenv("LC_ALL", name, 1), 0);
    chooseLanguage();
    EXPECT_EQ(language(), Language::english) << name;
  }
  // An unknown name must not be mistaken for its own text.
  const ScopedLanguage before(Language::english);
  ASSERT_EQ(setenv("LC_ALL", "zh_NOWHERE.936", 1), 0);
  const bool exists = std::setlocale(LC_ALL, "") != nullptr;
  chooseLanguage();
  EXPECT_EQ(language(), exists ? Language::chinese : Language::english);
  unsetenv("LC_ALL");
  std::setlocale(LC_ALL, "C");
}

TEST(Version, Parsing) {
  const struct {
    const char* text;
    int major, minor, patch, build;
  } cases[] = {
      {"3.1.0", 3, 1, 0, 0},        {"3.1", 3, 1, 0, 0},
      {"3.1.0.17", 3, 1, 0, 17},    {"", 0, 0, 0, 0},
      {"v3.1.0", 0, 0, 0, 0},       {"3.x.5", 3, 0, 0, 0},
      {"3.1.0-beta.4", 3, 1, 0, 0}, {"3..5", 3, 0, 0, 0},
      {"3.1.0.1.9", 3, 1, 0, 1},    {" 3. +1.0", 3, 1, 0, 0},
      {"3.1.", 3, 1, 0, 0},         {"3.99999999999.5", 3, 0, 0, 0},
      {"-1.2", -1, 2, 0, 0},        {"+-1", 0, 0, 0, 0},
      {"3 .1", 3, 0, 0, 0},
  };
  for (const auto& c : cases) {
    const VersionRecord version = parseVersion(c.text);
    EXPECT_EQ(version.major, c.major) << c.text;
    EXPECT_EQ(version.minor, c.minor) << c.text;
    EXPECT_EQ(version.patch, c.patch) << c.text;
    EXPECT_EQ(version.build, c.build) << c.text;
  }
}

TEST(Version, Order) {
  const struct {
    const char* a;
    const char* b;
    bool older;
  } cases[] = {
      {"3.0.9", "3.1.0", true},    {"3.0.999", "3.1.0", true},        {"3.1.0", "3.1.0", false},
      {"3.1.0", "3.1.0.1", true},  {"3.10.0", "3.9.0", false},        {"", "3.1.0", true},
      {"4.0.0", "3.9.9", false},   {"2147483647", "3.1.0", false},    {"3.1.0", "2147483647", true},
      {"3.2.0", "3.1.999", false}, {"3000.0.0", "2147483.0.0", true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(isOlder(parseVersion(c.a), parseVersion(c.b)), c.older) << c.a << " " << c.b;
  }
}

TEST(Version, Texts) {
  VersionRecord version = parseVersion("1.2.3.4");
  EXPECT_EQ(text(version), "1.2.3");
  EXPECT_EQ(textWithBuild(version), "1.2.3.4");
  version.tag = "rc1";
  EXPECT_EQ(text(version), "1.2.3.rc1");
  EXPECT_EQ(textWithBuild(version), "1.2.3.rc1.4");
  EXPECT_EQ(textWithBuild(minimumControllerVersion()), "3.1.0.0");
  EXPECT_EQ(text(libraryVersion()).substr(0, 5), "0.7.1");
}

}  // namespace
