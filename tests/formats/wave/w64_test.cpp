#include <gmock/gmock.h>

#include "formats/wave/w64_chunks.h"
#include "formats/wave/w64_reader.h"
#include "formats/wave/w64_writer.h"
#include "tests/formats/wave/wav_builder.h"

namespace tervo {
namespace {

using namespace test;
using testing::ElementsAre;

constexpr FormatIndex w64Row = 490;

Bytes guid(const Guid& value) {
  const auto bytes = std::as_bytes(std::span(value));
  return {bytes.begin(), bytes.end()};
}
Bytes chunkSaying(FourCC id, uint64_t size, const Bytes& body) {
  const Bytes chunk = guid(guidOf(id)) + words<uint64_t>({size}) + body;
  return chunk + Bytes((8 - chunk.size() % 8) % 8);
}
Bytes chunk(FourCC id, const Bytes& body) {
  return chunkSaying(id, body.size() + 24, body);
}
Bytes file(const Bytes& chunks) {
  return guid(w64Riff) + words<uint64_t>({chunks.size() + 40}) + guid(w64Wave) + chunks;
}

const Bytes fourFrames = i16({0, 16384, -32768, 32767});

TEST(W64, readsChunksWhereverTheyStand) {
  const Bytes marker = u32({3, 0}) + words<uint64_t>({500, 20}) + u32({8, 0}) + i16({'a', 'b', 'c', 0});
  const Bytes markers = u32({2}) + marker + u32({0, 0}) + words<uint64_t>({7, ~uint64_t{0}}) + u32({0, 0});
  const Bytes summary = u32({2}) + chars("INAM") + u32({4}) + i16({'h', 'i'}) + chars("ICRD") + u32({2}) + i16({'9'});
  const auto opened =
      open(file(chunk("levl", Bytes(3)) + chunk("fmt ", Fmt{}.body()) + chunk("data", fourFrames + Bytes(1)) +
                chunk(w64Markers, markers) + chunk(w64Summary, summary)),
           readW64);
  ASSERT_TRUE(opened->wave()) << toUtf8(opened->error);
  const auto& wave = *opened->wave();
  EXPECT_THAT(samplesOf(wave), ElementsAre(0.0f, 0.5f, -1.0f, 32767 / 32768.0f));
  ASSERT_EQ(wave.markers.size(), 2u);
  EXPECT_EQ(wave.markers[0].type, MarkerType::section);
  EXPECT_EQ(wave.markers[0].name, u"abc");
  EXPECT_EQ(wave.markers[0].start, 500);
  EXPECT_EQ(wave.markers[0].end, 520);
  EXPECT_EQ(wave.markers[1].type, MarkerType::position);
  EXPECT_EQ(wave.tags[Tag::name], u"hi");
}

TEST(W64, makesLoopsOfMarkersThatAreNamedSo) {
  const auto marker = [](uint64_t position, uint64_t length, std::string_view name) {
    Bytes text;
    for (const char c : name) text = text + u8({static_cast<uint8_t>(c), 0});
    return u32({1, 0}) + words<uint64_t>({position, length}) + u32({static_cast<uint32_t>(text.size()), 0}) + text;
  };
  const Bytes markers = u32({3}) + marker(70, 30, "Loop Range") + marker(9, ~uint64_t{0}, "Loop End") +
                        marker(5, ~uint64_t{0}, "Loop Start");
  const auto opened =
      open(file(chunk("fmt ", Fmt{}.body()) + chunk("data", fourFrames) + chunk(w64Markers, markers)), readW64);
  ASSERT_TRUE(opened->wave()) << toUtf8(opened->error);
  ASSERT_EQ(opened->wave()->markers.size(), 2u);
  for (const auto& loop : opened->wave()->markers) EXPECT_EQ(loop.type, MarkerType::loop);
  EXPECT_EQ(opened->wave()->markers[0].end, 100);
  EXPECT_EQ(opened->wave()->markers[1].start, 5);
  EXPECT_EQ(opened->wave()->markers[1].end, 9);
}

TEST(W64, saysWhatIsWrong) {
  const Bytes fmt = chunk("fmt ", Fmt{}.body());
  const struct {
    const char* what;
    Bytes bytes;
    TextView message;
  } cases[] = {
      {"empty", {}, u"Not a RIFF-WAVE file"},
      {"RIFF", WavBuilder().fmt({}).data(fourFrames).bytes(), u"Not a RIFF-WAVE file"},
      {"no samples", file(fmt), u"No wave data found!"},
      {"chunk without a size", file(chunkSaying("fact", 0, Bytes(8)) + fmt + chunk("data", fourFrames)),
       u"No wave data found!"},
      {"65535 channels",
       file(chunk("fmt ", Fmt{.channels = 65535, .blockAlign = 2}.body()) + chunk("data", fourFrames)),
       u"Multi-channel is not support!"},
      {"format that never ends", file(chunkSaying("fmt ", ~uint64_t{0}, Fmt{}.body())), u"Reading from file failed"},
  };
  for (const auto& c : cases) {
    const auto opened = open(c.bytes, readW64);
    EXPECT_EQ(opened->wave(), nullptr) << c.what;
    EXPECT_EQ(toUtf8(opened->error), toUtf8(c.message)) << c.what;
  }
}

TEST(W64, takesWhatIsThereOfSamplesThatAreCutOff) {
  const auto opened =
      open(file(chunk("fmt ", Fmt{}.body()) + chunkSaying("data", ~uint64_t{0} - 7, fourFrames)), readW64);
  ASSERT_TRUE(opened->wave()) << toUtf8(opened->error);
  EXPECT_EQ(opened->wave()->frames(), 4);
}

// Names that a WAV file cannot hold would hide all that follows from its readers.
TEST(W64, leavesOutNamesThatAreNotCharacters) {
  const Bytes summary = u32({2, 0xFF414243}) + u32({2}) + i16({'x'}) + chars("ICRD") + u32({2}) + i16({'9'});
  const auto opened = open(file(chunk("fmt ", Fmt{}.body()) +
                                chunk("\xEE"
                                      "act",
                                      Bytes(8)) +
                                chunk(w64Summary, summary) + chunk("data", fourFrames)),
                           readW64);
  ASSERT_TRUE(opened->wave()) << toUtf8(opened->error);
  EXPECT_TRUE(opened->report.lostSomething());
  const auto wav = save(*opened->wave()).bytes;
  EXPECT_EQ(chunkOf(wav, "data"), fourFrames);
  ASSERT_TRUE(open(wav)->wave());
  const auto list = chunkOf(wav, "LIST");
  EXPECT_EQ(Bytes(list.begin() + 4, list.begin() + 8), chars("ICRD"));
}

TEST(W64, carriesEverythingOfAWavFileBothWays) {
  const auto smpl = u32({7, 8, 125000, 59, 0x40000000, 0, 0, 1, 0, 3, 0, 1, 2, 0x80000000, 5});
  const auto info = chars("INFOIART") + u32({4}) + chars("Bo") + u8({0, 0}) + chars("ICRD") + u32({4}) + chars("1999");
  const auto cue = u32({1, 9, 1}) + chars("data") + u32({0, 0, 1});
  const auto wav = open(WavBuilder()
                            .fmt({})
                            .chunk("bext", Bytes(602))
                            .data(fourFrames)
                            .chunk("smpl", smpl)
                            .chunk("LIST", info)
                            .chunk("cue ", cue));
  const auto w64 = open(save(*wav->wave(), {}, writeW64, w64Row).bytes, readW64);
  ASSERT_TRUE(w64->wave()) << toUtf8(w64->error);
  EXPECT_FALSE(w64->report.lostSomething());
  const auto back = save(*w64->wave());
  EXPECT_EQ(chunkOf(back.bytes, "data"), fourFrames);
  EXPECT_EQ(chunkOf(back.bytes, "smpl"), smpl);
  EXPECT_EQ(chunkOf(back.bytes, "bext"), Bytes(602));
  EXPECT_EQ(chunkOf(back.bytes, "cue "), cue);
  const Bytes list = chunkOf(back.bytes, "LIST");
  EXPECT_THAT(std::string(reinterpret_cast<const char*>(list.data()), list.size()), testing::HasSubstr("1999"));
  EXPECT_EQ(open(back.bytes)->wave()->tags[Tag::artist], u"Bo");
}

}  // namespace
}  // namespace tervo
