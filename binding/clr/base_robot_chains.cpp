// What depends on the class of the robot: life, connection, everything with one value an axis, and the model.
#include <cstddef>

#include "clr/base_robot.h"
#include "clr/facade.h"

namespace zivra::clr {

BaseRobot::BaseRobot() = default;

BaseRobot::~BaseRobot() { BaseRobot::Dispose(); }

void BaseRobot::Dispose() {
  robot = nullptr;
  ir3.reset();
  ir4.reset();
  ir6.reset();
  cobot5.reset();
  cobot6.reset();
  cobot7.reset();
  model3.reset();
  model4.reset();
  model5.reset();
  model6.reset();
  model7.reset();
}

template <class Use>
auto BaseRobot::useRobot(const Use& use) {
  return useFirst(use, ir3, ir4, ir6, cobot5, cobot6, cobot7);
}

template <class Use>
auto BaseRobot::useModel(const Use& use) {
  return useFirst(use, model3, model4, model5, model6, model7);
}

void BaseRobot::connectToRobot(const String& remoteIP, const String& localIP) {
  useRobot([&](auto& native) {
    translated([&] { native.connectToRobot(convertString(remoteIP), convertString(localIP)); });
  });
}

void BaseRobot::connectToRobot(const String& remoteIP) { connectToRobot(remoteIP, ""); }

void BaseRobot::connectToRobot(ErrorCode& ec) {
  useRobot([&](auto& native) { reporting(ec, [&](std::error_code& code) { native.connectToRobot(code); }); });
}

void BaseRobot::startReceiveRobotState(int interval, const List<String>& fields) {
  useRobot([&]<zivra::WorkType wt, unsigned short dof>(zivra::Robot_T<wt, dof>& native) {
    if constexpr (dof > 4) {
      translated([&] {
        native.startReceiveRobotState(std::chrono::milliseconds(interval),
                                      convert<std::vector<std::string>>(fields));
      });
    } else {
      throw NotSupportedException("The robot model doesn't support");
    }
  });
}

Array<double> BaseRobot::jointTorque(ErrorCode& ec) {
  return useRobot([&]<zivra::WorkType wt, unsigned short dof>(zivra::Robot_T<wt, dof>& native) {
    return forwardTo<Array<double>>(&native, &zivra::Robot_T<wt, dof>::jointTorque, ec);
  });
}

StateList BaseRobot::getStateList(ErrorCode& ec) {
  return useRobot([&]<zivra::WorkType wt, unsigned short dof>(zivra::Robot_T<wt, dof>& native) {
    return forwardTo<StateList>(&native, &zivra::Robot_T<wt, dof>::getStateList, ec);
  });
}

FrameCalibrationResult BaseRobot::calibrateFrame(FrameType type, const List<Array<double>>& points,
                                                 bool is_held, const Array<double>& base_aux, ErrorCode& ec) {
  return useRobot([&]<zivra::WorkType wt, unsigned short dof>(zivra::Robot_T<wt, dof>& native) {
    return forwardTo<FrameCalibrationResult>(&native, &zivra::Robot_T<wt, dof>::calibrateFrame, type, points,
                                             is_held, base_aux, ec);
  });
}

bool BaseRobot::getSoftLimit(Array2<double>& limits, ErrorCode& ec) {
  return useRobot([&]<zivra::WorkType wt, unsigned short dof>(zivra::Robot_T<wt, dof>& native) {
    std::array<double[2], dof> read{};
    const bool enabled =
        reporting(ec, [&](std::error_code& code) { return native.getSoftLimit(read, code); });
    limits = Array2<double>(dof, 2);
    for (std::size_t axis = 0; axis < dof; ++axis) {
      for (const std::size_t end : {0U, 1U}) limits.at(axis, end) = read[axis][end];
    }
    return enabled;
  });
}

void BaseRobot::setSoftLimit(bool enable, const Array2<double>& limits, ErrorCode& ec) {
  useRobot([&]<zivra::WorkType wt, unsigned short dof>(zivra::Robot_T<wt, dof>& native) {
    std::array<double[2], dof> pairs{};
    for (std::size_t axis = 0; axis < dof && limits.rows() > 0; ++axis) {
      for (const std::size_t end : {0U, 1U}) pairs[axis][end] = limits.at(axis, end);
    }
    reporting(ec, [&](std::error_code& code) { native.setSoftLimit(enable, code, pairs); });
  });
}

Array<double> BaseRobot::calcIk(const CartesianPosition& posture, ErrorCode& ec) {
  return useModel([&]<unsigned short N>(zivra::Model_T<N>& model) {
    using Method =
        std::array<double, N> (zivra::Model_T<N>::*)(zivra::CartesianPosition, std::error_code&) noexcept;
    return forwardTo<Array<double>>(&model, static_cast<Method>(&zivra::Model_T<N>::calcIk), posture, ec);
  });
}

Array<double> BaseRobot::calcIk(const CartesianPosition& posture, const Toolset& toolset, ErrorCode& ec) {
  return useModel([&]<unsigned short N>(zivra::Model_T<N>& model) {
    using Method = std::array<double, N> (zivra::Model_T<N>::*)(
        zivra::CartesianPosition, const zivra::Toolset&, std::error_code&) noexcept;
    return forwardTo<Array<double>>(&model, static_cast<Method>(&zivra::Model_T<N>::calcIk), posture, toolset,
                                    ec);
  });
}

CartesianPosition BaseRobot::calcFk(const Array<double>& joints, ErrorCode& ec) {
  return useModel([&]<unsigned short N>(zivra::Model_T<N>& model) {
    using Method = zivra::CartesianPosition (zivra::Model_T<N>::*)(const std::array<double, N>&,
                                                                   std::error_code&) noexcept;
    return forwardTo<CartesianPosition>(&model, static_cast<Method>(&zivra::Model_T<N>::calcFk), joints, ec);
  });
}

CartesianPosition BaseRobot::calcFk(const Array<double>& joints, const Toolset& toolset, ErrorCode& ec) {
  return useModel([&]<unsigned short N>(zivra::Model_T<N>& model) {
    using Method = zivra::CartesianPosition (zivra::Model_T<N>::*)(
        const std::array<double, N>&, const zivra::Toolset&, std::error_code&) noexcept;
    return forwardTo<CartesianPosition>(&model, static_cast<Method>(&zivra::Model_T<N>::calcFk), joints,
                                        toolset, ec);
  });
}

Array<Array<double>> BaseRobot::calcAllIkSolutions(const CartesianPosition& posture, Array<Array<int>>& confs,
                                                   ErrorCode& ec) {
  return useModel([&]<unsigned short N>(zivra::Model_T<N>& model) {
    confs.clear();
    auto solutions =
        forwardTo<Array<Array<double>>>(&model, &zivra::BaseModel::calcAllIkSolutions, posture, confs, ec);
    // The native call takes as many angles as the controller sends.
    for (Array<double>& angles : solutions) angles.resize(N);
    return solutions;
  });
}

namespace {

[[noreturn]] void refuseDynamics() {
  throw NotSupportedException("TandiModel library is not enabled in this build.");
}

}  // namespace

void BaseRobot::setTcpCoor(const OrNull&, const OrNull&) { refuseDynamics(); }
void BaseRobot::setGravityDirection(double, double, double) { refuseDynamics(); }
Array<double> BaseRobot::jacobian(const OrNull&, SegmentFrame) { refuseDynamics(); }
Array<double> BaseRobot::jacobianDot(const OrNull&, const OrNull&, SegmentFrame) { refuseDynamics(); }
Array<double> BaseRobot::getMassMatrix(const OrNull&) { refuseDynamics(); }
Array<double> BaseRobot::getCoriolisVector(const OrNull&, const OrNull&) { refuseDynamics(); }
void BaseRobot::getTorqueNoFriction(const OrNull&, const OrNull&, const OrNull&, Array<double>&,
                                    Array<double>&, Array<double>&, Array<double>&) {
  refuseDynamics();
}

}  // namespace zivra::clr
