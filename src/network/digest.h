// MD5 (RFC 1321), which the controller checks files by. No secret depends on it. One thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>

namespace zivra::internal {

class Md5 {
 public:
  using Value = std::array<unsigned char, 16>;

  // Throws std::bad_alloc if there is no memory, or no MD5 on this machine.
  Md5();
  void add(const void* bytes, std::size_t size);
  // Once, at the end.
  Value value();

  static Value of(const void* bytes, std::size_t size);

 private:
  struct Free {
    void operator()(void* context) const noexcept;
  };
  std::unique_ptr<void, Free> context_;
};

// Lower-case digits, high nibble first.
std::string hexText(const Md5::Value& digest);

}  // namespace zivra::internal
