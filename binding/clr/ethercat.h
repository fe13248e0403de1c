#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <zivra/ethercat.h>

#include "clr/types.h"

namespace zivra::clr {

/// The EtherCAT slaves behind a controller, made by `BaseRobot::ethercat`. It may outlive the robot object.
///
/// Threads: as for the native object.
class BaseEthercat {
 public:
  explicit BaseEthercat(zivra::BaseEthercat native);
  BaseEthercat(const BaseEthercat&) = delete;
  BaseEthercat& operator=(const BaseEthercat&) = delete;
  ~BaseEthercat();

  /// Closes the link; a second time does nothing.
  void Dispose();

  int GetSlaveCount(ErrorCode& ec);
  SlaveInfo GetSlaveInfo(int slave_addr, ErrorCode& ec);
  List<SlaveInfo> GetSlavesInfo(ErrorCode& ec);
  std::uint16_t GetSlaveState(int slave_addr, ErrorCode& ec);
  bool SetSlavesState(std::uint16_t state, ErrorCode& ec);

  /// `data` is a new array of `length` bytes, zero where nothing was read. Nothing is asked for unless
  /// `length` is above 0.
  bool ReadSDO(int slave_addr, int index, int sub_index, int length, Array<std::uint8_t>& data, int over_time,
               ErrorCode& ec);
  /// @brief Writes `length` bytes ("ethercat.write_SDO_data"): `data` is padded with zeros or cut, and null
  /// is no bytes.
  bool WriteSDO(int slave_addr, int index, int sub_index, int length,
                const std::optional<Array<std::uint8_t>>& data, int over_time, ErrorCode& ec);
  bool WriteMultiSDO(std::uint16_t slave_addr, const List<std::optional<SDOData>>& items, ErrorCode& ec);
  bool ReadPDO(int slave_addr, int offset, int size, Array<std::uint8_t>& data, ErrorCode& ec);
  bool WritePDO(int slave_addr, int offset, int size, const std::optional<Array<std::uint8_t>>& data,
                ErrorCode& ec);

 private:
  std::unique_ptr<zivra::BaseEthercat> raw_;
};

}  // namespace zivra::clr
