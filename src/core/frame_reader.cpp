#include "core/frame_reader.h"

#include <algorithm>

#include "core/normalise/sample_views.h"

namespace tervo {
namespace {

constexpr std::size_t mostOfBlock = 65536;  // samples, 256 KiB: they stay in the cache

}  // namespace

std::optional<FrameReader> FrameReader::open(SampleRef data, int64_t firstFrame) {
  FrameReader reader;
  const int64_t first = std::clamp<int64_t>(firstFrame, 0, data->frames());
  if (const auto resident = data->resident(); !resident.empty()) {
    reader.resident_ = resident.subspan(static_cast<std::size_t>(first * data->channels()));
  } else {
    reader.stream_ = data->open(first);
    if (!reader.stream_) return std::nullopt;
  }
  reader.data_ = std::move(data);
  return reader;
}

std::optional<std::span<const float>> FrameReader::next(std::size_t mostSamples) {
  const int channels = data_->channels();
  const std::size_t most = mostSamples - mostSamples % static_cast<std::size_t>(channels);
  if (!stream_) {
    const auto frames = resident_.first(std::min(most, resident_.size()));
    resident_ = resident_.subspan(frames.size());
    return frames;
  }
  const std::size_t asked = std::min(most, mostOfBlock - mostOfBlock % static_cast<std::size_t>(channels));
  if (block_.size() < asked) block_.resize(asked);
  const auto frames = fixup::readFully(*stream_, std::span(block_).first(asked), channels);
  if (!frames) return std::nullopt;
  return std::span<const float>(block_).first(*frames * static_cast<std::size_t>(channels));
}

}  // namespace tervo
