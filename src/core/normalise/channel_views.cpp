#include <algorithm>
#include <cassert>

#include "base/last_error.h"
#include "core/frame_reader.h"
#include "core/normalise/rearranged_bytes.h"
#include "dsp/channel_kernels.h"
#include "dsp/frame_kernels.h"

namespace tervo::fixup {
namespace {

constexpr std::size_t blockFrames = 8192;

class OneChannelStream final : public SampleStream {
 public:
  OneChannelStream(FrameReader source, int channel) : source_(std::move(source)), channel_(channel) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const auto frames = source_.next(2 * out.size());
    if (!frames) return std::nullopt;
    dsp::takeChannel(*frames, channel_, out);
    return frames->size() / 2;
  }

 private:
  FrameReader source_;
  int channel_;
};

class OneChannel final : public SampleData {
 public:
  OneChannel(SampleRef stereo, int channel)
      : SampleData(1, stereo->frames()),
        bytes_(bytesOf(stereo, {channel})),
        stereo_(std::move(stereo)),
        channel_(channel) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override {
    auto source = FrameReader::open(stereo_, firstFrame);
    if (!source) return nullptr;
    return std::make_unique<OneChannelStream>(std::move(*source), channel_);
  }
  SampleFaults faults() const override { return stereo_->faults(); }
  const StoredSamples* stored() const override { return bytes_ ? &*bytes_ : nullptr; }
  const SampleRef& stereo() const { return stereo_; }
  int channel() const { return channel_; }

 private:
  std::optional<StoredSamples> bytes_;
  SampleRef stereo_;
  int channel_;
};

class SwappedStream final : public SampleStream {
 public:
  explicit SwappedStream(std::unique_ptr<SampleStream> source) : source_(std::move(source)) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const auto frames = source_->read(out.first(std::min(out.size(), 2 * blockFrames)));
    if (frames) dsp::swapChannels(out.first(2 * *frames));
    return frames;
  }

 private:
  std::unique_ptr<SampleStream> source_;
};

class Swapped final : public SampleData {
 public:
  explicit Swapped(SampleRef stereo)
      : SampleData(2, stereo->frames()), bytes_(bytesOf(stereo, {1, 0})), stereo_(std::move(stereo)) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override {
    auto source = stereo_->open(firstFrame);
    if (!source) return nullptr;
    return std::make_unique<SwappedStream>(std::move(source));
  }
  SampleFaults faults() const override { return stereo_->faults(); }
  const StoredSamples* stored() const override { return bytes_ ? &*bytes_ : nullptr; }

 private:
  std::optional<StoredSamples> bytes_;
  SampleRef stereo_;
};

class TwoChannelStream final : public SampleStream {
 public:
  TwoChannelStream(std::unique_ptr<SampleStream> left, std::unique_ptr<SampleStream> right, int64_t frames)
      : left_{std::move(left)}, right_{std::move(right)}, framesLeft_(frames) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const std::size_t wanted = std::min({out.size() / 2, blockFrames, static_cast<std::size_t>(framesLeft_)});
    if (!left_.fill(wanted) || !right_.fill(wanted)) return std::nullopt;
    dsp::interleave(std::span(left_.block).first(wanted), std::span(right_.block).first(wanted), out);
    framesLeft_ -= static_cast<int64_t>(wanted);
    return wanted;
  }

 private:
  struct Side {
    std::unique_ptr<SampleStream> stream;
    std::vector<float> block = std::vector<float>(blockFrames);

    bool fill(std::size_t wanted) {
      const auto read = readFully(*stream, std::span(block).first(wanted), 1);
      if (!read) return false;
      std::fill(block.begin() + static_cast<std::ptrdiff_t>(*read), block.begin() + static_cast<std::ptrdiff_t>(wanted),
                0.0f);
      return true;
    }
  };

  Side left_;
  Side right_;
  int64_t framesLeft_;
};

class TwoChannels final : public SampleData {
 public:
  TwoChannels(SampleRef left, SampleRef right)
      : SampleData(2, std::max(left->frames(), right->frames())), left_(std::move(left)), right_(std::move(right)) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override {
    const int64_t first = std::clamp<int64_t>(firstFrame, 0, frames());
    auto left = left_->open(std::min(first, left_->frames()));
    auto right = right_->open(std::min(first, right_->frames()));
    if (!left || !right) return nullptr;
    return std::make_unique<TwoChannelStream>(std::move(left), std::move(right), frames() - first);
  }
  SampleFaults faults() const override { return together(left_->faults(), right_->faults()); }
  const SampleRef& side(int channel) const { return channel == 0 ? left_ : right_; }

 private:
  SampleRef left_;
  SampleRef right_;
};

}  // namespace

std::optional<std::size_t> readFully(SampleStream& stream, std::span<float> out, int channels) {
  const auto width = static_cast<std::size_t>(channels);
  std::size_t done = 0;
  while ((done + 1) * width <= out.size()) {
    const auto frames = stream.read(out.subspan(done * width));
    if (!frames) return std::nullopt;
    if (*frames == 0) break;
    done += *frames;
  }
  return done;
}

SampleRef channelOf(const SampleRef& stereo, int channel) {
  assert(stereo && stereo->channels() == 2);
  if (const auto* pair = dynamic_cast<const TwoChannels*>(stereo.get())) {
    if (pair->side(channel)->frames() == stereo->frames()) return pair->side(channel);
  }
  return std::make_shared<OneChannel>(stereo, channel);
}

SampleRef swapped(const SampleRef& stereo) {
  assert(stereo && stereo->channels() == 2);
  return std::make_shared<Swapped>(stereo);
}

SampleRef interleavedOf(const SampleRef& left, const SampleRef& right) {
  assert(left && right && left->channels() == 1 && right->channels() == 1);
  const auto* first = dynamic_cast<const OneChannel*>(left.get());
  const auto* second = dynamic_cast<const OneChannel*>(right.get());
  if (first && second && first->stereo() == second->stereo() && first->channel() == 0 && second->channel() == 1)
    return first->stereo();
  return std::make_shared<TwoChannels>(left, right);
}

}  // namespace tervo::fixup
