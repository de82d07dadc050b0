#include <gmock/gmock.h>

#include "tests/formats/wave/aiff_builder.h"

namespace tervo {
namespace {

using namespace test;
using testing::Contains;
using testing::ElementsAreArray;

constexpr TextView releaseLoop = u"Release Loop";

std::unique_ptr<Waveform> tone(int64_t frames = 4, int channels = 1) {
  auto wave = std::make_unique<Waveform>();
  wave->samples = makeResident(std::vector<float>(static_cast<std::size_t>(frames * channels), 0.5f), channels);
  wave->sampleRate = 8000;
  wave->setStoredFormat(SampleFormat::pcm16, 0);
  return wave;
}
Marker loop(double start, double end, TextView name = {}, LoopType type = LoopType::forward) {
  Marker marker;
  marker.type = MarkerType::loop;
  marker.loopType = type;
  marker.name = name;
  marker.start = start;
  marker.end = end;
  return marker;
}
Marker position(double start, TextView name) {
  Marker marker;
  marker.name = name;
  marker.start = start;
  marker.end = start + 1;
  return marker;
}
std::vector<std::string> reported(const ConversionReport& report) {
  std::vector<std::string> entries;
  for (const auto& entry : report.entries()) entries.push_back(toUtf8(entry.what + u" -> " + entry.to));
  return entries;
}
/// Everything in front of the samples that are `frames` of 16 bits.
Bytes withChunks(uint32_t frames, const Bytes& more) {
  Bytes samples;
  for (uint32_t i = 0; i < frames; ++i) samples = samples + u8({0x40, 0});
  return aiffOf({.frames = frames}, samples, more);
}

TEST(AiffWriter, writesEachWidth) {
  const struct {
    SampleCoding coding;
    Bytes file;
  } cases[] = {
      {SampleCoding::pcm8, aiffOf({.frames = 3, .bits = 8}, u8({64, 64, 64}))},
      {SampleCoding::pcm16, withChunks(3, {})},
      {SampleCoding::pcm24, aiffOf({.frames = 3, .bits = 24}, u8({64, 0, 0, 64, 0, 0, 64, 0, 0}))},
      {SampleCoding::pcm32, aiffOf({.frames = 3, .bits = 32}, big32({0x40000000, 0x40000000, 0x40000000}))},
  };
  for (const auto& c : cases) EXPECT_EQ(saveAiff(*tone(3), c.coding).bytes, c.file) << static_cast<int>(c.coding);
  auto wave = tone(1);
  wave->sampleRate = 44100.5;
  EXPECT_EQ(saveAiff(*wave).bytes,
            aiffOf({.frames = 1, .rate = extended(16398, 0xAC44800000000000)}, bigWords<int16_t>({16384})));
}

TEST(AiffWriter, writesLoopsMarkersAndTuning) {
  auto wave = tone();
  wave->markers = {position(3, u"here"), loop(1, 3)};
  wave->tags[Tag::name] = u"Tone", wave->tags[Tag::comments] = u"odd", wave->tags[Tag::copyright] = u"2001";
  const Bytes texts = aiffChunk("NAME", chars("Tone") + Bytes(1)) + aiffChunk("ANNO", chars("odd") + Bytes(1)) +
                      aiffChunk("(c) ", chars("2001") + Bytes(1));
  const Bytes head = comm({}) + mark({{1, 1, "beg loop"}, {2, 3, "end loop"}, {3, 3, "here"}});
  const Bytes sound = ssnd(bigWords<int16_t>({16384, 16384, 16384, 16384}));
  EXPECT_EQ(saveAiff(*wave).bytes, aiffForm("AIFF", head + inst({1, 1, 2, 1, 1, 2}) + sound + texts));

  // A loop until release does not go on behind it; the release loop has markers of its own.
  wave->tags = {};
  wave->markers = {loop(0, 2, releaseLoop, LoopType::alternating), loop(2.2, 3.7)};
  wave->markers[1].loopCount = loopUntilRelease;
  wave->rootKey = 70, wave->fineTune = -60, wave->gain = 200;
  const Bytes both =
      mark({{1, 2, "sust loop begin"}, {2, 4, "sust loop end"}, {3, 0, "rel loop begin"}, {4, 2, "rel loop end"}}) +
      inst({1, 1, 2, 2, 3, 4}, 71, 40, 144);
  EXPECT_EQ(saveAiff(*wave).bytes, withChunks(4, both));
  wave->markers.erase(wave->markers.begin());
  EXPECT_EQ(aiffChunkOf(saveAiff(*wave).bytes, "INST"),
            aiffChunkOf(aiffForm("AIFF", inst({1, 1, 2, 0, 0, 0}, 71, 40, 144)), "INST"));
  wave->markers.clear();
  EXPECT_EQ(saveAiff(*wave).bytes, withChunks(4, inst({0, 0, 0, 0, 0, 0}, 71, 40, 144)));
}

TEST(AiffWriter, reportsWhatAiffCannotSay) {
  const struct {
    std::string entry;
    void (*change)(Waveform&);
  } cases[] = {
      {"loop: Third -> AIFF has one sustain and one release loop",
       [](Waveform& wave) {
         wave.markers = {loop(0, 1), loop(1, 2, releaseLoop), loop(2, 3, u"Third")};
       }},
      {"loop type -> Forward", [](Waveform& wave) { wave.markers = {loop(0, 2, {}, LoopType::reverse)}; }},
      {"loop start -> 1", [](Waveform& wave) { wave.markers = {loop(1.75, 3)}; }},
      {"loop end -> 3", [](Waveform& wave) { wave.markers = {loop(1, 3.25)}; }},
      {"loop count -> until release",
       [](Waveform& wave) { wave.markers = {loop(0, 2)}, wave.markers[0].loopCount = 3; }},
      {"pitch while the loop plays -> AIFF has no place for it",
       [](Waveform& wave) { wave.markers = {loop(0, 2)}, wave.markers[0].loopPitch = 1; }},
      {"name of a loop: Mine -> AIFF has no place for it",
       [](Waveform& wave) { wave.markers = {loop(0, 2, u"Mine")}; }},
      {"length of a marker: Part -> AIFF has no place for it",
       [](Waveform& wave) {
         wave.markers = {position(1, u"Part")};
         wave.markers[0].type = MarkerType::section;
       }},
      {"marker position -> 2", [](Waveform& wave) { wave.markers = {position(1.5, u"")}; }},
      {"name of a marker -> " + std::string(254, 'a'),
       [](Waveform& wave) { wave.markers = {position(1, Text(254, u'a') + u"\u00e4")}; }},
      {"markers: 3 -> too many for AIFF", [](Waveform& wave) { wave.markers.resize(32770); }},
      {"gain in dB -> -144", [](Waveform& wave) { wave.gain = -200; }},
      {"fine tune in cents -> -3", [](Waveform& wave) { wave.fineTune = -3.25; }},
      {"fine tune in cents -> 50", [](Waveform& wave) { wave.rootKey = 0, wave.fineTune = 80; }},
      {"Engineer -> AIFF has no place for it", [](Waveform& wave) { wave.tags[Tag::engineer] = u"x"; }},
      {"sample format -> PCM 32-bit", [](Waveform& wave) { wave.setStoredFormat(SampleFormat::float32, 0); }},
  };
  EXPECT_FALSE(saveAiff(*tone()).report.lostSomething());
  for (const auto& c : cases) {
    auto wave = tone();
    c.change(*wave);
    const auto saved = saveAiff(*wave);
    EXPECT_TRUE(saved.ok) << c.entry;
    EXPECT_THAT(reported(saved.report), Contains(c.entry));
  }
}

// What is not edited comes out as it went in: chunks that nobody understands, numbers of markers, names of ends of
// loops.
TEST(AiffWriter, keepsWhatAnAiffSourceSays) {
  const Bytes marks = mark({{9, 1, "mine"}, {4, 3, "yours"}, {2, 2, "x"}});
  const Bytes comments = aiffChunk("COMT", big16({1}) + big32({99}) + big16({2, 1}) + chars("c") + Bytes(1));
  const Bytes instrument = aiffChunk("INST", u8({64, 60, 10, 90, 1, 100}) + big16({3, 2, 9, 4, 1, 4, 9}));
  const Bytes id3 =
      aiffChunk("ID3 ", chars("ID3") + u8({3, 0, 0, 0, 0, 0, 12}) + chars("TALB") + u8({0, 0, 0, 2, 0, 0, 0, 'a'}));
  const Bytes sound = ssnd(bigWords<int16_t>({1, 2, 3, 4}));
  const Bytes source = aiffForm("AIFF", comm({}) + marks + instrument + comments + aiffChunk("APPL", chars("odd")) +
                                            sound + id3 + aiffChunk("MIDI", u8({0xF0, 0xF7})));
  const auto opened = openAiff(source);
  ASSERT_TRUE(opened->wave());
  const auto saved = saveAiff(*opened->wave());
  EXPECT_EQ(saved.bytes, source);
  EXPECT_FALSE(saved.report.lostSomething());

  opened->wave()->markers[0].end = 2;
  const auto edited = saveAiff(*opened->wave());
  EXPECT_EQ(
      aiffChunkOf(edited.bytes, "INST"),
      aiffChunkOf(aiffForm("AIFF", aiffChunk("INST", u8({63, 216, 10, 90, 1, 100}) + big16({3, 2, 1, 2, 2, 1, 2}))),
                  "INST"));
  EXPECT_THAT(reported(edited.report), ElementsAreArray({"COMT chunk -> the markers that it belongs to have changed"}));
  EXPECT_EQ(aiffChunkOf(edited.bytes, "APPL"), chars("odd"));
}

TEST(AiffWriter, changesPlacesWithWav) {
  const Bytes smpl = u32({0, 0, 125000, 57, 0x40000000, 0, 0, 1, 0, 1, 1, 100, 199, 0, 0});
  const Bytes cues = chars("adtl") + labl(1, "Sustain Loop") + labl(2, "x") + ltxt(1, 100);
  const auto wav = open(WavBuilder()
                            .fmt({})
                            .data(Bytes(600))
                            .chunk("iXML", chars("<a/>"))
                            .chunk("smpl", smpl)
                            .chunk("cue ", cue({{1, 100}, {2, 7}}))
                            .chunk("LIST", cues)
                            .chunk("inst", u8({57, 0xE7, 6, 10, 90, 1, 100}))
                            .chunk("LIST", chars("INFO") + subChunk("INAM", chars("Tone") + u8({0, 0})) +
                                               subChunk("ICRD", chars("1999"))));
  const auto aiff = saveAiff(*wav->wave());
  EXPECT_THAT(reported(aiff.report), ElementsAreArray({"ICRD text -> AIFF has no place for it",
                                                       "iXML chunk -> it belongs to another kind of file"}));
  EXPECT_EQ(
      aiffChunkOf(aiff.bytes, "INST"),
      aiffChunkOf(aiffForm("AIFF", aiffChunk("INST", u8({57, 0xE7, 10, 90, 1, 100}) + big16({6, 2, 1, 2, 2, 1, 2}))),
                  "INST"));
  const auto back = save(*openAiff(aiff.bytes)->wave());
  EXPECT_FALSE(back.report.lostSomething());
  EXPECT_EQ(chunkOf(back.bytes, "data"), Bytes(600));
  EXPECT_EQ(chunkOf(back.bytes, "smpl"), smpl);
  const auto again = open(back.bytes);
  ASSERT_EQ(again->wave()->markers.size(), 2u);
  EXPECT_EQ(again->wave()->markers[1].name, u"x");
  EXPECT_EQ(again->wave()->markers[1].start, 7);
  EXPECT_EQ(again->wave()->gain, 6);
  EXPECT_EQ(again->wave()->tags[Tag::name], u"Tone");
}

/// Samples that are said to be there.
class EmptySamples final : public SampleData {
 public:
  explicit EmptySamples(int64_t frames) : SampleData(2, frames) {}
  std::unique_ptr<SampleStream> open(int64_t) const override { return nullptr; }
};

TEST(AiffWriter, refusesWhatItCannotWrite) {
  auto wave = tone();
  wave->samples = std::make_shared<EmptySamples>((int64_t{1} << 30) - 11);
  const auto saved = saveAiff(*wave);
  EXPECT_EQ(LastErrorText(), u"An AIFF file can not be larger than 4 GiB");
  EXPECT_TRUE(saved.bytes.empty());
  wave->samples = std::make_shared<EmptySamples>((int64_t{1} << 30) - 12);
  EXPECT_FALSE(saveAiff(*wave).bytes.empty()) << "4 GiB with its last 2 bytes missing";
  wave->samples = nullptr;
  EXPECT_FALSE(saveAiff(*wave).ok);
  EXPECT_EQ(LastErrorText(), u"Empty item - nothing to save");
  EXPECT_FALSE(saveAiff(Collection()).ok);
  EXPECT_EQ(LastErrorText(), u"The file format can not save this item");
}

}  // namespace
}  // namespace tervo
