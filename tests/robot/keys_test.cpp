// The rows and the simulated controller know of the same operations.
#include <algorithm>
#include <gtest/gtest.h>

#include <zivra/sim/controller.h>

#include "support/wire_case.h"

namespace zivra::test {

namespace {

// Frames with tests of their own: those of the connection and of the state stream, and one whose failures are
// all alike.
const std::vector<std::string> besides = {"g eci.port",          "s eci.ip",        "s eci.port",
                                          "s eci.fields.out",    "c eci.pub.start", "c eci.pub.stop",
                                          "c modbusRTU.can.recv"};

// Answered by the simulated controller although the library has no operation for them yet.
const std::vector<std::string> ahead = {};

std::vector<std::string> without(std::vector<std::string> from, std::vector<std::string> those) {
  std::sort(from.begin(), from.end());
  std::sort(those.begin(), those.end());
  std::vector<std::string> left;
  std::set_difference(from.begin(), from.end(), those.begin(), those.end(), std::back_inserter(left));
  return left;
}

TEST(WireKeys, EveryRequestIsAnsweredAndEveryAnswerAsked) {
  std::vector<std::string> rows = WireTests::keys();
  rows.insert(rows.end(), besides.begin(), besides.end());
  const auto handled = sim::handledKeys();
  EXPECT_EQ(without(rows, handled), std::vector<std::string>()) << "the simulated controller doesn't answer";
  EXPECT_EQ(without(without(handled, rows), ahead), std::vector<std::string>()) << "no row asks for";
  EXPECT_EQ(without(ahead, without(ahead, rows)), std::vector<std::string>())
      << "asked by now: strike from the list";
}

}  // namespace

}  // namespace zivra::test
