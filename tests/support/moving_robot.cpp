#include "support/moving_robot.h"

#include <algorithm>
#include <any>
#include <utility>

namespace zivra::test {

MovingRobot::MovingRobot(const std::string& address) : robot(address) {
  robot.setEventWatcher(
      Event::moveExecution,
      [this](const EventInfo& info) {
        MoveEvent event;
        event.id = std::any_cast<std::string>(info.at("cmdID"));
        event.custom = std::any_cast<std::string>(info.at("customInfo"));
        event.remark = std::any_cast<std::string>(info.at("remark"));
        event.point = std::any_cast<int>(info.at("wayPointIndex"));
        event.finished = std::any_cast<bool>(info.at("reachTarget"));
        event.error = std::any_cast<std::error_code>(info.at("error"));
        events.add(std::move(event));
      },
      ec);
  EXPECT_FALSE(ec) << ec.message();
  robot.setOperateMode(OperateMode::automatic, ec);
  EXPECT_FALSE(ec) << ec.message();
  robot.setPowerState(true, ec);
  EXPECT_FALSE(ec) << ec.message();
}

std::error_code MovingRobot::waitForError() {
  const auto failed = [](const MoveEvent& event) { return static_cast<bool>(event.error); };
  EXPECT_TRUE(events.waitUntil([&](const auto& all) { return std::any_of(all.begin(), all.end(), failed); }));
  for (const MoveEvent& event : events.all()) {
    if (failed(event)) return event.error;
  }
  return {};
}

bool MovingRobot::waitForFinishes(std::size_t count) {
  return events.waitUntil([&](const auto& all) {
    return static_cast<std::size_t>(
               std::count_if(all.begin(), all.end(), [](const MoveEvent& e) { return e.finished; })) >= count;
  });
}

std::vector<MoveEvent> MovingRobot::finishes() const {
  auto all = events.all();
  std::erase_if(all, [](const MoveEvent& event) { return !event.finished; });
  return all;
}

CartesianPosition shifted(CartesianPosition from, double x, double y, double z) {
  from.trans[0] += x;
  from.trans[1] += y;
  from.trans[2] += z;
  return from;
}

}  // namespace zivra::test
