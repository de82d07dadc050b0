// Operations that change how loud a waveform is.

#include "tests/tools/wave_fixture.h"

namespace tervo {
namespace {

using namespace test;

TEST_F(WaveOperations, GainIsInDecibels) {
  const auto frames = result(u"gain", {{u"by", u"-6.020599913279624"}}, makeResident({1, -1, 0.5f, 0}, 2));
  EXPECT_EQ(frames, (std::vector<float>{0.5f, -0.5f, 0.25f, 0}));
  result(u"gain", {{u"by", u"12"}}, makeResident({0.5f}, 1));
  ASSERT_EQ(document.report.entries().size(), 3u);  // two changes of level, and one that goes beyond full scale
  EXPECT_EQ(document.report.entries()[2].from, u"+5.98 dB");
}

TEST_F(WaveOperations, NormalisingReachesTheLevel) {
  for (const int64_t frames : {1, 31, 100000}) {
    std::vector<float> samples(static_cast<std::size_t>(frames), 0.01f);
    samples.back() = -0.3f;
    samples.front() = frames > 1 ? std::numeric_limits<float>::infinity() : -0.3f;
    const auto loud = result(u"normalise", {{u"to", u"-20"}}, makeResident(std::move(samples), 1));
    EXPECT_FLOAT_EQ(loud.back(), -0.1f);
  }
}

TEST_F(WaveOperations, ReversingTwiceIsNothing) {
  for (const int channels : {1, 2}) {
    for (const int64_t frames : {1, 2, 33, 200001}) {
      document.collection.clear();
      const auto end = static_cast<double>(frames);
      const std::vector<Marker> markers = {loopMarker(0.25, end, LoopType::reverse, 7),
                                           {.type = MarkerType::section, .start = end / 4, .end = end / 2},
                                           {.type = MarkerType::position, .start = end - 1, .end = end}};
      Waveform& sound = wave(ramp(frames, channels), markers);
      const auto before = framesOf(sound.samples);
      run(u"reverse");
      const auto turned = framesOf(sound.samples);
      const auto last = before.end() - channels;
      EXPECT_TRUE(std::equal(last, before.end(), turned.begin()));
      EXPECT_EQ(sound.markers[0].end, end - 0.25);
      EXPECT_EQ(sound.markers[2].start, 0);
      run(u"reverse");
      EXPECT_EQ(framesOf(sound.samples), before);
      EXPECT_EQ(sound.markers, markers);
    }
  }
}

}  // namespace
}  // namespace tervo
