// What the settings change of the execution of moves, and what the controller tells of its own accord.
#include "sim/bench.h"
#include "zivra/sim/controller.h"

namespace zivra::sim::test {
namespace {

std::string path(const std::vector<std::string>& points) {
  std::string bodies;
  for (const std::string& point : points)
    bodies += (bodies.empty() ? "{\"point\":" : ",{\"point\":") + point + "}";
  return "{\"path\":[" + bodies + "]}";
}

// Runs a batch of lines and gives how long it took.
double timeOf(Bench& bench, const std::vector<std::string>& points) {
  EXPECT_EQ(bench.command("move.l", path(points)), 0);
  EXPECT_EQ(bench.command("move.continue"), 0);
  return bench.run();
}

TEST(Settings, ChangeHowLongMovesTake) {
  const struct {
    const char* name;
    char form;
    const char* key;
    const char* parameter;
    double least, most;  // times the duration without it
  } rows[] = {
      {"speed", 's', "move.default_speed", "0.2", 0.5, 0.65},
      {"slow speed", 's', "move.default_speed", "0.01", 8, 11},
      {"zone", 's', "move.default_zone", "0.03", 0.7, 0.995},
      {"override", 'c', "move.override_rate", "0.25", 3.8, 4.2},
      {"acceleration", 's', "move.acc", R"({"acc":0.05,"jerk":1})", 1.2, 1.6},
      {"jerk", 's', "move.acc", R"({"acc":1,"jerk":0.05})", 1.2, 3},
  };
  double usual = 0;
  for (int i = -1; i < static_cast<int>(std::size(rows)); ++i) {
    Bench bench;
    bench.makeReady();
    if (i >= 0) {
      EXPECT_EQ(bench.ask(rows[i].form, rows[i].key, rows[i].parameter), 0);
    }
    const double time = timeOf(bench, {bench.point(0.1, 0, 0), bench.point(0.1, 0.1, 0)});
    if (i < 0) {
      usual = time;
      continue;
    }
    SCOPED_TRACE(rows[i].name);
    EXPECT_GT(time, usual * rows[i].least);
    EXPECT_LT(time, usual * rows[i].most);
  }
}

TEST(Settings, OverrideWorksOnAMoveUnderWay) {
  Bench bench;
  bench.makeReady();
  bench.command("move.l", path({bench.point(0.1, 0, 0)}));
  bench.command("move.continue");
  bench.world.advance(0.5);
  const Pose half = bench.world.motion.toolInReference();
  bench.command("move.override_rate", "0.0");
  bench.world.advance(1);
  const Pose stood = bench.world.motion.toolInReference();
  EXPECT_LT(distance(half, stood), 0.02);
  bench.world.advance(1);
  EXPECT_EQ(distance(stood, bench.world.motion.toolInReference()), 0);
  bench.command("move.override_rate", "1.0");
  bench.run();
  EXPECT_EQ(bench.pushed("move.last_error_with_setting").back()["data"]["msg"], "finish");
}

TEST(Settings, DecideOnConfigurationsAndZones) {
  for (const bool on : {false, true}) {
    SCOPED_TRACE(on);
    const char* text = on ? "true" : "false";
    Bench bench;
    bench.makeReady();
    EXPECT_EQ(bench.command("move.default_conf", text), 0);
    bench.command("move.jc", "{\"point\":" + bench.point(0.02, 0, 0, R"(,"conf":[0,0,1,0,0,3,0,0])") + "}");
    bench.command("move.continue");
    bench.run();
    const Json::Value last = bench.pushed("move.last_error_with_setting").back();
    EXPECT_EQ(last.get("error", 0), on ? -50021 : 0) << last;

    Bench corner;
    corner.makeReady();
    corner.ask('s', "move.default_zone", "0.01");
    EXPECT_EQ(corner.command("move.ignore_zone", text), 0);
    timeOf(corner, {corner.point(0.1, 0, 0), corner.point(0, 0, 0)});  // there and back
    bool cancelled = false;
    for (const Json::Value& note : corner.pushed("move.last_error_with_setting"))
      cancelled = cancelled || note["data"]["msg"] == "finish:-50000";
    EXPECT_EQ(cancelled, on);
  }
}

TEST(Settings, AreRefusedOutOfTheirRange) {
  const struct {
    char form;
    const char* key;
    const char* parameter;
    int code;
  } rows[] = {
      {'s', "move.default_speed", "0.0", -50513},
      {'s', "move.default_speed", "100", -50513},
      {'s', "move.default_speed", "\"fast\"", -260},
      {'s', "move.default_zone", "-0.001", -290},
      {'s', "move.default_zone", "null", -260},
      {'c', "move.override_rate", "-0.1", -50513},
      {'c', "move.override_rate", "[]", -260},
      {'s', "move.acc", R"({"acc":9,"jerk":1})", -290},
      {'s', "move.acc", R"({"acc":1,"jerk":0})", -290},
      {'s', "move.acc", R"({"acc":1})", -260},
      {'c', "move.default_conf", "1", -260},
      {'c', "move.ignore_zone", "null", -260},
  };
  for (const auto& row : rows) {
    Bench bench;
    EXPECT_EQ(bench.ask(row.form, row.key, row.parameter), row.code) << row.key << row.parameter;
    EXPECT_EQ(bench.ask('g', "move.acc"), json(R"({"acc":1.0,"jerk":1.0})"));
  }
}

TEST(RealTimeControl, IsRefusedWithItsReason) {
  const std::string ours = R"({"protocol_version":"sdk0.7.1"})";
  const struct {
    const char* name;
    void (*before)(Bench&);
    std::string parameter;
    int code;
  } rows[] = {
      {"ready", nullptr, ours, 0},
      {"no version", nullptr, "null", -28688},
      {"another client's version", nullptr, R"({"protocol_version":"1.0"})", -28688},
      {"power", [](Bench& b) { b.command("sys.power.off"); }, ours, -17},
      {"moving", [](Bench& b) { b.command("move.continue"); }, ours, -20},
      {"waiting moves", [](Bench&) {}, ours, -28706},
      {"collision", [](Bench& b) { b.world.collide(); }, ours, -28709},
      {"emergency stop", [](Bench& b) { b.world.pressEmergencyStop(); }, ours, -28710},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Bench bench;
    bench.makeReady();
    if (row.before != nullptr) bench.command("move.l", path({bench.point(0.1, 0, 0)}));
    if (row.before != nullptr) row.before(bench);
    EXPECT_EQ(bench.command("eci.enable", row.parameter), row.code);
    EXPECT_EQ(bench.ask('g', "sys.state") == "rci", row.code == 0);
    EXPECT_EQ(bench.command("eci.disable"), 0);
    EXPECT_NE(bench.ask('g', "sys.state"), "rci");
  }
}

TEST(Happenings, AreToldToTheLinksThatWatch) {
  Controller sim({.address = "127.10.5.2"});
  sim.start();
  RawClient safety("127.10.5.2"), log("127.10.5.2"), program("127.10.5.2"), nobody("127.10.5.2");
  EXPECT_EQ(safety.request('w', "safety.event.collision", "true"), 0);
  EXPECT_EQ(log.request('w', "log.user", "true"), 0);
  EXPECT_EQ(program.request('w', "project.tasks_pointer", "true"), 0);
  makeReady(nobody);
  sim.collide();
  EXPECT_EQ(safety.push()["n"]["safety.event.collision"], true);
  EXPECT_EQ(log.push()["n"]["log.user"]["error"], -50401);
  EXPECT_EQ(nobody.command("sys.servo.clear_alarm"), 0);
  EXPECT_EQ(safety.push()["n"]["safety.event.collision"], false);
  sim.pressEmergencyStop();
  const Json::Value told = log.push()["n"]["log.user"];
  EXPECT_EQ(told["error"], -3);
  EXPECT_NE(told["data"].asString().find("emergency"), std::string::npos);
  const std::string pointer = R"([{"task_name":"t","exe_line":{"file_name":"m.mod","line":3}}])";
  sim.push("project.tasks_pointer", pointer);
  EXPECT_EQ(program.push()["n"]["project.tasks_pointer"], json(pointer));
  for (RawClient* client : {&safety, &program, &nobody}) EXPECT_TRUE(client->push(kQuiet).isNull());
}

}  // namespace
}  // namespace zivra::sim::test
