#include "core/levels.h"

#include <gmock/gmock.h>

#include "core/collection.h"
#include "core/parameter_access.h"

namespace tervo {
namespace {

using P = ParameterId;

struct Document {
  Collection collection;
  Waveform& wave = collection.add(std::make_unique<Waveform>());
  Instrument& instrument = collection.add(std::make_unique<Instrument>());
  Layer& layer = instrument.add(std::make_unique<Layer>());
  Region& low = layer.add(std::make_unique<Region>());
  Region& high = layer.add(std::make_unique<Region>());

  Document() {
    low.waveform = high.waveform = wave.id();
    wave.samples = makeResident(std::vector<float>(100), 1);
  }
};

TEST(Levels, ALowerLevelReplacesTheValueAbove) {
  Document document;
  EXPECT_EQ(effectiveValue(document.low, P::filterCutoff), 8000);
  EXPECT_EQ(effectiveValue(document.low, P::velocityToVolume), 96);
  EXPECT_EQ(effectiveValue(document.low, P::pitchBendToPitch), 2);
  document.instrument.articulation.set(P::filterCutoff, 1000);
  document.instrument.articulation.set(P::panPosition, 0.25f);
  EXPECT_EQ(effectiveValue(document.low, P::filterCutoff), 1000);
  document.layer.articulation.set(P::filterCutoff, 2000);
  document.low.articulation.set(P::filterCutoff, 0);  // a value of 0 is set, not absent
  EXPECT_EQ(effectiveValue(document.low, P::filterCutoff), 0);
  EXPECT_EQ(effectiveValue(document.high, P::filterCutoff), 2000);
  EXPECT_EQ(effectiveArticulation(document.high).get(P::filterCutoff), 2000);
  EXPECT_EQ(effectiveArticulation(document.high).get(P::panPosition), 0.25f);
  EXPECT_EQ(effectiveArticulation(document.high).entries().size(), 2u);
}

TEST(Levels, TriggersComeFromTheLayerAndOverridesDoNot) {
  Document document;
  document.layer.trigger.set(P::triggerHighKey, 72);
  document.layer.trigger.set(P::rootKeyOverride, 40);
  document.low.trigger.set(P::triggerLowKey, 36);
  EXPECT_EQ(keyRange(document.low), (Range{36, 72}));
  EXPECT_EQ(velocityRange(document.low), (Range{0, 127}));
  EXPECT_EQ(effectiveValue(document.low, P::rootKeyOverride), 0);
  EXPECT_EQ(rootKeyOf(document.low), 60);
  Region orphan;
  EXPECT_EQ(keyRange(orphan), (Range{0, 127}));
}

TEST(Levels, RootKeyIsTheOverrideOrTheWaveforms) {
  Document document;
  document.wave.rootKey = 48;
  EXPECT_EQ(rootKeyOf(document.low), 48);
  setParameterValue(document.low.id(), P::rootKeyOverride, 50);
  EXPECT_EQ(rootKeyOf(document.low), 50);
  setParameterValue(document.low.id(), P::rootKeyOverride, 255);
  EXPECT_EQ(parameterValue(document.low.id(), P::rootKeyOverride), std::nullopt);
  document.collection.remove(document.wave.id());
  EXPECT_EQ(rootKeyOf(document.low), 60);
}

TEST(Levels, ALayerTakesOnlyRegionsThatDoNotOverlap) {
  Document document;
  for (Region* region : {&document.low, &document.high}) {
    region->trigger.set(P::triggerHighKey, 60);
    region->trigger.set(P::triggerHighVelocity, 63);
  }
  EXPECT_TRUE(canTake(document.layer, {61, 127}, {0, 127}));
  EXPECT_TRUE(canTake(document.layer, {0, 127}, {64, 127}));
  EXPECT_FALSE(canTake(document.layer, {60, 127}, {63, 127}));
}

TEST(Levels, SectionsAndLoopsFollowTheSelectors) {
  Document document;
  document.wave.markers = {{.type = MarkerType::position, .start = 10, .end = 11},
                           {.type = MarkerType::section, .start = 20, .end = 400},
                           {.type = MarkerType::loop, .start = 30, .end = 40.5, .loopType = LoopType::forward},
                           {.type = MarkerType::loop, .start = 50, .end = 60, .loopType = LoopType::reverse}};
  struct Case {
    float play, loop;
    double start, end;
    std::optional<double> loopStart;
  };
  for (const Case& c : {Case{0, -1, 0, 100, 30.0}, Case{1, 4, 10, 100, 50.0}, Case{2, 0, 20, 100, {}},
                        Case{9, 1, 0, 100, {}}, Case{-3, 99, 0, 100, {}}}) {
    document.low.trigger.set(P::playSection, c.play);
    document.low.trigger.set(P::loopSection, c.loop);
    EXPECT_EQ(playedFrames(document.low).start, c.start) << c.play;
    EXPECT_EQ(playedFrames(document.low).end, c.end) << c.play;
    const auto loop = playedLoop(document.low);
    EXPECT_EQ(loop ? std::optional(loop->start) : std::nullopt, c.loopStart) << c.loop;
  }
  document.collection.remove(document.wave.id());
  EXPECT_EQ(playedFrames(document.low).end, 0);
  EXPECT_FALSE(playedLoop(document.low));
}

TEST(LevelEdit, PropagationKeepsTheDifferencesBelow) {
  Document document;
  Layer& other = document.instrument.add(std::make_unique<Layer>());
  document.layer.articulation.set(P::masterTuning, 2);
  document.low.articulation.set(P::masterTuning, 5);
  other.articulation.set(P::masterTuning, 47);
  const ItemId instrument = document.instrument.id();

  EXPECT_TRUE(setParameterValue(instrument, P::masterTuning, 3, Propagation::deltaDownwards));  // from the default, 0
  EXPECT_EQ(effectiveValue(document.low, P::masterTuning), 8);
  EXPECT_EQ(effectiveValue(document.high, P::masterTuning), 5);
  EXPECT_EQ(document.high.articulation.get(P::masterTuning), std::nullopt);
  EXPECT_EQ(other.articulation.get(P::masterTuning), 48);  // stops at the row's maximum

  EXPECT_TRUE(setParameterValue(document.layer.id(), P::masterTuning, 4, Propagation::deltaDownwards));
  EXPECT_EQ(effectiveValue(document.low, P::masterTuning), 7);
  EXPECT_TRUE(clearParameterValue(document.layer.id(), P::masterTuning, Propagation::deltaDownwards));  // 4 to 3
  EXPECT_EQ(effectiveValue(document.low, P::masterTuning), 6);
  EXPECT_TRUE(setParameterValue(instrument, P::masterTuning, 0, Propagation::none));
  EXPECT_EQ(effectiveValue(document.low, P::masterTuning), 6);
}

TEST(LevelEdit, ChoicesBelowStay) {
  Document document;
  document.low.articulation.set(P::filterType, 2);
  EXPECT_TRUE(setParameterValue(document.instrument.id(), P::filterType, 5, Propagation::deltaDownwards));
  EXPECT_EQ(effectiveValue(document.low, P::filterType), 2);
}

}  // namespace
}  // namespace tervo
