// Files as other programs leave them: chunks in any order, sizes and counts that are wrong.
#include <gmock/gmock.h>

#include "formats/wave/w64_chunks.h"
#include "formats/wave/w64_reader.h"
#include "tests/formats/wave/wav_builder.h"

namespace tervo {
namespace {

using namespace test;
using testing::ElementsAre;

const Bytes fourFrames = i16({0, 16384, -32768, 32767});

// Key 64 and a loop over the last two frames; a marker with a name; a title.
Bytes smplChunk() {
  return subChunk("smpl", u32({0, 0, 0, 64, 0, 0, 0, 1, 0, 7, 0, 2, 3, 0, 0}));
}
Bytes cueChunk() {
  return subChunk("cue ", cue({{1, 1}}));
}
Bytes adtlChunk() {
  return subChunk("LIST", chars("adtl") + labl(1, "one"));
}
Bytes infoChunk(std::string_view title = "Tone") {
  return subChunk("LIST", chars("INFO") + subChunk("INAM", chars(title) + u8({0})));
}

TEST(WavInTheWild, findsMetadataWhereverItStands) {
  const Bytes metadata = smplChunk() + cueChunk() + adtlChunk() + infoChunk();
  const Bytes backwards = infoChunk() + adtlChunk() + cueChunk() + smplChunk();
  const Bytes padless = chars("labl") + u32({7, 1}) + chars("on") + u8({0});
  const auto plain = [] { return WavBuilder().fmt({}).data(fourFrames); };
  const struct {
    const char* what;
    WavBuilder builder;
    const char* label = "one";
  } cases[] = {
      {"before the format", WavBuilder().raw(metadata).fmt({}).data(fourFrames)},
      {"before the format, backwards", WavBuilder().raw(backwards).fmt({}).data(fourFrames)},
      {"before the samples", WavBuilder().fmt({}).raw(backwards).data(fourFrames)},
      {"behind the samples", plain().raw(metadata)},
      {"on both sides",
       WavBuilder().raw(cueChunk()).fmt({}).raw(infoChunk()).data(fourFrames).raw(adtlChunk() + smplChunk())},
      {"behind the end of the form", plain().raw(metadata).riffSize(44)},
      {"size of the form 0", plain().raw(metadata).riffSize(0)},
      {"size of the form from a pipe", plain().raw(metadata).riffSize(0xFFFFFFFF)},
      {"odd samples without a pad byte",
       WavBuilder().fmt({}).chunkSaying("data", 9, fourFrames + u8({77})).raw(metadata)},
      {"odd chunk without a pad byte", plain().chunkSaying("note", 3, chars("abc")).raw(metadata)},
      {"odd chunk with a pad byte of its own", plain().chunkSaying("note", 3, chars("abc\x80")).raw(metadata)},
      {"labels without a pad byte",
       plain().raw(smplChunk() + cueChunk() + infoChunk() + subChunk("LIST", chars("adtl") + padless + labl(9, "no"))),
       "on"},
      {"second sampler, the first too short",
       plain().chunk("smpl", u32({0, 0, 0, 1})).raw(metadata).chunk("smpl", u32({0, 0, 0, 9, 0, 0, 0, 0, 0}))},
      {"second format and samples", plain().raw(metadata).fmt({.tag = 0x7777}).data(Bytes(64))},
  };
  for (const auto& c : cases) {
    const auto opened = open(c.builder);
    ASSERT_TRUE(opened->wave()) << c.what << ": " << toUtf8(opened->error);
    const auto& wave = *opened->wave();
    EXPECT_THAT(samplesOf(wave), ElementsAre(0.0f, 0.5f, -1.0f, 32767 / 32768.0f)) << c.what;
    EXPECT_EQ(wave.rootKey, 64) << c.what;
    EXPECT_EQ(wave.tags[Tag::name], u"Tone") << c.what;
    ASSERT_EQ(wave.markers.size(), 2u) << c.what;
    EXPECT_EQ(wave.markers[0].start, 2) << c.what;
    EXPECT_EQ(wave.markers[0].end, 4) << c.what;
    EXPECT_EQ(wave.markers[1].start, 1) << c.what;
    EXPECT_EQ(toUtf8(wave.markers[1].name), c.label) << c.what;
  }
}

TEST(WavInTheWild, readsTagsInUtf8OrTheCodePageOfWindows) {
  const struct {
    std::string_view bytes;
    TextView text;
  } cases[] = {
      {"Bühne", u"B\u00fchne"},
      {"B\xFChne \x80 5", u"B\u00fchne \u20ac 5"},
      {std::string_view("two\0three", 9), u"two"},
      {"", u""},
  };
  for (const auto& c : cases) {
    const auto opened = open(WavBuilder().fmt({}).data(fourFrames).raw(infoChunk(c.bytes)));
    EXPECT_EQ(opened->wave()->tags[Tag::name], c.text) << c.bytes;
  }
}

TEST(WavInTheWild, reportsSamplesThatAStatedCountLeavesOut) {
  const auto lossOf = [](uint32_t fact) {
    return open(WavBuilder().fmt({}).chunk("fact", u32({fact})).data(fourFrames))->report.lostSomething();
  };
  EXPECT_TRUE(lossOf(3));
  EXPECT_FALSE(lossOf(4));
  EXPECT_FALSE(lossOf(400));
}

TEST(WavInTheWild, reportsAChunkThatIsTooLongToBeLoaded) {
  const auto opened = open(WavBuilder().fmt({}).chunk("cue ", Bytes((16u << 20) + 2)).data(fourFrames));
  ASSERT_TRUE(opened);
  EXPECT_TRUE(opened->report.lostSomething());
}

// Whether the block or the bits are right shows in the bytes per second.
TEST(WavInTheWild, settlesWhatABlockHolds) {
  const auto framesOf = [](uint16_t bits, uint16_t blockAlign, uint32_t bytesPerSecond) {
    const Bytes fmt = words<uint16_t>({1, 1}) + u32({8000, bytesPerSecond}) + words<uint16_t>({blockAlign, bits});
    const auto opened = open(WavBuilder().chunk("fmt ", fmt).data(Bytes(24)));
    return opened->wave() ? opened->wave()->frames() : -1;
  };
  EXPECT_EQ(framesOf(24, 4, 32000), 6);
  EXPECT_EQ(framesOf(24, 4, 0), 6);
  EXPECT_EQ(framesOf(16, 4, 16000), 12);
  EXPECT_EQ(framesOf(16, 1, 8000), 12);
  EXPECT_EQ(framesOf(16, 0, 0), 12);
}

TEST(WavInTheWild, wave64SamplesOfUnknownSizeReachToTheEnd) {
  const auto chunk = [](FourCC id, uint64_t size, const Bytes& body) {
    const auto guid = guidOf(id);
    const auto bytes = std::as_bytes(std::span(guid));
    return Bytes(bytes.begin(), bytes.end()) + words<uint64_t>({size}) + body;
  };
  for (const uint64_t size : {uint64_t{0}, uint64_t{24} - 1, ~uint64_t{0}, ~uint64_t{0} >> 1}) {
    auto file = chunk("fmt ", 40, Fmt{}.body()) + chunk("data", size, fourFrames);
    const auto riff = std::as_bytes(std::span(w64Riff)), wave = std::as_bytes(std::span(w64Wave));
    file = Bytes(riff.begin(), riff.end()) + words<uint64_t>({0}) + Bytes(wave.begin(), wave.end()) + file;
    const auto opened = open(file, readW64);
    ASSERT_TRUE(opened->wave()) << size << ": " << toUtf8(opened->error);
    EXPECT_EQ(opened->wave()->frames(), 4) << size;
  }
}

// Asked for by name, a width means what everybody can open; unasked, nothing of the source is touched.
TEST(WavInTheWild, writesTheUsualWidthWhereOneIsAskedFor) {
  const auto opened = open(WavBuilder().fmt({.bits = 53}).data(u8({9, 0, 0, 0, 0, 0, 0x40})));
  const auto asked = save(*opened->wave(), SampleCoding::pcm32);
  EXPECT_EQ(chunkOf(asked.bytes, "fmt "), Fmt{.bits = 32}.body());
  EXPECT_EQ(chunkOf(asked.bytes, "data"), u32({0x40000000}));
  EXPECT_TRUE(asked.report.lostSomething());
  const auto unasked = save(*opened->wave());
  EXPECT_EQ(chunkOf(unasked.bytes, "fmt "), Fmt{.bits = 53}.body());
  EXPECT_EQ(chunkOf(unasked.bytes, "data"), u8({9, 0, 0, 0, 0, 0, 0x40}));

  const auto wide = open(WavBuilder().fmt({.bits = 24, .blockAlign = 4}).data(u32({0x12345600})));
  EXPECT_EQ(chunkOf(save(*wide->wave(), SampleCoding::pcm24).bytes, "data").size(), 3u);
}

}  // namespace
}  // namespace tervo
