#include "abi/registry.h"

namespace zivra::clr::abi {

std::vector<Row> rowsOfCobot() {
  return {
      ZCLR_NEW(Cobot, ""),
      ZCLR_OVER(Cobot, enableDrag, (DragParameter::Space, DragParameter::Type, ErrorCode&),
                "space, type, out ec"),
      ZCLR_OVER(Cobot, enableDrag, (DragParameter::Space, DragParameter::Type, bool, ErrorCode&),
                "space, type, enable_drag_button, out ec"),
      ZCLR_OP(Cobot, disableDrag, "out ec"),
      ZCLR_OP(Cobot, startRecordPath, "out ec"),
      ZCLR_OP(Cobot, stopRecordPath, "out ec"),
      ZCLR_OP(Cobot, cancelRecordPath, "out ec"),
      ZCLR_OP(Cobot, saveRecordPath, "name, saveAs, out ec"),
      ZCLR_OP(Cobot, replayPath, "name, rate, out ec"),
      ZCLR_OP(Cobot, removePath, "name, removeAll, out ec"),
      ZCLR_OP(Cobot, queryPathLists, "out ec"),
      ZCLR_OP(Cobot, enableCollisionDetection, "sensitivity, behaviour, fallback_compliance, out ec"),
      ZCLR_OP(Cobot, disableCollisionDetection, "out ec"),
      ZCLR_OP(Cobot, calibrateForceSensor, "all_axes, axis_index, out ec"),
      ZCLR_OP(Cobot, forceControl, ""),
      ZCLR_OP(Cobot, setNorvilVout, "opt, out ec"),
      ZCLR_OP(Cobot, setNorvilRS485, "opt, if_rs485, out ec"),
      ZCLR_OP(Cobot, NorvilRWModbusRTUReg,
              "slave_addr, fun_cmd, reg_addr, data_type, num, ref data_array, if_crc_reverse, out ec"),
      ZCLR_OP(Cobot, NorvilRWModbusRTUCoil,
              "slave_addr, fun_cmd, coil_addr, num, ref data_array, if_crc_reverse, out ec"),
      ZCLR_OP(Cobot, NorvilRS485SendData, "send_byte, rev_byte, send_data, ref recv_data, out ec"),
      ZCLR_OP(Cobot, CANSendData, "data_type, send_frame, out ec"),
      ZCLR_OP(Cobot, CANReceiveData, "timeout_ms, data_type, set recv_frame, out ec"),
      ZCLR_OP(Cobot, getKeypadState, "out ec"),
      ZCLR_OP(Cobot, getKeypadStateArray, "out ec"),
      ZCLR_OP(Cobot, useRciClient, "use, out ec"),
  };
}

}  // namespace zivra::clr::abi
