#include "formats/codec/compressed_stream.h"

#include <algorithm>
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

/// Ends where the headers say, however much the decoder gives.
class PaddedStream final : public SampleStream {
 public:
  PaddedStream(std::unique_ptr<SampleStream> decoder, int channels, int64_t frames)
      : decoder_(std::move(decoder)), channels_(static_cast<std::size_t>(channels)), left_(frames) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const auto wanted =
        static_cast<std::size_t>(std::min(static_cast<uint64_t>(out.size() / channels_), static_cast<uint64_t>(left_)));
    out = out.first(wanted * channels_);
    while (!out.empty() && decoder_) {
      const auto frames = decoder_->read(out);
      if (!frames) return std::nullopt;
      if (*frames == 0) decoder_.reset();
      out = out.subspan(*frames * channels_);
    }
    std::fill(out.begin(), out.end(), 0.0f);
    left_ -= static_cast<int64_t>(wanted);
    return wanted;
  }

 private:
  std::unique_ptr<SampleStream> decoder_;
  std::size_t channels_;
  int64_t left_;
};

class CompressedSamples final : public SampleData {
 public:
  CompressedSamples(StoredSamples stored, const StreamFacts& facts, OpenDecoder openDecoder)
      : SampleData(facts.channels, facts.frames), stored_(std::move(stored)), openDecoder_(openDecoder) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override try {
    const int64_t first = std::clamp<int64_t>(firstFrame, 0, frames());
    auto decoder = first < frames() ? openDecoder_(stored_, channels(), first) : nullptr;
    if (!decoder && first < frames()) return nullptr;
    return std::make_unique<PaddedStream>(std::move(decoder), channels(), frames() - first);
  } catch (const std::bad_alloc&) {
    return fail(u"Out of memory");
  }

  const StoredSamples* stored() const override { return &stored_; }

 private:
  StoredSamples stored_;
  OpenDecoder openDecoder_;
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
