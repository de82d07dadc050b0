#include "formats/wave/wav_loops.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "base/byte_reader.h"

namespace tervo {
namespace {

constexpr double fractionScale = 4294967296.0;  // 2^32: fractions of a frame and of a semitone

struct SamplerHeader {
  LittleU32 manufacturer, product, samplePeriod, unityNote, pitchFraction, smpteFormat, smpteOffset, loopCount,
      extraBytes;
};
static_assert(sizeof(SamplerHeader) == 36);

struct SamplerLoop {
  LittleU32 cueId, type, start, end, fraction, playCount;
};
static_assert(sizeof(SamplerLoop) == 24);

struct InstrumentRecord {
  uint8_t note = 60;
  int8_t fineTune = 0;  // cents
  int8_t gain = 0;      // dB
  uint8_t lowNote = 0, highNote = 127, lowVelocity = 1, highVelocity = 127;
};
static_assert(sizeof(InstrumentRecord) == 7);

struct DlsSample {
  LittleU32 size;
  LittleU16 unityNote;
  LittleI16 fineTune;  // cents
  LittleI32 gain;      // 1/655360 dB
  LittleU32 options, loopCount;
};
static_assert(sizeof(DlsSample) == 20);

struct DlsLoop {
  LittleU32 size, type, start, length;
};
constexpr uint32_t dlsLoopAndRelease = 1;  // DLS Level 2, section 2.10

LoopType loopTypeOf(uint32_t type) {
  if (type == 1) return LoopType::alternating;
  if (type == 2) return LoopType::reverse;
  return type == 255 ? LoopType::off : LoopType::forward;
}

uint32_t typeNumberOf(LoopType type) {
  switch (type) {
    case LoopType::alternating:
      return 1;
    case LoopType::reverse:
      return 2;
    case LoopType::off:
      return 255;
    case LoopType::forward:
      break;
  }
  return 0;
}

// What the model takes; a file can say anything.
constexpr float mostCents = 100, mostDecibels = 96;

// Some writers store the note big-endian.
std::optional<uint8_t> rootKeyOf(uint32_t unityNote) {
  if ((unityNote & 0xFFFFFF) == 0 && unityNote != 0) unityNote >>= 24;
  if (unityNote < 128) return static_cast<uint8_t>(unityNote);
  return std::nullopt;
}

Marker markerOf(const SamplerLoop& loop, bool endIsExclusive) {
  Marker marker;
  marker.type = MarkerType::loop;
  marker.loopType = loopTypeOf(loop.type);
  marker.start = loop.start;
  marker.end = loop.end + (endIsExclusive ? 0.0 : 1.0) + loop.fraction / fractionScale;
  marker.loopCount = static_cast<uint8_t>(std::min<uint32_t>(loop.playCount, loopUntilRelease - 1));
  marker.foreignId = loop.cueId;
  return marker;
}

uint32_t toFrame(double position) {
  return static_cast<uint32_t>(std::clamp(std::round(position), 0.0, 4294967295.0));
}

SamplerLoop recordOf(const Marker& marker, uint32_t cueId) {
  const double length = marker.length();
  double last = std::round(marker.start) + std::round(length) - 1;
  double rest = length - std::round(length);
  if (rest < 0) {
    last -= 1;
    rest += 1;
  }
  SamplerLoop loop;
  loop.cueId = cueId;
  loop.type = typeNumberOf(marker.loopType);
  loop.start = toFrame(marker.start);
  loop.end = toFrame(last);
  loop.fraction = static_cast<uint32_t>(std::min(rest * fractionScale, 4294967295.0));
  return loop;
}

// Nanoseconds.
uint32_t samplePeriodOf(double sampleRate) {
  return static_cast<uint32_t>(std::min(std::round(1e9 / sampleRate), 4294967295.0));
}

// A pitch fraction only ever raises the sample's pitch, that is, lowers what has to be played.
void setPitch(SamplerHeader& header, uint8_t rootKey, double fineTune) {
  if (fineTune > 0) {
    if (rootKey == 0) {
      fineTune = 0;
    } else {
      --rootKey;
      fineTune -= 100;
    }
  }
  header.unityNote = rootKey;
  header.pitchFraction = static_cast<uint32_t>(std::min(-fineTune * fractionScale / 100 + 0.5, 4294967295.0));
}

}  // namespace

std::vector<const Marker*> loopsOf(const Waveform& waveform) {
  std::vector<const Marker*> loops;
  for (const auto& marker : waveform.markers) {
    if (marker.type == MarkerType::loop) loops.push_back(&marker);
  }
  return loops;
}

std::optional<SamplerData> readSampler(std::span<const std::byte> body) {
  ByteReader reader(body);
  const auto header = reader.record<SamplerHeader>();
  if (!reader.ok()) return std::nullopt;
  SamplerData sampler;
  sampler.rootKey = rootKeyOf(header.unityNote);
  sampler.fineTune = -static_cast<float>(std::round(header.pitchFraction * 100.0 / fractionScale));
  if (header.pitchFraction == 0) sampler.fineTune = 0;  // not the negative zero

  const std::size_t loopCount = std::min<std::size_t>(header.loopCount, reader.remaining() / sizeof(SamplerLoop));
  auto loops = reader.sub(loopCount * sizeof(SamplerLoop));
  sampler.hasOwnData = reader.remaining() > 0;
  // One writer marks its files so, and stores the end of a loop as the first frame behind it.
  const bool endIsExclusive = reader.remaining() >= 4 && reader.chars(4) == "CWDT";
  for (std::size_t i = 0; i < loopCount; ++i) {
    const auto loop = loops.record<SamplerLoop>();
    const Marker marker = markerOf(loop, endIsExclusive);
    sampler.cueIds.push_back(loop.cueId);
    if (marker.end > marker.start) sampler.loops.push_back(marker);
  }
  return sampler;
}

void apply(const SamplerData& sampler, Waveform& waveform) {
  waveform.rootKey = sampler.rootKey.value_or(waveform.rootKey);
  waveform.fineTune = sampler.fineTune;
  waveform.markers.insert(waveform.markers.end(), sampler.loops.begin(), sampler.loops.end());
}

bool SamplerData::saysTheSameAs(const Waveform& waveform) const {
  const auto others = loopsOf(waveform);
  const auto sameLoop = [](const Marker& a, const Marker* b) {
    Marker named = *b;
    named.name = a.name;  // names stand in other chunks
    return named == a;
  };
  return rootKey.value_or(60) == waveform.rootKey && fineTune == waveform.fineTune && loops.size() == others.size() &&
         std::equal(loops.begin(), loops.end(), others.begin(), sameLoop);
}

std::optional<InstrumentData> readInstrumentChunk(std::span<const std::byte> body) {
  ByteReader reader(body);
  const auto record = reader.record<InstrumentRecord>();
  if (!reader.ok()) return std::nullopt;
  return InstrumentData{record.note, std::clamp<float>(record.fineTune, -mostCents, mostCents),
                        std::clamp<float>(record.gain, -mostDecibels, mostDecibels)};
}

void apply(const InstrumentData& instrument, Waveform& waveform) {
  waveform.gain = instrument.gain;
  if (waveform.rootKey != 60 || waveform.fineTune != 0 || instrument.rootKey >= 128) return;
  waveform.rootKey = instrument.rootKey;
  waveform.fineTune = instrument.fineTune;
}

bool readDlsSample(std::span<const std::byte> body, Waveform& waveform) {
  ByteReader reader(body);
  const auto sample = reader.record<DlsSample>();
  if (!reader.ok()) return false;
  if (sample.unityNote < 128) waveform.rootKey = static_cast<uint8_t>(sample.unityNote);
  waveform.fineTune = std::clamp<float>(sample.fineTune, -mostCents, mostCents);
  waveform.gain = std::clamp(static_cast<float>(sample.gain / 655360.0), -mostDecibels, mostDecibels);
  reader.seek(std::min<std::size_t>(std::max<uint32_t>(sample.size, sizeof(DlsSample)), body.size()));
  for (uint32_t i = 0; i < sample.loopCount && reader.remaining() >= sizeof(DlsLoop); ++i) {
    const auto loop = reader.record<DlsLoop>();
    if (loop.size > sizeof(DlsLoop))
      reader.skip(std::min<std::size_t>(loop.size - sizeof(DlsLoop), reader.remaining()));
    if (loop.length == 0) continue;
    Marker marker;
    marker.type = MarkerType::loop;
    marker.loopType = LoopType::forward;
    marker.start = loop.start;
    marker.end = marker.start + loop.length;
    if (loop.type == dlsLoopAndRelease) marker.loopCount = loopUntilRelease;
    waveform.markers.push_back(marker);
  }
  return true;
}

std::vector<std::byte> makeSampler(const Waveform& waveform, std::span<const uint32_t> cueIds) {
  MemorySink sink;
  ByteWriter writer(sink);
  const auto loops = loopsOf(waveform);
  SamplerHeader header;
  header.samplePeriod = samplePeriodOf(waveform.sampleRate);
  setPitch(header, waveform.rootKey, waveform.fineTune);
  header.loopCount = static_cast<uint32_t>(loops.size());
  writer.record(header);
  for (std::size_t i = 0; i < loops.size(); ++i) writer.record(recordOf(*loops[i], cueIds[i]));
  return sink.take();
}

void setSamplePeriod(std::span<std::byte> sampler, double sampleRate) {
  const LittleU32 period = samplePeriodOf(sampleRate);
  const auto bytes = std::as_bytes(std::span(&period, 1));
  if (sampler.size() >= sizeof(SamplerHeader))
    std::copy(bytes.begin(), bytes.end(), sampler.begin() + offsetof(SamplerHeader, samplePeriod));
}

KeyTuning halfSemitoneTuning(const Waveform& waveform) {
  double key = waveform.rootKey, cents = std::round(waveform.fineTune);
  if (cents > 50 && key > 0) --key, cents -= 100;
  if (cents < -50 && key < 127) ++key, cents += 100;
  return {static_cast<uint8_t>(key), static_cast<int8_t>(std::clamp(cents, -50.0, 50.0))};
}

std::vector<std::byte> makeInstrumentChunk(const Waveform& waveform, std::span<const std::byte> previous) {
  InstrumentRecord record;
  if (previous.size() >= sizeof record) record = ByteReader(previous).record<InstrumentRecord>();
  const auto [key, cents] = halfSemitoneTuning(waveform);
  record.note = key;
  record.fineTune = cents;
  record.gain = static_cast<int8_t>(std::clamp(std::round(waveform.gain), -64.0f, 64.0f));
  const auto bytes = std::as_bytes(std::span(&record, 1));
  return {bytes.begin(), bytes.end()};
}

}  // namespace tervo
