#pragma once

#include <span>
#include <vector>

#include <zivra/move_command.h>

#include "clr/convert.h"

/// Moves of one kind, in the order given. What a kind doesn't know of a `MoveCommand` isn't read.
namespace zivra::clr {

using Moves = std::span<const MoveCommand>;

/// T is MoveLCommand or MoveJCommand.
template <class T>
std::vector<T> convertCartMove(Moves moves);
std::vector<MoveAbsJCommand> convertJointMove(Moves moves);
std::vector<MoveCCommand> convertCircularMove(Moves moves);
/// Appends the `args` that are missing to those of the caller.
std::vector<MoveCFCommand> convertCircularFullMove(std::span<MoveCommand> moves);
/// Appends the `args` that are missing to those of the caller.
std::vector<MoveSPCommand> convertSpiralMove(std::span<MoveCommand> moves);
/// Of the first move alone; the index error of lists if there is none.
MoveWaitCommand convertWaitMove(Moves moves);

}  // namespace zivra::clr
