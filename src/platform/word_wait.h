#pragma once
// Sleeping until a word changes. Like std::atomic::wait, which mingw-w64's library of GCC 12 builds on a condition
// variable and can sleep through the change.

#include <atomic>
#include <cstdint>

namespace tervo::platform {

/// Returns once the word has another value and, when it changed while this slept, somebody called wakeOne().
void waitWhile(const std::atomic<uint32_t>& word, uint32_t value);
/// Wakes one thread that sleeps on the word. Never blocks.
void wakeOne(std::atomic<uint32_t>& word);

}  // namespace tervo::platform
