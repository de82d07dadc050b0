#include "formats/wave/aiff_metadata.h"

#include <algorithm>
#include <cmath>

#include "base/byte_reader.h"
#include "formats/number_text.h"
#include "formats/wave/aiff_markers.h"
#include "formats/wave/aiff_texts.h"
#include "formats/wave/kept_chunks.h"
#include "formats/wave/wav_loops.h"
#include "formats/wave/wav_metadata.h"

namespace tervo {
namespace {

constexpr std::size_t mostMarkers = 32767;  // numbers are positive 16-bit integers
constexpr std::size_t longestName = 255;    // bytes of a Pascal string
constexpr double maxFrame = 4294967295.0;
constexpr TextView noPlace = u"AIFF has no place for it";

/// Turns the loops and markers of a waveform into those of AIFF.
class PlaybackWriter {
 public:
  PlaybackWriter(const Waveform& waveform, ConversionReport& report) : waveform_(waveform), report_(report) {
    for (const auto* loop : loopsOf(waveform)) {
      const Marker*& place = loop->name == releaseLoopName ? release_ : sustain_;
      if (place) {
        report_.dropped(waveform_.name, u"loop" + quoted(*loop), u"AIFF has one sustain and one release loop");
      } else {
        place = loop;
      }
    }
  }

  bool hasLoop() const { return sustain_ || release_; }

  AiffInstrument instrument(const std::array<uint8_t, 4>& ranges) {
    AiffInstrument made;
    const auto [key, cents] = halfSemitoneTuning(waveform_);
    made.baseNote = key;
    made.detune = cents;
    made.ranges = ranges;
    made.gain = static_cast<int16_t>(std::clamp(std::round(waveform_.gain), -144.0f, 144.0f));
    const double tuning = 100.0 * waveform_.rootKey - waveform_.fineTune, written = 100.0 * key - cents;
    if (tuning != written)
      approximated(u"fine tune in cents", waveform_.fineTune, waveform_.fineTune + tuning - written);
    if (made.gain != waveform_.gain) approximated(u"gain in dB", waveform_.gain, made.gain);
    if (sustain_)
      made.sustain =
          addLoop(*sustain_, release_ ? u"sust loop begin" : u"beg loop", release_ ? u"sust loop end" : u"end loop");
    if (release_) {
      made.release = addLoop(*release_, u"rel loop begin", u"rel loop end");
    } else if (sustain_ && sustain_->loopCount == loopForever) {
      made.release = made.sustain;  // goes on when the key is released
    }
    return made;
  }

  /// After instrument(), whose loops have the first numbers.
  std::vector<AiffMarker> takeMarkers() {
    std::size_t left = 0;
    for (const auto& marker : waveform_.markers) {
      if (marker.type == MarkerType::loop) continue;
      if (marker.type == MarkerType::section)
        report_.dropped(waveform_.name, u"length of a marker" + quoted(marker), noPlace);
      if (marker.start != std::round(marker.start))
        approximated(u"marker position", marker.start, std::round(marker.start));
      left += !add(std::round(marker.start), marker.name);
    }
    if (left > 0)
      report_.dropped(waveform_.name, u"markers: " + numberText(static_cast<double>(left)), u"too many for AIFF");
    return std::move(markers_);
  }

 private:
  static Text quoted(const Marker& marker) { return marker.name.empty() ? Text() : u": " + marker.name; }
  void approximated(TextView what, double from, double to) const {
    report_.approximated(waveform_.name, what, numberText(from), numberText(to));
  }

  bool add(double frame, TextView name) {
    if (markers_.size() == mostMarkers) return false;
    const Text fitting = cutName(name);
    if (fitting.size() < name.size()) report_.approximated(waveform_.name, u"name of a marker", name, fitting);
    markers_.push_back(
        {static_cast<uint16_t>(markers_.size() + 1), static_cast<uint32_t>(std::clamp(frame, 0.0, maxFrame)), fitting});
    return true;
  }

  static Text cutName(TextView name) {
    while (toUtf8(name).size() > longestName) {
      const bool isPair = (name.back() & 0xFC00) == 0xDC00 && name.size() > 1;
      name.remove_suffix(isPair ? 2 : 1);
    }
    return Text(name);
  }

  AiffLoop addLoop(const Marker& loop, TextView beginName, TextView endName) {
    const double start = std::trunc(loop.start), end = std::round(loop.start) + std::round(loop.length());
    reportLoop(loop, start, end);
    add(start, beginName);
    add(end, endName);
    const auto last = static_cast<uint16_t>(markers_.size());
    const uint16_t mode =
        loop.loopType == LoopType::alternating ? AiffPlayMode::forwardBackward : AiffPlayMode::forward;
    return {mode, static_cast<uint16_t>(last - 1), last};
  }

  void reportLoop(const Marker& loop, double start, double end) const {
    if (start != loop.start) approximated(u"loop start", loop.start, start);
    if (end != loop.end) approximated(u"loop end", loop.end, end);
    if (loop.loopPitch != 0) report_.dropped(waveform_.name, u"pitch while the loop plays", noPlace);
    if (loop.loopType == LoopType::reverse || loop.loopType == LoopType::off)
      report_.approximated(waveform_.name, u"loop type", nameOf(loop.loopType), nameOf(LoopType::forward));
    if (loop.loopCount != loopForever && loop.loopCount != loopUntilRelease)
      report_.approximated(waveform_.name, u"loop count", numberText(loop.loopCount), u"until release");
    if (!loop.name.empty() && loop.name != sustainLoopName && loop.name != releaseLoopName)
      report_.dropped(waveform_.name, u"name of a loop" + quoted(loop), noPlace);
  }

  const Waveform& waveform_;
  ConversionReport& report_;
  const Marker* sustain_ = nullptr;
  const Marker* release_ = nullptr;
  std::vector<AiffMarker> markers_;
};

std::vector<std::byte> bodyOf(const Waveform& waveform, const ChunkContainers& containers, FourCC id) {
  const auto* chunk = knownChunk(waveform, containers, id);
  return chunk ? bodyOf(*chunk) : std::vector<std::byte>();
}

// Key and velocity ranges, which the model does not have and which AIFF and WAV store alike.
std::array<uint8_t, 4> rangesOf(const Waveform& waveform, const std::optional<AiffInstrument>& source) {
  if (source) return source->ranges;
  const auto wav = bodyOf(waveform, riffChunks, "inst");
  ByteReader reader(wav);
  reader.skip(3);
  const auto ranges = reader.record<std::array<uint8_t, 4>>();
  return reader.ok() ? ranges : AiffInstrument().ranges;
}

void addPlayback(AiffMetadata& metadata, const Waveform& waveform, ConversionReport& report) {
  auto markers = bodyOf(waveform, aiffChunks, "MARK"), instrument = bodyOf(waveform, aiffChunks, "INST");
  const auto source = readAiffInstrument(instrument);
  metadata.markersAreSame = understandAiff(readAiffMarkers(markers), source).saysTheSameAs(waveform);
  if (!metadata.markersAreSame) {
    PlaybackWriter writer(waveform, report);
    const auto made = writer.instrument(rangesOf(waveform, source));
    const bool says = writer.hasLoop() || waveform.rootKey != 60 || waveform.fineTune != 0 || waveform.gain != 0;
    const auto bytes = std::as_bytes(std::span(&made, 1));
    instrument.assign(bytes.begin(), says ? bytes.end() : bytes.begin());
    const auto marks = writer.takeMarkers();
    markers = marks.empty() ? std::vector<std::byte>() : makeAiffMarkers(marks);
  }
  if (!markers.empty()) metadata.beforeSamples.push_back({"MARK", std::move(markers)});
  if (!instrument.empty()) metadata.beforeSamples.push_back({"INST", std::move(instrument)});
}

void addTexts(AiffMetadata& metadata, const Waveform& waveform, ConversionReport& report) {
  forEachAiffText(waveform.tags, [&](FourCC id, const Text& text) {
    const std::string utf8 = toUtf8(text);
    const auto bytes = std::as_bytes(std::span(utf8.c_str(), utf8.size() + 1));
    metadata.afterSamples.push_back({id, {bytes.begin(), bytes.end()}});
  });
  const bool needsId3 = waveform.tags.image || !waveform.tags[Tag::product].empty();
  auto id3 = id3Body(waveform, needsId3 ? Id3Need::yes : Id3Need::no, report);
  if (!id3.empty()) metadata.afterSamples.push_back({"ID3 ", std::move(id3)});
  if (!waveform.tags[Tag::engineer].empty()) report.dropped(waveform.name, nameOf(Tag::engineer), noPlace);
  for (const auto& text : keptInfoOf(waveform)) report.dropped(waveform.name, textOf(text.id) + u" text", noPlace);
  for (const auto& label : keptLabelsOf(waveform)) {
    if (label.id != FourCC("ltxt")) report.dropped(waveform.name, u"text of a cue point", noPlace);
  }
}

}  // namespace

AiffMetadata makeAiffMetadata(const Waveform& waveform, ConversionReport& report) {
  AiffMetadata metadata;
  addPlayback(metadata, waveform, report);
  addTexts(metadata, waveform, report);
  return metadata;
}

bool refersToMarkers(std::span<const std::byte> comments) {
  ByteReader reader(comments);
  const int count = reader.big<uint16_t>();
  for (int i = 0; i < count && reader.ok(); ++i) {
    reader.skip(4);  // time
    if (reader.big<uint16_t>() != 0) return true;
    const std::size_t length = reader.big<uint16_t>();
    reader.skip(length + length % 2);
  }
  return false;
}

}  // namespace tervo
