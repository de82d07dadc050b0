#pragma once
// The effects that all voices share. Both delay what they get by more than a block, so that the wet sound of a block is
// known before its voices are: any thread can make it while others render them.

#include <algorithm>

#include "audio/engine/chorus.h"
#include "audio/engine/reverb.h"
#include "audio/engine/voice_group.h"

namespace tervo::audio {

class Effects {
 public:
  explicit Effects(float sampleRate) : chorus_({}, sampleRate), reverb_({}, sampleRate) {}

  // Each by any one thread, once a block: make the wet sound that mixInto() adds.
  void hearChorus() noexcept { hear(chorus_, chorusBlock_); }
  void hearReverb() noexcept { hear(reverb_, reverbBlock_); }
  /// The audio thread, once all of the block is made: adds the wet sound and keeps the sends.
  void mixInto(BusBlock& mix) noexcept {
    for (std::size_t n = 0; n < blockFrames; ++n) {
      mix.bus[leftBus][n] += chorusBlock_.left[n] + reverbBlock_.left[n];
      mix.bus[rightBus][n] += chorusBlock_.right[n] + reverbBlock_.right[n];
    }
    std::copy_n(mix.bus[chorusBus], blockFrames, chorusBlock_.send);
    std::copy_n(mix.bus[reverbBus], blockFrames, reverbBlock_.send);
  }
  bool isIdle() const noexcept {
    return chorus_.isIdle() && reverb_.isIdle() && chorusBlock_.isSendZero() && reverbBlock_.isSendZero();
  }

 private:
  /// What threads hand to each other.
  struct alignas(64) Block {
    float send[blockFrames] = {};  ///< of the last block
    float left[blockFrames] = {}, right[blockFrames] = {};

    bool isSendZero() const noexcept {
      return std::all_of(send, send + blockFrames, [](float sample) { return sample == 0; });
    }
  };
  template <typename Effect>
  static void hear(Effect& effect, Block& block) noexcept {
    std::fill_n(block.left, blockFrames, 0.0f);
    std::fill_n(block.right, blockFrames, 0.0f);
    effect.feed(block.send);
    effect.hear(block.left, block.right);
  }

  Chorus chorus_;
  Reverb reverb_;
  Block chorusBlock_, reverbBlock_;
};

}  // namespace tervo::audio
