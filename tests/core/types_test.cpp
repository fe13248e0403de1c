#include <array>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

#include <zivra/error.h>
#include <zivra/format.h>
#include <zivra/types.h>

#include "core/comma_locale.h"
#include "core/scoped_language.h"

namespace {

using namespace zivra;
using Offset = CartesianPosition::Offset;

TEST(CartesianPosition, FromNumbers) {
  const CartesianPosition six{1, 2, 3, 4, 5, 6};
  EXPECT_EQ(six.trans, (std::array<double, 3>{1, 2, 3}));
  EXPECT_EQ(six.rpy, (std::array<double, 3>{4, 5, 6}));
  EXPECT_EQ(six.pos, (std::array<double, 16>{}));

  const CartesianPosition matrix{1, 0, 0, 5, 0, 1, 0, 6, 0, 0, 1, 7, 0, 0, 0, 1};
  EXPECT_EQ(matrix.pos, (std::array<double, 16>{1, 0, 0, 5, 0, 1, 0, 6, 0, 0, 1, 7, 0, 0, 0, 1}));
  EXPECT_EQ(to_string(matrix), "trans:[0, 0, 0], rpy:[0, 0, 0]");

  const ScopedLanguage language(internal::Language::english);
  try {
    CartesianPosition{1, 2, 3, 4, 5};
    FAIL();
  } catch (const ArgumentException& e) {
    EXPECT_STREQ(e.what(), "invalidArguments: Invalid number of elements, should be 6 or 16");
  }
}

// The same text in all three ways.
template <class T>
void expectPrints(const T& value, const std::string& expected) {
  EXPECT_EQ(to_string(value), expected);
  EXPECT_EQ(fmt::format("{}|{:s}", value, value), expected + "|" + expected);
  std::ostringstream out;
  out << value;
  EXPECT_EQ(out.str(), expected);
  for (const char* specifier : {"{:d}", "{:10}", "{:ss}"}) {
    try {
      (void)fmt::format(fmt::runtime(specifier), value);
      ADD_FAILURE() << specifier << " was taken for " << expected;
    } catch (const fmt::format_error& e) {
      EXPECT_STREQ(e.what(), "invalid type specifier");
    }
  }
}

TEST(Printing, OfRecords) {
  const Frame frame({0.5, -1, 2}, {0, 0.1, 1e-20});
  const std::string shown = "trans:[0.5, -1, 2], rpy:[0, 0.1, 1e-20]";
  expectPrints(frame, shown);
  CartesianPosition position(frame.trans, frame.rpy);
  position.elbow = 1;
  position.external = {1};
  expectPrints(position, shown);
  position.confData = {1, -2};
  expectPrints(position, shown + ", conf:[1, -2]");
  expectPrints(Offset(), "");
  expectPrints(Offset(Offset::Type::offs, frame), "offset:offs " + shown);
  expectPrints(Offset(Offset::Type::relTool, frame), "offset:relTool " + shown);
  const Load load(1.5, {1, 2, 3}, {4, 5, 6});
  expectPrints(load, "m:1.5, cog:[1, 2, 3]");
  Toolset toolset;
  toolset.load = load;
  toolset.end = frame;
  expectPrints(toolset, "end:" + shown + ", ref:trans:[0, 0, 0], rpy:[0, 0, 0], load:m:1.5, cog:[1, 2, 3]");
}

TEST(Printing, DoesNotDependOnTheLocale) {
  const CommaLocale commas;
  EXPECT_EQ(to_string(Frame({1234.5, 1234567, 0}, {})), "trans:[1234.5, 1234567, 0], rpy:[0, 0, 0]");
}

// All values from -1 to one past the last.
template <class Enumeration>
void expectNames(std::initializer_list<const char*> names, const char* other) {
  int value = 0;
  for (const char* name : names) expectPrints(static_cast<Enumeration>(value++), name);
  expectPrints(static_cast<Enumeration>(value), other);
  expectPrints(static_cast<Enumeration>(-1), other);
}

TEST(Printing, OfEnumerations) {
  expectNames<AvoidSingularityMethod>({"lockAxis4", "wrist", "jointWay"}, "invalid");
  expectNames<MotionControlMode>({"Idle", "NrtCommand", "NrtRLTask", "RtCommand"}, "Idle");
  expectNames<OperateMode>({"manual", "automatic"}, "unknown");
  expectNames<DragParameter::Space>({"jointSpace", "cartesianSpace"}, "invalid");
  expectNames<JogOpt::Space>({"world", "flange", "baseFrame", "toolFrame", "wobjFrame", "jointSpace",
                              "singularityAvoid", "baseParallel"},
                             "invalid");
  expectNames<StopLevel>({"stop0", "stop1", "stop2", "suppleStop"}, "invalid");
  expectNames<DragParameter::Type>({"translationOnly", "rotationOnly", "freely"}, "invalid");
  expectNames<NorvilOpt::Vout>({"off", "reserve", "12v", "24v"}, "invalid");
  expectNames<PowerState>({"on", "off", "estop", "gstop"}, "unknown");
  expectNames<OperationState>({"idle", "jog", "rtControlling", "drag", "rlProgram", "demo", "dynamicIdentify",
                               "frictionIdentify", "loadIdentify", "moving", "jogging"},
                              "unknown");
  expectNames<Event>({"moveExecution", "safety", "rlExecution", "logReporter"}, "unknown");
}

}  // namespace
