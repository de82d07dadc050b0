#pragma once
// From a "fmt " chunk and the bytes of "data" to sample data: picks the decoder of the coding and settles how many
// frames there are.

#include "core/sample_data.h"
#include "formats/wave/wave_format.h"

namespace tervo {

/// Where the samples of a WAV or W64 file stand, and what else it says about their number.
struct WaveData {
  std::shared_ptr<const ByteSource> source;
  uint64_t offset = 0;
  uint64_t bytes = 0;
  uint64_t statedFrames = 0;  ///< of a "fact" chunk; 0 when there is none
};

/// Sample data of one or two channels that is decoded while it is read. Null with LastErrorText.
SampleRef openWaveSamples(const WaveFormat& format, const WaveData& data);

}  // namespace tervo
