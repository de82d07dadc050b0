#pragma once
// What the calling thread allocates and frees.

#include <functional>

namespace tervo::test {

/// How often the operation does either.
int allocationsOf(const std::function<void()>& operation);

}  // namespace tervo::test
