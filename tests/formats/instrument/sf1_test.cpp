// SoundFont 1 banks: sample records without names and rates, zones in the units of the sound card.

#include <gtest/gtest.h>

#include "core/levels.h"
#include "tests/formats/instrument/sf2_builder.h"

namespace tervo::test {
namespace {

using P = ParameterId;

/// One preset, one instrument of these zones, which all play the first sample.
ReadBank readZones(std::vector<Zone> zones, Zone preset = {}, std::vector<Sample> samples = {{.name = "First"}}) {
  BankBuilder bank;
  bank.version = 1;
  preset.generators.push_back({41, 0});
  for (Zone& zone : zones) zone.generators.push_back({53, 0});
  bank.preset("Preset", 5, 3, {preset}).instrument("Instrument", zones);
  for (const Sample& sample : samples) bank.sample(sample);
  return ReadBank(bank.build(), readSf1);
}

float value(const ReadBank& bank, ParameterId row, std::size_t layer = 0) {
  return effectiveValue(bank.region(layer), row);
}

TEST(SoundFont1, ReadsNamesAndPositionsFromTwoChunks) {
  const ReadBank bank = readZones(
      {{}}, {}, {{.name = "First"}, {.name = "Second", .start = 70, .end = 90, .loopStart = 71, .loopEnd = 80}});
  ASSERT_TRUE(bank.ok);
  ASSERT_EQ(bank.collection.waveforms().size(), 2u);
  const Waveform& second = *bank.collection.waveforms()[1];
  EXPECT_EQ(second.name, u"Second");
  EXPECT_EQ(second.frames(), 20);
  EXPECT_EQ(second.sampleRate, 44100);
  EXPECT_EQ(mainLoop(second)->start, 1);
  EXPECT_EQ(bank.instrument().program, 5);
}

TEST(SoundFont1, ConvertsUnits) {
  struct Case {
    int generator, amount;
    ParameterId row;
    double expected, tolerance;
  };
  // Expected by hand from what each unit means: milliseconds, steps of 96, of 127, of 255.
  for (const Case& c : {Case{34, 500, P::vEnvAttack2Time, 0.5, 1e-3}, Case{34, 0, P::vEnvAttack2Time, 0, 0},
                        Case{17, 127, P::panPosition, 1, 1e-3}, Case{17, 0, P::panPosition, -1, 1e-3},
                        Case{16, 255, P::send1Level, 1, 1e-3}, Case{48, 64, P::masterVolume, -5.95, 0.03},
                        Case{22, 96, P::xLfoFrequency, 8.07, 0.01}, Case{6, 64, P::pLfoToPitch, 6, 0.01},
                        Case{56, 1, P::keyToPitch, 0.5, 1e-4}}) {
    const ReadBank bank = readZones({{{{c.generator, c.amount}}}});
    ASSERT_TRUE(bank.ok);
    EXPECT_NEAR(value(bank, c.row), c.expected, c.tolerance) << c.generator << " " << c.amount;
  }
}

TEST(SoundFont1, PresetsSpeakWhereInstrumentsAreSilent) {
  const ReadBank bank = readZones({{{{43, 60 << 8}, {17, 0}}}, {{{43, 127 << 8 | 61}}}}, {{{17, 127}}});
  ASSERT_EQ(bank.instrument().regionCount(), 2u);
  std::vector<float> pans;
  for (const auto& layer : bank.instrument().layers())
    for (const auto& region : layer->regions()) pans.push_back(effectiveValue(*region, P::panPosition));
  EXPECT_EQ(pans, (std::vector<float>{-1, 1}));
}

TEST(SoundFont1, PitchOfASampleStandsInItsZones) {
  const ReadBank bank = readZones({{{{43, 60 << 8}, {55, 6020}}}, {{{43, 127 << 8 | 61}, {55, 7270}}}});
  const Waveform& waveform = *bank.collection.waveforms()[0];
  EXPECT_EQ(waveform.rootKey, 60);
  EXPECT_EQ(waveform.fineTune, -20);
  ASSERT_EQ(bank.instrument().regionCount(), 2u);
  std::vector<std::optional<float>> keys;
  std::vector<float> tunings;
  for (const auto& layer : bank.instrument().layers()) {
    for (const auto& region : layer->regions()) {
      keys.push_back(region->trigger.get(P::rootKeyOverride));
      tunings.push_back(effectiveValue(*region, P::masterTuning));
    }
  }
  // The second zone: key 73, sounding 30 cents too low, on top of the waveform's own 20 down.
  EXPECT_EQ(keys, (std::vector<std::optional<float>>{std::nullopt, 73.0f}));
  EXPECT_FLOAT_EQ(tunings[0], 0);
  EXPECT_FLOAT_EQ(tunings[1], 0.5f);
}

TEST(SoundFont1, SamplesBeforeTheFirstAreInRom) {
  const ReadBank bank = readZones({{}}, {}, {{.name = "Rom", .start = 9000, .end = 9900}, {.name = "Ram"}});
  ASSERT_TRUE(bank.ok);
  ASSERT_EQ(bank.collection.waveforms().size(), 1u);
  EXPECT_EQ(bank.collection.waveforms()[0]->name, u"Ram");
}

TEST(SoundFont1, RefusesOtherVersions) {
  const ReadBank second(smallBank().build(), readSf1);
  EXPECT_EQ(second.error, u"Not a SoundFont v1.x file");
  BankBuilder first = smallBank();
  first.version = 1;
  EXPECT_EQ(ReadBank(first.build()).error, u"Not a Sound Font v2.x file");
  EXPECT_EQ(detectSf1(first.build(), 0, 0), 6);
  EXPECT_EQ(detectSf1(smallBank().build(), 0, 0), 0);
  // Cut off anywhere: read or refused, never more.
  const auto whole = first.build();
  for (std::size_t size = 0; size < whole.size(); size += 7)
    ReadBank({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}, readSf1);
}

}  // namespace
}  // namespace tervo::test
