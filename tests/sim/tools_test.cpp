// Tools and work objects as clients write them, and the arms' kinematics as they are told.
#include <cmath>
#include <functional>
#include <kdl/frames.hpp>
#include <random>

#include "motion/geometry.h"
#include "sim/bench.h"

namespace zivra::sim::test {
namespace {

// A quarter turn about x.
const char* const frame =
    R"({"ori":{"euler":{"a":90.0,"b":0.0,"c":0.0},)"
    R"("quaternion":{"q1":0.70710678118654757,"q2":0.70710678118654757,"q3":0.0,"q4":0.0}},)"
    R"("pos":{"x":100.0,"y":0.0,"z":-250.0}})";
const char* const standing =
    R"({"ori":{"euler":{"a":0,"b":0,"c":0},"quaternion":{"q1":1,"q2":0,"q3":0,"q4":0}},)"
    R"("pos":{"x":0,"y":0,"z":50.0}})";

Json::Value record(const std::string& kind, const std::string& name, int id = 0) {
  Json::Value value = json(R"({"identified":true,"calibrated":true,"description":"","method":3,"pers":false,)"
                           R"("robhold":false,"load":{"mass":1.5,"moment":[1000000.0,0.0,0.0]}})");
  value["id"] = id;
  value["name"] = name;
  value["frame"] = json(frame);
  value["load"]["pose"] = json(standing);
  if (kind == "tool") {
    value["robhold"] = true;
    value["envelope"] = json(R"({"shape":0,"box_envelope":[0,0,0],"sphere_envelope":0})");
  } else {
    const Json::Value more =
        json(R"({"mechanic":"robot","movable":true,"related_frame":"userframe0","uf_id":-100})");
    for (const auto& member : more.getMemberNames()) value[member] = more[member];
  }
  return value;
}

Json::Value write(Bench& bench, const std::string& kind, const char* action, const Json::Value& record) {
  Json::Value parameter;
  parameter["operator"] = action;
  parameter[kind + "s"].append(record);
  return bench.command("project." + kind, parameter.toStyledString());
}

// Calls `visit` with a copy of `whole` in which each member at any depth is replaced in turn.
void damageEach(const Json::Value& whole, const Json::Value& part,
                const std::function<Json::Value*(Json::Value&)>& place,
                const std::function<void(const std::string&, const Json::Value&)>& visit) {
  if (!part.isObject()) return;
  for (const auto& name : part.getMemberNames()) {
    const auto inner = [place, name](Json::Value& root) { return &(*place(root))[name]; };
    for (const char* other : {"null", "[]", R"({"odd":1})", "1e300"}) {
      Json::Value copy = whole;
      *inner(copy) = json(other);
      visit(name + "=" + other, copy);
    }
    damageEach(whole, part[name], inner, visit);
  }
  Json::Value copy = whole;
  (*place(copy))["odd"] = 1;
  visit("one more", copy);
}

TEST(ToolRecords, AreCheckedMemberByMember) {
  for (const std::string kind : {"tool", "wobj"}) {
    Bench bench;
    const Json::Value good = record(kind, "torch");
    damageEach(
        good, good, [](Json::Value& root) { return &root; },
        [&](const std::string& what, const Json::Value& damaged) {
          EXPECT_EQ(write(bench, kind, "add", damaged), -260) << kind << ": " << what << damaged;
        });
    Json::Value other = good;
    other["frame"]["ori"]["euler"]["a"] = -90.0;
    EXPECT_EQ(write(bench, kind, "add", other), -260) << "the two forms of an orientation differ";
    EXPECT_EQ(bench.ask('g', "project." + kind + "s").size(), 1u) << "nothing was taken of all that";
    EXPECT_EQ(write(bench, kind, "add", good), 0);
    for (const char* parameter : {"null", "{}", R"({"operator":"add"})", R"({"operator":"drop","tools":[]})"})
      EXPECT_EQ(bench.command("project." + kind, parameter), -260) << parameter;
    EXPECT_EQ(bench.command("global." + kind + "s.set.one", "[]"), -260);
  }
}

TEST(ToolRecords, AreKeptByTheirNames) {
  for (const std::string kind : {"tool", "wobj"}) {
    SCOPED_TRACE(kind);
    Bench bench;
    const auto edit = [&](Json::Value changed, const char* former) {
      changed["old_name"] = former;
      return write(bench, kind, "edit", changed);
    };
    const auto global = [&](const Json::Value& one) {
      return bench.command("global." + kind + "s.set.one", one.toStyledString());
    };
    EXPECT_EQ(edit(record(kind, "a"), "a"), -1) << "not there yet";
    EXPECT_EQ(write(bench, kind, "add", record(kind, "a")), 0);
    EXPECT_EQ(write(bench, kind, "add", record(kind, "a")), -1);
    EXPECT_EQ(edit(record(kind, "b"), "a"), 0);
    EXPECT_EQ(edit(record(kind, "a"), "a"), -1) << "it has another name now";
    EXPECT_EQ(edit(record(kind, kind + "0"), (kind + "0").c_str()), -1) << "nobody changes that one";
    EXPECT_EQ(global(record(kind, "g_" + kind + "_7", 7)), 0);
    EXPECT_EQ(global(record(kind, "g_" + kind + "_7", 8)), -1);
    EXPECT_EQ(global(record(kind, "g_" + kind + "_16", 16)), -1);
    Json::Value heavy = record(kind, "h");
    heavy["load"]["mass"] = 1000.0;
    EXPECT_EQ(write(bench, kind, "add", heavy), -10141);
    heavy["load"]["mass"] = -1.0;
    EXPECT_EQ(write(bench, kind, "add", heavy), -60200);

    EXPECT_EQ(bench.ask('g', "project." + kind + "s"), json(R"(["b",")" + kind + "0\"]"));
    const Json::Value list = bench.ask('g', "project." + kind + ".info")[kind];
    EXPECT_EQ(list.getMemberNames(), (std::vector<std::string>{"b", "g_" + kind + "_7", kind + "0"}));
    EXPECT_EQ(list["b"]["held"], kind == "tool");
    EXPECT_NEAR(list["b"]["coord"]["trans"][0].asDouble(), 0.1, 1e-12);
    EXPECT_NEAR(list["b"]["coord"]["rot"][0].asDouble(), std::acos(0.0), 1e-12);
    EXPECT_NEAR(list["b"]["load"]["cog"][2].asDouble(), 0.05, 1e-12);
    EXPECT_NEAR(list["b"]["load"]["inertia"][0].asDouble(), 1, 1e-12);
  }
}

TEST(ToolsetInForce, IsRefusedWithItsReason) {
  const std::string load = R"("load":{"mass":1.0,"cog":[0,0,0.5],"inertia":[0,0,0]})";
  const std::string end = R"("end":{"name":"","trans":[0,0,0.1],"rot":[0,0,0]})";
  const std::string ref = R"("ref":{"name":"","trans":[0,0,0],"rot":[0,0,0]})";
  const struct {
    std::string parameter;
    int code;
  } rows[] = {
      {"{" + load + "," + end + "," + ref + "}", 0},
      {"{" + load + "," + end + "}", -260},
      {"{" + end + "," + ref + "}", -260},
      {"{" + load + R"(,"end":{"trans":[0,0,0.1],"rot":[0,0,0]},)" + ref + "}", -260},
      {"{" + load + R"(,"end":{"name":"","trans":[0,0,1e9],"rot":[0,0,0]},)" + ref + "}", -260},
      {R"({"load":{"mass":-1,"cog":[0,0,0],"inertia":[0,0,0]},)" + end + "," + ref + "}", -60200},
      {R"({"load":{"mass":99,"cog":[0,0,0],"inertia":[0,0,0]},)" + end + "," + ref + "}", -10141},
      {"null", -260},
  };
  for (const auto& row : rows) {
    Bench bench;
    const Json::Value before = bench.ask('g', "sys.posture"), torque = bench.ask('g', "sys.rt.jnt_trq");
    EXPECT_EQ(bench.ask('s', "ix.coord.toolset", row.parameter), row.code) << row.parameter;
    EXPECT_EQ(bench.ask('g', "sys.posture") == before, row.code != 0);
    EXPECT_EQ(bench.ask('g', "sys.rt.jnt_trq") == torque, row.code != 0) << "a load is felt";
    bench.world.boot();
    EXPECT_EQ(bench.ask('g', "sys.posture"), before) << "not stored";
  }
  Bench bench;
  bench.makeReady();
  bench.command("move.l", "{\"path\":[{\"point\":" + bench.point(0.1, 0, 0) + "}]}");
  bench.command("move.continue");
  EXPECT_EQ(bench.ask('s', "ix.coord.toolset", rows[0].parameter), -20) << "moving";
  // Names of things that don't go together, or that nobody knows.
  write(bench, "wobj", "add", record("wobj", "table"));
  Json::Value fixed = record("tool", "grinder");
  fixed["robhold"] = false;
  write(bench, "tool", "add", fixed);
  for (const auto& [tool, wobj, works] : {std::tuple{"tool0", "table", true},
                                          {"nothing", "table", false},
                                          {"tool0", "nothing", false},
                                          {"grinder", "table", false}}) {
    const Json::Value reply = bench.command(
        "sys.toolset.query", std::string(R"({"tool":")") + tool + R"(","wobj":")" + wobj + "\"}");
    EXPECT_EQ(reply.isMember("error"), !works) << reply;
    EXPECT_TRUE(reply.isMember("data")) << reply;
  }
}

class Kinematics : public testing::TestWithParam<Model> {
 protected:
  Bench bench{GetParam()};
  const Arm& arm = bench.world.motion.arm();
  std::mt19937 random{7};

  Joints somewhere() {
    Joints joints = arm.home();
    for (double& angle : joints) angle += std::uniform_real_distribution(-0.6, 0.6)(random);
    return joints;
  }
};
INSTANTIATE_TEST_SUITE_P(Models, Kinematics,
                         testing::Values(Model::triax, Model::quadrax, Model::standard, Model::tandiFive,
                                         Model::tandiSeven));

KDL::Frame dhFrame(const DhRow& row, double angle) {
  return KDL::Frame(KDL::Rotation::RotZ(row.theta + angle), KDL::Vector(0, 0, row.d)) *
         KDL::Frame(KDL::Rotation::RotX(row.alpha), KDL::Vector(row.a, 0, 0));
}

TEST_P(Kinematics, AgreeWithTheParametersTold) {
  const Json::Value nominal =
      bench.command("cfg.get", R"({"type":"json","key":"KINEMATICS.DH_PARAMS","func":"std"})")["data"];
  const Json::Value full =
      bench.command("cfg.get", R"({"type":"json","key":"KINEMATICS.DH_PARAMS_ALL"})")["data"];
  std::vector<DhRow> rows;
  for (Json::ArrayIndex i = 0; i + 3 < nominal.size(); i += 4) {
    rows.push_back({nominal[i].asDouble(), nominal[i + 1].asDouble(), nominal[i + 2].asDouble(),
                    nominal[i + 3].asDouble()});
    for (Json::ArrayIndex k = 0; !full.isNull() && k < 4; ++k)
      EXPECT_EQ(full[i / 4 * 5 + k], nominal[i + k]) << "these arms are as designed";
  }
  EXPECT_EQ(full.isNull(), !bench.world.identity.model.collaborative);
  KDL::Rotation mounted;  // from the last frame of the rows to the flange
  for (int trial = 0; trial < 10; ++trial) {
    const Joints joints = somewhere();
    Joints angles = joints;
    if (joints.size() < 5) angles.insert(angles.begin() + 3, -joints[1] - joints[2]);
    ASSERT_EQ(angles.size(), rows.size());
    KDL::Frame told;
    for (std::size_t i = 0; i < rows.size(); ++i) told = told * dhFrame(rows[i], angles[i]);
    const KDL::Frame flange = toFrame(arm.flange(joints));
    EXPECT_LT((told.p - flange.p).Norm(), 1e-9);
    const KDL::Rotation between = told.M.Inverse() * flange.M;
    if (trial == 0) mounted = between;
    EXPECT_TRUE(KDL::Equal(between, mounted, 1e-9));
    if (joints.size() > 3) {
      EXPECT_TRUE(KDL::Equal(between, KDL::Rotation::Identity(), 1e-9));
    }
  }
  for (const char* question :
       {"null", R"({"type":"json","key":"KINEMATICS"})", R"({"type":"xml","key":"KINEMATICS.DH_PARAMS"})"})
    EXPECT_EQ(bench.command("cfg.get", question), -260);
}

std::string text(const Joints& joints) {
  Json::Value value(Json::arrayValue);
  for (const double angle : joints) value.append(angle);
  return value.toStyledString();
}

TEST_P(Kinematics, FindEverySolutionOfAPose) {
  bench.ask('s', "ix.coord.base_in_world", R"({"trans":[0.5,0,0],"rot":[0,0,1]})");
  const std::string toolset =
      R"({"load":{"mass":1,"cog":[0,0,0],"inertia":[0,0,0]},"end":{"name":"","trans":[0,0.1,0.2],)"
      R"("rot":[0.5,0,0]},"ref":{"name":"","trans":[0.5,0.5,0],"rot":[0,0.25,0]}})";
  const auto sameAs = [](const Json::Value& value, const Joints& joints) {
    double worst = value.size() == joints.size() ? 0 : 1;
    for (std::size_t i = 0; worst < 1 && i < joints.size(); ++i)
      worst = std::max(worst, std::abs(value[static_cast<int>(i)].asDouble() - joints[i]));
    return worst < 1e-6;
  };
  for (int trial = 0; trial < 5; ++trial) {
    const Joints joints = somewhere();
    // Without a toolset of its own and in force, a question has the same answer as with it.
    const Json::Value given = bench.command(
        "sys.calc.fk", R"({"jnt_pos":)" + text(joints) + R"(,"tool_set":)" + toolset + "}")["data"];
    bench.ask('s', "ix.coord.toolset", toolset);
    Json::Value pose = bench.command("sys.calc.fk", text(joints))["data"];
    EXPECT_EQ(given, pose);
    bench.world.motion.setJoints(joints);
    const Json::Value posture = bench.ask('g', "sys.posture");
    EXPECT_EQ(posture["conf"], pose["conf"]);
    for (const char* part : {"trans", "rot"})
      for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(posture[part][k].asDouble(), pose[part][k].asDouble(), 1e-9) << part;

    const Json::Value all = bench.command("utils.calc.all.ik", pose.toStyledString())["data"]["result"];
    EXPECT_GE(all.size(), arm.axes() < 5 ? 1u : arm.axes() == 5 ? 2u : 4u);
    bool found = false;
    for (Json::ArrayIndex i = 0; i < all.size(); ++i) {
      const Json::Value again = bench.command("sys.calc.fk", all[i]["jnt"].toStyledString())["data"];
      for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(again["trans"][k].asDouble(), pose["trans"][k].asDouble(), 1e-7) << all[i];
      EXPECT_EQ(again["conf"], all[i]["conf"]);
      EXPECT_NEAR(std::remainder(again["elb"].asDouble() - pose["elb"].asDouble(), 6.283185307179586), 0,
                  1e-6);
      found = found || sameAs(all[i]["jnt"], joints);
      for (Json::ArrayIndex k = 0; k < i; ++k) EXPECT_NE(all[i]["jnt"], all[k]["jnt"]) << "twice";
    }
    EXPECT_TRUE(found) << pose << text(joints) << all;
    pose["redundant"].append(pose["elb"]);
    bench.world.motion.setJoints(arm.home());
    const Json::Value solution = bench.command("sys.calc.ik", pose.toStyledString());
    EXPECT_TRUE(sameAs(solution["data"], joints)) << solution << text(joints);
    bench.ask('s', "ix.coord.toolset", toolset);
  }
  bench.world.boot();
  const Json::Value far = json(R"({"trans":[9,0,0],"rot":[0,0,0],"elb":0,"redundant":[0]})");
  EXPECT_EQ(bench.command("sys.calc.ik", far.toStyledString())["error"], -50002);
  EXPECT_EQ(bench.command("utils.calc.all.ik", far.toStyledString()), json(R"({"data":{"result":[]}})"));
  EXPECT_EQ(bench.command("sys.calc.fk", "[0,0]"), -50512);
  for (const char* question : {"null", R"({"jnt_pos":"x"})", R"(["x"])", R"({"trans":[0,0,0],"rot":[0,0]})"})
    for (const char* key : {"sys.calc.fk", "sys.calc.ik", "utils.calc.all.ik"})
      EXPECT_EQ(bench.command(key, question), -260) << key << question;
}

}  // namespace
}  // namespace zivra::sim::test
