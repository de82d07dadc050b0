#pragma once
// The border at which running out of memory becomes an ordinary failure.

#include <new>
#include <stdexcept>

#include "base/last_error.h"

namespace tervo {

/// The operation's result, or its failed value with "Out of memory". A container asked for more than can exist counts
/// as such.
template <typename Operation>
auto guardMemory(Operation operation) -> decltype(operation()) {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    return fail(u"Out of memory");
  } catch (const std::length_error&) {
    return fail(u"Out of memory");
  }
}

}  // namespace tervo
