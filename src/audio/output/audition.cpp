#include "audio/output/audition.h"

#include <algorithm>
#include <cstdlib>

#include "audio/output/note_messages.h"
#include "audio/output/output_format.h"
#include "audio/output/synth_front.h"
#include "audio/output/waveform_player.h"
#include "core/instrument.h"
#include "core/levels.h"

namespace tervo::audio {
namespace {

constexpr double auditionSeconds = 1;
constexpr int wantedKey = 60;  // middle C

}  // namespace

uint8_t auditionKey(const Instrument& instrument) {
  int best = -1;
  for (const auto& layer : instrument.layers()) {
    for (const auto& region : layer->regions()) {
      const Range keys = keyRange(*region);
      const int key = std::clamp<int>(wantedKey, std::min(keys.low, keys.high), std::max(keys.low, keys.high));
      if (best < 0 || std::abs(key - wantedKey) < std::abs(best - wantedKey)) best = key;
    }
  }
  return static_cast<uint8_t>(best < 0 ? wantedKey : best);
}

bool Audition::play(const Waveform& waveform) {
  player_ = playWaveform(output_, waveform, 0, gainOf(settings_.aio.waveGain), auditionSeconds);
  return player_ != nullptr;
}

bool Audition::play(const Instrument& instrument) {
  SynthFront::Setup setup;
  setup.outputGain = gainOf(settings_.aio.mixGain);
  setup.voices = std::clamp(settings_.mid2wav.maxPolyphony, 1, 4096);
  setup.hasEffects = settings_.mid2wav.effects != 0;
  synth_ = startSynth(output_, setup);
  const uint8_t channel = instrument.drum ? drumChannel : melodicChannel;
  if (!synth_ || !synth_->engine().loadInstrumentAs(instrument, numberOnChannel(channel), Loading::stopped))
    return false;
  synth_->perform(notesInTurn({{auditionKey(instrument)}}, 100, channel, auditionSeconds), std::nullopt);
  synth_->endAfter(auditionSeconds);
  return output_.attach(synth_);
}

bool Audition::selected(const Item& item) {
  const auto* waveform = dynamic_cast<const Waveform*>(&item);
  const auto* instrument = dynamic_cast<const Instrument*>(&item);
  stop();
  if (waveform && settings_.aio.playWaveOnClick) return play(*waveform);
  if (instrument && settings_.aio.playCollOnClick) return play(*instrument);
  return true;
}

void Audition::stop() {
  if (player_) player_->stop();
  if (synth_) synth_->stop();
  player_.reset();
  synth_.reset();
}

}  // namespace tervo::audio
