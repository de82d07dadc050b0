#pragma once
// Stored bytes to floats for every format of the generic PCM import, block after block.

#include <cstdint>
#include <optional>
#include <span>

#include "core/sample_format.h"
#include "dsp/packed_samples.h"
#include "dsp/sample_kernels.h"
#include "formats/wave/g711.h"

namespace tervo {

class SampleDecoder {
 public:
  /// Nothing for a format that the generic import does not know.
  static std::optional<SampleDecoder> forFormat(SampleFormatWord word);
  /// Integers that fill 1 to 8 bytes, whatever part of them is significant; of `flags` the layout bits count.
  static std::optional<SampleDecoder> forContainer(int containerBytes, SampleFormatWord flags);

  /// Bits of one stored sample.
  int bits() const { return bits_; }
  /// Samples of a group that ends on a byte: decoding may only begin in front of one.
  std::size_t groupSamples() const { return kind_ == Kind::packed ? 2 : 1; }
  /// Each sample depends on all before it.
  bool isSequential() const { return kind_ == Kind::delta; }
  uint64_t bytesFor(uint64_t samples) const { return (samples * static_cast<uint64_t>(bits_) + 7) / 8; }

  /// Decodes `in`, which begins with a group, leaving out the first `skip` samples; returns how many were decoded.
  std::size_t decode(std::span<const std::byte> in, std::size_t skip, std::span<float> out);

 private:
  enum class Kind : uint8_t { words, table, packed, delta, wide };

  Kind kind_ = Kind::words;
  int bits_ = 0;
  ByteOrder order_ = ByteOrder::little;
  dsp::Signedness sign_ = dsp::Signedness::twosComplement;
  dsp::SampleWord word_ = dsp::SampleWord::s8;
  CompandingLaw law_ = CompandingLaw::muLaw;
  uint16_t sum_ = 0;
};

/// The whole-byte integer or float of a format; nothing for formats that are something else.
std::optional<dsp::SampleWord> sampleWordOf(SampleFormatWord word);
ByteOrder byteOrderOf(SampleFormatWord word);

}  // namespace tervo
