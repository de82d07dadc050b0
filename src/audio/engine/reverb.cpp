#include "audio/engine/reverb.h"

#include <algorithm>

namespace tervo::audio {
namespace {

// At 44100 Hz. The right channel's are longer by the spread.
constexpr int combLengths[] = {1116, 1188, 1277, 1356, 1422, 1491, 1557, 1617};
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

}  // namespace

Reverb::Reverb(const ReverbSettings& settings, float sampleRate)
    : feedback_(settings.room * 0.28f + 0.7f),
      damping_(settings.damp * 0.4f),
      level_(settings.level),
      tail_(EffectTail::delaysUntilSilent(feedback_) *
            static_cast<float>(scaledLength(combLengths[combs - 1], channels - 1, sampleRate))) {
  for (std::size_t i = 0; i < lines; ++i) {
    delays_[i] = scaledLength(combLengths[i % combs], i / combs, sampleRate);
    combs_.emplace_back(delays_[i]);
  }
  for (std::size_t c = 0; c < channels; ++c)
    for (const int frames : allPassLengths) allPasses_[c].emplace_back(scaledLength(frames, c, sampleRate));
}

void Reverb::clear() noexcept {
  for (DelayLine& comb : combs_) comb.clear();
  for (auto& channel : allPasses_)
    for (AllPass& allPass : channel) allPass.line.clear();
  damped_ = {};
}

void Reverb::combBlock(std::span<const float, blockFrames> in, float (&wet)[channels][blockFrames]) noexcept {
  // Delays are longer than a block, so what is read here was written before. Frame by frame all lines side by side,
  // because the damping of each goes from frame to frame.
  alignas(32) float taps[blockFrames][lines];
  for (std::size_t i = 0; i < lines; ++i) {
    float line[blockFrames];
    combs_[i].readBlock(delays_[i], line);
    for (std::size_t n = 0; n < blockFrames; ++n) taps[n][i] = line[n];
  }
  const float keep = damping_, pass = 1 - damping_;
  for (std::size_t n = 0; n < blockFrames; ++n) {
    float* tap = taps[n];
    for (std::size_t c = 0; c < channels; ++c) {
      const float* t = tap + c * combs;
      wet[c][n] = ((t[0] + t[1]) + (t[2] + t[3])) + ((t[4] + t[5]) + (t[6] + t[7]));
    }
    const float input = in[n] * inputGain;
    for (std::size_t i = 0; i < lines; ++i) {
      damped_[i] = tap[i] * pass + damped_[i] * keep;
      tap[i] = input + damped_[i] * feedback_;
    }
  }
  for (std::size_t i = 0; i < lines; ++i) {
    float line[blockFrames];
    for (std::size_t n = 0; n < blockFrames; ++n) line[n] = taps[n][i];
    combs_[i].writeBlock(line);
  }
}

void Reverb::process(std::span<const float, blockFrames> in, std::span<float, blockFrames> left,
                     std::span<float, blockFrames> right) noexcept {
  const bool hasInput = std::any_of(in.begin(), in.end(), [](float x) { return x != 0; });
  const bool wasRunning = isRunning_;
  isRunning_ = tail_.goesOn(hasInput);
  if (!isRunning_) {
    if (wasRunning) clear();
    return;
  }
  float wet[channels][blockFrames];
  combBlock(in, wet);
  for (std::size_t c = 0; c < channels; ++c) {
    for (AllPass& allPass : allPasses_[c]) {
      float delayed[blockFrames], kept[blockFrames];
      allPass.line.readBlock(allPass.delay, delayed);
      for (std::size_t n = 0; n < blockFrames; ++n) {
        kept[n] = wet[c][n] + delayed[n] * allPassGain;
        wet[c][n] = delayed[n] - wet[c][n];
      }
      allPass.line.writeBlock(kept);
    }
  }
  for (std::size_t n = 0; n < blockFrames; ++n) left[n] += level_ * wet[0][n];
  for (std::size_t n = 0; n < blockFrames; ++n) right[n] += level_ * wet[1][n];
}

}  // namespace tervo::audio
