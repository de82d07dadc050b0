#include "formats/wave/sample_encoder.h"

#include "base/last_error.h"
#include "formats/wave/sample_decoder.h"

namespace tervo {

bool SampleEncoder::prepare(SampleFormatWord word) {
  *this = SampleEncoder();
  bits_ = bitsOf(formatOf(word));
  order_ = byteOrderOf(word);
  sign_ = word & Unsigned ? dsp::Signedness::offset : dsp::Signedness::twosComplement;
  if (const auto wholeBytes = sampleWordOf(word)) {
    word_ = *wholeBytes;
    return true;
  }
  switch (formatOf(word)) {
    case SampleFormat::pcm12:
    case SampleFormat::pcm20:
      kind_ = Kind::packed;
      return true;
    case SampleFormat::deltaPcm8:
    case SampleFormat::deltaPcm16:
      kind_ = Kind::delta;
      return true;
    case SampleFormat::muLaw:
    case SampleFormat::aLaw:
      kind_ = Kind::law;
      law_ = formatOf(word) == SampleFormat::muLaw ? CompandingLaw::muLaw : CompandingLaw::aLaw;
      return true;
    default:
      return fail(u"The file format can not save this item");
  }
}

std::size_t SampleEncoder::encode(std::span<const float> in, std::span<std::byte> out) {
  const auto bytes = static_cast<std::size_t>(bits_) / 8;
  switch (kind_) {
    case Kind::words:
      return dsp::encodeSamples(word_, order_, in, out) * bytes;
    case Kind::law:
      return compress(law_, in, out);
    case Kind::packed:
      return dsp::encodePacked(bits_, order_, sign_, in, out);
    case Kind::delta:
      return dsp::encodeDelta(bytes, order_, sign_, sum_, in, out);
  }
  return 0;
}

}  // namespace tervo
