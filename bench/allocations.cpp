#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::int64_t allocations = 0;

}  // namespace

namespace zivra::bench {

std::int64_t allocationsOfThisThread() { return allocations; }

}  // namespace zivra::bench

// The forms for arrays and without exceptions end here too.
void* operator new(std::size_t size) {
  ++allocations;
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
