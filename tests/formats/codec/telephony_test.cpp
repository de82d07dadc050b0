#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "base/last_error.h"
#include "dsp/sample_kernels.h"
#include "formats/codec/g722.h"
#include "formats/codec/g726.h"
#include "formats/codec/gsm0610.h"

namespace tervo {
namespace {

using Bytes = std::vector<std::byte>;

Bytes encode(BlockEncoder& encoder, std::span<const float> frames, std::size_t piece) {
  Bytes coded;
  for (; !frames.empty(); frames = frames.subspan(std::min(piece, frames.size())))
    encoder.encode(frames.first(std::min(piece, frames.size())), coded);
  encoder.finish(coded);
  return coded;
}

std::vector<float> decode(const DecoderFactory& factory, std::span<const std::byte> coded, int channels = 1) {
  const auto decoder = factory();
  std::vector<float> all, block(decoder->blockFrames() * static_cast<std::size_t>(channels));
  while (!coded.empty()) {
    const auto part = coded.first(std::min(decoder->blockBytes(), coded.size()));
    const std::size_t frames = decoder->decode(part, block);
    all.insert(all.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(frames) * channels);
    coded = coded.subspan(part.size());
  }
  return all;
}

Bytes words16(std::span<const float> frames) {
  Bytes bytes;
  for (const float frame : frames) {
    const auto value = static_cast<uint16_t>(toPcm16(frame));
    bytes.push_back(static_cast<std::byte>(value & 0xFF));
    bytes.push_back(static_cast<std::byte>(value >> 8));
  }
  return bytes;
}

// FNV-1a
uint64_t hashOf(std::span<const std::byte> bytes) {
  uint64_t hash = 0xCBF29CE484222325;
  for (const std::byte byte : bytes) hash = (hash ^ std::to_integer<uint64_t>(byte)) * 0x100000001B3;
  return hash;
}

// Rising triangle waves under a saw-tooth envelope, with a little noise: silence, soft and loud stretches, all without
// overload.
std::vector<float> testSignal() {
  std::vector<float> frames;
  uint32_t noise = 1;
  int phase = 0;
  for (int i = 0; i < 8000; ++i) {
    phase = (phase + 400 + (i >> 2)) & 0xFFFF;
    noise = noise * 1664525 + 1013904223;
    const int triangle = std::abs(phase - 32768) - 16384;
    frames.push_back(fromPcm16(triangle * ((i / 50) % 64) / 64 + static_cast<int>(noise >> 24) - 128));
  }
  return frames;
}

struct Vector {
  const char* name;
  std::unique_ptr<BlockEncoder> encoder;
  DecoderFactory decoder;
  std::size_t codedBytes;
  uint64_t codedHash;
  std::size_t decodedFrames;
  uint64_t decodedHash;
};

// What other programs make of the test signal, and of the bytes that they make of it: G.726 and G.722 by spandsp 0.0.6
// (which leaves the last word of packed 6 and 7 bits undecoded), G.722 at 8 bits by ffmpeg 5.1 too, GSM by sox 14.4.2
// with libgsm 1.0.22.
std::vector<Vector> vectors() {
  constexpr auto little = BitOrder::little, big = BitOrder::big;
  std::vector<Vector> all;
  const auto g726 = [&](const char* name, int bits, BitOrder order, uint64_t coded, uint64_t decoded) {
    const auto bytes = static_cast<std::size_t>(bits) * 1000;
    all.push_back({name, g726Encoder(bits, order), g726Decoder(bits, order), bytes, coded, 8000, decoded});
  };
  g726("G.726, 2 bits", 2, little, 0xC01D07FF45B0CCB7, 0xE532F1B1B8CB07AD);
  g726("G.726, 3 bits", 3, little, 0x702638508F069069, 0xC8B4BF3D43CB78E5);
  g726("G.726, 4 bits", 4, little, 0x76D6157B33C22B47, 0xB1634EF495FFCBDC);
  g726("G.726, 5 bits", 5, little, 0x51DA754162E2F041, 0x89D26546445F2488);
  g726("G.726, 2 bits, big", 2, big, 0x8DFE18958E5DFE48, 0xE532F1B1B8CB07AD);
  g726("G.726, 3 bits, big", 3, big, 0x6A3901F0E682D59B, 0xC8B4BF3D43CB78E5);
  g726("G.726, 5 bits, big", 5, big, 0x41B4963878DF517A, 0x89D26546445F2488);
  all.push_back({"G.722, 6 bits", g722Encoder(6), g722Decoder(6), 3000, 0xF56A1948A61C8CD5, 7998, 0x985434DD26F519FC});
  all.push_back({"G.722, 7 bits", g722Encoder(7), g722Decoder(7), 3500, 0x02BB54D451EDBEB9, 7998, 0xF1BD9963DFDC4A9F});
  all.push_back({"G.722, 8 bits", g722Encoder(8), g722Decoder(8), 4000, 0xFC400E6A6EAE930B, 8000, 0xEDF952EB2A446B1D});
  constexpr auto frames = GsmPacking::frames33, pairs = GsmPacking::wavPairs65;
  all.push_back({"GSM", gsmEncoder(frames), gsmDecoder(frames), 1650, 0xC89BE64C9ED8B96F, 8000, 0x8218F5E9338B9BB3});
  all.push_back(
      {"GSM pairs", gsmEncoder(pairs), gsmDecoder(pairs), 1625, 0xA924674CDF0CEAFC, 8000, 0x8218F5E9338B9BB3});
  return all;
}

TEST(TelephonyCodecs, AgreeWithOtherProgramsBitForBit) {
  const auto signal = testSignal();
  for (const Vector& vector : vectors()) {
    SCOPED_TRACE(vector.name);
    const Bytes coded = encode(*vector.encoder, signal, vector.encoder->blockFrames() * 7);
    EXPECT_EQ(coded.size(), vector.codedBytes);
    EXPECT_EQ(hashOf(coded), vector.codedHash);
    const auto decoded = decode(vector.decoder, coded);
    ASSERT_EQ(decoded.size(), 8000u);
    EXPECT_EQ(hashOf(words16(std::span(decoded).first(vector.decodedFrames))), vector.decodedHash);
  }
}

double signalToNoise(std::span<const float> signal, std::span<const float> decoded, std::size_t delay) {
  double power = 0, noise = 0;
  for (std::size_t i = 2000; i < decoded.size(); ++i) {
    const double wanted = signal[i - delay];
    power += wanted * wanted;
    noise += (decoded[i] - wanted) * (decoded[i] - wanted);
  }
  return 10 * std::log10(power / noise);
}

TEST(TelephonyCodecs, KeepATone) {
  std::vector<float> tone(16000);
  for (std::size_t i = 0; i < tone.size(); ++i)
    tone[i] = 0.3f * static_cast<float>(std::sin(2 * std::numbers::pi * static_cast<double>(i) / 17.3));
  struct Case {
    const char* name;
    std::unique_ptr<BlockEncoder> encoder;
    DecoderFactory decoder;
    std::size_t delay;  // of the mirror filters
    double decibels;
  };
  constexpr auto big = BitOrder::big;
  constexpr auto gsm = GsmPacking::modem38;
  Case cases[] = {{"16 kbit/s", g726Encoder(2, big), g726Decoder(2, big), 0, 12},
                  {"24 kbit/s", g726Encoder(3, big), g726Decoder(3, big), 0, 20},
                  {"32 kbit/s", g726Encoder(4, big), g726Decoder(4, big), 0, 26},
                  {"40 kbit/s", g726Encoder(5, big), g726Decoder(5, big), 0, 32},
                  {"48 kbit/s", g722Encoder(6, big), g722Decoder(6, big), 22, 30},
                  {"56 kbit/s", g722Encoder(7, big), g722Decoder(7, big), 22, 36},
                  {"64 kbit/s", g722Encoder(8, big), g722Decoder(8, big), 22, 40},
                  {"13 kbit/s", gsmEncoder(gsm), gsmDecoder(gsm), 0, 10}};
  for (Case& c : cases) {
    const auto decoded = decode(c.decoder, encode(*c.encoder, tone, c.encoder->blockFrames()));
    const double decibels = signalToNoise(tone, std::span(decoded).first(tone.size()), c.delay);
    EXPECT_GT(decibels, c.decibels) << c.name;
    EXPECT_LT(decibels, 90) << c.name;
  }
}

// ITU-T G.726, LIMO: a decoder that let its sum wrap would flip the sign of the peaks.
TEST(TelephonyCodecs, OverloadClips) {
  std::vector<float> loud(4000);
  for (std::size_t i = 0; i < loud.size(); ++i)
    loud[i] = static_cast<float>(std::sin(2 * std::numbers::pi * static_cast<double>(i) / 31.7));
  for (int bits = 2; bits <= 5; ++bits) {
    const auto coded = encode(*g726Encoder(bits, BitOrder::little), loud, 4000);
    const auto decoded = decode(g726Decoder(bits, BitOrder::little), coded);
    EXPECT_EQ(*std::min_element(decoded.begin(), decoded.end()), -1.0f) << bits;
    std::size_t flipped = 0;
    for (std::size_t i = 400; i < loud.size(); ++i) flipped += std::abs(loud[i]) > 0.9f && decoded[i] * loud[i] < 0.3f;
    EXPECT_EQ(flipped, 0u) << bits;
  }
}

TEST(TelephonyCodecs, ChannelsAlternateWordByWord) {
  const auto left = testSignal();
  std::vector<float> stereo;
  for (std::size_t i = 0; i < left.size(); ++i) stereo.insert(stereo.end(), {left[i], left[left.size() - 1 - i]});
  const auto coded = encode(*g726Encoder(3, BitOrder::little, 2), stereo, 16);
  const auto decoded = decode(g726Decoder(3, BitOrder::little, 2), coded, 2);
  const auto alone = decode(g726Decoder(3, BitOrder::little), encode(*g726Encoder(3, BitOrder::little), left, 800));
  ASSERT_EQ(decoded.size(), stereo.size());
  for (std::size_t i = 0; i < left.size(); ++i) ASSERT_EQ(decoded[2 * i], alone[i]) << i;
}

// RFC 3551, section 4.5.4: the first 3-bit word in the least significant bits.
TEST(CodeWords, LieInBothOrders) {
  const uint8_t words[] = {1, 2, 3, 4, 5, 6};  // 18 bits
  struct Case {
    BitOrder order;
    std::vector<int> bytes;
  };
  for (const auto& [order, bytes] : {Case{BitOrder::little, {0b11'010'001, 0b0'101'100'0, 0b11}},
                                     Case{BitOrder::big, {0b001'010'01, 0b1'100'101'1, 0b10'000000}}}) {
    CodeWordPacker packer(3, order);
    Bytes packed;
    for (const uint8_t word : words) packer.put(word, packed);
    packer.finish(packed);
    ASSERT_EQ(packed.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(std::to_integer<int>(packed[i]), bytes[i]) << i;
    uint8_t unpacked[8] = {};
    EXPECT_EQ(unpackCodeWords(packed, 3, order, unpacked), 8u);
    EXPECT_TRUE(std::equal(std::begin(words), std::end(words), unpacked));
  }
}

TEST(TelephonyCodecs, OtherModesAreRejected) {
  for (const int bits : {-1, 0, 1, 6, 8}) EXPECT_FALSE(g726Decoder(bits, BitOrder::big)) << bits;
  EXPECT_EQ(LastErrorText(), u"Invalid no bits/sample for CCITT G.721/.723/.726 ADPCM encoding");
  for (const int bits : {0, 5, 9, 16}) EXPECT_FALSE(g722Decoder(bits)) << bits;
  EXPECT_NE(LastErrorText().find(u"6, 7 or 8"), Text::npos);
}

// A frame without its mark gives silence and disturbs nothing; half a pair gives its first frame.
TEST(Gsm, DamagedAndShortBlocks) {
  const auto signal = testSignal();
  Bytes coded = encode(*gsmEncoder(GsmPacking::frames33), signal, 1600);
  const auto whole = decode(gsmDecoder(GsmPacking::frames33), coded);
  Bytes inserted = coded;
  inserted.insert(inserted.begin() + 33 * 10, 33, std::byte{0x5A});
  const auto damaged = decode(gsmDecoder(GsmPacking::frames33), inserted);
  ASSERT_EQ(damaged.size(), whole.size() + 160);
  EXPECT_EQ(damaged[1605], 0.0f);
  EXPECT_TRUE(std::equal(whole.begin() + 1600, whole.end(), damaged.begin() + 1760));

  const Bytes pairs = encode(*gsmEncoder(GsmPacking::wavPairs65), signal, 320);
  for (const auto& [bytes, frames] : {std::pair{65 + 33, 480}, {65 + 32, 320}, {130, 640}, {32, 0}}) {
    const auto part = std::span(pairs).first(static_cast<std::size_t>(bytes));
    EXPECT_EQ(gsmFrames(GsmPacking::wavPairs65, part.size()), frames);
    const auto decoded = decode(gsmDecoder(GsmPacking::wavPairs65), part);
    ASSERT_EQ(decoded.size(), static_cast<std::size_t>(frames));
    EXPECT_TRUE(std::equal(decoded.begin(), decoded.end(), whole.begin()));
  }
}

TEST(CodeWords, FloatsBecome16BitsAsInPlainFiles) {
  const float tie = 0.5f / 32768;
  for (const float x : {tie, -tie, std::nextafter(tie, 0.0f), 3 * tie, 1.0f, -1.0f, 1e30f, -INFINITY, NAN, 1e-42f}) {
    LittleI16 word;
    dsp::encodeSamples(dsp::SampleWord::s16, ByteOrder::little, {&x, 1}, std::as_writable_bytes(std::span(&word, 1)));
    EXPECT_EQ(toPcm16(x), word) << x;
  }
}

}  // namespace
}  // namespace tervo
