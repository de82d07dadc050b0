#pragma once
// The values of one zone: an amount for every generator, and one for each of the modulators that the document can hold.

#include <array>
#include <optional>
#include <vector>

#include "formats/instrument/sf2_records.h"

namespace tervo::sf2 {

inline constexpr std::size_t slotCount = 66;

/// Numbers of modulator slots that need more than a factor. Others stand in the tables of the conversion.
namespace slot {
inline constexpr std::size_t volVelocity = 0, volKey = 5, volVelocityBipolar = 8, volKeyBipolar = 13;
inline constexpr std::size_t modVelocity = 16, modKey = 21, modVelocityBipolar = 24, modKeyBipolar = 29;
inline constexpr std::size_t velocityToAttenuation = 32, keyToAttenuation = 33, keyToAttenuationBipolar = 34;
inline constexpr std::size_t bendRange = 40;
inline constexpr std::size_t velocityToPitchEnv = 47, velocityToPitchEnvBipolar = 48;
inline constexpr std::size_t velocityToCutoff = 49, keyToCutoff = 50, keyToCutoffBipolar = 51;
inline constexpr std::size_t velocityToCutoffEnv = 57, velocityToCutoffEnvBipolar = 58;
inline constexpr std::size_t keyToPan = 59, cc10ToPan = 60, cc91ToReverb = 61, cc93ToChorus = 62;
}  // namespace slot

struct ZoneValues {
  std::array<int16_t, generatorCount> generators{};
  std::array<int16_t, slotCount> slots{};

  int16_t& operator[](Gen generator) { return generators[static_cast<std::size_t>(generator)]; }
  int16_t operator[](Gen generator) const { return generators[static_cast<std::size_t>(generator)]; }
  bool operator==(const ZoneValues&) const = default;
};

/// What an instrument's zone has where it says nothing (SoundFont 2.04, sections 8.1.3 and 8.4). The pan of controller
/// 10 is half of what other editions of the document say.
const ZoneValues& instrumentDefaults();
/// What a preset's zone has where it says nothing: its values are added to those of the instrument.
const ZoneValues& presetDefaults();

/// Both ends of a range as an amount holds them.
constexpr int16_t rangeAmount(int low, int high) {
  return static_cast<int16_t>(static_cast<uint16_t>(low | high << 8));
}

constexpr std::array<int16_t, generatorCount> makeSummedMask() {
  constexpr std::size_t others[] = {0,  1,  2,  3,  4,  12, 14, 18, 19, 20, 41, 42, 43,
                                    44, 45, 46, 47, 49, 50, 53, 54, 55, 57, 58, 59};
  std::array<int16_t, generatorCount> mask{};
  mask.fill(-1);
  for (const std::size_t other : others) mask[other] = 0;
  return mask;
}
/// All bits set for generators whose amounts are added between preset and instrument; the others belong to one of them.
inline constexpr std::array<int16_t, generatorCount> summedMask = makeSummedMask();
constexpr bool isSummed(std::size_t generator) {
  return summedMask[generator] != 0;
}

/// The pattern of a modulator slot.
struct SlotPattern {
  uint8_t destination;
  uint16_t source;  ///< controller index, 0x80 a MIDI controller, 0x100 negative, 0x200 bipolar, curve above
};
const SlotPattern& patternOf(std::size_t slot);

struct SlotAmount {
  std::size_t slot;
  int16_t amount;
};
/// The slot of a modulator, and the amount turned to the direction of its pattern; nothing for one that fits no slot.
/// Curve and transform are not looked at.
std::optional<SlotAmount> slotOf(const ModulatorRecord& modulator);
/// Whether the record says more than its slot: another curve, or a transform.
bool isMoreThanItsSlot(const ModulatorRecord& modulator, std::size_t slot);
/// Whether turning its direction has lost something: from 1 to 0 instead of from 0 to 1 is also the amount itself.
bool losesItsOffset(const ModulatorRecord& modulator, std::size_t slot);

/// The records of the slots whose amounts differ from `reference`.
void appendModulators(const ZoneValues& values, const ZoneValues& reference, std::vector<ModulatorRecord>& records);

}  // namespace tervo::sf2
