#include <algorithm>
#include <new>

#include "base/last_error.h"
#include "formats/codec/block_codec.h"

namespace tervo {
namespace {

constexpr std::size_t readAhead = 64 * 1024;  // bytes a call to the source, unless one block is longer

// Reads the source some blocks at a time and hands out one after another.
class BlockFetcher {
 public:
  BlockFetcher(const StoredSamples& stored, std::size_t blockBytes)
      : source_(stored.source),
        next_(stored.offset),
        end_(stored.offset + stored.bytes),
        blockBytes_(blockBytes),
        buffer_(std::min<uint64_t>(stored.bytes, std::max<std::size_t>(readAhead / blockBytes, 1) * blockBytes)) {}

  void skipBlocks(uint64_t count) { next_ = count > (end_ - next_) / blockBytes_ ? end_ : next_ + count * blockBytes_; }

  /// The next block; the last one may be shorter, and after it come empty ones. Nothing when the source fails.
  std::optional<std::span<const std::byte>> next() {
    if (pending_.empty() && next_ < end_ && !refill()) return std::nullopt;
    const auto block = pending_.first(std::min(blockBytes_, pending_.size()));
    pending_ = pending_.subspan(block.size());
    return block;
  }

 private:
  bool refill() {
    const auto part =
        std::span(buffer_).first(static_cast<std::size_t>(std::min<uint64_t>(end_ - next_, buffer_.size())));
    if (!source_->readExactly(next_, part)) return false;
    next_ += part.size();
    pending_ = part;
    return true;
  }

  std::shared_ptr<const ByteSource> source_;
  uint64_t next_;
  uint64_t end_;
  std::size_t blockBytes_;
  std::vector<std::byte> buffer_;
  std::span<const std::byte> pending_;
};

class CodedStream final : public SampleStream {
 public:
  CodedStream(const StoredSamples& stored, int channels, int64_t frames, std::unique_ptr<BlockDecoder> decoder)
      : decoder_(std::move(decoder)),
        fetcher_(stored, decoder_->blockBytes()),
        channels_(static_cast<std::size_t>(channels)),
        framesLeft_(frames),
        decoded_(decoder_->blockFrames() * channels_) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const auto wanted = static_cast<std::size_t>(
        std::min(static_cast<uint64_t>(out.size() / channels_), static_cast<uint64_t>(framesLeft_)));
    out = out.first(wanted * channels_);
    while (!out.empty()) {
      if (pending_.empty() && !ended_ && !decodeBlock()) return std::nullopt;
      const std::size_t count = std::min(out.size(), pending_.size());
      std::copy_n(pending_.begin(), count, out.begin());
      pending_ = pending_.subspan(count);
      out = out.subspan(count);
      if (!ended_) continue;
      std::fill(out.begin(), out.end(), 0.0f);
      break;
    }
    framesLeft_ -= static_cast<int64_t>(wanted);
    return wanted;
  }

  /// Passes over frames before anything was read.
  bool skip(int64_t frames) {
    if (decoder_->independentBlocks()) {
      const auto blockFrames = static_cast<int64_t>(decoder_->blockFrames());
      fetcher_.skipBlocks(static_cast<uint64_t>(frames / blockFrames));
      framesLeft_ -= frames / blockFrames * blockFrames;
      frames %= blockFrames;
    }
    std::vector<float> passed(decoded_.size());
    while (frames > 0 && !ended_) {
      const auto part = std::min(frames, static_cast<int64_t>(decoder_->blockFrames()));
      if (!read(std::span(passed).first(static_cast<std::size_t>(part) * channels_))) return false;
      frames -= part;
    }
    framesLeft_ -= frames;
    return true;
  }

 private:
  bool decodeBlock() {
    const auto block = fetcher_.next();
    if (!block) return false;
    ended_ = block->empty();
    if (ended_) return true;
    std::size_t samples = std::min(decoder_->decode(*block, decoded_) * channels_, decoded_.size());
    // The frame number of an independent block follows from its place, so a damaged one must not move those behind it.
    if (decoder_->independentBlocks() && block->size() == decoder_->blockBytes()) {
      std::fill(decoded_.begin() + static_cast<std::ptrdiff_t>(samples), decoded_.end(), 0.0f);
      samples = decoded_.size();
    }
    pending_ = std::span<const float>(decoded_).first(samples);
    return true;
  }

  std::unique_ptr<BlockDecoder> decoder_;
  BlockFetcher fetcher_;
  std::size_t channels_;
  int64_t framesLeft_;
  std::vector<float> decoded_;
  std::span<const float> pending_;
  bool ended_ = false;  // no bytes are left; what is still asked for is silent
};

class CodedSamples final : public SampleData {
 public:
  CodedSamples(StoredSamples stored, int channels, int64_t frames, DecoderFactory makeDecoder)
      : SampleData(channels, frames), stored_(std::move(stored)), makeDecoder_(std::move(makeDecoder)) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override try {
    auto decoder = makeDecoder_();
    if (!decoder) return nullptr;
    auto stream = std::make_unique<CodedStream>(stored_, channels(), frames(), std::move(decoder));
    if (!stream->skip(std::clamp<int64_t>(firstFrame, 0, frames()))) return nullptr;
    return stream;
  } catch (const std::bad_alloc&) {
    return fail(u"Out of memory");
  }

  const StoredSamples* stored() const override { return &stored_; }

 private:
  StoredSamples stored_;
  DecoderFactory makeDecoder_;
};

}  // namespace

SampleRef makeCodedSamples(StoredSamples stored, int channels, int64_t frames, DecoderFactory makeDecoder) {
  if (channels < 1) return fail(u"No channels");
  if (!stored.source) return fail(u"Reading from file failed");
  if (!makeDecoder) return nullptr;  // its maker has said why
  // A size taken from a header may reach beyond the file; bytes that go missing later are a failure instead.
  const uint64_t size = stored.source->size();
  stored.offset = std::min(stored.offset, size);
  stored.bytes = std::min(stored.bytes, size - stored.offset);
  stored.genericPcm = false;
  stored.coding = makeDecoder()->coding();
  return std::make_shared<CodedSamples>(std::move(stored), channels, std::max<int64_t>(frames, 0),
                                        std::move(makeDecoder));
}

}  // namespace tervo
