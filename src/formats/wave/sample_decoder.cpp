#include "formats/wave/sample_decoder.h"

namespace tervo {

using dsp::SampleWord;

std::optional<SampleWord> sampleWordOf(SampleFormatWord word) {
  const bool offset = (word & Unsigned) != 0;
  switch (formatOf(word)) {
    case SampleFormat::pcm8:
      return offset ? SampleWord::u8 : SampleWord::s8;
    case SampleFormat::pcm16:
      return offset ? SampleWord::u16 : SampleWord::s16;
    case SampleFormat::pcm24:
      return offset ? SampleWord::u24 : SampleWord::s24;
    case SampleFormat::pcm32:
      return offset ? SampleWord::u32 : SampleWord::s32;
    case SampleFormat::float32:
      return SampleWord::f32;
    case SampleFormat::float64:
      return SampleWord::f64;
    default:
      return std::nullopt;
  }
}

ByteOrder byteOrderOf(SampleFormatWord word) {
  return word & BigEndian ? ByteOrder::big : ByteOrder::little;
}

std::optional<SampleDecoder> SampleDecoder::forFormat(SampleFormatWord word) {
  SampleDecoder decoder;
  decoder.bits_ = bitsOf(formatOf(word));
  decoder.order_ = byteOrderOf(word);
  decoder.sign_ = word & Unsigned ? dsp::Signedness::offset : dsp::Signedness::twosComplement;
  if (const auto wholeBytes = sampleWordOf(word)) {
    decoder.word_ = *wholeBytes;
    return decoder;
  }
  switch (formatOf(word)) {
    case SampleFormat::pcm12:
    case SampleFormat::pcm20:
      decoder.kind_ = Kind::packed;
      return decoder;
    case SampleFormat::deltaPcm8:
    case SampleFormat::deltaPcm16:
      decoder.kind_ = Kind::delta;
      return decoder;
    case SampleFormat::muLaw:
    case SampleFormat::aLaw:
      decoder.kind_ = Kind::table;
      decoder.law_ = formatOf(word) == SampleFormat::muLaw ? CompandingLaw::muLaw : CompandingLaw::aLaw;
      return decoder;
    default:
      return std::nullopt;
  }
}

std::optional<SampleDecoder> SampleDecoder::forContainer(int containerBytes, SampleFormatWord flags) {
  constexpr SampleFormat byBytes[] = {SampleFormat::pcm8, SampleFormat::pcm16, SampleFormat::pcm24,
                                      SampleFormat::pcm32};
  if (containerBytes < 1 || containerBytes > 8) return std::nullopt;
  if (containerBytes <= 4) return forFormat(formatWord(byBytes[containerBytes - 1], flags & (Unsigned | BigEndian)));
  SampleDecoder decoder;
  decoder.kind_ = Kind::wide;
  decoder.bits_ = 8 * containerBytes;
  decoder.order_ = byteOrderOf(flags);
  decoder.sign_ = flags & Unsigned ? dsp::Signedness::offset : dsp::Signedness::twosComplement;
  return decoder;
}

std::size_t SampleDecoder::decode(std::span<const std::byte> in, std::size_t skip, std::span<float> out) {
  const auto bytes = static_cast<std::size_t>(bits_) / 8;
  switch (kind_) {
    case Kind::packed:
      return dsp::decodePacked(bits_, order_, sign_, in, skip, out);
    case Kind::words:
      return dsp::decodeSamples(word_, order_, in, out);
    case Kind::table:
      return dsp::decodeTable(expansionTable(law_), in, out);
    case Kind::delta:
      return dsp::decodeDelta(bytes, order_, sign_, sum_, in, out);
    case Kind::wide:
      return dsp::decodeWide(bytes, order_, sign_, in, out);
  }
  return 0;
}

}  // namespace tervo
