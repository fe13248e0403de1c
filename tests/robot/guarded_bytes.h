// A buffer that tells of each byte that is written past it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace zivra::test {

class GuardedBytes {
 public:
  explicit GuardedBytes(std::size_t size) : size_(size), all_(size + 2 * guard, pattern) {}
  ~GuardedBytes() {
    const auto intact = [&](std::size_t from) {
      const auto begin = all_.begin() + static_cast<std::ptrdiff_t>(from);
      return std::all_of(begin, begin + guard, [](std::uint8_t byte) { return byte == pattern; });
    };
    EXPECT_TRUE(intact(0)) << "bytes before the buffer were written";
    EXPECT_TRUE(intact(guard + size_)) << "bytes behind the buffer were written";
  }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  std::uint8_t* data() { return all_.data() + guard; }
  std::vector<std::uint8_t> bytes() const {
    const auto begin = all_.begin() + guard;
    return {begin, begin + static_cast<std::ptrdiff_t>(size_)};
  }
  std::vector<std::uint8_t> untouched() const { return std::vector<std::uint8_t>(size_, pattern); }

 private:
  static constexpr std::ptrdiff_t guard = 64;
  static constexpr std::uint8_t pattern = 0xa5;

  std::size_t size_;
  std::vector<std::uint8_t> all_;
};

}  // namespace zivra::test
