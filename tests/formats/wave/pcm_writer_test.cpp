#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "base/last_error.h"
#include "formats/wave/pcm_import.h"
#include "formats/wave/sample_encoder.h"

namespace tervo {
namespace {

std::vector<std::byte> randomBytes(std::size_t count) {
  std::mt19937 random(4);
  std::vector<std::byte> bytes(count);
  for (auto& byte : bytes) byte = static_cast<std::byte>(random());
  return bytes;
}

SampleRef import(std::vector<std::byte> bytes, SampleFormatWord format, int channels, int64_t frames) {
  StoredSamples stored;
  stored.source = std::make_shared<MemorySource>(std::move(bytes));
  stored.format = format;
  return importPcm(stored, channels, frames);
}

std::vector<std::byte> written(const SampleData& data, SampleFormatWord format) {
  MemorySink sink;
  Host host;
  EXPECT_TRUE(writeSamples(sink, data, format, host)) << format;
  return sink.take();
}

TEST(PcmWriter, EveryFormatComesBackAsItWas) {
  // Frames in memory, so that nothing can be copied; more than one block, and an odd number of samples.
  constexpr int64_t frames = 66'001;
  const auto random = randomBytes(16 * frames);
  for (int value = 0; value <= static_cast<int>(SampleFormat::deltaPcm16); ++value) {
    const auto format = static_cast<SampleFormat>(value);
    if (format >= SampleFormat::gsm && format <= SampleFormat::adpcm5) continue;
    for (uint32_t flags : {0u, BigEndian, Unsigned, SplitChannels, BigEndian | Unsigned | SplitChannels}) {
      for (int channels : {1, 2}) {
        const auto word = formatWord(format, flags);
        const bool wide = format == SampleFormat::float64 || format == SampleFormat::pcm32;
        const auto depth = wide ? formatWord(SampleFormat::pcm16) : word;  // what a float holds of it
        const auto original = makeResident(import(random, depth, channels, frames));
        ASSERT_TRUE(original);
        const auto back = makeResident(import(written(*original, word), word, channels, frames));
        ASSERT_TRUE(back) << word;
        const std::size_t bytes = original->resident().size() * sizeof(float);
        EXPECT_EQ(std::memcmp(original->resident().data(), back->resident().data(), bytes), 0) << word;
      }
    }
  }
}

TEST(PcmWriter, PackedSamplesRoundAndClip) {
  const auto data = makeResident({1.0f, -1.0f, 0.5f / 2048, -0.5f / 2048, std::nanf("")}, 1);
  const std::vector<std::byte> expected{std::byte{0xFF}, std::byte{0x07}, std::byte{0x80}, std::byte{0x01},
                                        std::byte{0x00}, std::byte{0x00}, std::byte{0x00}, std::byte{0x00}};
  EXPECT_EQ(written(*data, formatWord(SampleFormat::pcm12)), expected);
}

TEST(PcmWriter, StoredBytesAreCopiedWhereTheFormatIsTheSame) {
  const auto bytes = randomBytes(8 * 70'000);
  struct {
    SampleFormatWord source, target;
    bool reversed, flipped;
  } const cases[] = {
      {formatWord(SampleFormat::pcm32), formatWord(SampleFormat::pcm32), false, false},
      {formatWord(SampleFormat::float64), formatWord(SampleFormat::float64, Unsigned), false, false},
      {formatWord(SampleFormat::float32), formatWord(SampleFormat::float32), false, false},
      {formatWord(SampleFormat::pcm32), formatWord(SampleFormat::pcm32, BigEndian), true, false},
      {formatWord(SampleFormat::pcm32, BigEndian), formatWord(SampleFormat::pcm32, Unsigned), true, true},
      {formatWord(SampleFormat::float64, BigEndian), formatWord(SampleFormat::float64), true, false},
      {formatWord(SampleFormat::pcm32, SplitChannels), formatWord(SampleFormat::pcm32, SplitChannels | Unsigned), false,
       true},
  };
  for (const auto& test : cases) {
    const auto width = static_cast<std::size_t>(bitsOf(formatOf(test.source)) / 8);
    const auto frames = static_cast<int64_t>(bytes.size() / width / 2);
    auto expected = bytes;
    for (std::size_t at = 0; at < expected.size(); at += width) {
      const auto begin = expected.begin() + static_cast<std::ptrdiff_t>(at);
      if (test.reversed) std::reverse(begin, begin + static_cast<std::ptrdiff_t>(width));
      if (test.flipped) expected[at + (test.target & BigEndian ? 0 : width - 1)] ^= std::byte{0x80};
    }
    EXPECT_TRUE(written(*import(bytes, test.source, 2, frames), test.target) == expected) << test.source;
  }
}

class Impatient final : public Host {
 public:
  bool progress(double fraction) override {
    last = fraction;
    return ++calls < limit;
  }
  int limit = 1000;
  int calls = 0;
  double last = 0;
};

/// Takes some bytes and then has no room.
class FullSink final : public ByteSink {
 public:
  bool write(std::span<const std::byte> bytes) override {
    position_ += bytes.size();
    return position_ < 300'000 ? true : bool(fail(u"Writing to file failed"));
  }
  bool patch(uint64_t, std::span<const std::byte>) override { return false; }
  uint64_t position() const override { return position_; }

 private:
  uint64_t position_ = 0;
};

TEST(PcmWriter, StopsWhenAskedToAndWhenTheTargetFails) {
  constexpr auto pcm16 = formatWord(SampleFormat::pcm16);
  const auto data = import(randomBytes(4 * 400'000), pcm16, 2, 400'000);
  for (auto target : {pcm16, formatWord(SampleFormat::pcm24), formatWord(SampleFormat::pcm8, SplitChannels)}) {
    MemorySink sink;
    Impatient host;
    EXPECT_TRUE(writeSamples(sink, *data, target, host));
    EXPECT_EQ(host.last, 1.0);
    host.calls = 0;
    host.limit = 1;
    EXPECT_FALSE(writeSamples(sink, *data, target, host));
    EXPECT_EQ(LastErrorText(), u"Save aborted!");
    FullSink full;
    host.limit = 1000;
    EXPECT_FALSE(writeSamples(full, *data, target, host));
    EXPECT_EQ(LastErrorText(), u"Writing to file failed");
  }
  MemorySink sink;
  Host host;
  EXPECT_FALSE(writeSamples(sink, *data, formatWord(SampleFormat::gsm), host));
}

/// The decision values of ITU-T G.711, tables 1a and 2a, positive half: `steps` intervals of each width, the widths
/// doubling from segment to segment.
std::vector<int> decisionValues(int first, std::initializer_list<int> intervals, int width, int scale) {
  std::vector<int> values;
  int value = first;
  for (int count : intervals) {
    for (int i = 0; i < count; ++i, value += width) values.push_back(value * scale);
    width *= 2;
  }
  return values;
}

/// A-law: 13-bit values, 32 intervals of 2 and 16 of each doubled width. Mu-law: 14-bit values, after the first
/// interval of 1 there are 15 of 2, then 16 of each doubled width.
std::vector<int> positiveDecisionValues(CompandingLaw law) {
  if (law == CompandingLaw::aLaw) return decisionValues(2, {31, 16, 16, 16, 16, 16, 16}, 2, 8);
  return decisionValues(1, {15, 16, 16, 16, 16, 16, 16, 16}, 2, 4);
}

TEST(G711, CompressesAtTheDecisionValuesOfTheStandard) {
  const auto aLaw = positiveDecisionValues(CompandingLaw::aLaw);
  const auto muLaw = positiveDecisionValues(CompandingLaw::muLaw);
  for (int value = 0; value < 32768; ++value) {
    const auto aIndex = std::upper_bound(aLaw.begin(), aLaw.end(), value) - aLaw.begin();
    const auto muIndex =
        std::min<std::ptrdiff_t>(std::upper_bound(muLaw.begin(), muLaw.end(), value) - muLaw.begin(), 127);
    const auto plus = static_cast<int16_t>(value);
    const auto minus = static_cast<int16_t>(-value - 1);
    ASSERT_EQ(compress(CompandingLaw::aLaw, plus), (0x80 | aIndex) ^ 0x55) << value;
    ASSERT_EQ(compress(CompandingLaw::aLaw, minus), aIndex ^ 0x55) << value;
    ASSERT_EQ(compress(CompandingLaw::muLaw, plus), 0xFF - muIndex) << value;
    ASSERT_EQ(compress(CompandingLaw::muLaw, minus), 0x7F - muIndex) << value;
  }
}

TEST(G711, ExpandsToTheMiddleOfEachInterval) {
  for (auto law : {CompandingLaw::aLaw, CompandingLaw::muLaw}) {
    const bool isALaw = law == CompandingLaw::aLaw;
    auto bounds = positiveDecisionValues(law);
    bounds.insert(bounds.begin(), isALaw ? 0 : -bounds[0]);  // zero itself is an output of mu-law
    bounds.push_back(isALaw ? 4096 * 8 : 8159 * 4);
    const auto table = expansionTable(law);
    for (std::size_t i = 0; i < 128; ++i) {
      const auto magnitude = static_cast<float>(bounds[i] + bounds[i + 1]) / 65536.0f;
      EXPECT_EQ(table[isALaw ? (0x80 | i) ^ 0x55 : 0xFF - i], magnitude);
      EXPECT_EQ(table[isALaw ? i ^ 0x55 : 0x7F - i], -magnitude);
    }
  }
}

}  // namespace
}  // namespace tervo
