#include "core/sample_data.h"

#include <algorithm>
#include <cassert>
#include <limits>
#include <new>
#include <stdexcept>

#include "base/last_error.h"
#include "core/frame_reader.h"
#include "dsp/channel_kernels.h"

namespace tervo {
namespace {

/// Frames, and what keeps the memory alive that they stand in.
struct OwnedFrames {
  std::span<const float> interleaved;
  std::shared_ptr<const void> owner;
};

class ResidentStream final : public SampleStream {
 public:
  ResidentStream(OwnedFrames frames, std::size_t channels, std::size_t firstFrame)
      : frames_(std::move(frames)), channels_(channels), position_(firstFrame * channels) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const auto part = frames_.interleaved.subspan(position_);
    const std::size_t count = std::min(out.size() / channels_ * channels_, part.size());
    std::copy_n(part.begin(), count, out.begin());
    position_ += count;
    return count / channels_;
  }

 private:
  OwnedFrames frames_;
  std::size_t channels_;
  std::size_t position_;
};

class ResidentSamples final : public SampleData {
 public:
  ResidentSamples(OwnedFrames frames, int channels)
      : SampleData(channels, static_cast<int64_t>(frames.interleaved.size()) / channels), frames_(std::move(frames)) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override {
    const auto first = static_cast<std::size_t>(std::clamp<int64_t>(firstFrame, 0, frames()));
    return std::make_unique<ResidentStream>(frames_, static_cast<std::size_t>(channels()), first);
  }
  std::span<const float> resident() const override { return frames_.interleaved; }

 private:
  OwnedFrames frames_;
};

/// One channel made of two, or two of one, while it is read.
class ChannelStream final : public SampleStream {
 public:
  ChannelStream(FrameReader source, int channels) : source_(std::move(source)), toStereo_(channels == 2) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const std::size_t wanted = toStereo_ ? out.size() / 2 : out.size();
    std::size_t done = 0;
    while (done < wanted) {
      const auto frames = readPart(out, done, wanted - done);
      if (!frames) return std::nullopt;
      if (*frames == 0) break;
      done += *frames;
    }
    return done;
  }

 private:
  std::optional<std::size_t> readPart(std::span<float> out, std::size_t done, std::size_t wanted) {
    const std::size_t samplesPerFrame = toStereo_ ? 1 : 2;
    const auto read = source_.next(wanted * samplesPerFrame);
    if (!read) return std::nullopt;
    if (toStereo_) {
      dsp::duplicate(*read, out.subspan(2 * done));
    } else {
      dsp::mixToMono(*read, out.subspan(done));
    }
    return read->size() / samplesPerFrame;
  }

  FrameReader source_;
  bool toStereo_;
};

class ChannelView final : public SampleData {
 public:
  ChannelView(SampleRef source, int channels) : SampleData(channels, source->frames()), source_(std::move(source)) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override {
    auto source = FrameReader::open(source_, firstFrame);
    if (!source) return nullptr;
    return std::make_unique<ChannelStream>(std::move(*source), channels());
  }
  SampleFaults faults() const override { return source_->faults(); }

 private:
  SampleRef source_;
};

/// Samples that nobody has filled yet are not cleared either: that would take a third of the time of reading them.
struct Unfilled {
  std::unique_ptr<float[]> samples;
  std::size_t size = 0;

  void grow(std::size_t newSize) {
    auto larger = std::make_unique_for_overwrite<float[]>(newSize);
    std::copy_n(samples.get(), size, larger.get());
    samples = std::move(larger);
    size = newSize;
  }
};

/// Reads everything. The buffer grows with what has really been read, because a source may declare more than it holds.
bool readAll(const SampleData& data, Unfilled& out) {
  const auto channels = static_cast<std::size_t>(data.channels());
  const auto declared = static_cast<uint64_t>(data.frames()) * channels;
  if (declared > std::numeric_limits<std::size_t>::max() / sizeof(float)) throw std::bad_alloc();
  const auto total = static_cast<std::size_t>(declared);
  auto stream = data.open();
  if (!stream) return false;

  constexpr std::size_t firstStep = std::size_t{1} << 22;  // 16 MiB
  std::size_t done = 0;
  while (done < total) {
    if (done == out.size) out.grow(std::min(total, std::max(done * 2, firstStep / channels * channels)));
    const auto frames = stream->read(std::span(out.samples.get() + done, out.size - done));
    if (!frames) return false;
    if (*frames == 0) return fail(u"Reading from file failed");
    done += *frames * channels;
  }
  return true;
}

}  // namespace

bool skipFrames(SampleStream& stream, int64_t count, int channels) {
  constexpr int64_t blockFrames = 8192;
  const auto width = static_cast<std::size_t>(channels);
  std::vector<float> passed(static_cast<std::size_t>(std::min(count, blockFrames)) * width);
  while (count > 0) {
    const auto part = static_cast<std::size_t>(std::min(count, blockFrames));
    const auto frames = stream.read(std::span(passed).first(part * width));
    if (!frames) return false;
    if (*frames == 0) return true;
    count -= static_cast<int64_t>(*frames);
  }
  return true;
}

SampleRef makeResident(std::vector<float> interleaved, int channels) {
  auto owner = std::make_shared<const std::vector<float>>(std::move(interleaved));
  const std::span<const float> frames(*owner);
  return makeResident(frames, channels, std::move(owner));
}

SampleRef makeResident(std::span<const float> interleaved, int channels, std::shared_ptr<const void> owner) {
  assert(channels > 0 && interleaved.size() % static_cast<std::size_t>(channels) == 0);
  return std::make_shared<ResidentSamples>(OwnedFrames{interleaved, std::move(owner)}, channels);
}

SampleRef makeResident(const SampleRef& data) {
  if (!data || data->resident().size() > 0) return data;
  try {
    Unfilled frames;
    if (!readAll(*data, frames)) return nullptr;
    const std::span<const float> read(frames.samples.get(), frames.size);
    return makeResident(read, data->channels(), std::shared_ptr<const float[]>(std::move(frames.samples)));
  } catch (const std::bad_alloc&) {
    return fail(u"Out of memory");
  } catch (const std::length_error&) {
    return fail(u"Out of memory");
  }
}

SampleRef withChannels(const SampleRef& data, int channels) {
  if (!data || data->channels() == channels) return data;
  assert((data->channels() == 2 && channels == 1) || (data->channels() == 1 && channels == 2));
  return std::make_shared<ChannelView>(data, channels);
}

}  // namespace tervo
