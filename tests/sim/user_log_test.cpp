// The user log and the clock of the simulated controller.
#include "sim/bench.h"

namespace zivra::sim::test {
namespace {

std::string query(const std::string& levels, unsigned limit = 10, unsigned offset = 0,
                  const char* order = "time DESC") {
  return "{\"filter\":{\"level\":[" + levels + "]},\"limit\":" + std::to_string(limit) +
         ",\"offset\":" + std::to_string(offset) + ",\"order\":\"" + order + "\"}";
}

std::vector<std::string> texts(Bench& bench, const std::string& parameter) {
  const Json::Value reply = bench.command("user_log.query", parameter);
  std::vector<std::string> read;
  EXPECT_TRUE(reply["data"]["logs"].isArray()) << reply;
  for (const Json::Value& entry : reply["data"]["logs"]) {
    EXPECT_TRUE(entry["err_code"].isInt() && entry["repair"].isString()) << entry;
    EXPECT_EQ(entry["time"].asString().size(), 19u) << entry;
    read.push_back(entry["content"].asString());
  }
  return read;
}

using Texts = std::vector<std::string>;

TEST(UserLog, TellsWhatHappenedByLevel) {
  Bench bench;
  World& w = bench.world;
  ASSERT_EQ(bench.command("sys.power.on"), 0);
  w.pressEmergencyStop();
  w.openGate(true);
  EXPECT_EQ(texts(bench, query("")), (Texts{"the safety gate was opened", "the emergency stop was pressed",
                                            "the motors were switched on", "the controller was started"}));
  EXPECT_EQ(texts(bench, query("\"error\"")), (Texts{"the emergency stop was pressed"}));
  EXPECT_EQ(
      texts(bench, query("\"info\",\"warning\"", 10, 0, "time ASC")),
      (Texts{"the controller was started", "the motors were switched on", "the safety gate was opened"}));
  EXPECT_EQ(texts(bench, query("", 2, 1)),
            (Texts{"the emergency stop was pressed", "the motors were switched on"}));
  EXPECT_EQ(texts(bench, query("", 10, 3)), (Texts{"the controller was started"}));
  EXPECT_EQ(texts(bench, query("", 10, 4)), Texts());
  const Json::Value entry = bench.command("user_log.query", query("\"error\""))["data"]["logs"][0];
  EXPECT_EQ(entry["err_code"], -3);
  EXPECT_NE(entry["repair"].asString(), "");
  for (const std::string& malformed :
       {query("\"fatal\""), query("1"), query("", 0), query("", 101), query("", 10, 0, "time"),
        std::string("{}"),
        std::string(R"({"filter":{"level":[]},"limit":1,"offset":-1,"order":"time DESC"})"),
        std::string(R"({"filter":{"level":"info"},"limit":1,"offset":0,"order":"time DESC"})")})
    EXPECT_EQ(bench.command("user_log.query", malformed), -260) << malformed;
}

TEST(UserLog, SpeaksTwoLanguages) {
  World world(Options{.language = Language::chinese});
  world.boot();
  world.log(-50002, "the move failed (-50002)");
  world.log(-7, "words that nobody foresaw");
  const auto page = world.userLog.page({}, false, 10, 0);
  ASSERT_EQ(page.size(), 3u);
  EXPECT_EQ(page[0].text, "控制器已启动");
  EXPECT_EQ(page[1].text, "运动失败 (-50002)");
  EXPECT_EQ(page[1].repair, "修改目标点");
  EXPECT_EQ(page[2].text, "words that nobody foresaw");
  EXPECT_EQ(world.pushes.front().payload["data"], "运动失败 (-50002)") << "what is pushed is what is written";
}

TEST(UserLog, HasABound) {
  Bench bench;
  for (std::size_t i = 0; i <= UserLog::mostEntries; ++i) bench.world.note("entry " + std::to_string(i));
  const auto all = bench.world.userLog.page({}, false, UserLog::mostEntries * 2, 0);
  ASSERT_EQ(all.size(), UserLog::mostEntries);
  EXPECT_EQ(all.front().text, "entry 1");
}

TEST(WallClock, IsSetByAServer) {
  using namespace std::chrono_literals;
  Bench bench;
  World& w = bench.world;
  w.clock.ahead = -24h * 400;
  w.note("long ago");
  EXPECT_EQ(texts(bench, query("")).back(), "long ago") << "by time";
  EXPECT_EQ(bench.command("sys.ntp.sync")["error"], -320) << "no server";
  EXPECT_EQ(bench.command("sys.ntp.config", R"({"server":"two words"})")["error"], -260);
  EXPECT_EQ(bench.command("sys.ntp.config", R"({"server":""})")["error"], -260);
  EXPECT_EQ(bench.command("sys.ntp.config", R"({"server":5})"), -260);
  EXPECT_EQ(bench.command("sys.ntp.config"), -260);
  EXPECT_EQ(bench.command("sys.ntp.config", R"({"server":"10.0.0.1"})"), 0);
  EXPECT_EQ(bench.command("sys.ntp.sync"), 0);
  EXPECT_EQ(texts(bench, query("")).front(), "the clock was set by 10.0.0.1");
}

}  // namespace
}  // namespace zivra::sim::test
