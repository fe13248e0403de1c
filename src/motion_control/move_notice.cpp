#include "motion_control/move_notice.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

#include "core/json.h"

namespace zivra::internal {

namespace {

constexpr int leastRefusal = -20;
constexpr int greatestRefusal = -3;
// Errors of a notice that say no more than that the moves have been stopped.
constexpr int generalFailure = -1;
constexpr int stoppedWithoutReason = -257;
// The planner's codes of inverse kinematics lie this far below the error of the notice.
constexpr std::int64_t inverseKinematicsOffset = 32;

std::error_code apiCode(int code) { return {code, category()}; }

bool contains(std::string_view text, std::string_view part) noexcept {
  return text.find(part) != std::string_view::npos;
}

// The controller hands a custom text back behind the id and a "*".
void splitId(const std::string& text, MoveEvent& event) {
  const std::size_t star = text.find('*');
  event.cmdID = text.substr(0, star);
  if (star != std::string::npos) event.customInfo = text.substr(star + 1);
}

// The text of the code behind the first ":"; empty if there is no number.
std::string remarkOf(std::string_view msg) {
  const std::size_t colon = msg.find(':');
  if (colon == std::string_view::npos) return {};
  std::string_view digits = msg.substr(colon + 1);
  digits.remove_prefix(std::min(digits.find_first_not_of(" \t"), digits.size()));
  if (!digits.empty() && digits.front() == '+') {
    digits.remove_prefix(1);
    if (!digits.empty() && digits.front() == '-') return {};
  }
  int code = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), code);
  if (read.ec != std::errc{}) return {};
  return category().message(code);
}

// An error that can't be read is an error all the same: moves must not go on as if nothing had happened.
std::optional<int> readError(const Json::Value& note) {
  const Json::Value& error = member(note, "error");
  if (error.type() == Json::nullValue) return std::nullopt;
  return asInt(error).value_or(static_cast<int>(Code::responseUnresolved));
}

}  // namespace

bool MoveNotice::isProgress() const noexcept {
  return kind == Kind::news && error.value_or(0) == 0 && !contains(msg, "finish") && !contains(msg, "ik");
}

std::size_t MoveNotice::bytes() const noexcept {
  return sizeof(MoveNotice) + id.capacity() + msg.capacity() + refusals.capacity() * sizeof(int) +
         failure.cmdID.capacity();
}

std::optional<MoveNotice> readNotice(const Json::Value& message) {
  MoveNotice notice;
  const Json::Value& codes = member(message, "c");
  if (codes.type() == Json::objectValue) {
    notice.kind = MoveNotice::Kind::reply;
    for (const Json::Value& value : codes) {
      const auto code = asInt(value);
      if (code && *code >= leastRefusal && *code <= greatestRefusal) notice.refusals.push_back(*code);
    }
    if (notice.refusals.empty()) return std::nullopt;
    notice.id = textOr(member(message, "id"));
    return notice;
  }
  const Json::Value& note = member(member(message, "n"), "move.last_error_with_setting");
  const Json::Value& data = member(note, "data");
  notice.error = readError(note);
  notice.id = textOr(member(data, "id"));
  notice.point = asInt(member(data, "point")).value_or(0);
  notice.msg = textOr(member(data, "msg"));
  return notice;
}

MoveVerdict judgeNews(const MoveNotice& notice) {
  MoveVerdict verdict;
  const int error = notice.error.value_or(0);
  const bool stopped = error == generalFailure || error == stoppedWithoutReason;
  if (!stopped) verdict.event.error = apiCode(error);
  const bool finish = contains(notice.msg, "finish");
  if (finish) verdict.event.remark = remarkOf(notice.msg);
  if (contains(notice.msg, "ik")) {
    const std::int64_t code = std::int64_t{error} - inverseKinematicsOffset;
    verdict.event.error =
        apiCode(static_cast<int>(std::max<std::int64_t>(code, std::numeric_limits<int>::min())));
  }
  splitId(notice.id, verdict.event);
  verdict.event.wayPointIndex = notice.point;
  verdict.event.reachTarget = finish;
  verdict.wipe = verdict.event.error || stopped;
  // Moves of other origin than the queue have ids without "#"; it may stand behind the "*" as well.
  verdict.finished = !verdict.wipe && finish && contains(notice.id, "#");
  verdict.notify = finish || verdict.event.error || !verdict.event.remark.empty();
  return verdict;
}

MoveEvent refusalEvent(const MoveNotice& notice, int code) {
  MoveEvent event;
  splitId(notice.id, event);
  event.error = apiCode(code);
  return event;
}

}  // namespace zivra::internal
