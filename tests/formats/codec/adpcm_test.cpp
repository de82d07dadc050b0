#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "base/last_error.h"
#include "formats/codec/ima_adpcm.h"
#include "formats/codec/ms_adpcm.h"
#include "formats/codec/oki_adpcm.h"
#include "formats/codec/rockwell_adpcm.h"
#include "formats/codec/yamaha_adpcm.h"

namespace tervo {
namespace {

using Bytes = std::vector<unsigned char>;

MsAdpcmLayout msLayout(int channels, int blockAlign, int samplesPerBlock = 0) {
  const auto pairs = standardMsAdpcmCoefficients();
  return {channels, blockAlign, samplesPerBlock, {pairs.begin(), pairs.end()}};
}

// 16-bit samples of all blocks of a stream.
std::vector<int> decodeAll(BlockDecoder& decoder, int channels, std::span<const std::byte> bytes) {
  std::vector<int> samples;
  std::vector<float> out(decoder.blockFrames() * static_cast<std::size_t>(channels));
  while (!bytes.empty()) {
    const auto block = bytes.first(std::min(decoder.blockBytes(), bytes.size()));
    const std::size_t count = decoder.decode(block, out) * static_cast<std::size_t>(channels);
    for (std::size_t i = 0; i < count; ++i) samples.push_back(static_cast<int>(out[i] * 32768.0f));
    bytes = bytes.subspan(block.size());
  }
  return samples;
}

std::vector<int> decodeAll(const DecoderFactory& make, int channels, const Bytes& bytes) {
  return decodeAll(*make(), channels, std::as_bytes(std::span(bytes)));
}

struct Vector {
  const char* name;
  DecoderFactory decoder;
  int channels;
  Bytes bytes;
  std::vector<int> samples;
  int tolerance = 0;
};

// clang-format off
std::vector<Vector> vectors() {
  return {
    // sox 14.4.2 and libsndfile 1.2.0
    {"IMA, 4 bits, stereo", imaAdpcmDecoder({4, 2, 24, 17}), 2,
     {0xE8, 0x03, 0x14, 0x00, 0xD0, 0x8A, 0x3C, 0x00, 0x38, 0xB4, 0xE6, 0x52, 0xE4, 0x4D, 0xA7, 0xF2, 0x37, 0x0D, 0x9E,
      0x26, 0x0E, 0x27, 0x13, 0x65},
     {1000, -30000, 994, -27444, 1032, -31910, 1078, -32768, 1035, -24745, 1107, -8565, 977, -20127, 1065, -9616, 1243,
      -32768, 1598, -32768, 1955, -28673, 1446, 27190, 1514, 32767, 712, 32767, 384, 32767, 1677, 32767, 2558, 32767}},
    // FFmpeg 5.1
    {"IMA, 2 bits, stereo", imaAdpcmDecoder({2, 2, 16, 17}), 2,
     {0x0C, 0xFE, 0x28, 0x00, 0xD0, 0x07, 0x0A, 0x00, 0xCC, 0x75, 0xF6, 0x36, 0xD8, 0x50, 0x99, 0x09},
     {-500, 2000, -332, 2009, -792, 2001, -607, 2025, -1112, 1997, -500, 2008, 241, 2018, -656, 2046, 430, 2080, -8,
      2122, 1186, 2105, -258, 2151, -2007, 2133, -2712, 2184, -789, 2164, -3117, 2182, -2178, 2199}},
    // FFmpeg 5.1, which cuts the sum of the bits' shares and not each: a sample may be off by one more with each code
    {"IMA, 3 bits, stereo", imaAdpcmDecoder({3, 2, 32, 33}), 2,
     {0x0C, 0xFE, 0x58, 0x00, 0xD0, 0x07, 0x01, 0x00, 0x5A, 0xA3, 0x00, 0x16, 0x5A, 0x67, 0x03, 0x6F, 0x9B, 0x54, 0x0D,
      0x6B, 0x8F, 0x0B, 0xE2, 0x11, 0x24, 0x17, 0x9C, 0x3D, 0xD9, 0xF7, 0x38, 0x17},
     {-500, 2000, 32767, 2010, 32767, 2025, 8192, 2017, 30537, 2034, 32767, 2019, 32767, 2003, 32767, 2006, 32767, 2009,
      4786, 1988, 32767, 1978, 25996, 1969, 7529, 1948, 24317, 1951, 32767, 1929, 18892, 1949, 32767, 1953, 18892, 1973,
      31505, 1969, 27683, 1941, 17259, 1945, 1466, 1957, 4940, 1977, 14416, 1956, 23031, 1933, 4758, 1897, 20551, 1866,
      24025, 1915, 8232, 1907, 18656, 1961, 32767, 1915, 6012, 1885, 19887, 1894}, 2},
    // sox 14.4.2
    {"MS, stereo", msAdpcmDecoder(msLayout(2, 24, 12)), 2,
     {0x01, 0x06, 0x32, 0x00, 0x84, 0x03, 0x64, 0x00, 0xE0, 0xB1, 0x50, 0x00, 0xF8, 0xAD, 0x50, 0xA4, 0xA3, 0xA6, 0xD0,
      0x7F, 0x5C, 0x0C, 0x8B, 0x12},
     {80, -21000, 100, -20000, 370, -11594, 166, 3603, -986, 18928, -4034, 30932, -8978, 30211, -9953, 16667, -4133,
      -7466, 1687, -32768, -8093, -32768, -12023, -14042}},
    // sox 14.4.2 and FFmpeg 5.1
    {"OKI", okiAdpcmDecoder(), 1, {0x24, 0x08, 0x3F, 0xD2, 0x2B, 0x90, 0x2F, 0x89},
     {160, 448, 480, 448, 672, 192, -544, -48, 400, -160, -368, -304, 0, -832, -944, -1264}},
    // FFmpeg 5.1
    {"Yamaha, stereo", yamahaAdpcmDecoder(2), 2, {0x77, 0x87, 0x0F, 0x9A, 0x31, 0xC4, 0x5E, 0x28},
     {238, 238, 808, 200, -558, 234, -1650, 143, -1062, 335, 524, 114, -2222, 438, -2644, 673}},
    // mgetty-pvftools 1.2.1
    {"Rockwell, 2 bits", rockwellAdpcmDecoder(2), 1, {0x11, 0xE8, 0x18, 0x18, 0x9D, 0x5D},
     {-16, -55, -45, -83, -137, -24, 18, 110, -108, 27, -61, -184, -367, -107, -208, -384, -388, 55, -174, 57, -116, 229,
      -41, -40}},
    {"Rockwell, 3 bits", rockwellAdpcmDecoder(3), 1, {0x5D, 0x98, 0x31, 0x95, 0xD9, 0x0E},
     {24, 2, -39, -10, -55, -39, -15, -59, -3, -40, 24, 21, 48, 57, 34, -41}},
    {"Rockwell, 4 bits", rockwellAdpcmDecoder(4), 1, {0x94, 0x5D, 0xE2, 0xE8, 0xE7, 0x81},
     {-28, 0, 51, -9, -75, 110, 71, 310, 134, 577, -632, -149}},
  };
}
// clang-format on

TEST(Adpcm, DecodesToTheSamplesOfIndependentPrograms) {
  for (const Vector& vector : vectors()) {
    const auto samples = decodeAll(vector.decoder, vector.channels, vector.bytes);
    ASSERT_EQ(samples.size(), vector.samples.size()) << vector.name;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      EXPECT_NEAR(samples[i], vector.samples[i], vector.tolerance) << vector.name << " at " << i;
    }
  }
}

// What a stream must still hold when it is cut, and what a wrong header must not break.
TEST(Adpcm, ShortAndDamagedBlocksYieldWhatTheyHold) {
  const Vector ima = vectors()[0];
  const auto decoder = ima.decoder;
  const auto imaPrefix = [&](std::ptrdiff_t bytes) {
    return decodeAll(decoder, 2, Bytes(ima.bytes.begin(), ima.bytes.begin() + bytes));
  };
  EXPECT_EQ(imaPrefix(7).size(), 0u);
  EXPECT_EQ(imaPrefix(8).size(), 2u);
  EXPECT_EQ(imaPrefix(12).size(), 2u);  // codes of the left channel only
  EXPECT_EQ(imaPrefix(14), std::vector(ima.samples.begin(), ima.samples.begin() + 2 * 5));
  EXPECT_EQ(imaPrefix(23).size(), 2u * (1 + 8 + 6));

  EXPECT_EQ(decodeAll(imaAdpcmDecoder({4, 1, 8, 0}), 1, {0, 0, 255, 0, 0x07}),
            (std::vector{0, 32767, 32767}));  // a step index of 255 is the last one: 7.5 / 4 × 32767, then / 8

  const Vector ms = vectors()[3];
  const auto cut = decodeAll(ms.decoder, 2, Bytes(ms.bytes.begin(), ms.bytes.end() - 3));
  EXPECT_EQ(cut, std::vector(ms.samples.begin(), ms.samples.end() - 6));
  EXPECT_EQ(decodeAll(ms.decoder, 2, Bytes(ms.bytes.begin(), ms.bytes.begin() + 13)).size(), 0u);
  // A pair that the table does not have is the first: prediction = the last sample.
  EXPECT_EQ(decodeAll(msAdpcmDecoder(msLayout(1, 8)), 1, {200, 16, 0, 100, 0, 50, 0, 0x10}),
            (std::vector{50, 100, 116, 116}));
}

TEST(Adpcm, ImpossibleLayoutsAreRefused) {
  const std::vector<std::pair<ImaAdpcmLayout, bool>> ima = {
      {{4, 1, 256, 505}, true}, {{4, 1, 256, 0}, true},      {{4, 1, 4, 1}, true},    {{4, 1, 256, 506}, false},
      {{4, 1, 0, 0}, false},    {{4, 2, 7, 0}, false},       {{5, 1, 256, 0}, false}, {{1, 1, 256, 0}, false},
      {{4, 3, 256, 0}, false},  {{4, 0, 256, 0}, false},     {{4, 1, -4, 0}, false},  {{3, 2, 8 + 24, 33}, true},
      {{4, 1, 256, -1}, false}, {{3, 2, 8 + 24, 34}, false},
  };
  for (const auto& [layout, possible] : ima) {
    setLastErrorText(u"");
    EXPECT_EQ(static_cast<bool>(imaAdpcmDecoder(layout)), possible) << layout.blockAlign;
    EXPECT_EQ(LastErrorText(), possible ? u"" : u"Unsupported or invalid IMA ADPCM file");
  }
  EXPECT_FALSE(makeImaAdpcmEncoder({4, 2, 8 + 5, 0}));

  for (const auto& [layout, possible] : {std::pair{msLayout(1, 256, 500), true},
                                         {msLayout(1, 256, 501), false},
                                         {msLayout(2, 13), false},
                                         {msLayout(3, 256), false},
                                         {msLayout(1, 0), false},
                                         {msLayout(1, 256, 1), false},
                                         {MsAdpcmLayout{1, 256, 0, {}}, false}}) {
    EXPECT_EQ(static_cast<bool>(msAdpcmDecoder(layout)), possible) << layout.blockAlign;
  }
  EXPECT_FALSE(yamahaAdpcmDecoder(3));
  EXPECT_EQ(LastErrorText(), u"> 2ch Yamaha ADPCM not supported");
  EXPECT_FALSE(rockwellAdpcmDecoder(5));
  EXPECT_FALSE(makeRockwellAdpcmEncoder(1));
}

TEST(Adpcm, MsExtensionGivesTheCoefficients) {
  const auto read = [](const Bytes& extension) { return msAdpcmLayout(1, 256, std::as_bytes(std::span(extension))); };
  const auto two = read({0xF4, 0x01, 2, 0, 0, 1, 0, 0, 0x10, 0x27, 0xF0, 0xD8});
  ASSERT_TRUE(two);
  EXPECT_EQ(two->samplesPerBlock, 500);
  ASSERT_EQ(two->coefficients.size(), 2u);
  EXPECT_EQ(two->coefficients[1].first, 10000);
  EXPECT_EQ(two->coefficients[1].second, -10000);
  EXPECT_EQ(read({0xF4, 0x01})->coefficients.size(), 7u);
  EXPECT_FALSE(read({0xF4, 0x01, 0, 0}));
  EXPECT_FALSE(read({0xF4, 0x01, 0xFF, 0xFF, 0, 1, 0, 0}));
  EXPECT_EQ(LastErrorText(), u"Unsupported or invalid MS ADPCM file");
}

// Two sounds of 1000 Hz and 300 Hz that swell; the channels differ.
std::vector<float> testSignal(std::size_t frames, int channels) {
  std::vector<float> signal;
  for (std::size_t i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      const double time = static_cast<double>(i) / 8000, turn = 2 * std::numbers::pi * time;
      signal.push_back(static_cast<float>((0.2 + time) * std::sin(turn * (c == 0 ? 1000 : 300))));
    }
  }
  return signal;
}

double signalToNoise(std::span<const float> signal, std::span<const int> decoded) {
  double power = 0, noise = 1e-9;
  for (std::size_t i = 0; i < signal.size(); ++i) {
    const double error = signal[i] - decoded[i] / 32768.0;
    power += signal[i] * signal[i];
    noise += error * error;
  }
  return 10 * std::log10(power / noise);
}

struct Coding {
  const char* name;
  std::unique_ptr<BlockEncoder> encoder;
  DecoderFactory decoder;
  int channels;
  double expectedDecibels;  // some 6 dB a bit less one; a lost step or a wrong sign costs far more
};

TEST(Adpcm, EncodersFollowTheirDecoders) {
  std::vector<Coding> codings;
  for (const int channels : {1, 2}) {
    for (const int bits : {2, 3, 4}) {
      const auto layout = imaAdpcmLayoutFor(bits, channels, 8000);
      codings.push_back({"IMA", makeImaAdpcmEncoder(layout), imaAdpcmDecoder(layout), channels, bits * 6.0 - 6});
    }
    const auto layout = msAdpcmLayoutFor(channels, 8000);
    codings.push_back({"MS", makeMsAdpcmEncoder(layout), msAdpcmDecoder(layout), channels, 18});
    codings.push_back({"Yamaha", makeYamahaAdpcmEncoder(channels), yamahaAdpcmDecoder(channels), channels, 18});
  }
  codings.push_back({"OKI", makeOkiAdpcmEncoder(), okiAdpcmDecoder(), 1, 18});
  for (const int bits : {2, 3, 4}) {
    codings.push_back({"Rockwell", makeRockwellAdpcmEncoder(bits), rockwellAdpcmDecoder(bits), 1, bits * 6.0 - 6});
  }

  for (Coding& coding : codings) {
    // An odd number of frames, in two calls: the first a multiple of the block, as callers do.
    const auto signal = testSignal(2021, coding.channels);
    const std::size_t first = 1000 / coding.encoder->blockFrames() * coding.encoder->blockFrames();
    const auto width = static_cast<std::size_t>(coding.channels);
    std::vector<std::byte> bytes;
    coding.encoder->encode(std::span(signal).first(first * width), bytes);
    coding.encoder->encode(std::span(signal).subspan(first * width), bytes);
    coding.encoder->finish(bytes);

    const auto decoder = coding.decoder();
    const std::size_t unit = decoder->independentBlocks() ? decoder->blockBytes() : 1;
    EXPECT_EQ(bytes.size() % unit, 0u) << coding.name;
    const auto decoded = decodeAll(*decoder, coding.channels, bytes);
    ASSERT_GE(decoded.size(), signal.size()) << coding.name;
    EXPECT_GT(signalToNoise(signal, decoded), coding.expectedDecibels) << coding.name << coding.channels;
  }
}

}  // namespace
}  // namespace tervo
