#include "core/sample_data.h"

#include <gtest/gtest.h>

#include <numeric>

#include "base/last_error.h"
#include "core/sample_format.h"

namespace tervo {
namespace {

/// Declares more frames than it gives, or fails half way: what a file may do to us.
class FaultySamples final : public SampleData {
 public:
  FaultySamples(int64_t declared, std::size_t given, bool failsAfter)
      : SampleData(1, declared), given_(given), failsAfter_(failsAfter) {}

  std::unique_ptr<SampleStream> open(int64_t) const override {
    struct Stream final : SampleStream {
      std::optional<std::size_t> read(std::span<float> out) override {
        if (left == 0 && fails) {
          setLastErrorText(u"bad sector");
          return std::nullopt;
        }
        const std::size_t count = std::min(out.size(), left);
        left -= count;
        return count;
      }
      std::size_t left = 0;
      bool fails = false;
    };
    auto stream = std::make_unique<Stream>();
    stream->left = given_;
    stream->fails = failsAfter_;
    return stream;
  }

 private:
  std::size_t given_;
  bool failsAfter_;
};

std::vector<float> ramp(std::size_t count) {
  std::vector<float> samples(count);
  std::iota(samples.begin(), samples.end(), 0.0f);
  return samples;
}

TEST(SampleData, ChannelViewsConvertFromAnyFrameInBlocksOfAnySize) {
  constexpr std::size_t frames = 100'003;  // several scratch buffers and an odd rest
  const SampleRef stereo = makeResident(ramp(2 * frames), 2);
  const SampleRef mono = withChannels(stereo, 1);
  const SampleRef back = withChannels(mono, 2);
  EXPECT_TRUE(mono->resident().empty());
  EXPECT_EQ(withChannels(stereo, 2), stereo);

  auto stream = back->open(7);
  std::vector<float> block(77'777);  // odd: the last float can hold no frame
  std::size_t frame = 7;
  for (;;) {
    const auto read = stream->read(block);
    ASSERT_TRUE(read);
    if (*read == 0) break;
    for (std::size_t i = 0; i < *read; ++i, ++frame) {
      ASSERT_EQ(block[2 * i], 2.0f * static_cast<float>(frame) + 0.5f);
      ASSERT_EQ(block[2 * i + 1], block[2 * i]);
    }
  }
  EXPECT_EQ(frame, frames);
}

TEST(SampleData, MakeResidentNeverInventsFrames) {
  struct {
    FaultySamples data;
    TextView error;
  } const cases[] = {
      {FaultySamples(1000, 999, false), u"Reading from file failed"},
      {FaultySamples(1000, 999, true), u"bad sector"},
      // A lie about the size must not be believed before the frames have been seen.
      {FaultySamples(int64_t{1} << 60, 5'000'000, false), u"Reading from file failed"},
      {FaultySamples(std::numeric_limits<int64_t>::max(), 10, false), u"Out of memory"},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(makeResident(std::make_shared<FaultySamples>(test.data)), nullptr);
    EXPECT_EQ(LastErrorText(), test.error);
  }
  const SampleRef whole = makeResident(std::make_shared<FaultySamples>(5'000'000, 5'000'000, false));
  ASSERT_TRUE(whole);
  EXPECT_EQ(whole->resident().size(), 5'000'000u);
}

TEST(SampleFormat, LowestFormatBitCountsAndFlagsDoNot) {
  EXPECT_EQ(formatOf(formatWord(SampleFormat::pcm24, BigEndian | Unsigned | SplitChannels)), SampleFormat::pcm24);
  EXPECT_EQ(formatOf((1u << 6) | (1u << 2)), SampleFormat::pcm16);
  EXPECT_EQ(formatOf(SampleFormatWord{BigEndian | (1u << 20)}), SampleFormat::none);
  EXPECT_EQ(bitsOf(SampleFormat::none), 0);
  EXPECT_TRUE(nameOf(static_cast<SampleFormat>(200)).empty());
}

TEST(SampleFormat, BitRatesRoundToTheNearestCoding) {
  struct {
    double kbitPerSecond;
    int coding;
  } const cases[] = {{-5, 8},   {39.4, 8},   {39.5, 8},     {39.6, 9},   {55, 9},  {287, 19},
                     {288, 20}, {287.5, 19}, {287.502, 20}, {1e300, 20}, {151, 15}};
  for (const auto& test : cases)
    EXPECT_EQ(static_cast<int>(codingOfBitRate(test.kbitPerSecond)), test.coding) << test.kbitPerSecond;
}

TEST(SampleFormat, OnlyCompressedCodingsHaveABitRate) {
  EXPECT_EQ(bitRateOf(SampleCoding::adpcm4), 0);
  EXPECT_EQ(formatOf(SampleCoding::adpcm4).format, SampleFormat::adpcm4);
  EXPECT_EQ(formatOf(SampleCoding::compressed144).kbitPerSecond, 144.0f);
  EXPECT_EQ(codingOf(SampleFormat::deltaPcm16, SampleCoding::float32), SampleCoding::pcm16);
  EXPECT_EQ(codingOf(SampleFormat::gsm, SampleCoding::adpcm4), SampleCoding::adpcm4);
}

}  // namespace
}  // namespace tervo
