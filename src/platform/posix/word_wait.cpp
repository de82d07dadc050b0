#include "platform/word_wait.h"

namespace tervo::platform {

void waitWhile(const std::atomic<uint32_t>& word, uint32_t value) {
  word.wait(value);
}

void wakeOne(std::atomic<uint32_t>& word) {
  word.notify_one();
}

}  // namespace tervo::platform
