#pragma once
// What the compressed families have in common: bytes that become frames block by block, and frames that become bytes.
// A decoder that trusts nothing but the span it was given; a short or damaged block yields what it holds.

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "core/sample_data.h"

namespace tervo {

/// Decodes one stream from front to back.
class BlockDecoder {
 public:
  virtual ~BlockDecoder() = default;

  /// Bytes of a full block; the last one of a stream may be shorter.
  virtual std::size_t blockBytes() const = 0;
  /// Frames that a full block gives; a decoder never gives more for a block.
  virtual std::size_t blockFrames() const = 0;
  /// Names the coding to the last bit: streams of one name and channel count can stand for each other. Empty where the
  /// bytes depend on more than can be named.
  virtual Text coding() const { return {}; }
  /// True when a block can be decoded without those before it, so that reading may start anywhere.
  virtual bool independentBlocks() const = 0;
  /// Decodes one block into `out` (at least blockFrames() × channels floats, interleaved) and returns its frames.
  virtual std::size_t decode(std::span<const std::byte> block, std::span<float> out) = 0;
};

using DecoderFactory = std::function<std::unique_ptr<BlockDecoder>()>;

/// Sample data that stays in its file and is decoded while it is read. Frames that the bytes turn out not to hold are
/// silent. `stored.source`, offset and bytes say where the blocks are; `coding` is filled in.
SampleRef makeCodedSamples(StoredSamples stored, int channels, int64_t frames, DecoderFactory makeDecoder);

/// Encodes one stream from front to back.
class BlockEncoder {
 public:
  virtual ~BlockEncoder() = default;

  /// As BlockDecoder::coding().
  virtual Text coding() const { return {}; }
  /// How many bytes that many frames become, with all that completes the last block.
  virtual uint64_t bytesFor(uint64_t frames) const = 0;
  /// Frames of a full block; all calls but the last give a multiple of it.
  virtual std::size_t blockFrames() const = 0;
  /// Appends the coded bytes of these interleaved frames; a last partial block is completed as the format asks.
  virtual void encode(std::span<const float> frames, std::vector<std::byte>& out) = 0;
  /// Appends what is still held back (bits that do not fill a byte yet).
  virtual void finish(std::vector<std::byte>& /*out*/) {}
};

}  // namespace tervo
