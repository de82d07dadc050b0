// writeSamples(): copies stored bytes where it can, reorders those of another byte order or sign, converts the rest.

#include <algorithm>
#include <new>
#include <vector>

#include "base/last_error.h"
#include "core/waveform.h"
#include "dsp/word_order.h"
#include "formats/wave/sample_decoder.h"
#include "formats/wave/sample_encoder.h"

namespace tervo {
namespace {

constexpr std::size_t blockSamples = 65536;  // 256 KiB of floats: source, floats and target stay in the cache together
constexpr std::size_t copyBytes = 16 << 20;  // between two looks at the host
// Whole words of every width, and more than a file collects before it writes.
constexpr std::size_t reorderBytes = 384 << 10;

/// What is left of a format word when the flags that change nothing are gone.
SampleFormatWord essential(SampleFormatWord word, int channels) {
  const SampleFormat format = formatOf(word);
  uint32_t flags = word & (SplitChannels | Unsigned | BigEndian);
  if (channels == 1) flags &= ~SplitChannels;
  if (bitsOf(format) == 8) flags &= ~BigEndian;
  const bool isInteger =
      format <= SampleFormat::pcm32 || format == SampleFormat::deltaPcm8 || format == SampleFormat::deltaPcm16;
  if (!isInteger) flags &= ~Unsigned;
  return formatWord(format, flags);
}

bool isFloat(SampleFormatWord word) {
  return formatOf(word) == SampleFormat::float32 || formatOf(word) == SampleFormat::float64;
}

/// One save: where the bytes go and how far it is.
class SampleWriter {
 public:
  SampleWriter(ByteSink& sink, const SampleData& data, Host& host, ClippingCount* clipping)
      : sink_(sink),
        data_(data),
        host_(host),
        clipping_(clipping),
        channels_(static_cast<std::size_t>(data.channels())) {}

  bool copy(const StoredSamples& stored) {
    return forEachRun(stored, [&](uint64_t offset, uint64_t bytes) {
      for (uint64_t done = 0; done < bytes;) {
        const uint64_t part = std::min<uint64_t>(bytes - done, copyBytes);
        if (!sink_.writeFrom(*stored.source, offset + done, part)) return false;
        done += part;
        if (!advance(part, stored.bytes)) return false;
      }
      return true;
    });
  }

  /// Words of `width` bytes in the other byte order, or with their sign bit flipped, or both.
  bool reorder(const StoredSamples& stored, std::size_t width, uint32_t changes, ByteOrder order) {
    std::vector<std::byte> block(reorderBytes);
    return forEachRun(stored, [&](uint64_t offset, uint64_t bytes) {
      for (uint64_t done = 0; done < bytes;) {
        const auto part =
            std::span(block).first(static_cast<std::size_t>(std::min<uint64_t>(bytes - done, block.size())));
        if (!stored.source->readExactly(offset + done, part)) return false;
        if (changes & BigEndian) dsp::reverseWords(part, width);
        if (changes & Unsigned) dsp::flipSigns(part, width, order);
        if (!sink_.write(part) || !advance(part.size(), stored.bytes)) return false;
        done += part.size();
      }
      return true;
    });
  }

  bool convertFrames(SampleFormatWord word) {
    return convert(
        word, [](std::span<const float> block) { return block; }, channels_);
  }

  /// One of two channels, on its own.
  bool convertChannel(SampleFormatWord word, std::size_t channel) {
    std::vector<float> one(blockSamples / 2);
    return convert(
        word,
        [&](std::span<const float> block) {
          for (std::size_t i = 0; i < block.size() / 2; ++i) one[i] = block[2 * i + channel];
          return std::span<const float>(one).first(block.size() / 2);
        },
        2 * channels_);
  }

 private:
  template <typename Work>
  static bool forEachRun(const StoredSamples& stored, Work work) {
    if (!(stored.format & SplitChannels) || stored.secondChannelOffset == 0) return work(stored.offset, stored.bytes);
    return work(stored.offset, stored.bytes / 2) && work(stored.secondChannelOffset, stored.bytes / 2);
  }

  /// `select` takes what is to be written out of a block of interleaved frames. `unitsPerFrame` is how much a frame of
  /// this pass counts for the progress of the whole.
  template <typename Select>
  bool convert(SampleFormatWord word, Select select, std::size_t passUnits) {
    SampleEncoder encoder;
    if (!encoder.prepare(word)) return false;
    auto stream = data_.open();
    if (!stream) return false;
    const auto frames = static_cast<uint64_t>(data_.frames());
    std::vector<float> block(blockSamples);
    std::vector<std::byte> bytes(static_cast<std::size_t>(encoder.bytesFor(blockSamples)));
    for (uint64_t done = 0; done < frames;) {
      const auto wanted = std::min<uint64_t>(frames - done, blockSamples / channels_);
      const auto part = std::span(block).first(static_cast<std::size_t>(wanted) * channels_);
      if (!fill(*stream, part)) return false;
      const auto selected = select(part);
      if (clipping_ && !isFloat(word)) clipping_->add(selected);
      const std::size_t count = encoder.encode(selected, bytes);
      if (!sink_.write(std::span(bytes).first(count))) return false;
      done += wanted;
      if (!advance(wanted * channels_, frames * passUnits)) return false;
    }
    return true;
  }

  bool fill(SampleStream& stream, std::span<float> part) {
    while (!part.empty()) {
      const auto frames = stream.read(part);
      if (!frames) return false;
      if (*frames == 0) return fail(u"Reading from file failed");
      part = part.subspan(*frames * channels_);
    }
    return true;
  }

  bool advance(uint64_t units, uint64_t total) {
    done_ += units;
    if (host_.progress(static_cast<double>(done_) / static_cast<double>(total))) return true;
    return fail(u"Save aborted!");
  }

  ByteSink& sink_;
  const SampleData& data_;
  Host& host_;
  ClippingCount* clipping_;
  std::size_t channels_;
  uint64_t done_ = 0;
};

}  // namespace

bool writeSamples(ByteSink& sink, const SampleData& data, SampleFormatWord word, Host& host,
                  ClippingCount* clipping) try {
  SampleWriter writer(sink, data, host, clipping);
  const SampleFormatWord target = essential(word, data.channels());
  if (const StoredSamples* stored = data.stored(); stored && stored->genericPcm) {
    const uint32_t changes = essential(stored->format, data.channels()) ^ target;
    if (changes == 0) return writer.copy(*stored);
    const auto width = static_cast<std::size_t>(bitsOf(formatOf(word)) / 8);
    if ((changes & ~(BigEndian | Unsigned)) == 0 && sampleWordOf(target))
      return writer.reorder(*stored, width, changes, byteOrderOf(target));
  }
  if (!(target & SplitChannels)) return writer.convertFrames(target);
  return writer.convertChannel(target, 0) && writer.convertChannel(target, 1);
} catch (const std::bad_alloc&) {
  return fail(u"Out of memory");
}

bool writeSamples(TargetFile& file, const Waveform& waveform, SampleFormatWord word) {
  ClippingCount clipping;
  const bool written = writeSamples(file.sink, *waveform.samples, word, file.host, &clipping);
  clipping.reportTo(file.report, waveform.name);
  return written;
}

}  // namespace tervo
