#pragma once
// Where a key stands on the keyboard, whatever the layout writes on it.

#include <cstdint>

namespace tervo::ui {

/// The character that a US keyboard has at the place of a key (its capital letter), 0 where that has none. `scanCode`
/// is what the window system calls it.
char usCharacterAt(uint32_t scanCode);

}  // namespace tervo::ui
