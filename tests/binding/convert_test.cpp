// Values at the managed boundary: what they begin with, what happens to short arrays, and in which encoding
// texts cross.
#include "clr/convert.h"

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>
#include <vector>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <zivra/error.h>

#include "binding/fixture.h"
#include "clr/convert_moves.h"
#include "support/temporary_folder.h"

namespace zivra::clr {

namespace {

using test::faultOf;
using Numbers = std::vector<double>;

TEST(ManagedValues, BeginWithTheirDefaults) {
  const MoveCommand move;
  for (const double unset : {move.speed, move.jointSpeed, move.rotSpeed, move.zone}) EXPECT_EQ(unset, -1);
  EXPECT_EQ(move.customInfo, String(""));
  EXPECT_TRUE(move.args->empty());
  const Numbers zeros(3);
  for (const auto& three : {move.cartTarget->trans, move.auxPoint->rpy, move.cartTargetOffset->frame.trans,
                            Load().cog, Load().inertia, FrameCalibrationResult().errors}) {
    EXPECT_EQ(three, zeros);
  }
  EXPECT_EQ(CANFrame().frame_type, static_cast<int>(CANType::CanClassic));
  EXPECT_EQ(SDOData().data->size(), 50u);
  EXPECT_EQ(WorkToolInfo().alias, String(""));
  EXPECT_TRUE(Info().id.isNull());
}

TEST(ManagedValues, AreMadeFromArrays) {
  const Frame frame(Array<double>{1, 2, 3, 4, 5, 6, 7});
  EXPECT_EQ(frame.trans, (Numbers{1, 2, 3}));
  EXPECT_EQ(frame.rpy, (Numbers{4, 5, 6}));
  EXPECT_EQ(faultOf([] { Frame(Array<double>(5)); }), Fault::indexOutOfRange);
  EXPECT_EQ(Frame(Array<double>(2), Array<double>(9)).rpy.size(), 9u);
  EXPECT_TRUE(CANFrame(1, 0, 0, std::nullopt, 0).data.empty());
}

TEST(ManagedValues, EnumerationsOfTheirOwnHaveTheNativeNumbers) {
  EXPECT_EQ(static_cast<int>(JogSpace::baseParallelMode), static_cast<int>(JogOpt::Space::baseParallelMode));
  EXPECT_EQ(static_cast<int>(DragOpt::Space::cartesianSpace),
            static_cast<int>(DragParameter::Space::cartesianSpace));
  EXPECT_EQ(static_cast<int>(DragOpt::Type::freely), static_cast<int>(DragParameter::Type::freely));
}

TEST(Conversion, PadsAndCutsArraysOfAFixedLength) {
  EXPECT_EQ(convertArray<6>(Array<double>{1, 2, 3, 4}), (std::array<double, 6>{1, 2, 3, 4, 0, 0}));
  EXPECT_EQ(convertArray<3>(Array<double>{1, 2, 3, 4}), (std::array<double, 3>{1, 2, 3}));
  EXPECT_EQ(convertArray<3>(Array<double>()), (std::array<double, 3>{}));
  EXPECT_EQ(convertArray(std::array<double, 2>{1, 2}), (Numbers{1, 2}));
  EXPECT_EQ(convertVectorToArray<bool>({true, false}), (Array<bool>{true, false}));
}

TEST(Conversion, OfValuesNeedsThreeNumbersAFrame) {
  const Array<double> two(2), three{1, 2, 3}, four{4, 5, 6, 7};
  EXPECT_EQ(convertFrame(Frame(three, four)).rpy, (std::array<double, 3>{4, 5, 6}));
  EXPECT_EQ(faultOf([&] { convertFrame(Frame(three, two)); }), Fault::indexOutOfRange);
  EXPECT_EQ(faultOf([&] { convertLoad(Load(1, two, three)); }), Fault::indexOutOfRange);
  Toolset tools;
  tools.reference.trans = two;
  EXPECT_EQ(faultOf([&] { convertToolset(tools); }), Fault::indexOutOfRange);
  CartesianPosition position;
  position.rpy = two;
  EXPECT_EQ(faultOf([&] { convertCartesianPosition(position); }), Fault::indexOutOfRange);
}

TEST(Conversion, ThereAndBackKeepsAValue) {
  CartesianPosition position;
  position.trans = {1, 2, 3};
  position.rpy = {4, 5, 6};
  position.elbow = 0.5;
  position.confData = {1, -1};
  position.external = {7};
  const zivra::CartesianPosition native = convertCartesianPosition(position);
  EXPECT_FALSE(native.hasElbow);
  EXPECT_EQ(native.pos, (std::array<double, 16>{}));
  const CartesianPosition back = convertCartesianPosition(native);
  EXPECT_EQ(back.trans, position.trans);
  EXPECT_EQ(back.rpy, position.rpy);
  EXPECT_EQ(back.elbow, 0.5);
  EXPECT_EQ(back.confData, position.confData);
  EXPECT_EQ(back.external, position.external);

  const Toolset tools = convertToolset(convertToolset(
      {Load(2, {1, 2, 3}, {4, 5, 6}), Frame({1, 0, 0}, {0, 1, 0}), Frame({0, 0, 1}, {1, 1, 0})}));
  EXPECT_EQ(tools.load.mass, 2);
  EXPECT_EQ(tools.load.inertia, (Numbers{4, 5, 6}));
  EXPECT_EQ(tools.end.rpy, (Numbers{0, 1, 0}));
  EXPECT_EQ(tools.reference.trans, (Numbers{0, 0, 1}));

  const WorkToolInfo tool =
      convertWorkToolInfo(convertWorkToolInfo(WorkToolInfo("gripper", "left", true, Frame(), Load())));
  EXPECT_EQ(tool.name, String("gripper"));
  EXPECT_EQ(tool.alias, String("left"));
  EXPECT_TRUE(tool.robotHeld);

  const CANFrame frame = convertCANFrame(convertCANFrame(CANFrame(1, 1, 0, Array<std::uint8_t>(60, 9), 60)));
  EXPECT_EQ(frame.data.size(), 60u);
  EXPECT_EQ(frame.frame_id + frame.frame_format + frame.frame_type + frame.frame_valid_length, 62);
}

TEST(Conversion, OfARecordForASlaveFillsFiftyBytes) {
  const auto bytesOf = [](std::optional<Array<std::uint8_t>> data) {
    SDOData record;
    record.wait_time = 3;
    record.data = std::move(data);
    const zivra::SDOData native = toNativeSdo(record);
    EXPECT_EQ(native.wait_time, 3);
    return native.data;
  };
  std::array<std::uint8_t, 50> expected{};
  EXPECT_EQ(bytesOf(std::nullopt), expected);
  expected[0] = 7;
  EXPECT_EQ(bytesOf(Array<std::uint8_t>{7}), expected);
  expected.fill(7);
  EXPECT_EQ(bytesOf(Array<std::uint8_t>(60, 7)), expected);
  EXPECT_EQ(toNativeSdo(std::nullopt).length, 0);
}

TEST(Conversion, OfStatesAndErrors) {
  zivra::StateList list;
  list.joint_pos = {1, 2};
  list.digital_signals = {{"DI0_\xFF", true}};
  list.analog_signals = {{"AI0_0", 2.5}};
  list.operation_mode = zivra::OperateMode::automatic;
  const StateList states = convertStateList(list);
  EXPECT_EQ(states.joint_pos, (Numbers{1, 2}));
  EXPECT_EQ(states.digital_signals.at(0), std::tuple(String("DI0_\xEF\xBF\xBD"), true));
  EXPECT_EQ(states.analog_signals.at(0), std::tuple(String("AI0_0"), 2.5));
  EXPECT_EQ(states.operation_mode, OperateMode::automatic);
  const std::error_code ec = Code::timeout;
  EXPECT_EQ(convertErrorCode(ec), ErrorCode(263, ec.message()));
  EXPECT_EQ(convertErrorCode({}).value(), 0);
}

TEST(Conversion, CutsToIntegersWithoutOverflow) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
  for (const auto& [value, expected] :
       {std::pair(2.9, 2), {-2.9, -2}, {inf, most}, {-inf, least}, {3e9, most}, {NAN, 0}}) {
    EXPECT_EQ(cutToInt(value), expected) << value;
  }
}

TEST(Texts, GoInByACodeset) {
  struct Row {
    const char* codeset;
    String text;
    std::string encoded;                // where something has to be put in its place
    std::optional<std::string> strict;  // nothing: it doesn't fit
  };
  for (const Row& row : {
           Row{"UTF-8", "\u00e9\u4e2d", "\u00e9\u4e2d", "\u00e9\u4e2d"},
           {"UTF-8", "a\xC3(", "a\xEF\xBF\xBD(", std::nullopt},
           {"ISO-8859-1", "caf\u00e9", "caf\xE9", "caf\xE9"},
           {"ISO-8859-1", "\u4e2d\u00e9\u6587", "?\xE9?", std::nullopt},
           {"ISO-8859-1", "\u2019", "?", std::nullopt},  // a similar one would be another file's name
           {"CP936", "\u4e2d\u6587", "\xD6\xD0\xCE\xC4", "\xD6\xD0\xCE\xC4"},
           {"CP936", "\u4e2d\u00df", "\xD6\xD0?", std::nullopt},
           {"no-such-codeset", "\u00e9", "\u00e9", std::nullopt},
           {"ISO-8859-1", "", "", ""},
       }) {
    EXPECT_EQ(convertString(row.text, row.codeset), row.encoded) << row.codeset;
    if (row.strict) {
      EXPECT_EQ(marshal_as(row.text, row.codeset), *row.strict) << row.codeset;
      continue;
    }
    try {
      marshal_as(row.text, row.codeset);
      ADD_FAILURE() << row.codeset << " has " << row.text.text();
    } catch (const ArgumentException& e) {
      EXPECT_STREQ(
          e.what(),
          "Conversion from WideChar to MultiByte failed.  Please check the content of the string and/or "
          "locale settings.");
    }
  }
}

TEST(Texts, NullIsEmptyButOnTheStrictPath) {
  EXPECT_EQ(convertString(nullptr), "");
  EXPECT_EQ(faultOf([] { marshal_as(nullptr); }), Fault::argumentNull);
  EXPECT_EQ(marshal_as("abc", "UTF-8", 3), "abc");
  EXPECT_EQ(faultOf([] { marshal_as("abcd", "UTF-8", 3); }), Fault::argumentOutOfRange);
}

TEST(Texts, ComeOutAsUtf8) {
  const std::string mark = "\xEF\xBF\xBD";
  for (const auto& [bytes, text] : {
           std::pair<std::string, std::string>{"", ""},
           {"plain \u00e9 \u4e2d \U0001F600", "plain \u00e9 \u4e2d \U0001F600"},
           {"a\xFFz", "a" + mark + "z"},
           {"\xE4\xB8", mark},                               // cut off
           {"\xF0\x9F\x98(", mark + "("},                    // cut short
           {"\xC0\xAF", mark + mark},                        // longer than needed
           {"\xE0\x80\xAF", mark + mark + mark},             // likewise
           {"\xED\xA0\x80", mark + mark + mark},             // half of a pair
           {"\xF4\x90\x80\x80", mark + mark + mark + mark},  // beyond the last
           {std::string("a\0b", 3), std::string("a\0b", 3)},
       }) {
    EXPECT_EQ(utf8StdStringToString(bytes), String(text));
  }
  EXPECT_EQ(utf8CStringToString(nullptr), String(""));
  EXPECT_EQ(utf8CStringToString("\u00e9"), String("\u00e9"));
}

// What the environment says of the locale, for the length of a test; nothing at first.
class Codesets : public testing::Test {
 protected:
  Codesets() : before_(std::setlocale(LC_ALL, nullptr)) {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG", "LOCPATH"}) {
      const char* value = std::getenv(name);
      variables_.emplace_back(name, value == nullptr ? std::nullopt : std::optional<std::string>(value));
      ::unsetenv(name);
    }
  }
  ~Codesets() override {
    for (const auto& [name, value] : variables_) {
      value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name);
    }
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before_) << "the process keeps its locale";
  }

 private:
  std::vector<std::pair<const char*, std::optional<std::string>>> variables_;
  const std::string before_;
};

TEST_F(Codesets, WithoutALocaleAreUtf8) {
  EXPECT_EQ(environmentCodeset(), "UTF-8");
  for (const char* locale : {"C", "C.UTF-8", "xx_YY.nothing"}) {
    ::setenv("LC_ALL", locale, 1);
    EXPECT_EQ(environmentCodeset(), "UTF-8") << locale;
  }
}

TEST_F(Codesets, AreTheEnvironmentsLocales) {
  const test::TemporaryFolder folder;
  // It complains of what this locale lacks, and makes it.
  (void)std::system("localedef -c -i POSIX -f ISO-8859-1 ./latin >localedef.txt 2>&1");
  if (!std::filesystem::exists("latin/LC_CTYPE")) {
    GTEST_SKIP() << "no Latin-1 locale can be made here: localedef or its charmap ISO-8859-1 is missing";
  }
#ifdef __SANITIZE_ADDRESS__
  const __lsan::ScopedDisabler ofTheSystem;  // newlocale keeps what it makes of LOCPATH
#endif
  ::setenv("LOCPATH", folder.path().c_str(), 1);
  for (const char* name : {"LANG", "LC_CTYPE", "LC_ALL"}) {
    ::setenv(name, "latin", 1);
    EXPECT_EQ(environmentCodeset(), "ISO-8859-1") << name;
    ::setenv(name, "C.UTF-8", 1);  // the next one counts for more
  }
  EXPECT_EQ(environmentCodeset(), "UTF-8");
}

TEST(Payloads, KeepWhatTheyKnowAndDropTheRest) {
  const std::error_code ec = Code::network;
  const Dictionary table = _convertCallback({{"int", 3},
                                             {"double", 2.5},
                                             {"text", std::string("\xFF")},
                                             {"flag", true},
                                             {"error", ec},
                                             {"vector", std::vector<int>{1}},
                                             {"literal", "a pointer"},
                                             {"\xFF", 1}});
  const auto holds = [&](const char* key, const Object& value) {
    const Object* found = table.find(key);
    return found != nullptr && *found == value;
  };
  EXPECT_EQ(table.size(), 6u);
  EXPECT_TRUE(holds("int", Object(3)));
  EXPECT_TRUE(holds("double", Object(2.5)));
  EXPECT_TRUE(holds("text", Object(String("\xEF\xBF\xBD"))));
  EXPECT_TRUE(holds("flag", Object(true)));
  EXPECT_TRUE(holds("error", Object(ErrorCode(256, ec.message()))));
  EXPECT_TRUE(holds("\xEF\xBF\xBD", Object(1)));
}

// One move with every field of its own.
MoveCommand fullMove() {
  MoveCommand move;
  move.cartTarget->trans = {1, 2, 3};
  move.cartTarget->confData = {4};
  move.auxPoint->trans = {5, 6, 7};
  move.cartTargetOffset = {CartesianPosition::Offset::Type::offs, Frame({8, 0, 0}, {0, 0, 0})};
  move.auxPointOffset = {CartesianPosition::Offset::Type::relTool, Frame({9, 0, 0}, {0, 0, 0})};
  move.jointTarget->joints = {0.1, 0.2};
  move.jointTarget->external = {0.3};
  move.speed = 100;
  move.jointSpeed = 0.5;
  move.rotSpeed = 0.6;
  move.zone = 10;
  move.customInfo = "mine";
  return move;
}

TEST(Moves, TakeWhatTheirKindKnows) {
  List<MoveCommand> moves{fullMove(), MoveCommand()};
  const auto lines = convertCartMove<MoveLCommand>(moves);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].cartTarget.trans[1], 2);
  EXPECT_EQ(lines[0].cartTarget.confData, std::vector<int>{4});
  EXPECT_EQ(lines[0].cartTargetOffset.type, zivra::CartesianPosition::Offset::Type::offs);
  EXPECT_EQ(lines[0].cartTargetOffset.frame.trans[0], 8);
  EXPECT_EQ((Numbers{lines[0].speed, lines[0].rotSpeed, lines[0].zone}), (Numbers{100, 0.6, 10}));
  EXPECT_EQ(lines[0].customInfo, "mine");
  EXPECT_EQ((Numbers{lines[1].speed, lines[1].rotSpeed, lines[1].zone}), (Numbers{-1, -1, -1}));
  const auto free = convertCartMove<MoveJCommand>(moves)[0];
  EXPECT_EQ((Numbers{free.speed, free.jointSpeed, free.zone}), (Numbers{100, 0.5, 10}));
  EXPECT_EQ(free.cartTargetOffset.frame.trans[0], 8);
  EXPECT_EQ(free.customInfo, "mine");
  const auto joint = convertJointMove(moves)[0];
  EXPECT_EQ(joint.jointTarget.joints, (Numbers{0.1, 0.2}));
  EXPECT_EQ(joint.jointTarget.external, Numbers{0.3});
  EXPECT_EQ((Numbers{joint.speed, joint.jointSpeed, joint.zone}), (Numbers{100, 0.5, 10}));
  EXPECT_EQ(joint.customInfo, "mine");
  const auto arc = convertCircularMove(moves)[0];
  EXPECT_EQ(arc.auxPoint.trans[2], 7);
  EXPECT_EQ(arc.auxPointOffset.type, zivra::CartesianPosition::Offset::Type::relTool);
  EXPECT_EQ(arc.auxPointOffset.frame.trans[0], 9);
  EXPECT_EQ(arc.cartTargetOffset.frame.trans[0], 8);
  EXPECT_EQ((Numbers{arc.speed, arc.rotSpeed, arc.zone}), (Numbers{100, 0.6, 10}));
  EXPECT_EQ(arc.customInfo, "mine");
  moves[0].cartTarget->trans = {1, 2};
  EXPECT_EQ(faultOf([&] { convertCartMove<MoveLCommand>(moves); }), Fault::indexOutOfRange);
  EXPECT_TRUE(moves[0].args->empty());
}

TEST(Moves, RefuseTheNullsThatTheirKindReads) {
  using Change = void (*)(MoveCommand&);
  const std::pair<char, Change> nulls[] = {{'t', [](MoveCommand& m) { m.cartTarget.reset(); }},
                                           {'j', [](MoveCommand& m) { m.jointTarget.reset(); }},
                                           {'x', [](MoveCommand& m) { m.auxPoint.reset(); }},
                                           {'o', [](MoveCommand& m) { m.cartTargetOffset.reset(); }},
                                           {'p', [](MoveCommand& m) { m.auxPointOffset.reset(); }},
                                           {'a', [](MoveCommand& m) { m.args.reset(); }},
                                           {'c', [](MoveCommand& m) { m.customInfo = nullptr; }}};
  using Convert = void (*)(List<MoveCommand>&);
  const std::pair<std::string, Convert> kinds[] = {
      {"to", [](auto& all) { convertCartMove<MoveLCommand>(all); }},
      {"to", [](auto& all) { convertCartMove<MoveJCommand>(all); }},
      {"j", [](auto& all) { convertJointMove(all); }},
      {"txop", [](auto& all) { convertCircularMove(all); }},
      {"txopa", [](auto& all) { convertCircularFullMove(all); }},
      {"toa", [](auto& all) { convertSpiralMove(all); }},
      {"a", [](auto& all) { convertWaitMove(all); }}};
  for (const auto& [reads, convert] : kinds) {
    for (const auto& [member, change] : nulls) {
      List<MoveCommand> moves{fullMove()};
      change(moves[0]);
      const Fault expected = reads.find(member) == std::string::npos ? Fault::none : Fault::nullReference;
      EXPECT_EQ(faultOf([&, &convert = convert] { convert(moves); }), expected) << reads << " " << member;
    }
  }
}

TEST(Moves, OfACircleReadAngleAndRotation) {
  struct Row {
    Numbers args;
    double angle;
    int rotation;
    Numbers after;
  };
  for (const Row& row : {Row{{}, 0, 0, {0, 0}},
                         {{1.5}, 1.5, 0, {1.5, 0}},
                         {{1, 2.9}, 1, 2, {1, 2.9}},
                         {{1, 3}, 1, 0, {1, 3}},
                         {{1, -1}, 1, 0, {1, -1}},
                         {{1, 1e300, 7}, 1, 0, {1, 1e300, 7}},
                         {{1, -0.5}, 1, 0, {1, -0.5}}}) {
    List<MoveCommand> moves{fullMove()};
    moves[0].args = List<double>(row.args);
    const auto circle = convertCircularFullMove(moves)[0];
    EXPECT_EQ(circle.angle, row.angle);
    EXPECT_EQ(static_cast<int>(circle.rotType), row.rotation);
    EXPECT_EQ(circle.auxPoint.trans[0], 5);
    EXPECT_EQ(circle.auxPointOffset.frame.trans[0], 9);
    EXPECT_EQ(circle.cartTargetOffset.frame.trans[0], 8);
    EXPECT_EQ((Numbers{circle.speed, circle.rotSpeed, circle.zone}), (Numbers{100, 0.6, 10}));
    EXPECT_EQ(circle.customInfo, "mine");
    EXPECT_EQ(moves[0].args, row.after);
  }
}

TEST(Moves, OfASpiralReadFourNumbers) {
  struct Row {
    Numbers args, read, after;
    bool direction;
  };
  for (const Row& row : {Row{{}, {0, 0, 0}, {0, 0, 0, 0}, false},
                         {{1, 2, 3}, {1, 2, 3}, {1, 2, 3, 0}, false},
                         {{1, 2, 3, 0.5}, {1, 2, 3}, {1, 2, 3, 0.5}, true},
                         {{1, 2, 3, 1, 9}, {1, 2, 3}, {1, 2, 3, 1, 9}, true}}) {
    List<MoveCommand> moves{fullMove()};
    moves[0].args = List<double>(row.args);
    const auto spiral = convertSpiralMove(moves)[0];
    EXPECT_EQ((Numbers{spiral.radius, spiral.radiusStep, spiral.angle}), row.read);
    EXPECT_EQ(spiral.direction, row.direction);
    EXPECT_EQ((Numbers{spiral.speed, spiral.rotSpeed, spiral.zone}), (Numbers{100, 0.6, 0}));
    EXPECT_EQ(spiral.cartTargetOffset.frame.trans[0], 8);
    EXPECT_EQ(spiral.customInfo, "mine");
    EXPECT_EQ(moves[0].args, row.after);
  }
}

TEST(Moves, WaitsAreOneOfTheFirst) {
  using std::chrono::milliseconds;
  const auto waitOf = [](Numbers args) {
    List<MoveCommand> moves(2);
    moves[0].args = List<double>(std::move(args));
    *moves[1].args = {7};
    return convertWaitMove(moves).duration;
  };
  EXPECT_EQ(waitOf({2.5, 9}), milliseconds(2500));
  EXPECT_EQ(waitOf({0.0019}), milliseconds(1));
  for (const Numbers& none : {Numbers{}, {-1}, {0}, {NAN}}) EXPECT_EQ(waitOf(none), milliseconds(0));
  EXPECT_GT(waitOf({1e300}), std::chrono::hours(24 * 365));
  EXPECT_EQ(faultOf([] { convertWaitMove({}); }), Fault::argumentOutOfRange);
}

}  // namespace

}  // namespace zivra::clr
