#include "platform/key_place.h"

namespace tervo::platform {

// X and Wayland count 8 more than the kernel, whose codes in the main block are those of set 1.
uint32_t keyPlace(uint32_t scanCode) {
  return scanCode > 8 ? scanCode - 8 : 0;
}

}  // namespace tervo::platform
