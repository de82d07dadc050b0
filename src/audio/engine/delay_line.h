#pragma once
// A ring of samples whose length is a power of two, read with a mask.

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "audio/engine/block.h"

namespace tervo::audio {

class DelayLine {
 public:
  /// Room for delays of up to `need` frames.
  explicit DelayLine(std::size_t need) {
    std::size_t length = 4;
    while (length <= need) length *= 2;
    samples_.resize(length);
    mask_ = length - 1;
  }

  /// What was written `delay` frames ago; 0 is written next.
  float behind(std::size_t delay) const noexcept { return samples_[(write_ - delay) & mask_]; }
  void write(float sample) noexcept {
    samples_[write_] = sample;
    write_ = (write_ + 1) & mask_;
  }
  /// A block in a row; `delay` is not below its length, so nothing of it is written while it is read.
  void readBlock(std::size_t delay, std::span<float, blockFrames> out) const noexcept {
    const std::size_t first = (write_ - delay) & mask_;
    const std::size_t untilEnd = std::min<std::size_t>(samples_.size() - first, out.size());
    std::copy_n(samples_.data() + first, untilEnd, out.data());
    std::copy_n(samples_.data(), out.size() - untilEnd, out.data() + untilEnd);
  }
  /// For lines that are only written block by block: their length is a multiple of a block.
  void writeBlock(std::span<const float, blockFrames> in) noexcept {
    std::copy(in.begin(), in.end(), samples_.data() + write_);
    write_ = (write_ + blockFrames) & mask_;
  }
  void clear() noexcept { std::fill(samples_.begin(), samples_.end(), 0.0f); }

 private:
  std::vector<float> samples_;
  std::size_t mask_ = 0;
  std::size_t write_ = 0;
};

/// Counts down the frames that an effect goes on sounding after its input has stopped.
class EffectTail {
 public:
  /// `feedback` per `delay` frames; what is below 120 dB is gone. 0 and less, and what never dies, counts as
  /// `fixedTail` delays.
  static float delaysUntilSilent(float feedback) noexcept;
  explicit EffectTail(float frames) : length_(frames) {}

  /// True while there is something to do: the block has input, or the tail still sounds.
  bool goesOn(bool hasInput) noexcept {
    left_ = hasInput ? length_ : std::max(left_ - 64.0f, 0.0f);
    return left_ > 0;
  }

 private:
  float length_;
  float left_ = 0;
};

}  // namespace tervo::audio
