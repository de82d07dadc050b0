#include "audio/render/song_performance.h"

#include <algorithm>

#include "core/midi_events.h"
#include "dsp/frame_kernels.h"

namespace tervo::audio {
namespace {

constexpr float tailSilence = 3.1622777e-5f;  // -90 dB
constexpr double longestTail = 10;            // seconds
constexpr double tailWindow = 0.1;  // seconds of silence that end a tail: longer than any delay between echoes

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
  tailEnd_ = seconds() + tailSeconds_.value_or(longestTail);
}

bool SongPerformance::isTailOver() const {
  return seconds() >= tailEnd_ || (!tailSeconds_ && (silent_ >= tailWindow || engine_.isSilent()));
}

/// False when nobody wants to wait for the rest. A single event may start a thousand voices.
bool SongPerformance::executeDue() noexcept {
  constexpr int eventsAtOnce = 64;
  for (int done = 0; next_ < events_.messages.size() && events_.messages[next_].seconds <= seconds(); ++done) {
    if (done > 0 && done % eventsAtOnce == 0 && mayGoOn_ && !mayGoOn_()) return false;
    engine_.execute(events_.messages[next_++].message);
  }
  return true;
}

/// How many blocks from here on nothing is due in but in the first. The tail is looked at block by block.
std::size_t SongPerformance::blocksUntilEvent(std::size_t most) const noexcept {
  if (tailEnd_ > 0) return 1;
  const double end = next_ < events_.messages.size() ? events_.messages[next_].seconds : events_.seconds;
  std::size_t blocks = 1;
  while (blocks < most && static_cast<double>(block_ + static_cast<int64_t>(blocks)) * secondsPerBlock_ < end) ++blocks;
  return blocks;
}

std::size_t SongPerformance::renderBlocks(std::span<float> stereo) noexcept {
  const bool wasPlaying = isPlaying();
  if (!wasPlaying) {
    if (tailEnd_ == 0) endNotes();
    if (isTailOver()) return 0;
  }
  if (!executeDue()) return 0;
  const std::size_t blocks = blocksUntilEvent(stereo.size() / (2 * blockFrames));
  stereo = stereo.first(blocks * 2 * blockFrames);
  if (engine_.render(stereo) == 0) std::fill(stereo.begin(), stereo.end(), 0.0f);
  block_ += static_cast<int64_t>(blocks);
  const float peak = dsp::peakOf(stereo);
  loudest_ = std::max(loudest_, peak);
  if (!wasPlaying) silent_ = peak <= std::min(loudest_, 1.0f) * tailSilence ? silent_ + secondsPerBlock_ : 0.0;
  return stereo.size() / 2;
}

int64_t SongPerformance::skipSilence() noexcept {
  if (!engine_.isAtRest()) return 0;
  const double until = next_ < events_.messages.size() ? events_.messages[next_].seconds : events_.seconds;
  const int64_t blocks = std::max<int64_t>(static_cast<int64_t>(until / secondsPerBlock_) - block_, 0);
  block_ += blocks;
  return blocks;
}

}  // namespace tervo::audio
