#include "formats/codec/compressed_stream.h"

#include <algorithm>
#include <atomic>
#include <new>

#include "base/last_error.h"
#include "formats/codec/flac.h"
#include "formats/codec/ogg_vorbis.h"

namespace tervo {
namespace {

constexpr CompressedCoding codings[] = {
    {oggVorbisName, vorbisFacts, openVorbis, canDecodeVorbis},
    {flacName, flacFacts, openFlac, canDecodeFlac},
};

const CompressedCoding* codingNamed(TextView name) {
  for (const CompressedCoding& coding : codings)
    if (coding.name == name) return &coding;
  return nullptr;
}

using Flag = std::shared_ptr<std::atomic<bool>>;

/// Puts what a decoder gives where it belongs, with silence between, and ends where the headers say.
class PlacedStream final : public SampleStream {
 public:
  PlacedStream(std::unique_ptr<StreamDecoder> decoder, int channels, int64_t first, int64_t end, Flag isDamaged)
      : decoder_(std::move(decoder)),
        channels_(static_cast<std::size_t>(channels)),
        at_(first),
        end_(end),
        isDamaged_(std::move(isDamaged)) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const auto wanted =
        static_cast<std::size_t>(std::min<uint64_t>(out.size() / channels_, static_cast<uint64_t>(end_ - at_)));
    for (std::size_t done = 0; done < wanted;) {
      if (decoded_.empty() && decoder_ && !decodeMore()) return std::nullopt;
      done += fill(out.subspan(done * channels_, (wanted - done) * channels_));
    }
    return wanted;
  }

 private:
  bool decodeMore() {
    const auto block = decoder_->next();
    if (!block) return false;
    decoded_ = block->samples;
    decodedAt_ = block->firstFrame;
    if (decoder_->sawDamage() || decoded_.empty() || decodedAt_ > at_) *isDamaged_ = true;
    if (decoded_.empty()) decoder_.reset();
    return true;
  }

  /// From one source; the number of frames.
  std::size_t fill(std::span<float> out) {
    const bool isSilent = decoded_.empty() || decodedAt_ > at_;
    const uint64_t silent = decoded_.empty() ? out.size() : static_cast<uint64_t>(decodedAt_ - at_);
    const std::size_t frames = static_cast<std::size_t>(
        std::min<uint64_t>(out.size() / channels_, isSilent ? silent : decoded_.size() / channels_));
    if (isSilent) {
      std::fill_n(out.begin(), frames * channels_, 0.0f);
    } else {
      std::copy_n(decoded_.begin(), frames * channels_, out.begin());
      decoded_ = decoded_.subspan(frames * channels_);
    }
    at_ += static_cast<int64_t>(frames);
    return frames;
  }

  std::unique_ptr<StreamDecoder> decoder_;
  std::size_t channels_;
  int64_t at_, end_;
  Flag isDamaged_;
  std::span<const float> decoded_;
  int64_t decodedAt_ = 0;
};

class CompressedSamples final : public SampleData {
 public:
  CompressedSamples(StoredSamples stored, const StreamFacts& facts, OpenDecoder openDecoder)
      : SampleData(facts.channels, facts.frames), stored_(std::move(stored)), openDecoder_(openDecoder) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override try {
    const int64_t first = std::clamp<int64_t>(firstFrame, 0, frames());
    auto decoder = first < frames() ? openDecoder_(stored_, channels(), first) : nullptr;
    if (!decoder && first < frames()) return nullptr;
    return std::make_unique<PlacedStream>(std::move(decoder), channels(), first, frames(), isDamaged_);
  } catch (const std::bad_alloc&) {
    return fail(u"Out of memory");
  }

  SampleFaults faults() const override { return {.damage = *isDamaged_ ? this : nullptr}; }
  const StoredSamples* stored() const override { return &stored_; }

 private:
  StoredSamples stored_;
  OpenDecoder openDecoder_;
  Flag isDamaged_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace

std::optional<StreamFacts> factsOfStream(const StoredSamples& stored) {
  for (const CompressedCoding& coding : codings)
    if (const auto facts = coding.facts(stored)) return facts;
  return fail(damagedStream);
}

bool canDecode(TextView name) {
  const CompressedCoding* coding = codingNamed(name);
  return coding && coding->canDecode();
}

SampleRef openCompressed(StoredSamples stored, const StreamFacts& facts) {
  const CompressedCoding* coding = codingNamed(facts.coding);
  if (!coding || facts.channels < 1) return fail(damagedStream);
  stored.format = formatWord(SampleFormat::compressed);
  stored.coding = facts.coding;
  return std::make_shared<CompressedSamples>(std::move(stored), facts, coding->open);
}

}  // namespace tervo
