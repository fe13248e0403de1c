#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

#include <zivra/export.h>
#include <zivra/types.h>

/// Moves that the controller plans and executes from its queue. The library checks a batch's size and nothing
/// else: what can't be reached is told later, as a move event.
namespace zivra {

/// What all moves have. -1 means not given: the controller then uses its defaults.
struct ZIVRA_API NrtCommand {
  virtual ~NrtCommand();

  double speed = -1;       ///< path speed of the tool [mm/s]
  double zone = -1;        ///< how far from the target the next move may begin [mm]
  std::string customInfo;  ///< text of the application's own, comes back in the events of the move

 protected:
  NrtCommand() = default;
  /// With speed [mm/s] and zone [mm].
  NrtCommand(double pathSpeed, double blend) : speed(pathSpeed), zone(blend) {}
  NrtCommand(const NrtCommand&) = default;             ///< of a whole move only
  NrtCommand(NrtCommand&&) = default;                  ///< of a whole move only
  NrtCommand& operator=(const NrtCommand&) = default;  ///< of a whole move only
  NrtCommand& operator=(NrtCommand&&) = default;       ///< of a whole move only
};

/// Joint move to axis angles (key "move.j").
struct ZIVRA_API MoveAbsJCommand : NrtCommand {
  MoveAbsJCommand() = default;
  /// To `target` with speed [mm/s] and zone [mm].
  MoveAbsJCommand(JointPosition target, double pathSpeed = -1,
                  double blend = -1)  // NOLINT: a target is a move
      : NrtCommand(pathSpeed, blend), jointTarget(std::move(target)) {}

  JointPosition jointTarget;  ///< [rad]
  double jointSpeed = -1;     ///< fraction of the axes' maximum speed
};

/// Joint move to a pose (key "move.jc").
struct ZIVRA_API MoveJCommand : NrtCommand {
  MoveJCommand() = default;
  /// To `target` with speed [mm/s] and zone [mm].
  MoveJCommand(CartesianPosition target, double pathSpeed = -1,
               double blend = -1)  // NOLINT: a target is a move
      : NrtCommand(pathSpeed, blend), cartTarget(std::move(target)) {}

  CartesianPosition cartTarget;                ///< [m], [rad], of the tool in the work object
  CartesianPosition::Offset cartTargetOffset;  ///< of the target
  double jointSpeed = -1;                      ///< fraction of the axes' maximum speed
};

/// Straight line to a pose (key "move.l").
struct ZIVRA_API MoveLCommand : NrtCommand {
  MoveLCommand() = default;
  /// To `target` with speed [mm/s] and zone [mm].
  MoveLCommand(CartesianPosition target, double pathSpeed = -1,
               double blend = -1)  // NOLINT: a target is a move
      : NrtCommand(pathSpeed, blend), cartTarget(std::move(target)) {}

  CartesianPosition cartTarget;                ///< [m], [rad], of the tool in the work object
  CartesianPosition::Offset cartTargetOffset;  ///< of the target
  double rotSpeed = -1;                        ///< speed of rotation [rad/s]
};

/// Arc through an auxiliary point (key "move.c").
struct ZIVRA_API MoveCCommand : NrtCommand {
  MoveCCommand() = default;
  /// Through `aux` to `target` with speed [mm/s] and zone [mm].
  MoveCCommand(CartesianPosition target, CartesianPosition aux, double pathSpeed = -1, double blend = -1)
      : NrtCommand(pathSpeed, blend), cartTarget(std::move(target)), auxPoint(std::move(aux)) {}

  CartesianPosition cartTarget;                ///< [m], [rad], of the tool in the work object
  CartesianPosition::Offset cartTargetOffset;  ///< of the target
  CartesianPosition auxPoint;                  ///< [m], [rad]
  CartesianPosition::Offset auxPointOffset;    ///< of the auxiliary point
  double rotSpeed = -1;                        ///< speed of rotation [rad/s]
};

/// Full circle, or any angle of it, through start, auxiliary point and target (key "move.cf").
struct ZIVRA_API MoveCFCommand : MoveCCommand {
  /// What becomes of the orientation on the way.
  enum class RotType : std::int32_t { constPose = 0, rotAxis = 1, fixedAxis = 2 };

  MoveCFCommand() = default;
  /// An angle [rad] of the circle through `aux` and `target`, with speed [mm/s] and zone [mm].
  MoveCFCommand(CartesianPosition target, CartesianPosition aux, double circleAngle, double pathSpeed = -1,
                double blend = -1)
      : MoveCCommand(std::move(target), std::move(aux), pathSpeed, blend), angle(circleAngle) {}

  double angle = 0;                      ///< of the circle [rad]
  RotType rotType = RotType::constPose;  ///< orientation on the way
};

/// Spiral (key "move.sp"). Its `zone` starts at 0, not at -1.
struct ZIVRA_API MoveSPCommand : NrtCommand {
  MoveSPCommand() { zone = 0; }
  /// Its members in the order below, with speed [mm/s].
  MoveSPCommand(CartesianPosition target, double startRadius, double step, double spiralAngle, bool sense,
                double pathSpeed = -1)
      : NrtCommand(pathSpeed, 0),
        cartTarget(std::move(target)),
        radius(startRadius),
        radiusStep(step),
        angle(spiralAngle),
        direction(sense) {}

  CartesianPosition cartTarget;  ///< only its orientation and place of the plane matter to the controller
  CartesianPosition::Offset cartTargetOffset;  ///< of the target
  double radius = 0;                           ///< [m]
  double radiusStep = 0;                       ///< growth of the radius [m]
  double angle = 0;                            ///< total angle [rad]
  bool direction = false;                      ///< sense of rotation
  double rotSpeed = -1;                        ///< speed of rotation [rad/s]
};

/// Waits between moves (key "move.wait"). Parts of a millisecond are cut off.
struct ZIVRA_API MoveWaitCommand : NrtCommand {
  MoveWaitCommand() = default;
  /// For `time`, in any unit.
  template <class Rep, class Period>
  explicit MoveWaitCommand(std::chrono::duration<Rep, Period> time)
      : duration(std::chrono::duration_cast<std::chrono::nanoseconds>(time)) {}

  std::chrono::nanoseconds duration{0};  ///< how long
};

}  // namespace zivra
