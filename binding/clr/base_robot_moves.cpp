// Moves by kind, and path checks.
#include <span>

#include "clr/base_robot.h"
#include "clr/convert_moves.h"
#include "clr/facade.h"

namespace zivra::clr {

namespace {

// Calls `use` with the native moves of a kind; a wait, and what is no kind, has none.
template <class Use>
void withMoves(MoveCommand::Type type, std::span<MoveCommand> cmd, const Use& use) {
  switch (type) {
    case MoveCommand::Type::MoveL:
      return use(convertCartMove<MoveLCommand>(cmd));
    case MoveCommand::Type::MoveJ:
      return use(convertCartMove<MoveJCommand>(cmd));
    case MoveCommand::Type::MoveAbsJ:
      return use(convertJointMove(cmd));
    case MoveCommand::Type::MoveC:
      return use(convertCircularMove(cmd));
    case MoveCommand::Type::MoveCF:
      return use(convertCircularFullMove(cmd));
    case MoveCommand::Type::MoveSP:
      return use(convertSpiralMove(cmd));
    case MoveCommand::Type::MoveWait:
      break;
  }
}

void append(zivra::BaseRobot* robot, MoveCommand::Type type, std::span<MoveCommand> cmd, String& cmdId,
            ErrorCode& ec) {
  if (robot == nullptr) throw NullReferenceException();
  if (type == MoveCommand::Type::MoveWait) {
    std::string unused;  // a wait leaves the caller's id as it was
    return reporting(ec,
                     [&](std::error_code& code) { robot->moveAppend(convertWaitMove(cmd), unused, code); });
  }
  std::string id = convertString(cmdId);
  reporting(ec, [&](std::error_code& code) {
    withMoves(type, cmd, [&](const auto& moves) { robot->moveAppend(moves, id, code); });
  });
  cmdId = utf8StdStringToString(id);
}

}  // namespace

void BaseRobot::moveAppend(MoveCommand::Type type, List<MoveCommand>& cmd, String& cmdId, ErrorCode& ec) {
  append(robot, type, cmd, cmdId, ec);
}

void BaseRobot::moveAppend(MoveCommand::Type type, MoveCommand& cmd, String& cmdId, ErrorCode& ec) {
  append(robot, type, {&cmd, 1}, cmdId, ec);
}

void BaseRobot::executeCommand(MoveCommand::Type type, List<MoveCommand>& cmd, ErrorCode& ec) {
  if (robot == nullptr) throw NullReferenceException();
  reporting(ec, [&](std::error_code& code) {
    withMoves(type, cmd, [&](const auto& moves) { robot->executeCommand(moves, code); });
  });
}

Array<double> BaseRobot::checkPath(const CartesianPosition& start, const Array<double>& start_joint,
                                   const CartesianPosition& target, ErrorCode& ec) {
  using Line =
      std::vector<double> (zivra::BaseRobot::*)(const zivra::CartesianPosition&, const std::vector<double>&,
                                                const zivra::CartesianPosition&, std::error_code&) noexcept;
  return forwardTo<Array<double>>(robot, static_cast<Line>(&zivra::BaseRobot::checkPath), start, start_joint,
                                  target, ec);
}

Array<double> BaseRobot::checkPath(const CartesianPosition& start, const Array<double>& start_joint,
                                   const CartesianPosition& aux1, const CartesianPosition& aux2, double angle,
                                   double rot_type, ErrorCode& ec) {
  using RotType = MoveCFCommand::RotType;
  using Circle = std::vector<double> (zivra::BaseRobot::*)(
      const zivra::CartesianPosition&, const std::vector<double>&, const zivra::CartesianPosition&,
      const zivra::CartesianPosition&, std::error_code&, double, RotType) noexcept;
  return forwardTo<Array<double>>(robot, static_cast<Circle>(&zivra::BaseRobot::checkPath), start,
                                  start_joint, aux1, aux2, angle, static_cast<RotType>(cutToInt(rot_type)),
                                  ec);
}

Array<double> BaseRobot::checkPath(const CartesianPosition& start, const Array<double>& start_joint,
                                   const CartesianPosition& aux, const CartesianPosition& target,
                                   ErrorCode& ec) {
  return checkPath(start, start_joint, aux, target, 0.0, 0.0, ec);
}

int BaseRobot::checkPath(const Array<double>& start_joint, const List<CartesianPosition>& targets,
                         Array<double>& target_joint_calculated, ErrorCode& ec) {
  using Lines =
      int (zivra::BaseRobot::*)(const std::vector<double>&, const std::vector<zivra::CartesianPosition>&,
                                std::vector<double>&, std::error_code&) noexcept;
  target_joint_calculated.clear();
  return forwardTo<int>(robot, static_cast<Lines>(&zivra::BaseRobot::checkPath), start_joint, targets,
                        target_joint_calculated, ec);
}

}  // namespace zivra::clr
