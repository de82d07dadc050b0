#include "tests/audio/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<bool> countsAllocations = false;
std::atomic<int> allocations = 0;
std::atomic<int64_t> live = 0;

void count(int64_t change) {
  live.fetch_add(change, std::memory_order_relaxed);
  if (countsAllocations.load(std::memory_order_relaxed)) ++allocations;
}
}  // namespace

void* operator new(std::size_t size) {
  count(1);
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  if (memory) count(-1);
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  operator delete(memory);
}

int tervo::test::allocationsOf(const std::function<void()>& operation) {
  allocations = 0;
  countsAllocations = true;
  operation();
  countsAllocations = false;
  return allocations;
}

int64_t tervo::test::liveAllocations() {
  return live;
}
