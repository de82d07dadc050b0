#include "formats/instrument/sf2_stream_writer.h"

#include "base/last_error.h"
#include "base/memory_guard.h"
#include "base/ordered_work.h"
#include "formats/codec/compressed_stream.h"
#include "formats/codec/flac.h"
#include "formats/codec/ogg_vorbis.h"

namespace tervo::sf2 {
namespace {

// The list that holds the streams has a 32-bit size, and as much again is kept for everything else.
constexpr uint64_t mostBytes = 0xFE000000;

// Frames that stand in memory for a stream that cannot be decoded; such a stream can say that it has far more.
constexpr int64_t longestSilence = 16 << 20;

/// A stream, or why there is none, or why it is silent.
struct Encoded {
  std::optional<std::vector<std::byte>> bytes;
  Text failure;
  ClippingCount clipping = {};
};

class StreamWriter {
 public:
  StreamWriter(ByteWriter& writer, SamplePlan& plan, TargetFile& file) : writer_(writer), plan_(plan), file_(file) {}

  bool write() {
    const ChunkScope list(writer_, "LIST");
    writer_.chars("sdta");
    const ChunkScope chunk(writer_, "smpl");
    begin_ = writer_.position();
    const bool done = makeInOrder(
        plan_.samples().size(), [this](std::size_t i) { return encoded(i); },
        [this](std::size_t i, const Encoded& stream) { return put(i, stream); });
    // Readers that think of 16-bit words reject an odd size, pad byte or not.
    if ((writer_.position() - begin_) % 2 != 0) writer_.u8(0);
    return done && writer_.ok();
  }

 private:
  const PlannedSample& sample(std::size_t i) const { return plan_.samples()[i]; }

  /// The stream that the source holds; null when there is none or another one is asked for.
  const StoredSamples* copyOf(std::size_t i) const {
    const StoredSamples* stored = sample(i).frames->stored();
    return stored && sample(i).stream.mayCopy && canBeCopied(*stored) ? stored : nullptr;
  }
  static bool canBeCopied(const StoredSamples& stored) {
    return stored.coding == oggVorbisName || stored.coding == flacName;
  }

  /// Runs on any thread.
  Encoded encoded(std::size_t i) const {
    const SampleRef& frames = sample(i).frames;
    if (!frames || copyOf(i)) return {};
    Encoded result;
    result.bytes = encode(i, *frames, result.clipping);
    if (result.bytes) return result;
    result.failure = LastErrorText();
    if (result.failure == damagedStream && frames->frames() <= longestSilence)
      result.bytes = guardMemory([&] {
        return encode(i, *makeResident(std::vector<float>(static_cast<std::size_t>(frames->frames())), 1),
                      result.clipping);
      });
    return result;
  }

  std::optional<std::vector<std::byte>> encode(std::size_t i, const SampleData& frames, ClippingCount& clipping) const {
    const StreamChoice& stream = sample(i).stream;
    const double rate = uint32_t{sample(i).record.sampleRate};
    VorbisQuality quality;
    quality.kbitPerSecond = stream.kbitPerSecond;
    return guardMemory([&, bits = stream.losslessBits] {
      return bits > 0 ? encodeFlac(frames, rate, bits, &clipping)
                      : encodeVorbis(frames, rate, quality, static_cast<uint32_t>(i));
    });
  }

  bool put(std::size_t i, const Encoded& stream) {
    if (!sample(i).frames) return true;
    const auto total = static_cast<double>(plan_.samples().size());
    file_.host.showStatus(u"Compressing: " + sample(i).waveform->name);
    if (!file_.host.progress(static_cast<double>(i + 1) / total)) return fail(u"Save aborted!");
    const uint64_t start = writer_.position() - begin_;
    if (!(copyOf(i) ? copy(*copyOf(i)) : putNew(i, stream))) return false;
    const uint64_t end = writer_.position() - begin_;
    if (end > mostBytes)
      return fail(u"Save failed - Too much data!\n\nThe samples of a SoundFont bank can take 4 GiB at most.");
    plan_.setStream(i, static_cast<uint32_t>(start), static_cast<uint32_t>(end));
    return true;
  }

  bool copy(const StoredSamples& stored) {
    return writer_.ok() && writer_.sink().writeFrom(*stored.source, stored.offset, stored.bytes);
  }

  bool putNew(std::size_t i, const Encoded& stream) {
    if (!stream.bytes) return fail(stream.failure);
    if (!stream.failure.empty()) file_.report.dropped(sample(i).waveform->name, u"frames", stream.failure);
    writer_.bytes(*stream.bytes);
    stream.clipping.reportTo(file_.report, sample(i).waveform->name);
    reportLoss(i);
    return writer_.ok();
  }

  void reportLoss(std::size_t i) {
    const auto& [frames, record, stream, waveform] = sample(i);
    if (stream.losslessBits > 0) return;
    file_.report.approximated(waveform->name, u"coding", nameOf(formatOf(waveform->storedFormat)), oggVorbisName);
  }

  ByteWriter& writer_;
  SamplePlan& plan_;
  TargetFile& file_;
  uint64_t begin_ = 0;
};

}  // namespace

bool writeStreams(ByteWriter& writer, SamplePlan& plan, TargetFile& file) {
  return StreamWriter(writer, plan, file).write();
}

}  // namespace tervo::sf2
