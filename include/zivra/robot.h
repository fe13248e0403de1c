#pragma once

#include <array>
#include <string>
#include <system_error>

#include <zivra/base_robot.h>
#include <zivra/export.h>
#include <zivra/types.h>

namespace zivra {

/// What depends on work type and count of axes. Connecting checks both against the controller.
template <WorkType wt, unsigned short dof>
class ZIVRA_API Robot_T : public virtual BaseRobot {
  static_assert(wt == WorkType::collaborative ? dof >= 5 && dof <= 7 : dof == 3 || dof == 4 || dof == 6,
                "collaborative robots have 5, 6 or 7 axes, industrial ones 3, 4 or 6");

 public:
  ~Robot_T() override;

  /// Connects to the controller at `remoteIP`. `localIP` is the address of this machine that state datagrams
  /// go to (it may be empty); robots of 3 and 4 axes don't tell the controller. Throws NetworkException (no
  /// connection, no answer, `localIP` refused), ProtocolException (version too old) or ExecutionException
  /// (the controller has another kind of robot). At most 30 s to connect and 10 s an answer.
  void connectToRobot(const std::string& remoteIP, const std::string& localIP = "");
  /// Connects again to the addresses of the last connection; 256 without one or if it fails, 266 if version
  /// or robot class don't fit.
  void connectToRobot(std::error_code& ec) noexcept;

  /// Torques of the axes [Nm] ("sys.rt.jnt_trq"); 261 if the controller has fewer axes.
  std::array<double, dof> jointTorque(std::error_code& ec) noexcept;
  /// Positions, signals, mode and speed override in one exchange.
  StateList getStateList(std::error_code& ec) noexcept;

 protected:
  Robot_T();
  Robot_T(const std::string& remoteIP, const std::string& localIP);
};

/// What all collaborative robots share.
class ZIVRA_API BaseCobot : public virtual BaseRobot {
 public:
  ~BaseCobot() override;

 protected:
  BaseCobot();
};

/// A collaborative robot.
template <unsigned short dof>
class ZIVRA_API Cobot : public Robot_T<WorkType::collaborative, dof>, public BaseCobot {
 public:
  ~Cobot() override;

 protected:
  Cobot();
  Cobot(const std::string& remoteIP, const std::string& localIP);
};

/// An industrial robot.
template <unsigned short dof>
class ZIVRA_API IndustrialRobot : public Robot_T<WorkType::industrial, dof> {
 public:
  ~IndustrialRobot() override;

 protected:
  IndustrialRobot();
  IndustrialRobot(const std::string& remoteIP, const std::string& localIP);
};

/// Collaborative robot of 6 axes.
class ZIVRA_API TandiRobot : public Cobot<6> {
 public:
  TandiRobot();
  /// Connects; throws as `connectToRobot`.
  explicit TandiRobot(const std::string& remoteIP, const std::string& localIP = "");
  ~TandiRobot() override;

  /// How the controller avoids singularities ("move.avoid_singularity", "move.avoid_sing_wrist"). `threshold`
  /// is an angle [rad] for `wrist`, and not used for `lockAxis4`. 259 for a method that this robot doesn't
  /// have; -260 for an answer that is no code.
  void setAvoidSingularity(AvoidSingularityMethod method, bool enable, double threshold,
                           std::error_code& ec) noexcept;
  /// Whether a method is on; 259 for a method that this robot doesn't have, -260 for another answer.
  bool getAvoidSingularity(AvoidSingularityMethod method, std::error_code& ec) noexcept;
};

/// Collaborative robot of 5 axes.
class ZIVRA_API TandiFiveRobot : public Cobot<5> {
 public:
  TandiFiveRobot();
  /// Connects; throws as `connectToRobot`.
  explicit TandiFiveRobot(const std::string& remoteIP, const std::string& localIP = "");
  ~TandiFiveRobot() override;

  /// Whether orientations are interpolated completely ("sys.completePostureLerp").
  void enableCompletePostureLerp(bool enable, std::error_code& ec) noexcept;
};

/// Collaborative robot of 7 axes.
class ZIVRA_API TandiSevenRobot : public Cobot<7> {
 public:
  TandiSevenRobot();
  /// Connects; throws as `connectToRobot`.
  explicit TandiSevenRobot(const std::string& remoteIP, const std::string& localIP = "");
  ~TandiSevenRobot() override;
};

/// Collaborative robot of 7 axes.
class ZIVRA_API QuillRobot : public Cobot<7> {
 public:
  QuillRobot();
  /// Connects; throws as `connectToRobot`.
  explicit QuillRobot(const std::string& remoteIP, const std::string& localIP = "");
  ~QuillRobot() override;
};

/// Industrial robot of 6 axes.
class ZIVRA_API StandardRobot : public IndustrialRobot<6> {
 public:
  StandardRobot();
  /// Connects; throws as `connectToRobot`.
  explicit StandardRobot(const std::string& remoteIP, const std::string& localIP = "");
  ~StandardRobot() override;

  /// How the controller avoids singularities ("move.avoid_singularity", "move.avoid_sing_wrist",
  /// "move.avoid_sing_joint_way"). `threshold` is an angle
  /// [rad] for `wrist` and in the controller's measure for `jointWay`, and not used for `lockAxis4`. 259 for
  /// a method that this robot doesn't have; -260 for an answer that is no code.
  void setAvoidSingularity(AvoidSingularityMethod method, bool enable, double threshold,
                           std::error_code& ec) noexcept;
  /// Whether a method is on; 259 for a method that this robot doesn't have, -260 for another answer.
  bool getAvoidSingularity(AvoidSingularityMethod method, std::error_code& ec) noexcept;
};

/// Industrial robot of 3 axes.
class ZIVRA_API TriaxRobot : public IndustrialRobot<3> {
 public:
  TriaxRobot();
  /// Connects; throws as `connectToRobot`.
  explicit TriaxRobot(const std::string& remoteIP);
  ~TriaxRobot() override;
};

/// Industrial robot of 4 axes.
class ZIVRA_API QuadraxRobot : public IndustrialRobot<4> {
 public:
  QuadraxRobot();
  /// Connects; throws as `connectToRobot`.
  explicit QuadraxRobot(const std::string& remoteIP);
  ~QuadraxRobot() override;
};

}  // namespace zivra
