#include "support/wire_case.h"

#include <algorithm>
#include <fmt/format.h>
#include <json/json.h>
#include <optional>
#include <set>
#include <sstream>

#include "core/log_registry.h"
#include "support/acknowledging_link.h"
#include "support/damage.h"
#include "support/temporary_folder.h"
#include "support/waiting.h"

namespace zivra::test {

namespace {

std::set<std::string>& allKeys() {
  static std::set<std::string> keys;
  return keys;
}

std::vector<std::string> keysOf(const WireCase& row) {
  if (*row.key != '\0') return {row.key};
  Json::Value body;
  std::istringstream(row.payload) >> body;
  return body.getMemberNames();
}

std::string frameOf(char form, const std::string& key, const std::string& payload, const std::string& id) {
  const std::string body = key.empty() ? payload : fmt::format(R"({{"{}":{}}})", key, payload);
  return form < 'i' ? fmt::format(R"({{"{}":{},"id":{}}})", form, body, id)
                    : fmt::format(R"({{"id":{},"{}":{}}})", id, form, body);
}

// One row against one controller.
class Run {
 public:
  explicit Run(const WireCase& row) : row_(row), controller_(row.call.identity) {
    if (row.rules.fileLink) fileLink_.emplace(controller_.address());
    robot_ = row.call.connect(controller_.address());
    // The last that a connection sends, and nobody waits for.
    EXPECT_TRUE(controller_.waitForRequest("move.last_error_with_setting", 2));
    robot_->setConnectionHandler([this](bool up) { link_.add(up); });
    for (const auto* others : {&row.rules.preceding, &row.rules.further}) {
      for (const auto& other : *others) controller_.answer(other.key, other.reply);
    }
    if (row.rules.mode == MotionControlMode::Idle) return;
    std::error_code ec;
    robot_->setMotionControlMode(row.rules.mode, ec);
    EXPECT_FALSE(ec) << ec.message();
    robot_->powerState(ec);  // what nobody waits for was read before this one's answer came
  }

  void all() {
    success();
    refusal();
    damagedReplies();
    damagedEnvelopes();
    deadLink();
    logLines();
  }

 private:
  // The form's body with this value in the place of the reply.
  std::string bodyWith(const std::string& value) const {
    return *row_.key == '\0' ? value : fmt::format(R"({{"{}":{}}})", row_.key, value);
  }

  std::error_code call(const std::function<std::string(const Request&)>& frame, bool exact = true) {
    controller_.answerBy(keysOf(row_).front(), [frame](const Request& r) { return std::vector{frame(r)}; });
    controller_.forgetRequests();
    std::error_code ec(1, std::generic_category());  // has to be cleared
    wireExpectation() = {&ec, exact, {}};
    row_.call.call(*robot_, ec);
    EXPECT_TRUE(!ec || ec.category() == category()) << ec.category().name();
    return ec;
  }
  std::error_code callWith(const std::string& value, bool exact = true) {
    return call([body = bodyWith(value)](const Request& r) { return r.replyBody(body); }, exact);
  }

  // Replies that nobody waits for have been read once a later one was.
  void catchUp() {
    if (row_.rules.awaited) return;
    std::error_code ec;
    EXPECT_EQ(robot_->powerState(ec), PowerState::on) << ec.message();
  }

  void success() {
    SCOPED_TRACE("success");
    const std::size_t linesBefore = ownLog().size();
    EXPECT_EQ(callWith(row_.reply).value(), 0);
    const std::string reported = wireExpectation().id;
    const auto& before = row_.rules.preceding;
    std::vector<Rules::Further> expected = before;
    expected.push_back({row_.form, row_.key, row_.payload, {}});
    expected.insert(expected.end(), row_.rules.further.begin(), row_.rules.further.end());
    ASSERT_TRUE(controller_.waitForRequest(keysOf(row_).front()));
    for (const auto& further : row_.rules.further) ASSERT_TRUE(controller_.waitForRequest(further.key));
    const auto requests = controller_.requests();
    ASSERT_EQ(requests.size(), expected.size());
    id_ = requests[before.size()].id;
    for (std::size_t i = 0; i < requests.size(); ++i) {
      const auto& [form, key, payload, reply] = expected[i];
      EXPECT_EQ(requests[i].text, frameOf(form, key, payload, requests[i].id));
    }
    checkId(reported);
    catchUp();
    checkLog(linesBefore);
  }

  std::vector<std::string> ownLog() const {
    if (const auto logger = internal::LogRegistry::instance().robot(row_.call.identity.id)) logger->flush();
    return robotLog(row_.call.identity.id);
  }
  // The row's lines, as the log has them.
  std::vector<std::string> expectedLines() const {
    std::vector<std::string> expected;
    if (row_.log == nullptr) return expected;
    std::istringstream lines(row_.log);
    for (std::string line; std::getline(lines, line);) {
      if (const auto at = line.find("{id}"); at != std::string::npos) line.replace(at, 4, id_);
      const std::string level = line.starts_with("E: ") ? "E: " : "";
      const std::string uid = row_.rules.ownLog ? "" : "uid: " + row_.call.identity.id + " | ";
      expected.push_back(level + uid + line.substr(level.size()));
    }
    return expected;
  }
  bool isOfFailure(const std::string& line) const {
    if (row_.rules.linesOfFailures) return false;  // those aren't named
    return line.starts_with("E: ") || (line.ends_with(')') && !line.ends_with("(0)"));
  }

  // Each line of a success is there once, and nothing else.
  void checkLog(std::size_t linesBefore) {
    auto expected = expectedLines();
    std::erase_if(expected, [this](const auto& line) { return isOfFailure(line); });
    std::vector<std::string> written;
    eventually([&] {
      written = ownLog();
      written.erase(written.begin(), written.begin() + static_cast<std::ptrdiff_t>(linesBefore));
      // Objects with a link of their own: what the link says of itself is none of the operation's.
      std::erase_if(written, [](const auto& line) {
        return line.find(" | xService ") != line.npos || line.find(" | FileTransfer ") != line.npos;
      });
      return written.size() >= expected.size();
    });
    EXPECT_EQ(written, expected);
  }

  void checkId(const std::string& reported) {
    std::string number = id_;
    if (const std::string& prefix = row_.rules.idPrefix; !prefix.empty()) {
      const std::string sent = id_.substr(1, id_.size() - 2);
      // Not every operation hands its id out.
      EXPECT_TRUE(reported.empty() || sent == reported) << sent << " for " << reported;
      EXPECT_EQ(sent.rfind(prefix + '#', 0), 0u) << sent;
      id_ = sent;
      number = sent.substr(std::min(prefix.size() + 1, sent.size()));
    }
    EXPECT_FALSE(number.empty());
    EXPECT_EQ(number.find_first_not_of("0123456789"), std::string::npos) << id_;
  }

  void refusal() {
    SCOPED_TRACE("refusal");
    const std::error_code ec = *row_.key == '\0' ? callWith(row_.reply, false) : callWith("-290", false);
    EXPECT_EQ(ec.value(), codeOfInteger());
    catchUp();
  }
  int codeOfInteger() const {
    if (matchesAny("=int", row_.rules.tolerated) || *row_.key == '\0') return 0;
    if (row_.rules.codeOfInteger) return *row_.rules.codeOfInteger;
    return row_.form == 'g' && !row_.rules.integerCode ? row_.rules.damageCode : -290;
  }

  std::optional<int> codeOf(const std::string& damage) const {
    for (const auto& [patterns, code] : row_.rules.damageCodes) {
      if (matchesAny(damage, patterns)) return code;
    }
    return std::nullopt;
  }

  void damagedReplies() {
    for (const Damage& damage : damagesOf(row_.reply)) {
      SCOPED_TRACE(damage.name + ": " + damage.json);
      const bool tolerated = matchesAny(damage.name, row_.rules.tolerated);
      const int code = callWith(damage.json, false).value();
      if (tolerated) {
        EXPECT_EQ(code, 0);
      } else if (damage.name == "=int" && *row_.key != '\0') {
        EXPECT_EQ(code, codeOfInteger());
      } else if (const auto exact = codeOf(damage.name)) {
        EXPECT_EQ(code, *exact);
      } else {
        EXPECT_TRUE(code == 257 || code == row_.rules.damageCode) << code;
      }
      catchUp();
    }
  }

  void damagedEnvelopes() {
    const bool many = *row_.key == '\0';
    for (const char* body : {R"({"other":1})", "{}", "[]", "null", "7", "\"x\""}) {
      SCOPED_TRACE(std::string("in place of the body: ") + body);
      const int code = call([body](const Request& r) { return r.replyBody(body); }, false).value();
      // A body of several keys is judged key by key.
      const bool judged = !many || *body != '{';
      EXPECT_TRUE(!row_.rules.awaited || (judged ? code == 257 : code != 0)) << code;
      catchUp();
    }
    SCOPED_TRACE("no body");
    const int code = call([](const Request& r) { return R"({"x":1,"id":)" + r.id + "}"; }, false).value();
    EXPECT_EQ(code, row_.rules.awaited ? 257 : 0);
    catchUp();
  }

  void deadLink() {
    SCOPED_TRACE("dead link");
    controller_.die();
    ASSERT_TRUE(link_.waitFor(1));
    EXPECT_EQ(callWith(row_.reply).value(), row_.rules.deadCode);
  }

  // What was written of failures, and to the global log.
  void logLines() {
    SCOPED_TRACE("log");
    robot_.reset();
    const auto own = robotLog(row_.call.identity.id), global = globalLog();
    const auto expectLine = [&](const std::string& line) {
      const auto has = [&](const auto& lines) {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
      };
      EXPECT_TRUE(has(own)) << line << "\nnot in the robot's log:\n"
                            << fmt::format("{}", fmt::join(own, "\n"));
      EXPECT_NE(has(global), row_.rules.ownLog) << line << "\nin the global log";
    };
    for (const std::string& line : expectedLines()) {
      expectLine(line);
      if (!row_.rules.linesOfFailures) continue;
      const auto success = line.rfind('0');
      if (success == std::string::npos || (!line.ends_with("(0)") && !line.ends_with("id: 0"))) continue;
      for (const int code : {codeOfInteger(), row_.rules.deadCode}) {
        if (code == row_.rules.deadCode && !row_.rules.deadLinkLogged) continue;
        expectLine(line.substr(0, success) + std::to_string(code) + line.substr(success + 1));
      }
    }
  }

  const WireCase& row_;
  TemporaryFolder folder_;
  Heard<bool> link_;
  ScriptedController controller_;
  std::optional<AcknowledgingLink> fileLink_;
  std::string id_;  // of the successful request
  std::unique_ptr<BaseRobot> robot_;
};

class RowTest : public testing::Test {
 public:
  explicit RowTest(const WireCase& row) : row_(row) {}
  void TestBody() override { runWireCase(row_); }

 private:
  const WireCase& row_;
};

}  // namespace

WireExpectation& wireExpectation() {
  static WireExpectation expectation;
  return expectation;
}

void runWireCase(const WireCase& row) { Run(row).all(); }

WireTests::WireTests(const char* family, const WireCase* rows, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    const WireCase& row = rows[i];
    std::string name = row.name;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    testing::RegisterTest((std::string("Wire_") + family).c_str(), name.c_str(), nullptr, nullptr, __FILE__,
                          __LINE__, [&row]() -> testing::Test* { return new RowTest(row); });
    for (const auto& key : keysOf(row)) allKeys().insert(std::string{row.form, ' '} + key);
    for (const auto* others : {&row.rules.preceding, &row.rules.further}) {
      for (const auto& other : *others) allKeys().insert(std::string{other.form, ' '} + other.key);
    }
  }
}

std::vector<std::string> WireTests::keys() { return {allKeys().begin(), allKeys().end()}; }

}  // namespace zivra::test
