#include "audio/engine/reverb.h"

#include <algorithm>
#include <utility>

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

std::size_t scaledLength(int length, Reverb::Side side, float sampleRate) {
  const int atPerLengthRate = side == Reverb::Side::left ? length : length + stereoSpread;
  const float frames = static_cast<float>(atPerLengthRate) * sampleRate * perLengthRate;
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

Reverb::Reverb(const ReverbSettings& settings, float sampleRate, Side side)
    : feedback_(settings.room * 0.28f + 0.7f),
      damping_(settings.damp * 0.4f),
      level_(settings.level),
      tail_(EffectTail::delaysUntilSilent(feedback_) *
            static_cast<float>(scaledLength(combLengths[combCount - 1], Side::right, sampleRate))) {
  for (const int frames : combLengths) combs_.emplace_back(scaledLength(frames, side, sampleRate));
  for (const int frames : allPassLengths) allPasses_.emplace_back(scaledLength(frames, side, sampleRate));
}

/// All combs side by side, because the damping of each goes from frame to frame. What they feed back waits
/// in their lines for the input.
void Reverb::combBlock(std::size_t ahead, float (&wet)[blockFrames]) noexcept {
  const Quad keep = quadOf(damping_), pass = quadOf(1 - damping_), feedback = quadOf(feedback_);
  const float* from[combCount];
  float* to[combCount];
  for (std::size_t i = 0; i < combCount; ++i) {
    from[i] = combs_[i].read(ahead);
    to[i] = combs_[i].line.next(ahead);
  }
  Quad low = damped_[0], high = damped_[1];
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
  damped_[0] = low;
  damped_[1] = high;
}

void Reverb::hear(std::size_t ahead, std::span<float, blockFrames> out) noexcept {
  if (!isRunning_) return;
  alignas(16) float wet[blockFrames];
  combBlock(ahead, wet);
  for (Delay& allPass : allPasses_) {
    passBlock(allPass.read(), allPass.line.next(), wet);
    allPass.line.written();
  }
  for (std::size_t n = 0; n < blockFrames; ++n) out[n] += level_ * wet[n];
}

void Reverb::feed(std::span<const float, blockFrames> in) noexcept {
  const bool hasInput = std::any_of(in.begin(), in.end(), [](float x) { return x != 0; });
  if (!tail_.goesOn(hasInput) && !isRunning_) return;
  for (Delay& comb : combs_) {
    float* const fedBack = comb.line.next();
    if (hasInput)
      for (std::size_t n = 0; n < blockFrames; ++n) fedBack[n] += in[n] * inputGain;
    comb.line.written();
  }
}

void Reverb::settle() noexcept {
  const bool wasRunning = std::exchange(isRunning_, tail_.isHeard());
  if (!wasRunning || isRunning_) return;
  for (Delay& comb : combs_) comb.line.clear();
  for (Delay& allPass : allPasses_) allPass.line.clear();
  damped_[0] = damped_[1] = Quad{};
}

}  // namespace tervo::audio
