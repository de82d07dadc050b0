#include <algorithm>
#include <cassert>

#include "base/last_error.h"
#include "core/normalise/rearranged_bytes.h"
#include "dsp/frame_kernels.h"

namespace tervo::fixup {
namespace {

// Backwards, a source is opened anew for every block. What is no plain samples may then be decoded from its first
// frame, so these blocks are large.
constexpr std::size_t plainBlockSamples = std::size_t{1} << 17, codedBlockSamples = std::size_t{1} << 24;

int64_t totalFrames(const std::vector<Piece>& pieces) {
  int64_t frames = 0;
  for (const Piece& piece : pieces) frames += piece.frames;
  return frames;
}

using Pieces = std::shared_ptr<const std::vector<Piece>>;

class JoinedStream final : public SampleStream {
 public:
  JoinedStream(Pieces pieces, int64_t firstFrame)
      : pieces_(std::move(pieces)), width_(static_cast<std::size_t>(pieces_->front().source->channels())) {
    while (piece_ < pieces_->size() && firstFrame >= current().frames) firstFrame -= pieces_->at(piece_++).frames;
    done_ = firstFrame;
  }

  std::optional<std::size_t> read(std::span<float> out) override {
    const std::size_t wanted = out.size() / width_;
    if (piece_ == pieces_->size() || wanted == 0) return 0;
    const auto part = std::min(static_cast<int64_t>(wanted), current().frames - done_);
    const auto frames = current().direction == Direction::forwards ? forwards(out, part) : backwards(out, part);
    if (!frames) return std::nullopt;
    if (*frames == 0) return setLastErrorText(u"Reading from file failed"), std::nullopt;
    done_ += *frames;
    if (done_ == current().frames) enterNextPiece();
    return static_cast<std::size_t>(*frames);
  }

 private:
  const Piece& current() const { return (*pieces_)[piece_]; }

  void enterNextPiece() {
    ++piece_;
    done_ = 0;
    stream_.reset();
    block_.clear();
  }

  std::optional<int64_t> forwards(std::span<float> out, int64_t wanted) {
    if (!stream_) stream_ = current().source->open(current().first + done_);
    if (!stream_) return std::nullopt;
    const auto frames = stream_->read(out.first(static_cast<std::size_t>(wanted) * width_));
    if (!frames) return std::nullopt;
    return static_cast<int64_t>(*frames);
  }

  std::optional<int64_t> backwards(std::span<float> out, int64_t wanted) {
    const int64_t end = current().first + current().frames - done_;
    if (const auto resident = current().source->resident(); !resident.empty()) {
      reverse(resident.first(static_cast<std::size_t>(end) * width_), out, wanted);
      return wanted;
    }
    if (block_.empty() && !loadBlockBehind(end)) return std::nullopt;
    const auto blockFrames = static_cast<int64_t>(block_.size() / width_);
    const int64_t part = std::min(wanted, blockFrames);
    reverse(block_, out, part);
    block_.resize(static_cast<std::size_t>(blockFrames - part) * width_);
    return part;
  }

  /// The last `frames` of `from`, the last one first.
  void reverse(std::span<const float> from, std::span<float> out, int64_t frames) const {
    const auto samples = static_cast<std::size_t>(frames) * width_;
    dsp::reverseFrames(from.last(samples), out.first(samples), static_cast<int>(width_));
  }

  /// Holds the frames of the piece that stand before frame `end` of the source.
  bool loadBlockBehind(int64_t end) {
    const StoredSamples* stored = current().source->stored();
    const std::size_t most = stored && stored->genericPcm ? plainBlockSamples : codedBlockSamples;
    const int64_t start = std::max(current().first, end - static_cast<int64_t>(most / width_));
    const auto stream = current().source->open(start);
    if (!stream) return false;
    block_.resize(static_cast<std::size_t>(end - start) * width_);
    const auto frames = readFully(*stream, block_, static_cast<int>(width_));
    if (!frames) return false;
    return static_cast<int64_t>(*frames) == end - start || fail(u"Reading from file failed");
  }

  Pieces pieces_;
  std::size_t width_;
  std::size_t piece_ = 0;
  int64_t done_ = 0;  // frames of the piece
  std::unique_ptr<SampleStream> stream_;
  std::vector<float> block_;  // frames still to be played, from the last one on
};

class JoinedSamples final : public SampleData {
 public:
  explicit JoinedSamples(std::vector<Piece> pieces)
      : SampleData(pieces.front().source->channels(), totalFrames(pieces)),
        bytes_(bytesOf(pieces)),
        pieces_(std::make_shared<const std::vector<Piece>>(std::move(pieces))) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override {
    return std::make_unique<JoinedStream>(pieces_, std::clamp<int64_t>(firstFrame, 0, frames()));
  }
  SampleFaults faults() const override {
    SampleFaults all;
    for (const Piece& piece : *pieces_) all = together(all, piece.source->faults());
    return all;
  }
  const StoredSamples* stored() const override { return bytes_ ? &*bytes_ : nullptr; }

 private:
  std::optional<StoredSamples> bytes_;
  Pieces pieces_;
};

}  // namespace

SampleRef joined(std::vector<Piece> pieces) {
  std::erase_if(pieces, [](const Piece& piece) { return piece.frames <= 0; });
  assert(!pieces.empty());
  return std::make_shared<JoinedSamples>(std::move(pieces));
}

}  // namespace tervo::fixup
