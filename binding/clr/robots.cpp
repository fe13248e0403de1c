#include "clr/robots.h"

#include "clr/facade.h"

namespace zivra::clr {

namespace {

// Keeps the native object, a copy of its model, and the pointers to its common parts.
template <class Native, class Owner, class Model, class... Bases>
void own(std::unique_ptr<Native> native, Owner& owner, std::unique_ptr<Model>& model, Bases*&... bases) {
  model = std::make_unique<Model>(native->model());
  ((bases = native.get()), ...);
  owner = std::move(native);
}

// The same for one that connects. What is half made is released by its owners.
template <class Make, class... Kept>
void ownConnected(const Make& make, Kept&... kept) {
  translated([&] { own(make(), kept...); });
}

}  // namespace

StandardRobot::StandardRobot() { own(std::make_unique<zivra::StandardRobot>(), ir6, model6, robot); }
StandardRobot::StandardRobot(const String& remoteIP) : StandardRobot(remoteIP, "") {}
StandardRobot::StandardRobot(const String& remoteIP, const String& localIP) {
  ownConnected(
      [&] { return std::make_unique<zivra::StandardRobot>(convertString(remoteIP), convertString(localIP)); },
      ir6, model6, robot);
}

TriaxRobot::TriaxRobot() { own(std::make_unique<zivra::TriaxRobot>(), ir3, model3, robot); }
TriaxRobot::TriaxRobot(const String& remoteIP) {
  ownConnected([&] { return std::make_unique<zivra::TriaxRobot>(convertString(remoteIP)); }, ir3, model3,
               robot);
}

QuadraxRobot::QuadraxRobot() { own(std::make_unique<zivra::QuadraxRobot>(), ir4, model4, robot); }
QuadraxRobot::QuadraxRobot(const String& remoteIP) {
  ownConnected([&] { return std::make_unique<zivra::QuadraxRobot>(convertString(remoteIP)); }, ir4, model4,
               robot);
}

TandiFiveRobot::TandiFiveRobot() {
  own(std::make_unique<zivra::TandiFiveRobot>(), cobot5, model5, BaseRobot::robot, robot);
}
TandiFiveRobot::TandiFiveRobot(const String& remoteIP) : TandiFiveRobot(remoteIP, "") {}
TandiFiveRobot::TandiFiveRobot(const String& remoteIP, const String& localIP) {
  ownConnected(
      [&] {
        return std::make_unique<zivra::TandiFiveRobot>(convertString(remoteIP), convertString(localIP));
      },
      cobot5, model5, BaseRobot::robot, robot);
}

TandiRobot::TandiRobot() {
  own(std::make_unique<zivra::TandiRobot>(), cobot6, model6, BaseRobot::robot, robot);
}
TandiRobot::TandiRobot(const String& remoteIP) : TandiRobot(remoteIP, "") {}
TandiRobot::TandiRobot(const String& remoteIP, const String& localIP) {
  ownConnected(
      [&] { return std::make_unique<zivra::TandiRobot>(convertString(remoteIP), convertString(localIP)); },
      cobot6, model6, BaseRobot::robot, robot);
}

TandiSevenRobot::TandiSevenRobot() {
  own(std::make_unique<zivra::TandiSevenRobot>(), cobot7, model7, BaseRobot::robot, robot);
}
TandiSevenRobot::TandiSevenRobot(const String& remoteIP) : TandiSevenRobot(remoteIP, "") {}
TandiSevenRobot::TandiSevenRobot(const String& remoteIP, const String& localIP) {
  ownConnected(
      [&] {
        return std::make_unique<zivra::TandiSevenRobot>(convertString(remoteIP), convertString(localIP));
      },
      cobot7, model7, BaseRobot::robot, robot);
}

QuillRobot::QuillRobot() {
  own(std::make_unique<zivra::QuillRobot>(), cobot7, model7, BaseRobot::robot, robot);
}
QuillRobot::QuillRobot(const String& remoteIP) : QuillRobot(remoteIP, "") {}
QuillRobot::QuillRobot(const String& remoteIP, const String& localIP) {
  ownConnected(
      [&] { return std::make_unique<zivra::QuillRobot>(convertString(remoteIP), convertString(localIP)); },
      cobot7, model7, BaseRobot::robot, robot);
}

void StandardRobot::enableCollisionDetection(const Array<double>& sensitivity, double fallback,
                                             ErrorCode& ec) {
  forwardTo(ir6.get(), &zivra::StandardRobot::enableCollisionDetection, sensitivity, fallback, ec);
}

void StandardRobot::disableCollisionDetection(ErrorCode& ec) {
  forwardTo(ir6.get(), &zivra::StandardRobot::disableCollisionDetection, ec);
}

void StandardRobot::setAvoidSingularity(AvoidSingularityMethod method, bool enable, double threshold,
                                        ErrorCode& ec) {
  forwardTo(ir6.get(), &zivra::StandardRobot::setAvoidSingularity, method, enable, threshold, ec);
}

bool StandardRobot::getAvoidSingularity(AvoidSingularityMethod method, ErrorCode& ec) {
  return forwardTo<bool>(ir6.get(), &zivra::StandardRobot::getAvoidSingularity, method, ec);
}

void TandiFiveRobot::enableCompletePostureLerp(bool enable, ErrorCode& ec) {
  forwardTo(cobot5.get(), &zivra::TandiFiveRobot::enableCompletePostureLerp, enable, ec);
}

void TandiRobot::setAvoidSingularity(AvoidSingularityMethod method, bool enable, double threshold,
                                     ErrorCode& ec) {
  forwardTo(cobot6.get(), &zivra::TandiRobot::setAvoidSingularity, method, enable, threshold, ec);
}

bool TandiRobot::getAvoidSingularity(AvoidSingularityMethod method, ErrorCode& ec) {
  return forwardTo<bool>(cobot6.get(), &zivra::TandiRobot::getAvoidSingularity, method, ec);
}

}  // namespace zivra::clr
