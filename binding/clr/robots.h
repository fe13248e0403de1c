#pragma once

#include "clr/cobot.h"

/// One class a robot model. A constructor with an address connects and throws ApiException; the others make
/// the native default object.
namespace zivra::clr {

/// Industrial robot of 6 axes.
class StandardRobot : public BaseRobot {
 public:
  StandardRobot();
  explicit StandardRobot(const String& remoteIP);
  StandardRobot(const String& remoteIP, const String& localIP);

  void enableCollisionDetection(const Array<double>& sensitivity, double fallback, ErrorCode& ec);
  void disableCollisionDetection(ErrorCode& ec);
  void setAvoidSingularity(AvoidSingularityMethod method, bool enable, double threshold, ErrorCode& ec);
  bool getAvoidSingularity(AvoidSingularityMethod method, ErrorCode& ec);
};

/// Industrial robot of 3 axes.
class TriaxRobot : public BaseRobot {
 public:
  TriaxRobot();
  explicit TriaxRobot(const String& remoteIP);
};

/// Industrial robot of 4 axes.
class QuadraxRobot : public BaseRobot {
 public:
  QuadraxRobot();
  explicit QuadraxRobot(const String& remoteIP);
};

/// Collaborative robot of 5 axes.
class TandiFiveRobot : public Cobot {
 public:
  TandiFiveRobot();
  explicit TandiFiveRobot(const String& remoteIP);
  TandiFiveRobot(const String& remoteIP, const String& localIP);

  void enableCompletePostureLerp(bool enable, ErrorCode& ec);
};

/// Collaborative robot of 6 axes.
class TandiRobot : public Cobot {
 public:
  TandiRobot();
  explicit TandiRobot(const String& remoteIP);
  TandiRobot(const String& remoteIP, const String& localIP);

  void setAvoidSingularity(AvoidSingularityMethod method, bool enable, double threshold, ErrorCode& ec);
  bool getAvoidSingularity(AvoidSingularityMethod method, ErrorCode& ec);
};

/// Collaborative robot of 7 axes.
class TandiSevenRobot : public Cobot {
 public:
  TandiSevenRobot();
  explicit TandiSevenRobot(const String& remoteIP);
  TandiSevenRobot(const String& remoteIP, const String& localIP);
};

/// Collaborative robot of 7 axes.
class QuillRobot : public Cobot {
 public:
  QuillRobot();
  explicit QuillRobot(const String& remoteIP);
  QuillRobot(const String& remoteIP, const String& localIP);
};

}  // namespace zivra::clr
