#pragma once
// Codings whose stream is nothing but 4-bit codes, one after another from the first frame to the last, without blocks.
// A `State` is one channel: `int decode(unsigned code)` gives a 16-bit sample, `unsigned encode(int sample)` the code
// that comes nearest to it; both move the state on.

#include <array>
#include <optional>

#include "formats/codec/block_codec.h"
#include "formats/codec/pcm16.h"

namespace tervo {

enum class NibbleOrder { highFirst, lowFirst };

template <typename State, NibbleOrder order>
class NibbleDecoder final : public BlockDecoder {
 public:
  explicit NibbleDecoder(int channels) : channels_(static_cast<std::size_t>(channels)) {}

  std::size_t blockBytes() const override { return 2048; }
  std::size_t blockFrames() const override { return blockBytes() * 2 / channels_; }
  bool independentBlocks() const override { return false; }

  std::size_t decode(std::span<const std::byte> block, std::span<float> out) override {
    block = block.first(std::min(block.size(), blockBytes()));
    for (std::size_t i = 0; i < block.size() * 2; ++i) {
      const auto byte = std::to_integer<unsigned>(block[i / 2]);
      const bool high = (i % 2 == 0) == (order == NibbleOrder::highFirst);
      out[i] = floatOfPcm16(states_[i % channels_].decode(high ? byte >> 4 : byte & 0xF));
    }
    return block.size() * 2 / channels_;
  }

 private:
  std::size_t channels_;
  std::array<State, 2> states_;
};

template <typename State, NibbleOrder order>
class NibbleEncoder final : public BlockEncoder {
 public:
  explicit NibbleEncoder(int channels) : channels_(static_cast<std::size_t>(channels)) {}

  std::size_t blockFrames() const override { return 2; }

  void encode(std::span<const float> frames, std::vector<std::byte>& out) override {
    for (std::size_t i = 0; i < frames.size(); ++i) {
      put(states_[i % channels_].encode(pcm16OfFloat(frames[i])), out);
    }
  }
  void finish(std::vector<std::byte>& out) override {
    if (held_) put(0, out);
  }

 private:
  void put(unsigned code, std::vector<std::byte>& out) {
    if (!held_) {
      held_ = code;
      return;
    }
    const unsigned byte = order == NibbleOrder::highFirst ? *held_ << 4 | code : code << 4 | *held_;
    out.push_back(static_cast<std::byte>(byte));
    held_.reset();
  }

  std::size_t channels_;
  std::array<State, 2> states_;
  std::optional<unsigned> held_;
};

}  // namespace tervo
