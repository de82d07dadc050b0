#pragma once
// Streams of code words that are narrower than a byte, one word after another without gaps: how they lie in the bytes,
// and the block codec around any sample codec that turns one code word into a fixed number of samples.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "formats/codec/block_codec.h"

namespace tervo {

/// Where the first code word of a byte stands: in its least significant bits (RFC 3551, RIFF-WAVE), or in its most
/// significant ones (ITU-T I.366.2, "left-justified").
enum class BitOrder : uint8_t { little, big };

/// Takes code words of `bits` bits apart; fills `out` as far as the bytes reach and returns how many words that was.
std::size_t unpackCodeWords(std::span<const std::byte> bytes, int bits, BitOrder order, std::span<uint8_t> out);

/// Puts code words together, keeping back the bits that do not fill a byte.
class CodeWordPacker {
 public:
  CodeWordPacker(int bits, BitOrder order) : bits_(bits), order_(order) {}

  int bits() const { return bits_; }
  BitOrder order() const { return order_; }
  void put(uint8_t word, std::vector<std::byte>& out);
  /// The rest, filled up with zero bits.
  void finish(std::vector<std::byte>& out);

 private:
  int bits_;
  BitOrder order_;
  uint32_t held_ = 0;
  int heldBits_ = 0;
};

/// A float sample as 16 bits, as the kernel of 16-bit samples does it: half up, clipped; not a number is silence.
inline int16_t toPcm16(float sample) {
  if (std::isnan(sample)) return 0;
  return static_cast<int16_t>(std::clamp(std::floor(double{sample} * 32768 + 0.5), -32768.0, 32767.0));
}
inline float fromPcm16(int sample) {
  return static_cast<float>(sample) * (1.0f / 32768.0f);
}

/// "G.726 3-bit, low bits first": how a stream of code words is called in reports.
Text codeWordCoding(TextView codec, int bits, BitOrder order);

/// A decoder of interleaved channels, one code word of each in turn. `Codec` is a value with the state of one channel:
/// framesPerWord, and decode(word) that returns an array of as many 16-bit samples.
template <typename Codec>
class CodeWordDecoder final : public BlockDecoder {
 public:
  CodeWordDecoder(const Codec& initial, TextView name, int bits, BitOrder order, int channels)
      : name_(name),
        codecs_(static_cast<std::size_t>(channels), initial),
        words_(wordsPerBlock * codecs_.size()),
        bits_(bits),
        order_(order) {}

  std::size_t blockBytes() const override { return words_.size() * static_cast<std::size_t>(bits_) / 8; }
  std::size_t blockFrames() const override { return wordsPerBlock * Codec::framesPerWord; }
  Text coding() const override { return codeWordCoding(name_, bits_, order_); }
  bool independentBlocks() const override { return false; }

  std::size_t decode(std::span<const std::byte> block, std::span<float> out) override {
    const std::size_t channels = codecs_.size();
    const std::size_t room = out.size() / (channels * Codec::framesPerWord);
    const std::size_t words = std::min(unpackCodeWords(block, bits_, order_, words_) / channels, room);
    for (std::size_t channel = 0; channel < channels; ++channel) {
      float* to = out.data() + channel;
      for (std::size_t word = 0; word < words; ++word) {
        for (const int16_t sample : codecs_[channel].decode(words_[word * channels + channel])) {
          *to = fromPcm16(sample);
          to += channels;
        }
      }
    }
    return words * Codec::framesPerWord;
  }

 private:
  static constexpr std::size_t wordsPerBlock = 256;

  TextView name_;
  std::vector<Codec> codecs_;
  std::vector<uint8_t> words_;
  int bits_;
  BitOrder order_;
};

/// The encoder that belongs to it; `Codec` has encode(array of 16-bit samples) that returns the code word.
template <typename Codec>
class CodeWordEncoder final : public BlockEncoder {
 public:
  CodeWordEncoder(const Codec& initial, TextView name, int bits, BitOrder order, int channels)
      : name_(name), codecs_(static_cast<std::size_t>(channels), initial), packer_(bits, order) {}

  Text coding() const override { return codeWordCoding(name_, packer_.bits(), packer_.order()); }
  uint64_t bytesFor(uint64_t frames) const override {
    const uint64_t words = (frames + Codec::framesPerWord - 1) / Codec::framesPerWord * codecs_.size();
    return (words * static_cast<uint64_t>(packer_.bits()) + 7) / 8;
  }
  std::size_t blockFrames() const override { return 8 * Codec::framesPerWord; }

  void encode(std::span<const float> frames, std::vector<std::byte>& out) override {
    const std::size_t channels = codecs_.size();
    const std::size_t count = frames.size() / channels;
    for (std::size_t first = 0; first < count; first += Codec::framesPerWord) {
      for (std::size_t channel = 0; channel < channels; ++channel) {
        std::array<int16_t, Codec::framesPerWord> samples{};
        for (std::size_t i = 0; i < samples.size() && first + i < count; ++i)
          samples[i] = toPcm16(frames[(first + i) * channels + channel]);
        packer_.put(codecs_[channel].encode(samples), out);
      }
    }
  }
  void finish(std::vector<std::byte>& out) override { packer_.finish(out); }

 private:
  TextView name_;
  std::vector<Codec> codecs_;
  CodeWordPacker packer_;
};

}  // namespace tervo
