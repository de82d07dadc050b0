#include "formats/codec/ms_adpcm.h"

#include <array>
#include <cstdlib>
#include <utility>

#include "base/byte_reader.h"
#include "base/byte_writer.h"
#include "base/last_error.h"
#include "formats/codec/code_words.h"

namespace tervo {
namespace {

constexpr TextView invalid = u"Unsupported or invalid MS ADPCM file";
constexpr int headerBytes = 7;  // a channel: the pair's index, the step, two samples
constexpr int headerFrames = 2;
constexpr int smallestStep = 16;
// A step grows by 3 at most with each code; without a bound damaged blocks would overflow.
constexpr int largestStep = INT32_MAX / 768;

constexpr std::array<MsAdpcmCoefficients, 7> standardPairs = {
    {{256, 0}, {512, -256}, {0, 0}, {192, 64}, {240, 0}, {460, -208}, {392, -232}}};

// The step's factor in 1/256, by code.
constexpr std::array<int, 16> stepFactors = {230, 230, 230, 230, 307, 409, 512, 614,
                                             768, 614, 512, 409, 307, 230, 230, 230};

// One channel of a block.
struct ChannelState {
  MsAdpcmCoefficients pair{};
  int step = smallestStep;
  int last = 0;    // the sample before
  int before = 0;  // the one before that

  int prediction() const { return static_cast<int>((int64_t{last} * pair.first + int64_t{before} * pair.second) >> 8); }

  int decode(unsigned code) {
    const int64_t signedCode = code < 8 ? int64_t{code} : int64_t{code} - 16;
    const auto sample = static_cast<int>(std::clamp<int64_t>(prediction() + signedCode * step, -32768, 32767));
    step = std::clamp((stepFactors[code] * step) >> 8, smallestStep, largestStep);
    before = std::exchange(last, sample);
    return sample;
  }

  unsigned encode(int sample) {
    const int difference = sample - prediction();
    const int rounded = (std::abs(difference) + step / 2) / step;
    const int code = std::clamp(difference < 0 ? -rounded : rounded, -8, 7);
    const auto bits = static_cast<unsigned>(code) & 0xF;
    decode(bits);
    return bits;
  }
};

bool isPossible(const MsAdpcmLayout& layout) {
  const int count = layout.samplesPerBlock;
  return msAdpcmBlockCapacity(layout) > 0 && !layout.coefficients.empty() &&
         (count == 0 || (count >= headerFrames && count <= msAdpcmBlockCapacity(layout)));
}

std::size_t framesOf(const MsAdpcmLayout& layout) {
  return static_cast<std::size_t>(layout.samplesPerBlock ? layout.samplesPerBlock : msAdpcmBlockCapacity(layout));
}

class MsAdpcmDecoder final : public BlockDecoder {
 public:
  explicit MsAdpcmDecoder(const MsAdpcmLayout& layout)
      : layout_(layout), channels_(static_cast<std::size_t>(layout.channels)), blockFrames_(framesOf(layout)) {}

  std::size_t blockBytes() const override { return static_cast<std::size_t>(layout_.blockAlign); }
  std::size_t blockFrames() const override { return blockFrames_; }
  bool independentBlocks() const override { return true; }

  std::size_t decode(std::span<const std::byte> block, std::span<float> out) override {
    ByteReader reader(block.first(std::min(block.size(), blockBytes())));
    std::array<ChannelState, 2> states = readHeaders(reader);
    if (!reader.ok()) return 0;
    for (std::size_t c = 0; c < channels_; ++c) {
      out[c] = fromPcm16(states[c].before);
      out[channels_ + c] = fromPcm16(states[c].last);
    }
    // Nibbles are samples in the order of the frames, so two channels share a byte.
    const std::size_t samples = std::min(blockFrames_ * channels_, headerFrames * channels_ + 2 * reader.remaining());
    const auto codes = reader.take(reader.remaining());
    const std::size_t headerSamples = headerFrames * channels_;
    for (std::size_t i = headerSamples; i < samples; ++i) {
      const auto byte = std::to_integer<unsigned>(codes[(i - headerSamples) / 2]);
      const unsigned code = (i - headerSamples) % 2 == 0 ? byte >> 4 : byte & 0xF;
      out[i] = fromPcm16(states[i % channels_].decode(code));
    }
    return samples / channels_;
  }

 private:
  // Each field stands for all channels before the next one.
  std::array<ChannelState, 2> readHeaders(ByteReader& reader) const {
    std::array<ChannelState, 2> states;
    const auto used = std::span(states).first(channels_);
    for (ChannelState& state : used) {
      const std::size_t index = reader.u8();
      state.pair = layout_.coefficients[index < layout_.coefficients.size() ? index : 0];
    }
    for (ChannelState& state : used) state.step = reader.little<int16_t>();
    for (ChannelState& state : used) state.last = reader.little<int16_t>();
    for (ChannelState& state : used) state.before = reader.little<int16_t>();
    return states;
  }

  MsAdpcmLayout layout_;
  std::size_t channels_;
  std::size_t blockFrames_;
};

class MsAdpcmEncoder final : public BlockEncoder {
 public:
  explicit MsAdpcmEncoder(const MsAdpcmLayout& layout)
      : layout_(layout), channels_(static_cast<std::size_t>(layout.channels)), blockFrames_(framesOf(layout)) {}

  uint64_t bytesFor(uint64_t frames) const override {
    return (frames + blockFrames_ - 1) / blockFrames_ * static_cast<uint64_t>(layout_.blockAlign);
  }
  std::size_t blockFrames() const override { return blockFrames_; }

  void encode(std::span<const float> frames, std::vector<std::byte>& out) override {
    const std::size_t blockSamples = blockFrames_ * channels_;
    while (!frames.empty()) {
      const auto part = frames.first(std::min(blockSamples, frames.size()));
      encodeBlock(part, out);
      frames = frames.subspan(part.size());
    }
  }

 private:
  // One channel's block in one of the ways it can be coded.
  struct Attempt {
    std::size_t pairIndex = 0;
    ChannelState start;
    std::vector<uint8_t> codes;
    int64_t squaredError = 0;
  };

  std::vector<int> channelSamples(std::span<const float> frames, std::size_t channel) const {
    std::vector<int> samples(blockFrames_);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const std::size_t frame = std::min(i, frames.size() / channels_ - 1);
      samples[i] = toPcm16(frames[frame * channels_ + channel]);
    }
    return samples;
  }

  // A step that lets the codes of the first frames reach what the prediction misses.
  static int firstStep(const std::vector<int>& samples, MsAdpcmCoefficients pair) {
    constexpr std::size_t lookedAt = 24;
    const std::size_t end = std::min(samples.size(), headerFrames + lookedAt);
    int64_t missed = 0;
    for (std::size_t i = headerFrames; i < end; ++i) {
      missed += std::abs(samples[i] - ChannelState{pair, 0, samples[i - 1], samples[i - 2]}.prediction());
    }
    const auto count = static_cast<int64_t>(std::max<std::size_t>(end - headerFrames, 1));
    return static_cast<int>(std::clamp<int64_t>(missed / (4 * count), smallestStep, INT16_MAX));
  }

  Attempt attempt(const std::vector<int>& samples, std::size_t pairIndex) const {
    Attempt result;
    result.pairIndex = pairIndex;
    const MsAdpcmCoefficients pair = layout_.coefficients[pairIndex];
    result.start = {pair, firstStep(samples, pair), samples[1], samples[0]};
    ChannelState state = result.start;
    result.codes.reserve(samples.size());
    for (std::size_t i = headerFrames; i < samples.size(); ++i) {
      result.codes.push_back(static_cast<uint8_t>(state.encode(samples[i])));
      const int64_t error = samples[i] - state.last;
      result.squaredError += error * error;
    }
    return result;
  }

  Attempt best(const std::vector<int>& samples) const {
    Attempt best = attempt(samples, 0);
    for (std::size_t i = 1; i < std::min<std::size_t>(layout_.coefficients.size(), standardPairs.size()); ++i) {
      Attempt next = attempt(samples, i);
      if (next.squaredError < best.squaredError) best = std::move(next);
    }
    return best;
  }

  void encodeBlock(std::span<const float> frames, std::vector<std::byte>& out) const {
    std::vector<Attempt> channels;
    for (std::size_t c = 0; c < channels_; ++c) channels.push_back(best(channelSamples(frames, c)));
    MemorySink block;
    ByteWriter writer(block);
    for (const Attempt& channel : channels) writer.u8(static_cast<uint8_t>(channel.pairIndex));
    for (const Attempt& channel : channels) writer.little(static_cast<int16_t>(channel.start.step));
    for (const Attempt& channel : channels) writer.little(static_cast<int16_t>(channel.start.last));
    for (const Attempt& channel : channels) writer.little(static_cast<int16_t>(channel.start.before));
    const auto code = [&](std::size_t i) -> unsigned { return channels[i % channels_].codes[i / channels_]; };
    const std::size_t codes = (blockFrames_ - headerFrames) * channels_;
    for (std::size_t i = 0; i < codes; i += 2) {
      writer.u8(static_cast<uint8_t>(code(i) << 4 | (i + 1 < codes ? code(i + 1) : 0)));
    }
    writer.zeros(static_cast<std::size_t>(layout_.blockAlign) - block.bytes().size());
    out.insert(out.end(), block.bytes().begin(), block.bytes().end());
  }

  MsAdpcmLayout layout_;
  std::size_t channels_;
  std::size_t blockFrames_;
};

}  // namespace

std::span<const MsAdpcmCoefficients> standardMsAdpcmCoefficients() {
  return standardPairs;
}

std::optional<MsAdpcmLayout> msAdpcmLayout(int channels, int blockAlign, std::span<const std::byte> extension) {
  MsAdpcmLayout layout{channels, blockAlign, 0, {}};
  ByteReader reader(extension);
  if (extension.size() >= 2) layout.samplesPerBlock = reader.little<uint16_t>();
  if (extension.size() < 4) {
    layout.coefficients.assign(standardPairs.begin(), standardPairs.end());
    return layout;
  }
  const std::size_t count = reader.little<uint16_t>();
  if (count == 0 || reader.remaining() / 4 < count) return fail(invalid);
  for (std::size_t i = 0; i < count; ++i) {
    const auto first = reader.little<int16_t>();
    layout.coefficients.push_back({first, reader.little<int16_t>()});
  }
  return layout;
}

MsAdpcmLayout msAdpcmLayoutFor(int channels, double sampleRate) {
  const int perChannel = sampleRate < 12000 ? 256 : sampleRate < 23000 ? 512 : sampleRate < 90000 ? 1024 : 2048;
  MsAdpcmLayout layout{channels, perChannel * channels, 0, {standardPairs.begin(), standardPairs.end()}};
  layout.samplesPerBlock = msAdpcmBlockCapacity(layout);
  return layout;
}

int msAdpcmBlockCapacity(const MsAdpcmLayout& layout) {
  if (layout.channels < 1 || layout.channels > 2 || layout.blockAlign > 0xFFFF) return 0;
  const int codeBytes = layout.blockAlign - headerBytes * layout.channels;
  return codeBytes < 0 ? 0 : headerFrames + codeBytes * 2 / layout.channels;
}

DecoderFactory msAdpcmDecoder(const MsAdpcmLayout& layout) {
  if (!isPossible(layout)) {
    setLastErrorText(invalid);
    return nullptr;
  }
  return [layout] { return std::make_unique<MsAdpcmDecoder>(layout); };
}

std::unique_ptr<BlockEncoder> makeMsAdpcmEncoder(const MsAdpcmLayout& layout) {
  if (!isPossible(layout)) return fail(invalid);
  return std::make_unique<MsAdpcmEncoder>(layout);
}

}  // namespace tervo
