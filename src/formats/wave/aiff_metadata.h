#pragma once
// What an AIFF file says about a waveform beside its samples, as the writer puts it together: from the model, and from
// the chunks of an AIFF source where those still say the same and hold more.

#include <vector>

#include "core/report.h"
#include "core/waveform.h"

namespace tervo {

/// A chunk that is ready to be written.
struct AiffChunk {
  FourCC id;
  std::vector<std::byte> body;
};

struct AiffMetadata {
  std::vector<AiffChunk> beforeSamples;  ///< "MARK" and "INST", where there is anything to say
  std::vector<AiffChunk> afterSamples;   ///< texts, "ID3 "
  bool markersAreSame = false;           ///< as in the source, their numbers too
};

/// Reports what AIFF cannot hold.
AiffMetadata makeAiffMetadata(const Waveform& waveform, ConversionReport& report);

/// Whether a "COMT" chunk refers to markers by their numbers.
bool refersToMarkers(std::span<const std::byte> comments);

}  // namespace tervo
