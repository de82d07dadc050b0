#pragma once
// A ring of samples whose length is a power of two, read with a mask and written block by block.

#include <algorithm>
#include <cstddef>
#include <vector>

#include "audio/engine/block.h"

namespace tervo::audio {

class DelayLine {
 public:
  static constexpr std::size_t inARow = 2 * blockFrames;

  /// Room for delays of up to `need` frames.
  explicit DelayLine(std::size_t need) {
    need = std::max<std::size_t>(need, blockFrames);
    std::size_t length = 4;
    while (length <= need) length *= 2;
    samples_.resize(length + inARow);
    mask_ = length - 1;
  }

  /// What was written `delay` frames before the block that is written next, or so many blocks behind that one, and
  /// what follows: `inARow` frames, as far as they are written. With delays of at least a block, frame n may be read
  /// when frame n of the next block is put in.
  const float* read(std::size_t delay, std::size_t ahead = 0) const noexcept {
    return samples_.data() + ((write_ + ahead * blockFrames - delay) & mask_);
  }
  /// Where the next block is to be put before written() is called, or so many blocks behind that one.
  float* next(std::size_t ahead = 0) noexcept { return samples_.data() + ((write_ + ahead * blockFrames) & mask_); }
  void written() noexcept {
    // The first frames stand behind the last ones too, so that none of them is the end of a row.
    if (write_ < inARow) std::copy_n(next(), blockFrames, next() + mask_ + 1);
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
    return isHeard();
  }
  bool isHeard() const noexcept { return left_ > 0; }

 private:
  float length_;
  float left_ = 0;
};

}  // namespace tervo::audio
