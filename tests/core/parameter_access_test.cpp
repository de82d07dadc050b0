#include "core/parameter_access.h"

#include <gmock/gmock.h>

#include <cmath>

#include "core/collection.h"
#include "core/envelope.h"
#include "core/labels.h"

namespace tervo {
namespace {

using P = ParameterId;

TEST(ParameterAccess, EveryKindHasItsRowsAndNoOthers) {
  Collection collection;
  const ItemId wave = collection.add(std::make_unique<Waveform>()).id();
  Instrument& instrument = collection.add(std::make_unique<Instrument>());
  Layer& layer = instrument.add(std::make_unique<Layer>());
  const ItemId region = layer.add(std::make_unique<Region>()).id();
  const ItemId song = collection.add(std::make_unique<Song>()).id();
  struct Case {
    ItemId item;
    P row;
    double value;
    std::optional<double> kept;
  };
  const Case cases[] = {
      {wave, P::sampleRate, 48000.5, 48000.5},
      {wave, P::rootKey, 200, 127.0},
      {wave, P::fineTune, -12.5, -12.5},
      {wave, P::preferredFormat, 21, 21.0},
      {wave, P::filterCutoff, 100, {}},
      {wave, P::markerStart, 5, {}},
      {instrument.id(), P::bankMsb, 9, 9.0},
      {instrument.id(), P::drumKit, 1, 1.0},
      {instrument.id(), P::panPosition, -2, -1.0},
      {instrument.id(), P::triggerLowKey, 3, {}},
      {layer.id(), P::triggerLowKey, 3, 3.0},
      {layer.id(), P::rootKeyOverride, 3, {}},
      {region, P::loopSection, -1, -1.0},
      {region, P::eq2Gain, std::nan(""), {}},
      {region, P::separator134, 1, {}},
      {song, P::program, 1, {}},
      {collection.id(), P::tagName, 1, {}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(setParameterValue(c.item, c.row, c.value), c.kept.has_value()) << indexOf(c.row);
    EXPECT_EQ(parameterValue(c.item, c.row), c.kept) << indexOf(c.row);
  }
  collection.remove(region);
  EXPECT_FALSE(setParameterValue(region, P::panPosition, 0));
  EXPECT_EQ(parameterValue(region, P::loopSection), std::nullopt);
}

TEST(ParameterAccess, TagsAreReachedByTheirRow) {
  Waveform wave;
  Song song;
  EXPECT_TRUE(setParameterText(wave.id(), P::tagProduct, u"Album"));
  EXPECT_EQ(wave.tags[Tag::product], u"Album");
  EXPECT_FALSE(setParameterText(wave.id(), P::tagImage, u"x"));
  EXPECT_FALSE(setParameterText(song.id(), P::tagName, u"x"));
}

TEST(ParameterAccess, AMarkerNeverLosesItsLength) {
  Marker marker{.type = MarkerType::loop, .start = 10, .end = 20};
  EXPECT_TRUE(setMarkerValue(marker, P::markerStart, 30.5));
  EXPECT_EQ(marker.end, 31.5);
  EXPECT_TRUE(setMarkerValue(marker, P::markerEnd, 0));
  EXPECT_EQ(marker.start, 0);
  EXPECT_EQ(marker.end, 1);
  EXPECT_TRUE(setMarkerValue(marker, P::loopCount, 1e9));
  EXPECT_EQ(marker.loopCount, loopUntilRelease);
  EXPECT_FALSE(setMarkerValue(marker, P::markerName, 0));
}

TEST(ParameterAccess, SeveralItemsShowTheirSharedValue) {
  Region first, second;
  Waveform wave;
  const ItemId both[] = {first.id(), second.id()};
  EXPECT_EQ(sharedValueText(both, P::filterCutoff), u"");
  first.articulation.set(P::filterCutoff, 500);
  EXPECT_EQ(sharedValueText(both, P::filterCutoff), u"<different>");
  second.articulation.set(P::filterCutoff, 500);
  EXPECT_EQ(sharedValueText(both, P::filterCutoff), u"500 Hz");
  setParameterText(wave.id(), P::tagArtist, u"Somebody");
  EXPECT_EQ(sharedValueText(std::vector{wave.id(), wave.id()}, P::tagArtist), u"Somebody");
}

TEST(ParameterLists, ShowsValuesAsUsersReadThem) {
  struct Case {
    P row;
    double value;
    TextView text;
  };
  for (const Case& c :
       {Case{P::filterType, 12, u"Band-Reject 12 dB/oct"}, Case{P::eq1Mode, 2, u"Hi-shelf"},
        Case{P::xLfoShape, 11, u"Noise+"}, Case{P::xLfoShape, 12, u"12"}, Case{P::triggerLowKey, 69, u"A4"},
        Case{P::triggerLowKey, 0, u"C-1"}, Case{P::panPosition, 0.5, u"+50 %"},
        Case{P::masterTuning, -1.25, u"-1.25 st"}, Case{P::vEnvVelocityToAttack1Time, 0.5, u"0.5 x"},
        Case{P::loopCount, 0, u"Infinite"}, Case{P::loopCount, 3, u"3"}, Case{P::preferredFormat, 21, u"Default"},
        Case{P::preferredFormat, 20, u"Compressed 320 kbit/s"}, Case{P::loopSection, -1, u"-1"},
        Case{P::markerStart, 12345678.25, u"12345678.25"}, Case{P::sampleRate, 768000, u"768000 Hz"},
        Case{P::eq1Q, 0.71f, u"0.71"}, Case{P::tagName, 1, u""}}) {
    EXPECT_EQ(valueText(c.row, c.value), c.text) << indexOf(c.row);
  }
  EXPECT_EQ(keyName(60, MiddleC::c3), u"C3");
  EXPECT_EQ(sampleFormatChoices()[3], u"PCM 16-bit");
  EXPECT_EQ(exclusionText(7, 0), u"Alternate Gr.7");
}

TEST(Labels, CountWhatIsBelow) {
  Collection collection;
  Instrument& instrument = collection.add(std::make_unique<Instrument>());
  for (int layers = 0; layers < 2; ++layers) {
    Layer& layer = instrument.add(std::make_unique<Layer>());
    for (int regions = 0; regions < 3; ++regions) layer.add(std::make_unique<Region>());
  }
  EXPECT_EQ(treeLabel(4, instrument), u"4\t(2 layers, 6 regions)");
  std::vector<const Waveform*> waves;
  for (const auto format : {SampleFormat::pcm16, SampleFormat::pcm24}) {
    Waveform& wave = collection.add(std::make_unique<Waveform>());
    wave.samples = makeResident(std::vector<float>(1536), 2);
    wave.setStoredFormat(format, BigEndian);
    waves.push_back(&wave);
    EXPECT_EQ(sampleFormatLabel(waves), format == SampleFormat::pcm16 ? u"PCM 16-bit" : u"Mixed");
  }
  Waveform& looped = *collection.waveforms()[0];
  looped.markers = {{.type = MarkerType::position},
                    {.type = MarkerType::loop, .end = 9},
                    {.type = MarkerType::loop, .end = 9},
                    {.type = MarkerType::loop, .end = 9},
                    {.type = MarkerType::loop, .name = u"Tail", .end = 9}};
  std::vector<Text> labels;
  for (const Marker& marker : looped.markers) labels.emplace_back(markerLabel(looped, marker));
  EXPECT_EQ(labels, (std::vector<Text>{u"Position", u"Main Loop", u"Alt Loop", u"Loop", u"Tail"}));
  EXPECT_EQ(collection.waveforms()[1]->storedBits, 24);
  EXPECT_EQ(collection.waveforms()[1]->coding, SampleCoding::pcm24);
  EXPECT_EQ(treeLabel(collection.waveforms()), u"2\t(total 3.0K samples)");
}

TEST(Envelope, SixStagesStandInTheirRows) {
  SixStageEnvelope stages;
  stages.delay = {0.5f, 2, 1};
  stages.attack = {0.01f, 1, 0.5f};
  stages.hold = {0.25f, 1, 1};
  stages.decay = {2, 1, 1};
  stages.sustain = 0.3f;
  stages.release = {1.5f, 1, 2};
  ArticulationSet set;
  set.set(P::fEnvRelease2Level, 0.5f);
  set.set(P::fEnvDecay1Level, -1);
  setEnvelope(set, Modulator::filter, stages);
  EXPECT_EQ(set.get(P::fEnvAttack1Time), 0.5f);
  EXPECT_EQ(set.get(P::fEnvVelocityToAttack1Time), 2);
  EXPECT_EQ(set.get(P::fEnvAttack1Level), 0);
  EXPECT_EQ(set.get(P::fEnvKeyToAttack2Time), 0.5f);
  EXPECT_EQ(set.get(P::fEnvDecay1Level), 1);
  EXPECT_EQ(set.get(P::fEnvSustain), 0.3f);
  EXPECT_EQ(set.get(P::fEnvRelease1Rate), 1.5f);
  EXPECT_EQ(set.get(P::fEnvKeyToReleaseTime), 2);
  EXPECT_EQ(envelopeOf(set, Modulator::filter), stages);
  EXPECT_TRUE(isSixStage(set, Modulator::filter));
  set.set(P::fEnvAttack1Level, -0.5f);
  EXPECT_FALSE(isSixStage(set, Modulator::filter));
}

}  // namespace
}  // namespace tervo
