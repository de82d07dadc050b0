// Operations that rearrange frames: what they keep is the same bit for bit, and loops and markers go with it.

#include "tests/tools/wave_fixture.h"

namespace tervo {
namespace {

using namespace test;

Marker position(double at) {
  return {.type = MarkerType::position, .start = at, .end = at + 1};
}
Marker section(double start, double end) {
  return {.type = MarkerType::section, .start = start, .end = end};
}

TEST_F(WaveOperations, ReversingTwiceIsNothing) {
  for (const int channels : {1, 2}) {
    for (const int64_t frames : {1, 2, 33, 200001}) {
      document.collection.clear();
      const auto end = static_cast<double>(frames);
      const std::vector<Marker> markers = {loopMarker(0.25, end, LoopType::reverse, 7), section(end / 4, end / 2),
                                           position(end - 1)};
      Waveform& sound = wave(ramp(frames, channels), markers);
      const auto before = framesOf(sound.samples);
      run(u"reverse");
      const auto turned = framesOf(sound.samples);
      EXPECT_TRUE(std::equal(before.end() - channels, before.end(), turned.begin()));
      EXPECT_EQ(sound.markers[0].end, end - 0.25);
      EXPECT_EQ(sound.markers[2].start, 0);
      run(u"reverse");
      EXPECT_EQ(framesOf(sound.samples), before);
      EXPECT_EQ(sound.markers, markers);
    }
  }
}

struct Range {
  double start, end;
};

std::vector<Range> rangesOf(const Waveform& waveform) {
  std::vector<Range> ranges;
  for (const Marker& marker : waveform.markers) ranges.push_back({marker.start, marker.end});
  return ranges;
}
bool operator==(const Range& a, const Range& b) {
  return a.start == b.start && a.end == b.end;
}

TEST_F(WaveOperations, MarkersGoWithTheirFrames) {
  const std::vector<Marker> markers = {loopMarker(20.5, 60.25, LoopType::forward), section(0, 10), position(5),
                                       position(50), section(90, 100)};
  const struct {
    TextView operation;
    OptionTexts options;
    int64_t frames;
    std::vector<Range> ranges;
  } cases[] = {
      {u"crop", {{u"start", u"10"}, {u"end", u"95"}}, 85, {{10.5, 50.25}, {40, 41}, {80, 85}}},
      {u"crop", {{u"start", u"40"}}, 60, {{0, 20.25}, {10, 11}, {50, 60}}},
      {u"crop", {{u"marker", u"1"}}, 39, {{0, 39}, {29, 30}}},
      {u"crop", {{u"marker", u"4"}}, 50, {{0, 10.25}, {0, 1}, {40, 50}}},
      {u"cut", {{u"start", u"2"}, {u"end", u"12"}}, 90, {{10.5, 50.25}, {0, 2}, {40, 41}, {80, 90}}},
      {u"cut", {{u"start", u"30"}, {u"end", u"40"}}, 90, {{20.5, 50.25}, {0, 10}, {5, 6}, {40, 41}, {80, 90}}},
      {u"cut", {{u"marker", u"1"}}, 61, {{0, 10}, {5, 6}, {51, 61}}},
      {u"crop", {{u"marker", u"9"}}, 100, {{20.5, 60.25}, {0, 10}, {5, 6}, {50, 51}, {90, 100}}},
      {u"crop", {{u"start", u"200"}}, 100, {{20.5, 60.25}, {0, 10}, {5, 6}, {50, 51}, {90, 100}}},
      {u"crop", {{u"start", u"50"}, {u"end", u"-0.5"}}, 100, {{20.5, 60.25}, {0, 10}, {5, 6}, {50, 51}, {90, 100}}},
  };
  for (const auto& each : cases) {
    document.collection.clear();
    Waveform& sound = wave(ramp(100, 2), markers);
    OptionTexts options = each.options;
    options.emplace_back(u"unit", u"frames");
    // A section that the only waveform does not have is a mistake.
    EXPECT_EQ(run(each.operation, options), each.frames < 100 ? Outcome::changed : Outcome::failed);
    EXPECT_EQ(sound.frames(), each.frames) << toUtf8(each.options[0].second);
    EXPECT_EQ(rangesOf(sound), each.ranges) << toUtf8(each.operation) << toUtf8(each.options[0].second);
  }
  EXPECT_EQ(run(u"cut"), Outcome::failed);
  EXPECT_EQ(LastErrorText(), u"No frames would be left of \"W\"");
}

TEST_F(WaveOperations, SelectorsFollowTheirMarkers) {
  Waveform& sound = wave(ramp(100, 1), {section(0, 10), position(15), loopMarker(40, 60, LoopType::forward)});
  Layer& layer = document.layer();
  std::vector<Region*> regions;
  for (const float selector : {0.0f, 1.0f, 2.0f, 3.0f}) {
    regions.push_back(&fixup_test::Document::region(layer, sound));
    regions.back()->trigger.set(ParameterId::playSection, selector);
    regions.back()->trigger.set(ParameterId::loopSection, 3);
  }
  ASSERT_EQ(run(u"crop", {{u"start", u"20"}, {u"unit", u"frames"}}), Outcome::changed);
  ASSERT_EQ(sound.markers.size(), 2u);  // the position is played from: what is left of it begins with frame 20
  const Range played[] = {{0, 80}, {0, 80}, {0, 80}, {20, 40}};
  for (std::size_t i = 0; i < regions.size(); ++i) {
    const FrameRange range = playedFrames(*regions[i]);
    EXPECT_EQ((Range{range.start, range.end}), played[i]) << i;
    ASSERT_TRUE(playedLoop(*regions[i]));
    EXPECT_EQ(playedLoop(*regions[i])->start, 20);
  }
}

TEST_F(WaveOperations, SilenceGoesButNoLoop) {
  std::vector<float> samples(100000, 0.0005f);
  for (std::size_t i = 40000; i < 50000; ++i) samples[i] = -0.5f;
  samples[10] = std::nanf("");
  const SampleRef source = makeResident(samples, 2);  // loud: frames 20000 to 25000
  const struct {
    OptionTexts options;
    std::vector<Marker> markers;
    int64_t frames;
  } cases[] = {
      {{}, {}, 5000},
      {{{u"below", u"-70"}}, {}, 50000},
      {{{u"keep", u"0.1"}}, {}, 5000 + 2 * 4410},
      {{{u"side", u"start"}}, {}, 30000},
      {{{u"side", u"end"}}, {}, 25000},
      {{}, {loopMarker(24000, 26000.5, LoopType::forward)}, 6001},
      {{}, {loopMarker(24000, 26000.5, LoopType::off)}, 5000},
  };
  for (const auto& each : cases) {
    document.collection.clear();
    Waveform& sound = wave(source, each.markers);
    sound.sampleRate = 44100;
    run(u"trim-silence", each.options);
    EXPECT_EQ(sound.frames(), each.frames);
  }
  document.collection.clear();
  wave(makeResident(std::vector(64, 0.0f), 2));
  EXPECT_EQ(run(u"trim-silence"), Outcome::nothingToDo);
}

TEST_F(WaveOperations, ChannelsAreWhatTheyAreCalled) {
  const std::vector<float> stereo = {0.5f, -0.5f, 0.25f, 0.75f, 0.125f, 0.125f}, mono = {0.5f, 0.25f};
  const struct {
    TextView to;
    std::vector<float> source;
    int channels;
    std::vector<float> result;
  } cases[] = {
      {u"stereo", mono, 1, {0.5f, 0.5f, 0.25f, 0.25f}},
      {u"mono", stereo, 2, {0, 0.5f, 0.125f}},  // opposite phases cancel each other
      {u"left", stereo, 2, {0.5f, 0.25f, 0.125f}},
      {u"right", stereo, 2, {-0.5f, 0.75f, 0.125f}},
      {u"difference", stereo, 2, {0.5f, -0.25f, 0}},
      {u"swapped", stereo, 2, {-0.5f, 0.5f, 0.75f, 0.25f, 0.125f, 0.125f}},
      {u"swapped", mono, 1, mono},
      {u"stereo", stereo, 2, stereo},
  };
  for (const auto& each : cases)
    EXPECT_EQ(result(u"change-channels", {{u"to", each.to}}, makeResident(each.source, each.channels)), each.result)
        << toUtf8(each.to);
  const auto right = result(u"invert-phase", {{u"channel", u"right"}}, makeResident(stereo, 2));
  EXPECT_EQ(right, (std::vector<float>{0.5f, 0.5f, 0.25f, -0.75f, 0.125f, -0.125f}));
  EXPECT_EQ(result(u"invert-phase", {}, makeResident(mono, 1)), (std::vector<float>{-0.5f, -0.25f}));
}

TEST_F(WaveOperations, ResamplingKeepsPitchAndPlaces) {
  Waveform& sound = wave(sine(1000, 0.5, 44100), {loopMarker(441, 882.5, LoopType::forward)});
  sound.sampleRate = 44100;
  ASSERT_EQ(run(u"resample", {{u"to", u"48000"}}), Outcome::changed);
  EXPECT_EQ(sound.sampleRate, 48000);
  EXPECT_DOUBLE_EQ(sound.markers[0].start, 480);
  EXPECT_DOUBLE_EQ(sound.markers[0].end, 882.5 * 48000 / 44100);
  const auto frames = framesOf(sound.samples), wanted = framesOf(sine(1000, 0.5, 48000, 48000));
  ASSERT_EQ(frames.size(), wanted.size());
  for (std::size_t i = 500; i < 47500; ++i) ASSERT_NEAR(frames[i], wanted[i], 1e-5);
  // What is no finite number is silence, not the end of everything near it.
  std::vector<float> spoilt = framesOf(sine(1000, 0.5, 4000)), silenced = spoilt;
  spoilt[1000] = std::nanf(""), spoilt[2000] = std::numeric_limits<float>::infinity();
  silenced[1000] = silenced[2000] = 0;
  EXPECT_EQ(result(u"resample", {{u"to", u"48000"}}, makeResident(spoilt, 1)),
            result(u"resample", {{u"to", u"48000"}}, makeResident(silenced, 1)));
}

// The key that a region plays in tune, with what it was by itself: measured by how long the frames have become.
TEST_F(WaveOperations, RegionsWithTuningOfTheirOwnAreInTuneToo) {
  constexpr double key = 57.3;
  struct Own {
    std::optional<float> key;  ///< root key override
    float tuning;              ///< semitones
  };
  const struct {
    std::vector<Own> regions;
    bool hasTuning;   ///< the first region can be in tune by fine tune
    std::size_t out;  ///< regions behind the first one that stay out of tune
  } cases[] = {
      {{{57.0f, -0.3f}}, true, 0},
      {{{58.0f, 0}, {std::nullopt, 0}, {58.0f, 0}}, true, 1},
      {{{60.0f, 2.7f}, {57.0f, -0.3f}}, true, 0},
      {{{57.0f, 11.6f}}, true, 0},  // an octave higher than it is, and a tenth out of tune
      {{{45.0f, 0}}, false, 0},
  };
  for (const auto& each : cases) {
    for (const TextView operation : {u"detect-root-key", u"tune-to-root", u"resampling"}) {
      document.collection.clear();
      document.report = {};
      Waveform& sound = wave(sine(440 * std::exp2((key - 69) / 12), 0.5, 44100));
      sound.sampleRate = 44100;
      std::vector<Region*> regions;
      for (const Own& own : each.regions) {
        regions.push_back(&fixup_test::Document::region(document.layer(), sound));
        if (own.key) regions.back()->trigger.set(ParameterId::rootKeyOverride, *own.key);
        regions.back()->articulation.set(ParameterId::masterTuning, own.tuning);
      }
      if (operation == u"resampling")
        run(u"tune-to-root", {{u"by", u"resampling"}});
      else
        run(operation);
      const double heard = key + 12 * std::log2(44100 / static_cast<double>(sound.frames()));
      std::size_t out = 0;
      for (std::size_t i = 0; i < regions.size(); ++i) {
        const double tuning = static_cast<double>(sound.fineTune) / 100 + static_cast<double>(each.regions[i].tuning);
        const double off = heard - rootKeyOf(*regions[i]) + tuning;
        const bool isInTune = std::abs(off - 12 * std::round(off / 12)) < 0.02;
        if (i > 0 && !isInTune) ++out;
        if (i > 0) continue;
        EXPECT_EQ(isInTune, each.hasTuning || operation == u"resampling") << off << toUtf8(operation);
      }
      EXPECT_EQ(out, each.out) << toUtf8(operation);
    }
  }
}

TEST_F(WaveOperations, WaveformsAreTunedByWhatIsHeard) {
  const double hertz = 440 * std::exp2(-11.7 / 12);  // key 57.3
  const auto sound = [&](const SampleRef& samples) -> Waveform& {
    document.collection.clear();
    Waveform& made = wave(samples, {loopMarker(10000, 20000, LoopType::forward)});
    made.sampleRate = 44100;
    return made;
  };
  const SampleRef tone = sine(hertz, 0.5, 44100);
  Waveform& detected = sound(tone);
  ASSERT_EQ(run(u"detect-root-key"), Outcome::changed);
  EXPECT_EQ(detected.rootKey, 57);
  EXPECT_NEAR(detected.fineTune, -30, 1);
  EXPECT_EQ(run(u"detect-root-key"), Outcome::nothingToDo);
  Waveform& farOff = sound(tone);
  EXPECT_EQ(run(u"tune-to-root"), Outcome::nothingToDo);
  farOff.rootKey = 58;
  ASSERT_EQ(run(u"tune-to-root"), Outcome::changed);
  EXPECT_NEAR(farOff.fineTune, 70, 1);
  Waveform& low = sound(tone);  // root key 60, 2.7 semitones above
  ASSERT_EQ(run(u"tune-to-root", {{u"by", u"resampling"}}), Outcome::changed);
  EXPECT_NEAR(static_cast<double>(low.frames()), 44100 * std::exp2(-2.7 / 12), 20);
  EXPECT_NEAR(low.markers[0].end, 20000 * std::exp2(-2.7 / 12), 10);
  EXPECT_EQ(run(u"detect-root-key"), Outcome::nothingToDo);  // within a tenth of a cent
  // Opposite phases: their mean is silent.
  std::vector<float> opposite;
  for (const float each : framesOf(tone)) opposite.insert(opposite.end(), {each, -each});
  Waveform& stereo = sound(makeResident(std::move(opposite), 2));
  run(u"detect-root-key");
  EXPECT_EQ(stereo.rootKey, 57);
  sound(makeResident(std::vector(5000, 0.0f), 1));
  EXPECT_EQ(run(u"detect-root-key"), Outcome::nothingToDo);
}

TEST_F(WaveOperations, ConvertedLoopsSoundTheSame) {
  for (const LoopType type : {LoopType::reverse, LoopType::alternating}) {
    document.collection.clear();
    Waveform& sound = wave(ramp(50, 2), {section(10, 20), loopMarker(10, 20, type)});
    Region& region = fixup_test::Document::region(document.layer(), sound);
    region.trigger.set(ParameterId::playSection, 2);  // the loop as a section
    const auto before = fixup_test::heard(sound, {0, 50}, sound.markers[1], 1, 100);
    ASSERT_EQ(run(u"convert-loops"), Outcome::changed);
    EXPECT_EQ(sound.markers[1].loopType, LoopType::forward);
    EXPECT_EQ(fixup_test::heard(sound, {0, 50}, sound.markers[1], 1, 100), before);
    EXPECT_EQ(playedFrames(region).start, 10);
    EXPECT_EQ(run(u"convert-loops"), Outcome::nothingToDo);
    ASSERT_EQ(run(u"append-after-loop", {{u"frames", u"100"}}), Outcome::changed);
    EXPECT_EQ(sound.frames(), sound.markers[1].end + 100);
    EXPECT_EQ(run(u"append-after-loop", {{u"frames", u"100"}}), Outcome::nothingToDo);
  }
}

TEST_F(WaveOperations, LoopsAreConvertedForMostOfTheRegions) {
  Waveform& sound =
      wave(ramp(50, 2), {loopMarker(10, 20, LoopType::alternating), loopMarker(30, 40, LoopType::reverse)});
  Layer& layer = document.layer();
  for (const float loop : {2.0f, 2.0f, 0.0f})
    fixup_test::Document::region(layer, sound).trigger.set(ParameterId::loopSection, loop);
  const auto before = fixup_test::heard(sound, {0, 50}, sound.markers[1], 1, 100);
  ASSERT_EQ(run(u"convert-loops"), Outcome::changed);
  EXPECT_EQ(fixup_test::heard(sound, {0, static_cast<double>(sound.frames())}, sound.markers[1], 1, 100), before);
  const auto& entries = document.report.entries();
  EXPECT_TRUE(std::any_of(entries.begin(), entries.end(),
                          [](const ReportEntry& entry) { return entry.what == u"regions that play otherwise: 1"; }));
}

}  // namespace
}  // namespace tervo
