// Batches of moves as the text that the planner reads. Written straight, without a tree in between, members
// in alphabetical order. Touches nothing shared; any thread.
#pragma once

#include <string>
#include <vector>

#include <zivra/move_command.h>

#include "motion_control/motion_log.h"

namespace zivra::internal {

// Speeds and zones travel divided by this; nothing else is scaled.
inline constexpr double speedAndZoneScale = 1000.0;
inline constexpr std::size_t maxBatchSize = 100;

// Request key of a kind of move, first part of its ids, and whether the controller's finish notices are
// awaited before more is sent.
template <class T>
struct MoveKind;
template <>
struct MoveKind<MoveAbsJCommand> {
  static constexpr const char* key = "move.j";
  static constexpr const char* prefix = "absj";
  static constexpr bool counted = true;
};
template <>
struct MoveKind<MoveJCommand> {
  static constexpr const char* key = "move.jc";
  static constexpr const char* prefix = "j";
  static constexpr bool counted = true;
};
template <>
struct MoveKind<MoveLCommand> {
  static constexpr const char* key = "move.l";
  static constexpr const char* prefix = "l";
  static constexpr bool counted = true;
};
template <>
struct MoveKind<MoveCCommand> {
  static constexpr const char* key = "move.c";
  static constexpr const char* prefix = "c";
  static constexpr bool counted = true;
};
template <>
struct MoveKind<MoveCFCommand> {
  static constexpr const char* key = "move.cf";
  static constexpr const char* prefix = "cf";
  static constexpr bool counted = true;
};
template <>
struct MoveKind<MoveSPCommand> {
  static constexpr const char* key = "move.sp";
  static constexpr const char* prefix = "sp";
  static constexpr bool counted = true;
};
template <>
struct MoveKind<MoveWaitCommand> {
  static constexpr const char* key = "move.wait";
  static constexpr const char* prefix = "wait";
  static constexpr bool counted = false;
};

// What a full circle does with the orientation, as the controller's word.
const char* rotTypeText(MoveCFCommand::RotType type);

// "l#12": the next number of the process.
std::string nextCommandId(const char* prefix);

// Appends what stands under the request key: the body of a single command, else {"path":[bodies]}. At least
// one command; a wait comes alone.
template <class T>
void appendMoves(std::string& out, const std::vector<T>& commands);

// One log line a command, two for a full circle, none for a wait.
template <class T>
void logMoves(const std::vector<T>& commands, const MotionLog& log);

}  // namespace zivra::internal
