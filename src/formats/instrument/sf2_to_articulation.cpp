// Zone values to articulation rows.

#include <algorithm>
#include <cmath>

#include "formats/instrument/sf2_articulation.h"
#include "formats/instrument/sf2_rows.h"
#include "formats/instrument/sf2_units.h"

namespace tervo::sf2 {
namespace {

using P = ParameterId;

constexpr Modulator vibratoLfos[] = {Modulator::pitch}, volumeEnvelopes[] = {Modulator::volume};
constexpr Modulator modLfos[] = {Modulator::volume, Modulator::filter, Modulator::extra};
constexpr Modulator modEnvelopes[] = {Modulator::pitch, Modulator::filter};

/// What is the same in every zone: the shapes of LFOs, the levels of envelopes.
const RowValues& usualRows() {
  static const RowValues values = [] {
    ArticulationSet rows;
    setEnvelope(rows, Modulator::volume, {});
    for (const Modulator envelope : modEnvelopes) setEnvelope(rows, envelope, {});
    rows.set(inLfo(Modulator::pitch, P::pLfoShape), triangleLfo);
    for (const Modulator lfo : modLfos) rows.set(inLfo(lfo, P::pLfoShape), triangleLfo);
    RowValues usual;
    usual.set(rows);
    return usual;
  }();
  return values;
}

class RowMaker {
 public:
  RowMaker(const ZoneValues& values, std::vector<ClippedRow>* clipped) : values_(values), clipped_(clipped) {}

  const RowValues& make() {
    for (const LinearRow& linear : linearRows()) set(linear.row, amountOf(linear) * linear.factor);
    makePitch();
    makeVolume();
    makeFilter();
    makeLfos();
    makeEnvelopes();
    return rows_;
  }

 private:
  int generator(Gen generator) const { return values_[generator]; }
  int slotAt(std::size_t slot) const { return values_.slots[slot]; }
  double amountOf(const LinearRow& linear) const {
    return linear.isSlot ? values_.slots[linear.index] : values_.generators[linear.index];
  }

  /// The value as the row can hold it.
  double limited(P row, double value) {
    const ParameterRow& limits = rowOf(row);
    const double held = std::clamp(value, double{limits.minimum}, double{limits.maximum});
    if (held != value && clipped_) clipped_->push_back({row, value, held});
    return held;
  }
  double set(P row, double value) {
    const double held = limited(row, value);
    rows_.set(row, static_cast<float>(held));
    return held;
  }

  void makePitch() {
    set(P::masterTuning, generator(Gen::coarseTune) + generator(Gen::fineTune) * 0.01);
    set(P::pitchBendToPitch, 2 + slotAt(slot::bendRange) * 0.01);
    makeEnvelopeDepth({P::pEnvToPitch, P::velocityToPEnvToPitch}, Gen::modEnvToPitch, slot::velocityToPitchEnvBipolar,
                      slot::velocityToPitchEnv);
  }

  struct DepthRows {
    P depth, byVelocity;
  };
  void makeEnvelopeDepth(DepthRows rows, Gen depth, std::size_t bipolar, std::size_t unipolar) {
    const bool fallsBack = slotAt(bipolar) == 0 && slotAt(unipolar) != 0;
    const double byVelocity = fallsBack ? slotAt(unipolar) * 0.005 : slotAt(bipolar) * 0.01;
    set(rows.depth, generator(depth) * 0.01 + (fallsBack ? byVelocity : 0));
    set(rows.byVelocity, byVelocity);
  }

  void makeVolume() {
    double volume = -generator(Gen::attenuation) * decibelsPerAttenuation;
    const int bipolar = slotAt(slot::keyToAttenuationBipolar), unipolar = slotAt(slot::keyToAttenuation);
    const double perOctave =
        set(P::keyToVolume, decibelsPerAttenuation * (bipolar != 0 ? bipolar * 0.1875 : unipolar * 0.09375));
    volume += bipolar != 0 ? -perOctave / 3 : 5 * perOctave;
    volume_ = volume;
  }

  void makeFilter() {
    makeEnvelopeDepth({P::fEnvToCutoff, P::velocityToFEnvToCutoff}, Gen::modEnvToCutoff,
                      slot::velocityToCutoffEnvBipolar, slot::velocityToCutoffEnv);
    const double hertz = hertzOf(generator(Gen::filterCutoff));
    const double resonance = generator(Gen::filterQ) * 0.1;
    const bool isOff = hertz >= openFilterHertz && resonance <= 0;
    const double byVelocity = -slotAt(slot::velocityToCutoff) * 0.01;
    set(P::filterType, isOff ? 0 : lowPass12);
    const double halfDepth = set(P::velocityToCutoff, byVelocity / 2);
    const int bipolar = slotAt(slot::keyToCutoffBipolar), unipolar = slotAt(slot::keyToCutoff);
    const double tracking = set(P::keyToCutoff, bipolar != 0 ? bipolar * 0.001875 : unipolar * 0.0009375);
    const double shift = halfDepth / 12 + (bipolar != 0 ? -tracking / 36 : tracking / 2.4);
    // A filter that is off keeps its depths, so that nothing is lost on the way back, and its cutoff as it is.
    set(P::filterCutoff, isOff ? hertz : hertz * std::exp2(shift));
    if (!isOff) volume_ -= inRange(P::filterResonance, resonance).value_or(0) / 2;
    set(P::masterVolume, volume_);
  }

  void makeLfo(std::span<const Modulator> lfos, Gen rate, Gen delay) {
    const double hertz = hertzOf(generator(rate)), seconds = secondsOf(generator(delay));
    for (const Modulator lfo : lfos) {
      set(inLfo(lfo, P::pLfoFrequency), hertz);
      set(inLfo(lfo, P::pLfoDelay), seconds);
    }
  }
  void makeLfos() {
    makeLfo(vibratoLfos, Gen::vibLfoRate, Gen::vibLfoDelay);
    makeLfo(modLfos, Gen::modLfoRate, Gen::modLfoDelay);
  }

  double velocityFactor(const EnvelopeLayout& envelope, const StageLayout& stage) const {
    const int bipolar = slotAt(envelope.velocityBipolar + stage.velocitySlot);
    if (bipolar != 0) return factorOf(bipolar, velocityBipolarSteps);
    return factorOf(slotAt(envelope.velocity + stage.velocitySlot), velocitySteps);
  }

  /// Of how much longer a stage is an octave higher, and what a unipolar modulator does to its time.
  struct KeyFactors {
    double perOctave, inTime;
  };
  KeyFactors keyFactors(const EnvelopeLayout& envelope, const StageLayout& stage) const {
    if (stage.keyGenerator) return {factorOf(generator(envelope.*stage.keyGenerator), keyGeneratorSteps), 1};
    const auto place = static_cast<std::size_t>(stage.keySlot);
    const int bipolar = slotAt(envelope.keyBipolar + place), unipolar = slotAt(envelope.key + place);
    if (bipolar != 0) return {factorOf(bipolar, keyBipolarSteps), 1};
    if (unipolar == 0) return {1, 1};
    const ParameterRow& limits = rowOf(stage.keyRow);
    const double factor = std::clamp(factorOf(unipolar, keySteps), double{limits.minimum}, double{limits.maximum});
    return {factorOf(unipolar, keySteps), std::pow(factor, keyBasePower)};
  }

  void makeStage(std::span<const Modulator> targets, const EnvelopeLayout& envelope, const StageLayout& stage) {
    const KeyFactors byKey = keyFactors(envelope, stage);
    const double seconds = secondsOf(generator(envelope.*stage.time)) * byKey.inTime;
    const double byVelocity = velocityFactor(envelope, stage);
    for (const Modulator target : targets) {
      set(inEnvelope(target, stage.keyRow), byKey.perOctave);
      set(inEnvelope(target, stage.timeRow), seconds);
      set(inEnvelope(target, stage.velocityRow), byVelocity);
    }
  }

  void makeEnvelope(std::span<const Modulator> targets, const EnvelopeLayout& envelope, double sustain) {
    for (const StageLayout& stage : stageLayouts()) makeStage(targets, envelope, stage);
    for (const Modulator target : targets) set(inEnvelope(target, P::vEnvSustain), std::clamp(sustain, 0.0, 1.0));
  }
  void makeEnvelopes() {
    makeEnvelope(volumeEnvelopes, volumeLayout, 1 - generator(Gen::volEnvSustain) / 960.0);
    makeEnvelope(modEnvelopes, modLayout, 1 - generator(Gen::modEnvSustain) * 0.001);
  }

  const ZoneValues& values_;
  std::vector<ClippedRow>* clipped_;
  RowValues rows_ = usualRows();
  double volume_ = 0;
};

}  // namespace

ArticulationSet articulationOf(const ZoneValues& values, std::vector<ClippedRow>* clipped) {
  return RowMaker(values, clipped).make().toSet();
}

bool readsAs(const ZoneValues& values, const ArticulationSet& rows) {
  return RowMaker(values, nullptr).make().isJust(rows);
}

}  // namespace tervo::sf2
