#include "formats/wave/pcm_import.h"

#include <algorithm>
#include <limits>
#include <new>

#include "base/last_error.h"
#include "dsp/channel_kernels.h"
#include "formats/wave/sample_run.h"

namespace tervo {
namespace {

/// Keeps count of the frames that are left; `Reader` has `bool read(std::span<float> out)` for whole frames.
template <typename Reader>
class CountedStream final : public SampleStream {
 public:
  CountedStream(Reader reader, int channels, int64_t framesLeft)
      : reader_(std::move(reader)),
        channels_(static_cast<std::size_t>(channels)),
        framesLeft_(static_cast<uint64_t>(framesLeft)) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const auto frames = static_cast<std::size_t>(std::min<uint64_t>(out.size() / channels_, framesLeft_));
    if (!reader_.read(out.first(frames * channels_))) return std::nullopt;
    framesLeft_ -= frames;
    return frames;
  }

 private:
  Reader reader_;
  std::size_t channels_;
  uint64_t framesLeft_;
};

constexpr std::size_t scratchFloats = 32768;  // 128 KiB

/// Two channels that stand one behind the other.
struct SplitReader {
  SampleRun left;
  SampleRun right;
  std::vector<float> scratch = std::vector<float>(scratchFloats);

  bool read(std::span<float> out) {
    for (std::size_t done = 0; done < out.size();) {
      const std::size_t frames = std::min((out.size() - done) / 2, scratch.size() / 2);
      const auto leftPart = std::span(scratch).first(frames);
      const auto rightPart = std::span(scratch).subspan(frames, frames);
      if (!left.read(leftPart) || !right.read(rightPart)) return false;
      dsp::interleave(leftPart, rightPart, out.subspan(done));
      done += 2 * frames;
    }
    return true;
  }
};

/// Many channels, of which two are made.
struct DownmixReader {
  SampleRun run;
  std::shared_ptr<const DownmixWeights> weights;
  std::vector<float> scratch = std::vector<float>(std::max(scratchFloats, weights->left.size()));

  bool read(std::span<float> out) {
    const std::size_t channels = weights->left.size();
    for (std::size_t done = 0; done < out.size();) {
      const std::size_t frames = std::min((out.size() - done) / 2, scratch.size() / channels);
      const auto part = std::span(scratch).first(frames * channels);
      if (!run.read(part)) return false;
      dsp::mixToStereo(part, weights->left, weights->right, out.subspan(done, 2 * frames));
      done += 2 * frames;
    }
    return true;
  }
};

class ImportedSamples final : public SampleData {
 public:
  ImportedSamples(StoredSamples stored, const SampleDecoder& decoder, int channels, int64_t frames)
      : SampleData(channels, frames), stored_(std::move(stored)), decoder_(decoder) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override try {
    const auto first = static_cast<uint64_t>(std::clamp<int64_t>(firstFrame, 0, frames()));
    const int64_t left = frames() - static_cast<int64_t>(first);
    SampleRun run(stored_.source, stored_.offset, decoder_);
    if (channels() == 2 && (stored_.format & SplitChannels)) {
      SplitReader reader{std::move(run), SampleRun(stored_.source, stored_.secondChannelOffset, decoder_)};
      if (!reader.left.skipTo(first) || !reader.right.skipTo(first)) return nullptr;
      return std::make_unique<CountedStream<SplitReader>>(std::move(reader), 2, left);
    }
    if (!run.skipTo(first * static_cast<uint64_t>(channels()))) return nullptr;
    return std::make_unique<CountedStream<SampleRun>>(std::move(run), channels(), left);
  } catch (const std::bad_alloc&) {
    return fail(u"Out of memory");
  }

  const StoredSamples* stored() const override { return &stored_; }

 private:
  StoredSamples stored_;
  SampleDecoder decoder_;
};

class DownmixedSamples final : public SampleData {
 public:
  DownmixedSamples(StoredSamples stored, const SampleDecoder& decoder, DownmixWeights weights, int64_t frames)
      : SampleData(2, frames),
        stored_(std::move(stored)),
        decoder_(decoder),
        weights_(std::make_shared<const DownmixWeights>(std::move(weights))) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override try {
    const auto first = static_cast<uint64_t>(std::clamp<int64_t>(firstFrame, 0, frames()));
    DownmixReader reader{SampleRun(stored_.source, stored_.offset, decoder_), weights_};
    if (!reader.run.skipTo(first * weights_->left.size())) return nullptr;
    return std::make_unique<CountedStream<DownmixReader>>(std::move(reader), 2, frames() - static_cast<int64_t>(first));
  } catch (const std::bad_alloc&) {
    return fail(u"Out of memory");
  }

 private:
  StoredSamples stored_;
  SampleDecoder decoder_;
  std::shared_ptr<const DownmixWeights> weights_;
};

/// Room in the source for `samples` x `channels` samples from `offset` on, without overflow whatever is declared.
bool holds(const ByteSource& source, uint64_t offset, const SampleDecoder& decoder, int64_t frames, int channels) {
  if (offset > source.size()) return false;
  const uint64_t bytes = std::min(source.size() - offset, std::numeric_limits<uint64_t>::max() / 8);
  const auto bitsPerFrame = static_cast<uint64_t>(decoder.bits()) * static_cast<uint64_t>(channels);
  return static_cast<uint64_t>(frames) <= bytes * 8 / bitsPerFrame;
}

/// Completes `stored` and checks it against what the source has.
bool locate(StoredSamples& stored, const SampleDecoder& decoder, int channels, int64_t frames) {
  const bool split = channels == 2 && (stored.format & SplitChannels);
  const int runChannels = split ? 1 : channels;
  if (!stored.source || !holds(*stored.source, stored.offset, decoder, frames, runChannels))
    return fail(u"Reading from file failed");
  stored.bytes = decoder.bytesFor(static_cast<uint64_t>(frames) * static_cast<uint64_t>(runChannels));
  if (!split) return true;
  if (stored.secondChannelOffset == 0) stored.secondChannelOffset = stored.offset + stored.bytes;
  if (!holds(*stored.source, stored.secondChannelOffset, decoder, frames, 1)) return fail(u"Reading from file failed");
  stored.bytes *= 2;
  return true;
}

bool checkCounts(int channels, int maxChannels, int64_t frames) {
  if (frames <= 0) return fail(u"Zero length");
  if (channels <= 0) return fail(u"No channels");
  if (channels > maxChannels) return fail(u"Too many channels");
  return true;
}

SampleRef import(StoredSamples stored, const std::optional<SampleDecoder>& decoder, int channels, int64_t frames) {
  if (!decoder) return fail(u"Invalid format for generic import function!");
  if (!locate(stored, *decoder, channels, frames)) return nullptr;
  return std::make_shared<ImportedSamples>(std::move(stored), *decoder, channels, frames);
}

constexpr uint32_t layoutOfContainers = Unsigned | BigEndian;

}  // namespace

SampleRef importPcm(StoredSamples stored, int channels, int64_t frames) {
  if (!checkCounts(channels, 2, frames)) return nullptr;
  const auto decoder = SampleDecoder::forFormat(stored.format);
  stored.genericPcm = true;
  return import(std::move(stored), decoder, channels, frames);
}

SampleRef importPcmContainer(StoredSamples stored, int containerBytes, int channels, int64_t frames) {
  if (!checkCounts(channels, 2, frames)) return nullptr;
  constexpr SampleFormat formats[] = {SampleFormat::pcm8, SampleFormat::pcm16, SampleFormat::pcm24,
                                      SampleFormat::pcm32};
  const auto decoder = SampleDecoder::forContainer(containerBytes, stored.format);
  stored.format &= layoutOfContainers;
  stored.genericPcm = containerBytes >= 1 && containerBytes <= 4;
  if (stored.genericPcm) stored.format |= formatWord(formats[containerBytes - 1]);
  return import(std::move(stored), decoder, channels, frames);
}

SampleRef importPcmDownmixed(StoredSamples stored, int containerBytes, int channels, int64_t frames,
                             uint32_t channelMask) {
  constexpr int maxChannels = 65535;
  if (!checkCounts(channels, maxChannels, frames)) return nullptr;
  if (channels <= 2 && containerBytes == 0) return importPcm(std::move(stored), channels, frames);
  if (channels <= 2) return importPcmContainer(std::move(stored), containerBytes, channels, frames);
  const auto decoder = containerBytes == 0 ? SampleDecoder::forFormat(stored.format)
                                           : SampleDecoder::forContainer(containerBytes, stored.format);
  if (!decoder) return fail(u"Invalid format for generic import function!");
  if (!locate(stored, *decoder, channels, frames)) return nullptr;
  return std::make_shared<DownmixedSamples>(std::move(stored), *decoder, downmixWeights(channels, channelMask), frames);
}

}  // namespace tervo
