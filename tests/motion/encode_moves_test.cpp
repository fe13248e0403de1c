#include "motion_control/encode_moves.h"

#include <chrono>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace zivra {
namespace {

const CartesianPosition here({0.4, 0.1, 0.5}, {3.1, 0.2, 3.1});
const CartesianPosition aside({0.5, 0.2, 0.5}, {3.1, 0.2, 3.1});
const std::string hereText =
    R"({"elb":0.0,"rot":[3.1000000000000001,0.20000000000000001,3.1000000000000001],)"
    R"("trans":[0.40000000000000002,0.10000000000000001,0.5]})";
const std::string asideText =
    R"({"elb":0.0,"rot":[3.1000000000000001,0.20000000000000001,3.1000000000000001],)"
    R"("trans":[0.5,0.20000000000000001,0.5]})";

template <class T>
std::string batchOf(const std::vector<T>& commands) {
  std::string text;
  internal::appendMoves(text, commands);
  return text;
}

template <class T, class Change>
std::string one(T command, Change change) {
  change(command);
  return batchOf<T>({command});
}
template <class T>
std::string one(T command) {
  return batchOf<T>({command});
}

// Edges; what each kind carries stands in the wire rows of the moves.
TEST(EncodeMoves, Bodies) {
  const std::string l = R"({"point":)" + hereText;
  const struct {
    const char* name;
    std::string body, expected;
  } rows[] = {
      {"no joints at all", one(MoveAbsJCommand{}), R"({"point":[]})"},
      {"speed and zone divided, joint speed not",
       one(MoveAbsJCommand({0.0}, 500, 250), [](auto& c) { c.jointSpeed = 0.25; }),
       R"({"point":[0.0],"traj":{"jnt_speed":0.25,"speed":0.5,"zone":0.25}})"},
      {"negative, but not -1: empty", one(MoveJCommand(here), [](auto& c) { c.jointSpeed = -2; }),
       l + R"(,"traj":{}})"},
      {"zone alone", one(MoveLCommand(here, -1, 0)), l + R"(,"traj":{"zone":0.0}})"},
      {"not a number", one(MoveLCommand(here, std::numeric_limits<double>::quiet_NaN())),
       l + R"(,"traj":{"speed":null}})"},
      {"custom text", one(MoveLCommand(here), [](auto& c) { c.customInfo = "a*\"\n"; }),
       R"({"custom":"a*\"\n","point":)" + hereText + "}"},
      {"full circle, unknown rule",
       one(MoveCFCommand(here, aside, 1.5),
           [](auto& c) { c.rotType = static_cast<MoveCFCommand::RotType>(9); }),
       R"({"aux":)" + asideText + R"(,"circle":{"angle":1.5,"rot_type":"const_pose"},"point":)" + hereText +
           "}"},
      {"spiral without anything given",
       one(MoveSPCommand(here, 0.5, 0.25, 12.5, false), [](auto& c) { c.zone = -1; }),
       l + R"(,"spiral":{"angle":12.5,"dir":false,"radius":0.5,"step":0.25}})"},
      {"negative wait cut towards zero", one(MoveWaitCommand(std::chrono::nanoseconds(-1'999'999))),
       R"({"time":-0.001})"},
      {"longest wait", one(MoveWaitCommand(std::chrono::nanoseconds::max())),
       R"({"time":9223372036.8540001})"},
      {"two joint moves", batchOf<MoveAbsJCommand>({MoveAbsJCommand({0.5}), MoveAbsJCommand({1.5}, 100)}),
       R"({"path":[{"point":[0.5]},{"point":[1.5],"traj":{"speed":0.10000000000000001}}]})"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.body, row.expected) << row.name;
}

}  // namespace
}  // namespace zivra
