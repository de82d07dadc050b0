// AIFF, AIFF-C and MAUD files of any content: read, streamed to the end, and saved as AIFF, WAV and Wave64.

#include "formats/wave/aiff_reader.h"
#include "fuzz/wave_round_trip.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return tervo::fuzzRoundTrip(data, size, tervo::readAiff);
}
