#pragma once
// Block codecs work on 16-bit samples; the document on floats. These two say how one becomes the other.

#include <algorithm>
#include <cstdint>

namespace tervo {

constexpr int clampToPcm16(int64_t value) {
  return static_cast<int>(std::clamp<int64_t>(value, -32768, 32767));
}

constexpr float floatOfPcm16(int sample) {
  return static_cast<float>(sample) * (1.0f / 32768.0f);
}

/// Half rounds up; beyond full scale is cut.
inline int pcm16OfFloat(float sample) {
  const float shifted = sample * 32768.0f + 32768.5f;
  if (!(shifted > 0)) return -32768;  // not a number included
  return shifted >= 65535.0f ? 32767 : static_cast<int>(shifted) - 32768;
}

}  // namespace tervo
