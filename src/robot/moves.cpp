// The queue of moves, and hearing how they ended.
#include <zivra/base_robot.h>

#include "robot/operation.h"

namespace zivra {

using internal::Operation;

template <class T>
void BaseRobot::moveAppend(const std::vector<T>& commands, std::string& cmdID, std::error_code& ec) noexcept {
  if (const auto motion = impl().motionForMoves(ec)) motion->appendCommand(commands, cmdID, ec);
}

void BaseRobot::moveAppend(const MoveWaitCommand& command, std::string& cmdID, std::error_code& ec) noexcept {
  moveAppend(std::vector<MoveWaitCommand>{command}, cmdID, ec);
}

template <class T>
void BaseRobot::executeCommand(const std::vector<T>& commands, std::error_code& ec) noexcept {
  if (const auto motion = impl().motion(ec)) motion->executeCommand(commands, ec);
}

#define ZIVRA_MOVE(T)                                                                \
  template ZIVRA_API void BaseRobot::moveAppend(const std::vector<T>&, std::string&, \
                                                std::error_code&) noexcept;          \
  template ZIVRA_API void BaseRobot::executeCommand(const std::vector<T>&, std::error_code&) noexcept;
ZIVRA_MOVE(MoveAbsJCommand)
ZIVRA_MOVE(MoveJCommand)
ZIVRA_MOVE(MoveLCommand)
ZIVRA_MOVE(MoveCCommand)
ZIVRA_MOVE(MoveCFCommand)
ZIVRA_MOVE(MoveSPCommand)
#undef ZIVRA_MOVE

void BaseRobot::moveStart(std::error_code& ec) noexcept {
  Operation op(impl(), ec, "moveStart");
  if (const auto motion = impl().motion(ec)) {
    motion->moveStart(ec);
    op.end("moveStart end ({})", ec);
  } else {
    op.error("moveStart uninitialized ({})", ec);
  }
}

void BaseRobot::moveReset(std::error_code& ec) noexcept {
  Operation op(impl(), ec, "moveReset");
  if (const auto motion = impl().motion(ec)) {
    motion->moveReset(ec);
    op.end("moveReset end ({})", ec);
  } else {
    op.error("moveReset uninitialized({})", ec);
  }
}

void BaseRobot::setMaxCacheSize(int size, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setMaxCacheSize {}", size);
  if (const auto motion = impl().motion(ec)) {
    motion->setMaxCacheSize(size);
    op.end("setMaxCacheSize end ({})", ec);
  } else {
    op.error("setMaxCacheSize uninitialized ({})", ec);
  }
}

}  // namespace zivra
