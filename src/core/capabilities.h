#pragma once
// What a synthesizer or its file format can represent, so that a pane can grey out what a chosen target cannot hold and
// a writer can tell what it loses.

#include <array>
#include <cstdint>
#include <initializer_list>

#include "base/text.h"
#include "core/item.h"
#include "core/parameter_id.h"

namespace tervo {

enum class Capability : uint8_t {
  fadeBetweenRegions,
  instrumentArticulation,
  layerArticulation,
  regionArticulation,
  compressedWaves,
  dlsWaveFlags,
  fractionalLoops,
  reverseLoops,
  sampledRelease,
  playSection,
  loopTuning,
  triggerDelay,
  triggerType,
  twoLfos,
  separateLfos,
  lfoShapes,
  lfoRamp,
  lfoModulation,
  twoEnvelopes,
  separateEnvelopes,
  sixStages,
  moreLevels,
  threeReleases,
  keyToAttackRelease,
  velocityToAttack1,
  velocityToAttack2,
  velocityToDecay,
  velocityToRelease,
  velocityToEnvelopeDepth,
  lowPass,
  moreFilters,
  controllersToCutoff,
  keyVelocityToCutoff,
  modulatedResonance,
  effectSends,
  equalizer,
  channelDepths,
  keyToVolumePan,
  randomToPan,
  pitchBend,
  keyToPitch,
  randomToPitch,
  controllersToVolume,
};
inline constexpr int capabilityCount = 43;

/// "Filter: Low Pass Filter", ...
TextView nameOf(Capability capability);

class CapabilitySet {
 public:
  constexpr CapabilitySet() = default;
  constexpr CapabilitySet(std::initializer_list<Capability> capabilities) {
    for (const Capability capability : capabilities) bits_ |= bitOf(capability);
  }
  /// As stored: bit n for capability n, further bits ignored.
  static constexpr CapabilitySet fromBits(uint64_t bits) {
    CapabilitySet set;
    set.bits_ = bits & ((uint64_t{1} << capabilityCount) - 1);
    return set;
  }
  constexpr uint64_t bits() const { return bits_; }

  constexpr bool has(Capability capability) const { return (bits_ & bitOf(capability)) != 0; }
  constexpr bool includes(CapabilitySet other) const { return (other.bits_ & ~bits_) == 0; }
  constexpr CapabilitySet operator|(CapabilitySet other) const { return fromBits(bits_ | other.bits_); }
  constexpr void set(Capability capability, bool present) {
    bits_ = present ? bits_ | bitOf(capability) : bits_ & ~bitOf(capability);
  }
  constexpr bool operator==(const CapabilitySet&) const = default;

 private:
  static constexpr uint64_t bitOf(Capability capability) { return uint64_t{1} << static_cast<unsigned>(capability); }
  uint64_t bits_ = 0;
};

/// A predefined set, named for the synthesizer or format whose abilities it lists.
struct CapabilityProfile {
  TextView name;
  CapabilitySet capabilities;
};
inline constexpr std::size_t capabilityProfileCount = 22;
/// In the order shown. The list ends with the user's own selection, which is not among these.
extern const std::array<CapabilityProfile, capabilityProfileCount> CapabilityProfiles;
inline constexpr TextView customProfileName = u"Custom set";

/// What a target must be able to do for the row to mean anything to it; empty for rows that every target holds.
CapabilitySet requiredFor(ParameterId row);
/// What one value of the row asks for beyond that: a filter other than a low pass, a loop that runs backwards.
CapabilitySet requiredFor(ParameterId row, double value);
/// Where articulation can be set: the capability of an instrument's, a layer's or a region's rows; empty for others.
CapabilitySet requiredFor(ItemKind level);

/// Whether a pane may offer the row of an item of this kind for a target.
bool isAvailable(CapabilitySet target, ItemKind level, ParameterId row);

}  // namespace tervo
