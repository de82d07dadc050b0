#include "audio/render/song_performance.h"

#include <algorithm>
#include <cmath>

#include "core/midi_events.h"

namespace tervo::audio {
namespace {

constexpr float tailSilence = 3.1622777e-5f;  // -90 dB
constexpr double longestTail = 10;            // seconds
constexpr double tailWindow = 0.1;  // seconds of silence that end a tail: longer than any delay between echoes

float peakOf(std::span<const float> samples) {
  float peak = 0;
  for (const float sample : samples) peak = std::max(peak, std::fabs(sample));
  return peak;
}

}  // namespace

SongPerformance::SongPerformance(Engine& engine, const SongEvents& events, std::optional<double> tailSeconds)
    : engine_(engine),
      events_(events),
      tailSeconds_(tailSeconds),
      secondsPerBlock_(1.0 * blockFrames / engine.sampleRate()) {}

/// What the song leaves sounding ends with it.
void SongPerformance::endNotes() noexcept {
  for (uint8_t channel = 0; channel < midiChannels; ++channel) {
    const auto status = static_cast<uint8_t>(MidiStatus::controller | channel);
    engine_.execute({status, Controller::sustain, 0});
    engine_.execute({status, Controller::sostenuto, 0});
    engine_.execute({status, Controller::allNotesOff, 0});
  }
  tailEnd_ = now_ + tailSeconds_.value_or(longestTail);
}

bool SongPerformance::isTailOver() const {
  return now_ >= tailEnd_ || (!tailSeconds_ && (silent_ >= tailWindow || engine_.isSilent()));
}

bool SongPerformance::renderBlock(std::span<float, 2 * blockFrames> stereo) noexcept {
  const bool wasPlaying = isPlaying();
  if (!wasPlaying) {
    if (tailEnd_ == 0) endNotes();
    if (isTailOver()) return false;
  }
  while (next_ < events_.messages.size() && events_.messages[next_].seconds <= now_)
    engine_.execute(events_.messages[next_++].message);
  if (engine_.render(stereo) == 0) std::fill(stereo.begin(), stereo.end(), 0.0f);
  now_ += secondsPerBlock_;
  if (!wasPlaying) silent_ = peakOf(stereo) < tailSilence ? silent_ + secondsPerBlock_ : 0.0;
  return true;
}

}  // namespace tervo::audio
