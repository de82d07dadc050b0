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

  /// One thread, once a block: makes the wet sound that mixInto() adds.
  void hear() noexcept {
    std::fill_n(left_, blockFrames, 0.0f);
    std::fill_n(right_, blockFrames, 0.0f);
    chorus_.feed(chorusSend_), reverb_.feed(reverbSend_);
    chorus_.hear(left_, right_), reverb_.hear(left_, right_);
  }
  /// The audio thread, once all of the block is made: adds the wet sound and keeps the sends.
  void mixInto(BusBlock& mix) noexcept {
    for (std::size_t n = 0; n < blockFrames; ++n) {
      mix.bus[leftBus][n] += left_[n];
      mix.bus[rightBus][n] += right_[n];
    }
    std::copy_n(mix.bus[chorusBus], blockFrames, chorusSend_);
    std::copy_n(mix.bus[reverbBus], blockFrames, reverbSend_);
  }
  bool isIdle() const noexcept {
    const auto isZero = [](float sample) { return sample == 0; };
    return chorus_.isIdle() && reverb_.isIdle() && std::all_of(chorusSend_, chorusSend_ + blockFrames, isZero) &&
           std::all_of(reverbSend_, reverbSend_ + blockFrames, isZero);
  }

 private:
  Chorus chorus_;
  Reverb reverb_;
  alignas(32) float left_[blockFrames] = {}, right_[blockFrames] = {};
  alignas(32) float chorusSend_[blockFrames] = {}, reverbSend_[blockFrames] = {};  ///< of the last block
};

}  // namespace tervo::audio
