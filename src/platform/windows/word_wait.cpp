#include "platform/word_wait.h"

#include <windows.h>

namespace tervo::platform {

void waitWhile(const std::atomic<uint32_t>& word, uint32_t value) {
  auto* address = const_cast<std::atomic<uint32_t>*>(&word);
  while (word == value) WaitOnAddress(address, &value, sizeof value, INFINITE);
}

void wakeOne(std::atomic<uint32_t>& word) {
  WakeByAddressSingle(&word);
}

}  // namespace tervo::platform
