#include "tools/wave/mapped_samples.h"

#include <algorithm>

namespace tervo {
namespace {

// A block is still in the cache when it is changed.
constexpr std::size_t blockSamples = 16384;

class MappedStream final : public SampleStream {
 public:
  MappedStream(std::unique_ptr<SampleStream> source, FrameMap map, int channels, int64_t first)
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
      map_(out.subspan(done * channels_, *frames * channels_), position_);
      done += *frames;
      position_ += static_cast<int64_t>(*frames);
    }
    return done;
  }

 private:
  std::unique_ptr<SampleStream> source_;
  FrameMap map_;
  std::size_t channels_;
  int64_t position_;
};

using MakeMap = std::function<FrameMap()>;

enum class Order : uint8_t { any, fromTheFirst };

class MappedSamples final : public SampleData {
 public:
  MappedSamples(SampleRef source, MakeMap makeMap, Order order)
      : SampleData(source->channels(), source->frames()),
        source_(std::move(source)),
        makeMap_(std::move(makeMap)),
        order_(order) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override {
    const int64_t first = std::clamp<int64_t>(firstFrame, 0, frames());
    const int64_t from = order_ == Order::any ? first : 0;
    auto source = source_->open(from);
    if (!source) return nullptr;
    auto stream = std::make_unique<MappedStream>(std::move(source), makeMap_(), channels(), from);
    return skipFrames(*stream, first - from, channels()) ? std::move(stream) : nullptr;
  }
  SampleFaults faults() const override { return source_->faults(); }

 private:
  SampleRef source_;
  MakeMap makeMap_;
  Order order_;
};

}  // namespace

SampleRef mapped(SampleRef source, FrameMap map) {
  return std::make_shared<MappedSamples>(
      std::move(source), [map = std::move(map)] { return map; }, Order::any);
}

SampleRef mappedInOrder(SampleRef source, std::function<FrameMap()> make) {
  return std::make_shared<MappedSamples>(std::move(source), std::move(make), Order::fromTheFirst);
}

}  // namespace tervo
