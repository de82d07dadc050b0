// Articulation rows to zone values.

#include <algorithm>
#include <bitset>
#include <cmath>
#include <limits>

#include "formats/instrument/sf2_articulation.h"
#include "formats/instrument/sf2_rows.h"
#include "formats/instrument/sf2_units.h"

namespace tervo::sf2 {
namespace {

using P = ParameterId;

int16_t rounded(double value, double limit = 32768) {
  const double whole = std::isnan(value) ? 0 : std::round(value);
  return static_cast<int16_t>(std::clamp(whole, -limit, std::min(limit, 32767.0)));
}

/// Amounts that are held closer than 16 bits.
int16_t roundedSlot(std::size_t slot, double value) {
  if (slot == slot::keyToPan) return rounded(value, 32000);
  if (slot == slot::cc10ToPan) return rounded(value, 1000);
  if (slot == slot::cc91ToReverb || slot == slot::cc93ToChorus) return rounded(std::clamp(value, 0.0, 1000.0));
  return rounded(value);
}

constexpr double maxTimeFactorCents = 28800;
// Without resonance a cutoff of 19900 Hz or more says that the filter is off.
constexpr int openCents = 13500, justOpenCents = 13498, lowestCents = -32768;

/// Which pairs take their unipolar slot.
using UnipolarPairs = std::bitset<32>;

class ValueMaker {
 public:
  ValueMaker(const RowValues& rows, UnipolarPairs unipolar) : rows_(rows), unipolar_(unipolar) {}

  ZoneValues make() {
    for (const LinearRow& linear : linearRows()) {
      const double amount = get(linear.row) / linear.factor;
      if (linear.isSlot)
        values_.slots[linear.index] = roundedSlot(linear.index, amount);
      else
        values_.generators[linear.index] = rounded(amount);
    }
    makePitch();
    makeFilter();
    makeVolume();
    makeLfo(Modulator::pitch, Gen::vibLfoRate, Gen::vibLfoDelay);
    makeLfo(modLfoOf(rows_), Gen::modLfoRate, Gen::modLfoDelay);
    makeEnvelopes();
    return values_;
  }

 private:
  double get(P row) const { return rows_.get(row); }
  /// Whether this bipolar slot leaves its work to the unipolar one.
  bool isUnipolar(std::size_t bipolar) const {
    if (unipolar_.none()) return false;
    const auto pairs = slotPairs();
    const auto pair =
        std::find_if(pairs.begin(), pairs.end(), [&](const auto& each) { return each.bipolar == bipolar; });
    return unipolar_[static_cast<std::size_t>(pair - pairs.begin())];
  }
  int setSlot(std::size_t slot, double value, double limit = 32768) {
    return values_.slots[slot] = rounded(value, limit);
  }

  void makePitch() {
    const int cents = static_cast<int>(std::lround(get(P::masterTuning) * 100));
    values_[Gen::coarseTune] = static_cast<int16_t>(cents / 100);
    values_[Gen::fineTune] = static_cast<int16_t>(cents % 100);
    setSlot(slot::bendRange, (get(P::pitchBendToPitch) - 2) * 100);
    makeEnvelopeDepth(P::pEnvToPitch, P::velocityToPEnvToPitch, Gen::modEnvToPitch, slot::velocityToPitchEnvBipolar,
                      slot::velocityToPitchEnv);
    makeEnvelopeDepth(P::fEnvToCutoff, P::velocityToFEnvToCutoff, Gen::modEnvToCutoff, slot::velocityToCutoffEnvBipolar,
                      slot::velocityToCutoffEnv);
  }

  void makeEnvelopeDepth(P depthRow, P velocityRow, Gen depth, std::size_t bipolar, std::size_t unipolar) {
    const double byVelocity = get(velocityRow);
    double inDepth = 0;
    if (isUnipolar(bipolar))
      inDepth = setSlot(unipolar, byVelocity * 200) * 0.005;
    else
      setSlot(bipolar, byVelocity * 100);
    values_[depth] = rounded((get(depthRow) - inDepth) * 100);
  }

  // The shifts are computed from what was rounded: so reading undoes them exactly.
  void makeFilter() {
    const double halfDepth = -setSlot(slot::velocityToCutoff, get(P::velocityToCutoff) * -200) * 0.005;
    const double tracking = get(P::keyToCutoff);
    double shift = halfDepth / 12;
    if (isUnipolar(slot::keyToCutoffBipolar))
      shift += setSlot(slot::keyToCutoff, tracking / 0.0009375) * 0.0009375 / 2.4;
    else
      shift -= setSlot(slot::keyToCutoffBipolar, tracking / 0.001875) * 0.001875 / 36;
    isOn_ = get(P::filterType) != 0;
    if (!isOn_) values_[Gen::filterQ] = std::min<int16_t>(values_[Gen::filterQ], 0);
    values_[Gen::filterCutoff] = cutoff(isOn_ ? std::exp2(shift) : 1);
  }

  int16_t cutoff(double factor) const {
    const double row = get(P::filterCutoff);
    if (!isOn_ && row < openFilterHertz) return openCents;
    // A row at its end means a filter that is as open as it can be.
    const int open = values_[Gen::filterQ] > 0 ? openCents : justOpenCents;
    const bool isAtEnd = row >= rowOf(P::filterCutoff).maximum && hertzOf(open) * factor >= row;
    if (isAtEnd) return rounded(open);
    int cents = centsOf(row / factor);
    while (row <= rowOf(P::filterCutoff).minimum && cents > lowestCents && hertzOf(cents) * factor > row) --cents;
    return rounded(cents);
  }

  void makeVolume() {
    double volume = get(P::masterVolume);
    const double perOctave = get(P::keyToVolume);
    if (isUnipolar(slot::keyToAttenuationBipolar))
      volume -= 5 * setSlot(slot::keyToAttenuation, perOctave / 0.00375) * 0.00375;
    else
      volume += setSlot(slot::keyToAttenuationBipolar, perOctave / 0.0075) * 0.0075 / 3;
    if (isOn_) volume += values_[Gen::filterQ] * 0.1 / 2;
    values_[Gen::attenuation] = rounded(-volume / decibelsPerAttenuation);
  }

  void makeLfo(Modulator lfo, Gen rate, Gen delay) {
    // The usual rate is a rounded number, too, which is nearest to another one.
    const double hertz = get(inLfo(lfo, P::pLfoFrequency));
    const bool isUsual = static_cast<float>(hertz) == static_cast<float>(hertzOf(instrumentDefaults()[rate]));
    values_[rate] = isUsual ? instrumentDefaults()[rate] : rounded(centsOf(hertz));
    values_[delay] = rounded(timecentsOf(get(inLfo(lfo, P::pLfoDelay))));
  }

  void makeStage(const EnvelopeStage& stage, const EnvelopeLayout& envelope, const StageLayout& layout) {
    const std::size_t bipolar = envelope.velocityBipolar + layout.velocitySlot;
    if (isUnipolar(bipolar))
      setSlot(envelope.velocity + layout.velocitySlot, stepsOf(stage.velocityFactor, velocitySteps),
              maxTimeFactorCents);
    else
      setSlot(bipolar, stepsOf(stage.velocityFactor, velocityBipolarSteps), maxTimeFactorCents);
    const double inTime = makeKeyFactor(stage, envelope, layout);
    values_[envelope.*layout.time] = rounded(timecentsOf(stage.seconds / inTime));
  }

  /// By how much reading multiplies the time of the stage.
  double makeKeyFactor(const EnvelopeStage& stage, const EnvelopeLayout& envelope, const StageLayout& layout) {
    if (layout.keyGenerator) {
      values_[envelope.*layout.keyGenerator] = rounded(stepsOf(stage.keyFactor, keyGeneratorSteps));
      return 1;
    }
    const auto place = static_cast<std::size_t>(layout.keySlot);
    if (!isUnipolar(envelope.keyBipolar + place)) {
      setSlot(envelope.keyBipolar + place, stepsOf(stage.keyFactor, keyBipolarSteps), maxTimeFactorCents);
      return 1;
    }
    const int amount = setSlot(envelope.key + place, stepsOf(stage.keyFactor, keySteps), maxTimeFactorCents);
    return std::pow(factorOf(amount, keySteps), keyBasePower);
  }

  void makeEnvelope(Modulator source, const EnvelopeLayout& envelope, double sustainSteps) {
    const auto getIn = [&](P row) { return static_cast<float>(get(inEnvelope(source, row))); };
    for (const StageLayout& layout : stageLayouts())
      makeStage({getIn(layout.timeRow), getIn(layout.velocityRow), getIn(layout.keyRow)}, envelope, layout);
    values_[envelope.sustain] = rounded((1 - double{getIn(P::vEnvSustain)}) * sustainSteps);
  }
  void makeEnvelopes() {
    makeEnvelope(Modulator::volume, volumeLayout, 960);
    makeEnvelope(modEnvelopeOf(rows_), modLayout, 1000);
  }

  const RowValues& rows_;
  UnipolarPairs unipolar_;
  ZoneValues values_ = instrumentDefaults();
  bool isOn_ = false;
};

bool readsBack(const ZoneValues& values, const RowValues& rows, const SlotPair& pair) {
  const ArticulationSet again = articulationOf(values);
  return again.get(pair.row) == static_cast<float>(rows.get(pair.row)) &&
         again.get(pair.base) == static_cast<float>(rows.get(pair.base));
}

}  // namespace

ZoneValues zoneValuesOf(const ArticulationSet& articulation) {
  RowValues rows = RowValues::defaults();
  rows.set(articulation);
  UnipolarPairs unipolar;
  ZoneValues values = ValueMaker(rows, unipolar).make();
  const auto pairs = slotPairs();
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    if (values.slots[pairs[i].bipolar] == 0 || readsBack(values, rows, pairs[i])) continue;
    UnipolarPairs trial = unipolar;
    const ZoneValues other = ValueMaker(rows, trial.set(i)).make();
    if (!readsBack(other, rows, pairs[i])) continue;
    unipolar = trial;
    values = other;
  }
  return values;
}

}  // namespace tervo::sf2
