#include "formats/wave/wav_metadata.h"

#include <algorithm>
#include <cmath>

#include "formats/number_text.h"
#include "formats/wave/aiff_markers.h"
#include "formats/wave/id3_tags.h"
#include "formats/wave/kept_chunks.h"
#include "formats/wave/w64_chunks.h"
#include "formats/wave/w64_metadata.h"

namespace tervo {
namespace {

constexpr double maxFrame = 4294967295.0;

const ForeignChunk* sourceId3(const Waveform& waveform) {
  for (const ChunkContainers& containers : {riffChunks, aiffChunks, maudChunks}) {
    for (const FourCC id : {FourCC("id3 "), FourCC("ID3 ")}) {
      if (const auto* chunk = knownChunk(waveform, containers, id)) return chunk;
    }
  }
  return nullptr;
}

// The same fields in the order of "inst".
std::vector<std::byte> wavInstrumentOf(const AiffInstrument& aiff) {
  MemorySink sink;
  ByteWriter writer(sink);
  writer.u8(aiff.baseNote);
  writer.little(aiff.detune);
  writer.little(static_cast<int8_t>(std::clamp<int>(aiff.gain, -64, 64)));
  writer.record(aiff.ranges);
  return sink.take();
}

bool saysTheSame(const Tags& id3, const Tags& tags) {
  for (std::size_t i = 0; i < tagCount; ++i) {
    if (!id3.texts[i].empty() && id3.texts[i] != tags.texts[i]) return false;
  }
  if (!id3.image || !tags.image) return !id3.image && !tags.image;
  return id3.image->bytes == tags.image->bytes;
}

}  // namespace

std::vector<KeptInfo> keptInfoOf(const Waveform& waveform) {
  std::vector<KeptInfo> kept;
  Tags ignored;
  for (const auto* list : knownChunks(waveform, riffChunks, "LIST", "INFO"))
    readInfoTags(*list->source, asChunk(*list), ignored, &kept);
  for (const auto* summary : knownChunks(waveform, riffChunks, w64Summary))
    readW64Summary(bodyOf(*summary), ignored, &kept);
  return kept;
}

std::vector<KeptLabel> keptLabelsOf(const Waveform& waveform) {
  std::vector<KeptLabel> kept;
  for (const auto* list : knownChunks(waveform, riffChunks, "LIST", "adtl")) {
    const auto labels = readKeptLabels(*list->source, asChunk(*list));
    kept.insert(kept.end(), labels.begin(), labels.end());
  }
  return kept;
}

std::vector<std::byte> id3Body(const Waveform& waveform, Id3Need need, ConversionReport& report) {
  const ForeignChunk* source = sourceId3(waveform);
  if (!source) return need == Id3Need::yes ? makeId3(waveform.tags) : std::vector<std::byte>();
  auto body = loadChunk(*source->source, asChunk(*source), id3Limit);
  Tags tags;
  readId3(body, tags);
  if (saysTheSame(tags, waveform.tags)) return body;
  report.dropped(waveform.name, u"further ID3 frames", u"the tags have changed");
  return makeId3(waveform.tags);
}

WavMetadata::WavMetadata(const Waveform& waveform, ConversionReport& report)
    : waveform_(waveform), report_(report), loops_(loopsOf(waveform)) {
  readSourceCues();
  readSourceSampler();
  // Cue IDs of loops and of markers must differ, or readers take the markers for names of loops.
  if (sourceSampler_) {
    for (const auto& loop : sourceSampler_->loops) loopIds_.push_back(loop.foreignId);
    usedIds_.insert(sourceSampler_->cueIds.begin(), sourceSampler_->cueIds.end());
  } else {
    for (const auto* loop : loops_) loopIds_.push_back(takeId(loop->foreignId));
  }
  reportLosses();
}

void WavMetadata::approximated(TextView what, double from, double to) const {
  report_.approximated(waveform_.name, what, numberText(from), numberText(to));
}

void WavMetadata::reportLosses() const {
  for (const auto* loop : loops_) {
    if (loop->loopPitch != 0)
      report_.dropped(waveform_.name, u"pitch while the loop plays", u"the file has no place for it");
    if (loop->loopCount != loopForever && !sourceSampler_)
      report_.dropped(waveform_.name, u"loop count", u"sampler loops are written as endless");
    if (loop->start != std::round(loop->start)) approximated(u"loop start", loop->start, std::round(loop->start));
  }
  if (waveform_.fineTune > 0 && waveform_.rootKey == 0) approximated(u"fine tune in cents", waveform_.fineTune, 0);
}

void WavMetadata::readSourceCues() {
  for (const auto* chunk : knownChunks(waveform_, riffChunks, "cue ")) sourceCues_.readCues(bodyOf(*chunk));
  for (const auto* list : knownChunks(waveform_, riffChunks, "LIST", "adtl"))
    sourceCues_.readLabels(*list->source, asChunk(*list));
  keptLabels_ = keptLabelsOf(waveform_);
  for (const auto& point : sourceCues_.points()) zeroIsCueId_ = zeroIsCueId_ || point.id == 0;
}

void WavMetadata::readSourceSampler() {
  const auto* chunk = knownChunk(waveform_, riffChunks, "smpl");
  if (!chunk) return;
  samplerBody_ = bodyOf(*chunk);
  auto sampler = readSampler(samplerBody_);
  if (!sampler) return;
  if (sampler->saysTheSameAs(waveform_)) {
    sourceSampler_ = std::move(sampler);
  } else if (sampler->hasOwnData) {
    report_.dropped(waveform_.name, u"sampler's own data", u"key or loops have changed");
  }
}

uint32_t WavMetadata::takeId(uint32_t wanted) {
  const bool isValid = wanted != 0 || zeroIsCueId_;
  if (isValid && usedIds_.insert(wanted).second) return wanted;
  while (!usedIds_.insert(nextId_).second) ++nextId_;
  return nextId_;
}

uint32_t WavMetadata::frameOf(double position, TextView what) const {
  const double frame = std::clamp(std::round(position), 0.0, maxFrame);
  if (frame != position) approximated(what, position, frame);
  return static_cast<uint32_t>(frame);
}

std::vector<CueEntry> WavMetadata::takeCues() {
  std::vector<CueEntry> cues;
  for (const auto& marker : waveform_.markers) {
    if (marker.type == MarkerType::loop) continue;
    CueEntry cue{takeId(marker.foreignId), frameOf(marker.start, u"marker position"), marker.name, 0};
    if (marker.type == MarkerType::section) cue.length = std::max(frameOf(marker.length(), u"marker length"), 1u);
    cues.push_back(std::move(cue));
  }
  addLoopCues(cues);
  return cues;
}

// A loop is named by the label of a cue point with its ID.
void WavMetadata::addLoopCues(std::vector<CueEntry>& cues) const {
  const auto clamped = [](double frame) { return static_cast<uint32_t>(std::clamp(std::round(frame), 0.0, maxFrame)); };
  std::unordered_set<uint32_t> seen;
  for (std::size_t i = 0; i < loops_.size(); ++i) {
    const uint32_t id = loopIds_[i];
    if (!seen.insert(id).second) continue;
    if (const auto* point = sourceSampler_ ? sourcePoint(id) : nullptr) {
      cues.push_back({id, point->frame(), loops_[i]->name, sourceCues_.labelOf(id).length});
    } else if (!loops_[i]->name.empty()) {
      cues.push_back({id, clamped(loops_[i]->start), loops_[i]->name, clamped(loops_[i]->length())});
    }
  }
}

const CuePoint* WavMetadata::sourcePoint(uint32_t cueId) const {
  for (const auto& point : sourceCues_.points()) {
    if (point.id == cueId && point.isInData()) return &point;
  }
  return nullptr;
}

bool WavMetadata::needsSampler() const {
  if (sourceSampler_ || !loops_.empty()) return true;
  return waveform_.rootKey != 60 || waveform_.fineTune != 0;
}

std::vector<std::byte> WavMetadata::sampler() const {
  if (!needsSampler()) return {};
  if (!sourceSampler_) return makeSampler(waveform_, loopIds_);
  auto body = samplerBody_;
  if (!waveform_.samples->stored()) setSamplePeriod(body, waveform_.sampleRate);
  return body;
}

std::vector<std::byte> WavMetadata::sourceInstrument() const {
  const auto chunks = knownChunks(waveform_, riffChunks, "inst");
  if (!chunks.empty()) return bodyOf(*chunks.back());
  const auto* aiff = knownChunk(waveform_, aiffChunks, "INST");
  const auto instrument = aiff ? readAiffInstrument(bodyOf(*aiff)) : std::nullopt;
  return instrument ? wavInstrumentOf(*instrument) : std::vector<std::byte>();
}

bool WavMetadata::instrumentSaysPitch() const {
  const auto instrument = readInstrumentChunk(sourceInstrument());
  return instrument && instrument->rootKey == waveform_.rootKey && instrument->fineTune == waveform_.fineTune;
}

std::vector<std::byte> WavMetadata::instrument() const {
  const auto source = sourceInstrument();
  const auto said = readInstrumentChunk(source);
  if (!said && waveform_.gain == 0) return {};
  if (said && said->gain == waveform_.gain && (sourceSampler_ || instrumentSaysPitch())) return source;
  const auto body = makeInstrumentChunk(waveform_, source);
  const float gain = readInstrumentChunk(body)->gain;
  if (gain != waveform_.gain) approximated(u"gain in dB", waveform_.gain, gain);
  return body;
}

std::vector<std::byte> WavMetadata::id3() const {
  return id3Body(waveform_, waveform_.tags.image ? Id3Need::yes : Id3Need::no, report_);
}

}  // namespace tervo
