#include "robot_models.h"

#include <algorithm>
#include <stdexcept>

namespace zivra::sim {

namespace {
constexpr RobotModel kModels[] = {
    {Model::triax, "triax", "Triax", 3, false},
    {Model::quadrax, "quadrax", "Quadrax", 4, false},
    {Model::standard, "standard", "Standard", 6, false},
    {Model::tandiFive, "tandi-five", "TandiFive", 5, true},
    {Model::tandi, "tandi", "Tandi", 6, true},
    {Model::tandiSeven, "tandi-seven", "TandiSeven", 7, true},
};
}  // namespace

const RobotModel& robotModel(Model model) {
  const auto* found = std::ranges::find(kModels, model, &RobotModel::model);
  if (found == std::end(kModels)) throw std::invalid_argument("no such model of the simulated controller");
  return *found;
}

std::string_view modelName(Model model) { return robotModel(model).name; }

std::optional<Model> modelNamed(std::string_view name) {
  const auto* found = std::ranges::find(kModels, name, &RobotModel::name);
  return found == std::end(kModels) ? std::nullopt : std::optional(found->model);
}

}  // namespace zivra::sim
