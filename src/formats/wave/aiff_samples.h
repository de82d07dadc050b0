#pragma once
// From a "COMM" or "MHDR" chunk and the bytes of the samples to sample data.

#include "core/sample_data.h"
#include "formats/wave/aiff_format.h"

namespace tervo {

/// Where the samples of an AIFF or MAUD file stand.
struct AiffData {
  std::shared_ptr<const ByteSource> source;
  uint64_t offset = 0;
  uint64_t bytes = 0;
};

struct AiffSamples {
  SampleRef samples;
  uint64_t statedFrames = 0;  ///< what the header's number comes to, held or not; 0 when it does not say
  uint64_t heldFrames = 0;    ///< that the bytes hold; 0 where that cannot be told without decoding, or of packets
};

/// Sample data of one or two channels that is decoded while it is read. Null samples with LastErrorText.
AiffSamples openAiffSamples(const AiffFormat& format, const AiffData& data);

/// Whole frames of plain samples in that many bytes.
uint64_t plainFrames(const AiffFormat& format, uint64_t bytes);

}  // namespace tervo
