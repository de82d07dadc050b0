#include "formats/codec/ima_adpcm.h"

#include <array>

#include "base/byte_reader.h"
#include "base/last_error.h"
#include "formats/codec/code_words.h"

namespace tervo {
namespace {

// clang-format off
// IMA Recommended Practices for Enhancing Digital Audio Compatibility in Multimedia Systems, 3.00, tables 6.1 and 6.2.
constexpr std::array<int16_t, 89> stepSizes = {
      7,     8,     9,    10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,    28,
     31,    34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,   107,   118,
    130,   143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,   494,
    544,   598,   658,   724,   796,   876,   963,  1060,  1166,  1282,  1411,  1552,  1707,  1878,  2066,
   2272,  2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845,  8630,
   9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};

// By the magnitude of a code of 2, 3 and 4 bits.
constexpr std::array<std::array<int8_t, 8>, 3> indexSteps = {{
  {-1,  2},
  {-1, -1,  1,  2},
  {-1, -1, -1, -1, 2, 4, 6, 8},
}};
// clang-format on

constexpr TextView invalid = u"Unsupported or invalid IMA ADPCM file";
constexpr int lastStep = static_cast<int>(stepSizes.size()) - 1;
constexpr std::size_t headerBytes = 4;  // a channel: the first sample, the step index, a reserved byte

constexpr std::size_t wordBytes = 4;
constexpr std::size_t largestGroup = 3 * wordBytes;
constexpr std::size_t mostCodes = 32;

// The fewest whole words that hold whole codes.
struct Group {
  std::size_t bytes;
  std::size_t codes;
};
constexpr Group groupOf(int bits) {
  return bits == 3 ? Group{12, 32} : Group{4, bits == 2 ? 16u : 8u};
}

bool isPossible(const ImaAdpcmLayout& layout) {
  const int capacity = imaAdpcmBlockCapacity(layout);
  return capacity > 0 && layout.samplesPerBlock >= 0 && layout.samplesPerBlock <= capacity;
}

// What an encoder can fill: only whole groups, and all of them.
bool isFull(const ImaAdpcmLayout& layout) {
  const auto codeBytes = static_cast<std::size_t>(layout.blockAlign - 4 * layout.channels);
  if (layout.samplesPerBlock && layout.samplesPerBlock != imaAdpcmBlockCapacity(layout)) return false;
  return codeBytes % (groupOf(layout.bitsPerSample).bytes * static_cast<std::size_t>(layout.channels)) == 0;
}

// A layout that was found possible, in the units of the loops.
struct BlockShape {
  explicit BlockShape(const ImaAdpcmLayout& layout)
      : bits(layout.bitsPerSample),
        channels(static_cast<std::size_t>(layout.channels)),
        bytes(static_cast<std::size_t>(layout.blockAlign)),
        frames(
            static_cast<std::size_t>(layout.samplesPerBlock ? layout.samplesPerBlock : imaAdpcmBlockCapacity(layout))),
        group(groupOf(bits)) {}

  int bits;
  std::size_t channels;
  std::size_t bytes;
  std::size_t frames;
  Group group;
};

class ImaAdpcmDecoder final : public BlockDecoder {
 public:
  explicit ImaAdpcmDecoder(const ImaAdpcmLayout& layout) : shape_(layout) {}

  std::size_t blockBytes() const override { return shape_.bytes; }
  std::size_t blockFrames() const override { return shape_.frames; }
  bool independentBlocks() const override { return true; }

  std::size_t decode(std::span<const std::byte> block, std::span<float> out) override {
    ByteReader reader(block.first(std::min(block.size(), blockBytes())));
    std::array<ImaAdpcmState, 2> states = readHeaders(reader);
    if (!reader.ok()) return 0;
    for (std::size_t c = 0; c < shape_.channels; ++c) out[c] = fromPcm16(states[c].predictor);

    std::size_t frames = 1;
    while (frames < shape_.frames && !reader.atEnd()) {
      const std::size_t decoded =
          decodeGroups(reader, states, out.subspan(frames * shape_.channels), shape_.frames - frames);
      if (decoded == 0) break;
      frames += decoded;
    }
    return frames;
  }

 private:
  std::array<ImaAdpcmState, 2> readHeaders(ByteReader& reader) const {
    std::array<ImaAdpcmState, 2> states;
    for (std::size_t c = 0; c < shape_.channels; ++c) {
      states[c].predictor = reader.little<int16_t>();
      states[c].stepIndex = std::min<int>(reader.u8(), lastStep);
      reader.skip(1);
    }
    return states;
  }

  // One group of each channel. A frame counts when all channels have it.
  std::size_t decodeGroups(ByteReader& reader, std::array<ImaAdpcmState, 2>& states, std::span<float> out,
                           std::size_t limit) const {
    const auto groups = reader.take(std::min(shape_.group.bytes * shape_.channels, reader.remaining()));
    std::size_t frames = std::min(limit, shape_.group.codes);
    for (std::size_t c = 0; c < shape_.channels; ++c) {
      std::array<std::byte, largestGroup> own{};
      const std::size_t bytes = gatherWords(groups, c, own);
      std::array<uint8_t, mostCodes> codes;
      frames = std::min(
          frames, unpackCodeWords(std::span<const std::byte>(own).first(bytes), shape_.bits, BitOrder::little, codes));
      for (std::size_t i = 0; i < frames; ++i) {
        out[i * shape_.channels + c] = fromPcm16(states[c].decode(codes[i], shape_.bits));
      }
    }
    return frames;
  }

  // The bytes of one channel's words; returns how many there are.
  std::size_t gatherWords(std::span<const std::byte> groups, std::size_t channel,
                          std::span<std::byte, largestGroup> own) const {
    std::size_t count = 0;
    for (std::size_t at = channel * wordBytes; at < groups.size(); at += shape_.channels * wordBytes) {
      const auto word = groups.subspan(at, std::min(wordBytes, groups.size() - at));
      std::copy(word.begin(), word.end(), own.begin() + static_cast<std::ptrdiff_t>(count));
      count += word.size();
    }
    return count;
  }

  BlockShape shape_;
};

class ImaAdpcmEncoder final : public BlockEncoder {
 public:
  explicit ImaAdpcmEncoder(const ImaAdpcmLayout& layout) : shape_(layout) {}

  uint64_t bytesFor(uint64_t frames) const override {
    return (frames + shape_.frames - 1) / shape_.frames * shape_.bytes;
  }
  std::size_t blockFrames() const override { return shape_.frames; }

  void encode(std::span<const float> frames, std::vector<std::byte>& out) override {
    const std::size_t blockSamples = shape_.frames * shape_.channels;
    for (; !frames.empty(); frames = frames.subspan(std::min(blockSamples, frames.size()))) {
      encodeBlock(frames.first(std::min(blockSamples, frames.size())), out);
    }
  }

 private:
  int sampleAt(std::span<const float> frames, std::size_t frame, std::size_t channel) const {
    return toPcm16(frames[std::min(frame, frames.size() / shape_.channels - 1) * shape_.channels + channel]);
  }

  void encodeBlock(std::span<const float> frames, std::vector<std::byte>& out) {
    for (std::size_t c = 0; c < shape_.channels; ++c) {
      states_[c].predictor = sampleAt(frames, 0, c);
      const LittleI16 first(static_cast<int16_t>(states_[c].predictor));
      const auto bytes = std::as_bytes(std::span(&first, 1));
      out.insert(out.end(), bytes.begin(), bytes.end());
      out.push_back(static_cast<std::byte>(states_[c].stepIndex));
      out.push_back(std::byte{0});
    }
    for (std::size_t frame = 1; frame < shape_.frames; frame += shape_.group.codes) encodeGroups(frames, frame, out);
  }

  void encodeGroups(std::span<const float> frames, std::size_t first, std::vector<std::byte>& out) {
    const std::size_t begin = out.size();
    out.resize(begin + shape_.group.bytes * shape_.channels);
    const auto groups = std::span(out).subspan(begin);
    for (std::size_t c = 0; c < shape_.channels; ++c) {
      std::vector<std::byte> own;
      CodeWordPacker codes(shape_.bits, BitOrder::little);
      for (std::size_t i = 0; i < shape_.group.codes; ++i) {
        codes.put(states_[c].encode(sampleAt(frames, first + i, c), shape_.bits), own);
      }
      for (std::size_t i = 0; i < own.size(); ++i) {
        groups[(i / wordBytes * shape_.channels + c) * wordBytes + i % wordBytes] = own[i];
      }
    }
  }

  BlockShape shape_;
  std::array<ImaAdpcmState, 2> states_;
};

}  // namespace

int ImaAdpcmState::decode(uint8_t code, int bits) {
  // (magnitude + 1/2) × step / 2^(bits - 2), each bit's share cut on its own as the reference decoder does.
  const int step = stepSizes[static_cast<std::size_t>(stepIndex)];
  int difference = step >> (bits - 1);
  for (int bit = 0; bit < bits - 1; ++bit) {
    if (code & (1u << bit)) difference += step >> (bits - 2 - bit);
  }
  const unsigned sign = 1u << (bits - 1);
  predictor = std::clamp(code & sign ? predictor - difference : predictor + difference, -32768, 32767);
  const int move = indexSteps[static_cast<std::size_t>(bits - 2)][code & (sign - 1)];
  stepIndex = std::clamp(stepIndex + move, 0, lastStep);
  return predictor;
}

uint8_t ImaAdpcmState::encode(int sample, int bits) {
  int step = stepSizes[static_cast<std::size_t>(stepIndex)];
  int rest = std::abs(sample - predictor);
  unsigned code = sample < predictor ? 1u << (bits - 1) : 0;
  for (int bit = bits - 2; bit >= 0; --bit, step >>= 1) {
    if (rest < step) continue;
    code |= 1u << bit;
    rest -= step;
  }
  decode(static_cast<uint8_t>(code), bits);
  return static_cast<uint8_t>(code);
}

ImaAdpcmLayout imaAdpcmLayoutFor(int bitsPerSample, int channels, double sampleRate) {
  const int perChannel = sampleRate < 12000 ? 256 : sampleRate < 23000 ? 512 : sampleRate < 90000 ? 1024 : 2048;
  ImaAdpcmLayout layout{bitsPerSample, channels, perChannel * channels, 0};
  // 3-bit codes come in groups of 12 bytes.
  if (bitsPerSample == 3) layout.blockAlign = (4 + (perChannel - 4) / 12 * 12) * channels;
  layout.samplesPerBlock = imaAdpcmBlockCapacity(layout);
  return layout;
}

int imaAdpcmBlockCapacity(const ImaAdpcmLayout& layout) {
  if (layout.bitsPerSample < 2 || layout.bitsPerSample > 4 || layout.channels < 1 || layout.channels > 2) return 0;
  const int codeBytes = layout.blockAlign - static_cast<int>(headerBytes) * layout.channels;
  if (codeBytes < 0 || layout.blockAlign > 0xFFFF) return 0;
  const auto [bytes, codes] = groupOf(layout.bitsPerSample);
  const int groupBytes = static_cast<int>(bytes);
  const int wholeGroups = codeBytes / (groupBytes * layout.channels);
  // Of a last group that is cut short, the last channel's part says how many frames are complete.
  const int rest = codeBytes % (groupBytes * layout.channels);
  const int row = 4 * layout.channels;
  const int lastChannelBytes = rest / row * 4 + std::max(rest % row - (row - 4), 0);
  return 1 + wholeGroups * static_cast<int>(codes) + lastChannelBytes * 8 / layout.bitsPerSample;
}

DecoderFactory imaAdpcmDecoder(const ImaAdpcmLayout& layout) {
  if (!isPossible(layout)) {
    setLastErrorText(invalid);
    return nullptr;
  }
  return [layout] { return std::make_unique<ImaAdpcmDecoder>(layout); };
}

std::unique_ptr<BlockEncoder> makeImaAdpcmEncoder(const ImaAdpcmLayout& layout) {
  if (!isPossible(layout) || !isFull(layout)) return fail(invalid);
  return std::make_unique<ImaAdpcmEncoder>(layout);
}

}  // namespace tervo
