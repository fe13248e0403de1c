// Limits that protect a run.
#include <limits>

#include "force_control/force_operation.h"

namespace zivra {

using internal::ForceOperation;

void BaseForceControl::fcMonitor(bool enable, std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  Json::Value param(Json::objectValue);
  param["enable"] = enable;
  op.command("eci.fc.monitor", internal::named("monitor", param));
  op.end("fcMonitor ({})", ec);
}

void BaseForceControl::setCartesianMaxVel(const std::array<double, 6>& velocity,
                                          std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec)
      .limit("setCartesianMaxVel", "cart_vel_max", velocity, std::numeric_limits<double>::max());
}

void BaseForceControl::setCartesianControlMaxWrench(const std::array<double, 6>& max_wrench,
                                                    std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec)
      .limit("setCartesianControlMaxWrench", "cart_ctrl_max_wrench", max_wrench, 1000);
}

void BaseForceControl::setCartesianControlMaxVel(const std::array<double, 6>& max_cart_vel,
                                                 std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec)
      .limit("setCartesianControlMaxVel", "cart_ctrl_max_vel", max_cart_vel, 3, 10);
}

}  // namespace zivra
