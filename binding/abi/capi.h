#pragma once

#include <cstdint>

/// What the managed assembly calls. A message is the arguments in order; a reply begins with a fault (int32;
/// its text follows, and nothing else), then the result and what comes back of the parameters, in order.
///
/// Any thread may call any of it, also from inside a delegate.
extern "C" {

/// Tells builds apart: an assembly and a library with different numbers don't fit.
std::uint64_t zivra_clr_schema() noexcept;
/// The process's way into managed delegates; nulls close it and wait at most 1 s for calls under way.
void zivra_clr_callbacks(void (*invoke)(std::uint64_t, const void*, std::int32_t),
                         void (*drop)(std::uint64_t)) noexcept;
/// Runs an operation. The size of the reply, which is in `out` if it isn't above `capacity`; otherwise
/// `zivra_clr_take` gives it, on the same thread and before its next call. `in` and `out` may be the same.
std::int32_t zivra_clr_call(std::uint64_t self, std::int32_t operation, const void* in, std::int32_t size,
                            void* out, std::int32_t capacity) noexcept;
/// The last reply that was too large; its size, 0 if there is none.
std::int32_t zivra_clr_take(void* out, std::int32_t capacity) noexcept;
/// Ends an object; one that isn't there is fine.
void zivra_clr_release(std::uint64_t self) noexcept;
}
