#include "abi/registry.h"

namespace zivra::clr::abi {

std::vector<Row> rowsOfRobots() {
  return {
      ZCLR_NEW(StandardRobot, ""),
      ZCLR_NEW(StandardRobot, "remoteIP", const String&),
      ZCLR_NEW(StandardRobot, "remoteIP, localIP", const String&, const String&),
      ZCLR_OP(StandardRobot, enableCollisionDetection, "sensitivity, fallback, out ec"),
      ZCLR_OP(StandardRobot, disableCollisionDetection, "out ec"),
      ZCLR_OP(StandardRobot, setAvoidSingularity, "method, enable, threshold, out ec"),
      ZCLR_OP(StandardRobot, getAvoidSingularity, "method, out ec"),
      ZCLR_NEW(TriaxRobot, ""),
      ZCLR_NEW(TriaxRobot, "remoteIP", const String&),
      ZCLR_NEW(QuadraxRobot, ""),
      ZCLR_NEW(QuadraxRobot, "remoteIP", const String&),
      ZCLR_NEW(TandiFiveRobot, ""),
      ZCLR_NEW(TandiFiveRobot, "remoteIP", const String&),
      ZCLR_NEW(TandiFiveRobot, "remoteIP, localIP", const String&, const String&),
      ZCLR_OP(TandiFiveRobot, enableCompletePostureLerp, "enable, out ec"),
      ZCLR_NEW(TandiRobot, ""),
      ZCLR_NEW(TandiRobot, "remoteIP", const String&),
      ZCLR_NEW(TandiRobot, "remoteIP, localIP", const String&, const String&),
      ZCLR_OP(TandiRobot, setAvoidSingularity, "method, enable, threshold, out ec"),
      ZCLR_OP(TandiRobot, getAvoidSingularity, "method, out ec"),
      ZCLR_NEW(TandiSevenRobot, ""),
      ZCLR_NEW(TandiSevenRobot, "remoteIP", const String&),
      ZCLR_NEW(TandiSevenRobot, "remoteIP, localIP", const String&, const String&),
      ZCLR_NEW(QuillRobot, ""),
      ZCLR_NEW(QuillRobot, "remoteIP", const String&),
      ZCLR_NEW(QuillRobot, "remoteIP, localIP", const String&, const String&),
  };
}

}  // namespace zivra::clr::abi
