#include "audio/engine/zone.h"

#include <algorithm>
#include <cmath>

#include "audio/engine/units.h"
#include "core/levels.h"
#include "core/parameter_table.h"

namespace tervo::audio {
namespace {

using P = ParameterId;

constexpr float quarterTurn = 0.25f;

/// How far `value` has come across a fade of `width` that is centred between two keys or velocities.
float faded(float value, float edge, float width, float direction) {
  if (width <= 0) return (value - edge) * direction >= 0 ? 1.0f : 0.0f;
  return std::clamp((value - edge) * direction / width + 0.5f, 0.0f, 1.0f);
}

}  // namespace

class ZoneMaker {
 public:
  explicit ZoneMaker(const Region& region) : region_(region) {}

  bool make(Zone& zone, int layer, uint32_t engineRate, SoundCopies& sounds, const PlayedNotes* notes) {
    for (int i = 0; i < parameterCount; ++i)
      zone.rows_[static_cast<std::size_t>(i)] = effectiveValue(region_, static_cast<P>(i));
    const float trigger = std::clamp(zone[P::triggerType], 0.0f, static_cast<float>(TriggerType::never));
    zone.trigger_ = static_cast<TriggerType>(static_cast<int>(trigger));
    zone.layer = layer;
    zone.rootKey = rootKeyOf(region_);
    zone.tuning = zone[P::masterTuning];
    zone.gainDb = zone[P::masterVolume];
    if (const Waveform* waveform = findItem<Waveform>(region_.waveform)) {
      zone.framesPerFrame = waveform->sampleRate / engineRate;
      zone.tuning += waveform->fineTune * 0.01f;
      zone.gainDb += waveform->gain;
    }
    return (notes && !notes->reach(zone)) || sounds.copyFor(region_, zone.played);
  }

 private:
  const Region& region_;
};

float Zone::fadeAt(int key, int velocity) const {
  const auto fade = [this](float value, P low, P high, P in, P out, P formula) {
    const float rise = faded(value, (*this)[low] - 0.5f, (*this)[in], 1);
    const float fall = faded(value, (*this)[high] + 0.5f, (*this)[out], -1);
    const float gain = rise * fall;
    return isOn(formula) || gain == 1 ? gain : sineOfTurn(gain * quarterTurn);
  };
  return fade(static_cast<float>(key), P::triggerLowKey, P::triggerHighKey, P::triggerKeyFadeIn, P::triggerKeyFadeOut,
              P::triggerKeyFadeFormula) *
         fade(static_cast<float>(velocity), P::triggerLowVelocity, P::triggerHighVelocity, P::triggerVelocityFadeIn,
              P::triggerVelocityFadeOut, P::triggerVelocityFadeFormula);
}

bool PlayedNotes::reach(const Zone& zone) const {
  // What a pedal starts has neither key nor velocity.
  if (zone.trigger() >= TriggerType::sustainPress && zone.trigger() <= TriggerType::softRelease) return true;
  for (int key = 0; key < 128; ++key) {
    const auto& velocities = velocities_[static_cast<std::size_t>(key)];
    for (int velocity = 1; velocities.any() && velocity < 128; ++velocity)
      if (velocities[static_cast<std::size_t>(velocity)] && zone.fadeAt(key, velocity) > 0) return true;
  }
  return false;
}

std::shared_ptr<const SoundInstrument> copyInstrument(const Instrument& instrument, uint32_t engineRate,
                                                      SoundCopies& sounds, const PlayedNotes* notes) {
  sounds.forgetUnused();
  auto copy = std::make_shared<SoundInstrument>();
  copy->number = packedNumber(instrument);
  copy->zones.reserve(instrument.regionCount());
  for (const auto& layer : instrument.layers()) {
    for (const auto& region : layer->regions()) {
      Zone& zone = copy->zones.emplace_back();
      if (!ZoneMaker(*region).make(zone, copy->layers, engineRate, sounds, notes)) return nullptr;
    }
    ++copy->layers;
  }
  return copy;
}

}  // namespace tervo::audio
