#include "audio/output/waveform_player.h"

#include <algorithm>
#include <cmath>

#include "audio/output/audio_output.h"
#include "base/last_error.h"
#include "base/memory_guard.h"

namespace tervo::audio {
namespace {

/// How many frames from the first one on can be heard, and are needed around them.
int64_t framesNeeded(const Waveform& waveform, const LoopPath& path, const WaveformPlayer::Setup& setup) {
  if (setup.longestSeconds <= 0) return waveform.frames();
  constexpr double margin = 4096;  // taps, and a loop that is left
  double end = setup.startFrame + setup.longestSeconds * waveform.sampleRate * 2 + margin;
  if (path.loops()) end = std::max(end, path.loopEnd() + margin);
  return static_cast<int64_t>(std::clamp(end, 0.0, static_cast<double>(waveform.frames())));
}

}  // namespace

WaveformPlayer::Frames WaveformPlayer::load(const SampleData& samples, int64_t framesNeeded) {
  const int channels = samples.channels();
  auto memory = std::make_shared<std::vector<float>>(static_cast<std::size_t>(framesNeeded * channels));
  const auto stream = samples.open();
  std::size_t done = 0;
  while (stream && done < memory->size()) {
    const auto read = stream->read(std::span(*memory).subspan(done));
    if (!read) return {};
    if (*read == 0) break;
    done += *read * static_cast<std::size_t>(channels);
  }
  memory->resize(done);
  const std::span<const float> all(*memory);
  return {std::move(memory), all, static_cast<int64_t>(done) / channels, channels};
}

std::shared_ptr<WaveformPlayer> WaveformPlayer::create(const Waveform& waveform, const Setup& setup) {
  if (!waveform.holdsData()) return fail(u"No wave data");
  const SampleRef samples = waveform.samples;
  const LoopPath path(mainLoop(waveform), samples->frames());
  return guardMemory([&]() -> std::shared_ptr<WaveformPlayer> {
    Frames frames;
    if (const auto resident = samples->resident(); !resident.empty()) {
      frames = {samples, resident, samples->frames(), samples->channels()};
    } else {
      frames = load(*samples, framesNeeded(waveform, path, setup));
    }
    if (frames.count == 0) return nullptr;
    return std::shared_ptr<WaveformPlayer>(new WaveformPlayer(waveform, setup, path, std::move(frames)));
  });
}

WaveformPlayer::WaveformPlayer(const Waveform& waveform, const Setup& setup, LoopPath path, Frames frames)
    : path_(path),
      frames_(std::move(frames)),
      sinc_(waveform.sampleRate / setup.deviceRate),
      gain_(setup.gain),
      step_(waveform.sampleRate / setup.deviceRate),
      loopStep_(step_),
      secondsPerFrame_(1.0 / setup.deviceRate),
      now_(path_.first(setup.startFrame)),
      u_(now_.entry),
      end_(setup.deviceRate, setup.longestSeconds),
      weights_(sinc_.taps()),
      taps_(2 * sinc_.taps()) {
  if (path_.loops()) loopStep_ = step_ * std::exp2(static_cast<double>(mainLoop(waveform)->loopPitch) / 12);
  position_ = now_.frameAt(u_);
}

/// A frame of a stretch that is played, or of what is heard before or after it. Where the way jumps by fractions of a
/// frame, what lies across the jump lies between frames.
void WaveformPlayer::takeFrame(const Stretch& stretch, double u, float* frame) const noexcept {
  const double place = stretch.frameAt(u), whole = std::floor(place);
  const auto index = static_cast<int64_t>(whole);
  const auto t = static_cast<float>(place - whole);
  const auto channels = static_cast<std::size_t>(frames_.channels);
  for (std::size_t channel = 0; channel < 2; ++channel) {
    const auto at = [&](int64_t i) {
      const std::size_t sample = static_cast<std::size_t>(i) * channels + (channels > 1 ? channel : 0);
      const float x = i >= 0 && i < frames_.count ? frames_.interleaved[sample] : 0.0f;
      return std::isfinite(x) ? x : 0.0f;
    };
    frame[channel] = t == 0 ? at(index) : at(index) + t * (at(index + 1) - at(index));
  }
}

void WaveformPlayer::gather(int64_t first) noexcept {
  for (std::size_t tap = 0; tap < sinc_.taps(); ++tap) {
    const auto u = static_cast<double>(first + static_cast<int64_t>(tap));
    float* frame = &taps_[2 * tap];
    if (before_ && u < now_.entry) {
      takeFrame(*before_, std::max(before_->end - (now_.entry - u), before_->entry), frame);
    } else if (next_ && u >= now_.end) {
      takeFrame(*next_, std::min(next_->entry + (u - now_.end), std::max(next_->end - 1, next_->entry)), frame);
    } else {
      takeFrame(now_, u, frame);
    }
  }
}

/// Goes on by a step, into the stretches that follow. False at the end.
bool WaveformPlayer::advance() noexcept {
  const bool inLoop = path_.loops() && !now_.isRest && (now_.pass > 1 || now_.frameAt(u_) >= path_.loopStart());
  u_ += inLoop ? loopStep_ : step_;
  while (u_ >= now_.end) {
    const auto next = path_.after(now_, released_);
    if (!next) return false;
    u_ += next->entry - now_.end;
    before_ = now_;
    now_ = *next;
  }
  return true;
}

bool WaveformPlayer::renderFrame(float* stereo) noexcept {
  const double whole = std::floor(u_);
  const auto half = static_cast<int64_t>(sinc_.taps() / 2);
  if (u_ == whole && step_ <= 1) {
    takeFrame(now_, u_, stereo);
  } else {
    next_ = path_.after(now_, released_);
    gather(static_cast<int64_t>(whole) - (half - 1));
    sinc_.weights(u_ - whole, weights_.data());
    stereo[0] = stereo[1] = 0;
    for (std::size_t tap = 0; tap < weights_.size(); ++tap) {
      stereo[0] += weights_[tap] * taps_[2 * tap];
      stereo[1] += weights_[tap] * taps_[2 * tap + 1];
    }
  }
  const float factor = gain_ * end_.next();
  stereo[0] *= factor;
  stereo[1] *= factor;
  return advance() && !end_.isOver();
}

std::size_t WaveformPlayer::render(std::span<float> stereo) noexcept {
  std::size_t frames = 0;
  for (bool goesOn = !finished_; goesOn && frames < stereo.size() / 2;) {
    goesOn = renderFrame(&stereo[2 * frames++]);
    if (!goesOn) finished_ = true;
  }
  framesPlayed_ += static_cast<int64_t>(frames);
  position_ = now_.frameAt(u_);
  return frames;
}

std::shared_ptr<WaveformPlayer> playWaveform(AudioOutput& output, const Waveform& waveform, double startFrame,
                                             float gain, double longestSeconds) {
  if (!waveform.holdsData()) return fail(u"No wave data");
  if (!output.openFor(u"Could not open audio output device")) return nullptr;
  auto player = WaveformPlayer::create(waveform, {startFrame, gain, output.format().sampleRate, longestSeconds});
  if (!player || !output.attach(player)) return nullptr;
  return player;
}

}  // namespace tervo::audio
