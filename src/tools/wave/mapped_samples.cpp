#include "tools/wave/mapped_samples.h"

#include <algorithm>

namespace tervo {
namespace {

// A block is still in the cache when it is changed.
constexpr std::size_t blockSamples = 16384;

class MappedStream final : public SampleStream {
 public:
  MappedStream(std::unique_ptr<SampleStream> source, std::shared_ptr<const FrameMap> map, int channels, int64_t first)
      : source_(std::move(source)),
        map_(std::move(map)),
        channels_(static_cast<std::size_t>(channels)),
        position_(first) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    std::size_t done = 0;
    while ((done + 1) * channels_ <= out.size()) {
      const std::size_t part = std::min(out.size() - done * channels_, blockSamples);
      const auto frames = source_->read(out.subspan(done * channels_, part));
      if (!frames) return std::nullopt;
      if (*frames == 0) break;
      (*map_)(out.subspan(done * channels_, *frames * channels_), position_);
      done += *frames;
      position_ += static_cast<int64_t>(*frames);
    }
    return done;
  }

 private:
  std::unique_ptr<SampleStream> source_;
  std::shared_ptr<const FrameMap> map_;
  std::size_t channels_;
  int64_t position_;
};

class MappedSamples final : public SampleData {
 public:
  MappedSamples(SampleRef source, FrameMap map)
      : SampleData(source->channels(), source->frames()),
        source_(std::move(source)),
        map_(std::make_shared<const FrameMap>(std::move(map))) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override {
    const int64_t first = std::clamp<int64_t>(firstFrame, 0, frames());
    auto stream = source_->open(first);
    if (!stream) return nullptr;
    return std::make_unique<MappedStream>(std::move(stream), map_, channels(), first);
  }

 private:
  SampleRef source_;
  std::shared_ptr<const FrameMap> map_;
};

}  // namespace

SampleRef mapped(SampleRef source, FrameMap map) {
  return std::make_shared<MappedSamples>(std::move(source), std::move(map));
}

}  // namespace tervo
