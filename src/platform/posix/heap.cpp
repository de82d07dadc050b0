#include "platform/heap.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace tervo::platform {
namespace {

constexpr int reserve = 32 << 20;         // addresses only, until something is put there
constexpr uintptr_t largePage = 2 << 20;  // of all systems with 4 KiB pages
constexpr int mappedFrom = 4 << 20;       // the usual limit would rise to that by itself, were the reserve not set
constexpr std::size_t beyondStart = 127 << 10;  // more than the heap of a program that has just started has left

}  // namespace

void growHeapInLargePages() {
  mallopt(M_MMAP_THRESHOLD, mappedFrom);
  if (mallopt(M_TOP_PAD, reserve) == 0) return;
  void* const before = sbrk(0);
  void* volatile grown = std::malloc(beyondStart);
  std::free(grown);
  const auto first = (reinterpret_cast<uintptr_t>(before) + largePage - 1) & ~(largePage - 1);
  const auto end = reinterpret_cast<uintptr_t>(sbrk(0)) & ~(largePage - 1);
  // Where the system does not want that, pages stay small.
  if (end > first) madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}

}  // namespace tervo::platform
