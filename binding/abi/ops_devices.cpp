#include "abi/registry.h"

namespace zivra::clr::abi {

std::vector<Row> rowsOfDevices() {
  return {
      ZCLR_OP(BaseEthercat, GetSlaveCount, "out ec"),
      ZCLR_OP(BaseEthercat, GetSlaveInfo, "slave_addr, out ec"),
      ZCLR_OP(BaseEthercat, GetSlavesInfo, "out ec"),
      ZCLR_OP(BaseEthercat, GetSlaveState, "slave_addr, out ec"),
      ZCLR_OP(BaseEthercat, SetSlavesState, "state, out ec"),
      ZCLR_OP(BaseEthercat, ReadSDO, "slave_addr, index, sub_index, length, out data, over_time, out ec"),
      ZCLR_OP(BaseEthercat, WriteSDO, "slave_addr, index, sub_index, length, data, over_time, out ec"),
      ZCLR_OP(BaseEthercat, WriteMultiSDO, "slave_addr, items, out ec"),
      ZCLR_OP(BaseEthercat, ReadPDO, "slave_addr, offset, size, out data, out ec"),
      ZCLR_OP(BaseEthercat, WritePDO, "slave_addr, offset, size, data, out ec"),
      ZCLR_NEW(BaseUpgrade, ""),
      ZCLR_NEW(BaseUpgrade, "remote_ip", const String&),
      ZCLR_OVER(BaseUpgrade, connect, (const String&), "remote_ip"),
      ZCLR_OVER(BaseUpgrade, connect, (ErrorCode&), "out ec"),
      ZCLR_OP(BaseUpgrade, upgrade, "local_file_path, out ec"),
      ZCLR_OP(BaseUpgrade, exportBackup, "local_file_path, items, out ec"),
  };
}

}  // namespace zivra::clr::abi
