#include "audio/engine/chorus.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tervo::audio {
namespace {

constexpr float noDenormal = 1e-18f;
constexpr float neighbours = 3;  // frames that the interpolation reads beside the place

/// Bounds what is fed back: straight up to half, then bending over to 1.
float softClip(float x) noexcept {
  const float size = std::min(std::fabs(x), 1.5f), over = std::max(size - 0.5f, 0.0f);
  return std::copysign(size - over * over / 2, x);
}

/// Four-point, third-order interpolation (Catmull-Rom) at fraction t behind p[1].
Quad cubic(const Quad (&p)[4], Quad t) noexcept {
  return p[1] + t * (0.5f * (p[2] - p[0]) + t * ((p[0] - 2.5f * p[1] + 2.0f * p[2] - 0.5f * p[3]) +
                                                 t * 0.5f * (3.0f * (p[1] - p[2]) + p[3] - p[0])));
}

}  // namespace

float EffectTail::delaysUntilSilent(float feedback) noexcept {
  constexpr float fixedTail = 20000, lnOf120Db = 13.815511f;
  return feedback <= 0 || feedback >= 1 ? fixedTail : -lnOf120Db / logarithm(feedback);
}

Chorus::Chorus(const ChorusSettings& settings, float sampleRate)
    : settings_(settings),
      sampleRate_(sampleRate),
      lines_{DelayLine(static_cast<std::size_t>((settings.delaySeconds + settings.depthSeconds) * sampleRate) + 4),
             DelayLine(static_cast<std::size_t>((settings.delaySeconds + settings.depthSeconds) * sampleRate) + 4)},
      tail_(EffectTail::delaysUntilSilent(settings.feedback) * (settings.delaySeconds + settings.depthSeconds) *
            sampleRate) {
  for (std::size_t i = 0; i < all; ++i) {
    // The right channel starts half a turn after the left, the taps share the turn between them.
    phases_[i] = 0.5f * static_cast<float>(i / taps) + static_cast<float>(i % taps) / taps / 2;
    delays_[i] = delayAt(phases_[i]);
  }
}

float Chorus::delayAt(float phase) const noexcept {
  constexpr float shortest = blockFrames + neighbours;  // a block is read before it is written
  return std::max((settings_.delaySeconds + settings_.depthSeconds * sineOfTurn(phase)) * sampleRate_, shortest);
}

int Chorus::blocksTogether() const noexcept {
  const float shortest = (settings_.delaySeconds - settings_.depthSeconds) * sampleRate_ - neighbours;
  return std::clamp(static_cast<int>(shortest) / blockFrames, 1, mostTogether);
}

void Chorus::readTaps(std::size_t ahead, float (&wet)[sides][blockFrames]) noexcept {
  const float* frames[all];
  Quad position{}, step{};
  for (std::size_t i = 0; i < all; ++i) {
    phases_[i] += settings_.hertz * blockFrames / sampleRate_;
    phases_[i] -= std::floor(phases_[i]);
    const float before = std::exchange(delays_[i], delayAt(phases_[i]));
    const float whole = std::ceil(before);
    frames[i] = lines_[i / taps].read(static_cast<std::size_t>(whole) + 1, ahead);
    position[i] = whole - before;
    step[i] = 1 - (delays_[i] - before) * (1.0f / blockFrames);
  }
  for (std::size_t n = 0; n < blockFrames; n += 4) {
    Quad heard[4];
    for (Quad& each : heard) {
      const IntQuad index = __builtin_convertvector(position, IntQuad);
      Quad p[4];
      for (std::size_t i = 0; i < all; ++i) p[i] = loadQuad(frames[i] + index[i]);
      transpose(p);
      each = cubic(p, position - __builtin_convertvector(index, Quad));
      position += step;
    }
    transpose(heard);  // from all taps of a frame to four frames of a tap
    for (std::size_t side = 0; side < sides; ++side)
      store((heard[side * taps] + heard[side * taps + 1]) * (1.0f / taps), wet[side] + n);
  }
}

void Chorus::hear(std::size_t ahead, std::span<float, blockFrames> left, std::span<float, blockFrames> right) noexcept {
  if (!isRunning_) return;
  float wet[sides][blockFrames];
  readTaps(ahead, wet);
  for (std::size_t side = 0; side < sides; ++side) {
    const std::span<float, blockFrames> out = side == 0 ? left : right;
    float* next = lines_[side].next(ahead);
    for (std::size_t n = 0; n < blockFrames; ++n) {
      next[n] = settings_.feedback * wet[side][n];
      out[n] += settings_.level * wet[side][n];
    }
  }
}

void Chorus::feed(std::span<const float, blockFrames> in) noexcept {
  const bool hasInput = std::any_of(in.begin(), in.end(), [](float x) { return x != 0; });
  if (!tail_.goesOn(hasInput) && !isRunning_) return;
  for (DelayLine& line : lines_) {
    float* next = line.next();
    for (std::size_t n = 0; n < blockFrames; ++n) next[n] = softClip(next[n] + in[n] + noDenormal) - noDenormal;
    line.written();
  }
}

void Chorus::settle() noexcept {
  const bool wasRunning = std::exchange(isRunning_, tail_.isHeard());
  if (wasRunning && !isRunning_)
    for (DelayLine& line : lines_) line.clear();
}

}  // namespace tervo::audio
