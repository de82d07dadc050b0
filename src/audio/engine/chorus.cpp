#include "audio/engine/chorus.h"

#include <cmath>

namespace tervo::audio {
namespace {

constexpr float noDenormal = 1e-18f;

/// Bounds what is fed back: straight up to half, then bending over to 1.
float softClip(float x) noexcept {
  const float size = std::fabs(x);
  if (size <= 0.5f) return x;
  const float bent = size < 1.5f ? size - (size - 0.5f) * (size - 0.5f) / 2 : 1.0f;
  return std::copysign(bent, x);
}

float readCubic(const DelayLine& line, float delay) noexcept {
  const auto whole = static_cast<std::size_t>(delay);
  const float t = 1 - (delay - static_cast<float>(whole));
  const float p0 = line.behind(whole + 2), p1 = line.behind(whole + 1), p2 = line.behind(whole),
              p3 = line.behind(whole - 1);
  return p1 +
         t * (0.5f * (p2 - p0) + t * ((p0 - 2.5f * p1 + 2 * p2 - 0.5f * p3) + t * 0.5f * (3 * (p1 - p2) + p3 - p0)));
}

}  // namespace

float EffectTail::delaysUntilSilent(float feedback) noexcept {
  constexpr float fixedTail = 20000, lnOf120Db = 13.815511f;
  return feedback <= 0 || feedback >= 1 ? fixedTail : -lnOf120Db / logarithm(feedback);
}

Chorus::Chorus(const ChorusSettings& settings, float sampleRate)
    : settings_(settings),
      sampleRate_(sampleRate),
      sides_{Side(static_cast<std::size_t>((settings.delaySeconds + settings.depthSeconds) * sampleRate) + 4),
             Side(static_cast<std::size_t>((settings.delaySeconds + settings.depthSeconds) * sampleRate) + 4)},
      tail_(EffectTail::delaysUntilSilent(settings.feedback) * (settings.delaySeconds + settings.depthSeconds) *
            sampleRate) {
  for (std::size_t s = 0; s < sides_.size(); ++s) {
    for (std::size_t t = 0; t < taps; ++t) {
      // The right channel starts half a turn after the left, the taps share the turn between them.
      const float phase = 0.5f * static_cast<float>(s) + static_cast<float>(t) / taps / 2;
      sides_[s].tap[t] = {phase, delayAt(phase)};
    }
  }
}

float Chorus::delayAt(float phase) const noexcept {
  return (settings_.delaySeconds + settings_.depthSeconds * sineOfTurn(phase)) * sampleRate_;
}

void Chorus::processSide(Side& side, std::span<const float, blockFrames> in,
                         std::span<float, blockFrames> out) noexcept {
  std::array<float, taps> delay, step;
  for (std::size_t t = 0; t < taps; ++t) {
    Tap& tap = side.tap[t];
    tap.phase += settings_.hertz * blockFrames / sampleRate_;
    tap.phase -= std::floor(tap.phase);
    delay[t] = tap.delay;
    tap.delay = delayAt(tap.phase);
    step[t] = (tap.delay - delay[t]) * (1.0f / blockFrames);
  }
  for (std::size_t n = 0; n < blockFrames; ++n) {
    float wet = 0;
    for (std::size_t t = 0; t < taps; ++t) {
      wet += readCubic(side.line, delay[t]);
      delay[t] += step[t];
    }
    wet *= 1.0f / taps;
    const float fed = settings_.feedback * wet + in[n];
    side.line.write(softClip(fed + noDenormal) - noDenormal);
    out[n] += settings_.level * wet;
  }
}

void Chorus::process(std::span<const float, blockFrames> in, std::span<float, blockFrames> left,
                     std::span<float, blockFrames> right) noexcept {
  const bool hasInput = std::any_of(in.begin(), in.end(), [](float x) { return x != 0; });
  const bool wasRunning = isRunning_;
  isRunning_ = tail_.goesOn(hasInput);
  if (!isRunning_) {
    if (wasRunning)
      for (Side& side : sides_) side.line.clear();
    return;
  }
  processSide(sides_[0], in, left);
  processSide(sides_[1], in, right);
}

}  // namespace tervo::audio
