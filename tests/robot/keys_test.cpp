// The rows, the simulated controller, the headers and docs/operations.md know of the same operations.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

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

// Operations that report in no std::error_code, which the headers don't tell from other functions.
const std::set<std::string> withoutCode = {"BaseRobot::setConnectionHandler",
                                           "BaseRobot::sdkVersion",
                                           "BaseRobot::stopReceiveRobotState",
                                           "BaseRobot::updateRobotState",
                                           "BaseRobot::drainRobotState",
                                           "BaseRobot::stateStreamHealth",
                                           "BaseRobot::getStateData",
                                           "BaseRobot::setTransferProgress",
                                           "BaseRobot::ethercat",
                                           "Robot_T::startReceiveRobotState",
                                           "Robot_T::model",
                                           "Cobot::forceControl",
                                           "BaseUpgrade::setTransferProgress",
                                           "free::localAddressTowards"};

const std::filesystem::path source = ZIVRA_SOURCE_DIR;

std::string textOf(const std::filesystem::path& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

// What the public headers declare, as "Class::name" ("free" outside of classes).
struct Declared {
  std::set<std::string> functions;   // whatever a parenthesis follows
  std::set<std::string> operations;  // with a parameter `std::error_code& ec`
};

Declared declared() {
  Declared found;
  const std::regex comment("//[^\n]*");
  // A class's beginning and end, a function's name, what ends a declaration, the code.
  const std::regex token(
      R"(class ZIVRA_API (\w+)[^;{]*\{|\n(\};)|(\w+)\s*\(|([;{}])|std::error_code& (ec)\b)");
  for (const auto& entry : std::filesystem::directory_iterator(source / "include/zivra")) {
    const std::string text = std::regex_replace(textOf(entry.path()), comment, "");
    std::string scope = "free", name;
    for (std::sregex_iterator it(text.begin(), text.end(), token), end; it != end; ++it) {
      const auto& match = *it;
      if (match[1].matched) scope = match[1];
      if (match[2].matched) scope = "free";
      if (match[1].matched || match[2].matched || match[4].matched) name.clear();
      // The first parenthesis of a declaration is the function's; further ones belong to its parameters.
      if (match[3].matched) {
        const std::string candidate = match[3];
        found.functions.insert(scope + "::" + candidate);
        if (name.empty()) name = scope + "::" + candidate;
      }
      if (match[5].matched) found.operations.insert(name);
    }
  }
  return found;
}

// The rows of the document's tables.
struct Documented {
  std::set<std::string> operations, keys;
};

Documented documented() {
  Documented found;
  const std::regex row(R"(^\| (`?)(\w+)\1 \| `(\w+)[^`]*`)");
  const std::regex key("`([gscw] [^` ]+)`");
  std::istringstream lines(textOf(source / "docs/operations.md"));
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    if (!std::regex_search(line, match, row)) continue;
    found.operations.insert(match[2].str() + "::" + match[3].str());
    for (std::sregex_iterator it(line.begin(), line.end(), key), end; it != end; ++it) {
      found.keys.insert((*it)[1]);
    }
  }
  return found;
}

std::vector<std::string> listed(const std::set<std::string>& set) { return {set.begin(), set.end()}; }

TEST(OperationsDocument, NamesEveryOperationAndRequest) {
  const Documented document = documented();
  std::vector<std::string> rows = WireTests::keys();
  rows.insert(rows.end(), besides.begin(), besides.end());
  EXPECT_EQ(without(rows, listed(document.keys)), std::vector<std::string>()) << "not in docs/operations.md";
  EXPECT_EQ(without(listed(document.keys), rows), std::vector<std::string>()) << "nothing asks for";

  const Declared headers = declared();
  EXPECT_EQ(without(listed(withoutCode), listed(headers.functions)), std::vector<std::string>())
      << "not declared any more";
  std::set<std::string> operations = headers.operations;
  operations.insert(withoutCode.begin(), withoutCode.end());
  EXPECT_EQ(without(listed(operations), listed(document.operations)), std::vector<std::string>())
      << "not in docs/operations.md";
  EXPECT_EQ(without(listed(document.operations), listed(operations)), std::vector<std::string>())
      << "not declared";
}

}  // namespace

}  // namespace zivra::test
