// What the tool meets and how the arm yields to it: springs, dampers and a flat surface. Positions and
// wrenches are in the world's axes unless told otherwise; a wrench is force [N], then torque [Nm].
#pragma once

#include <Eigen/Core>
#include <kdl/frames.hpp>

#include "force/force_control.h"
#include "motion/chain_arm.h"
#include "motion/motion.h"

namespace zivra::sim {

using Vector6 = Eigen::Matrix<double, 6, 1>;

Vector6 toVector(const Six& six);
Six toSix(const Vector6& vector);

// Where an arm and its tool are.
struct Placement {
  Placement(const Motion& motion, const Pose& baseFrame);

  const ChainArm& arm;
  JointVector joints;
  KDL::Frame base, flange, tool;
  JacobianMatrix atFlange, atTool;  // of both points

  Vector6 outsideWrench(const Surroundings& surroundings) const;  // on the tool, at its tip
  // The same wrench about the flange.
  Vector6 aboutFlange(const Vector6& atTip) const;
  JointVector axisTorques(const Vector6& atTip) const { return atTool.transpose() * atTip; }
};

Vector6 turned(const KDL::Rotation& axes, const Vector6& wrench);  // from the world's axes into these

// What the controller pulls with.
struct CartesianDrive {
  KDL::Frame rest;     // where the springs have no tension
  KDL::Rotation axes;  // of all the numbers below
  Vector6 stiffness, desired, mostWrench, mostVelocity;
};
struct JointDrive {
  JointVector rest, stiffness, desired, mostTorque;
};

// Rates of the axes that one step of `seconds` takes. Implicit, so that stiff springs and long steps stay
// quiet.
JointVector yieldRates(const Placement& placement, const Surroundings& surroundings,
                       const CartesianDrive& drive, double seconds);
JointVector yieldRates(const Placement& placement, const Surroundings& surroundings, const JointDrive& drive,
                       double seconds);

}  // namespace zivra::sim
