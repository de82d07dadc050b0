#include "formats/instrument/sf2_rows.h"

#include <algorithm>
#include <bit>

#include "formats/instrument/sf2_articulation.h"

namespace tervo::sf2 {
namespace {

using P = ParameterId;

constexpr LinearRow ofGenerator(P row, Gen generator, double factor) {
  return {row, false, static_cast<uint8_t>(generator), factor};
}
constexpr LinearRow ofSlot(P row, uint8_t slot, double factor) {
  return {row, true, slot, factor};
}

// By row, so that the set of rows grows at its end.
// clang-format off
constexpr LinearRow linear[] = {
    ofGenerator(P::keyToPitch,      Gen::scaleTuning,     0.01),
    ofGenerator(P::pLfoToPitch,     Gen::vibLfoToPitch,   0.01),
    ofSlot(P::modWheelToPLfoToPitch,     44, 0.01),
    ofSlot(P::aftertouchToPLfoToPitch,   46, 0.01),
    ofSlot(P::velocityToPLfoToPitch,     45, 0.01),
    ofGenerator(P::xLfoToPitch,     Gen::modLfoToPitch,   0.01),
    ofSlot(P::modWheelToXLfoToPitch,     41, 0.01),
    ofSlot(P::aftertouchToXLfoToPitch,   43, 0.01),
    ofSlot(P::velocityToXLfoToPitch,     42, 0.01),
    ofSlot(P::velocityToVolume,          slot::velocityToAttenuation, decibelsPerAttenuation),
    ofSlot(P::modWheelToVolume,          35, decibelsPerAttenuation),
    ofSlot(P::aftertouchToVolume,        36, decibelsPerAttenuation),
    ofGenerator(P::vLfoToVolume,    Gen::modLfoToVolume,  0.1),
    ofSlot(P::modWheelToVLfoToVolume,    37, 0.1),
    ofSlot(P::aftertouchToVLfoToVolume,  38, 0.1),
    ofSlot(P::velocityToVLfoToVolume,    39, 0.1),
    ofSlot(P::modWheelToCutoff,          52, 0.01),
    ofSlot(P::aftertouchToCutoff,        53, 0.01),
    ofGenerator(P::fLfoToCutoff,    Gen::modLfoToCutoff,  0.01),
    ofSlot(P::modWheelToFLfoToCutoff,    54, 0.01),
    ofSlot(P::aftertouchToFLfoToCutoff,  55, 0.01),
    ofSlot(P::velocityToFLfoToCutoff,    56, 0.01),
    ofGenerator(P::filterResonance, Gen::filterQ,         0.1),
    ofSlot(P::velocityToResonance,       63, 0.1),
    ofSlot(P::modWheelToResonance,       64, 0.1),
    ofSlot(P::aftertouchToResonance,     65, 0.1),
    ofGenerator(P::panPosition,     Gen::pan,             0.002),
    ofSlot(P::cc10ToPan,                 slot::cc10ToPan, 0.002),
    ofSlot(P::keyToPan,                  slot::keyToPan,  0.000375),
    ofGenerator(P::send1Level,      Gen::reverbSend,      0.001),
    ofSlot(P::cc91ToSend1,               slot::cc91ToReverb, 0.001),
    ofGenerator(P::send3Level,      Gen::chorusSend,      0.001),
    ofSlot(P::cc93ToSend3,               slot::cc93ToChorus, 0.001),
};

#define STAGE(name, velocitySlot, keySlot, keyGenerator, row) \
  {&EnvelopeLayout::name, velocitySlot, keySlot, keyGenerator, P::vEnv##row, \
   P::vEnvVelocityTo##row, P::vEnvKeyTo##row}
constexpr StageLayout stages[] = {
    STAGE(delay,  0,  0, nullptr,                      Attack1Time),
    STAGE(attack, 1,  1, nullptr,                      Attack2Time),
    STAGE(hold,   2, -1, &EnvelopeLayout::keyToHold,   Decay1Time),
    STAGE(decay,  3, -1, &EnvelopeLayout::keyToDecay,  Decay2Time),
    {&EnvelopeLayout::release, 4, 2, nullptr, P::vEnvRelease1Rate,
     P::vEnvVelocityToReleaseTime, P::vEnvKeyToReleaseTime},
};
#undef STAGE

constexpr P pEnv(P row) { return inEnvelope(Modulator::pitch, row); }
constexpr SlotPair pairs[] = {
    { 8,  0, P::vEnvVelocityToAttack1Time, P::vEnvVelocityToAttack1Time},
    { 9,  1, P::vEnvVelocityToAttack2Time, P::vEnvVelocityToAttack2Time},
    {10,  2, P::vEnvVelocityToDecay1Time, P::vEnvVelocityToDecay1Time},
    {11,  3, P::vEnvVelocityToDecay2Time, P::vEnvVelocityToDecay2Time},
    {12,  4, P::vEnvVelocityToReleaseTime, P::vEnvVelocityToReleaseTime},
    {13,  5, P::vEnvKeyToAttack1Time,      P::vEnvAttack1Time},
    {14,  6, P::vEnvKeyToAttack2Time,      P::vEnvAttack2Time},
    {15,  7, P::vEnvKeyToReleaseTime,      P::vEnvRelease1Rate},
    {24, 16, pEnv(P::vEnvVelocityToAttack1Time), pEnv(P::vEnvVelocityToAttack1Time)},
    {25, 17, pEnv(P::vEnvVelocityToAttack2Time), pEnv(P::vEnvVelocityToAttack2Time)},
    {26, 18, pEnv(P::vEnvVelocityToDecay1Time), pEnv(P::vEnvVelocityToDecay1Time)},
    {27, 19, pEnv(P::vEnvVelocityToDecay2Time), pEnv(P::vEnvVelocityToDecay2Time)},
    {28, 20, pEnv(P::vEnvVelocityToReleaseTime), pEnv(P::vEnvVelocityToReleaseTime)},
    {29, 21, pEnv(P::vEnvKeyToAttack1Time),      pEnv(P::vEnvAttack1Time)},
    {30, 22, pEnv(P::vEnvKeyToAttack2Time),      pEnv(P::vEnvAttack2Time)},
    {31, 23, pEnv(P::vEnvKeyToReleaseTime),      pEnv(P::vEnvRelease1Rate)},
    {slot::keyToAttenuationBipolar, slot::keyToAttenuation, P::keyToVolume, P::masterVolume},
    {slot::velocityToPitchEnvBipolar, slot::velocityToPitchEnv, P::velocityToPEnvToPitch, P::pEnvToPitch},
    {slot::keyToCutoffBipolar, slot::keyToCutoff, P::keyToCutoff, P::filterCutoff},
    {slot::velocityToCutoffEnvBipolar, slot::velocityToCutoffEnv, P::velocityToFEnvToCutoff, P::fEnvToCutoff},
};
// clang-format on

bool anyOf(const RowValues& rows, std::initializer_list<P> depths) {
  for (const P row : depths)
    if (rows.get(row) != 0) return true;
  return false;
}

bool moves(const RowValues& rows, Modulator lfo) {
  switch (lfo) {
    case Modulator::pitch:
      return anyOf(rows,
                   {P::pLfoToPitch, P::modWheelToPLfoToPitch, P::aftertouchToPLfoToPitch, P::velocityToPLfoToPitch});
    case Modulator::volume:
      return anyOf(
          rows, {P::vLfoToVolume, P::modWheelToVLfoToVolume, P::aftertouchToVLfoToVolume, P::velocityToVLfoToVolume});
    case Modulator::filter:
      return anyOf(
          rows, {P::fLfoToCutoff, P::modWheelToFLfoToCutoff, P::aftertouchToFLfoToCutoff, P::velocityToFLfoToCutoff});
    default:
      return anyOf(rows,
                   {P::xLfoToPitch, P::modWheelToXLfoToPitch, P::aftertouchToXLfoToPitch, P::velocityToXLfoToPitch});
  }
}

bool shapes(const RowValues& rows, Modulator envelope) {
  if (envelope == Modulator::volume) return true;
  if (envelope == Modulator::pitch) return anyOf(rows, {P::pEnvToPitch, P::velocityToPEnvToPitch});
  if (envelope == Modulator::filter) return anyOf(rows, {P::fEnvToCutoff, P::velocityToFEnvToCutoff});
  return anyOf(rows, {P::xEnvToPan});
}

constexpr bool isBetween(P row, P first, P last) {
  return first <= row && row <= last;
}

}  // namespace

std::size_t RowValues::size() const {
  std::size_t size = 0;
  for (const uint64_t bits : isSet_) size += static_cast<std::size_t>(std::popcount(bits));
  return size;
}

bool RowValues::isJust(const ArticulationSet& rows) const {
  const auto isHere = [this](const ArticulationSet::Entry& entry) {
    const std::size_t at = place(entry.first);
    return at < count && (isSet_[at / 64] >> at % 64 & 1) != 0 && values_[at] == entry.second;
  };
  return rows.entries().size() == size() && std::all_of(rows.entries().begin(), rows.entries().end(), isHere);
}

ArticulationSet RowValues::toSet() const {
  std::array<ArticulationSet::Entry, count> entries;
  std::size_t size = 0;
  for (std::size_t word = 0; word < isSet_.size(); ++word) {
    for (uint64_t bits = isSet_[word]; bits != 0; bits &= bits - 1) {
      const auto at = 64 * word + static_cast<std::size_t>(std::countr_zero(bits));
      entries[size++] = {static_cast<P>(at), values_[at]};
    }
  }
  return ArticulationSet(std::span(entries).first(size));
}

const RowValues& RowValues::defaults() {
  static const RowValues values = [] {
    RowValues all;
    for (std::size_t i = 0; i < count; ++i) all.values_[i] = rowOf(static_cast<P>(i)).defaultValue;
    return all;
  }();
  return values;
}

std::span<const LinearRow> linearRows() {
  return linear;
}
std::span<const StageLayout> stageLayouts() {
  return stages;
}
std::span<const SlotPair> slotPairs() {
  return pairs;
}

Modulator modEnvelopeOf(const RowValues& rows) {
  return !shapes(rows, Modulator::pitch) && shapes(rows, Modulator::filter) ? Modulator::filter : Modulator::pitch;
}

Modulator modLfoOf(const RowValues& rows) {
  for (const Modulator lfo : {Modulator::extra, Modulator::volume, Modulator::filter})
    if (moves(rows, lfo)) return lfo;
  return Modulator::extra;
}

bool isHeard(const ArticulationSet& articulation, ParameterId row) {
  RowValues rows = RowValues::defaults();
  rows.set(articulation);
  for (const Modulator each : {Modulator::volume, Modulator::pitch, Modulator::filter, Modulator::extra}) {
    if (isBetween(row, inLfo(each, P::pLfoShape), inLfo(each, P::pLfoRamp))) return moves(rows, each);
    if (isBetween(row, inEnvelope(each, P::vEnvInitialLevel), inEnvelope(each, P::vEnvReleaseMode)))
      return shapes(rows, each);
  }
  const bool isOfFilter = isBetween(row, P::filterCutoff, P::aftertouchToResonance);
  return !isOfFilter || rows.get(P::filterType) != 0;
}

}  // namespace tervo::sf2
