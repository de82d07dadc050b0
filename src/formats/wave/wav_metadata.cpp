#include "formats/wave/wav_metadata.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <unordered_set>

#include "formats/wave/id3_tags.h"
#include "formats/wave/info_tags.h"
#include "formats/wave/wav_chunks.h"
#include "formats/wave/wav_contents.h"
#include "formats/wave/wav_loops.h"
#include "formats/wave/wav_markers.h"

namespace tervo {
namespace {

constexpr double maxFrame = 4294967295.0;

class MetadataWriter {
 public:
  MetadataWriter(ByteWriter& writer, const Waveform& waveform, ConversionReport& report)
      : writer_(writer), waveform_(waveform), report_(report), loops_(loopsOf(waveform)) {}

  void write() {
    writeInfo();
    readSourceCues();
    readSourceSampler();
    chooseCueIds();
    writeCueList();
    const bool instrumentSaysAll = writeSamplerChunk();
    writeInstrument(instrumentSaysAll);
    writeId3();
    reportLosses();
  }

 private:
  void writeChunk(FourCC id, std::span<const std::byte> body) {
    const ChunkScope chunk(writer_, id);
    writer_.bytes(body);
  }
  void approximated(TextView what, double from, double to) {
    report_.approximated(waveform_.name, what, fromUtf8(std::to_string(from)), fromUtf8(std::to_string(to)));
  }

  void writeInfo() {
    std::vector<KeptInfo> kept;
    Tags ignored;
    for (const auto* list : knownChunks(waveform_, "LIST", "INFO"))
      readInfoTags(*list->source, asChunk(*list), ignored, &kept);
    writeInfoTags(writer_, waveform_.tags, kept);
  }

  void readSourceCues() {
    for (const auto* chunk : knownChunks(waveform_, "cue ")) sourceCues_.readCues(bodyOf(*chunk));
    for (const auto* list : knownChunks(waveform_, "LIST", "adtl")) {
      sourceCues_.readLabels(*list->source, asChunk(*list));
      const auto labels = readKeptLabels(*list->source, asChunk(*list));
      keptLabels_.insert(keptLabels_.end(), labels.begin(), labels.end());
    }
  }

  void readSourceSampler() {
    const auto chunks = knownChunks(waveform_, "smpl");
    if (chunks.empty()) return;
    hadSampler_ = true;
    samplerBody_ = bodyOf(*chunks.front());
    auto sampler = readSampler(samplerBody_);
    if (sampler && sampler->saysTheSameAs(waveform_)) sourceSampler_ = std::move(sampler);
  }

  // Cue IDs of loops and of markers must differ, or readers take the markers for names of loops.
  void chooseCueIds() {
    for (const auto& point : sourceCues_.points()) zeroIsCueId_ = zeroIsCueId_ || point.id == 0;
    if (sourceSampler_) {
      for (const auto& loop : sourceSampler_->loops) loopIds_.push_back(loop.foreignId);
      usedIds_.insert(sourceSampler_->cueIds.begin(), sourceSampler_->cueIds.end());
    } else {
      for (const auto* loop : loops_) loopIds_.push_back(takeId(loop->foreignId));
    }
  }
  uint32_t takeId(uint32_t wanted) {
    const bool isValid = wanted != 0 || zeroIsCueId_;
    if (isValid && usedIds_.insert(wanted).second) return wanted;
    while (!usedIds_.insert(nextId_).second) ++nextId_;
    return nextId_;
  }

  uint32_t frameOf(double position, TextView what) {
    const double frame = std::clamp(std::round(position), 0.0, maxFrame);
    if (frame != position) approximated(what, position, frame);
    return static_cast<uint32_t>(frame);
  }

  void writeCueList() {
    std::vector<CueEntry> cues;
    for (const auto& marker : waveform_.markers) {
      if (marker.type == MarkerType::loop) continue;
      CueEntry cue{takeId(marker.foreignId), frameOf(marker.start, u"marker position"), marker.name, 0};
      if (marker.type == MarkerType::section) cue.length = std::max(frameOf(marker.length(), u"marker length"), 1u);
      cues.push_back(std::move(cue));
    }
    addLoopCues(cues);
    if (!cues.empty()) writeCues(writer_, cues, keptLabels_);
  }

  // A loop is named by the label of a cue point with its ID.
  void addLoopCues(std::vector<CueEntry>& cues) const {
    std::unordered_set<uint32_t> seen;
    for (std::size_t i = 0; i < loops_.size(); ++i) {
      const uint32_t id = loopIds_[i];
      if (!seen.insert(id).second) continue;
      if (const auto* point = sourceSampler_ ? sourcePoint(id) : nullptr) {
        cues.push_back({id, point->frame(), loops_[i]->name, sourceCues_.labelOf(id).length});
      } else if (!loops_[i]->name.empty()) {
        const auto start = static_cast<uint32_t>(std::clamp(std::round(loops_[i]->start), 0.0, maxFrame));
        const auto length = static_cast<uint32_t>(std::clamp(std::round(loops_[i]->length()), 0.0, maxFrame));
        cues.push_back({id, start, loops_[i]->name, length});
      }
    }
  }
  const CuePoint* sourcePoint(uint32_t id) const {
    for (const auto& point : sourceCues_.points()) {
      if (point.id == id && point.isInData()) return &point;
    }
    return nullptr;
  }

  // Returns true when nothing was written because the source's "inst" alone says the key and the tuning.
  bool writeSamplerChunk() {
    if (sourceSampler_) {
      writeChunk("smpl", samplerBody_);
      return false;
    }
    const bool hasPitch = waveform_.rootKey != 60 || waveform_.fineTune != 0;
    if (!hasPitch && loops_.empty()) return false;
    if (loops_.empty() && !hadSampler_ && instrumentSaysPitch()) return true;
    writeSampler(writer_, waveform_, loopIds_);
    return false;
  }

  std::vector<std::byte> sourceInstrument() const {
    const auto chunks = knownChunks(waveform_, "inst");
    return chunks.empty() ? std::vector<std::byte>() : bodyOf(*chunks.back());
  }
  bool instrumentSaysPitch() const {
    const auto instrument = readInstrumentChunk(sourceInstrument());
    return instrument && instrument->rootKey == waveform_.rootKey && instrument->fineTune == waveform_.fineTune;
  }

  void writeInstrument(bool saysAll) {
    const auto source = sourceInstrument();
    const auto instrument = readInstrumentChunk(source);
    if (instrument && instrument->gain == waveform_.gain && (saysAll || sourceSampler_ || instrumentSaysPitch())) {
      writeChunk("inst", source);
    } else if (instrument || waveform_.gain != 0) {
      const auto body = makeInstrumentChunk(waveform_, source);
      const float gain = readInstrumentChunk(body)->gain;
      if (gain != waveform_.gain) approximated(u"gain in dB", waveform_.gain, gain);
      writeChunk("inst", body);
    }
  }

  const ForeignChunk* sourceId3() const {
    for (const FourCC id : {FourCC("id3 "), FourCC("ID3 ")}) {
      if (const auto chunks = knownChunks(waveform_, id); !chunks.empty()) return chunks.front();
    }
    return nullptr;
  }
  bool saysTheSame(const Tags& id3) const {
    for (std::size_t i = 0; i < tagCount; ++i) {
      if (!id3.texts[i].empty() && id3.texts[i] != waveform_.tags.texts[i]) return false;
    }
    if (!id3.image || !waveform_.tags.image) return !id3.image && !waveform_.tags.image;
    return id3.image->bytes == waveform_.tags.image->bytes;
  }

  void writeId3() {
    const ForeignChunk* source = sourceId3();
    if (source) {
      const auto body = loadChunk(*source->source, asChunk(*source), 64u << 20);
      Tags tags;
      readId3(body, tags);
      if (saysTheSame(tags)) return writeChunk(source->id, body);
      report_.dropped(waveform_.name, u"further ID3 frames", u"the tags have changed");
    }
    if (!source && !waveform_.tags.image) return;
    if (const auto id3 = makeId3(waveform_.tags); !id3.empty()) writeChunk("id3 ", id3);
  }

  void reportLosses() {
    for (const auto* loop : loops_) {
      if (loop->loopPitch != 0)
        report_.dropped(waveform_.name, u"pitch while the loop plays", u"WAV has no place for it");
      if (loop->start != std::round(loop->start)) approximated(u"loop start", loop->start, std::round(loop->start));
    }
    if (waveform_.fineTune > 0 && waveform_.rootKey == 0) approximated(u"fine tune in cents", waveform_.fineTune, 0);
  }

  ByteWriter& writer_;
  const Waveform& waveform_;
  ConversionReport& report_;
  std::vector<const Marker*> loops_;

  CueList sourceCues_;
  std::vector<KeptLabel> keptLabels_;
  bool hadSampler_ = false;
  std::vector<std::byte> samplerBody_;
  std::optional<SamplerData> sourceSampler_;  ///< set while it says the same as the model

  bool zeroIsCueId_ = false;
  uint32_t nextId_ = 1;
  std::unordered_set<uint32_t> usedIds_;
  std::vector<uint32_t> loopIds_;
};

}  // namespace

void writeWavMetadata(ByteWriter& writer, const Waveform& waveform, ConversionReport& report) {
  MetadataWriter(writer, waveform, report).write();
}

bool writeForeignChunks(ByteWriter& writer, const Waveform& waveform, bool beforeSamples, bool samplesAreSame,
                        ConversionReport& report) {
  for (const auto& kept : waveform.foreignChunks) {
    if (kept.container == knownContainer || kept.beforeSamples != beforeSamples) continue;
    if (kept.container != foreignContainer) {
      report.dropped(waveform.name, textOf(kept.id) + u" chunk", u"it belongs to another kind of file");
    } else if (describesSamples(kept.id) && !samplesAreSame) {
      report.dropped(waveform.name, textOf(kept.id) + u" chunk", u"the samples have changed");
    } else {
      const ChunkScope chunk(writer, kept.id);
      if (!writer.sink().writeFrom(*kept.source, kept.offset, kept.bytes)) return false;
    }
  }
  return true;
}

}  // namespace tervo
