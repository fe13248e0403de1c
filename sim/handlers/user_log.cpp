// The user log, a page at a time.
#include <set>

#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr unsigned kLongestPage = 100;

std::optional<LogLevel> levelNamed(const Json::Value& word) {
  const auto text = readText(word);
  if (text == "info") return LogLevel::info;
  if (text == "warning") return LogLevel::warning;
  if (text == "error") return LogLevel::error;
  return std::nullopt;
}

Json::Value json(const LogEntry& entry) {
  Json::Value value(Json::objectValue);
  value["err_code"] = entry.code;
  value["time"] = entry.time;
  value["content"] = entry.text;
  value["repair"] = entry.repair;
  return value;
}

Reply query(World& w, const Json::Value& parameter) {
  const Json::Value &limit = member(parameter, "limit"), &offset = member(parameter, "offset");
  const auto order = readText(member(parameter, "order"));
  const Json::Value& words = member(member(parameter, "filter"), "level");
  if (!limit.isUInt() || !offset.isUInt() || !words.isArray()) return badParameter();
  if (limit.asUInt() < 1 || limit.asUInt() > kLongestPage) return badParameter();
  if (order != "time DESC" && order != "time ASC") return badParameter();
  std::set<LogLevel> levels;
  for (const Json::Value& word : words) {
    const auto level = levelNamed(word);
    if (!level) return badParameter();
    levels.insert(*level);
  }
  Json::Value value(Json::objectValue);
  Json::Value& logs = value["data"]["logs"] = Json::Value(Json::arrayValue);
  for (const LogEntry& entry : w.userLog.page(levels, order == "time DESC", limit.asUInt(), offset.asUInt()))
    logs.append(json(entry));
  return answer(value);
}

}  // namespace

void addUserLogHandlers(Handlers& h) { h.command("user_log.query", query); }

}  // namespace zivra::sim
