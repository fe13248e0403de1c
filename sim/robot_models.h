// What distinguishes the arms that the simulated controller can be.
#pragma once

#include <cstddef>
#include <string_view>

#include "zivra/sim/controller.h"

namespace zivra::sim {

struct RobotModel {
  Model model;
  std::string_view name;  // as the command line spells it
  std::string_view type;  // as "sys.info" spells it
  std::size_t axes;
  bool collaborative;
};

const RobotModel& robotModel(Model model);

}  // namespace zivra::sim
