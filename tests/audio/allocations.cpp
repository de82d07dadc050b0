#include "tests/audio/allocations.h"

#include <cstdlib>
#include <new>

namespace {
thread_local bool countsAllocations = false;
thread_local int allocations = 0;
}  // namespace

void* operator new(std::size_t size) {
  if (countsAllocations) ++allocations;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  if (countsAllocations) ++allocations;
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  if (countsAllocations) ++allocations;
  std::free(memory);
}

int tervo::test::allocationsOf(const std::function<void()>& operation) {
  allocations = 0;
  countsAllocations = true;
  operation();
  countsAllocations = false;
  return allocations;
}
