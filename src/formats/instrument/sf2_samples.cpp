#include "formats/instrument/sf2_samples.h"

#include <algorithm>
#include <new>

#include "base/last_error.h"
#include "core/normalise/sample_views.h"
#include "core/parameter_table.h"
#include "formats/instrument/sf2_rom.h"
#include "formats/instrument/sf2_streams.h"
#include "formats/wave/pcm_import.h"

namespace tervo::sf2 {
namespace {

constexpr std::size_t blockFrames = 16384;
constexpr float fullScale24 = 8388608;
constexpr uint8_t lastKey = 127, middleC = 60;

class SplitStream final : public SampleStream {
 public:
  SplitStream(std::shared_ptr<const ByteSource> source, uint64_t wordsAt, uint64_t lowBytesAt, uint64_t frames)
      : source_(std::move(source)), wordsAt_(wordsAt), lowBytesAt_(lowBytesAt), left_(frames) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const auto frames = static_cast<std::size_t>(std::min<uint64_t>({out.size(), blockFrames, left_}));
    const auto words = std::span(words_).first(2 * frames), low = std::span(low_).first(frames);
    if (!source_->readExactly(wordsAt_, words) || !source_->readExactly(lowBytesAt_, low)) return std::nullopt;
    for (std::size_t i = 0; i < frames; ++i) {
      const auto high = static_cast<int8_t>(words[2 * i + 1]);
      const int value = high * 65536 + std::to_integer<int>(words[2 * i]) * 256 + std::to_integer<int>(low[i]);
      out[i] = static_cast<float>(value) / fullScale24;
    }
    wordsAt_ += 2 * frames;
    lowBytesAt_ += frames;
    left_ -= frames;
    return frames;
  }

 private:
  std::shared_ptr<const ByteSource> source_;
  uint64_t wordsAt_, lowBytesAt_, left_;
  std::vector<std::byte> words_ = std::vector<std::byte>(2 * blockFrames), low_ = std::vector<std::byte>(blockFrames);
};

/// The part of a sample's words that is there.
struct WordRange {
  uint64_t start = 0, end = 0;
};

WordRange wordsOf(const Bank& bank, const SampleRecord& record, LossTally& losses) {
  const WordRange range{std::min<uint64_t>(record.start, bank.words), std::min<uint64_t>(record.end, bank.words)};
  if (range.start >= range.end) {
    losses.dropped(u"frames of a sample",
                   record.start >= record.end ? u"it ends before it starts" : u"they are not in the file");
    return {};
  }
  if (record.end > bank.words) losses.dropped(u"end of a sample", u"it is not in the file");
  return range;
}

SampleRef openFrames(const Bank& bank, WordRange range) {
  const auto frames = static_cast<int64_t>(range.end - range.start);
  if (bank.packed) return fixup::joined({{bank.packed, static_cast<int64_t>(range.start), frames}});
  const uint64_t wordsAt = bank.samplesAt + 2 * range.start;
  if (bank.lowBytes >= range.end)
    return std::make_shared<SplitSamples>(bank.source, wordsAt, bank.lowBytesAt + range.start, frames);
  StoredSamples stored;
  stored.source = bank.source;
  stored.offset = wordsAt;
  stored.format = formatWord(SampleFormat::pcm16);
  return importPcm(std::move(stored), 1, frames);
}

/// A number of a record as the document's row can hold it.
double heldNumber(ParameterId row, double number, LossTally& losses) {
  const double held = inRange(row, number).value_or(0);
  if (held != number) losses.approximated(rowOf(row).name, number, held);
  return held;
}

/// `base` is the number of the first frame in the numbers of the record.
void addLoop(Waveform& waveform, const SampleRecord& record, int64_t base, LossTally& losses) {
  const int64_t frames = waveform.frames();
  const int64_t start = uint32_t{record.loopStart} - base, end = uint32_t{record.loopEnd} - base;
  if (start == end) return;
  const int64_t first = std::clamp<int64_t>(start, 0, frames), last = std::clamp<int64_t>(end, 0, frames);
  if (first >= last) return losses.dropped(u"loop of a sample", u"it holds no frame of the sample");
  if (first != start || last != end) losses.dropped(u"part of a loop", u"it lies outside the sample");
  Marker loop;
  loop.type = MarkerType::loop;
  loop.loopType = LoopType::forward;
  loop.start = static_cast<double>(first);
  loop.end = static_cast<double>(last);
  waveform.markers.push_back(std::move(loop));
}

}  // namespace

SplitSamples::SplitSamples(std::shared_ptr<const ByteSource> source, uint64_t wordsAt, uint64_t lowBytesAt,
                           int64_t frames)
    : SampleData(1, frames), source_(std::move(source)), wordsAt_(wordsAt), lowBytesAt_(lowBytesAt) {}

std::unique_ptr<SampleStream> SplitSamples::open(int64_t firstFrame) const try {
  const auto first = static_cast<uint64_t>(std::clamp<int64_t>(firstFrame, 0, frames()));
  return std::make_unique<SplitStream>(source_, wordsAt_ + 2 * first, lowBytesAt_ + first,
                                       static_cast<uint64_t>(frames()) - first);
} catch (const std::bad_alloc&) {
  return fail(u"Out of memory");
}

std::unique_ptr<Waveform> makeWaveform(const Bank& bank, const SampleRecord& record, LossTally& losses) {
  auto waveform = std::make_unique<Waveform>();
  const std::string_view name = nameIn(record.name);
  waveform->name = fromFileText(name);
  waveform->sampleRate = heldNumber(ParameterId::sampleRate, record.sampleRate, losses);
  waveform->rootKey = record.rootKey <= lastKey ? record.rootKey : middleC;
  waveform->fineTune = static_cast<float>(heldNumber(ParameterId::fineTune, record.pitchCorrection, losses));
  if (isStream(bank, record)) {
    openStreamOf(bank, record, *waveform, losses);
    if (waveform->samples) addLoop(*waveform, record, 0, losses);
    return waveform;
  }
  const WordRange range = wordsOf(bank, record, losses);
  if (range.start < range.end && !(waveform->samples = openFrames(bank, range))) return nullptr;
  const bool is24Bit = bank.lowBytes >= range.end && bank.lowBytes > 0;
  waveform->setStoredFormat(is24Bit ? SampleFormat::pcm24 : bank.packedFormat, 0);
  if (waveform->samples) addLoop(*waveform, record, uint32_t{record.start}, losses);
  return waveform;
}

std::optional<std::vector<Waveform*>> addWaveforms(Collection& collection, const Bank& bank, const SourceFile& file,
                                                   LossTally& losses) {
  std::vector<Waveform*> waveforms;
  RomSamples rom(file);
  for (std::size_t i = 0; i < bank.samples.size(); ++i) {
    const SampleRecord& record = bank.samples[i];
    const bool isRom = (record.type & romSample) != 0;
    LossTally ofSample;
    auto waveform = isRom ? rom.load(i, losses) : makeWaveform(bank, record, ofSample);
    if (!waveform && !isRom) return std::nullopt;
    if (waveform) ofSample.reportTo(file.report, waveform->name);
    waveforms.push_back(waveform ? &collection.add(std::move(waveform)) : nullptr);
  }
  noteMissingDecoders(waveforms, losses);
  return waveforms;
}

}  // namespace tervo::sf2
