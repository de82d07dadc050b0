#pragma once
// FLAC streams (RFC 9639) through libFLAC, which is loaded when it is needed.

#include "formats/clipping.h"
#include "formats/codec/compressed_stream.h"

namespace tervo {

inline constexpr TextView flacName = u"FLAC";

/// From the first metadata block. As CompressedCoding::facts.
std::optional<StreamFacts> flacFacts(const StoredSamples& stored);
bool canDecodeFlac();
std::unique_ptr<StreamDecoder> openFlac(const StoredSamples& stored, int channels, int64_t firstFrame);

/// The samples, of 16 or 24 bits, as one stream. Nothing with LastErrorText. Any thread.
std::optional<std::vector<std::byte>> encodeFlac(const SampleData& samples, double sampleRate, int bits,
                                                 ClippingCount* clipping = nullptr);

}  // namespace tervo
