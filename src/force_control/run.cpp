// The run itself: initialising, starting, stopping, and what holds while it goes on.
#include "core/wire_forms.h"
#include "force_control/force_operation.h"

namespace zivra {

using internal::ForceOperation;

namespace {

const char* frameName(FrameType type) {
  switch (type) {
    case FrameType::baseFrame:
      return "base";
    case FrameType::flange:
      return "flange";
    case FrameType::tool:
      return "tool";
    case FrameType::wobj:
      return "wobj";
    case FrameType::path:
      return "path";
    default:
      return "world";
  }
}

}  // namespace

BaseForceControl::BaseForceControl(std::shared_ptr<XService> service)
    : state_(std::make_unique<State>(State{std::move(service)})) {
  Json::Value reply;
  std::error_code ignored;  // the link may well be down by now, and up when it counts
  state().service->command("eci.fc.set_callback", 0, reply, ignored);
}

BaseForceControl::~BaseForceControl() = default;
BaseForceControl::BaseForceControl(BaseForceControl&&) noexcept = default;
BaseForceControl& BaseForceControl::operator=(BaseForceControl&&) noexcept = default;

void BaseForceControl::fcInit(FrameType type, std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  const char* frame = frameName(type);
  Json::Value parameters(Json::objectValue);
  parameters["frame"] = frame;
  op.command("eci.fc.init", parameters);
  op.end("fcInit {} ({})", frame, ec);
}

void BaseForceControl::fcStart(std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  op.command("eci.fc.start");
  op.end("fcStart ({})", ec);
}

void BaseForceControl::fcStop(std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  op.command("eci.fc.stop");
  op.end("fcStop ({})", ec);
}

void BaseForceControl::setControlType(int type, std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  if (!op.accepts(type == 0 || type == 1)) {
    op.error("setControlType type:{} over-range", type);
    return;
  }
  Json::Value param(Json::objectValue);
  param["type"] = type == 0 ? "joint" : "cart";
  op.set("control_type", param);
  op.end("setControlType {} ({})", type, ec);
}

void BaseForceControl::setLoad(const Load& load, std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  Json::Value param(Json::objectValue);
  internal::writeLoad(load, param["load"]);
  op.set("load", param);
  op.end("setFcLoad {} ({})", load, ec);
}

void BaseForceControl::setCartesianStiffness(const std::array<double, 6>& stiffness,
                                             std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec).setValues("setCartesianStiffness", "cart_stiff", stiffness);
}

void BaseForceControl::setCartesianNullspaceStiffness(double stiffness, std::error_code& ec) noexcept {
  ForceOperation op(*state().service, ec);
  Json::Value param(Json::objectValue);
  param["value"] = stiffness;
  op.set("cart_ns_stiff", param);
  op.end("setCartesianNullspaceStiffness {} ({})", stiffness, ec);
}

void BaseForceControl::setCartesianDesiredForce(const std::array<double, 6>& value,
                                                std::error_code& ec) noexcept {
  ForceOperation(*state().service, ec).setValues("setCartesianDesiredForce", "cart_force", value);
}

}  // namespace zivra
