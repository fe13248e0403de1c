// The state stream as clients have set it up, and what tests want to go wrong with it. Part of the world.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "stream/robot_sample.h"

namespace zivra::sim {

struct StreamFaults {
  std::array<bool, 20> errors{};  // as every datagram tells them
  int drop = 0;                   // how many datagrams to keep back; -1: all
  int cut = 0;                    // how many to cut short; -1: all
  std::size_t cutTo = 0;          // bytes that are left of them
};

struct StateStream {
  std::optional<std::vector<std::string>> fields;  // behind `ts` and `errors`; nothing: never asked for
  std::uint16_t port = 0;                          // of the client
  std::chrono::milliseconds period{0};
  bool publishing = false;
  std::uint64_t changes = 0;            // counts starts and ends
  std::optional<RobotSample> previous;  // of this stream: what changes is measured against it
  StreamFaults faults;

  void begin(std::chrono::milliseconds newPeriod) {
    period = newPeriod;
    previous.reset();
    publishing = true;
    ++changes;
  }
  void end() {
    publishing = false;
    ++changes;
  }
  // As after switching on. Faults belong to the tests and stay.
  void boot(int usualPort) {
    end();
    fields.reset();
    port = static_cast<std::uint16_t>(usualPort);
  }
};

}  // namespace zivra::sim
