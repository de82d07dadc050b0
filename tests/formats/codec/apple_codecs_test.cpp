// The codings that only AIFF-C has: packets of IMA ADPCM, MACE, DWVW.

#include <gmock/gmock.h>

#include "base/last_error.h"
#include "formats/codec/dwvw.h"
#include "formats/codec/ima4.h"
#include "formats/codec/mace.h"

namespace tervo {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

using Bytes = std::vector<std::byte>;

Bytes bytesOf(std::initializer_list<int> values) {
  Bytes bytes;
  for (const int value : values) bytes.push_back(static_cast<std::byte>(value));
  return bytes;
}
Bytes bits(std::string_view text) {
  Bytes bytes((text.size() + 7) / 8);
  for (std::size_t i = 0; i < text.size(); ++i)
    if (text[i] == '1') bytes[i / 8] |= static_cast<std::byte>(0x80 >> i % 8);
  return bytes;
}
Bytes noise(std::size_t count) {
  Bytes bytes;
  for (uint32_t state = 1; bytes.size() < count; state = state * 1664525 + 1013904223)
    bytes.push_back(static_cast<std::byte>(state >> 24));
  return bytes;
}

/// Frames from `first` on, as 16-bit or, with another scale, wider numbers.
std::vector<int> decode(const DecoderFactory& factory, const Bytes& bytes, int channels, int64_t frames,
                        int64_t first = 0, double scale = 32768) {
  StoredSamples stored;
  stored.source = std::make_shared<MemorySource>(bytes);
  stored.bytes = bytes.size();
  const auto samples = makeCodedSamples(stored, channels, frames, factory);
  std::vector<float> floats(static_cast<std::size_t>((frames - first) * channels));
  EXPECT_TRUE(samples->open(first)->read(floats));
  std::vector<int> values;
  for (const float value : floats) values.push_back(static_cast<int>(std::lround(value * scale)));
  return values;
}

// Expected values from FFmpeg 5.1.
TEST(Mace, decodesAsOtherDecodersDo) {
  const auto bytes = bytesOf({0x12, 0xE7, 0x5B, 0xC0, 0xFF, 0x08, 0x93, 0x6D});
  EXPECT_THAT(decode(maceDecoder(MaceRatio::threeToOne, 1), bytes, 1, 24),
              ElementsAre(0, -1, -1, -1, 0, -1, 257, 0, 514, 514, 771, 257, 257, 0, -1, 0, 257, 514, 1285, 0, -1800,
                          -3856, -515, 4883));
  const auto half = decode(maceDecoder(MaceRatio::sixToOne, 1), bytes, 1, 48);
  EXPECT_THAT(std::vector(half.begin() + 34, half.end()),
              ElementsAre(257, 257, 0, -1, -515, -772, -515, 0, 1028, 2313, 3084, 3598, 2827, 514));
}

// The standard's step table and rules by hand: the first step at index 1 is 8, code 4 adds step / 8 + step.
TEST(Ima4, packetBeginsWithSampleAndStep) {
  Bytes packet(34);
  packet[0] = std::byte{0x01}, packet[1] = std::byte{0x81};  // 384, step index 1
  packet[2] = std::byte{0xC4};                               // codes 4 and 12
  auto stereo = packet;
  stereo.insert(stereo.end(), 34, std::byte{0});
  EXPECT_EQ(decode(ima4Decoder(1), packet, 1, 64)[0], 393);
  EXPECT_EQ(decode(ima4Decoder(1), packet, 1, 64)[1], 382);  // index 3, step 10: 10 + 1 less
  EXPECT_THAT(decode(ima4Decoder(2), stereo, 2, 2), ElementsAre(393, 0, 382, 0));
}

TEST(Dwvw, followsItsGrammar) {
  const struct {
    int bits;
    std::string_view stream;
    std::vector<int> samples;
  } cases[] = {
      // width +1, 1 bit, plus; width -1: no difference; the same; width +1, minus
      {16,
       "01"
       "0"
       "0"
       "01"
       "1"
       "1"
       "01"
       "0"
       "1",
       {1, 1, 1, 0}},
      // width -1 is 15; the largest difference has one bit more, and -32768 is the same as 32768
      {16,
       "01"
       "1"
       "11111111111111"
       "0"
       "0"
       "1"
       "11111111111111"
       "1"
       "0",
       {32767, 0}},
      {16,
       "01"
       "1"
       "11111111111111"
       "1"
       "1",
       {-32768}},
      {16,
       "01"
       "1"
       "11111111111111"
       "0"
       "1",
       {-32768}},
      // the most zeros, half of 8 bits, have no end: width 4, then 1001
      {8,
       "0000"
       "0"
       "001"
       "0",
       {9}},
      // 24 bits: 23 bits of difference
      {24,
       "01"
       "1"
       "1000000000000000000000"
       "0",
       {6291456}},
  };
  for (const auto& c : cases) {
    const auto count = static_cast<int64_t>(c.samples.size());
    EXPECT_THAT(decode(dwvwDecoder(c.bits, 1), bits(c.stream), 1, count, 0, 1 << (c.bits - 1)),
                ElementsAreArray(c.samples))
        << c.stream;
  }
}

TEST(AppleCodecs, readTheSameFromAnywhere) {
  const struct {
    const char* name;
    DecoderFactory factory;
    int channels;
    int64_t frames;
  } cases[] = {
      {"MACE 3:1", maceDecoder(MaceRatio::threeToOne, 2), 2, 9000},
      {"MACE 6:1", maceDecoder(MaceRatio::sixToOne, 1), 1, 30000},
      {"ima4", ima4Decoder(2), 2, 8000},
      {"DWVW", dwvwDecoder(12, 1), 1, 20000},
  };
  const Bytes bytes = noise(20000);
  for (const auto& c : cases) {
    const auto all = decode(c.factory, bytes, c.channels, c.frames);
    for (const int64_t first : {int64_t{1}, int64_t{777}, c.frames - 5}) {
      const auto part = decode(c.factory, bytes, c.channels, c.frames, first);
      EXPECT_TRUE(std::equal(part.begin(), part.end(), all.begin() + first * c.channels)) << c.name << first;
    }
  }
}

}  // namespace
}  // namespace tervo
