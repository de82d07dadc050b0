#pragma once
// Renders a group of up to 64 voices into sums of its own. Each thread that renders has one.

#include <memory>
#include <span>
#include <vector>

#include "audio/engine/voice.h"

namespace tervo::audio {

/// A block of each bus.
struct BusBlock {
  alignas(32) float bus[busCount][blockFrames];
};

class VoiceGroup {
 public:
  VoiceGroup();

  /// Advances the voices by a block and puts their sums into `out`; those that are done are passed over. How many have
  /// come to their end in it.
  uint32_t render(std::span<Voice* const> voices, const VoiceContext& context, RenderLanes kernel,
                  BusBlock& out) noexcept;

 private:
  struct Lane {
    Voice* voice;
    int channel;
  };
  std::size_t collectLanes(std::span<Voice* const> voices, const VoiceContext& context) noexcept;
  void renderBundle(std::span<const Lane> part, RenderLanes kernel, const SincOscillator* sinc) noexcept;
  void fillLane(std::size_t place, const Lane& lane, const SincOscillator* sinc) noexcept;
  void fillWindow(std::size_t place, const Lane& lane, const SincOscillator* sinc) noexcept;
  void clearLane(std::size_t place) noexcept;

  LaneSums sums_;
  LaneBundle bundle_;
  std::array<Lane, 2 * groupVoices> lanes_{};
  float interpolated_[lanes][blockFrames + 4] = {};
  std::vector<float> windows_;  ///< for each lane of a bundle, one that has to be laid out
};

}  // namespace tervo::audio
