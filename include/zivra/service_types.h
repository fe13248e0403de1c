#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

#include <zivra/export.h>
#include <zivra/types.h>

/// What the controller's services hand out: tools, calibrations, log entries, projects.
namespace zivra {

/// A tool or a work object, as the controller keeps it.
struct ZIVRA_API WorkToolInfo {
  WorkToolInfo() = default;
  /// All but the alias.
  WorkToolInfo(std::string toolName, bool held, const Frame& frame, const Load& carried)
      : name(std::move(toolName)), robotHeld(held), pos(frame), load(carried) {}

  std::string name;   ///< "g_tool_0" to "g_tool_15" and "g_wobj_0" to "g_wobj_15" are the controller's own
  std::string alias;  ///< free text
  bool robotHeld = false;  ///< held by the robot, not fixed in the cell
  Frame pos;               ///< [m], [rad]
  Load load;               ///< [kg], [m], [kg m^2]
};

/// A frame calculated from taught points.
struct ZIVRA_API FrameCalibrationResult {
  Frame frame;                     ///< [m], [rad]
  std::array<double, 3> errors{};  ///< the controller's figures of merit; zeros if it gives none
};

/// An entry of the controller's user log.
struct ZIVRA_API LogInfo {
  /// How grave it is.
  enum class Level { info = 0, warning = 1, err = 2 };

  LogInfo() = default;
  /// All members in their order.
  LogInfo(int code, std::string time, std::string text, std::string hint)
      : id(code), timestamp(std::move(time)), logText(std::move(text)), repairHint(std::move(hint)) {}

  int id = 0;              ///< number of the message
  std::string timestamp;   ///< when
  std::string logText;     ///< what happened
  std::string repairHint;  ///< what to do
};

/// A program project of the controller's.
struct ZIVRA_API RLProjectInfo {
  std::string name;                   ///< as `loadProject` takes it
  std::vector<std::string> taskList;  ///< names of its tasks
};

}  // namespace zivra
