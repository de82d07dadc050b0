#pragma once
// What both directions of the conversion between zone values and articulation rows share.

#include <array>
#include <cstdint>
#include <span>

#include "core/articulation_set.h"
#include "core/envelope.h"
#include "core/parameter_table.h"
#include "formats/instrument/sf2_zone.h"

namespace tervo::sf2 {

inline constexpr double decibelsPerAttenuation = 0.04;
inline constexpr int lowPass12 = 2;      // filter type
inline constexpr float triangleLfo = 4;  // SoundFont 2.04, section 9.1.5
inline constexpr double openFilterHertz = 19900;

/// A row that is a generator or a slot times a factor.
struct LinearRow {
  ParameterId row;
  bool isSlot;
  uint8_t index;
  double factor;
};
std::span<const LinearRow> linearRows();

/// Of two slots for one row the bipolar one is written, except where only the other reads back as the same rows.
struct SlotPair {
  std::size_t bipolar, unipolar;
  ParameterId row, base;  ///< the row, and the other one that the unipolar slot changes, if there is one
};
std::span<const SlotPair> slotPairs();

/// One of the two envelopes of a bank: where its values stand.
struct EnvelopeLayout {
  Gen delay, attack, hold, decay, sustain, release, keyToHold, keyToDecay;
  std::size_t velocity, key, velocityBipolar, keyBipolar;  ///< first slots
};
inline constexpr EnvelopeLayout volumeLayout = {Gen::volEnvDelay,     Gen::volEnvAttack,        Gen::volEnvHold,
                                                Gen::volEnvDecay,     Gen::volEnvSustain,       Gen::volEnvRelease,
                                                Gen::keyToVolEnvHold, Gen::keyToVolEnvDecay,    slot::volVelocity,
                                                slot::volKey,         slot::volVelocityBipolar, slot::volKeyBipolar};
inline constexpr EnvelopeLayout modLayout = {Gen::modEnvDelay,     Gen::modEnvAttack,        Gen::modEnvHold,
                                             Gen::modEnvDecay,     Gen::modEnvSustain,       Gen::modEnvRelease,
                                             Gen::keyToModEnvHold, Gen::keyToModEnvDecay,    slot::modVelocity,
                                             slot::modKey,         slot::modVelocityBipolar, slot::modKeyBipolar};

/// A stage of an envelope: its generator, its places among the velocity and key slots (none: a generator says the
/// key's part), and its rows in the V-ENV.
struct StageLayout {
  Gen EnvelopeLayout::*time;
  std::size_t velocitySlot;
  int keySlot;
  Gen EnvelopeLayout::*keyGenerator;
  ParameterId timeRow, velocityRow, keyRow;
};
std::span<const StageLayout> stageLayouts();

// Modulation of times: octaves of the factor over velocity or key by the amount of a slot.
inline constexpr double velocityBipolarSteps = 600, velocitySteps = 800;
inline constexpr double keyBipolarSteps = 6400, keySteps = 12800;
inline constexpr double keyGeneratorSteps = -100;
/// A unipolar key modulator is centred elsewhere: the time at the centre is the base times factor to this power.
inline constexpr double keyBasePower = 0.46875;

/// The articulation rows of one zone, each in its place: banks have tens of thousands of zones with all of them.
class RowValues {
 public:
  double get(ParameterId row) const { return values_[place(row)]; }
  void set(ParameterId row, float value) {
    const std::size_t at = place(row);
    values_[at] = value;
    isSet_[at / 64] |= uint64_t{1} << at % 64;
  }
  void set(const ArticulationSet& rows) {
    for (const auto& [row, value] : rows.entries())
      if (isArticulation(row)) set(row, value);
  }
  /// The rows that were set.
  ArticulationSet toSet() const;
  bool isJust(const ArticulationSet& rows) const;
  /// Every row at its default, none of them set.
  static const RowValues& defaults();

 private:
  std::size_t size() const;
  static std::size_t place(ParameterId row) { return static_cast<std::size_t>(indexOf(row)); }

  static constexpr std::size_t count = indexOf(ParameterId::separator188) + 1;
  std::array<float, count> values_{};
  std::array<uint64_t, count / 64 + 1> isSet_{};  ///< a bit for each
};

/// Which of the document's envelopes and LFOs stand for the two of a bank that have several uses: the one that is used.
Modulator modEnvelopeOf(const RowValues& rows);
Modulator modLfoOf(const RowValues& rows);

inline double valueOf(const ArticulationSet& rows, ParameterId row) {
  return rows.get(row).value_or(rowOf(row).defaultValue);
}

}  // namespace tervo::sf2
