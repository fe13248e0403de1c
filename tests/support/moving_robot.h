// A robot that is ready to move, and what is heard of its moves.
#pragma once

#include <any>
#include <gtest/gtest.h>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/robot.h>

#include "support/waiting.h"

namespace zivra::test {

// One move event, unpacked.
struct MoveEvent {
  std::string id, custom, remark;
  int point = 0;
  bool finished = false;
  std::error_code error;
};

// A connected robot with power, in automatic mode, whose move events are kept.
class MovingRobot {
 public:
  explicit MovingRobot(const std::string& address);

  Heard<MoveEvent> events;  // outlives the robot
  TandiRobot robot;
  std::error_code ec;  // for the tests' own calls

  // The error code of the first event that reports one.
  std::error_code waitForError();
  bool waitForFinishes(std::size_t count);
  std::vector<MoveEvent> finishes() const;
  CartesianPosition here() { return robot.cartPosture(CoordinateType::endInRef, ec); }
  std::string append(const std::vector<MoveLCommand>& batch) {
    std::string id;
    robot.moveAppend(batch, id, ec);
    EXPECT_FALSE(ec) << ec.message();
    return id;
  }
};

// Keeps that member of each of the event's tables in `heard`, which outlives the robot.
template <class T>
void hear(BaseRobot& robot, Event event, const char* member, Heard<T>& heard) {
  std::error_code ec;
  robot.setEventWatcher(
      event, [&heard, member](const EventInfo& table) { heard.add(std::any_cast<T>(table.at(member))); }, ec);
  EXPECT_FALSE(ec) << ec.message();
}

// `from` moved by that much.
CartesianPosition shifted(CartesianPosition from, double x, double y, double z);

}  // namespace zivra::test
