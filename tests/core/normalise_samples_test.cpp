#include <gmock/gmock.h>

#include "base/last_error.h"
#include "core/normalise/sample_views.h"
#include "tests/core/normalise_support.h"

namespace tervo {
namespace {

using namespace fixup;
using namespace fixup_test;

constexpr LoopType alternating = LoopType::alternating, reverse = LoopType::reverse, forward = LoopType::forward;

TEST(SampleViews, ChannelsComeApartAndTogetherFromAnyFrame) {
  const SampleRef stereo = ramp(20000, 2);
  const SampleRef left = channelOf(stereo, 0), right = channelOf(stereo, 1);
  EXPECT_EQ(interleavedOf(left, right), stereo) << "the source itself, with its stored bytes";
  const SampleRef swapped = interleavedOf(right, left);
  for (const int64_t first : {0, 1, 8191, 19999, 20000}) {
    const auto frames = framesOf(swapped, first, 30001);
    ASSERT_EQ(frames.size(), static_cast<std::size_t>(20000 - first) * 2);
    for (std::size_t i = 0; i < frames.size(); i += 2) {
      const auto source = static_cast<std::size_t>(first) * 2 + i;
      ASSERT_EQ(frames[i], stereo->resident()[source + 1]);
      ASSERT_EQ(frames[i + 1], stereo->resident()[source]);
    }
  }
  EXPECT_EQ(channelOf(swapped, 0), right);
}

TEST(SampleViews, AShorterChannelEndsInSilence) {
  const SampleRef both = interleavedOf(ramp(3, 1, 1), ramp(2, 1, 5));
  EXPECT_EQ(framesOf(both), (std::vector<float>{1, 5, 1 + 1.f / 256, 5 + 1.f / 256, 1 + 2.f / 256, 0}));
  EXPECT_EQ(framesOf(both, 2), (std::vector<float>{1 + 2.f / 256, 0}));
}

TEST(SampleViews, JoinsPiecesInBothDirectionsFromAnyFrame) {
  // Longer than one block that is read backwards.
  const SampleRef source = ramp(300000, 1);
  const SampleRef all =
      joined({{source, 5, 3}, {source, 0, 300000, Direction::backwards}, {source, 9, 0}, {source, 7, 2}});
  const auto expected = [](int64_t i) {
    const int64_t frame = i < 3 ? 5 + i : i < 300003 ? 299999 - (i - 3) : 7 + (i - 300003);
    return static_cast<float>(frame) / 256;
  };
  ASSERT_EQ(all->frames(), 300005);
  for (const int64_t first : {0, 2, 3, 131074, 131075, 300002, 300004}) {
    const auto frames = framesOf(all, first, 70001);
    ASSERT_EQ(static_cast<int64_t>(frames.size()), 300005 - first);
    for (std::size_t i = 0; i < frames.size(); ++i) ASSERT_EQ(frames[i], expected(first + static_cast<int64_t>(i)));
  }
}

/// Promises more than it has.
class ShortSamples final : public SampleData {
 public:
  ShortSamples() : SampleData(1, 100) {}
  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override {
    return half_->open(std::min<int64_t>(firstFrame, 50));
  }

 private:
  SampleRef half_ = ramp(50, 1);
};

TEST(SampleViews, ASourceThatEndsEarlyIsAFailure) {
  const SampleRef source = std::make_shared<ShortSamples>();
  for (const auto direction : {Direction::forwards, Direction::backwards}) {
    setLastErrorText({});
    EXPECT_EQ(makeResident(joined({{source, 0, 100, direction}})), nullptr);
    EXPECT_EQ(LastErrorText(), u"Reading from file failed");
  }
}

struct LoopCase {
  int64_t frames, start, end;
};

TEST(Unroll, PlaysTheSameFramesAsTheLoopDid) {
  const LoopCase cases[] = {{40, 0, 40},  {40, 10, 40}, {40, 10, 30}, {40, 39, 40},
                            {40, 20, 22}, {40, 20, 23}, {1, 0, 1}};
  for (const auto& [frames, start, end] : cases) {
    for (const LoopType type : {alternating, reverse}) {
      for (const uint8_t count : {loopForever, loopUntilRelease, uint8_t{3}}) {
        for (const int channels : {1, 2}) {
          SCOPED_TRACE(testing::Message() << frames << " " << start << " " << end << " type " << static_cast<int>(type)
                                          << " count " << int{count} << " channels " << channels);
          Document document;
          document.settings.load.autoBid2Fwd = 1;
          const Marker before = loopMarker(static_cast<double>(start), static_cast<double>(end), type, count);
          Waveform& wave = document.wave(u"w", ramp(frames, channels), {before});
          const SampleRef original = wave.samples;
          Waveform reference;
          reference.samples = original;
          ASSERT_TRUE(document.fixUp());
          const Marker& after = wave.markers[0];
          ASSERT_EQ(after.loopType, forward);
          EXPECT_EQ(after.loopCount, count);
          for (int channel = 0; channel < channels; ++channel) {
            ASSERT_EQ(heard(wave, {0, static_cast<double>(wave.frames())}, after, channel, 500),
                      heard(reference, {0, static_cast<double>(frames)}, before, channel, 500));
          }
          // What follows the loop stays behind it, and follows its last frame wherever a loop that runs forwards is
          // left.
          const auto all = framesOf(wave.samples), source = framesOf(original);
          EXPECT_TRUE(std::equal(source.begin() + static_cast<std::ptrdiff_t>(end * channels), source.end(),
                                 all.end() - static_cast<std::ptrdiff_t>((frames - end) * channels)));
          if (type == alternating && count != loopForever) {
            const auto last = static_cast<std::size_t>(after.end) * static_cast<std::size_t>(channels) - 1;
            EXPECT_EQ(all[last], source[static_cast<std::size_t>(end * channels) - 1]);
          }
        }
      }
    }
  }
}

TEST(Unroll, MarkersBehindTheLoopMoveAndFractionsAreReported) {
  Document document;
  document.settings.load.autoBid2Fwd = 1;
  Waveform& wave = document.wave(u"w", ramp(100, 1),
                                 {loopMarker(10, 20.25, alternating),
                                  {.start = 15},
                                  {.start = 50, .end = 60},
                                  loopMarker(70, 75, alternating),
                                  {.start = 80, .end = 81}});
  document.fixUp();
  constexpr double inserted = 8, byLast = 3;
  EXPECT_EQ(wave.frames(), 100 + inserted + byLast);
  EXPECT_EQ(wave.markers[1].start, 15);
  EXPECT_EQ(wave.markers[2].start, 50 + inserted);
  EXPECT_EQ(wave.markers[2].end, 60 + inserted);
  EXPECT_EQ(wave.markers[3].start, 70 + inserted);
  EXPECT_EQ(wave.markers[3].end, 75 + inserted + byLast);
  EXPECT_EQ(wave.markers[4].start, 80 + inserted + byLast);
  EXPECT_TRUE(document.report.lostSomething());
}

TEST(Unroll, TwentyThousandLoopsAreOneRowOfPieces) {
  // Frames 0 1 2 3 of which the first three are the loop become 0 1 2 1 3. Were each loop's frames read through those
  // of the loops behind it, the stack would not do.
  constexpr int64_t loops = 20000;
  Document document;
  document.settings.load.autoBid2Fwd = 1;
  std::vector<Marker> markers;
  for (int64_t i = 0; i < loops; ++i)
    markers.push_back(loopMarker(static_cast<double>(4 * i), static_cast<double>(4 * i + 3), alternating));
  const Waveform& wave = document.wave(u"w", ramp(4 * loops, 1), markers);
  document.fixUp();
  const auto frames = framesOf(wave.samples, 0, 1000);
  ASSERT_EQ(static_cast<int64_t>(frames.size()), 5 * loops);
  for (int64_t i = 0; i < 5 * loops; ++i) {
    constexpr int64_t played[] = {0, 1, 2, 1, 3};
    ASSERT_EQ(frames[static_cast<std::size_t>(i)], static_cast<float>(4 * (i / 5) + played[i % 5]) / 256) << i;
  }
  for (std::size_t i = 0; i < loops; ++i) {
    ASSERT_EQ(wave.markers[i].start, 5.0 * static_cast<double>(i));
    ASSERT_EQ(wave.markers[i].length(), 4);
  }
}

TEST(Unroll, RegionsThatPlayNoLoopOrAnotherOneHearWhatTheyHeard) {
  Document document;
  document.settings.load.autoBid2Fwd = 1;
  Waveform& wave = document.wave(u"w", ramp(100, 1), {loopMarker(10, 20, alternating), loopMarker(40, 60, reverse)});
  Layer& layer = document.layer();
  const float selectors[] = {-1, 0, 1, 2};
  std::vector<std::vector<float>> before;
  for (const float selector : selectors) {
    Region& region = Document::region(layer, wave);
    region.trigger.set(ParameterId::loopSection, selector);
    before.push_back(heard(wave, playedFrames(region), playedLoop(region), 0, 300));
  }
  document.fixUp();
  ASSERT_EQ(document.collection.waveforms().size(), 3u) << "one for each loop that is played, one for no loop";
  EXPECT_EQ(document.collection.waveforms()[0].get(), &wave);
  for (std::size_t i = 0; i < before.size(); ++i) {
    const Region& region = *layer.regions()[i];
    EXPECT_EQ(heard(*findItem<Waveform>(region.waveform), playedFrames(region), playedLoop(region), 0, 300), before[i])
        << "selector " << selectors[i];
  }
}

TEST(Append, GoesOnAsTheLoopDoes) {
  const LoopCase cases[] = {{40, 10, 40}, {40, 10, 35}, {40, 38, 40}, {40, 39, 40}, {71, 0, 40}, {72, 0, 40}};
  for (const auto& [frames, start, end] : cases) {
    for (const LoopType type : {forward, alternating, reverse}) {
      SCOPED_TRACE(testing::Message() << frames << " " << start << " " << end << " type " << static_cast<int>(type));
      Document document;
      document.settings.load.autoAppend32 = 1;
      const Marker loop = loopMarker(static_cast<double>(start), static_cast<double>(end), type);
      Waveform& wave = document.wave(u"w", ramp(frames, 1), {loop});
      const auto source = framesOf(wave.samples);
      document.fixUp();
      EXPECT_EQ(wave.markers[0], loop);
      ASSERT_EQ(wave.frames(), std::max(frames, end + 32));
      const auto all = framesOf(wave.samples);
      const auto played = heardFrames(0, frames, loop, static_cast<int>(end) + 32);
      for (std::size_t i = 0; i < all.size(); ++i)
        EXPECT_EQ(all[i], i < source.size() ? source[i] : source[static_cast<std::size_t>(played[i])]) << i;
    }
  }
}

}  // namespace
}  // namespace tervo
