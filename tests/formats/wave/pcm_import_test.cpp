#include "formats/wave/pcm_import.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <random>

#include "base/last_error.h"

namespace tervo {
namespace {

std::shared_ptr<const ByteSource> sourceOf(std::initializer_list<int> bytes) {
  std::vector<std::byte> out;
  for (int byte : bytes) out.push_back(static_cast<std::byte>(byte));
  return std::make_shared<MemorySource>(out);
}

std::shared_ptr<const ByteSource> randomSource(std::size_t count) {
  std::mt19937 random(3);
  std::vector<std::byte> bytes(count);
  for (auto& byte : bytes) byte = static_cast<std::byte>(random());
  return std::make_shared<MemorySource>(bytes);
}

StoredSamples storedAs(std::shared_ptr<const ByteSource> source, SampleFormatWord format, uint64_t offset = 0) {
  StoredSamples stored;
  stored.source = std::move(source);
  stored.format = format;
  stored.offset = offset;
  return stored;
}

std::vector<float> readFrom(const SampleData& data, int64_t firstFrame, std::size_t blockFloats) {
  std::vector<float> all, block(blockFloats);
  auto stream = data.open(firstFrame);
  EXPECT_TRUE(stream);
  while (stream) {
    const auto frames = stream->read(block);
    EXPECT_TRUE(frames);
    if (!frames || *frames == 0) break;
    all.insert(all.end(), block.begin(),
               block.begin() + static_cast<std::ptrdiff_t>(*frames * static_cast<std::size_t>(data.channels())));
  }
  return all;
}

TEST(PcmImport, DecodesEachLayout) {
  const auto packed = sourceOf({0x21, 0x43, 0x65, 0x87, 0xA9});
  const auto deltas = sourceOf({100, 100, 0x80, 1});
  const auto law = sourceOf({0x00, 0x80, 0xFF, 0x55, 0xD5});
  struct {
    std::shared_ptr<const ByteSource> source;
    SampleFormatWord format;
    std::vector<double> expected;
    double scale;
  } const cases[] = {
      {packed, formatWord(SampleFormat::pcm12), {0x3210, 0x6540, 0x9870 - 0x10000}, 32768},
      {packed, formatWord(SampleFormat::pcm12, BigEndian), {0x2140, 0x3650, 0x87A0 - 0x10000}, 32768},
      {packed, formatWord(SampleFormat::pcm12, Unsigned), {0x3210 - 32768, 0x6540 - 32768, 0x9870 - 32768}, 32768},
      {packed, formatWord(SampleFormat::pcm20), {0x54321, 0xA9876 - 0x100000}, 524288},
      {packed, formatWord(SampleFormat::pcm20, BigEndian), {0x21436, 0x587A9}, 524288},
      {packed, formatWord(SampleFormat::pcm20), {0x54321}, 524288},  // ends within a byte
      {deltas, formatWord(SampleFormat::deltaPcm8), {100, -56, 72, 73}, 128},
      {deltas, formatWord(SampleFormat::deltaPcm16), {0x6464, 0x65E4}, 32768},
      {deltas, formatWord(SampleFormat::deltaPcm16, BigEndian), {0x6464, 0xE465 - 0x10000}, 32768},
      {law, formatWord(SampleFormat::muLaw), {-32124, 32124, 0}, 32768},
      {law, formatWord(SampleFormat::aLaw), {-5504, 5504, 848, -8, 8}, 32768},  // ITU-T G.191 table
  };
  for (const auto& test : cases) {
    const auto data = importPcm(storedAs(test.source, test.format), 1, static_cast<int64_t>(test.expected.size()));
    ASSERT_TRUE(data) << test.format;
    const auto frames = readFrom(*data, 0, 64);
    ASSERT_EQ(frames.size(), test.expected.size());
    for (std::size_t i = 0; i < frames.size(); ++i)
      EXPECT_EQ(frames[i], test.expected[i] / test.scale) << "format " << test.format << ", sample " << i;
  }
}

TEST(PcmImport, ContainersAreFullScaleWhateverIsSignificantInThem) {
  const auto source = sourceOf({0xF0, 0x7F, 0x00, 0x80, 0x00, 0x00, 0x00, 0xC0});
  struct {
    int bytes;
    uint32_t flags;
    double first;
  } const cases[] = {
      {1, Unsigned, 112.0 / 128},
      {2, 0, 32752.0 / 32768},
      {4, 0, -2147450896.0 / 2147483648.0},
      {5, 0, 2147516400.0 / 549755813888.0},
      {8, 0, -0.5},
      {8, BigEndian, -260112256.0 / 2147483648.0},
  };
  for (const auto& test : cases) {
    const auto data = importPcmContainer(storedAs(source, test.flags), test.bytes, 1, 1);
    ASSERT_TRUE(data);
    EXPECT_NEAR(readFrom(*data, 0, 8).at(0), test.first, 1e-7) << test.bytes;
    EXPECT_EQ(data->stored()->genericPcm, test.bytes <= 4);
  }
}

TEST(PcmImport, AnyStartAndAnyBlockSizeGiveTheSameFrames) {
  const auto source = randomSource(9000);
  struct {
    SampleFormat format;
    uint32_t flags;
    int channels;
  } const cases[] = {
      {SampleFormat::pcm12, 0, 1},
      {SampleFormat::pcm12, SplitChannels, 2},
      {SampleFormat::pcm20, BigEndian, 1},
      {SampleFormat::pcm24, BigEndian, 2},
      {SampleFormat::pcm8, SplitChannels, 2},
      {SampleFormat::deltaPcm16, 0, 1},
      {SampleFormat::deltaPcm8, SplitChannels, 2},
  };
  constexpr int64_t frames = 1001;
  for (const auto& test : cases) {
    const auto data = importPcm(storedAs(source, formatWord(test.format, test.flags), 5), test.channels, frames);
    ASSERT_TRUE(data);
    const auto whole = readFrom(*data, 0, 1 << 16);
    ASSERT_EQ(whole.size(), static_cast<std::size_t>(frames * test.channels));
    for (int64_t first : {1, 2, 500, 1000, 1001}) {
      const auto part = readFrom(*data, first, 7);
      EXPECT_TRUE(std::equal(whole.begin() + first * test.channels, whole.end(), part.begin(), part.end()))
          << "format " << static_cast<int>(test.format) << " from " << first;
    }
  }
}

TEST(PcmImport, SecondChannelMayStandAnywhere) {
  const auto source = sourceOf({64, 0, 0, 0xC0, 32, 0xE0});
  StoredSamples stored = storedAs(source, formatWord(SampleFormat::pcm8, SplitChannels), 4);
  EXPECT_EQ(importPcm(stored, 2, 2), nullptr);  // right behind the first there is nothing
  stored.secondChannelOffset = 2;
  const auto data = importPcm(stored, 2, 2);
  ASSERT_TRUE(data);
  EXPECT_EQ(readFrom(*data, 0, 4), (std::vector<float>{0.25f, 0, -0.25f, -0.5f}));
}

TEST(PcmImport, RefusesWhatCannotBe) {
  const auto source = randomSource(24);
  constexpr auto pcm16 = formatWord(SampleFormat::pcm16);
  constexpr int64_t huge = std::numeric_limits<int64_t>::max();
  struct {
    SampleFormatWord format;
    int channels;
    int64_t frames;
    uint64_t offset;
    TextView error;
  } const cases[] = {
      {pcm16, 0, 0, 0, u"Zero length"},
      {pcm16, 0, 1, 0, u"No channels"},
      {pcm16, 3, 1, 0, u"Too many channels"},
      {pcm16, -1, 1, 0, u"No channels"},
      {formatWord(SampleFormat::gsm), 1, 1, 0, u"Invalid format for generic import function!"},
      {BigEndian, 1, 1, 0, u"Invalid format for generic import function!"},
      {pcm16, 1, 13, 0, u"Reading from file failed"},
      {pcm16, 1, 1, 23, u"Reading from file failed"},
      {pcm16, 1, 1, ~uint64_t{0}, u"Reading from file failed"},
      {pcm16, 2, huge, 0, u"Reading from file failed"},
      {formatWord(SampleFormat::pcm12), 1, 17, 0, u"Reading from file failed"},
      {formatWord(SampleFormat::pcm16, SplitChannels), 2, 7, 0, u"Reading from file failed"},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(importPcm(storedAs(source, test.format, test.offset), test.channels, test.frames), nullptr);
    EXPECT_EQ(LastErrorText(), test.error);
  }
  EXPECT_TRUE(importPcm(storedAs(source, formatWord(SampleFormat::pcm12)), 1, 16));
  EXPECT_EQ(importPcm(storedAs(nullptr, pcm16), 1, 1), nullptr);
  EXPECT_EQ(importPcmContainer(storedAs(source, 0), 9, 1, 1), nullptr);
}

/// Says its old size and gives less, as a file does that is cut while it is open.
class ShrinkingSource final : public ByteSource {
 public:
  uint64_t size() const override { return 1 << 20; }
  std::size_t readAt(uint64_t offset, std::span<std::byte> out) const noexcept override {
    const uint64_t left = offset < 300'000 ? 300'000 - offset : 0;
    return static_cast<std::size_t>(std::min<uint64_t>(left, out.size()));
  }
};

TEST(PcmImport, AShrunkenSourceFailsWhenItIsRead) {
  const auto source = std::make_shared<ShrinkingSource>();
  const SampleRef cases[] = {
      importPcm(storedAs(source, formatWord(SampleFormat::pcm16)), 1, 1 << 19),
      importPcm(storedAs(source, formatWord(SampleFormat::pcm8, SplitChannels)), 2, 1 << 19),
      importPcmDownmixed(storedAs(source, formatWord(SampleFormat::pcm8)), 0, 4, 1 << 18, 0),
  };
  for (const auto& data : cases) {
    ASSERT_TRUE(data);
    EXPECT_EQ(makeResident(data), nullptr);
    EXPECT_EQ(LastErrorText(), u"Reading from file failed");
  }
  // A sum needs all that stood before it.
  const auto delta = importPcm(storedAs(source, formatWord(SampleFormat::deltaPcm8)), 1, 1 << 20);
  EXPECT_EQ(delta->open(900'000), nullptr);
}

TEST(PcmImport, ManyChannelsAreReducedByTheirPlace) {
  // 5.1: front left, right, centre, low frequency, surrounds; ITU-R BS.775 and a common factor of 1 / (1 + 2 * 0.7071).
  const float common = 1 / (1 + 2 * std::sqrt(0.5f));
  const struct {
    int channel;
    float left, right;
  } cases[] = {{0, common, 0},
               {1, 0, common},
               {2, common * std::sqrt(0.5f), common * std::sqrt(0.5f)},
               {3, 0, 0},
               {4, common * std::sqrt(0.5f), 0},
               {5, 0, common * std::sqrt(0.5f)}};
  for (const auto& test : cases) {
    std::vector<std::byte> frame(6, std::byte{0});
    frame[static_cast<std::size_t>(test.channel)] = std::byte{64};
    const auto data =
        importPcmDownmixed(storedAs(std::make_shared<MemorySource>(frame), formatWord(SampleFormat::pcm8)), 0, 6, 1, 0);
    ASSERT_TRUE(data);
    const auto out = readFrom(*data, 0, 2);
    EXPECT_NEAR(out.at(0), test.left / 2, 1e-6) << test.channel;
    EXPECT_NEAR(out.at(1), test.right / 2, 1e-6) << test.channel;
  }
}

TEST(PcmImport, NoDownmixExceedsFullScale) {
  for (int channels : {3, 4, 7, 8, 40, 65535}) {
    for (uint32_t mask : {0u, 0x8u, 0x1u, 0x3FFFFu, 0x40003u, 0xFFFFFFFFu}) {
      std::vector<std::byte> frames(2 * static_cast<std::size_t>(channels), std::byte{0x80});
      const auto data = importPcmDownmixed(storedAs(std::make_shared<MemorySource>(frames), 0), 1, channels, 2, mask);
      ASSERT_TRUE(data);
      EXPECT_EQ(data->channels(), 2);
      const auto out = readFrom(*data, 0, 4);
      ASSERT_EQ(out.size(), 4u);
      EXPECT_EQ(out[0], out[2]);
      for (float sample : out) EXPECT_GE(sample, -1.0001f) << channels << " channels, mask " << mask;
      EXPECT_LT(out[0] + out[1], -0.5f) << "something must be heard";
    }
  }
  EXPECT_EQ(importPcmDownmixed(storedAs(randomSource(9), 0), 1, 65536, 1, 0), nullptr);
  EXPECT_EQ(LastErrorText(), u"Too many channels");
}

}  // namespace
}  // namespace tervo
