// Streams of codec libraries: what their headers say, decoding from anywhere, and streams that lie. What needs a
// library is skipped where there is none.

#include "formats/codec/compressed_stream.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "base/byte_writer.h"
#include "base/last_error.h"
#include "formats/codec/codec_library.h"
#include "formats/codec/flac.h"
#include "formats/codec/ogg_vorbis.h"
#include "formats/stored_samples.h"

namespace tervo::test {
namespace {

using Bytes = std::vector<std::byte>;

StoredSamples stored(Bytes bytes) {
  StoredSamples result;
  result.bytes = bytes.size();
  result.source = std::make_shared<MemorySource>(std::move(bytes));
  return result;
}

Bytes fromHex(std::string_view hex) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
    bytes.push_back(static_cast<std::byte>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
  return bytes;
}

/// RFC 9639, appendix D.1: one frame of two channels.
Bytes publishedFlac() {
  return fromHex(
      "664c614380000022100010000000"
      "0f00000f0ac442f0000000013e84b41807dc69030758"
      "6a3dad1a2e0ffff869180000bf0358fd03128baa9a");
}

/// Some 16-bit sound that repeats nowhere.
SampleRef sound(std::size_t frames, double half = 32768) {
  std::vector<float> samples(frames);
  for (std::size_t i = 0; i < frames; ++i) {
    const double t = static_cast<double>(i);
    const double value = 0.4 * std::sin(t * t * 1e-6) + 0.2 * std::sin(2 * std::numbers::pi * t / 97);
    samples[i] = static_cast<float>(std::floor(value * half) / half);
  }
  return makeResident(std::move(samples), 1);
}

std::vector<float> all(const SampleRef& samples, int64_t first = 0) {
  std::vector<float> frames(static_cast<std::size_t>((samples->frames() - first) * samples->channels()));
  const auto stream = samples->open(first);
  for (std::size_t done = 0; stream && done < frames.size();) {
    const auto count =
        stream->read(std::span(frames).subspan(done).first(std::min<std::size_t>(frames.size() - done, 998)));
    if (!count || *count == 0) break;
    done += *count * static_cast<std::size_t>(samples->channels());
  }
  EXPECT_TRUE(stream);
  return frames;
}

SampleRef reopened(const Bytes& bytes) {
  const auto facts = factsOfStream(stored(bytes));
  return facts ? openCompressed(stored(bytes), *facts) : nullptr;
}

double noiseDecibels(std::span<const float> signal, std::span<const float> copy) {
  double power = 0, noise = 0;
  for (std::size_t i = 0; i < signal.size(); ++i) {
    power += double{signal[i]} * double{signal[i]};
    noise += std::pow(double{signal[i]} - double{copy[i]}, 2);
  }
  return 10 * std::log10(noise / power);
}

#define NEEDS(coding) \
  if (!canDecode(coding)) GTEST_SKIP() << toUtf8(LastErrorText())

TEST(CompressedStream, ReadsThePublishedFlacExample) {
  const auto facts = factsOfStream(stored(publishedFlac()));
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->coding, flacName);
  EXPECT_EQ(facts->sampleRate, 44100);
  EXPECT_EQ(facts->channels, 2);
  EXPECT_EQ(facts->bits, 16);
  EXPECT_EQ(facts->frames, 1);
  NEEDS(flacName);
  EXPECT_EQ(all(reopened(publishedFlac())), (std::vector<float>{25588 / 32768.f, 10416 / 32768.f}));
}

TEST(CompressedStream, FlacKeepsEveryBit) {
  NEEDS(flacName);
  for (const int bits : {16, 24}) {
    const SampleRef original = sound(30001, std::ldexp(1.0, bits - 1));
    const auto bytes = encodeFlac(*original, 32000, bits);
    ASSERT_TRUE(bytes);
    const auto facts = factsOfStream(stored(*bytes));
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->bits, bits);
    EXPECT_EQ(facts->frames, 30001);
    EXPECT_EQ(facts->sampleRate, 32000);
    const auto whole = all(original);
    EXPECT_EQ(all(reopened(*bytes)), whole);
    for (const int64_t first : {1, 4096, 12345, 30000, 30001})
      EXPECT_EQ(all(reopened(*bytes), first), std::vector(whole.begin() + first, whole.end())) << first;
  }
}

TEST(CompressedStream, VorbisKeepsLengthAndSound) {
  NEEDS(oggVorbisName);
  const SampleRef original = sound(30001);
  const auto bytes = encodeVorbis(*original, 44100, {}, 7);
  ASSERT_TRUE(bytes);
  const auto facts = factsOfStream(stored(*bytes));
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->frames, 30001);
  EXPECT_EQ(facts->sampleRate, 44100);
  EXPECT_FALSE(facts->isCutOff);
  const auto whole = all(reopened(*bytes));
  EXPECT_LT(noiseDecibels(all(original), whole), -15);
  for (const int64_t first : {1, 5000, 30000})
    EXPECT_EQ(all(reopened(*bytes), first), std::vector(whole.begin() + first, whole.end())) << first;
}

TEST(CompressedStream, VorbisOfOddRatesAndLengths) {
  NEEDS(oggVorbisName);
  struct Case {
    std::size_t frames;
    double rate, kbitPerSecond;
  };
  for (const Case& c : {Case{1, 44100, 0}, Case{100, 400, 0}, Case{5000, 8000, 128}, Case{5000, 400000, 0},
                        Case{5000, 44100, 64}, Case{5000, 44100, 1}}) {
    const auto bytes = encodeVorbis(*sound(c.frames), c.rate, {.kbitPerSecond = c.kbitPerSecond}, 1);
    ASSERT_TRUE(bytes) << c.rate;
    const SampleRef samples = reopened(*bytes);
    ASSERT_TRUE(samples);
    EXPECT_EQ(samples->frames(), static_cast<int64_t>(c.frames));
    all(samples);
  }
}

TEST(CompressedStream, StreamsThatLieEndInSilence) {
  NEEDS(flacName);
  NEEDS(oggVorbisName);
  const SampleRef original = sound(300000);
  for (const Bytes& whole : {*encodeFlac(*original, 44100, 16), *encodeVorbis(*original, 44100, {}, 7)}) {
    // Cut off: what is there sounds, the length stays where the headers say one.
    Bytes cut = whole;
    cut.resize(whole.size() * 2 / 3);
    {
      const auto facts = factsOfStream(stored(cut));
      ASSERT_TRUE(facts);
      EXPECT_EQ(facts->isCutOff, facts->coding == oggVorbisName);
      const auto frames = all(reopened(cut)), sent = all(original);
      EXPECT_LT(noiseDecibels(std::span(sent).first(4000), std::span(frames).first(4000)), -10);
    }
    // Damaged anywhere: never a crash, always the length that was said.
    for (std::size_t at = 0; at < whole.size(); at += whole.size() / 31) {
      Bytes damaged = whole;
      for (std::size_t i = at; i < std::min(at + 5, damaged.size()); ++i) damaged[i] ^= std::byte{0x5A};
      const SampleRef samples = reopened(damaged);
      if (!samples || samples->frames() > 1 << 20) continue;
      const auto stream = samples->open();
      std::vector<float> block(4096);
      while (stream && stream->read(block).value_or(0) > 0) {
      }
    }
  }
}

// Damage is silent where it stands, known from then on to whoever looks at the sound, and what follows keeps its place.
TEST(CompressedStream, DamageInsideIsKnownAndMovesNothing) {
  NEEDS(flacName);
  NEEDS(oggVorbisName);
  // Noise, which fills many pages.
  std::vector<float> noise(300000);
  for (std::size_t i = 0; i < noise.size(); ++i)
    noise[i] = static_cast<float>(static_cast<int>(i * i * 7919 % 30011) - 15000) / 32768;
  const SampleRef original = makeResident(std::move(noise), 1);
  for (const Bytes& whole : {*encodeFlac(*original, 44100, 16), *encodeVorbis(*original, 44100, {}, 7)}) {
    const SampleRef sane = reopened(whole);
    const auto expected = all(sane);
    EXPECT_FALSE(sane->faults().damage);
    Bytes bytes = whole;
    for (std::size_t i = whole.size() / 2; i < whole.size() * 5 / 8; ++i) bytes[i] = std::byte{0};
    const SampleRef damaged = withChannels(reopened(bytes), 2);
    EXPECT_FALSE(damaged->faults().damage);
    const auto frames = all(damaged);
    EXPECT_TRUE(damaged->faults().damage);
    std::vector<float> end;
    for (std::size_t i = frames.size() - 80000; i < frames.size(); i += 2) end.push_back(frames[i]);
    EXPECT_EQ(end, std::vector(expected.end() - 40000, expected.end()));
  }
}

TEST(CompressedStream, RefusesWhatIsNoneOrTooLong) {
  Bytes longer = publishedFlac();
  for (std::size_t i = 21; i < 26; ++i) longer[i] |= std::byte{0x0F};  // frames, of which 36 bits say the number
  Bytes opus(64);
  const std::string_view start("OggS\0\2\0\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0\1\x13OpusHead", 36);
  std::copy_n(reinterpret_cast<const std::byte*>(start.data()), start.size(), opus.begin());
  Bytes header = publishedFlac();
  header.resize(30);
  for (const Bytes& bytes : {longer, opus, header, Bytes{}, Bytes(100)}) {
    EXPECT_FALSE(factsOfStream(stored(bytes)));
    EXPECT_EQ(LastErrorText(), u"Unknown or damaged compressed stream");
  }
}

TEST(CompressedStream, StateFilesReopenIt) {
  StoredSamples kept = stored(publishedFlac());
  kept.format = formatWord(SampleFormat::compressed);
  kept.coding = flacName;
  EXPECT_TRUE(openStoredSamples(kept, 2, 1));
  EXPECT_FALSE(openStoredSamples(kept, 1, 1));
}

TEST(CodecLibrary, ThatIsMissingIsAskedFor) {
  static constexpr TextView names[] = {u"libnowhere.so.1"};
  EXPECT_FALSE(openCodecLibrary(u"Nothing", u"libnowhere", names));
  EXPECT_EQ(LastErrorText(),
            u"Nothing needs the library libnowhere, which is not installed. Please install it and try again.");
}

}  // namespace
}  // namespace tervo::test
