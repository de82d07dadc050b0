#pragma once
// What the fuzz targets of instrument readers do with the samples of a document.

#include <cstdlib>
#include <vector>

#include "core/collection.h"

namespace tervo {

/// Streams every waveform to its end, as far as `left` frames in all reach, and aborts where one is shorter or longer
/// than it says. False with LastErrorText at the first that cannot be read on; those that cannot be opened are silent.
inline bool readAllSamples(const Collection& collection, int64_t left) {
  std::vector<float> frames(2048);
  for (const auto& waveform : collection.waveforms()) {
    const auto stream = waveform->samples ? waveform->samples->open() : nullptr;
    for (int64_t count = 0; stream && left > 0;) {
      const auto part = stream->read(frames);
      if (!part) return false;
      if (*part == 0 && count != waveform->frames()) std::abort();
      if (*part == 0) break;
      count += static_cast<int64_t>(*part);
      left -= static_cast<int64_t>(*part);
    }
  }
  return true;
}

inline int64_t framesOf(const Collection& collection) {
  int64_t count = 0;
  for (const auto& waveform : collection.waveforms()) count += waveform->frames();
  return count;
}

}  // namespace tervo
