// What each option is for; that it does no harm besides is shown by the generated documents.

#include <gtest/gtest.h>

#include <limits>

#include "tests/core/normalise_support.h"

namespace tervo {
namespace {

using namespace fixup_test;

TEST(Repairs, ClearWhatARegionSaysThatIsNotSo) {
  constexpr ParameterId root = ParameterId::rootKeyOverride, play = ParameterId::playSection,
                        loop = ParameterId::loopSection;
  struct Case {
    ParameterId row;
    float value;
    float repaired;
    bool isReported;
  };
  // The waveform has ten frames, root key 60, a loop, a position at its last frame and a section behind its end.
  for (const Case& c : {Case{root, 60, 60, false},
                        {root, 255, 60, false},
                        {root, 59, 59, false},
                        {play, 1, 1, false},
                        {play, 2, 2, false},
                        {play, 3, 0, true},
                        {play, 4, 0, true},
                        {loop, 0, 0, false},
                        {loop, 1, 1, false},
                        {loop, 2, -1, true},
                        {loop, 4, -1, true},
                        {loop, -1, -1, false}}) {
    SCOPED_TRACE(testing::Message() << static_cast<int>(c.row) << " " << c.value);
    Document document;
    const Waveform& wave = document.wave(
        u"w", ramp(10, 1),
        {loopMarker(2, 9, LoopType::forward), {.start = 9}, {.type = MarkerType::section, .start = 10, .end = 12}});
    Region& region = Document::region(document.layer(), wave);
    region.trigger.set(c.row, c.value);
    document.fixUp();
    EXPECT_EQ(c.row == root ? static_cast<float>(rootKeyOf(region)) : effectiveValue(region, c.row), c.repaired);
    EXPECT_EQ(region.trigger.empty(), c.value != c.repaired || (c.row == root && c.repaired == 60));
    EXPECT_EQ(document.report.lostSomething(), c.isReported);
  }
}

TEST(Repairs, CutLoopsToTheFrames) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Case {
    double start, end;
    LoopType type;
    double cutStart, cutEnd;
  };
  // In a sound of ten frames.
  for (const Case& c : {Case{2, 10, LoopType::forward, 2, 10},
                        {2, 12, LoopType::forward, 2, 10},
                        {-3, 5, LoopType::forward, 0, 5},
                        {nan, nan, LoopType::forward, 0, 10},
                        {5, 5, LoopType::off, 5, 6},
                        {4294967297.0, 4294967299.0, LoopType::off, 10, 11}}) {
    SCOPED_TRACE(testing::Message() << c.start << " " << c.end);
    Document document;
    const Marker& loop = document.wave(u"w", ramp(10, 1), {loopMarker(c.start, c.end, LoopType::forward)}).markers[0];
    document.fixUp();
    EXPECT_EQ(loop.loopType, c.type);
    EXPECT_EQ(loop.start, c.cutStart);
    EXPECT_EQ(loop.end, c.cutEnd);
    EXPECT_EQ(document.report.lostSomething(), c.end != c.cutEnd || c.start != c.cutStart);
  }
}

TEST(MergeStereo, KnowsAPairByItsNames) {
  const TextView cases[][3] = {{u"Piano-L", u"Piano-R", u"Piano"},
                               {u"Piano (L)", u"piano (r)", u"Piano"},
                               {u"PianoLeft", u"PianoRight", u"Piano"},
                               {u"PianoL", u"PianoR", u"Piano"},
                               {u"Tom 1_L", u"Tom 1_R", u"Tom 1"},
                               {u"bell", u"belr", u""},
                               {u"Piano-L", u"Organ-R", u""},
                               {u"Piano-L", u"Piano R", u""},
                               {u"L", u"R", u""}};
  for (const auto& [left, right, merged] : cases) {
    SCOPED_TRACE(toUtf8(left));
    Document document;
    document.settings.load.autoMergeStereo = 1;
    document.wave(right, ramp(10, 1, 0.5f));
    document.wave(left, ramp(11, 1));
    document.fixUp();
    if (merged.empty()) {
      EXPECT_EQ(document.names(), (std::vector<Text>{Text(right), Text(left)}));
      continue;
    }
    ASSERT_EQ(document.names(), std::vector<Text>{Text(merged)});
    const auto frames = framesOf(document.collection.waveforms()[0]->samples);
    EXPECT_EQ(frames[2], 1.0f / 256);
    EXPECT_EQ(frames[3], 0.5f + 1.0f / 256);
  }
}

TEST(MergeStereo, OnlyWhatAgreesIsAPair) {
  constexpr ParameterId pan = ParameterId::panPosition;
  const std::function<void(Waveform&, Region&)> changes[] = {
      [](Waveform& wave, Region&) { wave.sampleRate = 44100; },
      [](Waveform& wave, Region&) { wave.samples = ramp(8, 1); },
      [](Waveform& wave, Region&) { wave.rootKey = 61; },
      [](Waveform& wave, Region&) { wave.markers[0].end = 4; },
      [](Waveform&, Region& region) { region.articulation.set(pan, 0.5f); },
      [](Waveform&, Region& region) { region.trigger.set(ParameterId::triggerLowKey, 61); },
      [](Waveform&, Region& region) { region.articulation.set(ParameterId::filterCutoff, 500); },
      [](Waveform& wave, Region& region) { Document::region(*static_cast<Layer*>(region.parent()), wave, 1); },
      [](Waveform&, Region&) {}};
  for (std::size_t i = 0; i < std::size(changes); ++i) {
    Document document;
    document.settings.load.autoMergeStereo = 1;
    Waveform& left = document.wave(u"a-L", ramp(10, 1), {loopMarker(1, 5, LoopType::forward)});
    Waveform& right = document.wave(u"a-R", ramp(10, 1), left.markers);
    Layer& layer = document.layer();
    Document::region(layer, left, -1);
    changes[i](right, Document::region(layer, right, 1));
    document.fixUp();
    const bool isPair = i + 1 == std::size(changes);
    EXPECT_EQ(document.collection.waveforms().size(), isPair ? 1u : 2u) << i;
    if (isPair) {
      EXPECT_EQ(layer.regions().size(), 1u);
      EXPECT_EQ(effectiveValue(*layer.regions()[0], pan), 0);
    }
  }
}

TEST(MergeStereo, KeepsOrReportsWhatTheRightChannelCarries) {
  const auto chunk = [](uint8_t first) {
    const auto source = std::make_shared<MemorySource>(std::vector{std::byte{first}, std::byte{2}});
    return ForeignChunk{.container = "RIFF", .id = "abcd", .source = source, .offset = 0, .bytes = 2};
  };
  const auto picture = [](uint8_t first) { return std::make_shared<const Picture>(Picture{{std::byte{first}}, {}}); };
  struct Case {
    Text artist;
    std::shared_ptr<const Picture> image;
    std::vector<ForeignChunk> chunks;
    Text lost;
  };
  // The left channel has an artist, a picture and one chunk, and no comments.
  for (const Case& c : {Case{u"", nullptr, {}, u""},
                        {u"A", picture(1), {chunk(1)}, u""},
                        {u"B", picture(1), {}, u"tag Artist"},
                        {u"A", picture(2), {}, u"picture"},
                        {u"", nullptr, {chunk(3)}, u"chunks of the source file"},
                        {u"", nullptr, {chunk(1), chunk(1)}, u"chunks of the source file"}}) {
    Document document;
    document.settings.load.autoMergeStereo = 1;
    Waveform& left = document.wave(u"a-L", ramp(10, 1));
    Waveform& right = document.wave(u"a-R", ramp(10, 1));
    left.tags[Tag::artist] = u"A";
    left.tags.image = picture(1);
    left.foreignChunks = {chunk(1)};
    right.tags[Tag::artist] = c.artist;
    right.tags[Tag::comments] = u"C";
    right.tags.image = c.image;
    right.foreignChunks = c.chunks;
    document.fixUp();
    EXPECT_EQ(left.tags[Tag::comments], u"C");
    Text lost;
    for (const auto& entry : document.report.entries()) {
      if (entry.kind == ReportKind::dropped) lost += entry.what;
    }
    EXPECT_EQ(lost, c.lost);
  }
}

TEST(SplitStereo, GivesEveryRegionATwinAtTheOtherSide) {
  Document document;
  document.settings.load.autoSplitStereo = document.settings.load.autoMergeStereo = 1;
  document.wave(u"before", ramp(3, 1));
  const Waveform& wave = document.wave(u"a", ramp(3, 2));
  document.wave(u"behind", ramp(3, 1));
  Layer& layer = document.layer();
  Document::region(layer, wave);
  document.fixUp();
  EXPECT_EQ(document.names(), (std::vector<Text>{u"before", u"a-L", u"a-R", u"behind"}));
  ASSERT_EQ(layer.regions().size(), 2u);
  EXPECT_EQ(effectiveValue(*layer.regions()[0], ParameterId::panPosition), -1);
  EXPECT_EQ(effectiveValue(*layer.regions()[1], ParameterId::panPosition), 1);
  EXPECT_EQ(framesOf(findItem<Waveform>(layer.regions()[1]->waveform)->samples),
            (std::vector<float>{1.0f / 256, 3.0f / 256, 5.0f / 256}));
}

TEST(RemoveDuplicates, LeavesUsersWithTheWaveformThatWasThere) {
  const std::function<void(Waveform&)> changes[] = {[](Waveform& wave) { wave.rootKey = 61; },
                                                    [](Waveform& wave) { wave.fineTune = 1; },
                                                    [](Waveform& wave) { wave.sampleRate = 8000; },
                                                    [](Waveform& wave) { wave.markers[0].start = 2; },
                                                    [](Waveform& wave) { wave.samples = ramp(70, 1, 1); },
                                                    [](Waveform& wave) { wave.name = u"W-r"; },
                                                    [](Waveform& wave) { wave.name = u"another-R"; }};
  for (std::size_t i = 0; i < std::size(changes); ++i) {
    Document there, document;
    document.settings.load.autoRemoveDupWaves = 1;
    const Waveform& kept = there.wave(u"w-L", ramp(70, 1), {loopMarker(1, 5, LoopType::forward)});
    Waveform& wave = document.wave(u"w-L", ramp(70, 1), kept.markers);
    changes[i](wave);
    const Region& region = Document::region(document.layer(), wave);
    const bool isEqual = i + 1 == std::size(changes);
    const ItemId own = wave.id();
    document.fixUp(&there.collection);
    EXPECT_EQ(region.waveform, isEqual ? kept.id() : own) << i;
    EXPECT_EQ(document.collection.waveforms().size(), isEqual ? 0u : 1u) << i;
  }
}

TEST(Layers, BecomeOneWhereNothingOverlapsAndShareWhatIsAlike) {
  constexpr ParameterId low = ParameterId::triggerLowKey, high = ParameterId::triggerHighKey,
                        fade = ParameterId::triggerKeyFadeIn, cutoff = ParameterId::filterCutoff,
                        delay = ParameterId::triggerDelay;
  for (const float fadeIn : {0.0f, 4.0f}) {
    Document document;
    document.settings.load.autoCompactLayers = document.settings.load.autoMoveArticulation =
        document.settings.load.autoMoveTriggerParams = 1;
    const Waveform& wave = document.wave(u"w", ramp(10, 1));
    for (int i = 0; i < 2; ++i) {
      Layer& layer = document.layer();
      layer.articulation.set(cutoff, 1000);
      Region& region = Document::region(layer, wave, i == 0 ? -1.0f : 1.0f);
      region.trigger.set(i == 0 ? high : low, i == 0 ? 59.0f : 60.0f);
      region.trigger.set(delay, 1);
      if (i == 1) region.trigger.set(fade, fadeIn);
    }
    document.fixUp();
    const Instrument& instrument = *document.collection.instruments()[0];
    ASSERT_EQ(instrument.layers().size(), fadeIn == 0 ? 1u : 2u) << "a fade reaches over the end of its range";
    EXPECT_EQ(instrument.articulation.get(cutoff), 1000);
    EXPECT_TRUE(instrument.layers()[0]->articulation.get(cutoff) == std::nullopt);
    EXPECT_EQ(instrument.layers()[0]->trigger.get(delay), 1);
    EXPECT_EQ(instrument.layers()[0]->regions()[0]->trigger.get(delay), std::nullopt);
  }
}

TEST(Names, AreUniqueAndSortedAsPeopleDo) {
  Document there, document;
  document.settings.load.ensureUniqueNames = document.settings.load.autoSortWaves = 1;
  there.wave(u"tom 2", ramp(1, 1));
  for (const TextView name : {u"Tom 10", u"Tom 2", u"Tom 2", u"Tom 2 2", u"snare", u"Snare"})
    document.wave(name, ramp(1, 1));
  document.fixUp(&there.collection);
  EXPECT_EQ(document.names(), (std::vector<Text>{u"snare", u"Snare 2", u"Tom 2 2", u"Tom 2 3", u"Tom 2 4", u"Tom 10"}));
}

TEST(Sorting, PutsDrumsLastAndKeepsTheOrderOfEqualInstruments) {
  Document document;
  document.settings.load.autoSortColl = 1;
  const struct {
    TextView name;
    bool drum;
    uint8_t msb, lsb, program;
  } instruments[] = {{u"e", true, 0, 0, 0},
                     {u"d", false, 1, 0, 0},
                     {u"c", false, 0, 1, 0},
                     {u"a", false, 0, 0, 5},
                     {u"b", false, 0, 0, 5}};
  for (const auto& each : instruments) {
    Instrument& instrument = document.collection.add(std::make_unique<Instrument>());
    instrument.name = each.name;
    instrument.drum = each.drum;
    instrument.bankMsb = each.msb;
    instrument.bankLsb = each.lsb;
    instrument.program = each.program;
  }
  document.fixUp();
  Text order;
  for (const auto& instrument : document.collection.instruments()) order += instrument->name;
  EXPECT_EQ(order, u"abcde");
}

}  // namespace
}  // namespace tervo
