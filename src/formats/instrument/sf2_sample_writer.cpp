#include "formats/instrument/sf2_sample_writer.h"

#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "formats/instrument/sf2_samples.h"
#include "formats/wave/sample_encoder.h"

namespace tervo::sf2 {
namespace {

constexpr std::size_t blockFrames = 32768;

/// A part of the whole for work that counts its own progress from 0 to 1.
class PartOfProgress final : public Host {
 public:
  PartOfProgress(Host& host, double begin, double share) : host_(host), begin_(begin), share_(share) {}
  bool progress(double fraction) override { return host_.progress(begin_ + fraction * share_); }

 private:
  Host& host_;
  double begin_, share_;
};

/// 24 bits, rounded half up and offset so that the lowest value is 0.
uint32_t offset24(float sample) {
  const double value = std::round((double{sample} + 1) * 8388608);
  return value > 0 ? static_cast<uint32_t>(std::min(value, 16777215.0)) : 0;
}

enum class Part { words, lowBytes };

class SampleDataWriter {
 public:
  SampleDataWriter(ByteWriter& writer, const SamplePlan& plan, Host& host) : writer_(writer), plan_(plan), host_(host) {
    for (const auto& sample : plan.samples()) total_ += static_cast<double>(framesOf(sample));
    if (plan.is24Bit()) total_ *= 1.5;
  }

  bool write() {
    const ChunkScope list(writer_, "LIST");
    writer_.chars("sdta");
    return writePart("smpl", Part::words) && (!plan_.is24Bit() || writePart("sm24", Part::lowBytes));
  }

 private:
  static uint64_t framesOf(const PlannedSample& sample) { return sample.record.end - sample.record.start; }

  bool writePart(FourCC id, Part part) {
    const ChunkScope chunk(writer_, id);
    for (const auto& sample : plan_.samples()) {
      const double share =
          static_cast<double>(framesOf(sample)) * (part == Part::words ? 1 : 0.5) / std::max(total_, 1.0);
      PartOfProgress progress(host_, done_, share);
      if (sample.frames && !writeSample(*sample.frames, part, progress)) return false;
      writer_.zeros((part == Part::words ? 2 : 1) * wordsBetweenSamples);
      done_ += share;
    }
    // The size of "sm24" itself is even: readers compare it with that of "smpl" (SoundFont 2.04, section 6.2).
    if (writer_.position() % 2 == 1) writer_.u8(0);
    return writer_.ok();
  }

  bool writeSample(const SampleData& data, Part part, Host& progress) {
    if (!plan_.is24Bit()) return writeSamples(writer_.sink(), data, formatWord(SampleFormat::pcm16), progress);
    const auto frames = static_cast<uint64_t>(data.frames());
    if (const auto* split = dynamic_cast<const SplitSamples*>(&data)) {
      const bool copied = part == Part::words ? writer_.sink().writeFrom(split->source(), split->wordsAt(), 2 * frames)
                                              : writer_.sink().writeFrom(split->source(), split->lowBytesAt(), frames);
      return copied && proceed(progress);
    }
    if (isStored16(data)) {
      if (part == Part::words) return writeSamples(writer_.sink(), data, formatWord(SampleFormat::pcm16), progress);
      writer_.zeros(static_cast<std::size_t>(frames));
      return writer_.ok() && proceed(progress);
    }
    return convert(data, part, progress);
  }

  static bool isStored16(const SampleData& data) {
    const StoredSamples* stored = data.stored();
    return stored && stored->genericPcm && formatOf(stored->format) == SampleFormat::pcm16;
  }

  static bool proceed(Host& progress) { return progress.progress(1) || fail(u"Save aborted!"); }

  bool convert(const SampleData& data, Part part, Host& progress) {
    const auto stream = data.open();
    if (!stream) return false;
    std::vector<float> block(blockFrames);
    std::vector<std::byte> bytes(2 * blockFrames);
    const auto frames = static_cast<std::size_t>(data.frames());
    for (std::size_t done = 0; done < frames;) {
      const auto count = stream->read(std::span(block).first(std::min(blockFrames, frames - done)));
      if (!count) return false;
      if (*count == 0) return fail(u"Reading from file failed");
      writer_.bytes(encode(std::span(block).first(*count), part, bytes));
      done += *count;
      if (!writer_.ok()) return false;
      if (!progress.progress(static_cast<double>(done) / static_cast<double>(frames))) return fail(u"Save aborted!");
    }
    return true;
  }

  static std::span<const std::byte> encode(std::span<const float> block, Part part, std::vector<std::byte>& bytes) {
    std::size_t at = 0;
    for (const float sample : block) {
      const uint32_t value = offset24(sample) ^ 0x800000;
      if (part == Part::lowBytes) {
        bytes[at++] = static_cast<std::byte>(value & 0xFF);
        continue;
      }
      bytes[at++] = static_cast<std::byte>(value >> 8 & 0xFF);
      bytes[at++] = static_cast<std::byte>(value >> 16 & 0xFF);
    }
    return std::span(bytes).first(at);
  }

  ByteWriter& writer_;
  const SamplePlan& plan_;
  Host& host_;
  double total_ = 0, done_ = 0;
};

}  // namespace

bool writeSampleData(ByteWriter& writer, const SamplePlan& plan, Host& host) {
  return SampleDataWriter(writer, plan, host).write();
}

}  // namespace tervo::sf2
