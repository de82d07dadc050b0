#pragma once
// What the calling thread allocates and frees, and what all threads together have not freed.

#include <cstdint>
#include <functional>

namespace tervo::test {

/// How often the operation does either.
int allocationsOf(const std::function<void()>& operation);

/// Of all threads, not freed yet.
int64_t liveAllocations();

}  // namespace tervo::test
