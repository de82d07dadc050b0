#include "formats/wave/sample_run.h"

#include <algorithm>
#include <array>

namespace tervo {
namespace {

constexpr std::size_t bufferBytes = 128 * 1024;

}  // namespace

SampleRun::SampleRun(std::shared_ptr<const ByteSource> source, uint64_t offset, const SampleDecoder& decoder)
    : source_(std::move(source)), offset_(offset), decoder_(decoder), buffer_(bufferBytes) {}

bool SampleRun::skipTo(uint64_t sample) {
  if (!decoder_.isSequential()) {
    position_ = sample;
    return true;
  }
  std::array<float, 4096> discarded;
  while (position_ < sample) {
    const auto part = std::min<uint64_t>(sample - position_, discarded.size());
    if (!read(std::span(discarded).first(static_cast<std::size_t>(part)))) return false;
  }
  return true;
}

bool SampleRun::read(std::span<float> out) {
  const std::size_t group = decoder_.groupSamples();
  const std::size_t capacity = buffer_.size() * 8 / static_cast<std::size_t>(decoder_.bits()) / group * group;
  while (!out.empty()) {
    const auto skip = static_cast<std::size_t>(position_ % group);
    const std::size_t count = std::min(out.size(), capacity - skip);
    const auto bytes = std::span(buffer_).first(static_cast<std::size_t>(decoder_.bytesFor(skip + count)));
    if (!source_->readExactly(offset_ + decoder_.bytesFor(position_ - skip), bytes)) return false;
    decoder_.decode(bytes, skip, out.first(count));
    position_ += count;
    out = out.subspan(count);
  }
  return true;
}

}  // namespace tervo
