#include "audio/engine/reverb.h"

#include <algorithm>

namespace tervo::audio {
namespace {

// At 44100 Hz. The right channel's are longer by the spread.
constexpr std::size_t combCount = 8;
constexpr int combLengths[combCount] = {1116, 1188, 1277, 1356, 1422, 1491, 1557, 1617};
constexpr int allPassLengths[] = {556, 441, 341, 225};
constexpr int stereoSpread = 23;
constexpr float perLengthRate = 2.2675737e-5f;  // 1 / 44100
constexpr float inputGain = 0.045f;             // eight combs add up
constexpr float allPassGain = 0.5f;

std::size_t scaledLength(int length, std::size_t channel, float sampleRate) {
  const float frames =
      static_cast<float>(length + stereoSpread * static_cast<int>(channel)) * sampleRate * perLengthRate;
  // A block is read before it is written.
  return std::max(static_cast<std::size_t>(frames), static_cast<std::size_t>(blockFrames));
}

void passBlock(const float* delayed, float* kept, float (&wet)[blockFrames]) noexcept {
  const Quad gain = quadOf(allPassGain);
  for (std::size_t n = 0; n < blockFrames; n += 4) {
    const Quad before = loadQuad(delayed + n), now = loadQuad(wet + n);
    store(now + before * gain, kept + n);
    store(before - now, wet + n);
  }
}

}  // namespace

Reverb::Reverb(const ReverbSettings& settings, float sampleRate)
    : feedback_(settings.room * 0.28f + 0.7f),
      damping_(settings.damp * 0.4f),
      level_(settings.level),
      tail_(EffectTail::delaysUntilSilent(feedback_) *
            static_cast<float>(scaledLength(combLengths[combCount - 1], channels - 1, sampleRate))) {
  for (std::size_t c = 0; c < channels; ++c) {
    for (const int frames : combLengths) channels_[c].combs.emplace_back(scaledLength(frames, c, sampleRate));
    for (const int frames : allPassLengths) channels_[c].allPasses.emplace_back(scaledLength(frames, c, sampleRate));
  }
}

void Reverb::clear() noexcept {
  for (Channel& channel : channels_) {
    for (Delay& comb : channel.combs) comb.line.clear();
    for (Delay& allPass : channel.allPasses) allPass.line.clear();
    channel.damped[0] = channel.damped[1] = Quad{};
  }
}

/// All combs of a channel side by side, because the damping of each goes from frame to frame. What they feed back waits
/// in their lines for the input.
void Reverb::combBlock(Channel& channel, float (&wet)[blockFrames]) const noexcept {
  const Quad keep = quadOf(damping_), pass = quadOf(1 - damping_), feedback = quadOf(feedback_);
  const float* from[combCount];
  float* to[combCount];
  for (std::size_t i = 0; i < combCount; ++i) {
    from[i] = channel.combs[i].read();
    to[i] = channel.combs[i].line.next();
  }
  Quad low = channel.damped[0], high = channel.damped[1];
  for (std::size_t n = 0; n < blockFrames; n += 4) {
    Quad first[4], second[4], sum[4];
    for (std::size_t i = 0; i < 4; ++i) {
      first[i] = loadQuad(from[i] + n);
      second[i] = loadQuad(from[i + 4] + n);
    }
    transpose(first), transpose(second);  // from four frames of a comb to four combs of a frame
    for (std::size_t i = 0; i < 4; ++i) {
      sum[i] = first[i] + second[i];
      low = first[i] * pass + low * keep;
      high = second[i] * pass + high * keep;
      first[i] = low * feedback;
      second[i] = high * feedback;
    }
    transpose(first), transpose(second), transpose(sum);
    for (std::size_t i = 0; i < 4; ++i) {
      store(first[i], to[i] + n);
      store(second[i], to[i + 4] + n);
    }
    store((sum[0] + sum[1]) + (sum[2] + sum[3]), wet + n);
  }
  channel.damped[0] = low;
  channel.damped[1] = high;
}

void Reverb::hear(std::span<float, blockFrames> left, std::span<float, blockFrames> right) noexcept {
  if (!isRunning_) return;
  for (std::size_t c = 0; c < channels; ++c) {
    alignas(16) float wet[blockFrames];
    combBlock(channels_[c], wet);
    for (Delay& allPass : channels_[c].allPasses) {
      passBlock(allPass.read(), allPass.line.next(), wet);
      allPass.line.written();
    }
    const std::span<float, blockFrames> out = c == 0 ? left : right;
    for (std::size_t n = 0; n < blockFrames; ++n) out[n] += level_ * wet[n];
  }
}

void Reverb::feed(std::span<const float, blockFrames> in) noexcept {
  const bool hasInput = std::any_of(in.begin(), in.end(), [](float x) { return x != 0; });
  const bool wasRunning = isRunning_;
  isRunning_ = tail_.goesOn(hasInput);
  if (!isRunning_) {
    if (wasRunning) clear();
    return;
  }
  for (Channel& channel : channels_) {
    for (Delay& comb : channel.combs) {
      float* const fedBack = comb.line.next();
      if (hasInput)
        for (std::size_t n = 0; n < blockFrames; ++n) fedBack[n] += in[n] * inputGain;
      comb.line.written();
    }
  }
}

}  // namespace tervo::audio
