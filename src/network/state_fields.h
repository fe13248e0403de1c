// The fields that a state datagram may hold. Constant data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace zivra {

// What a field is made of.
enum class StateTag : std::uint8_t {
  flag,
  real,
  byte,
  count,  // unsigned, 64 bits
  reals5,
  reals6,
  reals7,
  reals16,
  flags20,
  flags7,
};

constexpr std::size_t bytesOf(StateTag tag) noexcept {
  constexpr std::size_t bytes[] = {1, 8, 1, 8, 40, 48, 56, 128, 20, 7};
  return bytes[static_cast<std::size_t>(tag)];
}

// What the field is on a robot of that many axes (other counts than 5 and 6 are taken as 7); nothing if such
// a robot doesn't have it.
std::optional<StateTag> stateField(std::string_view name, unsigned short axes) noexcept;

}  // namespace zivra
