#pragma once

#include <cstdint>
#include <vector>

#include <zivra/export.h>

/// What the panel at the tool reads and carries.
namespace zivra {

/// Keys of the panel: true while pressed.
struct ZIVRA_API KeyPadState {
  bool key1_state = false;
  bool key2_state = false;
  bool key3_state = false;
  bool key4_state = false;
  bool key5_state = false;
  bool key6_state = false;
  bool key7_state = false;
};

/// A frame on the panel's CAN bus.
struct ZIVRA_API CANFrame {
  int frame_id = 0;
  int frame_format = 0;            ///< 0 standard, 1 extended
  int frame_type = 0;              ///< 0 CAN FD accelerated, 1 CAN FD, 2 classic
  std::vector<std::uint8_t> data;  ///< one element a value, whatever the width of the frame's data type
  int frame_valid_length = 0;      ///< counts the elements of `data`
};

}  // namespace zivra
