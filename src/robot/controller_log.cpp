// The controller's user log, page by page.
#include <algorithm>
#include <optional>

#include <zivra/base_robot.h>

#include "core/code_page.h"
#include "core/process_state.h"
#include "robot/operation.h"

namespace zivra {

using internal::member;
using internal::Operation;
using internal::Word;

namespace {

constexpr unsigned longestPage = 10;

constexpr Word<LogInfo::Level> levelWords[] = {
    {"info", LogInfo::Level::info}, {"warning", LogInfo::Level::warning}, {"error", LogInfo::Level::err}};

// Nothing if one of the levels is none.
std::optional<Json::Value> levelNames(const std::set<LogInfo::Level>& levels) {
  Json::Value names(Json::arrayValue);
  for (const auto& word : levelWords) {
    if (levels.count(word.value) != 0) names.append(std::string(word.text));
  }
  if (names.size() != levels.size()) return std::nullopt;
  return names;
}

// False if a member has the wrong type; one that is missing keeps its default.
bool readEntry(const Json::Value& value, LogInfo& entry) {
  bool good = true;
  const auto text = [&](const char* key) {
    const Json::Value& found = member(value, key);
    good = good && (found.isNull() || found.isString());
    return internal::textOr(found);
  };
  entry.repairHint = text("repair");
  entry.logText = text("content");
  entry.timestamp = text("time");
  if (const Json::Value& code = member(value, "err_code"); !code.isNull()) {
    const auto id = internal::asInt(code);
    good = good && id;
    entry.id = id.value_or(0);
  }
  return good;
}

std::vector<LogInfo> readLogs(internal::Reply& reply) {
  const Json::Value& data = member(reply.value(), "data");
  if (!reply.value().isObject() || (internal::hasMember(reply.value(), "data") && !data.isObject())) {
    reply.fail(internal::protocolMismatch());
    return {};
  }
  const Json::Value& logs = member(data, "logs");
  if (!logs.isArray()) return {};
  std::vector<LogInfo> entries;
  for (const Json::Value& value : logs) {
    if (!value.isObject()) {
      reply.fail(internal::protocolMismatch());
      return {};
    }
    if (!readEntry(value, entries.emplace_back())) {
      reply.fail(Code::responseUnresolved);
      return {};
    }
  }
  return entries;
}

void convert(std::vector<LogInfo>& entries) {
  const internal::CodePage936 codePage;
  for (LogInfo& entry : entries) {
    for (std::string* text : {&entry.timestamp, &entry.logText, &entry.repairHint}) {
      *text = codePage.fromUtf8(*text);
    }
  }
}

}  // namespace

std::vector<LogInfo> BaseRobot::queryControllerLog(unsigned count, const std::set<LogInfo::Level>& level,
                                                   std::error_code& ec, unsigned offset) noexcept {
  Operation op(impl(), ec);
  const auto levels = levelNames(level);
  if (!levels) {
    ec = Code::argumentInvalid;
    return {};
  }
  Json::Value parameters;
  parameters["limit"] = std::clamp(count, 1U, longestPage);
  parameters["offset"] = offset;
  parameters["order"] = "time DESC";
  parameters["filter"]["level"] = *levels;
  auto reply = op.command("user_log.query", parameters);
  if (reply.failed()) return {};
  auto entries = readLogs(reply);
  if (!entries.empty() && internal::language() == internal::Language::chinese) convert(entries);
  return entries;
}

}  // namespace zivra
