// The panel at the tool and what hangs on its buses: a Modbus slave that the panel supplies, an echo on the
// bare serial line, and a CAN peer that answers each frame.
#pragma once

#include <array>
#include <deque>
#include <string>
#include <vector>

namespace zivra::sim {

struct CanFrame {
  int id = 0, format = 0, type = 2;
  std::vector<int> bytes;
};

// What fits into one transfer: registers of 16 bits, coils, bytes of the bare line.
struct PanelCapacity {
  int registers, coils, bytes;
};

struct Panel {
  static constexpr int kSlave = 1;                // its address; there is no other
  static constexpr std::size_t kAddresses = 256;  // of registers and of coils, each
  static constexpr std::size_t kCanQueue = 64;    // frames that nobody fetches push out the oldest

  int type = 4;
  std::string supply = "off";
  bool serial = false;  // the port is a serial one, not analog inputs
  std::array<bool, 7> keys{};
  std::array<int, kAddresses> holding{}, input{};  // 16 bits each
  std::array<bool, kAddresses> coils{}, discrete{};
  std::deque<CanFrame> canReceived;

  // The slave is fed by the panel, and heard on the serial port only.
  bool slaveAnswers(int address) const { return address == kSlave && serial && supply == "24v"; }

  PanelCapacity capacity() const {
    if (type == 2 || type == 4) return {59, 944, 128};
    return type == 3 ? PanelCapacity{27, 432, 64} : PanelCapacity{3, 48, 16};
  }
};

}  // namespace zivra::sim
