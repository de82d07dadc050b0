#pragma once
// Numbers below what a float holds with all its bits cost a hundred times as much as others, and nobody hears them.

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace tervo::audio {

/// While it lives, the thread's arithmetic takes such numbers for 0.
class FlushDenormals {
 public:
#if defined(__x86_64__)
  FlushDenormals() noexcept : before_(_mm_getcsr()) {
    _mm_setcsr(before_ | flushToZero | denormalsAreZero);
  }
  ~FlushDenormals() {
    _mm_setcsr(before_);
  }

 private:
  static constexpr unsigned flushToZero = 0x8000, denormalsAreZero = 0x0040;
  unsigned before_;

 public:
#else
  FlushDenormals() noexcept {}
  ~FlushDenormals() {}
#endif
  FlushDenormals(const FlushDenormals&) = delete;
  FlushDenormals& operator=(const FlushDenormals&) = delete;
};

}  // namespace tervo::audio
