// Stored samples that 32-bit floats would round: operations that only move frames keep their bytes.

#include <cstring>

#include "tests/tools/wave_fixture.h"

namespace tervo {
namespace {

using namespace test;

constexpr int64_t frameCount = 5000;

/// Two channels of stored samples, all of them different in their lowest bits.
template <typename Sample>
class Fine final : public SampleData {
 public:
  Fine() : SampleData(2, frameCount) {
    std::vector<std::byte> bytes(12 + samples().size() * sizeof(Sample));
    std::memcpy(bytes.data() + 12, samples().data(), samples().size() * sizeof(Sample));
    stored_.source = std::make_shared<MemorySource>(bytes);
    stored_.offset = 12;
    stored_.bytes = bytes.size() - 12;
    stored_.format = formatWord(sizeof(Sample) == 4 ? SampleFormat::pcm32 : SampleFormat::float64);
    stored_.genericPcm = true;
    stored_.waveFormat.resize(16);
    std::vector<float> floats;
    for (const Sample each : samples()) floats.push_back(static_cast<float>(each) / 0x1p31f);
    floats_ = makeResident(floats, 2);
  }

  static const std::vector<Sample>& samples() {
    static const std::vector<Sample> all = [] {
      std::vector<Sample> made;
      for (int64_t i = 0; i < 2 * frameCount; ++i) made.push_back(static_cast<Sample>(0x40000000 + 3 * i));
      return made;
    }();
    return all;
  }

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override { return floats_->open(firstFrame); }
  const StoredSamples* stored() const override { return &stored_; }

 private:
  StoredSamples stored_;
  SampleRef floats_;
};

/// What the result holds: a stretch of frames of one or two channels (0 left, 1 right), backwards where step is -1.
struct Kept {
  int64_t first, last, step;
  std::vector<std::size_t> channels;
};

template <typename Sample>
void expectKept(const SampleData& data, const std::vector<Kept>& parts) {
  std::vector<Sample> expected;
  for (const Kept& part : parts)
    for (int64_t i = part.first; i != part.last; i += part.step)
      for (const std::size_t channel : part.channels)
        expected.push_back(Fine<Sample>::samples()[2 * static_cast<std::size_t>(i) + channel]);
  ASSERT_NE(data.stored(), nullptr);
  const StoredSamples& stored = *data.stored();
  EXPECT_TRUE(stored.genericPcm && stored.isRearranged && stored.waveFormat.empty());
  ASSERT_EQ(stored.bytes, expected.size() * sizeof(Sample));
  std::vector<Sample> found(expected.size());
  // In pieces that begin and end within samples.
  constexpr uint64_t piece = 1003;
  for (uint64_t at = 0; at < stored.bytes; at += piece) {
    const auto bytes = static_cast<std::size_t>(std::min(piece, stored.bytes - at));
    ASSERT_TRUE(
        stored.source->readExactly(stored.offset + at, std::as_writable_bytes(std::span(found)).subspan(at, bytes)));
  }
  EXPECT_EQ(found, expected);
}

TEST_F(WaveOperations, ThatMoveFramesKeepEveryBit) {
  const std::vector<std::size_t> both = {0, 1};
  constexpr int64_t n = frameCount;
  const struct {
    TextView operation;
    OptionTexts options;
    std::vector<Kept> kept;
  } cases[] = {
      {u"reverse", {}, {{n - 1, -1, -1, both}}},
      {u"crop", {{u"start", u"100"}, {u"end", u"3001"}, {u"unit", u"frames"}}, {{100, 3001, 1, both}}},
      {u"cut", {{u"start", u"100"}, {u"end", u"3001"}, {u"unit", u"frames"}}, {{0, 100, 1, both}, {3001, n, 1, both}}},
      {u"change-channels", {{u"to", u"right"}}, {{0, n, 1, {1}}}},
      {u"change-channels", {{u"to", u"swapped"}}, {{0, n, 1, {1, 0}}}},
      {u"append-after-loop", {{u"frames", u"10"}}, {{0, n, 1, both}, {1000, 1010, 1, both}}},
      {u"convert-loops", {}, {{0, 4000, 1, both}, {3998, 1000, -1, both}, {4000, n, 1, both}}},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(toUtf8(each.operation));
    const auto type = each.operation == u"convert-loops" ? LoopType::alternating : LoopType::forward;
    const auto keeps = [&](SampleRef samples, auto expect) {
      document.collection.clear();
      const double end = each.operation == u"append-after-loop" ? n : 4000;
      Waveform& sound = wave(std::move(samples), {loopMarker(1000, end, type)});
      ASSERT_EQ(run(each.operation, each.options), Outcome::changed) << toUtf8(LastErrorText());
      expect(*sound.samples, each.kept);
    };
    keeps(std::make_shared<Fine<int32_t>>(), expectKept<int32_t>);
    keeps(std::make_shared<Fine<double>>(), expectKept<double>);
  }
}

}  // namespace
}  // namespace tervo
