// The classes of the robot models. All state is in `BaseRobot::Impl`.
#include <zivra/robot.h>

#include "core/log.h"
#include "robot_impl/impl.h"

namespace zivra {

BaseRobot::BaseRobot() : impl_(std::make_unique<Impl>()) {}
BaseRobot::~BaseRobot() {
  impl_->stopIfMoving();
  const auto logger = impl_->service->logger();
  impl_.reset();
  // The link's last words too are in the files when the object has gone.
  logger->flush();
  internal::globalLogger().flush();
}

BaseCobot::BaseCobot() = default;
BaseCobot::~BaseCobot() = default;

template <unsigned short dof>
Cobot<dof>::Cobot() = default;
template <unsigned short dof>
Cobot<dof>::Cobot(const std::string& remoteIP, const std::string& localIP)
    : Robot_T<WorkType::collaborative, dof>(remoteIP, localIP) {
  this->impl().setLocalAddress(localIP);
}
template <unsigned short dof>
Cobot<dof>::~Cobot() = default;

template <unsigned short dof>
IndustrialRobot<dof>::IndustrialRobot() = default;
template <unsigned short dof>
IndustrialRobot<dof>::IndustrialRobot(const std::string& remoteIP, const std::string& localIP)
    : Robot_T<WorkType::industrial, dof>(remoteIP, localIP) {
  if constexpr (dof > 4) this->impl().setLocalAddress(localIP);
}
template <unsigned short dof>
IndustrialRobot<dof>::~IndustrialRobot() = default;

template class Cobot<5>;
template class Cobot<6>;
template class Cobot<7>;
template class IndustrialRobot<3>;
template class IndustrialRobot<4>;
template class IndustrialRobot<6>;

TandiRobot::TandiRobot() = default;
TandiRobot::TandiRobot(const std::string& remoteIP, const std::string& localIP)
    : Cobot<6>(remoteIP, localIP) {}
TandiRobot::~TandiRobot() = default;

TandiFiveRobot::TandiFiveRobot() = default;
TandiFiveRobot::TandiFiveRobot(const std::string& remoteIP, const std::string& localIP)
    : Cobot<5>(remoteIP, localIP) {}
TandiFiveRobot::~TandiFiveRobot() = default;

TandiSevenRobot::TandiSevenRobot() = default;
TandiSevenRobot::TandiSevenRobot(const std::string& remoteIP, const std::string& localIP)
    : Cobot<7>(remoteIP, localIP) {}
TandiSevenRobot::~TandiSevenRobot() = default;

QuillRobot::QuillRobot() = default;
QuillRobot::QuillRobot(const std::string& remoteIP, const std::string& localIP)
    : Cobot<7>(remoteIP, localIP) {}
QuillRobot::~QuillRobot() = default;

StandardRobot::StandardRobot() = default;
StandardRobot::StandardRobot(const std::string& remoteIP, const std::string& localIP)
    : IndustrialRobot<6>(remoteIP, localIP) {}
StandardRobot::~StandardRobot() = default;

TriaxRobot::TriaxRobot() = default;
TriaxRobot::TriaxRobot(const std::string& remoteIP) : IndustrialRobot<3>(remoteIP, "") {}
TriaxRobot::~TriaxRobot() = default;

QuadraxRobot::QuadraxRobot() = default;
QuadraxRobot::QuadraxRobot(const std::string& remoteIP) : IndustrialRobot<4>(remoteIP, "") {}
QuadraxRobot::~QuadraxRobot() = default;

}  // namespace zivra
