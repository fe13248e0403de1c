#include "core/wire_forms.h"

#include <array>
#include <climits>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "core/json.h"
#include "core/json_text.h"
#include "core/json_values.h"

namespace {

using namespace zivra;
using namespace zivra::internal;
using Offset = CartesianPosition::Offset;

std::string pointText(const CartesianPosition& position, const Offset& offset = {}) {
  std::string out;
  JsonText text(out);
  appendPoint(position, offset, text);
  return out;
}

const Frame kFrame({0.4, 0.1, 0.5}, {3.1, 0.2, -3.1});
const std::string kPoseText = R"("rot":[3.1000000000000001,0.20000000000000001,-3.1000000000000001],)"
                              R"("trans":[0.40000000000000002,0.10000000000000001,0.5])";

TEST(WireForms, Written) {
  Json::Value value = parsed(R"({"name":"","trans":7})");
  writeFrame(kFrame, value);
  EXPECT_EQ(textOf(value), R"({"name":"",)" + kPoseText + "}");

  const Load load(1, {2, 3, 4}, {5, 6, 7});
  Json::Value loadValue;
  const std::string loadText = R"({"cog":[2.0,3.0,4.0],"inertia":[5.0,6.0,7.0],"mass":1.0})";
  EXPECT_EQ(textOf(writeLoad(load, loadValue)), loadText);
  EXPECT_EQ(textOf(loadValue), loadText);

  Toolset toolset;
  toolset.load = load;
  toolset.end = kFrame;
  Json::Value toolsetValue;
  EXPECT_EQ(textOf(writeToolset(toolset, toolsetValue)),
            R"({"end":{)" + kPoseText + R"(},"load":)" + loadText +
                R"(,"ref":{"rot":[0.0,0.0,0.0],"trans":[0.0,0.0,0.0]}})");
}

TEST(WireForms, CartesianWritten) {
  CartesianPosition plain(kFrame.trans, kFrame.rpy);
  CartesianPosition bent = plain;
  bent.elbow = 0.5;
  CartesianPosition few = plain;
  few.confData = {1, -2, 3, 4, 5, 6};
  CartesianPosition many = plain;
  many.confData = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  CartesianPosition external = plain;
  external.external = {1, 2.5};
  const struct {
    const CartesianPosition& position;
    bool redundant;
    std::string text;
  } cases[] = {
      {plain, false, R"("elb":0.0,)" + kPoseText},
      {plain, true, R"("redundant":[0.0],)" + kPoseText},
      {bent, false, R"("elb":0.5,)" + kPoseText},
      {bent, true, R"("redundant":[0.5],)" + kPoseText},
      {few, false, R"("conf":[1.0,-2.0,3.0,4.0,5.0,6.0,0.0,0.0],"elb":0.0,)" + kPoseText},
      {many, false, R"("conf":[1.0,2.0,3.0,4.0,5.0,6.0,7.0,8.0],"elb":0.0,)" + kPoseText},
      {external, false, R"("elb":0.0,"external":[1.0,2.5],)" + kPoseText},
      {external, true, R"("external":[1.0,2.5],"redundant":[0.0],)" + kPoseText},
  };
  for (const auto& c : cases) {
    Json::Value value;
    EXPECT_EQ(textOf(writeCartesian(c.position, c.redundant, value)), "{" + c.text + "}");
    if (c.redundant) continue;  // points are only ever plain
    EXPECT_EQ(pointText(c.position), "{" + c.text + "}");
  }
}

TEST(WireForms, PointWithOffset) {
  CartesianPosition position(kFrame.trans, kFrame.rpy);
  position.confData = {1};
  position.external = {2};
  const Frame up({0, 0, 0.5}, {});
  const std::string before = R"({"conf":[1.0,0.0,0.0,0.0,0.0,0.0,0.0,0.0],"elb":0.0,"external":[2.0],)";
  const std::string offset = R"("offset":{"rot":[0.0,0.0,0.0],"trans":[0.0,0.0,0.5],"type":)";
  EXPECT_EQ(pointText(position, Offset(Offset::Type::offs, up)),
            before + offset + "\"offs\"}," + kPoseText + "}");
  EXPECT_EQ(pointText(position, Offset(Offset::Type::relTool, up)),
            before + offset + "\"reltool\"}," + kPoseText + "}");
  EXPECT_EQ(pointText(position, Offset(static_cast<Offset::Type>(3), up)), before + kPoseText + "}");
}

TEST(WireForms, FrameRead) {
  const struct {
    const char* text;
    std::array<double, 3> trans, rpy;
    bool malformed;
  } cases[] = {
      {R"({"trans":[1,2,3],"rot":[4.5,5,6]})", {1, 2, 3}, {4.5, 5, 6}, false},
      {R"({"trans":[1,2,3,"x"],"rot":[4,5,6,7]})", {1, 2, 3}, {4, 5, 6}, false},
      {R"({"trans":[1,2],"rot":[4,5,6]})", {}, {}, false},
      {R"({"rot":[4,5,6]})", {}, {}, false},
      {R"({"trans":[1,2,3]})", {1, 2, 3}, {}, false},
      {R"({"trans":[1,2,3],"rot":[4,5]})", {1, 2, 3}, {}, false},
      {R"({"trans":{"0":1},"rot":[4,5,6]})", {}, {}, false},
      {R"({"trans":[1,"2",3],"rot":[4,5,6]})", {}, {}, true},
      {R"({"trans":[1,2,3],"rot":[4,null,6]})", {1, 2, 3}, {}, true},
      {R"({})", {}, {}, false},
      {R"(null)", {}, {}, false},
      {R"("text")", {}, {}, true},
      {R"([1,2,3])", {}, {}, true},
      {R"(5)", {}, {}, true},
  };
  for (const auto& c : cases) {
    bool malformed = false;
    const Frame frame = readFrame(parsed(c.text), &malformed);
    EXPECT_EQ(frame.trans, c.trans) << c.text;
    EXPECT_EQ(frame.rpy, c.rpy) << c.text;
    EXPECT_EQ(malformed, c.malformed) << c.text;
    readFrame(parsed(c.text));
  }
}

TEST(WireForms, CartesianRead) {
  const struct {
    const char* members;
    double elbow;
    std::vector<int> conf;
    std::vector<double> external;
    bool malformed;
  } cases[] = {
      {R"("elb":0.5,"conf":[1.5,2,-3.9],"external":[1,2.5])", 0.5, {1, 2, -3}, {1, 2.5}, false},
      {R"("x":0)", 0, {}, {}, false},
      {R"("conf":[],"external":[])", 0, {}, {}, false},
      {R"("conf":[1,2,3,4,5,6,7,8,9,10])", 0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, {}, false},
      {R"("conf":[1e99,-1e99,2147483648,2147483647])", 0, {INT_MAX, INT_MIN, INT_MAX, INT_MAX}, {}, false},
      {R"("conf":3,"external":{"a":1})", 0, {}, {}, false},
      {R"("elb":null)", 0, {}, {}, false},
      {R"("elb":"0.5")", 0, {}, {}, true},
      {R"("conf":[1,"2"])", 0, {}, {}, true},
      {R"("external":[1,true])", 0, {}, {}, true},
      {R"("redundant":[0.5])", 0, {}, {}, false},
  };
  for (const auto& c : cases) {
    const std::string text = std::string("{") + c.members + R"(,"trans":[1,2,3],"rot":[4,5,6]})";
    bool malformed = false;
    const CartesianPosition position = readCartesian(parsed(text), &malformed);
    EXPECT_EQ(position.elbow, c.elbow) << text;
    EXPECT_EQ(position.confData, c.conf) << text;
    EXPECT_EQ(position.external, c.external) << text;
    EXPECT_EQ(malformed, c.malformed) << text;
    EXPECT_EQ(position.trans, (std::array<double, 3>{1, 2, 3})) << text;
    EXPECT_EQ(position.rpy, (std::array<double, 3>{4, 5, 6})) << text;
  }
}

TEST(WireForms, ToolsetComesBackAsWritten) {
  Toolset toolset;
  toolset.load = Load(1, {2, 3, 4}, {5, 6, 7});
  toolset.end = kFrame;
  toolset.reference = Frame({7, 8, 9}, {0.1, 0.2, 0.3});
  Json::Value value;
  writeToolset(toolset, value);
  Toolset back;
  bool malformed = false;
  EXPECT_EQ(readToolset(value, back, &malformed), 0);
  EXPECT_FALSE(malformed);
  EXPECT_EQ(to_string(back), to_string(toolset));
  EXPECT_EQ(back.load.inertia, toolset.load.inertia);
}

TEST(WireForms, ToolsetRead) {
  const struct {
    const char* text;
    int result;
    bool malformed;
    double mass;
  } cases[] = {
      {R"({"load":{"mass":2},"end":{},"ref":{}})", 0, false, 2},
      {R"({"load":{},"end":{},"ref":{}})", 0, false, 0},
      {R"({"load":{"mass":2},"end":{}})", 1, false, 99},
      {R"({"end":{},"ref":{}})", 1, false, 99},
      {R"([])", 1, false, 99},
      {R"(null)", 1, false, 99},
      {R"({"load":{"mass":"2"},"end":{},"ref":{}})", 1, true, 99},
      {R"({"load":5,"end":{},"ref":{}})", 1, true, 99},
      {R"({"load":{},"end":{"trans":[1,2,"3"]},"ref":{}})", 1, true, 99},
  };
  for (const auto& c : cases) {
    Toolset toolset;
    toolset.load.mass = 99;
    bool malformed = false;
    EXPECT_EQ(readToolset(parsed(c.text), toolset, &malformed), c.result) << c.text;
    EXPECT_EQ(malformed, c.malformed) << c.text;
    EXPECT_EQ(toolset.load.mass, c.mass) << c.text;
  }
}

TEST(WireForms, ArraysRead) {
  const struct {
    const char* text;
    std::size_t n;
    int result;
    std::vector<double> numbers;
  } cases[] = {
      {"[1,2,3]", 2, 0, {1, 2, 9}},     {"[1,2]", 3, 1, {9, 9, 9}},     {"[]", 0, 0, {9, 9, 9}},
      {"[1,\"2\",3]", 3, 1, {9, 9, 9}}, {"{\"a\":1}", 1, 1, {9, 9, 9}}, {"null", 0, 1, {9, 9, 9}},
      {"[1,2,\"x\"]", 2, 0, {1, 2, 9}},
  };
  for (const auto& c : cases) {
    std::vector<double> out{9, 9, 9};
    EXPECT_EQ(readArray(parsed(c.text), out.data(), c.n), c.result) << c.text;
    EXPECT_EQ(out, c.numbers) << c.text;
  }
  std::vector<double> out{9};
  for (const char* text : {"[1,null]", "{}", "null", "1"}) {
    EXPECT_EQ(readVector(parsed(text), out), 1) << text;
    EXPECT_EQ(out, std::vector<double>{9}) << text;
  }
  EXPECT_EQ(readVector(parsed("[]"), out), 0);
  EXPECT_TRUE(out.empty());
}

}  // namespace
