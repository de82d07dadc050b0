#include "formats/instrument/sf2_sample_writer.h"

#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "base/ordered_work.h"
#include "formats/clipping.h"
#include "formats/codec/compressed_stream.h"
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
  SampleDataWriter(ByteWriter& writer, const SamplePlan& plan, TargetFile& file)
      : writer_(writer), plan_(plan), file_(file) {
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
    // Decoding takes far longer than writing.
    const auto decode = [this](std::size_t i) { return decodedAhead(plan_.samples()[i].frames); };
    const auto write = [&](std::size_t i, SampleRef decoded) {
      const PlannedSample& sample = plan_.samples()[i];
      const double share =
          static_cast<double>(framesOf(sample)) * (part == Part::words ? 1 : 0.5) / std::max(total_, 1.0);
      PartOfProgress progress(file_.host, done_, share);
      const SampleData* data = decoded ? decoded.get() : sample.frames.get();
      ClippingCount clipping;
      const bool isWritten =
          !data || (isDamaged(*data) ? replace(sample, part) : writeSample(*data, part, progress, clipping));
      if (!isWritten) return false;
      if (part == Part::words) clipping.reportTo(file_.report, sample.waveform->name);
      writer_.zeros((part == Part::words ? 2 : 1) * wordsBetweenSamples);
      done_ += share;
      return writer_.ok();
    };
    if (!(hasStreams() ? makeInOrder(plan_.samples().size(), decode, write) : writeEach(write))) return false;
    // The size of "sm24" itself is even: readers compare it with that of "smpl" (SoundFont 2.04, section 6.2).
    if (writer_.position() % 2 == 1) writer_.u8(0);
    return writer_.ok();
  }

  bool hasStreams() const {
    const auto& samples = plan_.samples();
    return std::any_of(samples.begin(), samples.end(),
                       [](const PlannedSample& sample) { return sample.frames && isStream(*sample.frames); });
  }
  template <typename Write>
  bool writeEach(const Write& write) const {
    for (std::size_t i = 0; i < plan_.samples().size(); ++i)
      if (!write(i, nullptr)) return false;
    return true;
  }

  /// The frames of a stream, in memory; null for other samples, long ones, and where decoding fails, which writing
  /// will find too.
  static SampleRef decodedAhead(const SampleRef& frames) {
    constexpr int64_t most = 16 << 20;
    if (!frames || !isStream(*frames) || frames->frames() > most) return nullptr;
    const SilentFailures silent;
    return makeResident(frames);
  }

  /// A stream that cannot be decoded at all.
  static bool isDamaged(const SampleData& data) {
    return isStream(data) && !data.open() && LastErrorText() == damagedStream;
  }
  static bool isStream(const SampleData& data) { return data.stored() && !data.stored()->coding.empty(); }

  bool replace(const PlannedSample& sample, Part part) {
    if (part == Part::words) file_.report.dropped(sample.waveform->name, u"frames", damagedStream);
    writer_.zeros(static_cast<std::size_t>(framesOf(sample)) * (part == Part::words ? 2 : 1));
    return writer_.ok();
  }

  bool writeSample(const SampleData& data, Part part, Host& progress, ClippingCount& clipping) {
    if (!plan_.is24Bit())
      return writeSamples(writer_.sink(), data, formatWord(SampleFormat::pcm16), progress, &clipping);
    const auto frames = static_cast<uint64_t>(data.frames());
    if (const auto* split = dynamic_cast<const SplitSamples*>(&data)) {
      const bool copied = part == Part::words ? writer_.sink().writeFrom(split->source(), split->wordsAt(), 2 * frames)
                                              : writer_.sink().writeFrom(split->source(), split->lowBytesAt(), frames);
      return copied && proceed(progress);
    }
    if (isStored16(data)) {
      if (part == Part::words)
        return writeSamples(writer_.sink(), data, formatWord(SampleFormat::pcm16), progress, &clipping);
      writer_.zeros(static_cast<std::size_t>(frames));
      return writer_.ok() && proceed(progress);
    }
    return convert(data, part, progress, clipping);
  }

  static bool isStored16(const SampleData& data) {
    const StoredSamples* stored = data.stored();
    return stored && stored->genericPcm && formatOf(stored->format) == SampleFormat::pcm16;
  }

  static bool proceed(Host& progress) { return progress.progress(1) || fail(u"Save aborted!"); }

  bool convert(const SampleData& data, Part part, Host& progress, ClippingCount& clipping) {
    const auto stream = data.open();
    if (!stream) return false;
    std::vector<float> block(blockFrames);
    std::vector<std::byte> bytes(2 * blockFrames);
    const auto frames = static_cast<std::size_t>(data.frames());
    for (std::size_t done = 0; done < frames;) {
      const auto count = stream->read(std::span(block).first(std::min(blockFrames, frames - done)));
      if (!count) return false;
      if (*count == 0) return fail(u"Reading from file failed");
      clipping.add(std::span(block).first(*count));
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
  TargetFile& file_;
  double total_ = 0, done_ = 0;
};

}  // namespace

bool writeSampleData(ByteWriter& writer, const SamplePlan& plan, TargetFile& file) {
  return SampleDataWriter(writer, plan, file).write();
}

}  // namespace tervo::sf2
