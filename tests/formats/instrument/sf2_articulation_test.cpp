// Generators and modulators as articulation rows. Expected numbers are computed by hand from the units of the format.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "core/levels.h"
#include "core/parameter_table.h"
#include "formats/instrument/sf2_articulation.h"
#include "tests/formats/instrument/sf2_builder.h"

namespace tervo::test {
namespace {

using P = ParameterId;

struct RowCase {
  const char* what;
  Zone instrument;
  P row;
  double value;
  Zone preset = {};
};

// Modulator sources: 2 velocity, 3 key, 13 pressure, 129 wheel, +256 negative, +512 bipolar, +1024 concave.
const RowCase rowCases[] = {
    {"open filter is off", {{{8, 13500}}}, P::filterType, 0},
    {"open filter", {{{8, 13600}}}, P::filterCutoff, 20000},
    {"open filter with resonance is on", {{{8, 13500}, {9, 10}}}, P::filterType, 2},
    // 8.176 * 2^(9000/1200) = 1480.002: 1480 Hz, doubled by the usual velocity modulator.
    {"cutoff", {{{8, 9000}}}, P::filterCutoff, 2960},
    {"usual velocity to cutoff", {{{8, 9000}}}, P::velocityToCutoff, 12},
    {"cutoff without velocity", {{{8, 9000}}, {{258, 8, 0}}}, P::filterCutoff, 1480},
    {"velocity to cutoff turned", {{{8, 9000}}, {{2, 8, 1200}}}, P::velocityToCutoff, 6},
    // tracking 1600 * 0.001875 = 3; 1480 * 2 * 2^(-3/36)
    {"key to cutoff", {{{8, 9000}}, {{515, 8, 1600}}}, P::filterCutoff, 2960 * std::exp2(-3.0 / 36)},
    {"key to cutoff, unipolar", {{{8, 9000}}, {{3, 8, 320}}}, P::filterCutoff, 2960 * std::exp2(0.3 / 2.4)},
    {"no attack", {{{34, -12000}}}, P::vEnvAttack2Time, 0},
    {"shortest attack", {{{34, -11999}}}, P::vEnvAttack2Time, std::exp2(-11999.0 / 1200)},
    {"hold is not rounded", {{{35, 1199}}}, P::vEnvDecay1Time, std::exp2(1199.0 / 1200)},
    {"decay above 2 s", {{{36, 1300}}}, P::vEnvDecay2Time, 2.12},       // 2.1189
    {"release above 24 s", {{{38, 5600}}}, P::vEnvRelease1Rate, 25.4},  // 25.3984
    {"delay", {{{33, 0}}}, P::vEnvAttack1Time, 1},
    {"sustain", {{{37, 240}}}, P::vEnvSustain, 0.75},
    {"sustain ends at silence", {{{37, 1440}}}, P::vEnvSustain, 0},
    {"modulation sustain", {{{29, 400}}}, P::fEnvSustain, 0.6},
    {"key to hold", {{{39, 50}}}, P::vEnvKeyToDecay1Time, std::exp2(-0.5)},
    {"velocity to attack", {{}, {{514, 34, 600}}}, P::vEnvVelocityToAttack2Time, 2},
    {"velocity to attack, unipolar", {{}, {{2, 34, 800}}}, P::vEnvVelocityToAttack2Time, 2},
    {"key to release", {{}, {{515, 38, 6400}}}, P::vEnvKeyToReleaseTime, 2},
    {"key to release, unipolar", {{{38, 0}}, {{3, 38, 12800}}}, P::vEnvRelease1Rate, std::exp2(0.46875)},
    {"vibrato", {{{24, -700}}}, P::pLfoFrequency, 5.46},  // 5.4569
    {"modulation delay", {{{21, -1200}}}, P::xLfoDelay, 0.5},
    {"usual wheel to vibrato", {{}}, P::modWheelToPLfoToPitch, 0.5},
    {"tremolo", {{{13, 35}}}, P::vLfoToVolume, 3.5},
    {"attenuation", {{{48, 100}}}, P::masterVolume, -4},
    {"resonance lowers the volume", {{{8, 9000}, {9, 100}}}, P::masterVolume, -5},
    {"key to volume", {{}, {{515, 48, 400}}}, P::masterVolume, -1},           // depth 3, minus a third
    {"key to volume, unipolar", {{}, {{3, 48, 400}}}, P::masterVolume, 7.5},  // depth 1.5, plus five of it
    {"usual velocity to volume", {{}}, P::velocityToVolume, 38.4},
    {"linear velocity to volume", {{}, {{258, 48, 500}}}, P::velocityToVolume, 20},
    {"tuning", {{{51, -2}, {52, 30}}}, P::masterTuning, -1.7},
    {"bend range", {{}, {{526, 52, 1000}}}, P::pitchBendToPitch, 12},
    {"scale", {{{56, 50}}}, P::keyToPitch, 0.5},
    {"pitch envelope falls back", {{{7, 100}}, {{2, 7, 200}}}, P::pEnvToPitch, 2},
    {"pan", {{{17, -500}}}, P::panPosition, -1},
    {"usual pan controller", {{}}, P::cc10ToPan, 1},
    {"key to pan", {{}, {{515, 17, 800}}}, P::keyToPan, 0.3},
    {"reverb", {{{16, 250}}}, P::send1Level, 0.25},
    {"usual chorus controller", {{}}, P::cc93ToSend3, 0.2},
    {"amount source is not held", {{}, {{129, 13, 50, 130}}}, P::modWheelToVLfoToVolume, 0},
    {"generators are added", {{{48, 100}}}, P::masterVolume, -6, {{{48, 50}}}},
    {"modulators are added", {{}}, P::velocityToVolume, 34.4, {{}, {{0x502, 48, -100}}}},
    {"loop mode is not added", {{{58, 70}}}, P::masterTuning, 0, {{{58, 3}}}},
};

TEST(Sf2Articulation, readsGeneratorsAndModulatorsAsRows) {
  for (const RowCase& each : rowCases) {
    const ReadBank bank(smallBank(each.instrument, each.preset).build());
    ASSERT_TRUE(bank.ok) << each.what;
    EXPECT_NEAR(effectiveValue(bank.region(), each.row), each.value, 1e-6 + 1e-6 * std::abs(each.value)) << each.what;
  }
}

// Whatever a zone says, what is written for it reads as the same rows, and is written the same again.
TEST(Sf2Articulation, writesWhatItReads) {
  std::mt19937 random(1);
  const auto amount = [&](int16_t low, int16_t high) {
    return static_cast<int16_t>(std::uniform_int_distribution<int>(low, high)(random));
  };
  for (int round = 0; round < 3000; ++round) {
    sf2::ZoneValues values = sf2::instrumentDefaults();
    for (int i = 0; i < 12; ++i) {
      const auto generator = static_cast<std::size_t>(amount(5, 56));
      const int16_t usual = values.generators[generator];
      const bool isTime = usual == -12000;
      if (sf2::isSummed(generator))
        values.generators[generator] = isTime ? amount(-12000, 8000) : amount(0, 1) ? amount(-200, 1200) : usual;
    }
    if (round % 2) values[sf2::Gen::filterCutoff] = amount(1500, 13500);
    for (int i = 0; i < 6; ++i) values.slots[static_cast<std::size_t>(amount(0, 65))] = amount(-3000, 3000);
    const ArticulationSet rows = sf2::articulationOf(values);
    const sf2::ZoneValues written = sf2::zoneValuesOf(rows);
    const ArticulationSet again = sf2::articulationOf(written);
    for (const auto& [row, value] : rows.entries())
      ASSERT_EQ(again.get(row), value) << round << ": " << toUtf8(uniqueNameOf(row));
    ASSERT_EQ(sf2::zoneValuesOf(again), written) << round;
  }
}

}  // namespace
}  // namespace tervo::test
