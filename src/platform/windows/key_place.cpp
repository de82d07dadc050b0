#include "platform/key_place.h"

namespace tervo::platform {

uint32_t keyPlace(uint32_t scanCode) {
  return scanCode;
}

}  // namespace tervo::platform
