#pragma once

#include <array>
#include <memory>
#include <system_error>
#include <vector>

#include <zivra/base.h>
#include <zivra/export.h>
#include <zivra/types.h>

namespace zivra {

class XService;

/// Questions to the controller's kinematic model. Made by `Robot_T::model`; can be copied, and may outlive
/// the robot object: it shares its link. Errors and threads as for the operations of BaseRobot.
class ZIVRA_API BaseModel : public Base<BaseModel> {
 public:
  virtual ~BaseModel();
  BaseModel(const BaseModel& other);             ///< shares the link
  BaseModel& operator=(const BaseModel& other);  ///< shares the link

  /// All axis angles [rad] that reach a pose ("utils.calc.all.ik"), in the controller's order; `confs` gets
  /// their configurations. 261 if a solution isn't complete: the result is then empty, and `confs` keeps what
  /// was read before it. `confs` is untouched on any other failure.
  std::vector<std::vector<double>> calcAllIkSolutions(const CartesianPosition& posture,
                                                      std::vector<std::vector<int>>& confs,
                                                      std::error_code& ec) noexcept;

 protected:
  explicit BaseModel(std::shared_ptr<XService> service);  ///< over the link of `service`
  XService& service() const noexcept;                     ///< for the questions of derived classes

 private:
  struct Impl;
  std::shared_ptr<const Impl> impl_;
};

/// The model of a robot with N axes: 3, 4, 5, 6 or 7.
template <unsigned short N>
class ZIVRA_API Model_T : public BaseModel {
  static_assert(N >= 3 && N <= 7, "robots have 3 to 7 axes");

 public:
  explicit Model_T(std::shared_ptr<XService> service);  ///< as `Robot_T::model`
  ~Model_T() override;
  Model_T(const Model_T&) = default;             ///< shares the link
  Model_T& operator=(const Model_T&) = default;  ///< shares the link

  /// Pose at the axis angles `joints` [rad], with the toolset in force ("sys.calc.fk"). Zeros on failure, and
  /// also, without a code, for an answer without a pose.
  CartesianPosition calcFk(const std::array<double, N>& joints, std::error_code& ec) noexcept;
  /// Pose at the axis angles `joints` [rad] with a toolset.
  CartesianPosition calcFk(const std::array<double, N>& joints, const Toolset& toolset,
                           std::error_code& ec) noexcept;
  /// Axis angles [rad] that reach a pose, with the toolset in force ("sys.calc.ik"). `confData` may be empty;
  /// otherwise its first N values count. `elbow` is the arm angle of 7 axes. -32 if there is no solution, 261
  /// for an answer with fewer axes.
  std::array<double, N> calcIk(CartesianPosition posture, std::error_code& ec) noexcept;
  /// Axis angles [rad] that reach a pose with a toolset.
  std::array<double, N> calcIk(CartesianPosition posture, const Toolset& toolset,
                               std::error_code& ec) noexcept;
};

}  // namespace zivra
