#pragma once

#include <cstdint>
#include <vector>

#include <zivra/export.h>

/// What the panel at the tool reads and carries.
namespace zivra {

/// Keys of the panel: true while pressed.
struct ZIVRA_API KeyPadState {
  bool key1_state = false;  ///< key 1
  bool key2_state = false;  ///< key 2
  bool key3_state = false;  ///< key 3
  bool key4_state = false;  ///< key 4
  bool key5_state = false;  ///< key 5
  bool key6_state = false;  ///< key 6
  bool key7_state = false;  ///< key 7
};

/// A frame on the panel's CAN bus.
struct ZIVRA_API CANFrame {
  int frame_id = 0;                ///< identifier, not negative
  int frame_format = 0;            ///< 0 standard, 1 extended
  int frame_type = 0;              ///< 0 CAN FD accelerated, 1 CAN FD, 2 classic
  std::vector<std::uint8_t> data;  ///< one element a value, whatever the width of the frame's data type
  int frame_valid_length = 0;      ///< counts the elements of `data`
};

}  // namespace zivra
