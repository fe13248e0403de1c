#pragma once

#include <cstdint>

#include "abi/message.h"

/// The way from native threads into managed delegates: one pair of functions for the process.
namespace zivra::clr::abi {

using InvokeDelegate = void (*)(std::uint64_t number, const void* message, std::int32_t size);
using DropDelegate = void (*)(std::uint64_t number);

/// Sets both. Nulls close the way: no further call starts, and this returns when those under way have ended,
/// after 1 s at most; calls that the caller itself is inside of aren't waited for. Any thread.
void setCallbacks(InvokeDelegate invoke, DropDelegate drop) noexcept;

/// One delegate that the managed side keeps under a number; the last copy to go has it dropped there. Any
/// thread may invoke it.
class DelegateToken {
 public:
  explicit DelegateToken(std::uint64_t number) noexcept : number_(number) {}
  ~DelegateToken();
  DelegateToken(const DelegateToken&) = delete;
  DelegateToken& operator=(const DelegateToken&) = delete;

  void invoke(const Writer& message) const noexcept;

 private:
  std::uint64_t number_;
};

}  // namespace zivra::clr::abi
