#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/export.h>

namespace zivra {

class BaseRobot;

/// One record of a write to several objects of a slave's dictionary.
struct ZIVRA_API SDOData {
  int index = 0;                        ///< of the object
  int sub_index = 0;                    ///< of its entry
  int length = 0;                       ///< bytes of `data` that count, at most 50
  int over_time = 0;                    ///< time limit, in the controller's measure
  int wait_time = 0;                    ///< pause, in the controller's measure
  int print_data = 0;                   ///< passed on as it is
  std::array<std::uint8_t, 50> data{};  ///< the bytes written
};

/// A slave on the bus.
struct ZIVRA_API SlaveInfo {
  std::uint32_t vendorId = 0;         ///< maker of the device
  std::uint32_t productCode = 0;      ///< the maker's number of the product
  std::uint32_t reversionNumber = 0;  ///< revision of the product
  std::uint16_t slaveAddr = 0;        ///< address on the bus, by which the operations name it
  std::uint32_t slaveId = 0;          ///< the controller's number of it
  std::uint16_t alStatus = 0;  ///< 1 init, 2 pre-operational, 3 bootstrap, 4 safe-operational, 8 operational
  std::string slaveName;       ///< as the controller reports it
};

/// The EtherCAT slaves behind a controller, over a link of its own: it works while the robot moves, and goes
/// on when the robot object is gone. Made by `BaseRobot::ethercat`; can be moved, not copied.
///
/// Errors and threads: as for the operations of BaseRobot. A write or `ReadSDO` that the controller refuses
/// without saying why gives false and no code.
class ZIVRA_API BaseEthercat {
 public:
  BaseEthercat(BaseEthercat&& other) noexcept;  ///< `other` gives 256 afterwards
  /// Closes the link that it had; `other` gives 256 afterwards.
  BaseEthercat& operator=(BaseEthercat&& other) noexcept;
  BaseEthercat(const BaseEthercat&) = delete;
  BaseEthercat& operator=(const BaseEthercat&) = delete;
  /// Closes the link.
  virtual ~BaseEthercat();

  /// How many slaves there are ("ethercat.get_con_slaves_num").
  int GetSlaveCount(std::error_code& ec) noexcept;
  /// One slave ("ethercat.get_slave_info", "ethercat.get_slaves_state"); all zero on failure.
  SlaveInfo GetSlaveInfo(int slave_addr, std::error_code& ec) noexcept;
  /// All slaves, two exchanges each; `ec` is that of the last one, and a slave that can't be read is all
  /// zero.
  std::vector<SlaveInfo> GetSlavesInfo(std::error_code& ec) noexcept;
  /// State of a slave as in `SlaveInfo::alStatus`; 0, without a code, for one that isn't there.
  std::uint16_t GetSlaveState(int slave_addr, std::error_code& ec) noexcept;
  /// Asks all slaves for a state ("ethercat.set_slaves_state"). False for a number that is none; otherwise
  /// true, and the answer isn't judged.
  bool SetSlavesState(std::uint16_t state, std::error_code& ec) noexcept;

  /// Reads at most `length` bytes of an object into `data`, which has room for them
  /// ("ethercat.read_SDO_data").
  bool ReadSDO(int slave_addr, int index, int sub_index, int length, std::uint8_t* data, int over_time,
               std::error_code& ec) noexcept;
  /// Writes `length` bytes ("ethercat.write_SDO_data"). As everywhere here, no buffer for them is 259.
  bool WriteSDO(int slave_addr, int index, int sub_index, int length, const std::uint8_t* data, int over_time,
                std::error_code& ec) noexcept;
  /// Writes several objects of a slave ("ethercat.write_multi_SDO_data"); 258 for a `length` above 50.
  bool WriteMultiSDO(std::uint16_t slave_addr, std::vector<SDOData> items, std::error_code& ec) noexcept;
  /// Reads at most `size` bytes of process data ("ethercat.read_PDO_data"). A failed exchange is told on
  /// standard error too.
  bool ReadPDO(int slave_addr, int offset, int size, std::uint8_t* data, std::error_code& ec) noexcept;
  /// Writes `size` bytes of process data ("ethercat.write_PDO_data").
  bool WritePDO(int slave_addr, int offset, int size, const std::uint8_t* data, std::error_code& ec) noexcept;

 private:
  friend class BaseRobot;
  struct State;
  explicit BaseEthercat(std::shared_ptr<State> state) noexcept;

  std::shared_ptr<State> state_;
};

}  // namespace zivra
