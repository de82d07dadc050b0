#include "dsp/sample_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "dsp/channel_kernels.h"

namespace tervo::dsp {
namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

std::string nameOf(InstructionSet set, SampleWord word, ByteOrder order) {
  return "set " + std::to_string(static_cast<int>(set)) + ", word " + std::to_string(static_cast<int>(word)) +
         (order == ByteOrder::big ? ", big" : ", little");
}

template <typename Body>
void forEachKernel(Body body) {
  for (auto set : {InstructionSet::scalar, InstructionSet::sse2, InstructionSet::avx2})
    for (std::size_t word = 0; isAvailable(set) && word < sampleWordCount; ++word)
      for (auto order : {ByteOrder::little, ByteOrder::big}) body(set, static_cast<SampleWord>(word), order);
}

std::vector<std::byte> randomBytes(std::size_t count) {
  std::mt19937 random(1);
  std::vector<std::byte> bytes(count);
  for (auto& byte : bytes) byte = static_cast<std::byte>(random());
  return bytes;
}

/// Around everything that matters to rounding at 8 to 32 bits: grid points, ties, their neighbours, limits, specials.
std::vector<float> awkwardFloats() {
  std::vector<float> floats{0.0f,   -0.0f,   infinity, -infinity, notANumber, -notANumber, 1e-45f,
                            1e-30f, -1e-30f, 3.4e38f,  -3.4e38f,  0.5f,       -0.5f};
  std::mt19937 random(2);
  for (int bits : {7, 15, 23, 31}) {
    for (int k = 0; k < 2000; ++k) {
      const double range = std::ldexp(1.0, bits);
      const double grid = std::floor(std::ldexp(static_cast<double>(random()), -32) * 2.2 * range - 1.1 * range);
      const auto value = static_cast<float>((grid + 0.5 * (k % 2)) / range);
      for (float x : {value, std::nextafter(value, 2.0f), std::nextafter(value, -2.0f)}) floats.push_back(x);
    }
    for (float x : {1.0f, -1.0f}) floats.insert(floats.end(), {x, std::nextafter(x, 2.0f), std::nextafter(x, -2.0f)});
  }
  for (int k = 0; k < 4000; ++k) {  // any bit pattern
    const auto bits = static_cast<uint32_t>(random());
    float x;
    std::memcpy(&x, &bits, 4);
    floats.push_back(x);
  }
  return floats;
}

TEST(SampleKernels, EveryInstructionSetGivesTheBitsOfTheReference) {
  const auto bytes = randomBytes(8 * 3000 + 64);
  const auto floats = awkwardFloats();
  forEachKernel([&](InstructionSet set, SampleWord word, ByteOrder order) {
    const SampleKernels& reference = sampleKernels(InstructionSet::scalar, word, order);
    const SampleKernels& tested = sampleKernels(set, word, order);
    for (std::size_t samples : {0u, 1u, 15u, 16u, 17u, 31u, 33u, 1001u, 3000u}) {
      for (std::size_t offset : {0u, 1u, 3u, 8u}) {
        std::vector<float> expected(samples + offset + 1, 7.0f);
        std::vector<float> decoded = expected;
        reference.decode(bytes.data() + offset, expected.data() + offset, samples);
        tested.decode(bytes.data() + offset, decoded.data() + offset, samples);
        ASSERT_EQ(std::memcmp(expected.data(), decoded.data(), expected.size() * 4), 0)
            << nameOf(set, word, order) << " decode " << samples << " at " << offset;
      }
    }
    for (std::size_t first = 0; first < floats.size(); first += 997) {
      const std::size_t samples = std::min<std::size_t>(floats.size() - first, 1013);
      std::vector<std::byte> expected(samples * bytesOf(word) + 2, std::byte{0xA5});
      std::vector<std::byte> encoded = expected;
      reference.encode(floats.data() + first, expected.data() + 1, samples);
      tested.encode(floats.data() + first, encoded.data() + 1, samples);
      ASSERT_EQ(expected, encoded) << nameOf(set, word, order) << " encode from " << first;
    }
  });
}

/// Stored bytes of one value, least significant first.
int64_t encodeOne(InstructionSet set, SampleWord word, ByteOrder order, float x) {
  std::vector<float> in(16, x);
  std::vector<std::byte> out(16 * bytesOf(word));
  sampleKernels(set, word, order).encode(in.data(), out.data(), in.size());
  int64_t value = 0;
  for (std::size_t i = bytesOf(word); i-- > 0;) {
    const std::size_t place = order == ByteOrder::little ? i : bytesOf(word) - 1 - i;
    value = value << 8 | std::to_integer<int64_t>(out[15 * bytesOf(word) + place]);
  }
  return value;
}

TEST(SampleKernels, EncodingRoundsAndClipsAsDefined) {
  const float below = std::nextafter(1.0f, 0.0f);
  struct {
    SampleWord word;
    float x;
    int64_t expected;  // as it stands in the file
  } const cases[] = {
      {SampleWord::s16, 1.0f, 0x7FFF},
      {SampleWord::s16, -1.0f, 0x8000},
      {SampleWord::s16, 2.0f, 0x7FFF},
      {SampleWord::s16, -infinity, 0x8000},
      {SampleWord::s16, notANumber, 0},
      {SampleWord::s16, 0.5f / 32768, 1},
      {SampleWord::s16, -0.5f / 32768, 0},
      {SampleWord::s16, 1.5f / 32768, 2},
      {SampleWord::s16, -1.5f / 32768, 0xFFFF},
      {SampleWord::s16, std::nextafter(0.5f / 32768, 0.0f), 0},  // adding a half in floats would make it 1
      {SampleWord::u16, -1.0f, 0},
      {SampleWord::u16, 0.0f, 0x8000},
      {SampleWord::u8, 0.0f, 128},
      {SampleWord::u8, -1.0f, 0},
      {SampleWord::u8, 1.0f, 255},
      {SampleWord::u8, 0.5f / 128, 129},
      {SampleWord::s8, -0.5f / 128, 0},
      {SampleWord::s24, -1.0f, 0x800000},
      {SampleWord::s24, 1.0f, 0x7FFFFF},
      {SampleWord::s24, std::nextafter(0x1p-23f, 0.0f), 0},
      {SampleWord::s24, -0.25f * 0x1p-23f, 0xFFFFFF},
      {SampleWord::s24, notANumber, 0},
      {SampleWord::u24, 0.0f, 0x800000},
      {SampleWord::s24in32, -0x1p-23f, 0xFFFFFF00},
      {SampleWord::s24in32, infinity, 0x7FFFFF00},
      {SampleWord::s32, 1.0f, 0x7FFFFFFF},
      {SampleWord::s32, below, 0x7FFFFF80},
      {SampleWord::s32, -1.0f, 0x80000000},
      {SampleWord::s32, -infinity, 0x80000000},
      {SampleWord::s32, -0x1p-40f, 0xFFFFFFFF},
      {SampleWord::s32, notANumber, 0},
      {SampleWord::u32, -1.0f, 0},
      {SampleWord::f32, -0.0f, 0x80000000},
      {SampleWord::f64, 1.0f, 0x3FF0000000000000},
  };
  forEachKernel([&](InstructionSet set, SampleWord word, ByteOrder order) {
    for (const auto& test : cases) {
      if (test.word != word) continue;
      EXPECT_EQ(encodeOne(set, word, order, test.x), test.expected) << nameOf(set, word, order) << ": " << test.x;
    }
  });
}

TEST(SampleKernels, DecodingScalesByHalfTheRange) {
  const std::byte bytes[] = {std::byte{0xFF}, std::byte{0x80}, std::byte{0x01}, std::byte{0xC0}};
  struct {
    SampleWord word;
    double little, big;
  } const cases[] = {
      {SampleWord::s8, -1.0 / 128, -1.0 / 128},
      {SampleWord::u8, 0.9921875, 0.9921875},
      {SampleWord::s16, -32513.0 / 32768, -128.0 / 32768},
      {SampleWord::u16, 255.0 / 32768, 32640.0 / 32768},
      {SampleWord::s24, 98559.0 / 8388608, -32767.0 / 8388608},
      {SampleWord::s32, -1073643265.0 / 2147483648.0, -8388160.0 / 2147483648.0},
      {SampleWord::u32, 1073840383.0 / 2147483648.0, 2139095488.0 / 2147483648.0},
  };
  forEachKernel([&](InstructionSet set, SampleWord word, ByteOrder order) {
    for (const auto& test : cases) {
      if (test.word != word) continue;
      std::vector<std::byte> in;
      for (int i = 0; i < 16; ++i) in.insert(in.end(), bytes, bytes + bytesOf(word));
      std::vector<float> out(16);
      sampleKernels(set, word, order).decode(in.data(), out.data(), 16);
      const auto expected = static_cast<float>(order == ByteOrder::little ? test.little : test.big);
      EXPECT_EQ(out[0], expected) << nameOf(set, word, order);
      EXPECT_EQ(out[15], expected) << nameOf(set, word, order);
    }
  });
}

TEST(SampleKernels, IntegersUpTo24BitsAreTheSameAfterARoundTrip) {
  for (auto word :
       {SampleWord::s8, SampleWord::u8, SampleWord::s16, SampleWord::u16, SampleWord::s24, SampleWord::u24}) {
    const std::size_t bytes = bytesOf(word);
    const std::size_t count = std::size_t{1} << (8 * bytes);
    std::vector<std::byte> all(count * bytes);
    for (std::size_t i = 0; i < count; ++i) std::memcpy(all.data() + i * bytes, &i, bytes);
    std::vector<float> floats(count);
    std::vector<std::byte> back(all.size());
    for (auto order : {ByteOrder::little, ByteOrder::big}) {
      EXPECT_EQ(decodeSamples(word, order, all, floats), count);
      EXPECT_EQ(encodeSamples(word, order, floats, back), count);
      EXPECT_TRUE(all == back) << static_cast<int>(word);
    }
  }
}

TEST(SampleKernels, FloatsComeBackFromBothWidthsAndOrders) {
  const auto floats = awkwardFloats();
  for (auto word : {SampleWord::f32, SampleWord::f64}) {
    for (auto order : {ByteOrder::little, ByteOrder::big}) {
      std::vector<std::byte> stored(floats.size() * bytesOf(word));
      std::vector<float> back(floats.size());
      encodeSamples(word, order, floats, stored);
      decodeSamples(word, order, stored, back);
      for (std::size_t i = 0; i < floats.size(); ++i)
        ASSERT_TRUE(back[i] == floats[i] || (std::isnan(back[i]) && std::isnan(floats[i]))) << floats[i];
    }
  }
}

TEST(SampleKernels, SpansBoundWhatIsConverted) {
  const auto in = randomBytes(3 * 100 + 2);
  std::vector<float> out(1000, 9.0f);
  EXPECT_EQ(decodeSamples(SampleWord::s24, ByteOrder::little, in, out), 100u);
  EXPECT_EQ(out[100], 9.0f);
  std::vector<std::byte> small(3 * 20 + 1, std::byte{0x55});
  EXPECT_EQ(encodeSamples(SampleWord::s24, ByteOrder::big, out, small), 20u);
  EXPECT_EQ(small.back(), std::byte{0x55});
}

TEST(ChannelKernels, EveryInstructionSetGivesTheBitsOfTheReference) {
  const auto floats = awkwardFloats();
  for (auto set : {InstructionSet::sse2, InstructionSet::avx2}) {
    if (!isAvailable(set)) continue;
    for (std::size_t frames : {0u, 1u, 3u, 4u, 7u, 8u, 9u, 1001u}) {
      std::vector<float> expected(2 * frames + 1, 7.0f), got(2 * frames + 1, 7.0f);
      channelKernels(InstructionSet::scalar).interleave(floats.data() + 1, floats.data() + 3, expected.data(), frames);
      channelKernels(set).interleave(floats.data() + 1, floats.data() + 3, got.data(), frames);
      ASSERT_EQ(std::memcmp(expected.data(), got.data(), got.size() * 4), 0) << frames;
      channelKernels(InstructionSet::scalar).mixToMono(floats.data() + 20, expected.data(), frames);
      channelKernels(set).mixToMono(floats.data() + 20, got.data(), frames);
      ASSERT_EQ(std::memcmp(expected.data(), got.data(), got.size() * 4), 0) << frames;
    }
  }
}

TEST(ChannelKernels, MixesEachChannelByItsWeights) {
  const std::vector<float> frames{1, 2, 3, 10, 20, 30};
  std::vector<float> stereo(5, 0.0f);
  mixToStereo(frames, std::vector<float>{1, 0, 0.5f}, std::vector<float>{0, 1, 0.5f}, stereo);
  EXPECT_EQ(stereo, (std::vector<float>{2.5f, 3.5f, 25, 35, 0}));
}

}  // namespace
}  // namespace tervo::dsp
