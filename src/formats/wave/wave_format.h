#pragma once
// The "fmt " chunk of RIFF-WAVE and Wave64: what it says, the format tags that are understood, and what each tag makes
// of a waveform. Layouts: Microsoft's "New Multimedia Data Types and Data Techniques" and mmreg.h (WAVEFORMATEX,
// WAVEFORMATEXTENSIBLE).

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/endian.h"
#include "base/text.h"
#include "core/sample_format.h"

namespace tervo {

/// What decodes the sample data of a tag.
enum class WaveCodec : uint8_t {
  pcm,
  floating,
  aLaw,
  muLaw,
  ms,
  ima,
  oki,
  yamaha,
  rockwell,
  g726,
  g722,
  gsm,
  mpeg,
  vorbis,
  other
};

namespace WaveTag {
inline constexpr uint16_t pcm = 1, ms = 2, floating = 3, aLaw = 6, muLaw = 7, ima = 17, g723 = 20, gsm = 49, g721 = 64,
                          mpegLayer3 = 85, g726 = 100, g726Itu = 69, rockwell = 768, msnAudio = 771, gsm4096 = 4096,
                          extensible = 65534;
}

// The fields that all tags share, as they stand in the file.
struct WaveFormatHeader {
  LittleU16 tag;
  LittleU16 channels;
  LittleU32 sampleRate;
  LittleU32 bytesPerSecond;
  LittleU16 blockAlign;
};
static_assert(sizeof(WaveFormatHeader) == 14);

struct WaveFormat {
  std::vector<std::byte> body;  ///< the chunk's body as read

  uint16_t tag = 0;  ///< the tag; for the extensible form that of the subformat
  bool extensible = false;
  WaveCodec codec = WaveCodec::pcm;
  int channels = 0;       ///< in the file
  double sampleRate = 0;  ///< Hz
  uint32_t bytesPerSecond = 0;
  int blockAlign = 0;        ///< bytes
  int bits = 0;              ///< valid bits per sample
  int containerBits = 0;     ///< bits that a sample takes up in the data; 0 where the tag does not say
  uint32_t channelMask = 0;  ///< speakers of the extensible form; 0 when unknown
  int samplesPerBlock = 0;   ///< frames, for block codings that store it; else 0
  double kbitPerSecond = 0;  ///< for the compressed codings

  SampleFormatWord format = 0;  ///< the stored format of the waveform
  SampleCoding coding = SampleCoding::pcm16;

  /// Whole bytes that one sample takes up in PCM and float data.
  int containerBytes() const { return (containerBits + 7) / 8; }
  /// The bytes behind the 18 of WAVEFORMATEX.
  std::span<const std::byte> extra() const;
};

/// Understands the body of a "fmt " chunk. Nothing, with LastErrorText, when its tag or its numbers cannot be read.
std::optional<WaveFormat> readWaveFormat(std::vector<std::byte> body);

/// Whether the G.726 family under this tag packs its code words from the upper end of each byte. The programs that
/// write the tags of G.726 and G.723 do; G.721 is packed from the lower end, as its reference implementation had it.
bool packsFromTheTop(uint16_t tag);

/// Frames in `dataBytes` of data when nothing else in the file says.
int64_t framesInData(const WaveFormat& format, uint64_t dataBytes);

}  // namespace tervo
