#pragma once
// Keys by where they stand, whatever the layout writes on them.

#include <cstdint>

namespace tervo::platform {

/// The place of a key as keyboards have named places since the IBM PC AT (scan code set 1: 2 is the key of "1", 16 that
/// of "Q" on a US keyboard), from the scan code that the window system gives. 0 where it gives none.
uint32_t keyPlace(uint32_t scanCode);

}  // namespace tervo::platform
