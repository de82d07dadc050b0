#pragma once
// Floats to stored bytes, for every writer whose format holds plain samples.

#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "core/host.h"
#include "core/sample_data.h"
#include "dsp/packed_samples.h"
#include "dsp/sample_kernels.h"
#include "formats/clipping.h"
#include "formats/format_table.h"
#include "formats/wave/g711.h"

namespace tervo {

/// Encodes one run of samples from front to back, without dither. SplitChannels is the caller's business.
class SampleEncoder {
 public:
  /// False with "The file format can not save this item" for a format that does not hold plain samples.
  bool prepare(SampleFormatWord word);

  uint64_t bytesFor(uint64_t samples) const { return (samples * static_cast<uint64_t>(bits_) + 7) / 8; }
  /// Returns the bytes written. `out` has room for bytesFor(in.size()); every call but the last gives an even number of
  /// samples.
  std::size_t encode(std::span<const float> in, std::span<std::byte> out);

 private:
  enum class Kind : uint8_t { words, law, packed, delta };

  Kind kind_ = Kind::words;
  int bits_ = 8;
  ByteOrder order_ = ByteOrder::little;
  dsp::Signedness sign_ = dsp::Signedness::twosComplement;
  dsp::SampleWord word_ = dsp::SampleWord::s8;
  CompandingLaw law_ = CompandingLaw::muLaw;
  uint16_t sum_ = 0;
};

/// Writes all frames in a format of the generic PCM import, with SplitChannels one channel after the other. What the
/// source already holds in that format is copied byte for byte; in another byte order or with the other kind of sign,
/// integers and floats keep all their bits too. What integers cannot hold is counted. False with LastErrorText ("Save
/// aborted!" when `host` wants to stop).
bool writeSamples(ByteSink& sink, const SampleData& data, SampleFormatWord word, Host& host,
                  ClippingCount* clipping = nullptr);
/// All of a waveform as the samples of a file, with its report.
bool writeSamples(TargetFile& file, const Waveform& waveform, SampleFormatWord word);

}  // namespace tervo
