#include "formats/format_table.h"

#include <gtest/gtest.h>

#include <memory>

#include "core/collection.h"
#include "formats/writer_rules.h"

namespace tervo {
namespace {

FormatIndex rowNamed(TextView description) {
  for (FormatIndex i = 0; const FormatDescriptor* row = rowAt(i); ++i)
    if (row->description == description) return i;
  ADD_FAILURE();
  return noFormat;
}

std::unique_ptr<Waveform> waveformOf(int channels, SampleFormat stored = SampleFormat::pcm16) {
  auto waveform = std::make_unique<Waveform>();
  waveform->samples = makeResident(std::vector<float>(static_cast<std::size_t>(8 * channels)), channels);
  waveform->setStoredFormat(stored, 0);
  return waveform;
}

TEST(FormatTable, MatchesExtensionsByPattern) {
  struct Case {
    TextView extension, pattern;
    bool fits;
  };
  for (const Case& each :
       {Case{u"WAV", u"wav", true}, Case{u"wa", u"wav", false}, Case{u"wave", u"wav", false}, Case{u"p1", u"p?", true},
        Case{u"p", u"p?", false}, Case{u"p12", u"p?", false}, Case{u"", u"*", true}, Case{u"g721-4", u"g721*", true},
        Case{u"g72", u"g721*", false}, Case{u"wa!", u"wa!", true}, Case{u"", u"wav", false}})
    EXPECT_EQ(matchesExtension(each.extension, each.pattern), each.fits)
        << toUtf8(each.extension) << toUtf8(each.pattern);
}

TEST(FormatTable, AnswersForIndicesOutside) {
  EXPECT_EQ(rowAt(-1), nullptr);
  EXPECT_EQ(rowAt(543), nullptr);
  EXPECT_EQ(descriptionOf(543), u"Unknown file type");
  EXPECT_EQ(WriterFlags(-1).flags, 0u);
}

TEST(WriterFlags, ComeFromTheNextWriterOfTheExtension) {
  // .mp3 reads in one row and writes in the next three; .wav's second row only reads and nothing follows it; the rows
  // of .ins are of different formats.
  EXPECT_EQ(WriterFlags(rowNamed(u"MPEG layer III")).flags, WriterFlags(rowNamed(u"MPEG layer III - CBR")).flags);
  EXPECT_EQ(WriterFlags(rowNamed(u"Signed words (16-bit) - Big Endian")).variant, BigEndian);
  EXPECT_EQ(WriterFlags(492).flags, 0u);
  EXPECT_EQ(WriterFlags(rowNamed(u"Ad Lib instrument")).flags, WriterFlags(rowNamed(u"Ensoniq EPS intrument")).flags);
}

TEST(WriterChannels, FollowTheChannelRule) {
  struct Case {
    TextView row;
    int mono, stereo;
  };
  for (const Case& each :
       {Case{u"Microsoft wave", 1, 2}, Case{u"Raw GSM 06.10", 1, 1}, Case{u"SoundFont v2 bank", 1, 2},
        Case{u"Gravis Ultrasound patch", 1, 1}, Case{u"MPEG layer III", 1, 2}}) {
    EXPECT_EQ(WriterChannels(rowNamed(each.row), *waveformOf(1)), each.mono) << toUtf8(each.row);
    EXPECT_EQ(WriterChannels(rowNamed(each.row), *waveformOf(2)), each.stereo) << toUtf8(each.row);
  }
}

TEST(WriterChannels, OfItemsThatHoldWaveforms) {
  constexpr FormatIndex wav = 491;
  Collection collection;
  EXPECT_EQ(WriterChannels(wav, collection), 0);
  const Waveform& stereo = collection.add(waveformOf(2));
  EXPECT_EQ(WriterChannels(wav, collection), 2);
  const Waveform& mono = collection.add(waveformOf(1));
  EXPECT_EQ(WriterChannels(wav, collection), 0);
  EXPECT_EQ(WriterChannels(rowNamed(u"Raw GSM 06.10"), collection), 1);  // both are written with one

  Instrument& instrument = collection.add(std::make_unique<Instrument>());
  Layer& layer = instrument.add(std::make_unique<Layer>());
  Region& region = layer.add(std::make_unique<Region>());
  region.waveform = mono.id();
  EXPECT_EQ(WriterChannels(wav, instrument), 1);
  layer.add(std::make_unique<Region>()).waveform = stereo.id();
  EXPECT_EQ(WriterChannels(wav, layer), 0);
  collection.remove(stereo.id());  // a region that plays nothing has no say
  EXPECT_EQ(WriterChannels(wav, instrument), 1);
}

TEST(ChooseSampleFormat, KeepsTheSourceOrLosesLeast) {
  using enum SampleFormat;
  struct Case {
    SampleFormat stored;
    uint32_t flags;
    std::optional<SampleCoding> asked;
    SampleFormat chosen;
  };
  constexpr uint32_t wav = 0x00327F75, twelve = 0x02, bytesOnly = 0x01, deep = 0x25, companded = 0x0305, vag = 0x2000;
  for (const Case& each :
       {Case{pcm16, wav, {}, pcm16},
        Case{pcm12, wav, {}, pcm16},
        Case{pcm20, wav, {}, pcm24},
        Case{float64, wav, {}, float32},
        Case{float64, 0xF5, {}, float64},
        Case{adpcm4, wav, {}, pcm16},  // not one lossy coding after another
        Case{adpcm4, wav, SampleCoding::adpcm4, adpcm4},
        Case{gsm, wav, {}, pcm16},
        Case{compressed, wav, {}, pcm16},
        Case{adpcm4, vag, {}, adpcm4},
        Case{adpcm4, vag | bytesOnly, {}, adpcm4},
        Case{muLaw, wav, {}, muLaw},
        Case{deltaPcm16, wav, {}, pcm16},
        Case{deltaPcm8, 0x00310004, {}, pcm16},  // the row's other 16-bit flag is no format of its own
        Case{pcm24, twelve, {}, pcm12},
        Case{pcm16, bytesOnly, {}, pcm8},
        Case{pcm24, deep, {}, pcm32},
        Case{float32, deep, {}, pcm32},
        Case{gsm, companded, {}, pcm16},
        Case{aLaw, companded, {}, aLaw},
        Case{pcm24, companded, {}, pcm16},
        Case{pcm32, 0x50, {}, float32},
        Case{pcm16, vag, {}, adpcm4},
        Case{compressed, 0x00320000, {}, compressed},
        Case{pcm16, 0x00320000, {}, compressed},
        Case{compressed, 0x05, {}, pcm16},
        Case{pcm24, wav, SampleCoding::pcm8, pcm8},
        Case{pcm8, 0x10, SampleCoding::pcm16, pcm24},
        Case{pcm16, wav, SampleCoding::compressed128, compressed},
        Case{pcm16, 0x00040000, {}, none}}) {
    FormatDescriptor row{};
    row.flags = each.flags;
    EXPECT_EQ(nameOf(chooseSampleFormat(row, *waveformOf(1, each.stored), {.coding = each.asked})), nameOf(each.chosen))
        << toUtf8(nameOf(each.stored)) << " by flags " << std::hex << each.flags;
  }
}

TEST(ChooseSampleFormat, AsksTheOptionsBeforeTheWaveform) {
  FormatDescriptor row{};
  row.flags = 0x15;
  auto waveform = waveformOf(1, SampleFormat::pcm24);
  waveform->preferredFormat = static_cast<uint8_t>(SampleCoding::pcm8);
  EXPECT_EQ(chooseSampleFormat(row, *waveform, {}), SampleFormat::pcm8);
  EXPECT_EQ(chooseSampleFormat(row, *waveform, {.coding = SampleCoding::pcm16}), SampleFormat::pcm16);
  row.flags = 0x00327F75;
  EXPECT_EQ(chooseSampleFormat(row, *waveform, {.format = SampleFormat::gsm}), SampleFormat::gsm);
}

}  // namespace
}  // namespace tervo
