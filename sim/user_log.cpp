#include "user_log.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace zivra::sim {

namespace {

struct Words {
  LogLevel level;
  std::string_view english, chinese, repair, chineseRepair;
};

constexpr Words kWords[] = {
    {LogLevel::info, "the controller was started", "控制器已启动", "", ""},
    {LogLevel::info, "the motors were switched on", "电机已上电", "", ""},
    {LogLevel::info, "the motors were switched off", "电机已下电", "", ""},
    {LogLevel::error, "the emergency stop was pressed", "急停按钮被按下",
     "release the button, then reset the emergency stop", "松开急停按钮后复位急停"},
    {LogLevel::info, "the emergency stop was reset", "急停已复位", "", ""},
    {LogLevel::warning, "the safety gate was opened", "安全门已打开", "close the gate", "关闭安全门"},
    {LogLevel::info, "the safety gate was closed", "安全门已关闭", "", ""},
    {LogLevel::error, "servo alarm", "伺服报警", "clear the alarm", "清除伺服报警"},
    {LogLevel::error, "collision", "发生碰撞", "free the arm, then go on", "移开障碍物后继续"},
    {LogLevel::error, "the move failed", "运动失败", "change the target", "修改目标点"},
    {LogLevel::error, "the move was rejected", "运动指令被拒绝", "change the move", "修改运动指令"},
    {LogLevel::warning, "the jog ended before its step was done", "点动提前结束", "jog the other way",
     "向反方向点动"},
    {LogLevel::info, "the clock was set by", "时钟已同步", "", ""},
    {LogLevel::info, "the EtherCAT slaves went to", "EtherCAT从站状态切换为", "", ""},
};

}  // namespace

LogEntry UserLog::written(int code, const std::string& text) const {
  LogEntry entry;
  entry.code = code;
  entry.text = text;
  entry.level = code == 0 ? LogLevel::info : LogLevel::error;
  const auto* words =
      std::ranges::find_if(kWords, [&](const Words& known) { return text.starts_with(known.english); });
  if (words == std::end(kWords)) return entry;
  const bool chinese = language_ == Language::chinese;
  entry.level = words->level;
  entry.repair = chinese ? words->chineseRepair : words->repair;
  if (chinese) entry.text = std::string(words->chinese) + text.substr(words->english.size());
  return entry;
}

void UserLog::add(LogEntry entry) {
  entries_.push_back(std::move(entry));
  if (entries_.size() > mostEntries) entries_.pop_front();
}

std::vector<LogEntry> UserLog::page(const std::set<LogLevel>& levels, bool newestFirst, std::size_t limit,
                                    std::size_t offset) const {
  std::vector<const LogEntry*> chosen;
  for (const LogEntry& entry : entries_)
    if (levels.empty() || levels.contains(entry.level)) chosen.push_back(&entry);
  // A clock that was set back writes earlier times behind later ones.
  std::ranges::stable_sort(chosen, {}, &LogEntry::time);
  if (newestFirst) std::ranges::reverse(chosen);
  std::vector<LogEntry> page;
  for (std::size_t i = offset; i < chosen.size() && page.size() < limit; ++i) page.push_back(*chosen[i]);
  return page;
}

}  // namespace zivra::sim
