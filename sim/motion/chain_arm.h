// Kinematics of one arm from its chain of links: forward, inverse, and what path planning needs besides.
#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <kdl/chain.hpp>
#include <memory>
#include <vector>

#include "motion/motion.h"

namespace zivra::sim {

inline constexpr std::size_t maxAxes = 7;
using JointVector = Eigen::Matrix<double, Eigen::Dynamic, 1, 0, maxAxes, 1>;
using JacobianMatrix = Eigen::Matrix<double, 6, Eigen::Dynamic, 0, 6, maxAxes>;

JointVector toVector(const Joints& joints);
Joints toJoints(const JointVector& joints);

// The dimensions of an arm. Joint i of the chain stands at coupling.row(i) * axes + bias(i): with parallel
// rods a chain has joints that no motor drives.
struct ArmDescription {
  KDL::Chain chain;
  Eigen::MatrixXd coupling;
  Eigen::VectorXd bias;
  ArmLimits limits;
  Joints home;
  std::vector<DhRow> dh;
  double shoulderHeight = 0;         // m above the base
  double shoulderOffset = 0;         // m before the first axis
  double upperArm = 0, foreArm = 0;  // m
  double reach = 0;                  // m from the shoulder, beyond which nothing is reachable
  double flangeLength = 0;           // m from the wrist to the flange
  Eigen::Index elbow = 2;            // axis that bends the elbow
  Eigen::Index wrist = -1;           // axis that bends the wrist; -1: none
};
ArmDescription describeArm(std::size_t axes);  // throws std::invalid_argument unless axes is 3 to 7

// Immutable: any thread may call anything.
class ChainArm final : public Arm {
 public:
  explicit ChainArm(ArmDescription description);

  // The same arm, with axes that are kept within these limits.
  std::shared_ptr<const ChainArm> withLimits(const Joints& lower, const Joints& upper) const;

  std::size_t axes() const override { return description_.home.size(); }
  const ArmLimits& limits() const override { return description_.limits; }
  Joints home() const override { return description_.home; }
  Pose flange(const Joints& joints) const override;
  std::vector<int> conf(const Joints& joints) const override;
  Solution inverse(const Pose& flange, const Joints& seed, const std::vector<int>& conf) const override;
  std::vector<double> gravityTorques(const Joints& joints) const override;
  double elbow(const Joints& joints) const override;
  Solution inverse(const Pose& flange, double elbow, const Joints& seed,
                   const std::vector<int>& conf) const override;
  std::vector<Joints> allSolutions(const Pose& flange, double elbow) const override;
  const std::vector<DhRow>& dhParameters() const override { return description_.dh; }

  KDL::Frame forward(const JointVector& joints, JacobianMatrix* jacobian = nullptr) const;
  Solution inverse(const KDL::Frame& flange, const JointVector& seed, const std::vector<int>& conf) const;
  // Moves `joints` on to the neighbouring flange pose of a path. An arm of fewer than 6 axes keeps the
  // position and takes the closest orientation that it can have. Gives 0 or the controller's code.
  int follow(const KDL::Frame& flange, JointVector& joints) const;
  // Joint rates for a flange twist (at the flange, in the base's axes), with the priorities of `follow`.
  JointVector rates(const JointVector& joints, const KDL::Twist& twist) const;
  // The same from rates that are nearly right, changing them as little as possible.
  JointVector correctRates(const JointVector& joints, const KDL::Twist& twist,
                           const JointVector& guess) const;
  bool withinLimits(const JointVector& joints) const;
  bool hasConf(const JointVector& joints, const std::vector<int>& conf) const;

 private:
  bool fullTask() const { return axes() >= 6; }
  int cannotTurnSo() const {
    return axes() == 5 ? -50034 : -50002;
  }  // the code for an impossible orientation
  JointVector step(const JacobianMatrix& jacobian, const Eigen::Matrix<double, 6, 1>& error,
                   double damping) const;
  bool approach(const KDL::Frame& flange, JointVector& joints, int iterations) const;
  bool approachPosition(const KDL::Frame& flange, JointVector& joints, int iterations) const;
  bool reaches(const KDL::Frame& flange, JointVector& joints) const;
  std::vector<Joints> closedForm(const KDL::Frame& flange, double elbow) const;
  void addTurns(const JointVector& joints, std::vector<Joints>& solutions) const;
  bool nearSingular(const JacobianMatrix& jacobian) const;
  bool chooseTurns(JointVector& joints, const JointVector& seed, const std::vector<int>& conf) const;
  JointVector moveIntoConf(const JointVector& joints, const std::vector<int>& conf) const;
  std::vector<JointVector> starts(const KDL::Frame& flange, const JointVector& seed,
                                  const std::vector<int>& conf) const;

  ArmDescription description_;
  JointVector lower_, upper_;
};

}  // namespace zivra::sim
