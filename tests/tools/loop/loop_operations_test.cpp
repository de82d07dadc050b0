#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

#include "tests/dsp/tones.h"
#include "tests/tools/wave_fixture.h"

namespace tervo::test {
namespace {

SampleRef tone(double hertz = 220) {
  return makeResident(tones::tone(tones::models[1], hertz, 0.4, 22050), 1);
}
Marker loop(double start, double end) {
  return {.type = MarkerType::loop, .name = u"L", .start = start, .end = end, .loopType = LoopType::forward};
}

class LoopOperations : public WaveOperations {};

TEST_F(LoopOperations, FindALoopAndSayForWhat) {
  Waveform& waveform = wave(tone(), {{.type = MarkerType::position, .name = u"here", .start = 5, .end = 6}});
  EXPECT_EQ(run(u"find-loop", {{u"until-release", u"on"}, {u"candidates", u"3"}, {u"cut", u"on"}}), Outcome::changed);
  EXPECT_EQ(host.texts.front(), u"Finding loop for: \"W\"");
  ASSERT_EQ(waveform.markers.size(), 2u);
  const Marker& found = waveform.markers[1];
  EXPECT_EQ(found.type, MarkerType::loop);
  EXPECT_EQ(found.loopType, LoopType::forward);
  EXPECT_EQ(found.loopCount, loopUntilRelease);
  EXPECT_GE(found.length(), 0.05 * 8820);
  EXPECT_EQ(waveform.frames(), 8820) << "a loop that ends at the release needs what follows";
  EXPECT_GE(document.report.entries().size(), 3u);
}

TEST_F(LoopOperations, SayWhatTheFilterSilences) {
  auto frames = tones::tone(tones::models[1], 220, 0.4, 22050);
  frames[100] = std::numeric_limits<float>::infinity();
  wave(makeResident(std::move(frames), 1));
  EXPECT_EQ(run(u"find-loop", {{u"high-pass", u"on"}}), Outcome::changed);
  const auto& entries = document.report.entries();
  EXPECT_EQ(std::count_if(entries.begin(), entries.end(),
                          [](const ReportEntry& each) { return each.from == u"1" && each.to == u"silent"; }),
            1);
}

TEST_F(LoopOperations, KeepOrReplaceTheLoopThatIsThere) {
  Waveform& waveform = wave(tone(), {loop(100, 150), loop(200, 250)});
  EXPECT_EQ(run(u"find-loop"), Outcome::nothingToDo);
  EXPECT_EQ(run(u"find-loop", {{u"skip-looped", u"off"}, {u"crossfade", u"off"}}), Outcome::changed);
  ASSERT_EQ(waveform.markers.size(), 2u);
  EXPECT_NE(waveform.markers[0].start, 100);
  EXPECT_EQ(waveform.markers[0].name, u"L");
  EXPECT_EQ(waveform.markers[1], loop(200, 250));
  waveform.markers[0].loopType = LoopType::off;
  EXPECT_EQ(run(u"find-loop"), Outcome::changed) << "a loop that is off is none";
  document.collection.clear();
  wave(makeResident(std::vector<float>(4000, 0.0f), 1));
  EXPECT_EQ(run(u"find-loop"), Outcome::nothingToDo);
}

TEST_F(LoopOperations, RegionsPlayWhatIsFound) {
  using P = ParameterId;
  enum Which { silent, drum, oneShot, other, own, count };
  const OptionTexts::value_type skipNone = {u"skip-looped", u"off"};
  const struct {
    OptionTexts options;
    bool hasOther;      ///< a region that plays another loop than the own one
    std::string loops;  ///< of each region afterwards: none, the own one, the other one; empty where nothing is done
  } cases[] = {
      {{}, false, ""},
      {{}, true, ""},
      {{skipNone}, false, "onn-o"},
      {{skipNone}, true, "onnoo"},
      {{{u"regions", u"all"}, skipNone}, false, "ooo-o"},
      {{{u"regions", u"as-they-are"}, skipNone}, true, "nnn2o"},
  };
  for (const auto& each : cases) {
    document.collection.clear();
    // A bank's header has a loop for each sample, whether it is played or not.
    Waveform& waveform = wave(tone(), {loop(100, 150), loop(200, 250)});
    std::array<Region*, count> regions = {};
    for (std::size_t i = 0; i < count; ++i) {
      if (i == other && !each.hasOther) continue;
      Instrument& instrument = document.collection.add(std::make_unique<Instrument>());
      instrument.drum = i == drum;
      regions[i] = &fixup_test::Document::region(instrument.add(std::make_unique<Layer>()), waveform);
      if (i != own || !each.hasOther) regions[i]->trigger.set(P::loopSection, i == other ? 2 : 0);
      if (i == oneShot) regions[i]->articulation.set(P::vEnvReleaseMode, 1);
    }
    const auto outcome = run(u"find-loop", each.options);
    EXPECT_EQ(outcome, each.loops.empty() ? Outcome::nothingToDo : Outcome::changed);
    if (each.loops.empty()) continue;
    ASSERT_NE(waveform.markers[0].start, 100);
    for (std::size_t i = 0; i < count; ++i) {
      if (!regions[i]) continue;
      const auto played = playedLoop(*regions[i]);
      const char loops = !played ? 'n' : *played == waveform.markers[0] ? 'o' : '2';
      EXPECT_EQ(loops, each.loops[i]) << i << " of " << each.loops;
    }
  }
}

TEST_F(LoopOperations, DrumsStayWithoutALoopThatNobodyHears) {
  Waveform& waveform = wave(tone());
  const Region& region = fixup_test::Document::region(document.layer(), waveform);
  document.collection.instruments()[0]->drum = true;
  EXPECT_EQ(run(u"find-loop"), Outcome::nothingToDo);
  fixup_test::Document::region(document.collection.add(std::make_unique<Instrument>()).add(std::make_unique<Layer>()),
                               waveform);
  EXPECT_EQ(run(u"find-loop"), Outcome::changed);
  EXPECT_FALSE(playedLoop(region)) << "it asked for the own loop, of which there was none";
}

TEST_F(LoopOperations, CutBehindTheLoopAndAppendWhatItGoesOnToPlay) {
  Waveform& waveform = wave(tone(), {{.type = MarkerType::section, .name = u"all", .start = 0, .end = 8820},
                                     {.type = MarkerType::position, .name = u"late", .start = 8800, .end = 8801}});
  EXPECT_EQ(run(u"find-loop", {{u"cut", u"on"}}), Outcome::changed);
  ASSERT_EQ(waveform.markers.size(), 2u);
  const Marker& found = waveform.markers[1];
  const auto start = static_cast<std::size_t>(found.start), end = static_cast<std::size_t>(found.end);
  ASSERT_EQ(waveform.frames(), static_cast<int64_t>(end + 32));
  EXPECT_EQ(waveform.markers[0].end, waveform.frames());
  const auto frames = framesOf(waveform.samples);
  for (std::size_t i = 0; i < 32; ++i) EXPECT_EQ(frames[end + i], frames[start + i]);
  EXPECT_EQ(frames[end - 1], frames[start - 1]) << "not crossfaded";
}

TEST_F(LoopOperations, CrossfadeAsFarAsTheLoopAllows) {
  Waveform& waveform = wave(tone(), {loop(1000, 1500)});
  const auto before = framesOf(waveform.samples);
  EXPECT_EQ(run(u"crossfade-loop", {{u"length", u"501"}}), Outcome::failed);
  EXPECT_EQ(LastErrorText(),
            u"The maximum crossfade length is 500 wavesamples (minimum of the loop length and the "
            u"number of wavesamples before the loop start point");
  EXPECT_EQ(framesOf(waveform.samples), before);
  EXPECT_EQ(run(u"crossfade-loop", {{u"length", u"10"}, {u"reverse", u"off"}}), Outcome::changed);
  const auto after = framesOf(waveform.samples);
  for (std::size_t i = 0; i < after.size(); ++i) EXPECT_EQ(after[i] == before[i], i < 1490 || i > 1499) << i;

  // With several waveforms each is faded as far as it goes.
  Waveform& other = wave(tone(), {loop(300, 5000)});
  wave(tone(), {loop(0, 500)});
  EXPECT_EQ(run(u"crossfade-loop", {{u"length", u"10"}}), Outcome::failed);
  EXPECT_EQ(run(u"crossfade-loop"), Outcome::changed);
  EXPECT_EQ(host.texts.back(), u"Done: Cross-fade loop: 2 of 3 items changed");
  const auto faded = framesOf(other.samples);
  EXPECT_EQ(faded[4699], before[4699]);
  EXPECT_NE(faded[4701], before[4701]);
}

TEST_F(LoopOperations, SnapLoopsToCrossingsOfOneDirection) {
  std::vector<float> samples(400);
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = static_cast<float>(std::sin((static_cast<double>(i) + 0.5) * std::numbers::pi / 50));
  Waveform& waveform = wave(makeResident(std::move(samples), 1), {loop(103, 238), loop(99, 199)});
  EXPECT_EQ(run(u"snap-loops"), Outcome::changed);
  EXPECT_EQ(waveform.markers[0].start, 99);  // rising between 99 and 100
  EXPECT_EQ(waveform.markers[0].end, 199);   // 249 is nearer, but falls
  EXPECT_EQ(run(u"snap-loops"), Outcome::nothingToDo);
}

TEST_F(LoopOperations, LeaveTheWaveformAloneWhenStopped) {
  const auto noise = makeResident(tones::noise(1200), 1);
  for (int asked = 0; asked < 3; ++asked) {
    document.collection.clear();
    Waveform& waveform = wave(noise);
    host.left = asked;
    EXPECT_EQ(run(u"find-loop"), Outcome::failed) << asked;
    EXPECT_EQ(LastErrorText(), u"Cancelled");
    EXPECT_TRUE(waveform.markers.empty());
    EXPECT_EQ(waveform.samples, noise);
  }
}

}  // namespace
}  // namespace tervo::test
