#include "formats/instrument/sf2_zone.h"

#include <algorithm>
#include <iterator>

namespace tervo::sf2 {
namespace {

constexpr uint16_t velocity = 2, key = 3, pressure = 13, cc1 = 0x81, cc91 = 0x80 + 91, cc93 = 0x80 + 93;
constexpr uint16_t negative = 0x100, bipolar = 0x200;
constexpr uint16_t bipolarVelocity = velocity + bipolar, bipolarKey = key + bipolar;
constexpr uint16_t bipolarWheel = 14 + bipolar, bipolarCc10 = 0x80 + 10 + bipolar;
// Concave, as the default modulator: synthesizers take it for a second modulator when the curve is another one.
constexpr uint16_t concaveNegativeVelocity = velocity + negative + 0x400;

// clang-format off
constexpr SlotPattern patterns[slotCount] = {
    {33, velocity}, {34, velocity}, {35, velocity}, {36, velocity}, {38, velocity},
    {33, key}, {34, key}, {38, key},
    {33, bipolarVelocity}, {34, bipolarVelocity}, {35, bipolarVelocity}, {36, bipolarVelocity}, {38, bipolarVelocity},
    {33, bipolarKey}, {34, bipolarKey}, {38, bipolarKey},
    {25, velocity}, {26, velocity}, {27, velocity}, {28, velocity}, {30, velocity},
    {25, key}, {26, key}, {30, key},
    {25, bipolarVelocity}, {26, bipolarVelocity}, {27, bipolarVelocity}, {28, bipolarVelocity}, {30, bipolarVelocity},
    {25, bipolarKey}, {26, bipolarKey}, {30, bipolarKey},
    {48, concaveNegativeVelocity}, {48, key}, {48, bipolarKey}, {48, cc1}, {48, pressure},
    {13, cc1}, {13, pressure}, {13, bipolarVelocity},
    {52, bipolarWheel},
    { 5, cc1}, { 5, bipolarVelocity}, { 5, pressure},
    { 6, cc1}, { 6, bipolarVelocity}, { 6, pressure},
    { 7, velocity}, { 7, bipolarVelocity},
    { 8, velocity + negative}, { 8, key}, { 8, bipolarKey}, { 8, cc1}, { 8, pressure},
    {10, cc1}, {10, pressure}, {10, bipolarVelocity},
    {11, velocity}, {11, bipolarVelocity},
    {17, bipolarKey}, {17, bipolarCc10},
    {16, cc91},
    {15, cc93},
    { 9, bipolarVelocity}, { 9, cc1}, { 9, pressure},
};
// clang-format on
static_assert(patterns[slot::velocityToAttenuation].destination == 48 && patterns[slot::bendRange].destination == 52 &&
              patterns[slot::velocityToCutoff].destination == 8 && patterns[slot::cc93ToChorus].destination == 15 &&
              patterns[65].source == pressure);

constexpr int16_t neverSeconds = -12000;

ZoneValues makeInstrumentDefaults() {
  ZoneValues values;
  for (const Gen time :
       {Gen::modLfoDelay, Gen::vibLfoDelay, Gen::modEnvDelay, Gen::modEnvAttack, Gen::modEnvHold, Gen::modEnvDecay,
        Gen::modEnvRelease, Gen::volEnvDelay, Gen::volEnvAttack, Gen::volEnvHold, Gen::volEnvDecay, Gen::volEnvRelease})
    values[time] = neverSeconds;
  for (const Gen none : {Gen::instrument, Gen::sampleId, Gen::keyNumber, Gen::velocity, Gen::rootKey})
    values[none] = -1;
  for (const Gen range : {Gen::keyRange, Gen::velocityRange}) values[range] = rangeAmount(0, 127);
  values[Gen::filterCutoff] = 13500;
  values[Gen::scaleTuning] = 100;
  values.slots[slot::velocityToAttenuation] = 960;
  values.slots[44] = values.slots[46] = 50;
  values.slots[slot::velocityToCutoff] = -2400;
  values.slots[slot::cc10ToPan] = 500;
  values.slots[slot::cc91ToReverb] = values.slots[slot::cc93ToChorus] = 200;
  return values;
}

ZoneValues makePresetDefaults() {
  ZoneValues values;
  for (const Gen none : {Gen::instrument, Gen::sampleId}) values[none] = -1;
  for (const Gen range : {Gen::keyRange, Gen::velocityRange}) values[range] = rangeAmount(0, 127);
  return values;
}

constexpr bool isBipolar(const SlotPattern& pattern) {
  return (pattern.source & bipolar) != 0;
}

bool fits(const SlotPattern& pattern, const ModulatorRecord& modulator) {
  return pattern.destination == modulator.destination && (pattern.source & 0xFF) == (modulator.source & 0xFF) &&
         (!isBipolar(pattern) || (modulator.source & bipolar));
}

/// The negative of an amount; the one that has none becomes the largest.
int16_t turned(int16_t amount) {
  return static_cast<int16_t>(std::min(-int{amount}, 32767));
}

}  // namespace

const ZoneValues& instrumentDefaults() {
  static const ZoneValues values = makeInstrumentDefaults();
  return values;
}

const ZoneValues& presetDefaults() {
  static const ZoneValues values = makePresetDefaults();
  return values;
}

const SlotPattern& patternOf(std::size_t slot) {
  return patterns[slot];
}

std::optional<SlotAmount> slotOf(const ModulatorRecord& modulator) {
  if (modulator.amountSource != 0) return std::nullopt;
  std::optional<std::size_t> found;
  for (std::size_t i = 0; i < slotCount; ++i) {
    if (!fits(patterns[i], modulator)) continue;
    if (!found || isBipolar(patterns[i])) found = i;
  }
  if (!found) return std::nullopt;
  const bool opposite = ((modulator.source ^ patterns[*found].source) & negative) != 0;
  return SlotAmount{*found, opposite ? turned(modulator.amount) : int16_t{modulator.amount}};
}

bool isMoreThanItsSlot(const ModulatorRecord& modulator, std::size_t slot) {
  return modulator.transform != 0 || ((modulator.source ^ patterns[slot].source) & ~(0xFF | negative)) != 0;
}

bool losesItsOffset(const ModulatorRecord& modulator, std::size_t slot) {
  const bool isTurned = ((modulator.source ^ patterns[slot].source) & negative) != 0;
  return isTurned && !isBipolar(patterns[slot]) && modulator.amount != 0;
}

void appendModulators(const ZoneValues& values, const ZoneValues& reference, std::vector<ModulatorRecord>& records) {
  for (std::size_t i = 0; i < slotCount; ++i) {
    if (values.slots[i] == reference.slots[i]) continue;
    records.push_back({patterns[i].source, patterns[i].destination, values.slots[i], 0, 0});
  }
}

}  // namespace tervo::sf2
