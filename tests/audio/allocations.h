#pragma once
// What threads allocate and free.

#include <cstdint>
#include <functional>

namespace tervo::test {

/// How often any thread does either while the operation runs.
int allocationsOf(const std::function<void()>& operation);

/// Of all threads, not freed yet.
int64_t liveAllocations();

}  // namespace tervo::test
