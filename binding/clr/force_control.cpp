#include "clr/force_control.h"

#include "clr/facade.h"

namespace zivra::clr {

using Native = zivra::BaseForceControl;

ForceControl::ForceControl(zivra::ForceControl_T<5> native)
    : fc_five(std::make_unique<zivra::ForceControl_T<5>>(std::move(native))),
      dof(5),
      fc_base(fc_five.get()) {}

ForceControl::ForceControl(zivra::ForceControl_T<6> native)
    : fc_six(std::make_unique<zivra::ForceControl_T<6>>(std::move(native))), dof(6), fc_base(fc_six.get()) {}

ForceControl::ForceControl(zivra::ForceControl_T<7> native)
    : fc_seven(std::make_unique<zivra::ForceControl_T<7>>(std::move(native))),
      dof(7),
      fc_base(fc_seven.get()) {}

ForceControl::~ForceControl() { Dispose(); }

void ForceControl::Dispose() {
  fc_base = nullptr;
  fc_five.reset();
  fc_six.reset();
  fc_seven.reset();
}

void ForceControl::fcInit(FrameType type, ErrorCode& ec) { forwardTo(fc_base, &Native::fcInit, type, ec); }

void ForceControl::fcStart(ErrorCode& ec) { forwardTo(fc_base, &Native::fcStart, ec); }

void ForceControl::fcStop(ErrorCode& ec) { forwardTo(fc_base, &Native::fcStop, ec); }

void ForceControl::setControlType(int type, ErrorCode& ec) {
  forwardTo(fc_base, &Native::setControlType, type, ec);
}

void ForceControl::setLoad(const Load& load, ErrorCode& ec) {
  forwardTo(fc_base, &Native::setLoad, load, ec);
}

void ForceControl::setCartesianStiffness(const Array<double>& stiffness, ErrorCode& ec) {
  forwardTo(fc_base, &Native::setCartesianStiffness, stiffness, ec);
}

void ForceControl::setCartesianNullspaceStiffness(double stiffness, ErrorCode& ec) {
  forwardTo(fc_base, &Native::setCartesianNullspaceStiffness, stiffness, ec);
}

void ForceControl::setCartesianDesiredForce(const Array<double>& value, ErrorCode& ec) {
  forwardTo(fc_base, &Native::setCartesianDesiredForce, value, ec);
}

void ForceControl::setSineOverlay(int line_dir, double amplify, double frequency, double phase, double bias,
                                  ErrorCode& ec) {
  forwardTo(fc_base, &Native::setSineOverlay, line_dir, amplify, frequency, phase, bias, ec);
}

void ForceControl::setLissajousOverlay(int plane, double amplify_one, double frequency_one,
                                       double amplify_two, double frequency_two, double phase_diff,
                                       ErrorCode& ec) {
  forwardTo(fc_base, &Native::setLissajousOverlay, plane, amplify_one, frequency_one, amplify_two,
            frequency_two, phase_diff, ec);
}

void ForceControl::startOverlay(ErrorCode& ec) { forwardTo(fc_base, &Native::startOverlay, ec); }

void ForceControl::stopOverlay(ErrorCode& ec) { forwardTo(fc_base, &Native::stopOverlay, ec); }

void ForceControl::pauseOverlay(ErrorCode& ec) { forwardTo(fc_base, &Native::pauseOverlay, ec); }

void ForceControl::restartOverlay(ErrorCode& ec) { forwardTo(fc_base, &Native::restartOverlay, ec); }

void ForceControl::setForceCondition(const Array<double>& range, bool isInside, double timeout,
                                     ErrorCode& ec) {
  forwardTo(fc_base, &Native::setForceCondition, range, isInside, timeout, ec);
}

void ForceControl::setTorqueCondition(const Array<double>& range, bool isInside, double timeout,
                                      ErrorCode& ec) {
  forwardTo(fc_base, &Native::setTorqueCondition, range, isInside, timeout, ec);
}

void ForceControl::setPoseBoxCondition(const Frame& supervising_frame, const Array<double>& box,
                                       bool isInside, double timeout, ErrorCode& ec) {
  forwardTo(fc_base, &Native::setPoseBoxCondition, supervising_frame, box, isInside, timeout, ec);
}

void ForceControl::waitCondition(ErrorCode& ec) { forwardTo(fc_base, &Native::waitCondition, ec); }

void ForceControl::fcMonitor(bool enable, ErrorCode& ec) {
  forwardTo(fc_base, &Native::fcMonitor, enable, ec);
}

void ForceControl::setCartesianMaxVel(const Array<double>& velocity, ErrorCode& ec) {
  forwardTo(fc_base, &Native::setCartesianMaxVel, velocity, ec);
}

void ForceControl::setCartesianControlMaxWrench(const Array<double>& max_wrench, ErrorCode& ec) {
  forwardTo(fc_base, &Native::setCartesianControlMaxWrench, max_wrench, ec);
}

void ForceControl::setCartesianControlMaxVel(const Array<double>& max_cart_vel, ErrorCode& ec) {
  forwardTo(fc_base, &Native::setCartesianControlMaxVel, max_cart_vel, ec);
}

// Does nothing where no native object is set.
template <class Use>
void ForceControl::useAxes(const Use& use) {
  if (fc_base != nullptr) useFirst(use, fc_six, fc_seven, fc_five);
}

void ForceControl::getEndTorque(FrameType ref_type, Array<double>& joint_torque_measured,
                                Array<double>& external_torque_measured, Array<double>& cart_torque,
                                Array<double>& cart_force, ErrorCode& ec) {
  useAxes([&]<unsigned short N>(zivra::ForceControl_T<N>& native) {
    Array<double> joints, external, torque, force;
    forwardTo(&native, &zivra::ForceControl_T<N>::getEndTorque, ref_type, joints, external, torque, force,
              ec);
    joint_torque_measured = std::move(joints);
    external_torque_measured = std::move(external);
    cart_torque = std::move(torque);
    cart_force = std::move(force);
  });
}

void ForceControl::setJointStiffness(const Array<double>& stiffness, ErrorCode& ec) {
  useAxes([&]<unsigned short N>(zivra::ForceControl_T<N>& native) {
    forwardTo(&native, &zivra::ForceControl_T<N>::setJointStiffness, stiffness, ec);
  });
}

void ForceControl::setJointDesiredTorque(const Array<double>& torque, ErrorCode& ec) {
  useAxes([&]<unsigned short N>(zivra::ForceControl_T<N>& native) {
    forwardTo(&native, &zivra::ForceControl_T<N>::setJointDesiredTorque, torque, ec);
  });
}

void ForceControl::setJointMaxVel(const Array<double>& velocity, ErrorCode& ec) {
  useAxes([&]<unsigned short N>(zivra::ForceControl_T<N>& native) {
    forwardTo(&native, &zivra::ForceControl_T<N>::setJointMaxVel, velocity, ec);
  });
}

void ForceControl::setJointMaxMomentum(const Array<double>& momentum, ErrorCode& ec) {
  useAxes([&]<unsigned short N>(zivra::ForceControl_T<N>& native) {
    forwardTo(&native, &zivra::ForceControl_T<N>::setJointMaxMomentum, momentum, ec);
  });
}

void ForceControl::setJointMaxEnergy(const Array<double>& energy, ErrorCode& ec) {
  useAxes([&]<unsigned short N>(zivra::ForceControl_T<N>& native) {
    forwardTo(&native, &zivra::ForceControl_T<N>::setJointMaxEnergy, energy, ec);
  });
}

void ForceControl::setJointControlMaxTorque(const Array<double>& max_torque, ErrorCode& ec) {
  useAxes([&]<unsigned short N>(zivra::ForceControl_T<N>& native) {
    forwardTo(&native, &zivra::ForceControl_T<N>::setJointControlMaxTorque, max_torque, ec);
  });
}

void ForceControl::setJointControlMaxVel(const Array<double>& max_joint_vel, ErrorCode& ec) {
  useAxes([&]<unsigned short N>(zivra::ForceControl_T<N>& native) {
    forwardTo(&native, &zivra::ForceControl_T<N>::setJointControlMaxVel, max_joint_vel, ec);
  });
}

void ForceControl::setFcGain(const Array<double>& gain, ErrorCode& ec) {
  useAxes([&]<unsigned short N>(zivra::ForceControl_T<N>& native) {
    forwardTo(&native, &zivra::ForceControl_T<N>::setFcGain, gain, ec);
  });
}

void ForceControl::setFriction(const Array<double>& fric, ErrorCode& ec) {
  useAxes([&]<unsigned short N>(zivra::ForceControl_T<N>& native) {
    forwardTo(&native, &zivra::ForceControl_T<N>::setFriction, fric, ec);
  });
}

}  // namespace zivra::clr
