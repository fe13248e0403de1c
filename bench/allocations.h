// Counts what `new` gives out, in the whole program.
#pragma once

#include <cstdint>

namespace zivra::bench {

// By the calling thread so far.
std::int64_t allocationsOfThisThread();

}  // namespace zivra::bench
