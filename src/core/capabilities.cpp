#include "core/capabilities.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace tervo {
namespace {

using C = Capability;

struct CapabilityRow {
  Capability capability;
  TextView name;
  std::string_view marks;  ///< a column a profile: x has it
};

// clang-format off
constexpr std::array<TextView, capabilityProfileCount> profileNames = {
    u"All parameters supported by Tervo Studio",
    u"Akai S1000-series (.P)",
    u"Akai S3000-series (.P)",
    u"DLS level 1 melodic (.DLS)",
    u"DLS level 2 (.DLS)",
    u"DLS level 2+ (.DLS)",
    u"DLS level 2++ (.DLS)",
    u"GigaStudio (.GIG)",
    u"Gravis UltraSound GF1 (.PAT)",
    u"Kontakt (.NKI)",
    u"Korg Trinity (.PCG)",
    u"Korg Triton (.PCG)",
    u"Korg Kronos/M3 (.PCG)",
    u"Kurzweil K2000-series (.KRZ)",
    u"SFZ v1 (.SFZ)",
    u"SFZ v2 (.SFZ)",
    u"SoundFont 2.0 (.SF2)",
    u"SoundFont 2.01 (.SF2)",
    u"Yamaha Motif/Motif ES (.W2V/.W7V)",
    u"Yamaha Motif XS/Motif XF (.X0V/.X3V)",
    u"Yamaha Tyros 2/3 normal voice (.TVN/.UVN)",
    u"Minimal for portability",
};

// Columns: all | Akai S1000 S3000 | DLS 1 2 2+ 2++ | GIG | PAT | NKI | Korg Trinity Triton Kronos | K2000 | SFZ 1 2 |
// SF2 2.0 2.01 | Yamaha Motif XS Tyros | minimal
constexpr std::array<CapabilityRow, capabilityCount> capabilityTable = {{
    {C::fadeBetweenRegions,      u"Trigger: X-fade between regions",                            "xxx...xx.x..x.xx...x.."},
    {C::instrumentArticulation,  u"Architecture: Articulation on Instrument level",             "xxxxxxx........xxx...x"},
    {C::layerArticulation,       u"Architecture: Articulation on Layer level",                  "x........xxxxxxxxxxxx."},
    {C::regionArticulation,      u"Architecture: Articulation on Region level",                 "xxx.xxxxx.....xxxx...."},
    {C::compressedWaves,         u"Waves: Compressed data formats",                             "x.....xx.x....xx......"},
    {C::dlsWaveFlags,            u"Waves: DLS waveform flags",                                  "x..xxxxx.............."},
    {C::fractionalLoops,         u"Waves: Fractional loop-points",                              "xxx...xxx............."},
    {C::reverseLoops,            u"Waves: Reverse and bi-directional loops",                    "x.....xxxxxxxx.x......"},
    {C::sampledRelease,          u"Waves: Sampled release (key-up breaks loop)",                "xxx.xxxx.x....xxxx...."},
    {C::playSection,             u"Trigger: Waveform play section section (start/end offsets)", "x.....xx.xxxxxxxxxxxx."},
    {C::loopTuning,              u"Waves: Tuning of loop pitch",                                "x.....x..xxxx........."},
    {C::triggerDelay,            u"Trigger: Delay time",                                        "x.....x..xxxxxxx..xxx."},
    {C::triggerType,             u"Trigger: Trigger type",                                      "x.....xx.x.xxxxx...x.."},
    {C::twoLfos,                 u"LFOs: Pitch/Modulation LFOs (2+ LFOs)",                      "x.x.xxxxxxxxxxxxxxxxx."},
    {C::separateLfos,            u"LFOs: Separate P/V/F/X LFOs (3+ LFOs)",                      "x.....xx.x...xxx......"},
    {C::lfoShapes,               u"LFOs: Shapes",                                               "x.x...x..xxxxx.x..xxx."},
    {C::lfoRamp,                 u"LFOs: Ramp time",                                            "x.....x.xxxxx.xx..xxx."},
    {C::lfoModulation,           u"LFOs: MW/AT/Velocity to LFO",                                "xxxxxxxx.xxxxxxx.xxxx."},
    {C::twoEnvelopes,            u"Envs: Modulation/Volume envelopes (2+ envs)",                "xxxxxxxx.xxxxxxxxxxxx."},
    {C::separateEnvelopes,       u"Envs: Separate P/V/F/X envelopes (3+ envs)",                 "x.....xx.xxxxxxx..xxx."},
    {C::sixStages,               u"Envs: Six-stages (DAHDSR)",                                  "x...xxxxxxxxxxxxxxxxx."},
    {C::moreLevels,              u"Envs: More levels + bi-directional (AADDSR)",                "x.x...x.xxxxxx.x..xxx."},
    {C::threeReleases,           u"Envs: Three Release segments",                               "x.....x.x....x.x......"},
    {C::keyToAttackRelease,      u"Envs: Key to Attack/Release",                                "xxx..xx..xxxxx.x.xxxx."},
    {C::velocityToAttack1,       u"Envs: Velocity to Attack 1 time (Delay)",                    "x....xx..xxxxxxx.xxxx."},
    {C::velocityToAttack2,       u"Envs: Velocity to Attack 2 time (Attack)",                   "xxxxxxxx.xxxxxxx.xxxx."},
    {C::velocityToDecay,         u"Envs: Velocity to Decay 1/2 time (Hold/Dcy)",                "x....xxx.xxxxxxx.xxxx."},
    {C::velocityToRelease,       u"Envs: Velocity to Release rate",                             "xxx..xxx.xxxxxxx.xxxx."},
    {C::velocityToEnvelopeDepth, u"Envs: Velocity to M-EG to Pitch/Cutoff",                     "xxx..xx..xxxxxxx.xxxx."},
    {C::lowPass,                 u"Filter: Low Pass Filter",                                    "xxx.xxxx.xxxxxxxxxxxx."},
    {C::moreFilters,             u"Filter: Additional filter types",                            "x.....xx.xxxxxxx..xxx."},
    {C::controllersToCutoff,     u"Filter: Mod wheel/Aftertouch to Cutoff",                     "xxx..xxx.xxxxxxx.xxxx."},
    {C::keyVelocityToCutoff,     u"Filter: Key/Velocity to Cutoff",                             "xxx.xxxx.xxxxxxx.xxxx."},
    {C::modulatedResonance,      u"Filter: Velocity/MW/AT to Resonance",                        "x....xxx.xxxxx.x.xxxx."},
    {C::effectSends,             u"Effects: Effect send levels",                                "x.x.xxx..xxxx.xxxxxxx."},
    {C::equalizer,               u"Effects: EQ",                                                "x.....x..x..xxxx..xx.."},
    {C::channelDepths,           u"Mixer: Channel command depths",                              "x...xxx..x.....x.x...."},
    {C::keyToVolumePan,          u"Mixer: Key to Volume/Pan",                                   "xxx.xxx..xxxxxxx.xxxx."},
    {C::randomToPan,             u"Mixer: Random to Pan",                                       "x.....x..xxxxx.x..xxx."},
    {C::pitchBend,               u"Pitch: Pitch bend to Pitch",                                 "xxx.xxxx.xxxxxxx.xxxx."},
    {C::keyToPitch,              u"Pitch: Key to Pitch",                                        "xxx.xxxxxxxxxxxxxxxxx."},
    {C::randomToPitch,           u"Pitch: Random to Pitch",                                     "x.....x..x...xxx..xxx."},
    {C::controllersToVolume,     u"Volume: Mod wheel/Aftertouch to Volume",                     "xxx..xxx.xxxxxxx.xxxx."},
}};
// clang-format on

constexpr CapabilitySet column(std::size_t profile) {
  CapabilitySet set;
  for (const CapabilityRow& row : capabilityTable) set.set(row.capability, row.marks[profile] == 'x');
  return set;
}

constexpr auto makeProfiles() {
  std::array<CapabilityProfile, capabilityProfileCount> profiles;
  for (std::size_t i = 0; i < profiles.size(); ++i) profiles[i] = {profileNames[i], column(i)};
  return profiles;
}

}  // namespace

constexpr std::array<CapabilityProfile, capabilityProfileCount> CapabilityProfiles = makeProfiles();

namespace {

constexpr bool rowsStandInOrder() {
  for (std::size_t i = 0; i < capabilityTable.size(); ++i) {
    const CapabilityRow& row = capabilityTable[i];
    if (static_cast<std::size_t>(row.capability) != i || row.marks.size() != capabilityProfileCount) return false;
    if (row.marks.find_first_not_of("x.") != std::string_view::npos) return false;
  }
  return true;
}
static_assert(rowsStandInOrder());

constexpr bool implied(Capability richer, Capability poorer) {
  return std::all_of(CapabilityProfiles.begin(), CapabilityProfiles.end(), [=](const CapabilityProfile& profile) {
    return !profile.capabilities.has(richer) || profile.capabilities.has(poorer);
  });
}
static_assert(implied(C::separateLfos, C::twoLfos));
static_assert(implied(C::separateEnvelopes, C::twoEnvelopes));
static_assert(implied(C::moreFilters, C::lowPass));
static_assert(implied(C::modulatedResonance, C::lowPass));
static_assert(implied(C::velocityToEnvelopeDepth, C::twoEnvelopes));

constexpr CapabilitySet anyLevel = {C::instrumentArticulation, C::layerArticulation, C::regionArticulation};
static_assert(std::all_of(CapabilityProfiles.begin(), CapabilityProfiles.end(), [](const CapabilityProfile& profile) {
  return (profile.capabilities.bits() & anyLevel.bits()) != 0;
}));

/// Rows first..last need all of these; a row may stand in several ranges.
struct Need {
  ParameterId first, last;
  CapabilitySet capabilities;
};
using P = ParameterId;

// The first LFO and the volume envelope's attack, decay, sustain and release are what every synthesizer has.
constexpr Need needs[] = {
    {P::keyToPitch, P::keyToPitch, {C::keyToPitch}},
    {P::pitchBendToPitch, P::pitchBendToPitch, {C::pitchBend}},
    {P::modWheelToPLfoToPitch, P::velocityToPLfoToPitch, {C::lfoModulation}},
    {P::xLfoToPitch, P::velocityToXLfoToPitch, {C::separateLfos}},
    {P::modWheelToXLfoToPitch, P::velocityToXLfoToPitch, {C::lfoModulation}},
    {P::pEnvToPitch, P::velocityToPEnvToPitch, {C::twoEnvelopes}},
    {P::velocityToPEnvToPitch, P::velocityToPEnvToPitch, {C::velocityToEnvelopeDepth}},
    {P::randomToPitch, P::randomToPitch, {C::randomToPitch}},
    {P::keyToVolume, P::keyToVolume, {C::keyToVolumePan}},
    {P::modWheelToVolume, P::aftertouchToVolume, {C::controllersToVolume}},
    {P::modWheelToVLfoToVolume, P::velocityToVLfoToVolume, {C::lfoModulation}},
    {P::filterType, P::aftertouchToResonance, {C::lowPass}},
    {P::velocityToCutoff, P::keyToCutoff, {C::keyVelocityToCutoff}},
    {P::modWheelToCutoff, P::aftertouchToCutoff, {C::controllersToCutoff}},
    {P::modWheelToFLfoToCutoff, P::velocityToFLfoToCutoff, {C::lfoModulation}},
    {P::fEnvToCutoff, P::velocityToFEnvToCutoff, {C::twoEnvelopes}},
    {P::velocityToFEnvToCutoff, P::velocityToFEnvToCutoff, {C::velocityToEnvelopeDepth}},
    {P::velocityToResonance, P::aftertouchToResonance, {C::modulatedResonance}},
    {P::eq1Mode, P::eq3Q, {C::equalizer}},
    {P::cc10ToPan, P::cc10ToPan, {C::channelDepths}},
    {P::keyToPan, P::keyToPan, {C::keyToVolumePan}},
    {P::xLfoToPan, P::xLfoToPan, {C::separateLfos}},
    {P::xEnvToPan, P::xEnvToPan, {C::separateEnvelopes}},
    {P::randomToPan, P::randomToPan, {C::randomToPan}},
    {P::send1Level, P::cc94ToSend4, {C::effectSends}},
    {P::cc91ToSend1, P::cc91ToSend1, {C::channelDepths}},
    {P::cc92ToSend2, P::cc92ToSend2, {C::channelDepths}},
    {P::cc93ToSend3, P::cc93ToSend3, {C::channelDepths}},
    {P::cc94ToSend4, P::cc94ToSend4, {C::channelDepths}},
    {P::vLfoShape, P::fLfoRamp, {C::twoLfos}},
    {P::xLfoShape, P::xLfoRamp, {C::separateLfos}},
    {P::pEnvInitialLevel, P::fEnvReleaseMode, {C::twoEnvelopes}},
    {P::xEnvInitialLevel, P::xEnvReleaseMode, {C::separateEnvelopes}},
    {P::triggerType, P::triggerType, {C::triggerType}},
    {P::triggerKeyFadeIn, P::triggerVelocityFadeFormula, {C::fadeBetweenRegions}},
    {P::triggerSustainSwitch, P::triggerSustainSwitch, {C::triggerType}},
    {P::triggerDelay, P::triggerDelay, {C::triggerDelay}},
    {P::loopPitch, P::loopPitch, {C::loopTuning}},
    {P::playSection, P::playSection, {C::playSection}},
    {P::phaseGroup, P::phaseMaster, {C::dlsWaveFlags}},
};

// Of each envelope, by its row in the V-ENV.
constexpr Need envelopeNeeds[] = {
    {P::vEnvInitialLevel, P::vEnvInitialLevel, {C::moreLevels}},
    {P::vEnvAttack1Time, P::vEnvKeyToAttack1Time, {C::sixStages}},
    {P::vEnvVelocityToAttack1Time, P::vEnvVelocityToAttack1Time, {C::velocityToAttack1}},
    {P::vEnvKeyToAttack1Time, P::vEnvKeyToAttack1Time, {C::keyToAttackRelease}},
    {P::vEnvAttack1Level, P::vEnvAttack1Level, {C::moreLevels}},
    {P::vEnvVelocityToAttack2Time, P::vEnvVelocityToAttack2Time, {C::velocityToAttack2}},
    {P::vEnvKeyToAttack2Time, P::vEnvKeyToAttack2Time, {C::keyToAttackRelease}},
    {P::vEnvAttack2Level, P::vEnvAttack2Level, {C::moreLevels}},
    {P::vEnvDecay1Time, P::vEnvKeyToDecay1Time, {C::sixStages}},
    {P::vEnvVelocityToDecay1Time, P::vEnvVelocityToDecay1Time, {C::velocityToDecay}},
    {P::vEnvDecay1Level, P::vEnvDecay1Level, {C::moreLevels}},
    {P::vEnvVelocityToDecay2Time, P::vEnvVelocityToDecay2Time, {C::velocityToDecay}},
    {P::vEnvRelease1Level, P::vEnvRelease3Level, {C::threeReleases}},
    {P::vEnvVelocityToReleaseTime, P::vEnvVelocityToReleaseTime, {C::velocityToRelease}},
    {P::vEnvKeyToReleaseTime, P::vEnvKeyToReleaseTime, {C::keyToAttackRelease}},
};

// Of each LFO, by its row in the P-LFO.
constexpr Need lfoNeeds[] = {
    {P::pLfoShape, P::pLfoShape, {C::lfoShapes}},
    {P::pLfoRamp, P::pLfoRamp, {C::lfoRamp}},
};

template <std::size_t count>
CapabilitySet lookUp(const Need (&table)[count], ParameterId row) {
  CapabilitySet found;
  for (const Need& need : table) {
    if (row >= need.first && row <= need.last) found = found | need.capabilities;
  }
  return found;
}

bool isFraction(double value) {
  return value != std::floor(value);
}

}  // namespace

TextView nameOf(Capability capability) {
  return capabilityTable[static_cast<std::size_t>(capability)].name;
}

CapabilitySet requiredFor(ParameterId row) {
  CapabilitySet required = lookUp(needs, row);
  if (row >= P::vEnvInitialLevel && row <= P::xEnvReleaseMode) {
    const int offset = indexOf(row) - indexOf(P::vEnvInitialLevel);
    required = required | lookUp(envelopeNeeds, offsetBy(P::vEnvInitialLevel, offset % 27));
  }
  if (row >= P::pLfoShape && row <= P::xLfoRamp) {
    const int offset = indexOf(row) - indexOf(P::pLfoShape);
    required = required | lookUp(lfoNeeds, offsetBy(P::pLfoShape, offset % 4));
  }
  return required;
}

CapabilitySet requiredFor(ParameterId row, double value) {
  switch (row) {
    case P::filterType:
      return value > 4 ? CapabilitySet{C::moreFilters} : CapabilitySet{};  // 1-4 are low passes
    case P::loopType:
      return value > 1 ? CapabilitySet{C::reverseLoops} : CapabilitySet{};
    case P::loopCount:
      return value == 255 ? CapabilitySet{C::sampledRelease} : CapabilitySet{};
    case P::markerStart:
    case P::markerEnd:
      return isFraction(value) ? CapabilitySet{C::fractionalLoops} : CapabilitySet{};
    case P::preferredFormat: {
      const bool compressed = value >= 8 && value <= 20;  // "Compressed 32 kbit/s" to "Compressed 320 kbit/s"
      return compressed ? CapabilitySet{C::compressedWaves} : CapabilitySet{};
    }
    default:
      return {};
  }
}

CapabilitySet requiredFor(ItemKind level) {
  switch (level) {
    case ItemKind::instrument:
      return {C::instrumentArticulation};
    case ItemKind::layer:
      return {C::layerArticulation};
    case ItemKind::region:
      return {C::regionArticulation};
    default:
      return {};
  }
}

bool isAvailable(CapabilitySet target, ItemKind level, ParameterId row) {
  if (isArticulation(row) && !target.includes(requiredFor(level))) return false;
  return target.includes(requiredFor(row));
}

}  // namespace tervo
