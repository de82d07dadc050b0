#include "formats/codec/mace.h"

#include <algorithm>
#include <vector>

#include "formats/codec/code_words.h"
#include "formats/codec/mace_tables.h"

namespace tervo {
namespace {

// Apple's decoder clips one short of the range below.
int clip(int value) {
  return value > 32767 ? 32767 : value < -32768 ? -32767 : value;
}

// The step of a code, and where the step size goes from there.
template <std::size_t codes, typename Steps>
int takeStep(int& stepSize, const Steps& steps, const std::array<int16_t, codes>& moves, std::size_t code) {
  const auto& row = steps[static_cast<std::size_t>(stepSize >> 4) & 127];
  const int step = code < codes / 2 ? row[code] : -1 - row[codes - 1 - code];
  stepSize = std::max(stepSize + moves[code] - (stepSize >> 5), 0);
  return step;
}

// The bits of a byte are three codes: 3, 2 and 3 bits.
struct Codes {
  explicit Codes(std::byte packed)
      : high(static_cast<std::size_t>(packed) >> 5),
        middle(static_cast<std::size_t>(packed) >> 3 & 3),
        low(static_cast<std::size_t>(packed) & 7) {}
  std::size_t high, middle, low;
};

struct MaceChannel {
  int stepSize = 0;
  int level = 0;
  int factor = 0;                // of 6:1: how much of the level stays, in 1/32768
  int last = 0, lastButOne = 0;  // of 6:1, half samples

  int step3(std::size_t code) { return takeStep(stepSize, maceSteps3Bit, maceMoves3Bit, code); }
  int step2(std::size_t code) { return takeStep(stepSize, maceSteps2Bit, maceMoves2Bit, code); }

  int sampleOf(int step) {
    const int sample = clip(step + level);
    level = sample - (sample >> 3);
    return sample;
  }

  // Two samples, between the half samples before and this one.
  std::array<int, 2> samplesOf(int step) {
    const bool goesOn = (last ^ step) >= 0;
    factor = goesOn ? std::min(factor + 506, 32767) : factor - 314 < -32768 ? -32767 : factor - 314;
    const int sample = clip(step + level);
    level = static_cast<int16_t>(sample * factor >> 15);
    const int half = sample >> 1;
    const int bend = (lastButOne - half) >> 2;
    const std::array<int, 2> samples = {last + lastButOne - bend, last + half + bend};
    lastButOne = last;
    last = half;
    return samples;
  }
};

// Samples are bytes; the lower half repeats the upper one, so that full scale stays full scale.
float toFloat(int sample) {
  const auto high = static_cast<uint8_t>(sample >> 8);
  return fromPcm16(static_cast<int16_t>(high << 8 | high));
}

class MaceDecoder final : public BlockDecoder {
 public:
  MaceDecoder(MaceRatio ratio, int channels) : ratio_(ratio), channels_(static_cast<std::size_t>(channels)) {}

  std::size_t blockBytes() const override { return packetsPerBlock * packetBytes() * channels_.size(); }
  std::size_t blockFrames() const override { return packetsPerBlock * macePacketFrames; }
  Text coding() const override { return ratio_ == MaceRatio::threeToOne ? u"MACE 3:1" : u"MACE 6:1"; }
  bool independentBlocks() const override { return false; }

  std::size_t decode(std::span<const std::byte> block, std::span<float> out) override {
    const std::size_t packets = block.size() / (packetBytes() * channels_.size());
    for (std::size_t channel = 0; channel < channels_.size(); ++channel) {
      float* to = out.data() + channel;
      const auto put = [&](int sample) {
        *to = toFloat(sample);
        to += channels_.size();
      };
      for (std::size_t packet = 0; packet < packets; ++packet) {
        const auto bytes = block.subspan((packet * channels_.size() + channel) * packetBytes(), packetBytes());
        for (const std::byte byte : bytes) decodeByte(channels_[channel], Codes(byte), put);
      }
    }
    return packets * macePacketFrames;
  }

 private:
  static constexpr std::size_t packetsPerBlock = 1024;
  std::size_t packetBytes() const { return ratio_ == MaceRatio::threeToOne ? 2 : 1; }

  template <typename Put>
  void decodeByte(MaceChannel& channel, const Codes& codes, const Put& put) const {
    if (ratio_ == MaceRatio::threeToOne) {
      put(channel.sampleOf(channel.step3(codes.low)));
      put(channel.sampleOf(channel.step2(codes.middle)));
      put(channel.sampleOf(channel.step3(codes.high)));
      return;
    }
    for (const int sample : channel.samplesOf(channel.step3(codes.high))) put(sample);
    for (const int sample : channel.samplesOf(channel.step2(codes.middle))) put(sample);
    for (const int sample : channel.samplesOf(channel.step3(codes.low))) put(sample);
  }

  MaceRatio ratio_;
  std::vector<MaceChannel> channels_;
};

}  // namespace

DecoderFactory maceDecoder(MaceRatio ratio, int channels) {
  return [=] { return std::make_unique<MaceDecoder>(ratio, channels); };
}

}  // namespace tervo
