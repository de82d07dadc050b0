// Banks whose samples are compressed: a stream for each, or all of them as one.

#include <gtest/gtest.h>

#include "base/byte_reader.h"
#include "formats/codec/compressed_stream.h"
#include "formats/codec/flac.h"
#include "formats/codec/ogg_vorbis.h"
#include "formats/damage_report.h"
#include "tests/formats/instrument/sf2_builder.h"

namespace tervo::test {
namespace {

using Bytes = std::vector<std::byte>;

SampleRef ramp(std::size_t frames) {
  std::vector<float> samples(frames);
  for (std::size_t i = 0; i < frames; ++i)
    samples[i] = static_cast<float>(static_cast<int>(i * 37 % 2000) - 1000) / 32768;
  return makeResident(std::move(samples), 1);
}

/// The head of a FLAC stream (RFC 9639, section 8) that says so many frames, and no frame.
Bytes flacHead(uint64_t frames, int channels = 1) {
  MemorySink sink;
  ByteWriter writer(sink);
  writer.chars("fLaC");
  writer.big(uint32_t{0x80000022});
  writer.zeros(10);
  writer.big(uint64_t{22050} << 44 | static_cast<uint64_t>(channels - 1) << 41 | uint64_t{15} << 36 | frames);
  writer.zeros(16);
  return sink.take();
}

const Waveform& waveformOf(const ReadBank& bank, std::size_t i = 0) {
  return *bank.collection.waveforms()[i];
}

std::vector<float> framesOf(const Waveform& waveform) {
  const SampleRef resident = makeResident(waveform.samples);
  return resident ? std::vector(resident->resident().begin(), resident->resident().end()) : std::vector<float>{};
}

WrittenBank writeCompressed(const Item& item, SaveOptions options = {}) {
  return writeBank(item, options, compressedBank);
}

/// A bank whose words are one stream.
BankBuilder packedBank(const Bytes& stream, const std::vector<Sample>& samples) {
  BankBuilder bank = bankOf({stream});
  bank.form = "sfpk";
  bank.version = 2;
  bank.shdr = {};
  for (const Sample& sample : samples) bank.sample(sample);
  return bank;
}

/// The body of a chunk that stands anywhere; its name must not occur before.
Bytes chunkBody(const Bytes& bytes, std::string_view id) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  ByteReader reader(std::span<const std::byte>(bytes).subspan(text.find(id) + 4));
  const auto body = reader.take(reader.little<uint32_t>());
  return {body.begin(), body.end()};
}

TEST(Sf3, KnowsLengthAndLoopWithoutDecoding) {
  const ReadBank bank(bankOf({flacHead(64), flacHead(0x40)}).build());
  ASSERT_TRUE(bank.ok);
  const Waveform& waveform = waveformOf(bank, 1);
  EXPECT_EQ(waveform.frames(), 64);
  EXPECT_EQ(formatOf(waveform.storedFormat), SampleFormat::pcm16);
  ASSERT_TRUE(mainLoop(waveform));
  EXPECT_EQ(mainLoop(waveform)->start, 3);
  EXPECT_EQ(mainLoop(waveform)->end, 60);
}

TEST(Sf3, CopiesStreamsThatNobodyEdited) {
  const std::vector<Bytes> streams = {flacHead(64), flacHead(71)};
  const ReadBank bank(bankOf(streams).build());
  const WrittenBank written = writeCompressed(bank.collection);
  ASSERT_TRUE(written.ok);
  Bytes expected = streams[0];
  expected.insert(expected.end(), streams[1].begin(), streams[1].end());
  EXPECT_EQ(chunkBody(written.bytes, "smpl"), expected);
  const ReadBank again(written.bytes);
  EXPECT_EQ(mainLoop(waveformOf(again, 1))->end, 60);
  EXPECT_FALSE(says(written.report, u"coding"));
}

TEST(Sf3, ReadsWhatIsSoundOfBrokenStreams) {
  struct Case {
    Bytes stream;
    TextView said;
  };
  for (const Case& c :
       {Case{flacHead(uint64_t{1} << 35), u"frames of a sample"}, Case{Bytes(80), u"frames of a sample"},
        Case{flacHead(64, 4), u"frames of a sample"}, Case{flacHead(64, 2), u"stereo of a sample"}}) {
    const ReadBank bank(bankOf({c.stream, flacHead(64)}).build());
    ASSERT_TRUE(bank.ok);
    EXPECT_TRUE(says(bank.report, c.said)) << toUtf8(c.said);
    EXPECT_EQ(waveformOf(bank, 1).frames(), 64);
  }
  BankBuilder beyond = bankOf({flacHead(64)});
  beyond.sample({.start = 20, .end = 90000, .type = 17}).sample({.start = 40, .end = 10, .type = 17});
  const ReadBank bank(beyond.build());
  ASSERT_TRUE(bank.ok);
  EXPECT_EQ(waveformOf(bank, 1).frames(), 0);
  EXPECT_EQ(waveformOf(bank, 2).frames(), 0);
}

TEST(Sf3, UnmarkedStreamsAreFoundByVersion) {
  EXPECT_EQ(waveformOf(ReadBank(bankOf({flacHead(64), flacHead(65)}, 1).build()), 1).frames(), 65);
  BankBuilder words = bankOf({flacHead(64), flacHead(65)}, 1);
  words.version = 2;
  EXPECT_EQ(waveformOf(ReadBank(words.build())).frames(), 42);
}

TEST(Sf3, LosslessSaveKeepsTheWords) {
  if (!canDecode(flacName)) GTEST_SKIP();
  const ReadBank bank(smallBank().build());
  const WrittenBank written = writeCompressed(bank.collection, {.coding = SampleCoding::pcm16});
  ASSERT_TRUE(written.ok);
  const ReadBank again(written.bytes);
  EXPECT_EQ(framesOf(waveformOf(again)), framesOf(waveformOf(bank)));
  EXPECT_EQ(mainLoop(waveformOf(again))->start, mainLoop(waveformOf(bank))->start);
  const WrittenBank plain = writeBank(again.collection);
  EXPECT_EQ(framesOf(waveformOf(ReadBank(plain.bytes))), framesOf(waveformOf(bank)));
}

TEST(Sf3, FewerBitsAreReportedOnce) {
  if (!canDecode(flacName)) GTEST_SKIP();
  const ReadBank bank(bankOf({*encodeFlac(*ramp(500), 22050, 24)}).build());
  const WrittenBank written = writeCompressed(bank.collection, {.coding = SampleCoding::pcm16});
  ASSERT_TRUE(written.ok);
  EXPECT_EQ(written.report.entries().size(), 1u);
  EXPECT_TRUE(says(written.report, u"sample format"));
}

TEST(Sf3, WhatCannotBeDecodedDoesNotKeepABankFromBeingSaved) {
  if (!canDecode(flacName)) GTEST_SKIP();
  // More metadata should follow the first block.
  Bytes stream = flacHead(64);
  stream[4] &= std::byte{0x7F};
  stream.resize(300, std::byte{0xFF});
  const ReadBank bank(bankOf({stream, *encodeFlac(*ramp(500), 22050, 16)}).build());
  for (const WrittenBank& written :
       {writeCompressed(bank.collection, {.coding = SampleCoding::pcm16}), writeBank(bank.collection)}) {
    ASSERT_TRUE(written.ok);
    EXPECT_TRUE(says(written.report, u"frames"));
    const ReadBank again(written.bytes);
    EXPECT_EQ(framesOf(waveformOf(again)), std::vector<float>(64));
    EXPECT_EQ(framesOf(waveformOf(again, 1)), framesOf(waveformOf(bank, 1)));
  }
}

TEST(Sf3, DamageIsReportedOnceItIsHeard) {
  if (!canDecode(flacName)) GTEST_SKIP();
  Bytes stream = *encodeFlac(*ramp(20000), 22050, 16);
  for (std::size_t i = 0; i < 20; ++i) stream[stream.size() / 2 + i] ^= std::byte{0x55};
  const ReadBank bank(bankOf({stream, stream}).build());
  ConversionReport before, after;
  reportDamage(bank.collection, before);
  EXPECT_FALSE(before.lostSomething());
  framesOf(waveformOf(bank, 1));
  reportDamage(bank.instrument(), after);  // which plays the other one
  EXPECT_FALSE(after.lostSomething());
  reportDamage(bank.collection, after);
  EXPECT_EQ(after.entries().size(), 1u);

  const ReadBank packed(packedBank(stream, {{.start = 0, .end = 100}, {.start = 5000, .end = 19000}}).build());
  for (const std::size_t sample : {0u, 1u}) framesOf(waveformOf(packed, sample));
  ConversionReport once;
  reportDamage(packed.collection, once);
  ASSERT_EQ(once.entries().size(), 1u);
  EXPECT_EQ(once.entries()[0].what, u"some frames of 2 sounds of one stream");
}

TEST(Sf3, VorbisIsUsualAndReported) {
  if (!canDecode(oggVorbisName)) GTEST_SKIP();
  const ReadBank bank(smallBank().build());
  const WrittenBank written = writeCompressed(bank.collection);
  ASSERT_TRUE(written.ok);
  EXPECT_TRUE(says(written.report, u"coding"));
  const ReadBank again(written.bytes);
  EXPECT_EQ(waveformOf(again).frames(), 64);
  EXPECT_EQ(formatOf(waveformOf(again).storedFormat), SampleFormat::compressed);
}

TEST(Sf2Pack, NeverTakesStreamsForWords) {
  // The first sample ends behind the last byte, because it counts words; what no codec knows is no sound either.
  for (const Bytes& stream : {flacHead(64), Bytes(500)}) {
    const ReadBank bank(packedBank(stream, {{.start = 0, .end = 60}}).build());
    ASSERT_TRUE(bank.ok);
    EXPECT_EQ(waveformOf(bank).frames(), stream == flacHead(64) ? 60 : 0);
    EXPECT_EQ(says(bank.report, u"samples"), stream != flacHead(64) || !canDecode(flacName));
  }
}

TEST(Sf2Pack, PlaysStretchesOfOneStream) {
  if (!canDecode(flacName)) GTEST_SKIP();
  const SampleRef sound = ramp(9000);
  const Sample second{.start = 5000, .end = 9000, .loopStart = 5010, .loopEnd = 8000};
  const ReadBank bank(packedBank(*encodeFlac(*sound, 44100, 16), {{.start = 0, .end = 100}, second}).build());
  ASSERT_TRUE(bank.ok);
  const auto expected = sound->resident().subspan(5000, 4000);
  EXPECT_EQ(framesOf(waveformOf(bank, 1)), std::vector(expected.begin(), expected.end()));
  EXPECT_EQ(mainLoop(waveformOf(bank, 1))->start, 10);
  EXPECT_EQ(waveformOf(bank, 0).frames(), 100);
}

}  // namespace
}  // namespace tervo::test
