#include "clr/convert_moves.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

namespace zivra::clr {

namespace {

template <class Held>
auto& given(Held& member) {
  if (!member) throw NullReferenceException();
  return *member;
}

// The caller's own `args`, of `count` numbers at least.
List<double>& completed(MoveCommand& move, std::size_t count) {
  List<double>& args = given(move.args);
  if (args.size() < count) args.resize(count, 0.0);
  return args;
}

zivra::CartesianPosition position(const std::optional<CartesianPosition>& member) {
  return convertCartesianPosition(given(member));
}

// What all moves with a pose share.
template <class T>
void setCommon(T& to, const MoveCommand& from) {
  to.cartTargetOffset = convertOffset(given(from.cartTargetOffset));
  if constexpr (std::is_same_v<T, MoveJCommand>) {
    to.jointSpeed = from.jointSpeed;
  } else {
    to.rotSpeed = from.rotSpeed;
  }
  if constexpr (std::is_base_of_v<MoveCCommand, T>)
    to.auxPointOffset = convertOffset(given(from.auxPointOffset));
  to.customInfo = convertString(from.customInfo);
}

template <class T, class Move, class Make>
std::vector<T> convertEach(std::span<Move> moves, const Make& make) {
  std::vector<T> all;
  all.reserve(moves.size());
  for (Move& move : moves) {
    all.push_back(make(move));
    setCommon(all.back(), move);
  }
  return all;
}

MoveCFCommand::RotType rotType(double arg) {
  const int type = cutToInt(arg);
  return type < 0 || type > 2 ? MoveCFCommand::RotType::constPose : static_cast<MoveCFCommand::RotType>(type);
}

}  // namespace

template <class T>
std::vector<T> convertCartMove(Moves moves) {
  return convertEach<T>(
      moves, [](const MoveCommand& move) { return T(position(move.cartTarget), move.speed, move.zone); });
}
template std::vector<MoveLCommand> convertCartMove(Moves moves);
template std::vector<MoveJCommand> convertCartMove(Moves moves);

std::vector<MoveAbsJCommand> convertJointMove(Moves moves) {
  std::vector<MoveAbsJCommand> all;
  all.reserve(moves.size());
  for (const MoveCommand& move : moves) {
    const JointPosition& from = given(move.jointTarget);
    zivra::JointPosition target(static_cast<const std::vector<double>&>(from.joints));
    target.external = from.external;
    MoveAbsJCommand& to = all.emplace_back(std::move(target), move.speed, move.zone);
    to.jointSpeed = move.jointSpeed;
    to.customInfo = convertString(move.customInfo);
  }
  return all;
}

std::vector<MoveCCommand> convertCircularMove(Moves moves) {
  return convertEach<MoveCCommand>(moves, [](const MoveCommand& move) {
    return MoveCCommand(position(move.cartTarget), position(move.auxPoint), move.speed, move.zone);
  });
}

std::vector<MoveCFCommand> convertCircularFullMove(std::span<MoveCommand> moves) {
  return convertEach<MoveCFCommand>(moves, [](MoveCommand& move) {
    const List<double>& args = completed(move, 2);
    MoveCFCommand to(position(move.cartTarget), position(move.auxPoint), args[0], move.speed, move.zone);
    to.rotType = rotType(args[1]);
    return to;
  });
}

std::vector<MoveSPCommand> convertSpiralMove(std::span<MoveCommand> moves) {
  return convertEach<MoveSPCommand>(moves, [](MoveCommand& move) {
    const List<double>& args = completed(move, 4);
    return MoveSPCommand(position(move.cartTarget), args[0], args[1], args[2], args[3] != 0.0, move.speed);
  });
}

MoveWaitCommand convertWaitMove(Moves moves) {
  if (moves.empty()) throw ArgumentOutOfRangeException();
  const List<double>& args = given(moves.front().args);
  double milliseconds = !args.empty() && args.front() > 0 ? args.front() * 1000 : 0;
  // Longer than a lifetime, and more than a count of nanoseconds holds.
  constexpr double longest = 9e12;
  milliseconds = std::min(milliseconds, longest);
  return MoveWaitCommand(std::chrono::milliseconds(static_cast<std::int64_t>(milliseconds)));
}

}  // namespace zivra::clr
