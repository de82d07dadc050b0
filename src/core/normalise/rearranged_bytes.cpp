#include "core/normalise/rearranged_bytes.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace tervo::fixup {
namespace {

/// Frames [start, start + frames) of the result are so many of a source from the byte at `offset`.
struct Run {
  std::shared_ptr<const ByteSource> source;
  uint64_t offset;
  uint64_t start;
  uint64_t frames;
  Direction direction;
};

struct FrameLayout {
  std::size_t sampleBytes;
  std::size_t sourceBytes;    ///< of a frame
  std::vector<int> channels;  ///< of the source, as they stand in a frame of the result

  std::size_t bytes() const { return channels.size() * sampleBytes; }
  bool isWhole() const { return bytes() == sourceBytes && std::is_sorted(channels.begin(), channels.end()); }
};

class RearrangedBytes final : public ByteSource {
 public:
  RearrangedBytes(std::vector<Run> runs, FrameLayout layout)
      : runs_(std::move(runs)),
        layout_(std::move(layout)),
        size_((runs_.back().start + runs_.back().frames) * layout_.bytes()) {}

  uint64_t size() const override { return size_; }

  std::size_t readAt(uint64_t offset, std::span<std::byte> out) const noexcept override {
    std::size_t done = 0;
    while (done < out.size() && offset + done < size_) {
      const std::size_t part = readPart(offset + done, out.subspan(done));
      if (part == 0) break;
      done += part;
    }
    return done;
  }

 private:
  std::size_t readPart(uint64_t offset, std::span<std::byte> out) const noexcept {
    const uint64_t frame = offset / layout_.bytes();
    const auto skipped = static_cast<std::size_t>(offset % layout_.bytes());
    const auto behind =
        std::upper_bound(runs_.begin(), runs_.end(), frame, [](uint64_t at, const Run& run) { return at < run.start; });
    const Run& run = *(behind - 1);
    const uint64_t within = frame - run.start;
    if (run.direction == Direction::backwards || !layout_.isWhole()) return rearrange(run, within, skipped, out);
    const uint64_t left = (run.frames - within) * layout_.sourceBytes - skipped;
    const auto bytes = static_cast<std::size_t>(std::min<uint64_t>(left, out.size()));
    return run.source->readAt(run.offset + within * layout_.sourceBytes + skipped, out.first(bytes));
  }

  std::size_t rearrange(const Run& run, uint64_t within, std::size_t skipped, std::span<std::byte> out) const noexcept {
    std::array<std::byte, 8192> source, result;
    const auto frames = static_cast<std::size_t>(std::min<uint64_t>(
        {run.frames - within, source.size() / layout_.sourceBytes, out.size() / layout_.bytes() + 2}));
    const bool forwards = run.direction == Direction::forwards;
    const uint64_t first = forwards ? within : run.frames - within - frames;
    const auto read = std::span(source).first(frames * layout_.sourceBytes);
    if (run.source->readAt(run.offset + first * layout_.sourceBytes, read) < read.size()) return 0;
    auto to = result.begin();
    for (std::size_t i = 0; i < frames; ++i) {
      const std::size_t frame = forwards ? i : frames - 1 - i;
      for (const int channel : layout_.channels) {
        const auto from = frame * layout_.sourceBytes + static_cast<std::size_t>(channel) * layout_.sampleBytes;
        to = std::copy_n(source.begin() + static_cast<std::ptrdiff_t>(from), layout_.sampleBytes, to);
      }
    }
    const std::size_t bytes = std::min(frames * layout_.bytes() - skipped, out.size());
    std::copy_n(result.begin() + static_cast<std::ptrdiff_t>(skipped), bytes, out.begin());
    return bytes;
  }

  std::vector<Run> runs_;
  FrameLayout layout_;
  uint64_t size_;
};

/// The stored samples of data whose frames are whole bytes that floats would round; null otherwise.
const StoredSamples* fineBytesOf(const SampleData& data) {
  const StoredSamples* stored = data.stored();
  if (!stored || !stored->genericPcm || stored->format & SplitChannels) return nullptr;
  const SampleFormat format = formatOf(stored->format);
  return format == SampleFormat::pcm32 || format == SampleFormat::float64 ? stored : nullptr;
}

FrameLayout layoutOf(const SampleData& data, std::vector<int> channels) {
  const auto sampleBytes = static_cast<std::size_t>(bitsOf(formatOf(data.stored()->format)) / 8);
  return {sampleBytes, sampleBytes * static_cast<std::size_t>(data.channels()), std::move(channels)};
}

StoredSamples storedAs(const StoredSamples& like, std::vector<Run> runs, FrameLayout layout) {
  StoredSamples stored;
  stored.format = like.format;
  stored.genericPcm = true;
  stored.isRearranged = true;
  stored.source = std::make_shared<RearrangedBytes>(std::move(runs), std::move(layout));
  stored.bytes = stored.source->size();
  return stored;
}

}  // namespace

std::optional<StoredSamples> bytesOf(const std::vector<Piece>& pieces) {
  std::vector<int> channels(static_cast<std::size_t>(pieces.front().source->channels()));
  std::iota(channels.begin(), channels.end(), 0);
  std::vector<Run> runs;
  uint64_t start = 0;
  const StoredSamples* first = fineBytesOf(*pieces.front().source);
  for (const Piece& piece : pieces) {
    const StoredSamples* stored = fineBytesOf(*piece.source);
    if (!stored || stored->format != first->format) return std::nullopt;
    const auto frames = static_cast<uint64_t>(piece.frames);
    const uint64_t frameBytes = layoutOf(*piece.source, {}).sourceBytes;
    runs.push_back({stored->source, stored->offset + static_cast<uint64_t>(piece.first) * frameBytes, start, frames,
                    piece.direction});
    start += frames;
  }
  return storedAs(*first, std::move(runs), layoutOf(*pieces.front().source, std::move(channels)));
}

std::optional<StoredSamples> bytesOf(const SampleRef& stereo, std::vector<int> channels) {
  const StoredSamples* stored = fineBytesOf(*stereo);
  if (!stored || stereo->frames() == 0) return std::nullopt;
  return storedAs(*stored, {{stored->source, stored->offset, 0, static_cast<uint64_t>(stereo->frames()), {}}},
                  layoutOf(*stereo, std::move(channels)));
}

}  // namespace tervo::fixup
