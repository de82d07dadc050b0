#pragma once
// What the samples of an AIFF, AIFF-C or MAUD file are. Layouts: Apple's "Audio Interchange File Format" 1.3 and its
// "AIFF-C" draft of 1991; MAUD after the account of the author of MacroSystem's multisnd.library (MAUDINFO.TXT, 1997).

#include <cstdint>
#include <optional>
#include <span>

#include "core/sample_format.h"

namespace tervo {

/// What decodes the sample data of a compression type.
enum class AiffCodec : uint8_t { pcm, floating, aLaw, muLaw, ima4, mace3, mace6, g722, g726, gsm, dwvw };

struct AiffFormat {
  AiffCodec codec = AiffCodec::pcm;
  int channels = 0;
  uint64_t frames = 0;    ///< as the header says; of packets where the coding has them; 0 where it does not say
  int bits = 0;           ///< per sample, of the stored samples or code words
  double sampleRate = 0;  ///< Hz, a whole number in AIFF
  double statedRate = 0;  ///< with the fraction that the file has

  SampleFormatWord format = 0;  ///< the stored format of the waveform
  SampleCoding coding = SampleCoding::pcm16;

  /// Whole bytes of one sample, of plain samples.
  int containerBytes() const { return (bits + 7) / 8; }
};

enum class AiffForm : uint8_t { plain, compressed };

/// Understands the body of "COMM". Nothing, with LastErrorText, when it cannot be read.
std::optional<AiffFormat> readCommon(std::span<const std::byte> body, AiffForm form);

/// The same for the "MHDR" of a MAUD file.
std::optional<AiffFormat> readMaudHeader(std::span<const std::byte> body);

}  // namespace tervo
