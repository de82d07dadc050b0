// The frames that a voice is about to play, in a row: loops unrolled, silence in front and behind.

#include <algorithm>

#include "audio/engine/voice.h"

namespace tervo::audio {
namespace {

/// At a position between frames, as the oscillator interpolates.
float cubicAt(const std::vector<float>& frames, FixedFrames position) noexcept {
  const auto count = static_cast<int64_t>(frames.size());
  const int64_t index = position >> fixedBits;
  const auto at = [&](int64_t i) { return i < 0 || i >= count ? 0.0f : frames[static_cast<std::size_t>(i)]; };
  const float t = static_cast<float>(position & (fixedOne - 1)) / static_cast<float>(fixedOne);
  if (t == 0) return at(index);
  const float p0 = at(index - 1), p1 = at(index), p2 = at(index + 1), p3 = at(index + 2);
  return p1 +
         t * (0.5f * (p2 - p0) + t * ((p0 - 2.5f * p1 + 2 * p2 - 0.5f * p3) + t * 0.5f * (3 * (p1 - p2) + p3 - p0)));
}

}  // namespace

/// The frame with a number that counts on behind the loop's end, and back before its start once it has jumped.
float Voice::frameAt(const std::vector<float>& frames, int64_t index) const noexcept {
  const PlayedSound& played = zone_->played;
  FixedFrames position = index << fixedBits;
  if (played.loop) {
    const PlayedLoop& loop = *played.loop;
    if (jumpsLeft_ != 0 && position >= loop.end) {
      int64_t jumps = (position - loop.start) / loop.length();
      if (jumpsLeft_ > 0) jumps = std::min<int64_t>(jumps, jumpsLeft_);
      return cubicAt(frames, position - jumps * loop.length());
    }
    if (hasJumped_ && position < loop.start) {
      const int64_t jumps = (loop.start - position + loop.length() - 1) / loop.length();
      return cubicAt(frames, position + jumps * loop.length());
    }
  }
  return position < 0 || position >= played.end ? 0.0f : frames[static_cast<std::size_t>(index)];
}

const float* Voice::window(int channel, int before, int behind, float* scratch) const noexcept {
  const PlayedSound& played = zone_->played;
  const std::vector<float>& frames = played.sound->channel[channel];
  const int64_t first = (position_ >> fixedBits) - before;
  const int64_t last = ((position_ + static_cast<FixedFrames>(increment_) * (blockFrames - 1)) >> fixedBits) + behind;
  const FixedFrames end = loops() ? std::min(played.loop->end, played.end) : played.end;
  const FixedFrames begin = hasJumped_ ? played.loop->start : 0;
  if ((first << fixedBits) >= begin && (last << fixedBits) < end) return frames.data() + first;
  for (int64_t i = first; i <= last; ++i) scratch[i - first] = frameAt(frames, i);
  return scratch;
}

}  // namespace tervo::audio
