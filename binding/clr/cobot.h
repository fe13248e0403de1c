#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "clr/base_robot.h"
#include "clr/force_control.h"

namespace zivra::clr {

/// What all collaborative robots share. Made directly, it has no native object.
class Cobot : public BaseRobot {
 public:
  Cobot();
  ~Cobot() override;
  void Dispose() override;

  /// @name Guiding by hand
  /// @{
  /// @brief Lets the arm be moved by hand ("sys.drag", under real-time control "eci.drag"); moves and jogs
  /// are refused meanwhile. Joint space goes with `freely` only (259). -515: not with the motors as they are
  /// (the controller switches them itself); -10040: the load isn't set rightly or the torque sensors are off;
  /// -16, -18: another mode or state.
  void enableDrag(DragParameter::Space space, DragParameter::Type type, ErrorCode& ec);
  /// @brief As the other form; `enable_drag_button` goes out as `quick`, and the controller judges it.
  void enableDrag(DragParameter::Space space, DragParameter::Type type, bool enable_drag_button,
                  ErrorCode& ec);
  void disableDrag(ErrorCode& ec);
  /// @brief Records the path for at most 30 s ("move.record.start"). -340: the arm isn't at rest.
  void startRecordPath(ErrorCode& ec);
  void stopRecordPath(ErrorCode& ec);
  void cancelRecordPath(ErrorCode& ec);
  void saveRecordPath(const String& name, const String& saveAs, ErrorCode& ec);
  void replayPath(const String& name, double rate, ErrorCode& ec);
  void removePath(const String& name, bool removeAll, ErrorCode& ec);
  List<String> queryPathLists(ErrorCode& ec);
  /// @}

  /// @name Safety and force control
  /// @{
  void enableCollisionDetection(const Array<double>& sensitivity, StopLevel behaviour,
                                double fallback_compliance, ErrorCode& ec);
  void disableCollisionDetection(ErrorCode& ec);
  void calibrateForceSensor(bool all_axes, int axis_index, ErrorCode& ec);
  std::unique_ptr<ForceControl> forceControl();
  /// @}

  /// @name Panel at the tool
  /// An array by reference is replaced by a new one, also on failure.
  /// @{
  void setNorvilVout(NorvilOpt::Vout opt, ErrorCode& ec);
  void setNorvilRS485(NorvilOpt::Vout opt, bool if_rs485, ErrorCode& ec);
  void NorvilRWModbusRTUReg(int slave_addr, int fun_cmd, int reg_addr, const String& data_type, int num,
                            Array<int>& data_array, bool if_crc_reverse, ErrorCode& ec);
  void NorvilRWModbusRTUCoil(int slave_addr, int fun_cmd, int coil_addr, int num, Array<bool>& data_array,
                             bool if_crc_reverse, ErrorCode& ec);
  void NorvilRS485SendData(int send_byte, int rev_byte, const Array<std::uint8_t>& send_data,
                           Array<std::uint8_t>& recv_data, ErrorCode& ec);
  /// No array is sent as an empty one.
  void CANSendData(const String& data_type, const std::optional<Array<CANFrame>>& send_frame, ErrorCode& ec);
  /// What `recv_frame` holds isn't read. After a failure its `frame_type` is 0.
  void CANReceiveData(int timeout_ms, const String& data_type, CANFrame& recv_frame, ErrorCode& ec);
  KeyPadState getKeypadState(ErrorCode& ec);
  Array<bool> getKeypadStateArray(ErrorCode& ec);  ///< seven, also on failure
  void useRciClient(bool use, ErrorCode& ec);
  /// @}

 protected:
  zivra::BaseCobot* robot = nullptr;  // besides BaseRobot's own
};

}  // namespace zivra::clr
