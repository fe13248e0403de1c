// Tools and work objects that the controller knows, and those in force. Lengths in m, angles in rad.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>

#include "motion/motion.h"

namespace zivra::sim {

struct Load {
  double mass = 0;                  // kg
  std::array<double, 3> cog{};      // m, from the flange
  std::array<double, 3> inertia{};  // kg m^2
};

struct Tool {
  std::string description;
  bool held = false;  // by the robot
  Pose frame;
  Load load;
};

struct NamedFrame {
  std::string name;
  Pose frame;
};

struct Toolset {
  Load load;
  NamedFrame end, reference;  // in the flange; in the world
};

// Tools, or work objects: those of the loaded project, and the controller's own.
struct ToolList {
  static constexpr std::size_t most = 200;

  std::map<std::string, Tool> project, global;

  const Tool* find(const std::string& name) const {
    for (const auto* tools : {&project, &global})
      if (const auto found = tools->find(name); found != tools->end()) return &found->second;
    return nullptr;
  }
};

// What every project has and nobody changes: the bare flange, and the world.
inline constexpr const char* noTool = "tool0";
inline constexpr const char* noWorkObject = "wobj0";

struct ToolStore {
  ToolList tools{{{noTool, Tool{{}, true, {}, {}}}}, {}};
  ToolList workObjects{{{noWorkObject, Tool{}}}, {}};
  Toolset inForce;
};

}  // namespace zivra::sim
