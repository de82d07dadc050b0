// What changes from block to block: modulation, and the steps through the block that follow from it.

#include <algorithm>
#include <cmath>

#include "audio/engine/voice.h"

namespace tervo::audio {
namespace {

using P = ParameterId;

constexpr float shedSeconds = 0.01f;  // from full level to silence: short, yet no click
constexpr float quarterTurn = 0.25f;
constexpr float sqrt2 = 1.41421356f;
constexpr float largestIncrement = 60.0f * static_cast<float>(fixedOne);  // the window of a block has 12 bits of frames

constexpr std::size_t at(Modulator which) {
  return static_cast<std::size_t>(which);
}

}  // namespace

void Voice::release() noexcept {
  const bool obeys = !envelopes_[at(Modulator::volume)].isReleased();
  for (std::size_t i = 0; i < envelopes_.size(); ++i)
    if (usesEnvelope_[i]) envelopes_[i].release();
  if (obeys && zone_->played.loop && zone_->played.loop->count == loopUntilRelease) jumpsLeft_ = 0;
}

void Voice::exclude(const VoiceContext& context) noexcept {
  envelopes_[at(Modulator::volume)].shutDown((*zone_)[P::shutdownRate] * context.sampleRate);
}

void Voice::shed(const VoiceContext& context) noexcept {
  fastRelease = true;
  envelopes_[at(Modulator::volume)].shutDown(shedSeconds * context.sampleRate);
}

bool Voice::prepareBlock(const VoiceContext& context) noexcept {
  if (delayBlocks_ > 0) {
    --delayBlocks_;
    const EnvelopeGenerator& volume = envelopes_[at(Modulator::volume)];
    isDone_ = volume.isReleased();
    return false;
  }
  for (LaneGains& gains : gains_) gains.now = gains.target;
  for (int i = 0; i < filterStages_; ++i) stage(i).now = stage(i).target;
  advanceModulators();
  updatePitch();
  updateFilter(context);
  updateGains(context);
  return true;
}

void Voice::advanceModulators() noexcept {
  modulation_ = channel_->value(ChannelValue::modulation);
  pressure_ = channel_->value(ChannelValue::pressure);
  for (std::size_t i = 0; i < envelopes_.size(); ++i) {
    if (usesEnvelope_[i]) envelope_[i] = envelopes_[i].advance(blockFrames);
    if (usesLfo_[i]) lfo_[i] = lfos_[i].advance();
  }
  const EnvelopeGenerator& volume = envelopes_[at(Modulator::volume)];
  if (endsByItself_ && volume.isSustaining() && zone_->played.loop) release();
  isDone_ = volume.isDone() || (volume.isSustaining() && volume.value() == 0);
}

float Voice::depth(P base, P byWheel, P byPressure, P byVelocity) const noexcept {
  const Zone& zone = *zone_;
  return zone[base] + modulation_ * zone[byWheel] + pressure_ * zone[byPressure] + velocity_ * zone[byVelocity];
}

void Voice::updatePitch() noexcept {
  const Zone& pitch = *pitchZone_;
  const auto depthOf = [&](P base, P byWheel, P byPressure, P byVelocity) {
    return pitch[base] + modulation_ * pitch[byWheel] + pressure_ * pitch[byPressure] + velocity_ * pitch[byVelocity];
  };
  float semitones = pitch_ + channel_->value(ChannelValue::tuning);
  const float range = channel_->bendRange() >= 0 && pitch.isOn(P::pitchBendToPitch)
                          ? std::copysign(channel_->bendRange(), pitch[P::pitchBendToPitch])
                          : pitch[P::pitchBendToPitch];
  semitones += channel_->value(ChannelValue::bend) * range;
  if (usesLfo_[at(Modulator::pitch)])
    semitones += lfo_[at(Modulator::pitch)] * depthOf(P::pLfoToPitch, P::modWheelToPLfoToPitch,
                                                      P::aftertouchToPLfoToPitch, P::velocityToPLfoToPitch);
  if (usesLfo_[at(Modulator::extra)])
    semitones += lfo_[at(Modulator::extra)] * depthOf(P::xLfoToPitch, P::modWheelToXLfoToPitch,
                                                      P::aftertouchToXLfoToPitch, P::velocityToXLfoToPitch);
  if (usesEnvelope_[at(Modulator::pitch)]) semitones += envelope_[at(Modulator::pitch)] * notePitchEnvDepth_;
  if (glide_ != 0) {
    semitones += glide_;
    glide_ = glide_ > 0 ? std::max(glide_ - glideStep_, 0.0f) : std::min(glide_ + glideStep_, 0.0f);
  }
  if (loops() && position_ >= zone_->played.loop->start) semitones += zone_->played.loop->pitch;
  const double frames = static_cast<double>(pitchRatio_.of(semitones, pitchRatio)) * zone_->framesPerFrame;
  const double increment = frames * static_cast<double>(fixedOne) + 0.5;
  increment_ = static_cast<uint32_t>(std::clamp(increment, 1.0, static_cast<double>(largestIncrement)));
}

void Voice::updateFilter(const VoiceContext& context) noexcept {
  if (filterStages_ == 0) return;
  const Zone& zone = *zone_;
  float semitones = modulation_ * zone[P::modWheelToCutoff] + pressure_ * zone[P::aftertouchToCutoff];
  if (usesLfo_[at(Modulator::filter)])
    semitones += lfo_[at(Modulator::filter)] * depth(P::fLfoToCutoff, P::modWheelToFLfoToCutoff,
                                                     P::aftertouchToFLfoToCutoff, P::velocityToFLfoToCutoff);
  if (usesEnvelope_[at(Modulator::filter)])
    semitones +=
        envelope_[at(Modulator::filter)] * (zone[P::fEnvToCutoff] + velocity_ * zone[P::velocityToFEnvToCutoff]);
  const float cutoff = noteCutoff_ + semitones * lnPerSemitone;
  const float resonance =
      depth(P::filterResonance, P::modWheelToResonance, P::aftertouchToResonance, P::velocityToResonance);
  if (cutoff == cutoff_ && resonance == resonance_) return;
  cutoff_ = cutoff, resonance_ = resonance;
  std::array<FilterStage, 2> designed;
  designFilter(filterType_, exponential(cutoff), resonance, context.sampleRate, designed);
  for (int i = 0; i < filterStages_; ++i) stage(i).target = designed[static_cast<std::size_t>(i)];
}

float Voice::pan() const noexcept {
  const Zone& zone = *zone_;
  float pan = notePan_ + channel_->value(ChannelValue::pan) * zone[P::cc10ToPan];
  if (usesLfo_[at(Modulator::extra)]) pan += lfo_[at(Modulator::extra)] * zone[P::xLfoToPan];
  if (usesEnvelope_[at(Modulator::extra)]) pan += envelope_[at(Modulator::extra)] * zone[P::xEnvToPan];
  return std::clamp(pan, -1.0f, 1.0f);
}

void Voice::updateGains(const VoiceContext& context) noexcept {
  const Zone& zone = *zone_;
  float dB = noteDb_ + modulation_ * zone[P::modWheelToVolume] + pressure_ * zone[P::aftertouchToVolume];
  if (usesLfo_[at(Modulator::volume)])
    dB += lfo_[at(Modulator::volume)] *
          depth(P::vLfoToVolume, P::modWheelToVLfoToVolume, P::aftertouchToVLfoToVolume, P::velocityToVLfoToVolume);
  level_ =
      envelope_[at(Modulator::volume)] * dbGain_.of(dB, gainOfDb) * noteGain_ * channel_->value(ChannelValue::gain);
  const float gain = level_ * context.masterGain;
  const auto send = [](float amount) { return std::clamp(amount, 0.0f, 1.0f); };
  const float reverb = send(zone[P::send1Level] + zone[P::cc91ToSend1] * channel_->value(ChannelValue::reverb));
  const float chorus = send(zone[P::send2Level] + zone[P::cc92ToSend2] * channel_->tremolo() + zone[P::send3Level] +
                            zone[P::cc93ToSend3] * channel_->value(ChannelValue::chorus));
  const float toReverb = context.hasEffects ? gain * reverb : 0.0f;
  const float toChorus = context.hasEffects ? gain * chorus : 0.0f;
  const float turn = (pan() + 1) * 0.5f * quarterTurn;
  const float left = leftGain_.of(quarterTurn - turn, sineOfTurn), right = rightGain_.of(turn, sineOfTurn);
  if (channels() == 1) {
    gains_[0].target = {gain * left, gain * right, toChorus, toReverb};
    return;
  }
  // Two channels are balanced: the one side falls as a panned sound would, the other stays as it is.
  gains_[0].target = {gain * std::min(left * sqrt2, 1.0f), 0, toChorus, toReverb};
  gains_[1].target = {0, gain * std::min(right * sqrt2, 1.0f), toChorus, toReverb};
}

void Voice::finishBlock() noexcept {
  position_ += static_cast<FixedFrames>(increment_) * blockFrames;
  const PlayedSound& played = zone_->played;
  while (loops() && position_ >= played.loop->end) {
    position_ -= played.loop->length();
    hasJumped_ = true;
    if (jumpsLeft_ > 0) --jumpsLeft_;
  }
  if (!loops() && position_ >= played.end) isDone_ = true;
}

}  // namespace tervo::audio
