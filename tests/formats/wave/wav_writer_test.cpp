#include <gmock/gmock.h>

#include "formats/wave/wav_writer.h"
#include "tests/formats/wave/wav_builder.h"

namespace tervo {
namespace {

using namespace test;
using testing::ElementsAre;

std::unique_ptr<Waveform> tone(int64_t frames = 300, int channels = 1) {
  auto wave = std::make_unique<Waveform>();
  std::vector<float> samples(static_cast<std::size_t>(frames * channels));
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<float>(i % 64) / 64 - 0.5f;
  wave->samples = makeResident(std::move(samples), channels);
  wave->sampleRate = 48000;
  return wave;
}
Marker loop(double start, double end) {
  Marker marker;
  marker.type = MarkerType::loop;
  marker.loopType = LoopType::forward;
  marker.start = start;
  marker.end = end;
  return marker;
}
uint32_t u32At(const Bytes& bytes, std::size_t at) {
  uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value |= static_cast<uint32_t>(bytes.at(at + i)) << (8 * i);
  return value;
}

uint32_t noteOf(const Saved& saved) {
  const auto smpl = chunkOf(saved.bytes, "smpl");
  return smpl.empty() ? 999 : u32At(smpl, 12);
}

TEST(WavWriter, writesSmplWhereThereIsAKeyATuningOrALoop) {
  EXPECT_EQ(noteOf(save(*tone())), 999u);
  auto tuned = tone();
  tuned->fineTune = -3;
  EXPECT_EQ(noteOf(save(*tuned)), 60u);
  // Other programs read the key from "smpl" only.
  const auto opened = open(WavBuilder().fmt({}).data(Bytes(4)).chunk("inst", u8({62, 0, 0, 0, 127, 0, 127})));
  EXPECT_EQ(noteOf(save(*opened->wave())), 62u);
}

TEST(WavWriter, saysThatALoopCountIsLost) {
  auto wave = tone();
  wave->markers = {loop(10, 20)};
  EXPECT_FALSE(save(*wave).report.lostSomething());
  wave->markers[0].loopCount = 4;
  const auto saved = save(*wave);
  EXPECT_EQ(u32At(chunkOf(saved.bytes, "smpl"), 56), 0u);
  EXPECT_TRUE(saved.report.lostSomething());
}

// The layout of smpl: note at 12, fraction at 16, loops from 36 on: start at +8, end at +12, fraction at +16.
TEST(WavWriter, storesLoopsWithTheirFraction) {
  const struct {
    double start, end;
    uint32_t first, last, fraction;
  } cases[] = {
      {100, 200, 100, 199, 0},
      {100, 200.25, 100, 199, 0x40000000},
      {100, 200.75, 100, 199, 0xC0000000},  // rounds up, so that the rest is negative
      {100.5, 200.5, 101, 200, 0},
  };
  for (const auto& c : cases) {
    auto wave = tone();
    wave->markers = {loop(c.start, c.end)};
    const auto smpl = chunkOf(save(*wave).bytes, "smpl");
    ASSERT_EQ(smpl.size(), 60u) << c.end;
    EXPECT_EQ(u32At(smpl, 8), 20833u) << "nanoseconds a frame";
    EXPECT_EQ(u32At(smpl, 44), c.first) << c.end;
    EXPECT_EQ(u32At(smpl, 48), c.last) << c.end;
    EXPECT_EQ(u32At(smpl, 52), c.fraction) << c.end;
  }
}

TEST(WavWriter, storesTuningAsAFractionThatRaises) {
  const struct {
    uint8_t key;
    float cents;
    uint32_t note, fraction;
  } cases[] = {
      {60, -50, 60, 0x80000000}, {60, 25, 59, 0xC0000000}, {0, 25, 0, 0}, {64, 0, 64, 0}, {64, -100, 64, 0xFFFFFFFF},
  };
  for (const auto& c : cases) {
    auto wave = tone();
    wave->rootKey = c.key;
    wave->fineTune = c.cents;
    const auto smpl = chunkOf(save(*wave).bytes, "smpl");
    ASSERT_EQ(smpl.size(), 36u);
    EXPECT_EQ(u32At(smpl, 12), c.note) << c.cents;
    EXPECT_EQ(u32At(smpl, 16), c.fraction) << c.cents;
  }
}

TEST(WavWriter, writesTheFormatOfEachCoding) {
  const auto extensible = extensibleWavVariant;
  const struct {
    SampleCoding coding;
    uint32_t variant;
    Bytes fmt;
    std::size_t dataBytes;
    bool hasFact;
  } cases[] = {
      {SampleCoding::pcm8, 0, Fmt{.rate = 48000, .bits = 8}.body(), 301, false},
      {SampleCoding::pcm24, 0, Fmt{.rate = 48000, .bits = 24}.body(), 903, false},
      {SampleCoding::float32, 0, Fmt{.tag = 3, .rate = 48000, .bits = 32}.body(), 1204, true},
      {SampleCoding::muLaw, 0, Fmt{.tag = 7, .rate = 48000, .bits = 8, .extra = u8({0, 0})}.body(), 301, true},
      {SampleCoding::adpcm4, 0, Fmt{.tag = 64, .rate = 48000, .bits = 4, .extra = u8({2, 0, 0, 0})}.body(), 151, true},
      {SampleCoding::pcm16, extensible,
       Fmt{.tag = 65534,
           .rate = 48000,
           .extra = words<uint16_t>({22, 16}) + u32({4, 1, 0x00100000, 0xAA000080, 0x719B3800})}
           .body(),
       602, true},
  };
  for (const auto& c : cases) {
    const auto saved = save(*tone(301), c.coding, writeWav, 491, c.variant);
    ASSERT_TRUE(saved.ok) << static_cast<int>(c.coding);
    auto fmt = c.fmt;
    if (c.coding == SampleCoding::adpcm4) std::copy_n(u32({24000}).begin(), 4, fmt.begin() + 8);
    EXPECT_EQ(chunkOf(saved.bytes, "fmt "), fmt) << static_cast<int>(c.coding);
    EXPECT_EQ(chunkOf(saved.bytes, "data").size(), c.dataBytes) << static_cast<int>(c.coding);
    EXPECT_EQ(!chunkOf(saved.bytes, "fact").empty(), c.hasFact) << static_cast<int>(c.coding);
    EXPECT_EQ(u32At(saved.bytes, 4), saved.bytes.size() - 8) << static_cast<int>(c.coding);
  }
}

TEST(WavWriter, makesAPlainFileExtensibleWhenItIsAskedTo) {
  const auto plain = open(WavBuilder().fmt({.channels = 2}).data(i16({1, 2, 3, 4})));
  const auto saved = save(*plain->wave(), {}, writeWav, 491, extensibleWavVariant);
  const auto fmt = chunkOf(saved.bytes, "fmt ");
  ASSERT_EQ(fmt.size(), 40u);
  EXPECT_EQ(u32At(fmt, 20), 3u) << "left and right";
  EXPECT_EQ(chunkOf(saved.bytes, "data"), i16({1, 2, 3, 4}));
  EXPECT_EQ(chunkOf(saved.bytes, "fact"), u32({2}));
}

TEST(WavWriter, padsUnsignedBytesWithSilence) {
  const auto saved = save(*tone(3), SampleCoding::pcm8);
  EXPECT_EQ(saved.bytes.at(12 + 24 + 8 + 3), std::byte{128});
}

TEST(WavWriter, gsmRoundsUpToWholeBlocks) {
  const auto saved = saveWith({.format = SampleFormat::gsm}, *tone(321));
  EXPECT_EQ(chunkOf(saved.bytes, "data").size(), 130u);
  EXPECT_EQ(u32At(chunkOf(saved.bytes, "fact"), 0), 321u);
  EXPECT_EQ(u32At(chunkOf(saved.bytes, "fmt "), 8), 9750u) << "bytes a second: rate times 0.203125";
}

// A file that is saved as it was read keeps what the model has no place for, byte by byte.
TEST(WavWriter, keepsEverythingOfAnUneditedFile) {
  const auto smpl =
      u32({77, 88, 125000, 59, 0x12345678, 25, 3, 2, 4, 0, 0, 10, 19, 0x80000001, 9, 0, 1, 30, 39, 0, 0}) +
      chars("data");
  const auto info =
      chars("INFOINAM") + u32({5}) + chars("Tone") + u8({0, 0}) + chars("ICRD") + u32({4}) + chars("1999");
  const auto adtl =
      chars("adtllabl") + u32({8, 1}) + chars("abc") + u8({0}) + chars("note") + u32({8, 1}) + chars("hey") + u8({0});
  const auto cue = u32({1, 1, 5}) + chars("data") + u32({0, 0, 5});
  const struct {
    const char* what;
    Fmt format;
    Bytes data;
  } cases[] = {
      {"8 bits", {.bits = 8}, Bytes(41, std::byte{7})},
      {"float 64", {.tag = 3, .bits = 64}, u32({1, 0x3FE00000, 2, 0x3FE00000, 3, 0x3FE00000})},
      {"32 bits", {.bits = 32}, u32({0x7FFFFFFF, 0x12345679, 0x80000001})},
      {"24 bits in 4 bytes", {.bits = 24, .blockAlign = 4}, u32({0x12345678, 0x12345679})},
      {"IMA", {.tag = 17, .bits = 4, .blockAlign = 36, .extra = u8({2, 0, 65, 0})}, Bytes(72, std::byte{0x11})},
  };
  for (const auto& c : cases) {
    const auto opened = open(WavBuilder()
                                 .chunk("bext", Bytes(602, std::byte{1}))
                                 .chunk("smpl", smpl)
                                 .fmt(c.format)
                                 .chunk("PEAK", Bytes(16, std::byte{2}))
                                 .data(c.data)
                                 .chunk("LIST", info)
                                 .chunk("cue ", cue)
                                 .chunk("LIST", adtl)
                                 .chunk("acid", Bytes(24, std::byte{3}))
                                 .chunk("inst", u8({60, 3, 0xF4, 1, 100, 2, 99})));
    ASSERT_TRUE(opened->wave()) << c.what << toUtf8(opened->error);
    const auto saved = save(*opened->wave());
    ASSERT_TRUE(saved.ok) << c.what << toUtf8(LastErrorText());
    EXPECT_EQ(chunkOf(saved.bytes, "fmt "), c.format.body()) << c.what;
    EXPECT_EQ(chunkOf(saved.bytes, "data"), c.data) << c.what;
    EXPECT_EQ(chunkOf(saved.bytes, "smpl"), smpl) << c.what;
    EXPECT_EQ(chunkOf(saved.bytes, "cue "), cue) << c.what;
    EXPECT_EQ(chunkOf(saved.bytes, "bext"), Bytes(602, std::byte{1})) << c.what;
    EXPECT_EQ(chunkOf(saved.bytes, "PEAK"), Bytes(16, std::byte{2})) << c.what;
    EXPECT_EQ(chunkOf(saved.bytes, "acid"), Bytes(24, std::byte{3})) << c.what;
    EXPECT_EQ(chunkOf(saved.bytes, "inst"), u8({60, 3, 0xF4, 1, 100, 2, 99})) << c.what;
    for (const auto* text : {"ICRD\x4", "1999", "INAM\x5", "ISFT", "labl\x8", "abc", "note\x8", "hey"}) {
      EXPECT_THAT(std::string(reinterpret_cast<const char*>(saved.bytes.data()), saved.bytes.size()),
                  testing::HasSubstr(text))
          << c.what;
    }
    EXPECT_FALSE(saved.report.lostSomething()) << c.what;
  }
}

TEST(WavWriter, writesWhatWasEdited) {
  const auto cue = u32({1, 9, 5}) + chars("data") + u32({0, 0, 5});
  const auto smpl = u32({77, 0, 0, 59, 0, 0, 0, 1, 0, 9, 0, 10, 19, 0, 0});
  const auto opened =
      open(WavBuilder().fmt({}).chunk("PEAK", Bytes(16)).data(Bytes(400)).chunk("cue ", cue).chunk("smpl", smpl));
  auto& wave = *opened->wave();
  wave.markers[0].start = 11;
  wave.markers[0].name = u"hold";
  Marker marker;
  marker.start = 50;
  marker.name = u"\u00e9";
  marker.foreignId = 9;  // the loop's
  wave.markers.push_back(marker);
  wave.samples = makeResident(wave.samples);
  wave.tags[Tag::artist] = u"\u4f60";
  const auto saved = save(wave);
  const auto again = open(saved.bytes);
  ASSERT_TRUE(again->wave());
  ASSERT_EQ(again->wave()->markers.size(), 2u);
  EXPECT_EQ(again->wave()->markers[0].start, 11);
  EXPECT_EQ(again->wave()->markers[0].name, u"hold");
  EXPECT_EQ(again->wave()->markers[1].start, 50);
  EXPECT_EQ(again->wave()->markers[1].name, u"\u00e9");
  EXPECT_EQ(again->wave()->tags[Tag::artist], u"\u4f60");
  EXPECT_TRUE(chunkOf(saved.bytes, "PEAK").empty()) << "it described samples that may have changed";
  EXPECT_TRUE(saved.report.lostSomething());
}

TEST(WavWriter, saysWhenDataOfASamplerIsLost) {
  const auto lossOf = [](const Bytes& own) {
    const auto smpl = u32({0, 0, 0, 59, 0, 0, 0, 0, static_cast<uint32_t>(own.size())}) + own;
    const auto opened = open(WavBuilder().fmt({}).data(Bytes(400)).chunk("smpl", smpl));
    opened->wave()->rootKey = 61;
    return save(*opened->wave()).report.lostSomething();
  };
  EXPECT_TRUE(lossOf(Bytes(12)));
  EXPECT_FALSE(lossOf({}));
}

TEST(WavWriter, refusesWhatItCannotHold) {
  const auto error = [](const Saved& saved) { return saved.ok ? std::string("written") : toUtf8(LastErrorText()); };
  EXPECT_EQ(error(save(Instrument())), "The file format can not save this item");
  EXPECT_EQ(error(save(*tone(), SampleCoding::adpcm4, writeWav, 491, extensibleWavVariant)), "Unsupported subformat");
  EXPECT_EQ(error(save(*tone(), SampleCoding::compressed128)), "The MPEG layer 3 encoder is not available yet");
}

// Zeros without end, and a sink that keeps only the beginning: sizes that no test can write.
class ZeroSource final : public ByteSource {
 public:
  explicit ZeroSource(uint64_t size) : size_(size) {}
  uint64_t size() const override { return size_; }
  std::size_t readAt(uint64_t, std::span<std::byte> out) const noexcept override {
    std::fill(out.begin(), out.end(), std::byte{0});
    return out.size();
  }

 private:
  uint64_t size_;
};

class CountingSink final : public ByteSink {
 public:
  bool write(std::span<const std::byte> bytes) override {
    for (std::size_t i = 0; i < bytes.size() && head.size() < 200; ++i) head.push_back(bytes[i]);
    position_ += bytes.size();
    return true;
  }
  bool patch(uint64_t offset, std::span<const std::byte> bytes) override {
    if (offset + bytes.size() <= head.size())
      std::copy(bytes.begin(), bytes.end(), head.begin() + static_cast<std::ptrdiff_t>(offset));
    return true;
  }
  uint64_t position() const override { return position_; }
  bool writeFrom(const ByteSource&, uint64_t, uint64_t length) override {
    position_ += length;
    return true;
  }
  Bytes head;

 private:
  uint64_t position_ = 0;
};

class ClaimedSamples final : public SampleData {
 public:
  explicit ClaimedSamples(uint64_t bytes) : SampleData(1, static_cast<int64_t>(bytes)) {
    stored_.source = std::make_shared<ZeroSource>(bytes);
    stored_.bytes = bytes;
    stored_.format = formatWord(SampleFormat::pcm8, Unsigned);
    stored_.waveFormat = Fmt{.bits = 8}.body();
  }
  std::unique_ptr<SampleStream> open(int64_t) const override { return nullptr; }
  const StoredSamples* stored() const override { return &stored_; }

 private:
  StoredSamples stored_;
};

TEST(WavWriter, writesRf64OnlyBeyond32Bits) {
  const auto headOf = [](uint64_t bytes) {
    Waveform wave;
    wave.samples = std::make_shared<ClaimedSamples>(bytes);
    wave.sampleRate = 8000;
    wave.setStoredFormat(SampleFormat::pcm8, Unsigned);
    CountingSink sink;
    Host host;
    ConversionReport report;
    const Settings settings;
    TargetFile file{sink, u"out.wav", host, report, settings, FormatTable()[491], {}};
    EXPECT_TRUE(writeWav(wave, file, 0));
    return sink.head;
  };
  const auto riff = headOf(0xFFFFFFFF - 48);
  EXPECT_EQ(Bytes(riff.begin(), riff.begin() + 4), chars("RIFF"));
  EXPECT_EQ(u32At(riff, 40), 0xFFFFFFFFu - 48);

  const auto rf64 = headOf(0xFFFFFFFF - 47);
  EXPECT_EQ(Bytes(rf64.begin(), rf64.begin() + 4), chars("RF64"));
  EXPECT_EQ(u32At(rf64, 4), 0xFFFFFFFFu);
  EXPECT_EQ(Bytes(rf64.begin() + 12, rf64.begin() + 20), chars("ds64") + u32({28}));
  EXPECT_EQ(u32At(rf64, 28), 0xFFFFFFFFu - 47) << "data size";
  EXPECT_EQ(u32At(rf64, 36), 0xFFFFFFFFu - 47) << "frames";
  EXPECT_GT(u32At(rf64, 24), 0u) << "high half of the file's size";
  EXPECT_EQ(u32At(rf64, 48 + 24 + 4), 0xFFFFFFFFu) << "32-bit data size";
}

}  // namespace
}  // namespace tervo
