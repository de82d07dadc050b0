#include "core/capabilities.h"

#include <gmock/gmock.h>

namespace tervo {
namespace {

using C = Capability;
using P = ParameterId;

CapabilitySet profile(TextView name) {
  for (const CapabilityProfile& p : CapabilityProfiles) {
    if (p.name == name) return p.capabilities;
  }
  ADD_FAILURE() << toUtf8(name);
  return {};
}

TEST(Capabilities, RicherTargetsIncludeThePoorerOnes) {
  const std::pair<TextView, TextView> pairs[] = {
      {u"DLS level 1 melodic (.DLS)", u"DLS level 2 (.DLS)"},
      {u"DLS level 2 (.DLS)", u"DLS level 2+ (.DLS)"},
      {u"DLS level 2+ (.DLS)", u"DLS level 2++ (.DLS)"},
      {u"Akai S1000-series (.P)", u"Akai S3000-series (.P)"},
      {u"Korg Trinity (.PCG)", u"Korg Triton (.PCG)"},
      {u"SFZ v1 (.SFZ)", u"SFZ v2 (.SFZ)"},
      {u"SoundFont 2.0 (.SF2)", u"SoundFont 2.01 (.SF2)"},
      {u"Yamaha Motif/Motif ES (.W2V/.W7V)", u"Yamaha Motif XS/Motif XF (.X0V/.X3V)"},
  };
  for (const auto& [poorer, richer] : pairs) {
    EXPECT_TRUE(profile(richer).includes(profile(poorer))) << toUtf8(richer);
    EXPECT_FALSE(profile(poorer).includes(profile(richer))) << toUtf8(richer);
  }
  for (const CapabilityProfile& p : CapabilityProfiles) {
    EXPECT_TRUE(CapabilityProfiles.front().capabilities.includes(p.capabilities)) << toUtf8(p.name);
  }
}

// Facts of the published formats: SoundFont 2.04, DLS 1.1b and 2.2, the Gravis patch file, SFZ's opcode lists.
TEST(Capabilities, ProfilesAgreeWithTheFormats) {
  struct Fact {
    TextView name;
    Capability capability;
    bool present;
  };
  for (const Fact& fact :
       {Fact{u"SoundFont 2.0 (.SF2)", C::sixStages, true}, Fact{u"SoundFont 2.0 (.SF2)", C::velocityToAttack2, false},
        Fact{u"SoundFont 2.01 (.SF2)", C::velocityToAttack2, true},
        Fact{u"SoundFont 2.01 (.SF2)", C::moreFilters, false}, Fact{u"DLS level 1 melodic (.DLS)", C::lowPass, false},
        Fact{u"DLS level 2 (.DLS)", C::lowPass, true}, Fact{u"Gravis UltraSound GF1 (.PAT)", C::lowPass, false},
        Fact{u"Gravis UltraSound GF1 (.PAT)", C::fractionalLoops, true}, Fact{u"SFZ v1 (.SFZ)", C::equalizer, true},
        Fact{u"SFZ v2 (.SFZ)", C::dlsWaveFlags, false},
        Fact{u"All parameters supported by Tervo Studio", C::controllersToVolume, true}}) {
    EXPECT_EQ(profile(fact.name).has(fact.capability), fact.present)
        << toUtf8(fact.name) << ": " << toUtf8(nameOf(fact.capability));
  }
}

TEST(Capabilities, RowsAskForWhatTheyNeed) {
  struct Case {
    P row;
    CapabilitySet needs;
  };
  for (const Case& c :
       {Case{P::masterVolume, {}}, Case{P::vEnvAttack2Time, {}}, Case{P::pLfoFrequency, {}}, Case{P::shutdownRate, {}},
        Case{P::separator161, {}}, Case{P::separator188, {}},
        Case{P::velocityToResonance, {C::lowPass, C::modulatedResonance}},
        Case{P::xLfoShape, {C::separateLfos, C::lfoShapes}}, Case{P::vLfoRamp, {C::twoLfos, C::lfoRamp}},
        Case{P::fEnvVelocityToDecay1Time, {C::twoEnvelopes, C::sixStages, C::velocityToDecay}},
        Case{P::xEnvRelease3Level, {C::separateEnvelopes, C::threeReleases}},
        Case{P::cc94ToSend4, {C::effectSends, C::channelDepths}}}) {
    EXPECT_EQ(requiredFor(c.row), c.needs) << indexOf(c.row);
  }
  EXPECT_EQ(requiredFor(P::filterType, 4), CapabilitySet{});
  EXPECT_EQ(requiredFor(P::filterType, 5), CapabilitySet{C::moreFilters});
  EXPECT_EQ(requiredFor(P::markerEnd, 1e20), CapabilitySet{});
  EXPECT_EQ(requiredFor(P::markerEnd, 10.25), CapabilitySet{C::fractionalLoops});
}

TEST(Capabilities, ATargetGreysOutRowsAndLevels) {
  const CapabilitySet akai = profile(u"Akai S1000-series (.P)");
  EXPECT_TRUE(isAvailable(akai, ItemKind::region, P::filterCutoff));
  EXPECT_FALSE(isAvailable(akai, ItemKind::layer, P::filterCutoff));
  EXPECT_TRUE(isAvailable(akai, ItemKind::layer, P::triggerLowKey));
  EXPECT_FALSE(isAvailable(akai, ItemKind::region, P::eq1Gain));
  CapabilitySet custom;
  custom.set(C::equalizer, true);
  EXPECT_EQ(CapabilitySet::fromBits(custom.bits() | uint64_t{1} << 63), custom);
}

}  // namespace
}  // namespace tervo
