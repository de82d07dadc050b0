#include "core/parameter_table.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace tervo {
namespace {

// One row of each shape, by index: a row that slipped by one, a mended spelling or a wrong range turns this red.
TEST(ParameterTable, HasItsRowsWhereTheyBelong) {
  struct Anchor {
    int index;
    TextView name;
    EditorKind editor;
    float defaultValue, minimum, maximum;
    TextView hint = {};
  };
  using E = EditorKind;
  const Anchor anchors[] = {
      {1, u"Key to Pitch", E::amount, 1, -12, 12, u"Semitones per key, centered on Root key"},
      {2, u"Pitch bender to Pitch", E::amount, 2, -96, 96},
      {13, u"Random to Pitch", E::amount, 0, 0, 96, u"Bipolar source"},
      {15, u"Velocity to Volume", E::amount, 96, -96, 96, u"Special transform, negative inverts range"},
      {21, u"Aftertrouch to V-LFO to Volume", E::amount, 0, -96, 96},
      {24, u"Filter Cutoff frequency", E::factor, 8000, 8, 24000},
      {35, u"Filter Resonance peak height", E::amount, 0, -6, 96},
      {46, u"EQ 2 Q-value", E::factor, 0.71f, 0.01f, 10, u"Band-width is a function of Center frequency / Q"},
      {48, u"EQ 3 center Frequency", E::factor, 5000, 16, 24000},
      {56, u"Random to Pan position", E::level, 0, 0, 1},
      {63, u"Send channel 3 level", E::level, 0, 0, 1},
      {64, u"CC94 to Send channel 3 level", E::level, 1, 0, 1},
      {69, u"V-LFO Wave Shape", E::lfoShape, 0, 0, 255},
      {77, u"F-LFO Wave Shape", E::lfoShape, 0, 0, 255},
      {80, u"F-LFO Ramp/fade-in Time", E::time, 0, 0, 100},
      {97, u"V-ENV Sustain", E::level, 1, 0, 1, u"Decay 2 Level"},
      {107, u"Shutdown Rate", E::time, 0.015f, 0, 100, u"On note or key-exclusion, time from full volume to silent"},
      {133, u"P-ENV Release Mode", E::releaseMode, 0, 0, 1},
      {137, u"F-ENV Velocity to Attack 1 Time", E::factor, 1, 0.015625f, 64, u"Time-quotient max/min velocity"},
      {186, u"X-ENV Key number to total Release Time", E::factor, 1, 0.25f, 4, u"Time-multiplier per octave"},
      {191, u"Trigger hi-ley", E::key, 127, 0, 127, u"Highest key played"},
      {193, u"Trigger hi-velocity", E::integer, 127, 0, 127, u"Highest velocity payed"},
      {203, u"Note exclusion mode", E::noteExclusion, 0, 0, 1,
       u"Self exclusive = Stop previous notes on same key, Self non-exclusive = Allow multiple notes for same key"},
      {207, u"End point", E::position, 1, 1, 1e20f, u"First wavesample *after* the section range"},
      {218, u"Image", E::picture, 0, 0, 0, u"Album cover"},
      {219, u"Waveform sample rate", E::integer, 22050, 1, 768000},
      {223, u"Preferred data format for saving", E::dataFormat, 1, 0, 21, rowOf(ParameterId(223)).hint},
      {227, u"Loop section", E::marker, -1, -1, 65535, u"Select which the part of the waveform to loop"},
      {233, u"MIDI Program Change number", E::integer, 0, 0, 127, u"Here numbered 0..127, some say 1..128"},
  };
  for (const Anchor& anchor : anchors) {
    const ParameterRow& row = ParameterTable[static_cast<std::size_t>(anchor.index)];
    EXPECT_EQ(row.name, anchor.name) << anchor.index;
    EXPECT_EQ(row.hint, anchor.hint) << anchor.index;
    EXPECT_EQ(row.editor, anchor.editor) << anchor.index;
    EXPECT_EQ(row.defaultValue, anchor.defaultValue) << anchor.index;
    EXPECT_EQ(row.minimum, anchor.minimum) << anchor.index;
    EXPECT_EQ(row.maximum, anchor.maximum) << anchor.index;
  }
}

TEST(ParameterTable, UsesTheAgreedFlagValues) {
  for (const ParameterRow& row : ParameterTable)
    EXPECT_THAT(row.flags, testing::AnyOf(0, 2, 4, 6, 8, 12, 14, 16, 32)) << row.index;
}

TEST(ParameterTable, UniqueNamesLeadBackToTheirRow) {
  EXPECT_EQ(uniqueNameOf(ParameterId::send3Level), u"Send channel 3 level");
  EXPECT_EQ(uniqueNameOf(ParameterId::send4Level), u"Send channel 3 level #2");
  EXPECT_EQ(uniqueNameOf(ParameterId::xLfoDelay), u"F-LFO Delay Time #2");
  for (const ParameterRow& row : ParameterTable) {
    const auto id = static_cast<ParameterId>(row.index);
    const auto expected = row.name.empty() ? std::nullopt : std::optional(id);
    EXPECT_EQ(findParameter(uniqueNameOf(id)), expected) << row.index;
  }
  EXPECT_EQ(findParameter(u""), std::nullopt);
  EXPECT_EQ(findParameter(u"Send channel 3 level #3"), std::nullopt);
}

TEST(ParameterTable, BringsValuesIntoRange) {
  struct Case {
    ParameterId row;
    double value;
    std::optional<double> expected;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  for (const Case& c : {Case{ParameterId::filterCutoff, infinity, 24000.0}, Case{ParameterId::filterCutoff, 8.25, 8.25},
                        Case{ParameterId::filterType, 2.6, 3.0}, Case{ParameterId::triggerHighKey, -1, 0.0},
                        Case{ParameterId::sampleRate, 44056.5, 44056.5}, Case{ParameterId::masterTuning, nan, {}},
                        Case{ParameterId::tagName, 0, {}}, Case{ParameterId::separator161, 0, {}}}) {
    EXPECT_EQ(inRange(c.row, c.value), c.expected) << indexOf(c.row);
  }
}

}  // namespace
}  // namespace tervo
