// Tables of the external axes and of the mechanical units that they make up. Each request returns a whole
// table.
#include <algorithm>
#include <span>

#include <zivra/base_robot.h>

#include "robot/operation.h"
#include "robot/typed_value.h"

namespace zivra {

using internal::member;
using internal::Operation;

namespace {

using Names = std::span<const std::string_view>;

constexpr std::string_view axes[]{"axis1", "axis2", "axis3", "axis4", "axis5", "axis6"};
constexpr std::string_view axisParameters[]{"ext_data_number",
                                            "ext_axis_number",
                                            "is_servo_gun",
                                            "max_acc",
                                            "max_jerk",
                                            "max_motor_speed",
                                            "max_speed",
                                            "soft_limit_lower",
                                            "soft_limit_upper",
                                            "zero_value",
                                            "motor_overload_coefficient",
                                            "motor_torque_limiting",
                                            "reduction_ratio",
                                            "rated_torque_of_motor",
                                            "resolution_ratio",
                                            "joint_orient",
                                            "coordinate_calibrated",
                                            "driver_name"};
constexpr std::string_view units[]{"u1", "u2", "u3", "u4", "u5", "u6"};
constexpr std::string_view unitParameters[]{"activation",     "axes_info", "enable",   "fixed_name",
                                            "mech_link_type", "order",     "unit_name"};

bool holds(Names names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

struct Table {
  const char* key;
  Names rows, columns;
};

constexpr Table axisTable{"ext_axis.get_axis_info", axes, axisParameters};
constexpr Table unitTable{"ext_axis.get_mechanical_unit_info", units, unitParameters};

template <class T>
void readCell(BaseRobot::Impl& impl, const Table& table, const std::string& row, const std::string& column,
              T& value, std::error_code& ec) noexcept {
  Operation op(impl, ec);
  if (!holds(table.rows, row) || !holds(table.columns, column)) {
    ec = Code::argumentInvalid;
    return;
  }
  auto reply = op.command(table.key);
  if (!reply.isData()) return;
  if (!reply.value().isObject()) return reply.fail(Code::responseUnresolved);
  auto read = internal::readAs<T>(member(member(member(reply.value(), "data"), row), column));
  if (!read) {
    reply.fail(Code::argumentInvalid);
  } else if constexpr (std::is_same_v<T, std::vector<std::string>>) {
    value.insert(value.end(), read->begin(), read->end());
  } else {
    value = std::move(*read);
  }
}

}  // namespace

template <class T>
internal::ForExtAxis<T> BaseRobot::getExtAxisInfo(const std::string& name, const std::string& info, T& value,
                                                  std::error_code& ec) noexcept {
  readCell(impl(), axisTable, name, info, value, ec);
}

template <class T>
internal::ForMechUnit<T> BaseRobot::getMechUnit(const std::string& name, const std::string& info, T& value,
                                                std::error_code& ec) noexcept {
  readCell(impl(), unitTable, name, info, value, ec);
}

#define ZIVRA_CELL(operation, T)                                                           \
  template ZIVRA_API void BaseRobot::operation(const std::string&, const std::string&, T&, \
                                               std::error_code&) noexcept;
ZIVRA_CELL(getExtAxisInfo, int)
ZIVRA_CELL(getExtAxisInfo, double)
ZIVRA_CELL(getExtAxisInfo, bool)
ZIVRA_CELL(getExtAxisInfo, std::string)
ZIVRA_CELL(getExtAxisInfo, std::vector<std::string>)
ZIVRA_CELL(getMechUnit, int)
ZIVRA_CELL(getMechUnit, bool)
ZIVRA_CELL(getMechUnit, std::vector<std::string>)
#undef ZIVRA_CELL

}  // namespace zivra
