#pragma once
// The two vocabularies for how samples are stored: SampleFormat, as they stood in the file they came from, and
// SampleCoding, as they are to be saved.

#include <cstdint>

#include "base/text.h"

namespace tervo {

enum class SampleFormat : uint8_t {
  pcm8,
  pcm12,
  pcm16,
  pcm20,
  pcm24,
  pcm32,
  float32,
  float64,
  muLaw,
  aLaw,
  gsm,
  adpcm2,
  adpcm3,
  adpcm4,
  adpcm5,
  deltaPcm8,
  deltaPcm16,
  compressed,
  asciiText,
  midi,
  none  // 20: no format bit is set
};

enum class SampleCoding : uint8_t {
  pcm8,
  pcm16,
  pcm24,
  pcm32,
  float32,
  muLaw,
  aLaw,
  adpcm4,
  compressed32,
  compressed48,
  compressed64,
  compressed80,
  compressed96,
  compressed112,
  compressed128,
  compressed144,
  compressed160,
  compressed192,
  compressed224,
  compressed256,
  compressed320
};

// Layout flags that share one word with the format bits.
inline constexpr uint32_t SplitChannels = 0x400000;
inline constexpr uint32_t Unsigned = 0x800000;
inline constexpr uint32_t BigEndian = 0x1000000;

/// Bit n set for SampleFormat n, together with the layout flags.
using SampleFormatWord = uint32_t;

constexpr SampleFormatWord formatWord(SampleFormat format, uint32_t flags = 0) {
  return (1u << static_cast<unsigned>(format)) | flags;
}
/// The lowest set format bit; SampleFormat::none when there is none.
SampleFormat formatOf(SampleFormatWord word);

/// Display names ("PCM 16-bit", "Compressed 32 kbit/s"); empty for values outside the table.
TextView nameOf(SampleFormat format);
TextView nameOf(SampleCoding coding);
/// Bits per sample; 0 outside the table.
int bitsOf(SampleFormat format);
/// Bit rate of a compressed coding in kbit/s, else 0.
int bitRateOf(SampleCoding coding);

struct FormatOfCoding {
  SampleFormat format;
  float kbitPerSecond;  // 0 unless the coding is a compressed one
};
FormatOfCoding formatOf(SampleCoding coding);
/// The compressed coding nearest to a bit rate in kbit/s.
SampleCoding codingOfBitRate(double kbitPerSecond);
/// The coding that stands for a stored format; `current` for formats that leave the coding to the reader.
SampleCoding codingOf(SampleFormat format, SampleCoding current);

}  // namespace tervo
