#include "clr/cobot.h"

#include "clr/facade.h"

namespace zivra::clr {

using Native = zivra::BaseCobot;

Cobot::Cobot() = default;

Cobot::~Cobot() = default;

void Cobot::Dispose() {
  robot = nullptr;
  BaseRobot::Dispose();
}

void Cobot::enableDrag(DragParameter::Space space, DragParameter::Type type, ErrorCode& ec) {
  enableDrag(space, type, false, ec);
}

void Cobot::enableDrag(DragParameter::Space space, DragParameter::Type type, bool enable_drag_button,
                       ErrorCode& ec) {
  forwardTo(robot, &Native::enableDrag, space, type, enable_drag_button, ec);
}

void Cobot::disableDrag(ErrorCode& ec) { forwardTo(robot, &Native::disableDrag, ec); }

void Cobot::startRecordPath(ErrorCode& ec) { forwardTo(robot, &Native::startRecordPath, 30, ec); }

void Cobot::stopRecordPath(ErrorCode& ec) { forwardTo(robot, &Native::stopRecordPath, ec); }

void Cobot::cancelRecordPath(ErrorCode& ec) { forwardTo(robot, &Native::cancelRecordPath, ec); }

void Cobot::saveRecordPath(const String& name, const String& saveAs, ErrorCode& ec) {
  forwardTo(robot, &Native::saveRecordPath, name, saveAs, ec);
}

void Cobot::replayPath(const String& name, double rate, ErrorCode& ec) {
  forwardTo(robot, &Native::replayPath, name, rate, ec);
}

void Cobot::removePath(const String& name, bool removeAll, ErrorCode& ec) {
  forwardTo(robot, &Native::removePath, name, removeAll, ec);
}

List<String> Cobot::queryPathLists(ErrorCode& ec) {
  return forwardTo<List<String>>(robot, &Native::queryPathLists, ec);
}

void Cobot::enableCollisionDetection(const Array<double>& sensitivity, StopLevel behaviour,
                                     double fallback_compliance, ErrorCode& ec) {
  const auto use = [&]<unsigned short dof>(zivra::Cobot<dof>& native) {
    forwardTo(&native, &zivra::Cobot<dof>::enableCollisionDetection, sensitivity, behaviour,
              fallback_compliance, ec);
  };
  useFirst(use, cobot5, cobot6, cobot7);
}

void Cobot::disableCollisionDetection(ErrorCode& ec) {
  forwardTo(robot, &Native::disableCollisionDetection, ec);
}

void Cobot::calibrateForceSensor(bool all_axes, int axis_index, ErrorCode& ec) {
  const auto use = [&]<unsigned short dof>(zivra::Cobot<dof>& native) {
    forwardTo(&native, &zivra::Cobot<dof>::calibrateForceSensor, all_axes, axis_index, ec);
  };
  useFirst(use, cobot5, cobot6, cobot7);
}

std::unique_ptr<ForceControl> Cobot::forceControl() {
  const auto use = [](auto& native) { return std::make_unique<ForceControl>(native.forceControl()); };
  return useFirst(use, cobot5, cobot6, cobot7);
}

void Cobot::setNorvilVout(NorvilOpt::Vout opt, ErrorCode& ec) {
  forwardTo(robot, &Native::setNorvilVout, opt, ec);
}

void Cobot::setNorvilRS485(NorvilOpt::Vout opt, bool if_rs485, ErrorCode& ec) {
  forwardTo(robot, &Native::setNorvilRS485, opt, if_rs485, ec);
}

void Cobot::NorvilRWModbusRTUReg(int slave_addr, int fun_cmd, int reg_addr, const String& data_type, int num,
                                 Array<int>& data_array, bool if_crc_reverse, ErrorCode& ec) {
  forwardTo(robot, &Native::NorvilRWModbusRTUReg, slave_addr, fun_cmd, reg_addr, data_type, num, data_array,
            if_crc_reverse, ec);
}

void Cobot::NorvilRWModbusRTUCoil(int slave_addr, int fun_cmd, int coil_addr, int num,
                                  Array<bool>& data_array, bool if_crc_reverse, ErrorCode& ec) {
  forwardTo(robot, &Native::NorvilRWModbusRTUCoil, slave_addr, fun_cmd, coil_addr, num, data_array,
            if_crc_reverse, ec);
}

void Cobot::NorvilRS485SendData(int send_byte, int rev_byte, const Array<std::uint8_t>& send_data,
                                Array<std::uint8_t>& recv_data, ErrorCode& ec) {
  forwardTo(robot, &Native::NorvilRS485SendData, send_byte, rev_byte, send_data, recv_data, ec);
}

void Cobot::CANSendData(const String& data_type, const std::optional<Array<CANFrame>>& send_frame,
                        ErrorCode& ec) {
  forwardTo(robot, &Native::CANSendData, data_type, send_frame.value_or(Array<CANFrame>()), ec);
}

void Cobot::CANReceiveData(int timeout_ms, const String& data_type, CANFrame& recv_frame, ErrorCode& ec) {
  CANFrame received(0, 0, 0, {}, 0);
  forwardTo(robot, &Native::CANReceiveData, timeout_ms, data_type, received, ec);
  recv_frame = std::move(received);
}

KeyPadState Cobot::getKeypadState(ErrorCode& ec) {
  return forwardTo<KeyPadState>(robot, &Native::getKeypadState, ec);
}

Array<bool> Cobot::getKeypadStateArray(ErrorCode& ec) {
  const KeyPadState keys = getKeypadState(ec);
  return {keys.key1_state, keys.key2_state, keys.key3_state, keys.key4_state,
          keys.key5_state, keys.key6_state, keys.key7_state};
}

void Cobot::useRciClient(bool use, ErrorCode& ec) { forwardTo(robot, &Native::useRciClient, use, ec); }

}  // namespace zivra::clr
