#pragma once
// Ogg Vorbis streams ("Vorbis I specification"; RFC 3533 for Ogg pages). Decoding goes through libvorbisfile, encoding
// through libvorbisenc, libvorbis and libogg; all are loaded when they are needed.

#include "base/byte_source.h"
#include "formats/codec/compressed_stream.h"

namespace tervo {

inline constexpr TextView oggVorbisName = u"Ogg Vorbis";

/// From the first page and the last one. As CompressedCoding::facts.
std::optional<StreamFacts> vorbisFacts(const StoredSamples& stored);
bool canDecodeVorbis();
std::unique_ptr<StreamDecoder> openVorbis(const StoredSamples& stored, int channels, int64_t firstFrame);

struct VorbisQuality {
  float quality = 0.6f;      ///< -0.1 (smallest) to 1 (best), where no rate is asked for
  double kbitPerSecond = 0;  ///< the average rate aimed at
};

/// The samples as one stream; the serial number is that of its pages. Nothing with LastErrorText. Any thread.
std::optional<std::vector<std::byte>> encodeVorbis(const SampleData& samples, double sampleRate, VorbisQuality quality,
                                                   uint32_t serialNumber);

}  // namespace tervo
