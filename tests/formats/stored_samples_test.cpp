#include "formats/stored_samples.h"

#include <gtest/gtest.h>

#include "core/history/state_file.h"
#include "formats/codec/g726.h"
#include "formats/codec/gsm0610.h"
#include "formats/codec/oki_adpcm.h"
#include "formats/wave/pcm_import.h"
#include "tests/formats/flow_fixture.h"
#include "tests/formats/wave/wav_builder.h"

namespace tervo::test {
namespace {

std::vector<std::byte> noise(std::size_t count) {
  std::mt19937 random(5);
  std::vector<std::byte> bytes(count);
  for (std::byte& byte : bytes) byte = static_cast<std::byte>(random());
  return bytes;
}

StoredSamples storedNoise(SampleFormatWord format, std::size_t count) {
  StoredSamples stored;
  stored.source = std::make_shared<MemorySource>(noise(count + 3));
  stored.offset = 3;
  stored.bytes = count;
  stored.format = format;
  return stored;
}

/// Saved as a state and loaded again; the state's size too.
std::pair<SampleRef, std::size_t> throughAState(const SampleRef& samples) {
  Collection document;
  document.add(std::make_unique<Waveform>()).samples = samples;
  MemorySink sink;
  EXPECT_TRUE(writeState(sink, imageOf(document), openStoredSamples));
  const std::size_t size = sink.bytes().size();
  const MemorySource file(sink.take());
  EXPECT_TRUE(readState(document, LoadedBytes::load(file), openStoredSamples)) << toUtf8(LastErrorText());
  return {document.waveforms()[0]->samples, size};
}

std::vector<uint32_t> bitsOfFrames(const SampleRef& samples) {
  const SampleRef all = makeResident(samples);
  std::vector<uint32_t> bits;
  for (const float frame : all->resident()) bits.push_back(std::bit_cast<uint32_t>(frame));
  return bits;
}

std::vector<std::byte> storedBytes(const StoredSamples& stored) {
  const bool split = stored.secondChannelOffset != 0;
  const uint64_t run = split ? stored.bytes / 2 : stored.bytes;
  auto bytes = stored.source->readUpTo(stored.offset, run, 1 << 20);
  const auto second = stored.source->readUpTo(stored.secondChannelOffset, split ? run : 0, 1 << 20);
  bytes.insert(bytes.end(), second.begin(), second.end());
  return bytes;
}

TEST(StoredSamples, KeepEveryBitAndNoMoreBytesThanTheirSourceHad) {
  constexpr std::size_t bytes = 1560;  // a multiple of every frame and block below
  const auto coded = [&](SampleFormat format, int channels, int64_t frames, DecoderFactory make) {
    return makeCodedSamples(storedNoise(formatWord(format), bytes), channels, frames, std::move(make));
  };
  StoredSamples apart = storedNoise(formatWord(SampleFormat::pcm32, SplitChannels | BigEndian), bytes);
  apart.secondChannelOffset = apart.offset + 1000;  // not where the first one ends
  const SampleRef cases[] = {
      importPcm(storedNoise(formatWord(SampleFormat::float64), bytes), 1, bytes / 8),
      importPcm(storedNoise(formatWord(SampleFormat::pcm32, BigEndian | Unsigned), bytes), 2, bytes / 8),
      importPcm(storedNoise(formatWord(SampleFormat::pcm12), bytes), 1, bytes * 2 / 3),
      importPcm(storedNoise(formatWord(SampleFormat::deltaPcm16, SplitChannels), bytes), 2, bytes / 4),
      importPcm(std::move(apart), 2, 100),
      coded(SampleFormat::adpcm4, 1, bytes * 2, okiAdpcmDecoder()),
      coded(SampleFormat::adpcm3, 2, bytes * 8 / 6, g726Decoder(3, BitOrder::big, 2)),
      coded(SampleFormat::gsm, 1, gsmFrames(GsmPacking::wavPairs65, bytes), gsmDecoder(GsmPacking::wavPairs65)),
      open(WavBuilder()
               .fmt({.tag = 17, .bits = 4, .blockAlign = 36, .extra = u8({2, 0, 65, 0})})
               .data(Bytes(720, std::byte{0x35})))
          ->wave()
          ->samples,
  };
  for (const SampleRef& samples : cases) {
    const auto number = &samples - cases;
    ASSERT_TRUE(samples) << number << toUtf8(LastErrorText());
    const auto [again, size] = throughAState(samples);
    ASSERT_TRUE(again) << number;
    EXPECT_EQ(bitsOfFrames(again), bitsOfFrames(samples)) << number;
    ASSERT_TRUE(again->stored()) << number;
    EXPECT_EQ(storedBytes(*again->stored()), storedBytes(*samples->stored())) << number;
    EXPECT_LT(size, samples->stored()->bytes + 400) << number;
    // And once more, out of the state that has been loaded.
    EXPECT_EQ(throughAState(again).second, size) << number;
  }
}

TEST(StoredSamples, ThatOnlyTheirReaderUnderstandsAreKeptAsFloats) {
  const SampleRef downmixed = importPcmDownmixed(storedNoise(formatWord(SampleFormat::pcm16), 1200), 0, 6, 100, 0);
  ASSERT_TRUE(downmixed);
  const auto [again, size] = throughAState(downmixed);
  EXPECT_EQ(bitsOfFrames(again), bitsOfFrames(downmixed));
  EXPECT_EQ(again->stored(), nullptr);
}

TEST(StoredSamples, TakeNoBytesOfOtherRecords) {
  Collection document;
  for (const std::size_t bytes : {80u, 800u}) {
    document.add(std::make_unique<Waveform>()).samples =
        importPcm(storedNoise(formatWord(SampleFormat::pcm16), bytes), 1, static_cast<int64_t>(bytes / 2));
  }
  MemorySink sink;
  ASSERT_TRUE(writeState(sink, imageOf(document), openStoredSamples));
  auto state = sink.take();
  const Bytes recorded = u8({1, 1, 40, 0, 0, 0, 0, 0, 0, 0});  // stored, mono, 40 frames
  const auto at = std::search(state.begin(), state.end(), recorded.begin(), recorded.end());
  ASSERT_NE(at, state.end());
  at[2] = std::byte{200};
  EXPECT_FALSE(readState(document, LoadedBytes::load(MemorySource(state)), openStoredSamples));
}

TEST(StoredSamples, CodingsPromiseNoMoreFramesThanTheirBytesCanHold) {
  StoredSamples stored = storedNoise(formatWord(SampleFormat::adpcm4), 100);
  stored.coding = okiAdpcmDecoder()()->coding();
  EXPECT_TRUE(openStoredSamples(stored, 1, 200));
  EXPECT_FALSE(openStoredSamples(stored, 1, int64_t{1} << 60));
  stored.coding = u"unheard of";
  EXPECT_FALSE(openStoredSamples(stored, 1, 200));
}

}  // namespace
}  // namespace tervo::test
