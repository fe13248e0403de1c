// What a state datagram holds: `ts`, `errors`, then the fields asked for, back to back, little-endian.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "world.h"

namespace zivra::sim {

inline constexpr std::size_t kLongestDatagram = 1052;

bool isStateField(std::string_view name);

// Of known fields, in their order.
std::string writeDatagram(const RobotSample& sample, const std::array<bool, 20>& errors,
                          const std::vector<std::string>& fields);

// The next datagram of the stream from the world as it is now; empty if it is to be lost.
std::string nextDatagram(World& world);

}  // namespace zivra::sim
