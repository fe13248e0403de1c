// Whether a path can be followed, and where it would end. Nothing moves.
#include <algorithm>
#include <fmt/format.h>
#include <iterator>

#include "handlers/handlers.h"
#include "handlers/points.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr Json::ArrayIndex kLongestList = 200;  // planning them all takes its time

std::string failureText(int code) {
  constexpr std::pair<int, const char*> kTexts[] = {
      {-50002, "the target is out of reach"},
      {-50003, "the target lies too near to the point before"},
      {-50021, "the target has no solution in the given configuration"},
      {-50034, "the axes can't turn to the target"},
      {-50101, "an axis would leave its range"},
      {-50102, "the path passes a singularity"},
      {-50512, "the number of angles isn't that of the axes"},
      {-50518, "the target is where the path begins"}};
  const auto* found = std::ranges::find(kTexts, code, &std::pair<int, const char*>::first);
  return fmt::format("{} ({})", found == std::end(kTexts) ? "the path can't be planned" : found->second,
                     code);
}

// The moves that the parameter's form describes. False: malformed.
bool readPath(const Json::Value& parameter, std::vector<Move>& moves) {
  if (const Json::Value& path = member(parameter, "path"); !path.isNull()) {
    if (!path.isArray() || path.empty() || path.size() > kLongestList) return false;
    for (const Json::Value& element : path)
      if (!readTarget(member(element, "point1"), moves.emplace_back().target)) return false;
    return true;
  }
  Move& move = moves.emplace_back();
  const Json::Value& last = member(parameter, "point2");
  if (last.isNull()) return readTarget(member(parameter, "point1"), move.target);
  move.kind = MoveKind::circle;
  if (!readTarget(member(parameter, "point1"), move.aux) || !readTarget(last, move.target)) return false;
  const Json::Value& circle = member(parameter, "circle");
  if (circle.isNull()) return true;
  move.kind = MoveKind::fullCircle;
  return readCircle(circle, move);
}

Reply checkPath(World& w, const Json::Value& parameter) {
  const Json::Value& first = member(parameter, "point0");
  const auto near = readNumbers(member(first, "near"), 0);
  Target begin;
  std::vector<Move> moves;
  if (!near || !readTarget(first, begin) || !readPath(parameter, moves)) return badParameter();
  const PathVerdict verdict = w.motion.check(*near, begin, moves);
  if (verdict.code == 0) return data(numbersJson(verdict.end));
  Reply refusal = failure(verdict.code, failureText(verdict.code));
  if (parameter.isMember("path")) refusal.value["data"]["index"] = static_cast<int>(verdict.failing);
  return refusal;
}

}  // namespace

void addPathCheckHandlers(Handlers& h) { h.command("move.path.check", checkPath); }

}  // namespace zivra::sim
