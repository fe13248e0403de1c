#include "motion_control/encode_moves.h"

#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "motion/recording_logger.h"

namespace zivra {
namespace {

using internal::MotionLog;
using test::RecordingLogger;

const CartesianPosition here({0.4, 0.1, 0.5}, {3.1, 0.2, 3.1});
const CartesianPosition there({0.5, 0.1, 0.5}, {3.1, 0.2, 3.1});
const CartesianPosition aside({0.5, 0.2, 0.5}, {3.1, 0.2, 3.1});
const std::string hereText =
    R"({"elb":0.0,"rot":[3.1000000000000001,0.20000000000000001,3.1000000000000001],)"
    R"("trans":[0.40000000000000002,0.10000000000000001,0.5]})";
const std::string asideText =
    R"({"elb":0.0,"rot":[3.1000000000000001,0.20000000000000001,3.1000000000000001],)"
    R"("trans":[0.5,0.20000000000000001,0.5]})";

using Encoded = std::function<std::string(const MotionLog&)>;

template <class T>
Encoded batchOf(std::vector<T> commands) {
  return [commands](const MotionLog& log) {
    std::string text;
    internal::appendMoves(text, commands);
    internal::logMoves(commands, log);
    return text;
  };
}

template <class T, class Change>
Encoded one(T command, Change change) {
  change(command);
  return batchOf<T>({command});
}
template <class T>
Encoded one(T command) {
  return batchOf<T>({command});
}

struct Row {
  const char* name;
  Encoded encode;
  std::string text;
};

TEST(EncodeMoves, Bodies) {
  const CartesianPosition::Offset alongTool(CartesianPosition::Offset::Type::relTool,
                                            {{0, 0, 0.5}, {0, 0, 1}});
  const CartesianPosition::Offset inFrame(CartesianPosition::Offset::Type::offs, {{1, 2, 3}, {0, 0, 0}});
  const std::string l = R"({"point":)" + hereText;
  const std::vector<Row> rows = {
      {"joints, then external axes",
       one(MoveAbsJCommand({0.5, 1.5}),
           [](auto& c) {
             c.jointTarget.external = {2.5, -1};
           }),
       R"({"point":[0.5,1.5,2.5,-1.0]})"},
      {"no joints at all", one(MoveAbsJCommand{}), R"({"point":[]})"},
      {"speed and zone divided, joint speed not",
       one(MoveAbsJCommand({0.0}, 500, 250), [](auto& c) { c.jointSpeed = 0.25; }),
       R"({"point":[0.0],"traj":{"jnt_speed":0.25,"speed":0.5,"zone":0.25}})"},
      {"nothing given: no traj", one(MoveLCommand(here)), l + "}"},
      {"exactly -1 only", one(MoveLCommand(here, -2, -1)), l + R"(,"traj":{"speed":-0.002}})"},
      {"joint speed 0 is given", one(MoveJCommand(here), [](auto& c) { c.jointSpeed = 0; }),
       l + R"(,"traj":{"jnt_speed":0.0}})"},
      {"negative, but not -1: empty", one(MoveJCommand(here), [](auto& c) { c.jointSpeed = -2; }),
       l + R"(,"traj":{}})"},
      {"negative rotation speed", one(MoveLCommand(here), [](auto& c) { c.rotSpeed = -0.5; }),
       l + R"(,"traj":{}})"},
      {"zone alone", one(MoveLCommand(here, -1, 0)), l + R"(,"traj":{"zone":0.0}})"},
      {"not a number", one(MoveLCommand(here, std::numeric_limits<double>::quiet_NaN())),
       l + R"(,"traj":{"speed":null}})"},
      {"custom text", one(MoveLCommand(here), [](auto& c) { c.customInfo = "a*\"\n"; }),
       R"({"custom":"a*\"\n","point":)" + hereText + "}"},
      {"offset in the tool",
       one(MoveJCommand(CartesianPosition{}), [&](auto& c) { c.cartTargetOffset = alongTool; }),
       R"({"point":{"elb":0.0,"offset":{"rot":[0.0,0.0,1.0],"trans":[0.0,0.0,0.5],"type":"reltool"},)"
       R"("rot":[0.0,0.0,0.0],"trans":[0.0,0.0,0.0]}})"},
      {"offset in the frame, conf filled, external axes",
       one(MoveLCommand(CartesianPosition{}),
           [&](auto& c) {
             c.cartTargetOffset = inFrame;
             c.cartTarget.confData = {1, -2};
             c.cartTarget.external = {0.5};
             c.cartTarget.elbow = 1.5;
           }),
       R"({"point":{"conf":[1.0,-2.0,0.0,0.0,0.0,0.0,0.0,0.0],"elb":1.5,"external":[0.5],)"
       R"("offset":{"rot":[0.0,0.0,0.0],"trans":[1.0,2.0,3.0],"type":"offs"},)"
       R"("rot":[0.0,0.0,0.0],"trans":[0.0,0.0,0.0]}})"},
      {"conf cut",
       one(MoveLCommand(CartesianPosition{}), [](auto& c) { c.cartTarget.confData.assign(9, 1); }),
       R"({"point":{"conf":[1.0,1.0,1.0,1.0,1.0,1.0,1.0,1.0],"elb":0.0,"rot":[0.0,0.0,0.0],)"
       R"("trans":[0.0,0.0,0.0]}})"},
      {"unknown kind of offset: none",
       one(MoveLCommand(here),
           [](auto& c) { c.cartTargetOffset.type = static_cast<CartesianPosition::Offset::Type>(7); }),
       l + "}"},
      {"arc with its own offset at the auxiliary point",
       one(MoveCCommand(here, aside, 100, 10),
           [&](auto& c) {
             c.rotSpeed = 2;
             c.auxPointOffset = inFrame;
             c.auxPoint = CartesianPosition{};
           }),
       R"({"aux":{"elb":0.0,"offset":{"rot":[0.0,0.0,0.0],"trans":[1.0,2.0,3.0],"type":"offs"},)"
       R"("rot":[0.0,0.0,0.0],"trans":[0.0,0.0,0.0]},"point":)" +
           hereText + R"(,"traj":{"rot_speed":2.0,"speed":0.10000000000000001,"zone":0.01}})"},
      {"full circle, pose kept", one(MoveCFCommand(here, aside, 1.5)),
       R"({"aux":)" + asideText + R"(,"circle":{"angle":1.5,"rot_type":"const_pose"},"point":)" + hereText +
           "}"},
      {"full circle, fixed axis, custom text",
       one(MoveCFCommand(here, aside, 1.5),
           [](auto& c) {
             c.rotType = MoveCFCommand::RotType::fixedAxis;
             c.customInfo = "x";
           }),
       R"({"aux":)" + asideText + R"(,"circle":{"angle":1.5,"rot_type":"fixed_axis"},"custom":"x","point":)" +
           hereText + "}"},
      {"full circle, unknown rule",
       one(MoveCFCommand(here, aside, 1.5),
           [](auto& c) { c.rotType = static_cast<MoveCFCommand::RotType>(9); }),
       R"({"aux":)" + asideText + R"(,"circle":{"angle":1.5,"rot_type":"const_pose"},"point":)" + hereText +
           "}"},
      {"spiral sends a zone of 0", one(MoveSPCommand(here, 0.5, 0.25, 12.5, false)),
       l + R"(,"spiral":{"angle":12.5,"dir":false,"radius":0.5,"step":0.25},"traj":{"zone":0.0}})"},
      {"spiral without anything given",
       one(MoveSPCommand(here, 0.5, 0.25, 12.5, true), [](auto& c) { c.zone = -1; }),
       l + R"(,"spiral":{"angle":12.5,"dir":true,"radius":0.5,"step":0.25}})"},
      {"wait cut to milliseconds", one(MoveWaitCommand(std::chrono::nanoseconds(1'500'000))),
       R"({"time":0.001})"},
      {"negative wait cut towards zero", one(MoveWaitCommand(std::chrono::nanoseconds(-1'999'999))),
       R"({"time":-0.001})"},
      {"longest wait", one(MoveWaitCommand(std::chrono::nanoseconds::max())),
       R"({"time":9223372036.8540001})"},
      {"two joint moves", batchOf<MoveAbsJCommand>({MoveAbsJCommand({0.5}), MoveAbsJCommand({1.5}, 100)}),
       R"({"path":[{"point":[0.5]},{"point":[1.5],"traj":{"speed":0.10000000000000001}}]})"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.encode(MotionLog(nullptr)), row.text) << row.name;
  }
}

TEST(EncodeMoves, LogLines) {
  MoveCFCommand circle(here, aside, 6.25, 200, 10);
  circle.rotType = MoveCFCommand::RotType::rotAxis;
  circle.rotSpeed = 0.5;
  MoveLCommand line(here, 500, 10);
  line.rotSpeed = 3;
  MoveJCommand joint(here);
  joint.jointSpeed = 0.5;
  const std::string h = fmt::format("{}", here);
  const std::string a = fmt::format("{}", aside);
  struct LogRow {
    Encoded encode;
    std::vector<std::string> lines;
  };
  const LogRow rows[] = {
      {one(MoveAbsJCommand({0.5, 1}, 500, 10)), {"I Process joints [0.5, 1], s:500, z:10, js:-1"}},
      {one(joint), {"I Process posture " + h + " , s:-1, z:-1, js:0.5"}},
      {batchOf<MoveLCommand>({line, line}),
       {"I Process posture " + h + " , s:500, z:10, js:-1",
        "I Process posture " + h + " , s:500, z:10, js:-1"}},
      {one(MoveCCommand(here, aside)),
       {"I Process circle " + h + " , aux " + a + " , s:-1, z:-1, rs:-1, -1"}},
      {one(circle),
       {"I Process circle " + h + " , aux " + a + " , s:200, z:10, rs:0.5, -1",
        "I full circle: 6.25, rot_axis"}},
      {one(MoveSPCommand(here, 0.5, 0.25, 12.5, true, 200)),
       {"I Process spiral " + h + " , r:0.5,rs:0.25,a:12.5,d:true, s:200, z:0, rs:-1"}},
      {one(MoveWaitCommand(std::chrono::seconds(1))), {}},
  };
  for (const LogRow& row : rows) {
    const auto logger = std::make_shared<RecordingLogger>();
    row.encode(MotionLog(logger));
    EXPECT_EQ(logger->lines(), row.lines);
  }
}

}  // namespace
}  // namespace zivra
