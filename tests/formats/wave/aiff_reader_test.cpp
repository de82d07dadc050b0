#include <gmock/gmock.h>

#include "tests/formats/wave/aiff_builder.h"

namespace tervo {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::ElementsAreArray;

const Bytes fourFrames = bigWords<int16_t>({0, 16384, -32768, 8192});
const std::vector<float> fourFloats = {0, 0.5f, -1, 0.25f};

TEST(AiffReader, readsEveryKindOfPlainSamples) {
  const struct {
    std::string_view type;
    uint16_t bits;
    Bytes samples;
    std::vector<float> floats;
    SampleFormatWord stored;
  } cases[] = {
      {"", 8, u8({0, 64, 128, 255}), {0, 0.5f, -1, -1 / 128.f}, formatWord(SampleFormat::pcm8, BigEndian)},
      {"", 12, fourFrames, fourFloats, formatWord(SampleFormat::pcm16, BigEndian)},
      {"", 20, u8({0x40, 0, 0, 0xE0, 0, 0}), {0.5f, -0.25f}, formatWord(SampleFormat::pcm24, BigEndian)},
      {"", 40, u8({0x40, 0, 0, 0, 1}), {0.5f}, formatWord(SampleFormat::pcm32, BigEndian)},
      {"twos", 16, fourFrames, fourFloats, formatWord(SampleFormat::pcm16, BigEndian)},
      {"lpcm", 16, fourFrames, fourFloats, formatWord(SampleFormat::pcm16, BigEndian)},
      {"sowt", 16, i16({0, 16384, -32768, 8192}), fourFloats, formatWord(SampleFormat::pcm16)},
      {"in24", 16, u8({0xC0, 0, 0}), {-0.5f}, formatWord(SampleFormat::pcm24, BigEndian)},
      {"in32", 16, big32({0xC0000000}), {-0.5f}, formatWord(SampleFormat::pcm32, BigEndian)},
      {"FL32", 16, bigWords<float>({1.5f, -2}), {1.5f, -2}, formatWord(SampleFormat::float32, BigEndian)},
      {"fl64", 64, bigWords<double>({-0.75}), {-0.75f}, formatWord(SampleFormat::float64, BigEndian)},
      // ITU-T G.711: the largest magnitudes and zero.
      {"ulaw", 16, u8({0x00, 0xFF}), {-32124 / 32768.f, 0}, formatWord(SampleFormat::muLaw)},
      {"ALAW", 8, u8({0xAA, 0x55}), {32256 / 32768.f, -8 / 32768.f}, formatWord(SampleFormat::aLaw)},
  };
  for (const auto& c : cases) {
    Comm header{.frames = static_cast<uint32_t>(c.floats.size()), .bits = c.bits, .type = c.type};
    const auto opened = openAiff(aiffOf(header, c.samples));
    ASSERT_TRUE(opened->wave()) << c.type << c.bits << toUtf8(opened->error);
    EXPECT_THAT(samplesOf(*opened->wave()), ElementsAreArray(c.floats)) << c.type << c.bits;
    EXPECT_EQ(opened->wave()->storedFormat, c.stored) << c.type << c.bits;
    EXPECT_FALSE(opened->report.lostSomething()) << c.type << c.bits;
  }
}

TEST(AiffReader, cutsTheRateToAWholeNumber) {
  const struct {
    uint16_t exponent;
    uint64_t mantissa;
    double rate;
  } cases[] = {
      {16398, 0xAC44000000000000, 44100},      {16397, 0xAC44000000000000, 22050},
      {16397, 0xAC45000000000000, 22050},      {16383, 0x8000000000000000, 1},
      {16414, 0x8000000000000000, 2147483647}, {32767, 0, 2147483647},
      {16382, 0x8000000000000000, -1},         {0, 0xAC44000000000000, -1},
      {49166, 0xAC44000000000000, -1},
  };
  for (const auto& c : cases) {
    const auto opened = openAiff(aiffOf({.rate = extended(c.exponent, c.mantissa)}, fourFrames));
    EXPECT_EQ(opened->wave() ? opened->wave()->sampleRate : -1, c.rate) << c.exponent;
    EXPECT_EQ(opened->error, c.rate < 0 ? u"Invalid sample rate" : u"");
  }
}

// Frames that the header states and bytes that are there, of codings in packets.
TEST(AiffReader, countsPacketsAndFrames) {
  const struct {
    std::string_view type;
    uint16_t channels;
    uint32_t stated;
    std::size_t bytes;
    int64_t frames;
  } cases[] = {
      {"ima4", 1, 3, 102, 192},  {"ima4", 1, 130, 102, 130}, {"IMA4", 2, 1, 136, 128}, {"ima4", 1, 1, 34, 64},
      {"ima4", 1, 900, 70, 128}, {"MAC3", 2, 5, 20, 30},     {"MAC6", 1, 5, 5, 30},    {"GSM ", 1, 161, 66, 161},
      {"G722", 1, 10, 10, 20},   {"G721", 1, 20, 10, 20},    {"G723", 1, 8, 3, 8},     {"G726", 2, 0, 5, 4},
      {"", 1, 3, 8, 3},          {"", 1, 9, 8, 4},           {"", 1, 0, 8, 4},
  };
  for (const auto& c : cases) {
    Comm header{.channels = c.channels, .frames = c.stated, .type = c.type};
    const auto opened = openAiff(aiffOf(header, Bytes(c.bytes)));
    ASSERT_TRUE(opened->wave()) << c.type << c.stated << toUtf8(opened->error);
    EXPECT_EQ(opened->wave()->frames(), c.frames) << c.type << c.stated;
    EXPECT_EQ(static_cast<int64_t>(samplesOf(*opened->wave()).size()), c.frames * c.channels) << c.type << c.stated;
  }
}

TEST(AiffReader, makesLoopsOfMarkers) {
  const Bytes marks = mark({{1, 10, "beg loop"}, {2, 90, "mine"}, {3, 50}, {7, 60, "other"}});
  const auto loops = [&](std::initializer_list<uint16_t> numbers) {
    const auto opened = openAiff(aiffOf({.frames = 100}, Bytes(200), marks + inst(numbers, 61, 0xF6, 0xFFFD)));
    std::string text;
    for (const auto& marker : opened->wave()->markers)
      text += toUtf8(marker.name) + ' ' + std::to_string(static_cast<int>(marker.start)) + '-' +
              std::to_string(static_cast<int>(marker.end)) + ' ' + toUtf8(nameOf(marker.loopType)) + ", ";
    EXPECT_EQ(opened->wave()->rootKey, 61);
    EXPECT_EQ(opened->wave()->fineTune, -10);
    EXPECT_EQ(opened->wave()->gain, -3);
    return text;
  };
  const std::string positions = "beg loop 10-11 Off, mine 90-91 Off,  50-51 Off, other 60-61 Off, ";
  EXPECT_EQ(loops({1, 1, 2, 0, 0, 0}), "Sustain Loop 10-90 Forward,  50-51 Off, other 60-61 Off, ");
  EXPECT_EQ(loops({2, 1, 3, 1, 3, 2}), "Sustain Loop 10-50 Alternating, Release Loop 50-90 Forward, other 60-61 Off, ");
  EXPECT_EQ(loops({1, 1, 2, 2, 1, 2}), "Sustain Loop 10-90 Forward,  50-51 Off, other 60-61 Off, ");
  EXPECT_EQ(loops({0, 1, 2, 1, 1, 2}), "Release Loop 10-90 Forward,  50-51 Off, other 60-61 Off, ");
  EXPECT_EQ(loops({1, 2, 1, 0, 0, 0}), positions) << "begins behind its end";
  EXPECT_EQ(loops({1, 1, 1, 1, 1, 9}), positions) << "no length, no such marker";
  EXPECT_EQ(loops({0, 1, 2, 0, 1, 2}), positions);
}

TEST(AiffReader, readsTexts) {
  const Bytes id3 = chars("ID3") + u8({3, 0, 0, 0, 0, 0, 13}) + chars("TALB") + u8({0, 0, 0, 3, 0, 0, 0, 'a', 'b'});
  const Bytes texts = aiffChunk("NAME", chars("Tone")) + aiffChunk("ANNO", chars("one") + u8({0})) +
                      aiffChunk("ANNO", chars("two")) + aiffChunk("AUTH", chars("me")) +
                      aiffChunk("(c) ", chars("2001")) + aiffChunk("ID3 ", id3);
  const auto opened = openAiff(aiffOf({}, fourFrames, texts));
  const auto& tags = opened->wave()->tags;
  EXPECT_EQ(tags[Tag::name], u"Tone");
  EXPECT_EQ(tags[Tag::comments], u"one\ntwo");
  EXPECT_EQ(tags[Tag::artist], u"me");
  EXPECT_EQ(tags[Tag::copyright], u"2001");
  EXPECT_EQ(tags[Tag::product], u"ab");
}

TEST(AiffReader, takesFilesAsTheyAre) {
  const Bytes plain = comm({}) + ssnd(fourFrames);
  const auto pipe = [](uint32_t size) {
    return chars("FORM") + big32({size}) + chars("AIFF") + comm({.frames = 0}) +
           aiffChunkSaying("SSND", size, Bytes(8) + fourFrames);
  };
  const struct {
    const char* what;
    Bytes bytes;
  } cases[] = {
      {"samples first", aiffForm("AIFF", ssnd(fourFrames) + comm({}))},
      {"offset", aiffForm("AIFF", comm({}) + aiffChunk("SSND", big32({3, 0}) + Bytes(3) + fourFrames))},
      {"fillers", aiffForm("AIFF", aiffChunk("FLLR", Bytes(40)) + plain)},
      {"wrong form size", chars("FORM") + big32({12}) + chars("AIFF") + plain},
      {"cut off", aiffForm("AIFF", comm({.frames = 9}) + aiffChunkSaying("SSND", 26, Bytes(8) + fourFrames))},
      {"written to a pipe", pipe(0)},
      {"written to a pipe otherwise", pipe(0xFFFFFFFF)},
      {"cut chunk behind", aiffForm("AIFF", plain + aiffChunkSaying("ANNO", 99, chars("abc")))},
      {"two headers", aiffForm("AIFF", comm({}) + comm({.channels = 2}) + ssnd(fourFrames))},
  };
  for (const auto& c : cases) {
    const auto opened = openAiff(c.bytes);
    ASSERT_TRUE(opened->wave()) << c.what << toUtf8(opened->error);
    EXPECT_THAT(samplesOf(*opened->wave()), ElementsAreArray(fourFloats)) << c.what;
  }
}

TEST(AiffReader, survivesMarkersThatLie) {
  const auto markersOf = [](const Bytes& chunk) {
    const auto opened = openAiff(aiffOf({}, fourFrames, chunk));
    return opened->wave() ? static_cast<int>(opened->wave()->markers.size()) : -1;
  };
  const Bytes one = big16({1}) + big32({2});
  EXPECT_EQ(markersOf(aiffChunk("MARK", big16({1}) + one + u8({2, 'a', 'b', 0}))), 1);
  EXPECT_EQ(markersOf(aiffChunk("MARK", big16({65535}) + one + u8({2, 'a', 'b', 0}))), 1) << "count";
  EXPECT_EQ(markersOf(aiffChunk("MARK", big16({1}) + one + u8({255, 'a', 'b', 0}))), 1) << "name past the end";
  EXPECT_EQ(markersOf(aiffChunk("MARK", big16({2}) + one + u8({1, 'a'}) + big16({2}))), 1) << "cut";
  EXPECT_EQ(markersOf(aiffChunk("MARK", u8({7}))), 0);
  EXPECT_EQ(markersOf(aiffChunk("INST", u8({60}))), 0) << "short";
  EXPECT_EQ(markersOf(mark({{1, 1}}) + mark({{2, 2}, {3, 3}})), 1) << "the first counts";
}

TEST(AiffReader, saysWhatItDoesNotTakeAsItIs) {
  const struct {
    Bytes bytes;
    std::vector<std::string> entries;
  } cases[] = {
      {aiffOf({}, fourFrames) + chars("TAG") + Bytes(125), {"bytes behind the chunks: 128"}},
      {aiffOf({}, fourFrames) + Bytes(99), {}},
      {aiffOf({.frames = 0}, fourFrames), {"frames 0 -> 4, which are there"}},
      {aiffOf({}, fourFrames, inst({0, 0, 0, 0, 0, 0}, 200, 0x80, 0xFF00)),
       {"root key 200 -> 60", "fine tune in cents -128 -> -100", "gain in dB -256 -> -96"}},
  };
  for (const auto& c : cases) {
    const auto opened = openAiff(c.bytes);
    std::vector<std::string> entries;
    for (const auto& entry : opened->report.entries())
      entries.push_back(toUtf8(entry.what) +
                        (entry.kind == ReportKind::dropped ? "" : toUtf8(u" " + entry.from + u" -> " + entry.to)));
    EXPECT_EQ(entries, c.entries);
  }
}

TEST(AiffReader, saysWhatIsWrong) {
  const Bytes sound = ssnd(fourFrames);
  const struct {
    Bytes bytes;
    TextView message;
  } cases[] = {
      {{}, u"No FORM starting AIFF file"},
      {aiffForm("8SVX", comm({}) + sound), u"Not an AIFF, AIFC, MAUD type IFF-FORM"},
      {aiffOf({.channels = 3}, fourFrames), u"Can't handle > 2 channel files"},
      {aiffOf({.channels = 0}, fourFrames), u"No channels"},
      {aiffOf({.bits = 0}, fourFrames), u"Unsupported bits/sample"},
      {aiffOf({.bits = 65}, fourFrames), u"Unsupported bits/sample"},
      {aiffOf({.frames = 0}, {}), u"Zero length"},
      {aiffOf({.type = "ima4"}, Bytes(33)), u"Zero length"},
      {aiffForm("AIFF", comm({})), u"No SSND data"},
      {aiffForm("AIFF", comm({}) + aiffChunk("SSND", Bytes(7))), u"No SSND data"},
      {aiffForm("AIFF", sound), u"No COMM chunk"},
      {aiffForm("AIFF", aiffChunk("COMM", Bytes(17)) + sound), u"Reading from file failed"},
      {aiffForm("AIFC", comm({}) + sound), u"Reading from file failed"},
      {aiffForm("AIFF", aiffChunkSaying("COMM", 90, Comm{}.body())), u"Reading from file failed"},
      {aiffOf({.type = "ACE2", .name = "ACE 2-to-1"}, fourFrames), u"Unsupported compression type: ACE 2-to-1"},
      {aiffOf({.type = "raw "}, fourFrames), u"Unsupported compression type: raw "},
      {aiffOf({.channels = 2, .type = "GSM "}, Bytes(66)), u"Can only handle (the standard!) mono GSM"},
      {aiffOf({.channels = 2, .type = "DWVW"}, Bytes(66)), u"Can only handle mono DWVW"},
      {aiffOf({.bits = 25, .type = "DWVW"}, Bytes(66)), u"Unsupported bits/sample for DWVW"},
  };
  for (const auto& c : cases) {
    const auto opened = openAiff(c.bytes);
    EXPECT_FALSE(opened->wave()) << toUtf8(c.message);
    EXPECT_EQ(opened->error, c.message);
  }
}

TEST(MaudReader, readsItsFourCodings) {
  const auto file = [](uint16_t bits, uint16_t compression, const Bytes& samples, uint16_t divide = 2,
                       uint32_t count = 9) {
    const Bytes header = big32({count}) + big16({bits, bits}) + big32({44100}) + big16({divide, 0, 1, compression});
    return openAiff(aiffForm(
        "MAUD", aiffChunk("MHDR", header + Bytes(12)) + aiffChunk("ANNO", chars("hi")) + aiffChunk("MDAT", samples)));
  };
  EXPECT_THAT(samplesOf(*file(8, 0, u8({0x80, 0xC0}))->wave()), ElementsAre(0, 0.5f)) << "unsigned";
  EXPECT_THAT(samplesOf(*file(8, 0, u8({0, 0x80}), 2, 1)->wave()), ElementsAre(-1)) << "the second byte is padding";
  EXPECT_THAT(samplesOf(*file(16, 0, fourFrames)->wave()), ElementsAreArray(fourFloats));
  EXPECT_THAT(samplesOf(*file(8, 2, u8({0xAA, 0x55}))->wave()), ElementsAre(32256 / 32768.f, -8 / 32768.f));
  EXPECT_THAT(samplesOf(*file(8, 3, u8({0x00, 0xFF}))->wave()), ElementsAre(-32124 / 32768.f, 0));
  const auto opened = file(16, 0, fourFrames);
  EXPECT_EQ(opened->wave()->sampleRate, 22050);
  EXPECT_EQ(opened->wave()->tags[Tag::comments], u"hi");
  EXPECT_EQ(file(24, 0, fourFrames)->error, u"Unknown sample format or compression");
  EXPECT_EQ(file(8, 1, fourFrames)->error, u"Unknown sample format or compression");
  EXPECT_EQ(file(8, 0, fourFrames, 0)->error, u"Invalid sample rate");
}

}  // namespace
}  // namespace tervo
