// How a voice begins: everything that its note decides once.

#include <algorithm>
#include <cmath>

#include "audio/engine/voice.h"

namespace tervo::audio {
namespace {

using P = ParameterId;

constexpr std::size_t at(Modulator which) {
  return static_cast<std::size_t>(which);
}

bool anyOf(const Zone& zone, std::initializer_list<P> rows) {
  return std::any_of(rows.begin(), rows.end(), [&](P row) { return zone.isOn(row); });
}

bool isEndless(const Zone& zone) {
  return zone.played.loop && (zone.played.loop->count == loopForever || zone.played.loop->count == loopUntilRelease);
}

}  // namespace

float velocityGain(float dynamicRangeDb, int velocity) noexcept {
  const int heard = dynamicRangeDb < 0 ? 127 - velocity : velocity;
  const float x = static_cast<float>(heard) / 127;
  const float floor = gainOfDb(-std::fabs(dynamicRangeDb));
  return floor + (1 - floor) * (x * x);
}

void Voice::start(const VoiceStart& start, const VoiceContext& context) noexcept {
  zone_ = start.zone;
  pitchZone_ = start.pitchZone;
  channel_ = start.channel;
  octaves_ = (static_cast<float>(start.key) - middleC) / 12;
  velocity_ = static_cast<float>(start.velocity) / 127 * 2 - 1;
  fastRelease = false;
  isDone_ = false;
  endsByItself_ = start.endsByItself;
  modulation_ = channel_->value(ChannelValue::modulation);
  pressure_ = channel_->value(ChannelValue::pressure);
  delayBlocks_ = static_cast<int>((*zone_)[P::triggerDelay] * context.sampleRate / blockFrames + 0.5f);
  glide_ = start.glideSeconds > 0 ? start.glideFrom : 0.0f;
  glideStep_ = start.glideSeconds > 0
                   ? std::fabs(start.glideFrom) * blockFrames / (start.glideSeconds * context.sampleRate)
                   : 0.0f;
  startPosition();
  startModulators(start, context);
  startLevels(start, context);
  startFilters(context);
  // The first block begins where the envelope begins, and with the filter as it is then.
  updateFilter(context);
  for (VoiceStage& stage : stages_) stage.now = stage.target;
  updateGains(context);
  for (LaneGains& gains : gains_) gains.now = gains.target;
  // Until it has sounded it counts as loud as it is going to be, or the notes of one chord would steal each other.
  level_ = noteGain_ * gainOfDb(noteDb_) * channel_->value(ChannelValue::gain);
}

void Voice::startPosition() noexcept {
  position_ = zone_->played.start;
  hasJumped_ = false;
  jumpsLeft_ = 0;
  if (!zone_->played.loop) return;
  const uint8_t count = zone_->played.loop->count;
  jumpsLeft_ = count == loopForever || count == loopUntilRelease ? -1 : count - 1;
}

void Voice::startModulators(const VoiceStart& start, const VoiceContext& context) noexcept {
  const Zone& zone = *zone_;
  const Zone& pitch = *pitchZone_;
  usesLfo_[at(Modulator::pitch)] =
      anyOf(pitch, {P::pLfoToPitch, P::modWheelToPLfoToPitch, P::aftertouchToPLfoToPitch, P::velocityToPLfoToPitch});
  usesLfo_[at(Modulator::volume)] =
      anyOf(zone, {P::vLfoToVolume, P::modWheelToVLfoToVolume, P::aftertouchToVLfoToVolume, P::velocityToVLfoToVolume});
  usesLfo_[at(Modulator::filter)] =
      anyOf(zone, {P::fLfoToCutoff, P::modWheelToFLfoToCutoff, P::aftertouchToFLfoToCutoff, P::velocityToFLfoToCutoff});
  usesLfo_[at(Modulator::extra)] =
      zone.isOn(P::xLfoToPan) ||
      anyOf(pitch, {P::xLfoToPitch, P::modWheelToXLfoToPitch, P::aftertouchToXLfoToPitch, P::velocityToXLfoToPitch});
  usesEnvelope_ = {true, anyOf(pitch, {P::pEnvToPitch, P::velocityToPEnvToPitch}),
                   anyOf(zone, {P::fEnvToCutoff, P::velocityToFEnvToCutoff}), zone.isOn(P::xEnvToPan)};
  for (std::size_t i = 0; i < 4; ++i) {
    const auto which = static_cast<Modulator>(i);
    const bool ofPitch = which == Modulator::pitch || which == Modulator::extra;
    envelope_[i] = lfo_[i] = 0;
    if (usesLfo_[i])
      lfos_[i].start(ofPitch ? pitch : zone, which, context.sampleRate,
                     (ofPitch ? start.pitchSeed : start.seed) + static_cast<uint32_t>(i));
    if (!usesEnvelope_[i]) continue;
    const Zone& source = which == Modulator::pitch ? pitch : zone;
    EnvelopeShape shape = makeEnvelope(source, which, start.key, start.velocity, context.sampleRate);
    // What plays for ever has to be stopped by its key, whatever the release mode says.
    if (isEndless(zone)) shape.ignoresRelease = false;
    envelopes_[i].start(shape);
    envelope_[i] = envelopes_[i].value();
  }
}

void Voice::startLevels(const VoiceStart& start, const VoiceContext&) noexcept {
  const Zone& zone = *zone_;
  const Zone& pitch = *pitchZone_;
  Random random(start.seed);
  Random pitchRandom(start.pitchSeed);
  pitch_ = pitch.tuning + pitch[P::keyToPitch] * (static_cast<float>(start.key) - pitch.rootKey) +
           pitchRandom.bipolar() * pitch[P::randomToPitch];
  notePitchEnvDepth_ = pitch[P::pEnvToPitch] + velocity_ * pitch[P::velocityToPEnvToPitch];
  noteGain_ = velocityGain(zone[P::velocityToVolume], start.velocity) * start.fade;
  noteDb_ = zone.gainDb + zone[P::keyToVolume] * octaves_;
  notePan_ = zone[P::panPosition] + zone[P::keyToPan] * octaves_ + random.bipolar() * zone[P::randomToPan];
  noteCutoff_ = logarithm(std::max(zone[P::filterCutoff], 1.0f)) +
                lnPerSemitone * (zone[P::velocityToCutoff] * velocity_ + zone[P::keyToCutoff] * octaves_);
}

void Voice::startFilters(const VoiceContext& context) noexcept {
  const Zone& zone = *zone_;
  filterType_ = static_cast<FilterType>(static_cast<int>(std::clamp(zone[P::filterType], 0.0f, 12.0f)));
  filterStages_ = stagesOf(filterType_);
  stageCount_ = filterStages_;
  cutoff_ = resonance_ = -1000;
  for (VoiceStage& stage : stages_) stage = {};
  struct BandRows {
    P mode, frequency, gain, q;
  };
  constexpr BandRows bands[] = {{P::eq1Mode, P::eq1Frequency, P::eq1Gain, P::eq1Q},
                                {P::eq2Mode, P::eq2Frequency, P::eq2Gain, P::eq2Q},
                                {P::eq3Mode, P::eq3Frequency, P::eq3Gain, P::eq3Q}};
  constexpr int firstMode = static_cast<int>(FilterType::peak);
  for (const BandRows& band : bands) {
    if (zone[band.gain] == 0) continue;
    const auto mode = static_cast<FilterType>(firstMode + static_cast<int>(std::clamp(zone[band.mode], 0.0f, 2.0f)));
    VoiceStage& stage = stages_[static_cast<std::size_t>(stageCount_++)];
    stage.now = stage.target =
        designBand(mode, zone[band.frequency], zone[band.gain], zone[band.q], context.sampleRate);
  }
}

}  // namespace tervo::audio
