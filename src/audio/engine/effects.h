#pragma once
// The effects that all voices share. Both delay what they get by some blocks, so that the wet sound of blocks is known
// before their voices are: any thread can make it while others render them.

#include <algorithm>
#include <array>

#include "audio/engine/chorus.h"
#include "audio/engine/reverb.h"
#include "audio/engine/voice_group.h"

namespace tervo::audio {

class Effects {
 public:
  static constexpr std::size_t parts = 3;  ///< that different threads may make

  explicit Effects(float sampleRate)
      : chorus_({}, sampleRate),
        left_({}, sampleRate, Reverb::Side::left),
        right_({}, sampleRate, Reverb::Side::right) {}

  /// How many blocks may be rendered together.
  int blocksTogether() const noexcept { return chorus_.blocksTogether(); }
  /// Any thread, each part once for the blocks that are rendered together: makes wet sound that mixInto() adds.
  void hear(std::size_t part, std::size_t blocks) noexcept {
    if (part == 0)
      hearAll(chorus_, chorusSend_, blocks, chorusWet_);
    else if (part == 1)
      hearAll(left_, reverbSend_, blocks, leftWet_);
    else
      hearAll(right_, reverbSend_, blocks, rightWet_);
  }
  /// The audio thread, block by block once all parts are made: adds the wet sound and keeps the sends.
  void mixInto(BusBlock& mix, std::size_t block) noexcept {
    for (std::size_t n = 0; n < blockFrames; ++n) {
      mix.bus[leftBus][n] += chorusWet_.out[block][0][n] + leftWet_.out[block][0][n];
      mix.bus[rightBus][n] += chorusWet_.out[block][1][n] + rightWet_.out[block][0][n];
    }
    std::copy_n(mix.bus[chorusBus], blockFrames, chorusSend_[block].begin());
    std::copy_n(mix.bus[reverbBus], blockFrames, reverbSend_[block].begin());
    sent_ = block + 1;
    isSettling_ = false;
  }
  /// The audio thread, behind the last block: here they go idle or begin to sound. Where that is decides about the last
  /// digits of what is heard, so it must not depend on how many blocks are rendered together.
  void settle() noexcept { isSettling_ = true; }
  bool isIdle() const noexcept {
    return chorus_.isIdle() && left_.isIdle() && right_.isIdle() && isZero(chorusSend_) && isZero(reverbSend_);
  }

 private:
  /// Of the last `sent_` blocks, which are not fed yet.
  using Send = std::array<std::array<float, blockFrames>, mostTogether>;
  template <std::size_t channels>
  struct alignas(64) Wet {
    float out[mostTogether][channels][blockFrames];
  };

  template <typename Effect, std::size_t channels>
  void hearAll(Effect& effect, const Send& send, std::size_t blocks, Wet<channels>& wet) const noexcept {
    for (std::size_t i = 0; i < sent_; ++i) effect.feed(send[i]);
    if (isSettling_) effect.settle();
    for (std::size_t i = 0; i < blocks; ++i) {
      for (auto& channel : wet.out[i]) std::fill_n(channel, blockFrames, 0.0f);
      if constexpr (channels == 2)
        effect.hear(i, wet.out[i][0], wet.out[i][1]);
      else
        effect.hear(i, wet.out[i][0]);
    }
  }
  bool isZero(const Send& send) const noexcept {
    const auto isSilent = [](const auto& block) {
      return std::all_of(block.begin(), block.end(), [](float sample) { return sample == 0; });
    };
    return std::all_of(send.begin(), send.begin() + static_cast<std::ptrdiff_t>(sent_), isSilent);
  }

  Chorus chorus_;
  Reverb left_, right_;
  std::size_t sent_ = 0;
  bool isSettling_ = false;
  Send chorusSend_, reverbSend_;
  Wet<2> chorusWet_;
  Wet<1> leftWet_, rightWet_;
};

}  // namespace tervo::audio
