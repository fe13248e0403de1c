#include "core/json.h"

#include <climits>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/writer.h>
#include <limits>
#include <random>
#include <string>

#include "core/comma_locale.h"
#include "core/json_text.h"
#include "core/json_values.h"

namespace {

using namespace zivra::internal;

// What jsoncpp itself reads and writes is the measure. Its classes have newer names by now, but these are the
// ones whose language and bytes the controller knows.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
std::string written(const Json::Value& value) {
  Json::FastWriter writer;
  writer.omitEndingLineFeed();
  return writer.write(value);
}
bool readByJsoncpp(const std::string& text, Json::Value& value) {
  return Json::Reader().parse(text, value, false);
}
#pragma GCC diagnostic pop

TEST(JsonText, NumbersAsJsoncppWritesThem) {
  using Limits = std::numeric_limits<double>;
  for (const double number : {0.0,
                              -0.0,
                              1.0,
                              -1.0,
                              0.1,
                              1e-5,
                              1e15,
                              1e16,
                              1e17,
                              1e18,
                              1e300,
                              1e-300,
                              1e9,
                              1e9 - 1,
                              -1e9,
                              123456789012345678.0,
                              0.30000000000000004,
                              Limits::max(),
                              Limits::min(),
                              Limits::denorm_min(),
                              Limits::infinity(),
                              -Limits::infinity(),
                              Limits::quiet_NaN()}) {
    EXPECT_EQ(textOf(number), written(number));
  }
  std::mt19937_64 random(1);
  for (int i = 0; i < 5000; ++i) {
    const std::uint64_t bits = random();
    double any;
    static_assert(sizeof any == sizeof bits);
    std::memcpy(&any, &bits, sizeof any);  // all exponents, NaNs and denormals among them
    EXPECT_EQ(textOf(any), written(any)) << bits;
    const double usual = static_cast<double>(static_cast<std::int64_t>(bits) % 10'000'000) / 1000.0;
    EXPECT_EQ(textOf(usual), written(usual));
    const double sized = std::ldexp(static_cast<double>(bits >> 11), -static_cast<int>(bits % 80) - 1);
    EXPECT_EQ(textOf(sized), written(sized)) << bits;
    const double tie = static_cast<double>(10'000'000'000'000 + bits % 90'000'000'000'000) + 0.0625;
    EXPECT_EQ(textOf(tie), written(tie)) << bits;  // half-way between two texts of 17 digits
    const Json::Value whole = Json::Value::Int64(bits >> (bits % 64));
    EXPECT_EQ(textOf(whole), written(whole));
    const Json::Value natural = Json::Value::UInt64(bits);
    EXPECT_EQ(textOf(natural), written(natural));
  }
}

TEST(JsonText, TextsAsJsoncppWritesThem) {
  for (const std::string text :
       {"", "plain", "\"\\/\b\f\n\r\t", "\x01\x1f\x7f", "ä€😀中文", "\xff", "\xc3", "\xe2\x82", "\xf0\x9f\x98",
        "a\x80", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80", "end\xe4"}) {
    EXPECT_EQ(textOf(text), written(text)) << text;
  }
  EXPECT_EQ(textOf(std::string("a\0b", 3)), written(std::string("a\0b", 3)));
  std::mt19937 random(2);
  for (int i = 0; i < 5000; ++i) {
    std::string text(random() % 12, ' ');
    for (char& c : text) c = static_cast<char>(random() % (i % 2 ? 256 : 128) | (i % 3 == 0 ? 0x80 : 0));
    EXPECT_EQ(textOf(text), written(text));
    Json::Value object;
    object[text] = i;
    EXPECT_EQ(textOf(object), written(object));
  }
}

TEST(JsonText, WholeValuesAsJsoncppWritesThem) {
  for (const char* text : {"{}", "[]", "null", R"({"b":[1,-2.5,true,null,{"x":[]}],"a":{"":"é"}})",
                           R"([[[]],{},"",18446744073709551615,-9223372036854775808])"}) {
    EXPECT_EQ(textOf(parsed(text)), written(parsed(text)));
  }
}

TEST(JsonText, PieceByPiece) {
  std::string out;
  const double numbers[] = {1, 2.5};
  JsonText(out)
      .beginObject()
      .key("a")
      .beginArray()
      .beginObject()
      .endObject()
      .null()
      .beginArray()
      .endArray()
      .boolean(true)
      .endArray()
      .key("b")
      .numbers(numbers, 2)
      .key("c\n")
      .text("ü")
      .key("d")
      .integer(-7)
      .key("e")
      .raw("{\"x\":1}")
      .key("f")
      .numbers(numbers, 0)
      .endObject();
  EXPECT_EQ(
      out,
      "{\"a\":[{},null,[],true],\"b\":[1.0,2.5],\"c\\n\":\"\\u00fc\",\"d\":-7,\"e\":{\"x\":1},\"f\":[]}");
}

TEST(JsonParser, WhatIsRead) {
  const struct {
    std::string text;
    std::string meaning;  // as it is written back
  } cases[] = {
      {"{\"id\":1,\"g\":{\"sys.power\":0}}", "{\"g\":{\"sys.power\":0},\"id\":1}"},
      {" [ 1 , 2.50 , -3e2 ] ", "[1,2.5,-300.0]"},
      {"01", "1"},
      {"-0", "0"},
      {"-0.0", "-0.0"},
      {"1.", "1.0"},
      {"-.5", "-0.5"},
      {"2147483648", "2147483648"},
      {"18446744073709551615", "18446744073709551615"},
      {"18446744073709551616", "1.8446744073709552e+19"},
      {"-9223372036854775808", "-9223372036854775808"},
      {"-9223372036854775809", "-9.2233720368547758e+18"},
      {"4.9406564584124654e-324", "4.9406564584124654e-324"},
      {R"("\"\\\/\b\f\n\r\t\u0041\u00e4\u4e2d\ud83d\ude00")",
       R"("\"\\/\b\f\n\r\tA\u00e4\u4e2d\ud83d\ude00")"},
      {R"(["\ud83d", "\ude00x", "\ud83d\u0041"])", R"(["\ufffd","\ufffdx","\ufffdA"])"},
      {"\"raw\ttab and \xc3\xa4\"", R"("raw\ttab and \u00e4")"},
      {"{\"a\":1,\"a\":{\"b\":2}}", "{\"a\":{\"b\":2}}"},
      {"/* c */ {// x\n\"a\" : /**/ [ /*,*/ ] } // end", "{\"a\":[]}"},
      {"[1] and more", "[1]"},
      {"\xEF\xBB\xBF{}", "{}"},
      {std::string(256, '[') + std::string(256, ']'), std::string(256, '[') + std::string(256, ']')},
  };
  for (const auto& c : cases) EXPECT_EQ(textOf(parsed(c.text)), c.meaning) << c.text;
}

TEST(JsonParser, WhatIsRefused) {
  JsonParser parser;
  for (const std::string& text : {std::string(),
                                  std::string(" "),
                                  std::string("{"),
                                  std::string("["),
                                  std::string("\""),
                                  std::string("\"\\"),
                                  std::string("\"\\u12"),
                                  std::string("\"\\u12g4\""),
                                  std::string("\"\\u+123\""),
                                  std::string("\"\\x\""),
                                  std::string("[1,]"),
                                  std::string("[,1]"),
                                  std::string("{\"a\":1,}"),
                                  std::string("{\"a\"}"),
                                  std::string("{\"a\" 1}"),
                                  std::string("{a:1}"),
                                  std::string("{1:1}"),
                                  std::string("{\"a\":1 \"b\":2}"),
                                  std::string("[1 2]"),
                                  std::string("tru"),
                                  std::string("nul"),
                                  std::string("NaN"),
                                  std::string("-"),
                                  std::string("+1"),
                                  std::string(".5"),
                                  std::string("1e"),
                                  std::string("1e+"),
                                  std::string("--1"),
                                  std::string("1e999"),
                                  std::string("[1 /*"),
                                  std::string("/"),
                                  std::string("'a'"),
                                  std::string("\0", 1),
                                  std::string("{\"a\":[1,{\"b\":tru}]}"),
                                  std::string(257, '[') + std::string(257, ']'),
                                  std::string(1'000'000, '['),
                                  std::string(100'000, '{')}) {
    Json::Value value = 7;
    EXPECT_FALSE(parser.parse(text, value)) << text.substr(0, 40);
    EXPECT_TRUE(value.isNull()) << text.substr(0, 40);
  }
  Json::Value value;
  EXPECT_TRUE(parser.parse("[1]", value));  // none of them left anything behind
  EXPECT_EQ(textOf(value), "[1]");
}

// A "-" without digits, which jsoncpp takes for 0, and reals too small for a double, which it takes for 0.0.
bool hasRulesOfItsOwn(const std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '-' && (i + 1 == text.size() || !std::strchr(".0123456789", text[i + 1]))) return true;
    if (text.compare(i, 2, "e-") == 0) return true;
  }
  return false;
}

TEST(JsonParser, DamagedTextIsJudgedAsByJsoncpp) {
  const std::string whole =
      R"({"id":12,"g":{"a.b":[1.5,-2,3e2,[]],"t":"x\n\u0041","n":null,"o":{}},"b":[true,false]})";
  const std::string pieces = R"({}[]:,"\ 0123456789.-+eEtrufalsn)";
  std::mt19937 random(3);
  int accepted = 0;
  JsonParser parser;
  for (int i = 0; i < 20000; ++i) {
    std::string text = whole;
    for (unsigned damages = random() % 3 + 1; damages > 0; --damages) {
      const std::size_t at = random() % text.size();
      switch (random() % 3) {
        case 0:
          text.erase(at, 1);
          break;
        case 1:
          text[at] = pieces[random() % pieces.size()];
          break;
        default:
          text.insert(at, 1, pieces[random() % pieces.size()]);
      }
    }
    if (hasRulesOfItsOwn(text)) continue;
    Json::Value ours, theirs;
    const bool taken = parser.parse(text, ours);
    ASSERT_EQ(taken, readByJsoncpp(text, theirs)) << text;
    if (!taken) continue;
    ++accepted;
    ASSERT_TRUE(ours == theirs) << text;
    ASSERT_EQ(textOf(ours), written(theirs)) << text;
  }
  EXPECT_GT(accepted, 1000);  // or the comparison shows nothing
}

TEST(Json, DoesNotDependOnTheLocale) {
  const CommaLocale commas;
  const std::string text = R"({"a":[1.5,1234567.25,0.001,1234567,-2e-5],"b":18446744073709551616})";
  EXPECT_EQ(textOf(parsed(text)),
            R"({"a":[1.5,1234567.25,0.001,1234567,-2.0000000000000002e-05],"b":1.8446744073709552e+19})");
  EXPECT_EQ(*asNumber(parsed("1.500")), 1.5);
}

TEST(Json, RealsSurviveTheWay) {
  std::mt19937_64 random(4);
  JsonParser parser;
  for (int i = 0; i < 5000; ++i) {
    const std::uint64_t bits = random();
    double number;
    std::memcpy(&number, &bits, sizeof number);
    if (!std::isfinite(number)) continue;
    Json::Value back;
    ASSERT_TRUE(parser.parse(textOf(number), back));
    ASSERT_EQ(asNumber(back), number);
  }
}

TEST(JsonAccessors, TakeTheirTypeOnly) {
  const struct {
    const char* text;
    std::optional<int> asInt;
    std::optional<std::uint64_t> asUnsigned;
    std::optional<double> asNumber;
    std::optional<bool> asBool;
    std::optional<std::string> asText;
  } cases[] = {
      {"0", 0, 0, 0.0, {}, {}},
      {"-3", -3, {}, -3.0, {}, {}},
      {"2147483647", 2147483647, 2147483647, 2147483647.0, {}, {}},
      {"2147483648", {}, 2147483648, 2147483648.0, {}, {}},
      {"-2147483648", INT_MIN, {}, -2147483648.0, {}, {}},
      {"-2147483649", {}, {}, -2147483649.0, {}, {}},
      {"18446744073709551615", {}, ~std::uint64_t{0}, 18446744073709551615.0, {}, {}},
      {"2.0", {}, {}, 2.0, {}, {}},
      {"-290.7", {}, {}, -290.7, {}, {}},
      {"true", {}, {}, {}, true, {}},
      {"\"5\"", {}, {}, {}, {}, "5"},
      {"\"a\\u0000b\"", {}, {}, {}, {}, std::string("a\0b", 3)},
      {"null", {}, {}, {}, {}, {}},
      {"[]", {}, {}, {}, {}, {}},
      {"{}", {}, {}, {}, {}, {}},
  };
  for (const auto& c : cases) {
    const Json::Value value = parsed(c.text);
    EXPECT_EQ(asInt(value), c.asInt) << c.text;
    EXPECT_EQ(asUnsigned(value), c.asUnsigned) << c.text;
    EXPECT_EQ(asNumber(value), c.asNumber) << c.text;
    EXPECT_EQ(asBool(value), c.asBool) << c.text;
    EXPECT_EQ(asText(value), c.asText) << c.text;
    EXPECT_EQ(textOr(value, "else"), c.asText.value_or("else")) << c.text;
    EXPECT_FALSE(hasMember(value, "a")) << c.text;
    EXPECT_TRUE(member(value, "a").isNull()) << c.text;
  }
}

TEST(JsonAccessors, Members) {
  const Json::Value value = parsed(R"({"a":1,"n":null})");
  EXPECT_EQ(asInt(member(value, "a")), 1);
  EXPECT_TRUE(hasMember(value, "n"));
  EXPECT_TRUE(member(value, "n").isNull());
  EXPECT_FALSE(hasMember(value, "b"));
  EXPECT_EQ(value.size(), 2u);
}

TEST(JsonAccessors, Numbers) {
  EXPECT_EQ(asNumbers(parsed("[1,2.5,-3]")), (std::vector<double>{1, 2.5, -3}));
  EXPECT_EQ(asNumbers(parsed("[]")), std::vector<double>{});
  for (const char* text : {"[1,null]", "[1,\"2\"]", "[true]", "[[1]]", "1", "null", "{}", "{\"0\":1}"}) {
    EXPECT_FALSE(asNumbers(parsed(text))) << text;
  }
}

}  // namespace
