#include "tools/wave/mapped_samples.h"

#include <algorithm>

#include "core/frame_reader.h"

namespace tervo {
namespace {

class MappedStream final : public SampleStream {
 public:
  MappedStream(FrameReader source, FrameMap map, int channels, int64_t first)
      : source_(std::move(source)), map_(std::move(map)), channels_(channels), position_(first) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const int64_t before = position_;
    for (;;) {
      const auto in = source_.next(out.size());
      if (!in) return std::nullopt;
      if (in->empty()) return static_cast<std::size_t>(position_ - before);
      map_(*in, out.first(in->size()), position_);
      out = out.subspan(in->size());
      position_ += static_cast<int64_t>(in->size()) / channels_;
    }
  }

 private:
  FrameReader source_;
  FrameMap map_;
  int channels_;
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
    auto source = FrameReader::open(source_, from);
    if (!source) return nullptr;
    auto stream = std::make_unique<MappedStream>(std::move(*source), makeMap_(), channels(), from);
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
