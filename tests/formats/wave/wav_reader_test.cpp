#include <gmock/gmock.h>

#include "formats/wave/wave_format.h"
#include "tests/formats/wave/wav_builder.h"

namespace tervo {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::FloatEq;
using testing::Pointwise;

const Bytes fourFrames = i16({0, 16384, -32768, 32767});
const Bytes smplLoop = u32({0, 0, 0, 64, 0, 0, 0, 1, 0, 7, 0, 1, 2, 0, 0});

TEST(WavReader, takesChunksInAnyOrderAndSizesThatLie) {
  const auto file = [] { return WavBuilder().fmt({}).data(fourFrames); };
  const struct {
    const char* what;
    WavBuilder builder;
  } cases[] = {
      {"plain", file()},
      {"riff size 0", file().riffSize(0)},
      {"riff size of a pipe", file().riffSize(0xFFFFFFFF)},
      {"riff size beyond the end", file().riffSize(5000)},
      {"metadata first", WavBuilder().chunk("smpl", smplLoop).chunk("LIST", chars("INFO")).fmt({}).data(fourFrames)},
      {"format after the data", WavBuilder().data(fourFrames).fmt({})},
      {"data size of a pipe", WavBuilder().riffSize(0xFFFFFFFF).fmt({}).chunkSaying("data", 0xFFFFFFFF, fourFrames)},
      {"no size but of a pipe", WavBuilder().riffSize(0).fmt({}).chunkSaying("data", 0xFFFFFFFF, fourFrames)},
      {"data size never filled in", WavBuilder().riffSize(0).fmt({}).chunkSaying("data", 0, fourFrames)},
      {"data cut off", WavBuilder().fmt({}).chunkSaying("data", 2000, fourFrames)},
      {"pad byte forgotten", WavBuilder().chunkSaying("note", 3, chars("abc")).fmt({}).data(fourFrames)},
      {"two formats", WavBuilder().fmt({}).fmt({.channels = 2, .rate = 1}).data(fourFrames)},
      {"fact too large", WavBuilder().fmt({}).chunk("fact", u32({99})).data(fourFrames)},
      {"fact zero", WavBuilder().fmt({}).chunk("fact", u32({0})).data(fourFrames)},
      {"block align 0", WavBuilder().fmt({.blockAlign = 0}).data(fourFrames)},
      {"14-byte fmt", WavBuilder().chunk("fmt ", u32({0x10001, 8000, 16000}) + words<uint16_t>({2})).data(fourFrames)},
      {"another file appended", file().raw(file().bytes())},
      {"ID3v1 appended", file().riffSize(44).raw(chars("TAGtitle") + Bytes(120))},
      {"DLS wave", file().form("LIST", "wave")},
      {"SDSS", file().form("SDSS", "WAVE")},
  };
  for (const auto& c : cases) {
    const auto opened = open(c.builder);
    ASSERT_TRUE(opened->wave()) << c.what << ": " << toUtf8(opened->error);
    EXPECT_THAT(samplesOf(*opened->wave()), ElementsAre(0.0f, 0.5f, -1.0f, 32767 / 32768.0f)) << c.what;
    EXPECT_EQ(opened->wave()->sampleRate, 8000) << c.what;
  }
}

TEST(WavReader, saysWhatIsWrong) {
  const auto withFormat = [](const Fmt& format) { return WavBuilder().fmt(format).data(Bytes(64)); };
  const Bytes strange = words<uint16_t>({22, 16}) + u32({3, 1, 0x00100000, 0xAA000080, 0x719B3900});
  const struct {
    const char* what;
    Bytes file;
    TextView message;
  } cases[] = {
      {"empty", {}, u"Not a RIFF-WAVE file"},
      {"other form", WavBuilder().form("RIFF", "AVI ").bytes(), u"Not a RIFF-WAVE file"},
      {"no data", WavBuilder().fmt({}).bytes(), u"No wave data found!"},
      {"no format", WavBuilder().data(fourFrames).bytes(), u"No wave data found!"},
      {"no frames", WavBuilder().fmt({}).data({}).bytes(), u"Zero length"},
      {"format cut off", WavBuilder().chunkSaying("fmt ", 16, u8({1, 0})).bytes(), u"Reading from file failed"},
      {"unknown tag", withFormat({.tag = 0x7777}).bytes(), u"Unsupported compression type"},
      {"no channels", withFormat({.channels = 0}).bytes(), u"No channels"},
      {"65535 channels", withFormat({.channels = 65535, .blockAlign = 2}).bytes(), u"Zero length"},
      {"coded channels", withFormat({.tag = 64, .channels = 3, .bits = 4}).bytes(), u"Too many channels"},
      {"no rate", withFormat({.rate = 0}).bytes(), u"Invalid sample rate"},
      {"float 16", withFormat({.tag = 3}).bytes(), u"Unsupported bits/sample for IEEE floating point samples"},
      {"MS 3 bits", withFormat({.tag = 2, .bits = 3}).bytes(), u"Unsupported or invalid MS ADPCM file"},
      {"IMA no block", withFormat({.tag = 17, .bits = 4, .blockAlign = 0}).bytes(),
       u"Unsupported or invalid IMA ADPCM file"},
      {"OKI stereo", withFormat({.tag = 23, .channels = 2, .bits = 4}).bytes(),
       u"Can only handle mono Dialogic ADPCM format"},
      {"Yamaha 3", withFormat({.tag = 32, .channels = 3, .bits = 4}).bytes(), u"> 2ch Yamaha ADPCM not supported"},
      {"Rockwell 5", withFormat({.tag = 768, .bits = 5}).bytes(), u"Unsupported or invalid Rockwell ADPCM file"},
      {"G.726 6", withFormat({.tag = 64, .bits = 6}).bytes(),
       u"Invalid no bits/sample for CCITT G.721/.723/.726 ADPCM encoding"},
      {"GSM stereo", withFormat({.tag = 49, .channels = 2}).bytes(), u"Can only handle (the standard!) mono GSM"},
      {"MPEG modes", withFormat({.tag = 80, .extra = words<uint16_t>({22, 2, 0, 1, 9})}).bytes(),
       u"Can't handle mixed channel mode MPEG streams"},
      {"MPEG", withFormat({.tag = 85, .extra = Bytes(14)}).bytes(), u"The MPEG audio decoder is not available yet"},
      {"GUID", withFormat({.tag = 65534, .extra = strange}).bytes(), u"Unsupported 'Extensible' subformat GUID"},
  };
  for (const auto& c : cases) {
    const auto opened = open(c.file);
    EXPECT_EQ(opened->wave(), nullptr) << c.what;
    EXPECT_EQ(toUtf8(opened->error), toUtf8(c.message)) << c.what;
  }
}

TEST(WavReader, readsSamplesOfAnyWidth) {
  const auto extensible = [](uint16_t valid, uint16_t tag) {
    return words<uint16_t>({22, valid}) + u32({3, tag, 0x00100000, 0xAA000080, 0x719B3800});
  };
  const struct {
    const char* what;
    Fmt format;
    Bytes data;
    std::vector<float> expected;
    SampleFormat stored;
    int bits;
  } cases[] = {
      {"5 bits", {.bits = 5}, u8({128, 0, 248}), {0, -1, 0.9375f}, SampleFormat::pcm8, 5},
      {"12 bits", {.bits = 12}, i16({-32768, 0x4000}), {-1, 0.5f}, SampleFormat::pcm16, 12},
      {"20 bits", {.bits = 20}, u8({0, 0, 0x40, 0, 0, 0x80}), {0.5f, -1}, SampleFormat::pcm24, 20},
      {"24 bits in 4 bytes",
       {.bits = 24, .blockAlign = 4},
       u32({0x40000000, 0x80000000}),
       {0.5f, -1},
       SampleFormat::pcm24,
       24},
      {"53 bits",
       {.bits = 53},
       u8({0, 0, 0, 0, 0, 0, 0x40, 0, 0, 0, 0, 0, 0, 0x80}),
       {0.5f, -1},
       SampleFormat::pcm32,
       53},
      {"64 bits", {.bits = 64}, u8({0, 0, 0, 0, 0, 0, 0, 0x40}), {0.5f}, SampleFormat::pcm32, 64},
      {"extensible 24 in 32",
       {.tag = 65534, .bits = 32, .extra = extensible(24, 1)},
       u32({0xC0000000}),
       {-0.5f},
       SampleFormat::pcm24,
       24},
      {"extensible float",
       {.tag = 65534, .bits = 32, .extra = extensible(32, 3)},
       u32({0x3F000000}),
       {0.5f},
       SampleFormat::float32,
       32},
      {"float 64", {.tag = 3, .bits = 64}, u32({0, 0x3FE00000}), {0.5f}, SampleFormat::float64, 64},
      {"mu-law", {.tag = 7, .bits = 8}, u8({0, 0x80}), {-32124 / 32768.0f, 32124 / 32768.0f}, SampleFormat::muLaw, 8},
      {"A-law", {.tag = 370, .bits = 8}, u8({0x55, 0xD5}), {-8 / 32768.0f, 8 / 32768.0f}, SampleFormat::aLaw, 8},
  };
  for (const auto& c : cases) {
    const auto opened = open(WavBuilder().fmt(c.format).data(c.data));
    ASSERT_TRUE(opened->wave()) << c.what << ": " << toUtf8(opened->error);
    EXPECT_THAT(samplesOf(*opened->wave()), Pointwise(FloatEq(), c.expected)) << c.what;
    EXPECT_EQ(formatOf(opened->wave()->storedFormat), c.stored) << c.what;
    EXPECT_EQ(opened->wave()->storedBits, c.bits) << c.what;
  }
}

TEST(WavReader, takesTheFrameCountOfFactWhereTheDataHoldsIt) {
  const auto framesOf = [](const Fmt& format, uint32_t fact, std::size_t dataBytes) {
    WavBuilder builder;
    builder.fmt(format).chunk("fact", u32({fact})).data(Bytes(dataBytes));
    const auto opened = open(builder);
    return opened->wave() ? opened->wave()->frames() : -1;
  };
  EXPECT_EQ(framesOf({}, 3, 8), 3);
  EXPECT_EQ(framesOf({.tag = 49, .bits = 0, .blockAlign = 65}, 200, 65), 200);
  EXPECT_EQ(framesOf({.tag = 49, .bits = 0, .blockAlign = 65}, 0xFFFFFFFF, 65), 320);
  // A block of 256 bytes holds 505 frames; the 4 bytes behind it the first sample of another.
  EXPECT_EQ(framesOf({.tag = 17, .bits = 4, .blockAlign = 256}, 4000000000, 260), 506);
}

TEST(WavReader, readsLargeSizesOfRf64) {
  const auto ds64 = u32({0, 0, 8, 0, 4, 0, 0});
  const auto opened = open(WavBuilder()
                               .form("RF64", "WAVE")
                               .riffSize(0xFFFFFFFF)
                               .chunk("ds64", ds64)
                               .fmt({})
                               .chunkSaying("data", 0xFFFFFFFF, fourFrames)
                               .chunk("smpl", smplLoop));
  ASSERT_TRUE(opened->wave()) << toUtf8(opened->error);
  EXPECT_EQ(opened->wave()->frames(), 4);
  EXPECT_EQ(opened->wave()->rootKey, 64) << "the chunk behind the samples";
}

// A file of some bytes, a hole of zeros and some more bytes.
class SparseSource final : public ByteSource {
 public:
  SparseSource(Bytes head, uint64_t hole, Bytes tail)
      : head_(std::move(head)), tail_(std::move(tail)), tailAt_(head_.size() + hole) {}
  uint64_t size() const override { return tailAt_ + tail_.size(); }
  std::size_t readAt(uint64_t offset, std::span<std::byte> out) const noexcept override {
    const auto count = offset < size() ? static_cast<std::size_t>(std::min<uint64_t>(out.size(), size() - offset)) : 0;
    for (std::size_t i = 0; i < count; ++i) {
      const uint64_t at = offset + i;
      out[i] = at < head_.size() ? head_[at] : at < tailAt_ ? std::byte{0} : tail_[at - tailAt_];
    }
    return count;
  }

 private:
  Bytes head_, tail_;
  uint64_t tailAt_;
};

TEST(WavReader, readsBeyond32Bits) {
  constexpr uint64_t hole = uint64_t{5} << 30, dataBytes = hole + 2;
  const auto head = WavBuilder()
                        .form("RF64", "WAVE")
                        .riffSize(0xFFFFFFFF)
                        .chunk("ds64", words<uint64_t>({dataBytes + 200, dataBytes, dataBytes / 2}) + u32({0}))
                        .fmt({})
                        .chunkSaying("data", 0xFFFFFFFF, {})
                        .bytes();
  const Bytes tail = i16({16384}) + chars("smpl") + u32({60}) + smplLoop;
  const auto opened = open(std::make_shared<SparseSource>(head, hole, tail));
  ASSERT_TRUE(opened->wave()) << toUtf8(opened->error);
  const auto& wave = *opened->wave();
  EXPECT_EQ(wave.frames(), static_cast<int64_t>(dataBytes / 2));
  EXPECT_EQ(wave.rootKey, 64);
  std::vector<float> last(4);
  const auto stream = wave.samples->open(wave.frames() - 2);
  ASSERT_TRUE(stream);
  EXPECT_EQ(stream->read(last), 2u);
  EXPECT_EQ(last[0], 0.0f);
  EXPECT_EQ(last[1], 0.5f);
}

TEST(WavReader, readsKeyTuningAndLoops) {
  const auto body = u32({1, 2,   125000, 64,  0x80000000, 0,   0, 5, 0,  // half a semitone
                         5, 0,   100,    199, 0x40000000, 0,             //
                         6, 1,   10,     19,  0,          4,             //
                         7, 255, 0,      9,   0,          0,             //
                         8, 2,   10,     19,  0,          300,           //
                         9, 0,   20,     10,  0,          0});
  const auto opened = open(WavBuilder().fmt({}).data(Bytes(600)).chunk("smpl", body).chunk("smpl", smplLoop));
  ASSERT_TRUE(opened->wave());
  const auto& wave = *opened->wave();
  EXPECT_EQ(wave.rootKey, 64);
  EXPECT_EQ(wave.fineTune, -50);
  ASSERT_EQ(wave.markers.size(), 4u) << "of the first smpl chunk only, and none that ends before it begins";
  EXPECT_EQ(wave.markers[0].start, 100);
  EXPECT_EQ(wave.markers[0].end, 200.25);
  EXPECT_EQ(wave.markers[0].loopType, LoopType::forward);
  EXPECT_EQ(wave.markers[1].loopType, LoopType::alternating);
  EXPECT_EQ(wave.markers[1].loopCount, 4);
  EXPECT_EQ(wave.markers[2].loopType, LoopType::off);
  EXPECT_EQ(wave.markers[3].loopType, LoopType::reverse);
  EXPECT_EQ(wave.markers[3].loopCount, 254) << "more would mean something else";
  EXPECT_EQ(opened->report.entries().size(), 2u) << "the second smpl and the last loop";
}

TEST(WavReader, readsTheNoteHoweverItStands) {
  const struct {
    const char* what;
    WavBuilder builder;
    int key;
    float cents;
    float gain;
  } cases[] = {
      {"big-endian note", WavBuilder().chunk("smpl", u32({0, 0, 0, 0x3D000000, 0, 0, 0, 0, 0})), 61, 0, 0},
      {"no note", WavBuilder().chunk("smpl", u32({0, 0, 0, 200, 0, 0, 0, 0, 0})), 60, 0, 0},
      {"inst", WavBuilder().chunk("inst", u8({62, 0xF0, 0xFD, 0, 127, 0, 127})), 62, -16, -3},
      {"inst behind smpl", WavBuilder().chunk("smpl", smplLoop).chunk("inst", u8({62, 5, 6, 0, 127, 0, 127})), 64, 0,
       6},
      {"inst out of range", WavBuilder().chunk("inst", u8({62, 0x80, 0x7F, 0, 127, 0, 127})), 62, -100, 96},
      {"wsmp", WavBuilder().chunk("wsmp", u32({20, 0xFFF60030}) + u32({static_cast<uint32_t>(-655360 * 6), 0, 0})), 48,
       -10, -6},
  };
  for (auto c : cases) {
    const auto opened = open(c.builder.fmt({}).data(fourFrames));
    ASSERT_TRUE(opened->wave()) << c.what;
    EXPECT_EQ(opened->wave()->rootKey, c.key) << c.what;
    EXPECT_EQ(opened->wave()->fineTune, c.cents) << c.what;
    EXPECT_EQ(opened->wave()->gain, c.gain) << c.what;
  }
}

TEST(WavReader, takesTheLoopEndOfOneWriterAsExclusive) {
  const auto body = u32({0, 0, 0, 60, 0, 0, 0, 1, 28, 0, 0, 100, 199, 0, 0}) + chars("CWDT") + Bytes(24);
  const auto opened = open(WavBuilder().fmt({}).data(Bytes(600)).chunk("smpl", body));
  EXPECT_EQ(opened->wave()->markers.at(0).end, 199);
}

std::string markersText(const Waveform& wave) {
  std::string text;
  for (const auto& marker : wave.markers) {
    text += std::string(marker.type == MarkerType::loop      ? "loop"
                        : marker.type == MarkerType::section ? "section"
                                                             : "at") +
            " " + std::to_string(static_cast<int>(marker.start)) + "-" + std::to_string(static_cast<int>(marker.end)) +
            " " + toUtf8(marker.name) + ";";
  }
  return text;
}

TEST(WavReader, makesMarkersOfCuePoints) {
  const auto adtl = [](const Bytes& labels) { return chars("adtl") + labels; };
  const struct {
    const char* what;
    WavBuilder builder;
    std::string expected;
  } cases[] = {
      {"labels before the points",
       WavBuilder().chunk("LIST", adtl(labl(1, "intro") + ltxt(2, 30))).chunk("cue ", cue({{1, 5}, {2, 10}})),
       "at 5-6 intro;section 10-40 ;"},
      {"larger of both positions", WavBuilder().chunk("cue ", u32({1, 1, 70}) + chars("data") + u32({0, 0, 50})),
       "at 70-71 ;"},
      {"points of a wave list", WavBuilder().chunk("cue ", cue({{1, 5}}, "slnt")), ""},
      {"point of a loop names it",
       WavBuilder().chunk("smpl", smplLoop).chunk("cue ", cue({{7, 1}})).chunk("LIST", adtl(labl(7, "sustain"))),
       "loop 1-3 sustain;"},
      {"loop range",
       WavBuilder().chunk("cue ", cue({{1, 10}})).chunk("LIST", adtl(labl(1, "Loop Range") + ltxt(1, 20))),
       "loop 10-30 ;"},
      {"loop range beside smpl",
       WavBuilder()
           .chunk("smpl", smplLoop)
           .chunk("cue ", cue({{1, 10}}))
           .chunk("LIST", adtl(labl(1, "Loop Range") + ltxt(1, 20))),
       "loop 1-3 ;section 10-30 Loop Range;"},
      {"loop ends",
       WavBuilder()
           .chunk("cue ", cue({{1, 900}, {2, 500}}))
           .chunk("LIST", adtl(labl(1, "Loop End") + labl(2, "Loop Start"))),
       "loop 500-900 ;"},
      {"loop ends crossed",
       WavBuilder()
           .chunk("cue ", cue({{1, 1000}, {2, 500}}))
           .chunk("LIST", adtl(labl(1, "Loop Start") + labl(2, "Loop End"))),
       "at 1000-1001 Loop Start;at 500-501 Loop End;"},
      {"count that lies", WavBuilder().chunk("cue ", u32({0xFFFFFFFF, 1, 5}) + chars("data") + u32({0, 0, 5})),
       "at 5-6 ;"},
      {"name in a code page", WavBuilder().chunk("cue ", cue({{1, 5}})).chunk("LIST", adtl(labl(1, "B\xFChne"))),
       "at 5-6 B\xC3\xBChne;"},
  };
  for (auto c : cases) {
    const auto opened = open(c.builder.fmt({}).data(fourFrames));
    ASSERT_TRUE(opened->wave()) << c.what;
    EXPECT_EQ(markersText(*opened->wave()), c.expected) << c.what;
  }
}

TEST(WavReader, takesALoopOfDlsThatEndsWithTheKey) {
  const auto body = u32({20, 60}) + u32({0, 0, 2, 16, 0, 100, 50, 16, 1, 200, 10});
  const auto opened = open(WavBuilder().fmt({}).data(fourFrames).chunk("wsmp", body));
  ASSERT_EQ(opened->wave()->markers.size(), 2u);
  EXPECT_EQ(markersText(*opened->wave()), "loop 100-150 ;loop 200-210 ;");
  EXPECT_EQ(opened->wave()->markers[0].loopCount, loopForever);
  EXPECT_EQ(opened->wave()->markers[1].loopCount, loopUntilRelease);
}

TEST(WavReader, reducesManyChannelsToTwoAndSaysSo) {
  // 5.1: front left and right, centre, low frequencies, back left and right.
  const auto extra = words<uint16_t>({22, 16}) + u32({0x3F, 1, 0x00100000, 0xAA000080, 0x719B3800});
  const auto opened = open(WavBuilder()
                               .fmt({.tag = 65534, .channels = 6, .extra = extra})
                               .data(i16({16384, 0, 0, 0, 0, 0, 0, 16384, 0, 0, 0, 0})));
  ASSERT_TRUE(opened->wave()) << toUtf8(opened->error);
  const auto samples = samplesOf(*opened->wave());
  ASSERT_EQ(samples.size(), 4u);
  EXPECT_GT(samples[0], 0);
  EXPECT_EQ(samples[1], 0);
  EXPECT_EQ(samples[0], samples[3]);
  EXPECT_TRUE(opened->report.lostSomething());
}

TEST(WavReader, reportsAFloodOfBrokenChunksBriefly) {
  auto file = WavBuilder().fmt({}).data(fourFrames).bytes();
  for (std::size_t i = 0; i < ConversionReport::most + 10; ++i) {
    const Bytes chunk = chars("data") + u32({0});
    file.insert(file.end(), chunk.begin(), chunk.end());
  }
  const auto opened = open(std::move(file));
  ASSERT_TRUE(opened->wave());
  EXPECT_EQ(opened->report.entries().size(), ConversionReport::most + 1);
}

TEST(WavReader, scoresFiles) {
  const auto plain = WavBuilder().fmt({}).data(fourFrames).bytes();
  const auto broadcast =
      WavBuilder().chunk("JUNK", Bytes(3)).chunk("bext", Bytes(602)).fmt({}).data(fourFrames).bytes();
  const auto late = WavBuilder().fmt({}).data(fourFrames).chunk("bext", Bytes(602)).bytes();
  const auto giga = WavBuilder().fmt({.tag = 768}).data(fourFrames).bytes();
  const auto other = WavBuilder().form("RIFF", "AVI ").bytes();
  const auto scores = [](const Bytes& file) {
    return std::vector{detectWav(file, 0, file.size()), detectBroadcastWav(file, 0, file.size()),
                       detectCompressedGigaWav(file, 0, file.size())};
  };
  EXPECT_THAT(scores(plain), ElementsAre(6, 2, 0));
  EXPECT_THAT(scores(broadcast), ElementsAre(6, 6, 0));
  EXPECT_THAT(scores(late), ElementsAre(6, 2, 0));
  EXPECT_THAT(scores(giga), ElementsAre(6, 2, 6));
  EXPECT_THAT(scores(other), ElementsAre(0, 0, 0));
  EXPECT_THAT(scores(Bytes(plain.begin(), plain.begin() + 11)), ElementsAre(0, 0, 0));
}

}  // namespace
}  // namespace tervo
